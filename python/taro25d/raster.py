"""Surfaces as grids of cells."""

from __future__ import annotations

import math
from os import PathLike
from pathlib import Path
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np

from . import _engine
from ._geometry import FloatArray
from ._optional import require
from ._progress import Progress, showing
from .crs import Crs
from .errors import InvalidInputError

if TYPE_CHECKING:
    from .triangulation import Triangulation

METHODS = ("linear", "natural", "slope", "aspect", "hillshade")
_MOST_CELLS = 1 << 32


class Frame(NamedTuple):
    """The position of the cells of a raster; rows are counted from the north."""

    west: float
    north: float
    cell_width: float
    cell_height: float
    columns: int
    rows: int


class Raster:
    """A value for the centre of each cell, NaN where there is no surface.

    Attributes
    ----------
    values
        (rows, columns) float64; the first row is the northern one.
    frame
        Where the cells are.
    crs
        The coordinate reference system, None where it is not known.
    """

    def __init__(self, values: FloatArray, frame: Frame, crs: Crs = None) -> None:
        self.values = values
        self.frame = frame
        self.crs = crs

    def __repr__(self) -> str:
        rows, columns = self.values.shape
        return f"<Raster: {rows} rows of {columns} cells of {self.frame.cell_width:g} by {self.frame.cell_height:g}>"

    @property
    def transform(self) -> Any:
        """The ``affine.Affine`` from (column, row) to (x, y); needs the extra ``io``."""
        west, north, width, height, _, _ = self.frame
        return require("affine").Affine(width, 0.0, west, 0.0, -height, north)

    @property
    def bounds(self) -> tuple[float, float, float, float]:
        """West, south, east and north."""
        west, north, width, height, columns, rows = self.frame
        return west, north - rows * height, west + columns * width, north

    @property
    def x(self) -> FloatArray:
        """The x of the centres of each column."""
        return self.frame.west + self.frame.cell_width * (np.arange(self.frame.columns, dtype=np.float64) + 0.5)

    @property
    def y(self) -> FloatArray:
        """The y of the centres of each row."""
        return self.frame.north - self.frame.cell_height * (np.arange(self.frame.rows, dtype=np.float64) + 0.5)

    def write(self, path: str | PathLike[str]) -> None:
        """Write a GeoTIFF (``.tif``) or an ESRI ASCII grid (``.asc``), exactly; nothing is written where it fails."""
        from . import io

        io.write_raster(self, Path(path))


def make_raster(tin: Triangulation, frame: Frame, method: str, zone: _engine.Zone | None, progress: Progress) -> Raster:
    """Ask the engine for a raster."""
    if method not in METHODS:
        raise InvalidInputError(f"method: one of {', '.join(METHODS)} is expected, not {method!r}")
    with showing(progress) as show:
        kind = METHODS.index(method)
        values = _engine.rasterize(tin._surface, zone, _engine.RasterFrame(*frame), kind, show)
    return Raster(values, frame, tin.crs)


def find_frame(
    resolution: float | tuple[float, float] | None,
    bounds: tuple[float, float, float, float] | None,
    like: Any,
    extent: tuple[float, float, float, float],
) -> Frame:
    """Compute the frame from the user's arguments and the extent of the surface."""
    if (resolution is None) == (like is None):
        raise InvalidInputError("resolution, like: exactly one of the two is expected")
    if like is not None:
        return _frame_like(like)
    sizes = np.broadcast_to(np.asarray(resolution, dtype=np.float64), 2).tolist()
    if not all(math.isfinite(size) and size > 0 for size in sizes):
        raise InvalidInputError(f"resolution: a number above 0 is expected, not {resolution}")
    width, height = sizes
    if bounds is None:
        west, south, east, north = extent
        if math.isnan(west):
            raise InvalidInputError("bounds: they are needed, since there are no points")
        west, east = math.floor(west / width) * width, math.ceil(east / width) * width
        south, north = math.floor(south / height) * height, math.ceil(north / height) * height
    else:
        west, south, east, north = map(float, bounds)
        if not (west < east and south < north and all(map(math.isfinite, bounds))):
            raise InvalidInputError(f"bounds: west < east and south < north are expected, not {bounds}")
    columns, rows = max(1, round((east - west) / width)), max(1, round((north - south) / height))
    if columns * rows > _MOST_CELLS:
        raise InvalidInputError(f"resolution: {resolution} makes {columns} by {rows} cells, more than {_MOST_CELLS}")
    return Frame(west, north, width, height, columns, rows)


def _frame_like(like: Any) -> Frame:
    if isinstance(like, Raster):
        return like.frame
    if isinstance(like, (str, PathLike)):
        from .io._files import reading

        with reading(Path(like)), require("rasterio").open(like) as file:
            return _frame_like(file)
    if not hasattr(like, "transform"):
        raise InvalidInputError(f"like: a Raster, a file or a rasterio dataset is expected, not {like!r}")
    a, b, c, d, e, f = tuple(like.transform)[:6]
    if b or d or a <= 0 or e >= 0:
        raise InvalidInputError("like: its cells are turned, or its first row is not the northern one")
    return Frame(c, f, a, -e, int(like.width), int(like.height))
