"""Rings from the segments by which the library describes borders."""

from __future__ import annotations

import numpy as np

from ._geometry import FloatArray


def join_rings(segments: FloatArray) -> list[FloatArray]:
    """Join directed segments (m, 2, d) to closed rings, each beginning and ending with the same point.

    Rings that touch in a point stay separate: each ends as soon as it reaches its first point again.
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
