"""The making of a pyramid: which levels there are, and which tasks, in which order."""

from __future__ import annotations

import hashlib
import json
import shutil
import uuid
from pathlib import Path
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

from ..._geometry import FloatArray
from ..._progress import Progress, showing
from ...errors import Error, InvalidInputError, RefusedError
from .. import _settings
from .._crew import Crew, workers
from .._work import Job
from . import _globe, _page, _work
from ._mesh import STEPS
from ._quantized import find_step
from ._scheme import Cell, Scheme
from ._work import Extent, Made, Order

if TYPE_CHECKING:
    from .._result import Tiling

_FORMAT = 1
_LEAST_WIDTH = 512  # steps that the whole surface has in a tile of the first level
_SPARE_TILES = 256
_STEP_RANGE = 12


class Wishes(NamedTuple):
    """The choices of the user."""

    points_per_tile: int
    geographic: bool | None
    title: str | None
    compress: bool


def make(tiling: Tiling, folder: Path, client: Any, wishes: Wishes, progress: Progress) -> None:
    """Make a pyramid, or go on with one."""
    if wishes.points_per_tile < 1:
        raise InvalidInputError(f"points_per_tile: 1 or more are expected, not {wishes.points_per_tile}")
    if wishes.geographic and tiling.crs is None:
        raise InvalidInputError("geographic: the coordinate reference system of the tiling is not known")
    folder = folder.resolve()
    wishes = wishes._replace(geographic=tiling.crs is not None and wishes.geographic is not False)
    wishes = wishes._replace(title=wishes.title or folder.name)
    digest = _find_digest(tiling, wishes)
    with _settings.locking(folder), workers(client) as crew_client, showing(progress) as show:
        if _enter(folder, digest):
            return
        job = Job(str(tiling.folder.resolve()), uuid.uuid4().hex, None)
        layer = _make(tiling, folder, Crew(crew_client, job, show), wishes)
        _work._put(folder / "index.html", _page.make_page(layer["name"], layer["taro25d"]["heights"]).encode())
        layer["taro25d"]["digest"] = digest
        _work._put(folder / "layer.json", json.dumps(layer, indent=1).encode())
        shutil.rmtree(folder / ".work")


def _find_digest(tiling: Tiling, wishes: Wishes) -> str:
    """Return a number that identifies the input of the pyramid."""
    text = json.dumps([_FORMAT, _settings.read(tiling.folder), wishes])
    return hashlib.blake2b(text.encode(), digest_size=16).hexdigest()


def _enter(folder: Path, digest: str) -> bool:
    """Make sure that the folder is for this pyramid, and tell whether it is done."""
    layer, begun = folder / "layer.json", folder / ".work" / "digest"
    if layer.exists() or begun.exists():
        former = json.loads(layer.read_text())["taro25d"]["digest"] if layer.exists() else begun.read_text()
        if former != digest:
            raise RefusedError(f"{folder}: there is a pyramid of another tiling or with other settings")
        return layer.exists()
    if any(path.name != ".lock" for path in folder.iterdir()):
        raise RefusedError(f"{folder}: the folder holds other files")
    begun.parent.mkdir()
    begun.write_text(digest)
    return False


def _make(tiling: Tiling, folder: Path, crew: Crew, wishes: Wishes) -> dict[str, Any]:
    scheme = Scheme.of(tiling.crs if wishes.geographic else None, tiling.bounds)
    measured = crew.all("measuring", _work.measure, [(scheme, name) for name in tiling.tiles])
    extents = dict(zip(tiling.tiles, measured, strict=True))
    if not any(np.isfinite(extent.triangles).all() for extent in measured):
        raise Error(f"{tiling.folder}: there are no triangles")
    boxes = np.array([extent.points for extent in measured])
    box = np.array([boxes[:, 0].min(axis=0), boxes[:, 1].max(axis=0)])
    if np.ptp(box[:, 0]) > 180 and scheme.crs:
        raise Error("the points lie on both sides of the meridian of 180 degrees")
    finest = find_finest(scheme, boxes, len(tiling), wishes.points_per_tile)
    order = Order(str(folder), scheme, finest, wishes.compress)
    made = _make_meshes(crew, order, box, extents)
    tasks = [(order, of, steps) for of, steps in _find_steps(made).items()]
    crew.all("writing", _work.encode_meshes, tasks)
    cells = [part.cell for parts in made.values() for part in parts]
    first = min(cell.z for cell in cells)
    around = _globe.list_cells(scheme, first, box[:, :2]) if scheme.crs else []
    for cell in around:
        _work.write_tile(order, cell, _globe.make_mesh(scheme, cell))
    return _page.describe(scheme, box, around + cells, first, wishes.title or "")


def find_finest(scheme: Scheme, boxes: FloatArray, num: int, points_per_tile: int) -> int:
    """Find the level whose tiles have about ``points_per_tile`` points; a coarser one if most would be empty.

    The boxes (n, 2, 3) are those of the tiles of the tiling, which overlap little.
    """
    extents = boxes[:, 1, :2] - boxes[:, 0, :2]
    area = float(extents.prod(axis=1).sum())
    whole = boxes[:, 1, :2].max(axis=0) - boxes[:, 0, :2].min(axis=0)
    width = np.sqrt(max(area * points_per_tile / num, float(whole.max()) ** 2 / 4**20))
    finest = max(0, round(float(np.log2(scheme.size / width))), find_first(scheme, whole))
    while finest > 0 and whole.prod() / scheme.width(finest) ** 2 > _SPARE_TILES + 4 * num / points_per_tile:
        finest -= 1
    return finest


def find_first(scheme: Scheme, extent: FloatArray) -> int:
    """Find the coarsest level at which the surface is more than a few steps wide."""
    return max(0, int(np.floor(np.log2(scheme.size / float(extent.max()) / STEPS * _LEAST_WIDTH))))


def _make_meshes(crew: Crew, order: Order, box: FloatArray, extents: dict[str, Extent]) -> dict[Cell, list[Made]]:
    """Make all meshes, and list them by the cell that names their task."""
    scheme = order.scheme
    lows = np.array([extent.triangles[0, :2] for extent in extents.values()])
    highs = np.array([extent.triangles[1, :2] for extent in extents.values()])
    names = np.array(list(extents))
    tasks = []
    for cell in scheme.cells(order.block, box[0, :2], box[1, :2]):
        near = ((lows < scheme.high(cell)) & (highs > scheme.low(cell))).all(axis=1)
        tasks.append((order, cell, names[near].tolist()))
    done = crew.all("cutting", _work.make_block, tasks)
    made = {cell: parts for (_, cell, _), parts in zip(tasks, done, strict=True)}
    top = [part.cell for parts in done for part in parts if part.cell.z == order.block]
    for level in range(order.block - 1, find_first(scheme, np.ptp(box[:, :2], axis=0)) - 1, -1):
        below: dict[Cell, list[Cell]] = {}
        for child in top:
            below.setdefault(child.parent(), []).append(child)
        done = crew.all(f"simplifying level {level}", _work.make_above, [(order, *task) for task in below.items()])
        made |= dict(zip(below, done, strict=True))
        top = [part.cell for parts in done for part in parts]
    return made


def _find_steps(made: dict[Cell, list[Made]]) -> dict[Cell, dict[Cell, NDArray[np.int64]]]:
    """Find the steps, as exponents, of the heights of each tile and those around it, for each task."""
    steps = {part.cell: find_step(part.low, part.high) for parts in made.values() for part in parts}
    coarsest: dict[int, int] = {}
    for cell, step in steps.items():
        coarsest[cell.z] = max(step, coarsest.get(cell.z, step))
    # A tile must have room for heights that are rounded to the steps of its neighbours.
    steps = {cell: max(step, coarsest[cell.z] - _STEP_RANGE) for cell, step in steps.items()}

    def around(z: int, x: int, y: int) -> NDArray[np.int64]:
        own = steps[Cell(z, x, y)]
        return np.array([[steps.get(Cell(z, x + i, y + j), own) for i in (-1, 0, 1)] for j in (-1, 0, 1)])

    return {of: {part.cell: around(*part.cell) for part in parts} for of, parts in made.items()}
