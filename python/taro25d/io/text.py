"""Points as text: x, y and z on each line, with blanks, commas, semicolons or tabulators between."""

from __future__ import annotations

import re
import warnings
from pathlib import Path
from typing import TYPE_CHECKING

import numpy as np

from .._geometry import FloatArray
from .._progress import Progress, counting, counting_lines, showing
from ..errors import FormatError
from ..points import Points

if TYPE_CHECKING:
    from ..triangulation import Triangulation
    from ..zone import Zone

_NAMES = (
    ("x", "easting", "east", "e", "lon", "longitude", "rechtswert"),
    ("y", "northing", "north", "n", "lat", "latitude", "hochwert"),
    ("z", "height", "elevation", "elev", "h", "altitude", "hoehe"),
)


def read(path: Path, progress: Progress = False) -> Points:
    """Read points; a line of names may stand first, and lines that begin with # do not count."""
    try:
        with path.open(encoding="utf-8-sig") as file:
            head = [line for line in (file.readline(100_000) for _ in range(100)) if line.strip() and line[0] != "#"]
    except UnicodeDecodeError as error:
        raise FormatError("this is no text, or its encoding is not UTF-8") from error
    if not head:
        raise FormatError("the file is empty")
    delimiter = next((mark for mark in (";", "\t", ",") if mark in head[0]), None)
    names = _split(head[0], delimiter)
    columns = (0, 1, 2) if _is_number(names[0]) else _columns(names)
    with path.open(encoding="utf-8-sig") as file, showing(progress) as show, warnings.catch_warnings():
        warnings.simplefilter("ignore", UserWarning)  # of NumPy, about files without data
        known = counting_lines("read points", file, path.stat().st_size, show)
        lines = (line for line in known if line.strip() and line[0] != "#")
        if not _is_number(names[0]):
            next(lines)
        if delimiter == ";":  # the comma is a decimal point then
            lines = (line.replace(",", ".") for line in lines)
        points = np.loadtxt(lines, delimiter=delimiter, usecols=columns, ndmin=2, quotechar='"')
    if not len(points):
        raise FormatError("there are no points")
    return Points(points)


def _split(line: str, delimiter: str | None) -> list[str]:
    return [part.strip().strip('"').lower() for part in line.strip().split(delimiter)]


def _is_number(text: str) -> bool:
    return re.fullmatch(r"[-+]?(\d+\.?\d*|\.\d+)(e[-+]?\d+)?|nan|[-+]?inf", text) is not None


def _columns(names: list[str]) -> tuple[int, int, int]:
    found = [next((k for k, name in enumerate(names) if name in known), None) for known in _NAMES]
    if None in found:
        raise FormatError(f"columns x, y and z are expected, not {', '.join(names)}")
    x, y, z = found
    return x, y, z  # type: ignore[return-value]


def write_xyz(tin: Triangulation, path: Path, zone: Zone | None = None, progress: Progress = False) -> None:
    """Write the vertices, with as many digits as it takes to read the same numbers again."""
    _write(tin.faces(zone)[0], path, " ", "", progress)


def write_csv(tin: Triangulation, path: Path, zone: Zone | None = None, progress: Progress = False) -> None:
    """Write the vertices under the names x, y and z."""
    _write(tin.faces(zone)[0], path, ",", "x,y,z\n", progress)


def _write(points: FloatArray, path: Path, delimiter: str, header: str, progress: Progress) -> None:
    with path.open("w", encoding="ascii") as file, showing(progress) as show:
        file.write(header)
        rows = counting("write", points.tolist(), show)
        file.writelines(delimiter.join(map(repr, point)) + "\n" for point in rows)
