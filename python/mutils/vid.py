"""Optical flow."""
from ._build import build as _build

globals().update(_build("vid"))
__all__ = sorted(n for n in globals() if not n.startswith("_"))
