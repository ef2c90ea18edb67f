"""Files of the format quantized-mesh 1.0: a header, the vertices as differences of 16 bits, triangles, and the four sides."""

from __future__ import annotations

import struct
from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray

from ..._geometry import FloatArray
from ._mesh import STEPS, Grid, Mesh
from ._scheme import Cell, Scheme

_FLOAT_BITS = 23  # a height counted in steps has to be exact in the floats of the header


def find_step(low: float, high: float) -> int:
    """Find the power of two, as its exponent, in which the heights of a tile can be counted, with room at both ends."""
    size = max(abs(low), abs(high), 2.0**-100)
    return max(_log2((high - low) / (STEPS // 2)), _log2(size) - _FLOAT_BITS)


def _log2(number: float) -> int:
    return int(np.ceil(np.log2(number))) if number > 0 else -1000


class Steps(NamedTuple):
    """The steps, as exponents, of a tile and the eight around it: rows from the south, columns from the west.

    A height on a side is rounded to the coarser step of the tiles there, so that they all have the same.
    """

    around: NDArray[np.int64]  # (3, 3)

    def of(self, places: Grid) -> NDArray[np.int64]:
        """Return the step for each vertex."""
        at = np.where(places == 0, 0, np.where(places == STEPS, 2, 1))
        corner = self.around[at[:, 1], at[:, 0]]
        beside = np.maximum(self.around[1, at[:, 0]], self.around[at[:, 1], 1])
        result: NDArray[np.int64] = np.maximum(np.maximum(corner, beside), self.around[1, 1])
        return result


def encode(mesh: Mesh, cell: Cell, scheme: Scheme, steps: Steps) -> bytes:
    """Make the content of the file."""
    order, faces = _number(mesh.faces)
    places, points = mesh.places[order], mesh.points[order]
    coarse = np.ldexp(1.0, steps.of(places))
    heights = np.rint(points[:, 2] / coarse) * coarse
    own = float(np.ldexp(1.0, steps.around[1, 1]))
    low = float(np.floor(heights.min() / own) * own)
    high = low + STEPS * own
    counted = np.rint((heights - low) / own).astype(np.int64)
    rounded = scheme.low(cell) + places / STEPS * scheme.width(cell.z)
    head = _make_header(np.column_stack([rounded, heights]), scheme, low, high)
    columns = [_to_differences(column) for column in (*places.T, counted)]
    wide = len(points) > 1 << 16
    kind = "<u4" if wide else "<u2"
    body = struct.pack("<I", len(points)) + b"".join(column.astype("<u2").tobytes() for column in columns)
    gap = b"\0" * (-(len(head) + len(body)) % (4 if wide else 2))
    codes = _to_high_water_marks(faces.ravel()).astype(kind)
    return head + body + gap + struct.pack("<I", len(faces)) + codes.tobytes() + _make_sides(places, kind)


def _number(faces: NDArray[np.int64]) -> tuple[NDArray[np.int64], NDArray[np.int64]]:
    """Renumber vertices as the triangles come to them: the former numbers, and the triangles."""
    used, first, rows = np.unique(faces, return_index=True, return_inverse=True)
    order = np.argsort(first)
    numbers = np.empty(len(used), dtype=np.int64)
    numbers[order] = np.arange(len(used))
    return used[order], numbers[rows].reshape(-1, 3)


def _to_differences(values: NDArray[np.int64]) -> NDArray[np.int64]:
    differences = np.diff(values, prepend=0)
    return (differences << 1) ^ (differences >> 63)


def _to_high_water_marks(corners: NDArray[np.int64]) -> NDArray[np.int64]:
    """Write each number as its distance from the smallest one that has not come up before."""
    marks = np.maximum.accumulate(np.concatenate([[-1], corners]))[:-1] + 1
    result: NDArray[np.int64] = marks - corners
    return result


def _make_sides(places: Grid, kind: str) -> bytes:
    """Make the lists of the vertices on the western, southern, eastern and northern side, along these."""
    data = b""
    for axis, end in ((0, 0), (1, 0), (0, STEPS), (1, STEPS)):
        side = np.flatnonzero(places[:, axis] == end)
        side = side[np.argsort(places[side, 1 - axis])]
        data += struct.pack("<I", len(side)) + side.astype(kind).tobytes()
    return data


def _make_header(points: FloatArray, scheme: Scheme, low: float, high: float) -> bytes:
    space = scheme.to_space(points)
    centre = space.min(axis=0) / 2 + space.max(axis=0) / 2
    radius = float(np.linalg.norm(space - centre, axis=1).max())
    horizon = scheme.find_horizon(centre, space)
    return struct.pack("<3d2f3dd3d", *centre, low, high, *centre, radius, *horizon)
