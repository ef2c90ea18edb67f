"""Terrain tiles for the web: a pyramid of quantized meshes of a surface in tiles."""

from ._make import Wishes, make

__all__ = ["Wishes", "make"]
