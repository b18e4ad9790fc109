"""Image processing: morphology, components, edges, filters, grey-level maps, distances."""
from ._build import build as _build

globals().update(_build("img"))
__all__ = sorted(n for n in globals() if not n.startswith("_"))
