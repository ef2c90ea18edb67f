"""Terrain tiles for the web: a pyramid of quantized meshes of a surface in tiles."""

from ._make import make

__all__ = ["make"]
