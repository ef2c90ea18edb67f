"""The folder of a tiling: its files and their contents.

``tiling.json``             the settings and the identity of the source
``plan.npz``                the tile of each place
``parts/``                  the points of each piece of the source, divided by tiles; gone when all tiles have their points
``tiles.parquet``           a row for each tile: how many points, and the extreme ones; written when all tiles have their points
``points/NAME.parquet``     the points of a tile, in groups of neighbours; the extreme points of each group in the metadata
``halo/NAME.parquet``       the points of other tiles that the triangles of the tile need
``triangles/NAME.parquet``  the triangles that the tile owns, rows of its points, then of its halo

Each file is written completely under another name and then renamed, so a file that exists is complete.
"""

from __future__ import annotations

import base64
import functools
import json
import threading
from collections.abc import Sequence
from pathlib import Path
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .._geometry import FloatArray
from .._optional import require
from ..errors import FormatError
from ..io._files import reading, writing

GROUP = 8192
_KEPT_FILES = 64
_KEPT_GROUPS = 256


def boxes_of(extremes: FloatArray) -> FloatArray:
    """Return boxes (n, 4) from extreme points (n, 4, 3)."""
    return np.ascontiguousarray(
        np.column_stack([extremes[:, 0, 0], extremes[:, 2, 1], extremes[:, 1, 0], extremes[:, 3, 1]])
    )


def extremes_of(points: FloatArray) -> FloatArray:
    """Return the extreme points (4, 3)."""
    x, y = points[:, 0], points[:, 1]
    return points[[x.argmin(), x.argmax(), y.argmin(), y.argmax()]]


class PointFile:
    """The points of a tile, read group by group; the threads of a worker share it."""

    def __init__(self, path: Path) -> None:
        self.path = path
        self._lock = threading.Lock()  # a reader of pyarrow serves one thread at a time
        with reading(path):
            file = require("pyarrow.parquet", "tiles").ParquetFile(path, memory_map=True)
            self._file = file
            metadata = file.schema_arrow.metadata or {}
            self.head: dict[str, Any] = json.loads(metadata[b"taro25d"])
            groups = np.frombuffer(base64.b64decode(metadata[b"taro25d.groups"]), dtype="<f8")
            self.extremes: FloatArray = groups.reshape(-1, 4, 3)
            if file.metadata.num_row_groups != len(self.extremes):
                raise FormatError("groups are missing")

    def read(self) -> FloatArray:
        """Read all points."""
        with reading(self.path), self._lock:
            return table_to_points(self._file.read())

    def read_group(self, group: int) -> FloatArray:
        """Read the points of a group."""
        with reading(self.path), self._lock:
            return table_to_points(self._file.read_row_group(group))


def table_to_points(table: Any) -> FloatArray:
    """Make (n, 3) of the columns x, y and z."""
    return np.column_stack([table.column(name).to_numpy() for name in ("x", "y", "z")])


def write_columns(path: Path, columns: dict[str, NDArray[Any]], metadata: dict[str, str], group: int = 1 << 20) -> None:
    """Write a Parquet file whole."""
    pyarrow, parquet = require("pyarrow", "tiles"), require("pyarrow.parquet", "tiles")
    table = pyarrow.table({name: np.ascontiguousarray(values) for name, values in columns.items()})
    with writing(path) as temporary:
        parquet.write_table(
            table.replace_schema_metadata(metadata), temporary, row_group_size=group, compression="zstd",
            compression_level=1, use_dictionary=False,
        )  # fmt: skip


def columns_of(points: FloatArray) -> dict[str, NDArray[Any]]:
    """Make columns of (n, 3)."""
    return {"x": points[:, 0], "y": points[:, 1], "z": points[:, 2]}


class Store:
    """The folder, as the tasks of one process see it."""

    def __init__(self, folder: str) -> None:
        self.folder = Path(folder)
        self._file = functools.lru_cache(_KEPT_FILES)(lambda name: PointFile(self.points_path(name)))
        self.group = functools.lru_cache(_KEPT_GROUPS)(self._read_group)

    def points_path(self, name: str) -> Path:
        """Return the path of the points of a tile."""
        return self.folder / "points" / f"{name}.parquet"

    def halo_path(self, name: str) -> Path:
        """Return the path of the points that a tile needs from others."""
        return self.folder / "halo" / f"{name}.parquet"

    def triangles_path(self, name: str) -> Path:
        """Return the path of the triangles of a tile."""
        return self.folder / "triangles" / f"{name}.parquet"

    def part_path(self, number: int) -> Path:
        """Return the path of a piece of the source, divided by tiles."""
        return self.folder / "parts" / f"{number:06d}.parquet"

    @property
    def plan_path(self) -> Path:
        """The path of the plan."""
        return self.folder / "plan.npz"

    @property
    def index_path(self) -> Path:
        """The path of the heads of the tiles."""
        return self.folder / "tiles.parquet"

    def points(self, name: str) -> PointFile:
        """Return the file of points of a tile."""
        return self._file(name)

    def _read_group(self, name: str, group: int) -> FloatArray:
        return self.points(name).read_group(group)

    @functools.cached_property
    def index(self) -> Index:
        """The heads of all tiles."""
        return Index.read(self.index_path)

    def head_of_triangles(self, name: str) -> dict[str, Any]:
        """Return the figures that were stored with the triangles of a tile."""
        path = self.triangles_path(name)
        with reading(path):
            metadata = require("pyarrow.parquet", "tiles").read_schema(path).metadata
            return json.loads(metadata[b"taro25d"])  # type: ignore[no-any-return]

    def box_of_triangles(self, name: str) -> FloatArray | None:
        """Return the box (west, south, east, north) of the triangles that a tile owns; None if it owns none."""
        box = self.head_of_triangles(name)["box"]
        return None if box is None else np.array(box)

    def read_halo(self, name: str) -> FloatArray:
        """Read the points that a tile needs from others."""
        return table_to_points(read_table(self.halo_path(name)))

    def read_triangles(self, name: str) -> NDArray[np.int32]:
        """Read the triangles that a tile owns."""
        table = read_table(self.triangles_path(name))
        return np.column_stack([table.column(corner).to_numpy() for corner in "abc"])


class Index:
    """The heads of all tiles, as arrays, and points that are not on one line, if there are any."""

    def __init__(
        self,
        names: Sequence[str],
        counts: NDArray[np.int64],
        heights: FloatArray,
        extremes: FloatArray,
        spread: FloatArray,
    ) -> None:
        self.names, self.counts, self.heights = list(names), counts, heights
        self.extremes, self.spread = extremes, spread
        self.boxes = boxes_of(extremes)

    def __len__(self) -> int:
        return len(self.names)

    def write(self, path: Path) -> None:
        """Write the file."""
        flat = self.extremes.reshape(-1, 12)
        names = [f"{axis}_of_{which}" for which in ("west", "east", "south", "north") for axis in "xyz"]
        columns: dict[str, Any] = {"name": np.array(self.names, dtype=object), "count": self.counts}
        columns |= {"lowest": self.heights[:, 0], "highest": self.heights[:, 1]}
        columns |= {name: flat[:, k] for k, name in enumerate(names)}
        write_columns(path, columns, {"taro25d.spread": json.dumps(self.spread.tolist())})

    @classmethod
    def read(cls, path: Path) -> Index:
        """Read the file."""
        table = read_table(path)
        heights = np.column_stack([table.column(name).to_numpy() for name in ("lowest", "highest")])
        columns = [table.column(k).to_numpy() for k in range(4, 16)]
        spread = np.array(json.loads(table.schema.metadata[b"taro25d.spread"]), dtype=np.float64).reshape(-1, 3)
        extremes = np.column_stack(columns).reshape(-1, 4, 3)
        counts = table.column("count").to_numpy()
        return cls(table.column("name").to_pylist(), counts, heights, extremes, spread)


def read_table(path: Path) -> Any:
    """Read a Parquet file."""
    with reading(path):
        return require("pyarrow.parquet", "tiles").read_table(path, memory_map=True)


@functools.lru_cache(4)
def open_store(folder: str, run: str) -> Store:
    """Return the store of a folder for one run; tasks of one process share it."""
    return Store(folder)
