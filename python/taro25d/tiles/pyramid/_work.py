"""Tasks of the workers that make a pyramid; as with tiles, a task reads its input from files and writes its result to files.

Meshes stay in ``.work`` until the heights of all are known, because the file of a tile depends on the heights around it.
"""

from __future__ import annotations

import gzip
import os
from pathlib import Path
from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray

from ..._geometry import FloatArray
from ...errors import FileError
from ...io._files import reading, writing
from .._work import Job
from ._cut import Pieces, cut_out, divide_cell, join
from ._mesh import Mesh, make_coarse, make_finest
from ._quantized import Steps, encode, find_step
from ._scheme import Cell, Scheme

BLOCK_LEVELS = 3  # a task makes a tile and the levels below it, fewer where the finest level is nearer


class Order(NamedTuple):
    """The data common to all tasks."""

    folder: str
    scheme: Scheme
    finest: int
    compress: bool

    def work_path(self, cell: Cell) -> Path:
        """Return the path of the meshes that the task of a cell has made."""
        return Path(self.folder) / ".work" / f"{cell.z}-{cell.x}-{cell.y}.npz"

    def tile_path(self, cell: Cell) -> Path:
        """Return the path of a tile."""
        return Path(self.folder) / str(cell.z) / str(cell.x) / f"{cell.y}.terrain"

    @property
    def block(self) -> int:
        """The level at which a task takes triangles from the tiling."""
        return max(0, self.finest - BLOCK_LEVELS)


class Extent(NamedTuple):
    """The box of the triangles of a tile of the tiling, and of its points; x, y and z of the low and the high corner.

    Without triangles, the low corner is above the high one.
    """

    triangles: FloatArray  # (2, 3)
    points: FloatArray  # (2, 3)


class Made(NamedTuple):
    """A tile of the pyramid, with its lowest and highest z."""

    cell: Cell
    low: float
    high: float


def measure(job: Job, task: tuple[Scheme, str]) -> Extent:
    """Measure a tile of the tiling."""
    scheme, name = task
    pieces, num_own = _read(job, scheme, name)
    used, own = pieces.points[np.unique(pieces.faces)], pieces.points[:num_own]
    return Extent(_find_box(used), _find_box(own))


def _find_box(points: FloatArray) -> FloatArray:
    return np.array([points.min(axis=0, initial=np.inf), points.max(axis=0, initial=-np.inf)])


def _read(job: Job, scheme: Scheme, name: str) -> tuple[Pieces, int]:
    own, halo = job.store.points(name).read(), job.store.read_halo(name)
    points = scheme.project(np.concatenate([own, halo]))
    return Pieces(points, job.store.read_triangles(name).astype(np.int64)), len(own)


def make_block(job: Job, task: tuple[Order, Cell, list[str]]) -> list[Made]:
    """Make the tiles of all levels in a cell from the triangles of some tiles of the tiling."""
    order, cell, names = task
    path = order.work_path(cell)
    if not path.exists():
        parts = [cut_out(_read(job, order.scheme, name)[0], order.scheme, cell) for name in names]
        meshes: dict[Cell, Mesh] = {}
        _make(order, cell, join(parts), meshes)
        _write(path, meshes)
    return _list(path)


def _make(order: Order, cell: Cell, pieces: Pieces, meshes: dict[Cell, Mesh]) -> None:
    if not len(pieces.faces):
        return
    if cell.z == order.finest:
        mesh = make_finest(pieces, order.scheme, cell)
    else:
        for child, part in zip(cell.children(), divide_cell(pieces, order.scheme, cell), strict=True):
            _make(order, child, part, meshes)
        points = [meshes[child].points for child in cell.children() if child in meshes]
        mesh = make_coarse(points, order.scheme, cell) if points else None
    if mesh is not None:
        meshes[cell] = mesh


def make_above(job: Job, task: tuple[Order, Cell, list[Cell]]) -> list[Made]:
    """Make a tile from tiles of the next level."""
    order, cell, children = task
    path = order.work_path(cell)
    if not path.exists():
        mesh = make_coarse([_read_points(order.work_path(child), child) for child in children], order.scheme, cell)
        _write(path, {} if mesh is None else {cell: mesh})
    return _list(path)


def encode_meshes(job: Job, task: tuple[Order, Cell, dict[Cell, NDArray[np.int64]]]) -> None:
    """Write the files of the tiles that a task has made, with the steps of the heights around each."""
    order, of, around = task
    meshes = order.work_path(of)
    with reading(meshes), np.load(meshes) as file:
        for cell, steps in around.items():
            if not order.tile_path(cell).exists():
                write_tile(order, cell, Mesh(*(file[_key(cell, name)] for name in Mesh._fields)), Steps(steps))


def write_tile(order: Order, cell: Cell, mesh: Mesh, steps: Steps | None = None) -> None:
    """Write the file of a tile; without steps its heights and those around it are all 0."""
    content = encode(mesh, cell, order.scheme, steps or Steps(np.full((3, 3), find_step(0, 0))))
    _put(order.tile_path(cell), gzip.compress(content, mtime=0) if order.compress else content)


def _put(path: Path, content: bytes) -> None:
    """Write a file whole."""
    try:
        path.parent.mkdir(parents=True, exist_ok=True)
        temporary = path.with_suffix(".part")
        temporary.write_bytes(content)
        os.replace(temporary, path)
    except OSError as error:
        raise FileError(f"{path}: {error.strerror}") from error


def _key(cell: Cell, name: str) -> str:
    return f"{cell.z}-{cell.x}-{cell.y}-{name}"


def _write(path: Path, meshes: dict[Cell, Mesh]) -> None:
    heads = [[*cell, mesh.points[:, 2].min(), mesh.points[:, 2].max()] for cell, mesh in meshes.items()]
    arrays = {_key(cell, name): getattr(mesh, name) for cell, mesh in meshes.items() for name in Mesh._fields}
    with writing(path) as temporary, temporary.open("wb") as file:
        np.savez(file, heads=np.array(heads, dtype=np.float64).reshape(-1, 5), **arrays)


def _list(path: Path) -> list[Made]:
    with reading(path), np.load(path) as file:
        return [Made(Cell(int(z), int(x), int(y)), low, high) for z, x, y, low, high in file["heads"].tolist()]


def _read_points(path: Path, cell: Cell) -> FloatArray:
    with reading(path), np.load(path) as file:
        points: FloatArray = file[_key(cell, "points")]
        return points
