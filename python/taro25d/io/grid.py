"""GeoTIFF and ESRI ASCII grids, by rasterio."""

from __future__ import annotations

from pathlib import Path
from typing import TYPE_CHECKING

import numpy as np

from .._optional import require
from .._progress import Progress, counting, showing
from ..errors import FileError, FormatError
from ..points import Points

if TYPE_CHECKING:
    from ..raster import Raster

_MOST_CELLS = 500_000_000
_STRIP = 256  # rows that are written at a time
#: GDAL tells nobody that a disk was full when it closed a file.
UNFINISHED = "the file could not be written as a whole; the disk may be full"


def read(path: Path, band: int = 1) -> Points:
    """Read the cell centres that have a height."""
    rasterio = require("rasterio")
    with rasterio.open(path) as file:
        if file.driver == "AAIGrid" and path.stat().st_size < 2 * file.width * file.height - 1:
            raise FormatError(f"the file is cut short: it has no room for {file.width} by {file.height} cells")
        if file.width * file.height > _MOST_CELLS:
            raise FormatError(f"{file.width} by {file.height} cells are too many: cut a part out first")
        if not 1 <= band <= file.count:
            raise FormatError(f"there is no band {band}: the file has {file.count}")
        cells = file.read(band, masked=True)
        rows, columns = np.nonzero(~np.ma.getmaskarray(cells) & np.isfinite(cells.data.astype(np.float64)))
        heights = cells.data[rows, columns].astype(np.float64)
        scale, offset = file.scales[band - 1], file.offsets[band - 1]
        a, b, c, d, e, f = file.transform[:6]
        x, y = a * (columns + 0.5) + b * (rows + 0.5) + c, d * (columns + 0.5) + e * (rows + 0.5) + f
        if not len(heights):
            raise FormatError("no cell has a height")
        return Points(np.column_stack([x, y, heights * scale + offset]), file.crs and file.crs.to_wkt())


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
