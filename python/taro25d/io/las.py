"""LAS, LAZ and COPC: clouds of points."""

from __future__ import annotations

import contextlib
from collections.abc import Iterator, Sequence
from pathlib import Path
from typing import TYPE_CHECKING, Any

import numpy as np

from .._geometry import FloatArray
from .._optional import require
from .._progress import Progress, counting, showing
from ..errors import FormatError
from ..points import Points

if TYPE_CHECKING:
    from ..triangulation import Triangulation
    from ..zone import Zone

_CHUNK = 1_000_000
_WRITTEN = 100_000  # points that are written at a time
_ATTRIBUTES = ("classification", "intensity", "return_number", "number_of_returns", "gps_time")


def read(path: Path, classes: Sequence[int] | None = None, progress: Progress = False) -> Points:
    """Read the points, of some classes only if these are given (2 is ground), without those that are withheld."""
    laspy = require("laspy")
    with _decoding(), laspy.open(path) as file, showing(progress) as show:
        _check_size(path, file.header)
        names = [name for name in _ATTRIBUTES if name in file.header.point_format.dimension_names]
        chunks = []
        for chunk in file.chunk_iterator(_CHUNK):
            chunks.append(_select(chunk, classes, names))
            if show is not None:
                show("read points", min(1.0, len(chunks) * _CHUNK / file.header.point_count))
        num_read = sum(num for num, *_ in chunks)
        if num_read != file.header.point_count:
            raise FormatError(f"the file is cut short: {num_read} of {file.header.point_count} points are there")
        crs = file.header.parse_crs()
    points = np.concatenate([np.empty((0, 3)), *(points for _, points, _ in chunks)])
    attributes = {name: np.concatenate([values[name] for *_, values in chunks]) for name in names if chunks}
    return Points(points, crs, attributes)


def read_rows(path: Path, start: int, stop: int, classes: Sequence[int] | None = None) -> FloatArray:
    """Read the points of some rows, selected as ``read`` does."""
    laspy = require("laspy")
    with _decoding(), laspy.open(path) as file:
        _check_size(path, file.header)
        file.seek(start)
        num, points, _ = _select(file.read_points(stop - start), classes, [])
    if num != stop - start:
        raise FormatError(f"the file is cut short: {num} points are there from {start} to {stop}")
    return points


@contextlib.contextmanager
def _decoding() -> Iterator[None]:
    lazrs = require("lazrs")
    try:
        yield
    except lazrs.LazrsError as error:
        raise FormatError(f"the compressed points are broken or cut short: {error}") from error


def _check_size(path: Path, header: Any) -> None:
    """Refuse counts that the file cannot hold, before memory is taken for them."""
    size = path.stat().st_size
    needed = header.offset_to_point_data + header.point_count * header.point_format.size
    if not header.are_points_compressed and size < needed:
        raise FormatError(f"the file is cut short: {header.point_count} points need {needed} bytes, there are {size}")


def _select(chunk: Any, classes: Sequence[int] | None, names: list[str]) -> tuple[int, FloatArray, dict[str, Any]]:
    chosen = np.ones(len(chunk), dtype=bool)
    if "withheld" in chunk.point_format.dimension_names:
        chosen &= np.asarray(chunk.withheld) == 0
    if classes is not None:
        chosen &= np.isin(np.asarray(chunk.classification), list(classes))
    points: FloatArray = np.column_stack([chunk.x, chunk.y, chunk.z])[chosen]
    return len(chunk), points, {name: np.asarray(chunk[name])[chosen] for name in names}


def write(tin: Triangulation, path: Path, zone: Zone | None = None, progress: Progress = False) -> None:
    """Write the vertices, to a ten-thousandth of a unit."""
    laspy = require("laspy")
    require("lazrs")
    header = laspy.LasHeader(point_format=6, version="1.4")
    points, _ = tin.faces(zone)
    if len(points):
        header.offsets = np.floor(points.min(axis=0))
    header.scales = np.full(3, 1e-4)
    if len(points) and (np.ptp(points, axis=0) > 2e5).any():
        header.scales = np.maximum(np.ptp(points, axis=0) / 2e9, 1e-4)
    if tin.crs is not None:
        header.add_crs(tin.crs)
    with laspy.open(path, mode="w", header=header) as file, showing(progress) as show:
        for start in counting("write points", range(0, len(points), _WRITTEN), show):
            part = points[start : start + _WRITTEN]
            record = laspy.ScaleAwarePointRecord.zeros(len(part), header=header)
            record.x, record.y, record.z = part.T
            record.classification = np.full(len(part), 2, dtype=np.uint8)
            file.write_points(record)
