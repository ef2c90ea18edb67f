"""The rest of the globe, at the height 0, in the levels above those of the surface.

Viewers of a globe begin with its two tiles of level 0, and ask for a finer tile only where there is a coarser one.
"""

from __future__ import annotations

import numpy as np

from ..._geometry import FloatArray
from ._mesh import STEPS, Mesh
from ._scheme import Cell, Scheme

_SQUARES = 32  # along a side, since a tile has to follow the curvature of the globe


def list_cells(scheme: Scheme, num_levels: int, box: FloatArray) -> list[Cell]:
    """List the tiles of the first levels: all of level 0, and then those that share ground with a box (2, 2)."""
    roots = [Cell(0, 0, 0), Cell(0, 1, 0)] if num_levels else []
    return roots + [cell for level in range(1, num_levels) for cell in scheme.cells(level, *box)]


def make_mesh(scheme: Scheme, cell: Cell) -> Mesh:
    """Make the mesh of a tile."""
    lines = np.rint(np.linspace(0, STEPS, _SQUARES + 1)).astype(np.int64)
    places = np.stack(np.meshgrid(lines, lines, indexing="ij"), axis=-1).reshape(-1, 2)
    flat = scheme.low(cell) + places / STEPS * scheme.width(cell.z)
    numbers = np.arange(len(places)).reshape(_SQUARES + 1, _SQUARES + 1)
    a, b, c, d = (part.ravel() for part in (numbers[:-1, :-1], numbers[1:, :-1], numbers[1:, 1:], numbers[:-1, 1:]))
    faces = np.concatenate([np.column_stack([a, b, c]), np.column_stack([a, c, d])])
    return Mesh(np.column_stack([flat, np.zeros(len(flat))]), places, faces)
