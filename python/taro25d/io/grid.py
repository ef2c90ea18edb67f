"""GeoTIFF and ESRI ASCII grids, by rasterio."""

from __future__ import annotations

import re
from pathlib import Path
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import NDArray

from .. import _engine
from .._geometry import FloatArray
from .._messages import warn
from .._optional import require
from .._progress import Progress, counting, showing
from ..errors import FileError, FormatError
from ..points import Points

if TYPE_CHECKING:
    from ..raster import Raster
    from ..triangulation import Triangulation

_MOST_CELLS = 500_000_000
_HEAD = re.compile(rb"(\s*[A-Za-z_]+[ \t]+\S+[ \t]*\r?\n)+")  # of an ASCII grid
_HEAD_SIZE = 4096
_CHUNK = 1 << 24  # bytes
_STRIP = 256  # rows that are read or written at a time
#: GDAL reports no error if the disk is full when it closes a file.
UNFINISHED = "the file could not be written as a whole; the disk may be full"


def read(path: Path, band: int = 1, gaps: bool = False, progress: Progress = False) -> Points | Triangulation:
    """Read the cell centres that have a height; with ``gaps`` the surface, in which the other cells are gaps."""
    cells, points = read_cells(path, band, progress)
    return _make_surface(points, cells, progress) if gaps else points


def read_cells(path: Path, band: int = 1, progress: Progress = False) -> tuple[NDArray[np.int64], Points]:
    """Read row and column of each cell that has a height, and its centre."""
    rasterio = require("rasterio")
    with rasterio.open(path) as file, showing(progress) as show:
        if file.driver == "AAIGrid":
            _check_words(path)
        if file.driver == "AAIGrid" and path.stat().st_size < 2 * file.width * file.height - 1:
            raise FormatError(f"the file is cut short: it has no room for {file.width} by {file.height} cells")
        if file.width * file.height > _MOST_CELLS:
            raise FormatError(f"{file.width} by {file.height} cells are too many: cut a part out first")
        if not 1 <= band <= file.count:
            raise FormatError(f"there is no band {band}: the file has {file.count}")
        if file.dtypes[band - 1].startswith("complex"):
            raise FormatError(f"band {band} has complex numbers, which are no heights")
        if file.transform.is_identity:
            warn("the raster does not say where it is: x and y are its columns and rows, counted from the first row")
        strips = counting("read", range(0, file.height, _STRIP), show)
        parts = [_read_strip(file, band, start) for start in strips]
        crs = file.crs and file.crs.to_wkt()
    cells, points = (np.concatenate(part) for part in zip(*parts, strict=True))
    if not len(points):
        raise FormatError("no cell has a height")
    return cells, Points(points, crs)


def _check_words(path: Path) -> None:
    """Refuse an ASCII grid with words among its numbers, which GDAL takes for zeros."""
    with path.open("rb") as file:
        head = _HEAD.match(file.read(_HEAD_SIZE))
        file.seek(head.end() if head else 0)
        while chunk := file.read(_CHUNK):
            words = chunk.translate(None, b"0123456789+-.,eE \t\r\n\0" + b"nNaAiIfF")
            if words:
                raise FormatError(f"{words[:20].decode('ascii', 'replace')!r} is no part of a number")


def _read_strip(file: Any, band: int, start: int) -> tuple[NDArray[np.int64], FloatArray]:
    """Read some rows: row and column of each cell that has a height, and its centre."""
    window = ((start, min(start + _STRIP, file.height)), (0, file.width))
    values = file.read(band, masked=True, window=window)
    rows, columns = np.nonzero(~np.ma.getmaskarray(values) & np.isfinite(values.data.astype(np.float64)))
    heights = values.data[rows, columns].astype(np.float64) * file.scales[band - 1] + file.offsets[band - 1]
    rows += start
    a, b, c, d, e, f = file.transform[:6]
    x, y = a * (columns + 0.5) + b * (rows + 0.5) + c, d * (columns + 0.5) + e * (rows + 0.5) + f
    return np.column_stack([rows, columns]), np.column_stack([x, y, heights])


def _make_surface(points: Points, cells: NDArray[np.int64], progress: Progress) -> Triangulation:
    """Make the surface of the triangles between four cells that touch in a corner."""
    from ..triangulation import Triangulation

    tin = Triangulation(points, progress=progress)
    inside = (np.ptp(cells[tin.ids][tin.triangles], axis=1) <= 1).all(axis=1)
    if not inside.any():
        raise FormatError("no three neighbouring cells have heights")
    if not inside.all():
        tin._part = _engine.Zone.of_rows(tin._surface, np.flatnonzero(inside).tolist())
    return tin


def write(raster: Raster, path: Path, progress: Progress = False) -> None:
    """Write a GeoTIFF of doubles."""
    rasterio = require("rasterio")
    rows, columns = raster.values.shape
    with rasterio.open(
        path, "w", driver="GTiff", height=rows, width=columns, count=1, dtype="float64", nodata=float("nan"),
        transform=raster.transform, crs=None if raster.crs is None else raster.crs.to_wkt(),
        compress="deflate", predictor=3, bigtiff="if_safer",
    ) as file, showing(progress) as show:  # fmt: skip
        for start in counting("write", range(0, rows, _STRIP), show):
            cells = raster.values[start : start + _STRIP]
            file.write(cells, 1, window=((start, start + len(cells)), (0, columns)))
    if not _holds(path, raster):
        raise FileError(f"{path}: {UNFINISHED}")


def _holds(path: Path, raster: Raster) -> bool:
    rasterio = require("rasterio")
    try:
        with rasterio.open(path) as file:
            return np.array_equal(file.read(1), raster.values, equal_nan=True)
    except rasterio.errors.RasterioError:
        return False


def has_all_blocks(path: Path) -> bool:
    """Return whether every block of a GeoTIFF that is not compressed has its place in the file."""
    rasterio = require("rasterio")
    size = path.stat().st_size
    try:
        with rasterio.open(path) as file:
            for (row, column), _ in file.block_windows(1):
                start, length = (
                    file.get_tag_item(f"BLOCK_{kind}_{column}_{row}", "TIFF", bidx=1) for kind in ("OFFSET", "SIZE")
                )
                if not start or int(start) + int(length) > size:
                    return False
    except rasterio.errors.RasterioError:
        return False
    return True


def write_asc(raster: Raster, path: Path, progress: Progress = False) -> None:
    """Write an ESRI ASCII grid with as many digits as it takes, and the reference system beside it."""
    west, south, _, _ = raster.bounds
    width, height = raster.frame.cell_width, raster.frame.cell_height
    size = [f"cellsize {width!r}"] if width == height else [f"dx {width!r}", f"dy {height!r}"]
    rows, columns = raster.values.shape
    head = [
        f"ncols {columns}",
        f"nrows {rows}",
        f"xllcorner {west!r}",
        f"yllcorner {south!r}",
        *size,
        "NODATA_value -9999",
    ]
    if (raster.values == -9999).any():
        raise FormatError("a cell has the value -9999, which stands for no value there")
    with path.open("w", encoding="ascii") as file, showing(progress) as show:
        file.writelines(line + "\n" for line in head)
        for row in counting("write", np.where(np.isnan(raster.values), -9999.0, raster.values).tolist(), show):
            file.write(" ".join(map(repr, row)) + "\n")
    if raster.crs is not None:
        path.with_suffix(".prj").write_text(raster.crs.to_wkt("WKT1_ESRI"), encoding="utf-8")
