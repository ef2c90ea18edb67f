"""Rasters of all tiles, with the same values as if the surface were in one piece.

A centre belongs to one triangle at most, hence to one tile. A centre on the border of the surface may belong to none; every
tile with a triangle there gives a value and an angle, and the smallest angle decides, as it does in one piece.
"""

from __future__ import annotations

from collections.abc import Callable, Iterator
from pathlib import Path
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

from .. import _engine
from .._geometry import FloatArray
from .._optional import require
from ..errors import FileError, InvalidInputError
from ..io._files import writing
from ..io.grid import UNFINISHED, has_all_blocks
from ..raster import METHODS, Frame, Raster
from ._crew import Crew
from ._parts import Part, make_part, open_part
from ._plan import IntArray
from ._work import Job, Stars

if TYPE_CHECKING:
    from ._result import Tiling

_MOST_CELLS = 1 << 22  # of a task
_BLOCK = 256  # rows and columns of the blocks of a file
_LEVEL = -np.inf  # an aspect of level ground, as long as NaN tells cells without a value


class Window(NamedTuple):
    """Rows and columns of a frame, each from the first to the one after the last."""

    first_row: int
    end_row: int
    first_column: int
    end_column: int

    @property
    def slices(self) -> tuple[slice, slice]:
        """Rows and columns."""
        return slice(self.first_row, self.end_row), slice(self.first_column, self.end_column)


class Border(NamedTuple):
    """Cells on the border of a tile: rows and columns of the frame, values, angles."""

    places: IntArray
    values: FloatArray
    angles: FloatArray


class Cells(NamedTuple):
    """The cells of a tile in a window: values, NaN where it has none, and its border."""

    window: Window
    values: FloatArray
    border: Border


# ---- Tasks ----


def make_cells(job: Job, task: tuple[str, Frame, Window, str]) -> Cells:
    """Make the cells of a window that belong to a tile."""
    name, frame, window, method = task
    part = open_part(job.store, name)
    if method == "natural":
        linear, has, _ = _rasterize(part, frame, window, "linear")
        del linear
        part = _with_neighbours(job, name, part, _centres(frame, window)[has.ravel()])
    values, has, border = _rasterize(part, frame, window, method)
    values[has & np.isnan(values)] = _LEVEL
    return Cells(window, values, border)


def _rasterize(part: Part, frame: Frame, window: Window, method: str) -> tuple[FloatArray, NDArray[np.bool_], Border]:
    values, has, places, border, angles = _engine.rasterize_part(
        part.tin._surface, part.mask, _engine.RasterFrame(*frame), window, METHODS.index(method)
    )
    return values, has.astype(bool), Border(places + np.array([window.first_row, window.first_column]), border, angles)


def _centres(frame: Frame, window: Window) -> FloatArray:
    whole = Raster(np.empty((0, 0)), frame)
    rows, columns = window.slices
    return np.stack(np.meshgrid(whole.x[columns], whole.y[rows]), axis=-1).reshape(-1, 2)


def _with_neighbours(job: Job, name: str, part: Part, places: FloatArray) -> Part:
    """Make the triangulation of a tile in which places have the natural neighbours that they have in the whole."""
    if not len(places):
        return part
    stars = Stars(job.store, name)
    stars.take_up(job.store.read_halo(name))
    stars.certify_neighbours(places)
    halo, _ = stars.tile.owned()
    return make_part(stars.own, halo)


# ---- The whole ----


def make_raster(tiling: Tiling, crew: Crew, frame: Frame, method: str) -> Raster:
    """Make a raster in memory."""
    values = np.full((frame.rows, frame.columns), np.nan)

    def fill(window: Window, cells: FloatArray) -> None:
        part = values[window.slices]
        part[...] = np.where(np.isnan(cells), part, cells)

    for window, cells in _fill(tiling, crew, frame, method, fill):
        part = values[window.slices]
        part[...] = np.where(np.isnan(part), cells, part)
    values[np.isneginf(values)] = np.nan
    return Raster(values, frame, tiling.crs)


def write_raster(tiling: Tiling, crew: Crew, frame: Frame, method: str, path: Path) -> None:
    """Write a GeoTIFF window by window."""
    rasterio = require("rasterio")
    if path.suffix.lower() not in (".tif", ".tiff"):
        raise InvalidInputError(f"{path}: rasters of tiles go into .tif files")
    transform = Raster(np.empty((0, 0)), frame).transform
    with writing(path) as temporary:
        with rasterio.open(
            temporary, "w", driver="GTiff", height=frame.rows, width=frame.columns, count=1, dtype="float64",
            nodata=float("nan"), transform=transform, crs=None if tiling.crs is None else tiling.crs.to_wkt(),
            tiled=True, blockxsize=_BLOCK, blockysize=_BLOCK, bigtiff="if_safer",
        ):  # fmt: skip
            pass  # all cells are written without a value here, so that there is room for them on the disk
        if not has_all_blocks(temporary):
            raise FileError(f"{path}: {UNFINISHED}")
        with rasterio.open(temporary, "r+") as file:
            _write_cells(tiling, crew, frame, method, file)


def _write_cells(tiling: Tiling, crew: Crew, frame: Frame, method: str, file: Any) -> None:
    window_of = require("rasterio").windows.Window.from_slices

    def change(window: Window, change_cells: Callable[[FloatArray], FloatArray]) -> None:
        place = window_of(*window.slices)
        file.write(change_cells(file.read(1, window=place)), 1, window=place)

    def fill(window: Window, cells: FloatArray) -> None:
        change(window, lambda former: np.where(np.isnan(cells), former, cells))

    def complete(window: Window, cells: FloatArray) -> None:
        change(window, lambda former: np.where(np.isnan(former), cells, former))

    for window, cells in _fill(tiling, crew, frame, method, fill):
        complete(window, cells)
    if method == "aspect":
        for window in _divide(Window(0, frame.rows, 0, frame.columns), _BLOCK * _BLOCK):
            change(window, lambda former: np.where(np.isneginf(former), np.nan, former))


def _fill(
    tiling: Tiling, crew: Crew, frame: Frame, method: str, fill: Callable[[Window, FloatArray], None]
) -> Iterator[tuple[Window, FloatArray]]:
    """Fill in the cells that have a triangle; get, in pieces, those on the border, for cells that were not filled."""
    if method not in METHODS:
        raise InvalidInputError(f"method: one of {', '.join(METHODS)} is expected, not {method!r}")
    borders = []
    for _, cells in crew.each("raster", make_cells, _list_tasks(tiling, frame, method)):
        fill(cells.window, cells.values)
        borders.append(cells.border)
    if borders:
        yield from _settle(Border(*map(np.concatenate, zip(*borders, strict=True))))


def _settle(border: Border) -> Iterator[tuple[Window, FloatArray]]:
    """Choose for each cell the value with the smallest angle, and get the cells block by block."""
    rows, columns = border.places.T
    order = np.lexsort((border.values, border.angles, columns, rows, columns // _BLOCK, rows // _BLOCK))
    places, values = border.places[order], border.values[order]
    first = np.ones(len(places), dtype=bool)
    first[1:] = (places[1:] != places[:-1]).any(axis=1)
    places, values = places[first], values[first]
    starts = np.flatnonzero((np.diff(places // _BLOCK, axis=0, prepend=-1) != 0).any(axis=1))
    for part, found in zip(np.split(places, starts[1:]), np.split(values, starts[1:]), strict=True):
        if not len(part):
            continue
        low, high = part.min(axis=0), part.max(axis=0) + 1
        cells = np.full(high - low, np.nan)
        cells[tuple((part - low).T)] = np.where(np.isnan(found), _LEVEL, found)
        yield Window(int(low[0]), int(high[0]), int(low[1]), int(high[1])), cells


def _list_tasks(tiling: Tiling, frame: Frame, method: str) -> Iterator[tuple[str, Frame, Window, str]]:
    for name in tiling.tiles:
        box = tiling._store.box_of_triangles(name)
        window = None if box is None else _find_window(frame, box)
        if window is not None:
            for part in _divide(window, _MOST_CELLS):
                yield name, frame, part, method


def _find_window(frame: Frame, box: FloatArray) -> Window | None:
    """Find the rows and columns whose centres a box may have."""
    left, right = (box[[0, 2]] - frame.west) / frame.cell_width + [-1, 1]
    top, bottom = (frame.north - box[[3, 1]]) / frame.cell_height + [-1, 1]
    first_row, end_row = np.clip([top, np.ceil(bottom)], 0, frame.rows).astype(int).tolist()
    first_column, end_column = np.clip([left, np.ceil(right)], 0, frame.columns).astype(int).tolist()
    window = Window(first_row, end_row, first_column, end_column)
    return window if first_row < end_row and first_column < end_column else None


def _divide(window: Window, most: int) -> Iterator[Window]:
    """Divide a window into parts of about ``most`` cells, whose sides are multiples of the side of a block."""
    width = min(window.end_column - window.first_column, max(_BLOCK, most // _BLOCK))
    height = max(_BLOCK, most // width // _BLOCK * _BLOCK)
    for row in range(window.first_row, window.end_row, height):
        for column in range(window.first_column, window.end_column, width):
            end = min(row + height, window.end_row), min(column + width, window.end_column)
            yield Window(row, end[0], column, end[1])
