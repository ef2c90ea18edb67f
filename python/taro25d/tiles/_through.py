"""Contours and rasters of all tiles, one after the other, as if the surface were in one piece."""

from __future__ import annotations

from collections import defaultdict
from collections.abc import Callable
from pathlib import Path
from typing import TYPE_CHECKING, Any

import numpy as np

from .. import _engine
from .._geometry import FloatArray
from .._optional import require
from ..contours import Contour, Contours
from ..errors import InvalidInputError
from ..raster import Frame, Raster
from ..triangulation import Triangulation

if TYPE_CHECKING:
    from ._result import Tiling

_STEPS = 16
_METHODS = ("linear", "slope", "aspect", "hillshade")


# ---- Contours ----


def make_contours(tiling: Tiling, levels: FloatArray) -> Contours:
    """Make contours that are joined across the borders of tiles."""
    cuts = _avoid_corners(tiling, levels).tolist()
    pieces: list[list[FloatArray]] = [[] for _ in cuts]
    for tile in tiling.tiles:
        tin, num_own = tiling._open(tile)
        places, starts, positions = _engine.owned_contours(tin._surface, num_own, cuts)
        for piece, position in zip(np.split(places, starts[1:-1]) if len(positions) else [], positions, strict=True):
            pieces[position].append(piece)
    lines = Contours(crs=tiling.crs)
    for level, parts in zip(levels.tolist(), pieces, strict=True):
        for line in join(parts):
            lines.append(Contour(level, np.column_stack([line, np.full(len(line), level)])))
    return lines


def _avoid_corners(tiling: Tiling, levels: FloatArray) -> FloatArray:
    """Move levels that are heights of points up, by the same few rounding errors in all tiles."""
    step = 1000 * np.spacing(np.abs(levels))
    candidates = levels[:, np.newaxis] + step[:, np.newaxis] * np.arange(_STEPS)
    taken = np.zeros(candidates.shape, dtype=bool)
    for tile in tiling.tiles:
        taken |= np.isin(candidates, tiling.points(tile)[:, 2])
    free: FloatArray = candidates[np.arange(len(levels)), np.argmin(taken, axis=1)]
    return free


def join(pieces: list[FloatArray]) -> list[FloatArray]:
    """Join directed lines of which one ends exactly where another begins; closed ones stay as they are."""
    following: dict[tuple[float, ...], list[int]] = defaultdict(list)
    ends = set()
    for k, piece in enumerate(pieces):
        if not np.array_equal(piece[0], piece[-1]):
            following[tuple(piece[0])].append(k)
            ends.add(tuple(piece[-1]))
    lines = [piece for piece in pieces if np.array_equal(piece[0], piece[-1])]
    for only_open in (True, False):  # what is left afterwards are rings
        for start in list(following):
            while following[start] and not (only_open and start in ends):
                chain = [pieces[following[start].pop()]]
                while following.get(tuple(chain[-1][-1])):
                    chain.append(pieces[following[tuple(chain[-1][-1])].pop()])
                lines.append(np.concatenate([chain[0], *(piece[1:] for piece in chain[1:])]))
    return lines


# ---- Rasters ----


def make_raster(tiling: Tiling, frame: Frame, method: str, path: Path | None) -> Raster | None:
    """Make a raster; with a path in a file alone, tile by tile."""
    if method not in _METHODS:
        raise InvalidInputError(f"method: one of {', '.join(_METHODS)} is expected, not {method!r}")
    if path is not None:
        _write_raster(tiling, frame, method, path)
        return None
    values = np.full((frame.rows, frame.columns), np.nan)

    def fill(rows: slice, columns: slice, cells: FloatArray) -> None:
        part = values[rows, columns]
        part[...] = np.where(np.isnan(part), cells, part)

    _fill(tiling, frame, method, fill)
    return Raster(values, frame, tiling.crs)


def _write_raster(tiling: Tiling, frame: Frame, method: str, path: Path) -> None:
    from ..io._files import writing

    rasterio = require("rasterio")
    if path.suffix.lower() not in (".tif", ".tiff"):
        raise InvalidInputError(f"{path}: rasters of tiles go into .tif files")
    transform = Raster(np.empty((0, 0)), frame).transform
    with writing(path) as temporary:
        with rasterio.open(
            temporary, "w", driver="GTiff", height=frame.rows, width=frame.columns, count=1, dtype="float64",
            nodata=float("nan"), transform=transform, crs=None if tiling.crs is None else tiling.crs.to_wkt(),
            tiled=True, sparse_ok=True, bigtiff="if_safer",
        ):  # fmt: skip
            pass
        with rasterio.open(temporary, "r+") as file:

            def fill(rows: slice, columns: slice, cells: FloatArray) -> None:
                window = rasterio.windows.Window.from_slices(rows, columns)
                former = file.read(1, window=window)
                file.write(np.where(np.isnan(former), cells, former), 1, window=window)

            _fill(tiling, frame, method, fill)


def _fill(tiling: Tiling, frame: Frame, method: str, fill: Callable[[slice, slice, FloatArray], Any]) -> None:
    for tile in tiling.tiles:
        points, rows_of_points = tiling.faces(tile)
        if not len(rows_of_points):
            continue
        corners = points[np.unique(rows_of_points), :2]
        window = _find_window(frame, corners.min(axis=0), corners.max(axis=0))
        if window is not None:
            tin, num_own = tiling._open(tile)
            fill(*window, _rasterize(tin, num_own, frame, window, method))


def _find_window(frame: Frame, low: FloatArray, high: FloatArray) -> tuple[slice, slice] | None:
    """Find the rows and columns whose centres a box may have."""
    west, north, width, height, columns, rows = frame
    first, last = (low[0] - west) / width - 1, (high[0] - west) / width + 1
    top, bottom = (north - high[1]) / height - 1, (north - low[1]) / height + 1
    across = slice(int(np.clip(first, 0, columns)), int(np.clip(np.ceil(last), 0, columns)))
    down = slice(int(np.clip(top, 0, rows)), int(np.clip(np.ceil(bottom), 0, rows)))
    return (down, across) if down.start < down.stop and across.start < across.stop else None


def _rasterize(tin: Triangulation, num_own: int, frame: Frame, window: tuple[slice, slice], method: str) -> FloatArray:
    """Make the cells of a window, NaN where the tile owns no triangle."""
    rows, columns = window
    part = Frame(
        frame.west + columns.start * frame.cell_width, frame.north - rows.start * frame.cell_height, frame.cell_width,
        frame.cell_height, columns.stop - columns.start, rows.stop - rows.start,
    )  # fmt: skip
    raster = tin.rasterize(like=Raster(np.empty((0, 0)), part), method=method)
    places = np.stack(np.meshgrid(raster.x, raster.y), axis=-1).reshape(-1, 2)
    owned = _engine.owned_places(tin._surface, np.ascontiguousarray(places), num_own).astype(bool)
    return np.where(owned.reshape(raster.values.shape), raster.values, np.nan)
