"""Scalar quantizers."""
from ._build import build as _build

globals().update(_build("cls"))
__all__ = sorted(n for n in globals() if not n.startswith("_"))
