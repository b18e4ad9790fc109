"""Image and matrix files: PBM/PGM/PPM, TIFF, the printed form, plain text and raw bytes. Streams are given as paths."""
from ._build import build as _build

globals().update(_build("io"))
__all__ = sorted(n for n in globals() if not n.startswith("_"))
