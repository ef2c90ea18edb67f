"""Tasks of workers: each function reads its input from files and writes its result to files.

A task that is run again, because a worker died or the run was stopped, finds its file and does nothing.
"""

from __future__ import annotations

import base64
import json
import time
from collections.abc import Sequence
from pathlib import Path
from typing import Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

from .. import _engine
from .._geometry import FloatArray
from .._optional import require
from ..io._files import reading, writing
from . import _source
from ._plan import Counts, IntArray, Plan, count, count_in_cells
from ._source import Piece
from ._store import GROUP, Store, boxes_of, columns_of, extremes_of, open_store, table_to_points, write_columns

_HALO_SPACINGS = 4.0
_BATCH = 64


class Job(NamedTuple):
    """The data common to all tasks of a run."""

    folder: str
    run: str
    classes: tuple[int, ...] | None

    @property
    def store(self) -> Store:
        """The folder."""
        return open_store(self.folder, self.run)


# ---- Points to tiles ----


def look_at(job: Job, path: str) -> _source.Content:
    """Examine a file."""
    return _source.look_at(Path(path))


class Counted(NamedTuple):
    """Counts and properties of the points of a piece."""

    counts: Counts | None
    low: FloatArray
    high: FloatArray
    num: int
    num_refused: int
    crs: str | None


def count_piece(job: Job, piece: Piece) -> Counted:
    """Count the points of a piece in cells."""
    points, num_refused, system = _source.read_piece(piece, job.classes)
    if not len(points):
        return Counted(None, np.zeros(2), np.zeros(2), 0, num_refused, system)
    places = points[:, :2]
    return Counted(count(places), places.min(axis=0), places.max(axis=0), len(points), num_refused, system)


def count_again(job: Job, task: tuple[Piece, list[tuple[int, IntArray]], int]) -> list[Counts | None]:
    """Count the points of a piece in some cells at a lower level."""
    piece, cells, lowest_level = task
    points, _, _ = _source.read_piece(piece, job.classes)
    return count_in_cells(points[:, :2], cells, lowest_level)


def divide_piece(job: Job, task: tuple[int, Piece]) -> list[int]:
    """Write the points of a piece, a group of rows for each tile, and get the tiles."""
    number, piece = task
    path = job.store.part_path(number)
    if not path.exists():
        points, _, _ = _source.read_piece(piece, job.classes)
        tiles = Plan.load(job.store.plan_path).get_tiles(points[:, :2])
        order = np.argsort(tiles, kind="stable")
        _write_groups(path, points[order], tiles[order])
    parquet = require("pyarrow.parquet", "tiles")
    with reading(path):
        return list(json.loads(parquet.read_schema(path).metadata[b"taro25d.tiles"]))


def _write_groups(path: Path, points: FloatArray, tiles: NDArray[np.int32]) -> None:
    pyarrow, parquet = require("pyarrow", "tiles"), require("pyarrow.parquet", "tiles")
    starts = np.flatnonzero(np.diff(tiles, prepend=-1))
    kind = pyarrow.schema([(name, pyarrow.float64()) for name in "xyz"])
    kind = kind.with_metadata({"taro25d.tiles": json.dumps(tiles[starts].tolist())})
    with (
        writing(path) as temporary,
        parquet.ParquetWriter(temporary, kind, compression="lz4", use_dictionary=False) as file,
    ):
        for part in np.split(points, starts[1:]) if len(points) else []:
            file.write_table(pyarrow.table(columns_of(part), schema=kind), row_group_size=len(part))


class Gathered(NamedTuple):
    """A tile that has its points."""

    name: str
    size: int
    heights: tuple[float, float]  # the lowest and the highest
    extremes: FloatArray
    witness: FloatArray  # (1, 3): a point beside the line on which the extreme points are; or none


def gather_tile(job: Job, task: tuple[str, list[tuple[int, int]]]) -> Gathered:
    """Write the points of a tile, which are groups of some parts: each place once, in groups of neighbours."""
    name, groups = task
    path = job.store.points_path(name)
    if not path.exists():
        points = np.concatenate([_read_part(job.store.part_path(part), group) for part, group in groups])
        _write_points(path, _sort(points))
    head = job.store.points(name).head
    extremes, witness = np.array(head["extremes"]), np.array(head["witness"]).reshape(-1, 3)
    return Gathered(name, head["count"], tuple(head["heights"]), extremes, witness)


def _read_part(path: Path, group: int) -> FloatArray:
    with reading(path):
        return table_to_points(require("pyarrow.parquet", "tiles").ParquetFile(path).read_row_group(group))


def _sort(points: FloatArray) -> FloatArray:
    """Sort points along a curve that keeps neighbours together, and keep the first of those at one place."""
    points = points + 0.0  # no negative zeros, which would be other places to look at than zero
    low, high = points[:, :2].min(axis=0), points[:, :2].max(axis=0)
    size = float(np.max(high - low))
    scaled = (points[:, :2] - low) * (65535.0 / size if 0 < size < np.inf else 0.0)
    key = _interleave(np.clip(scaled, 0, 65535).astype(np.uint64))
    order = np.lexsort((points[:, 1], points[:, 0], key))
    points = points[order]
    first = np.ones(len(points), dtype=bool)
    first[1:] = (points[1:, :2] != points[:-1, :2]).any(axis=1)
    return points[first]


def _interleave(cells: NDArray[np.uint64]) -> NDArray[np.uint64]:
    bits = cells
    for shift, mask in ((8, 0x00FF00FF), (4, 0x0F0F0F0F), (2, 0x33333333), (1, 0x55555555)):
        bits = (bits | (bits << np.uint64(shift))) & np.uint64(mask)
    key: NDArray[np.uint64] = bits[:, 0] | (bits[:, 1] << np.uint64(1))
    return key


def _write_points(path: Path, points: FloatArray) -> None:
    """Write points group by group, each in an order without a pattern, so that its first points lie everywhere in it."""
    shuffle = np.random.default_rng(0)
    groups = [shuffle.permutation(points[start : start + GROUP]) for start in range(0, len(points), GROUP)]
    extremes = np.array([extremes_of(group) for group in groups])
    head = {
        "count": len(points),
        "heights": [float(points[:, 2].min()), float(points[:, 2].max())],
        "extremes": extremes_of(points).tolist(),
        "witness": _find_witness(points).tolist(),
    }
    coded = base64.b64encode(extremes.astype("<f8").tobytes()).decode()
    metadata = {"taro25d": json.dumps(head), "taro25d.groups": coded}
    write_columns(path, columns_of(np.concatenate(groups)), metadata, GROUP)


def _find_witness(points: FloatArray) -> FloatArray:
    """Find a point that is not on the line of the extreme points, if these are on one."""
    return find_beside(extremes_of(points), points)


def find_beside(line: FloatArray, points: FloatArray) -> FloatArray:
    """Find the first of some points that is not on the line on which others are, exactly; none if those are not on one line."""
    tile = _engine.Tile(np.ascontiguousarray(line))
    if tile.is_2d():
        return np.empty((0, 3))
    for start in range(0, len(points), GROUP):
        group = np.ascontiguousarray(points[start : start + GROUP])
        if _engine.Tile(np.concatenate([line, group])).is_2d():
            return _find_first(line, group)
    return np.empty((0, 3))


def _find_first(line: FloatArray, points: FloatArray) -> FloatArray:
    low, high = 0, len(points)  # without the points before low all are on the line, with those before high they are not
    while high - low > 1:
        middle = (low + high) // 2
        if _engine.Tile(np.concatenate([line, points[low:middle]])).is_2d():
            high = middle
        else:
            low = middle
    return points[low : low + 1]


# ---- Triangles ----


class Made(NamedTuple):
    """Figures of the making of the triangles of a tile."""

    name: str
    points: int
    triangles: int
    inserted: int  # points of other tiles
    read: int  # points of other tiles that were looked at
    rounds: int
    seconds: float
    box: list[float] | None  # of the triangles: west, south, east, north


def triangulate_tile(job: Job, name: str) -> Made:
    """Make the triangles of a tile."""
    store = job.store
    path = store.triangles_path(name)
    if not path.exists():
        begin = time.monotonic()
        stars = Stars(store, name)
        stars.complete()
        halo, triangles = stars.tile.owned()
        write_columns(store.halo_path(name), columns_of(halo), {})
        made = Made(
            name, len(stars.own), len(triangles), stars.tile.count() - len(stars.own), stars.num_read, stars.rounds,
            time.monotonic() - begin, _find_box(np.concatenate([stars.own, halo]), triangles),
        )  # fmt: skip
        metadata = {"taro25d": json.dumps(made._asdict())}
        write_columns(path, {corner: triangles[:, k] for k, corner in enumerate("abc")}, metadata)
    return Made(**store.head_of_triangles(name))


def _find_box(points: FloatArray, triangles: NDArray[np.int32]) -> list[float] | None:
    if not len(triangles):
        return None
    used = np.zeros(len(points), dtype=bool)
    used[triangles] = True
    places = points[used, :2]
    return [*places.min(axis=0).tolist(), *places.max(axis=0).tolist()]


class Stars:
    """The stars of the vertices of a tile, which become those of the whole triangulation."""

    def __init__(self, store: Store, name: str) -> None:
        self._store, self._name = store, name
        self._number = store.index.names.index(name)
        self.own = store.points(name).read()
        self.tile = _engine.Tile(self.own)
        self.num_read, self.rounds = 0, 0

    def complete(self) -> None:
        """Fetch points until none is missing."""
        index = self._store.index
        others = self._others()
        self._insert(index.extremes[others].reshape(-1, 3))
        self._insert(index.spread)
        if not self.tile.is_2d():
            return  # all points are on one line
        self._insert_halo(others)
        self._fetch()

    def take_up(self, halo: FloatArray) -> None:
        """Insert the points of other tiles that were found to be needed, in place of fetching them."""
        self._insert(halo)

    def certify_neighbours(self, places: FloatArray) -> None:
        """Fetch points until the natural neighbours of places are those of the whole."""
        while self.tile.is_2d() and self.tile.watch(places):
            self._fetch()

    def _others(self) -> IntArray:
        return np.delete(np.arange(len(self._store.index)), self._number)

    def _fetch(self) -> None:
        index, others = self._store.index, self._others()
        numbers, groups, boxes = self._open(self._find_reached(others, index.boxes[others]))
        while len(boxes):
            self.rounds += 1
            reached = self.tile.reached(boxes).astype(bool)
            numbers, groups, boxes = numbers[reached], groups[reached], boxes[reached]
            for number, group in zip(numbers[:_BATCH], groups[:_BATCH], strict=True):
                self.tile.offer(self._read(number, group))
            numbers, groups, boxes = numbers[_BATCH:], groups[_BATCH:], boxes[_BATCH:]

    def _insert(self, points: FloatArray) -> None:
        self.tile.insert(np.ascontiguousarray(points))

    def _read(self, number: Any, group: Any) -> FloatArray:
        points = self._store.group(self._store.index.names[number], int(group))
        self.num_read += len(points)
        return points

    def _find_reached(self, numbers: IntArray, boxes: FloatArray) -> IntArray:
        found: IntArray = numbers[self.tile.reached(boxes).astype(bool)]
        return found

    def _insert_halo(self, others: IntArray) -> None:
        """Insert the points around the tile as far as some spacings of its own, unless they are too many."""
        low, high = self.own[:, :2].min(axis=0), self.own[:, :2].max(axis=0)
        width = _HALO_SPACINGS * np.sqrt(high - low).prod() / np.sqrt(len(self.own))
        box = np.array([*(low - width), *(high + width)])
        near, room = [np.empty((0, 3))], GROUP + len(self.own) // 4
        for number in others[_meet(self._store.index.boxes[others], box)]:
            boxes = boxes_of(self._store.points(self._store.index.names[number]).extremes)
            for group in np.flatnonzero(_meet(boxes, box)):
                points = self._read(number, group)
                near.append(points[((points[:, :2] >= box[:2]) & (points[:, :2] <= box[2:])).all(axis=1)])
                room -= len(near[-1])
                if room < 0:
                    return
        self._insert(np.concatenate(near))

    def _open(self, numbers: IntArray) -> tuple[IntArray, IntArray, FloatArray]:
        """Offer the extreme points of the groups of some tiles, and get these groups, the nearest first."""
        extremes = [self._store.points(self._store.index.names[number]).extremes for number in numbers]
        for points in extremes:
            self.tile.offer(np.ascontiguousarray(points.reshape(-1, 3)))
        if not extremes:
            return np.empty(0, dtype=np.int64), np.empty(0, dtype=np.int64), np.empty((0, 4))
        boxes = boxes_of(np.concatenate(extremes))
        middle = self.own[:, :2].mean(axis=0)
        distance = np.hypot(*np.clip(middle, boxes[:, :2], boxes[:, 2:]).T - middle[:, np.newaxis])
        order = np.argsort(distance, kind="stable")
        of_tiles = np.repeat(numbers, [len(points) for points in extremes])
        groups = np.concatenate([np.arange(len(points)) for points in extremes])
        return of_tiles[order], groups[order], np.ascontiguousarray(boxes[order])


def _meet(boxes: FloatArray, box: FloatArray) -> NDArray[np.bool_]:
    """Return which boxes have a point in common with one."""
    return (  # type: ignore[no-any-return]
        (boxes[:, 0] <= box[2]) & (boxes[:, 2] >= box[0]) & (boxes[:, 1] <= box[3]) & (boxes[:, 3] >= box[1])
    )


def heads_of(gathered: Sequence[Gathered]) -> dict[str, Any]:
    """Make the columns of the index, and find points that are not on one line, if there are any."""
    extremes = np.array([tile.extremes for tile in gathered]).reshape(-1, 4, 3)
    witnesses = np.concatenate([np.empty((0, 3)), *(tile.witness for tile in gathered)])
    spread = find_beside(np.ascontiguousarray(extremes.reshape(-1, 3)), witnesses)
    return {
        "names": [tile.name for tile in gathered],
        "counts": np.array([tile.size for tile in gathered], dtype=np.int64),
        "heights": np.array([tile.heights for tile in gathered]).reshape(-1, 2),
        "extremes": extremes,
        "spread": spread,
    }
