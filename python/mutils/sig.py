"""Signal processing: transforms, convolution and sampling, windows, time-frequency."""
from ._build import build as _build

globals().update(_build("sig"))
__all__ = sorted(n for n in globals() if not n.startswith("_"))
