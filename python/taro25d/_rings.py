"""Borders come out of the library as segments; here they become rings."""

from __future__ import annotations

import numpy as np

from ._geometry import FloatArray


def join_rings(segments: FloatArray) -> list[FloatArray]:
    """Join directed segments (m, 2, d) to closed rings, each beginning and ending with the same point.

    Where rings touch in a point they stay apart: each ring returns to its own first point at the earliest occasion.
    """
    following: dict[tuple[float, ...], list[tuple[float, ...]]] = {}
    for start, end in segments:
        following.setdefault(tuple(start), []).append(tuple(end))
    rings = []
    for first in list(following):
        while following[first]:
            ring = [first]
            while len(ring) == 1 or ring[-1] != first:
                ring.append(following[ring[-1]].pop())
            rings.append(np.array(ring))
    return rings
