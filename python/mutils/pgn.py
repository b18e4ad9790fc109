"""Boundary chains and polygons."""
from ._build import build as _build

globals().update(_build("pgn"))
__all__ = sorted(n for n in globals() if not n.startswith("_"))
