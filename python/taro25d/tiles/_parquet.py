"""All triangles in one GeoParquet file (version 1.1), a group of rows after the other."""

from __future__ import annotations

import json
from collections.abc import Iterator
from pathlib import Path
from typing import TYPE_CHECKING, Any

import numpy as np

from .._geometry import FloatArray
from .._optional import require
from ..errors import InvalidInputError
from ..io._files import writing

if TYPE_CHECKING:
    from ._result import Tiling

_ROWS = 1 << 17
_CORNERS = ("xmin", "ymin", "xmax", "ymax")
_POLYGON_Z = 1003
# A polygon in well-known binary: byte order, kind, one ring, four corners with heights.
_WKB = np.dtype([("order", "u1"), ("kind", "<u4"), ("rings", "<u4"), ("size", "<u4"), ("corners", "<f8", (4, 3))])


def write(tiling: Tiling, path: Path) -> None:
    """Write the triangles of all tiles, with the names of the tiles and boxes."""
    if path.suffix.lower() != ".parquet":
        raise InvalidInputError(f"{path}: triangles of tiles go into .parquet files")
    pyarrow, parquet = require("pyarrow", "tiles"), require("pyarrow.parquet", "tiles")
    box = pyarrow.struct([(name, pyarrow.float64()) for name in _CORNERS])
    kind = pyarrow.schema([("tile", pyarrow.string()), ("geometry", pyarrow.binary()), ("bbox", box)])
    kind = kind.with_metadata({"geo": json.dumps(_describe(tiling))})
    with writing(path) as temporary, parquet.ParquetWriter(temporary, kind, compression="zstd") as file:
        for name, corners in _groups(tiling):
            file.write_table(pyarrow.Table.from_arrays(_columns(name, corners), schema=kind))


def _groups(tiling: Tiling) -> Iterator[tuple[str, FloatArray]]:
    for name in tiling.tiles:
        points, rows = tiling.faces(name)
        for start in range(0, len(rows), _ROWS):
            yield name, points[rows[start : start + _ROWS]]


def _columns(name: str, corners: FloatArray) -> list[Any]:
    pyarrow = require("pyarrow", "tiles")
    polygons = np.zeros(len(corners), dtype=_WKB)
    polygons["order"], polygons["kind"], polygons["rings"], polygons["size"] = 1, _POLYGON_Z, 1, 4
    polygons["corners"] = corners[:, [0, 1, 2, 0]]
    offsets = np.arange(len(corners) + 1, dtype=np.int32) * _WKB.itemsize
    geometry = pyarrow.BinaryArray.from_buffers(
        pyarrow.binary(), len(corners), [None, pyarrow.py_buffer(offsets), pyarrow.py_buffer(polygons)]
    )
    sides = np.column_stack([corners[..., :2].min(axis=1), corners[..., :2].max(axis=1)])
    boxes = pyarrow.StructArray.from_arrays([pyarrow.array(side) for side in sides.T.copy()], _CORNERS)
    return [pyarrow.array([name] * len(corners)), geometry, boxes]


def _describe(tiling: Tiling) -> dict[str, Any]:
    west, south, east, north = tiling.bounds
    heights = tiling._store.index.heights
    column: dict[str, Any] = {
        "encoding": "WKB",
        "geometry_types": ["Polygon Z"],
        "crs": None if tiling.crs is None else tiling.crs.to_json_dict(),
        "orientation": "counterclockwise",
        "covering": {"bbox": {name: ["bbox", name] for name in _CORNERS}},
    }
    if len(heights):
        column["bbox"] = [west, south, float(heights[:, 0].min()), east, north, float(heights[:, 1].max())]
    return {"version": "1.1.0", "primary_column": "geometry", "columns": {"geometry": column}}
