"""Matrix operations: arithmetic, structure, statistics, sorting, linear algebra."""
from ._build import build as _build

globals().update(_build("mat"))
__all__ = sorted(n for n in globals() if not n.startswith("_"))
