"""GeoTIFF and ESRI ASCII grids, by rasterio."""

from __future__ import annotations

from pathlib import Path

import numpy as np

from .._optional import require
from ..errors import FormatError
from ..points import Points

_MOST_CELLS = 500_000_000


def read(path: Path, band: int = 1) -> Points:
    """Read the cell centres that have a height."""
    rasterio = require("rasterio")
    with rasterio.open(path) as file:
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
