"""Reads files of the format quantized-mesh 1.0, in the words of its description, to see what was written."""

import gzip
import pathlib
import struct
from typing import NamedTuple

import numpy as np

STEPS = 32767
SIDES = ("west", "south", "east", "north")


class Terrain(NamedTuple):
    center: np.ndarray
    low: float
    high: float
    sphere: np.ndarray  # the centre, then the radius
    horizon: np.ndarray
    places: np.ndarray  # (n, 2)
    heights: np.ndarray
    triangles: np.ndarray
    sides: dict[str, np.ndarray]

    def border(self, side: str) -> set[tuple[int, float]]:
        rows = self.sides[side]
        return set(zip(self.places[rows, SIDES.index(side) % 2 ^ 1].tolist(), self.heights[rows].tolist(), strict=True))


def read(path: pathlib.Path) -> Terrain:
    data = path.read_bytes()
    if data[:2] == b"\x1f\x8b":
        data = gzip.decompress(data)
    head = struct.unpack_from("<3d2f3dd3d", data)
    at = 88

    def take(kind: str, count: int) -> np.ndarray:
        nonlocal at
        values = np.frombuffer(data, kind, count, at).astype(np.int64)
        at += values.size * np.dtype(kind).itemsize
        return values

    num = int(take("<u4", 1)[0])
    codes = take("<u2", 3 * num).reshape(3, num)
    u, v, heights = np.cumsum((codes >> 1) ^ -(codes & 1), axis=1)
    kind = "<u4" if num > 65536 else "<u2"
    at += -at % np.dtype(kind).itemsize
    highest, corners = 0, []
    for code in take(kind, 3 * int(take("<u4", 1)[0])).tolist():
        corners.append(highest - code)
        highest += code == 0
    sides = {side: take(kind, int(take("<u4", 1)[0])) for side in SIDES}
    assert at == len(data)
    low, high = head[3:5]
    return Terrain(
        np.array(head[:3]), low, high, np.array(head[5:9]), np.array(head[9:]), np.column_stack([u, v]),
        low + heights * (high - low) / STEPS, np.array(corners).reshape(-1, 3), sides,
    )  # fmt: skip


def read_all(folder: pathlib.Path) -> dict[tuple[int, int, int], Terrain]:
    paths = ((path, path.relative_to(folder).with_suffix("").parts) for path in folder.rglob("*.terrain"))
    return {(int(z), int(x), int(y)): read(path) for path, (z, x, y) in paths}


def count_mismatches(tiles: dict[tuple[int, int, int], Terrain]) -> tuple[int, int]:
    """Compare all borders between tiles of one level: how many vertices there are, and how many only one side has."""
    num, wrong = 0, 0
    for (z, x, y), tile in tiles.items():
        for other, here, there in (((z, x + 1, y), "east", "west"), ((z, x, y + 1), "north", "south")):
            if other in tiles:
                own, others = tile.border(here), tiles[other].border(there)
                num += len(own | others)
                wrong += len(own ^ others)
    return num, wrong
