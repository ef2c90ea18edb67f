"""The source of a tiling: files or an array, read in pieces that fit into memory."""

from __future__ import annotations

import glob
import hashlib
from collections.abc import Sequence
from os import PathLike
from pathlib import Path
from typing import Any, NamedTuple

import numpy as np

from .. import io
from .._geometry import FloatArray
from .._optional import require
from ..errors import FileError, FormatError, InvalidInputError
from ..io._files import reading, writing

_ROWS = 2_000_000
_LAS = (".las", ".laz")


class Piece(NamedTuple):
    """Some rows of a file; without an end, all rows."""

    path: str
    start: int = 0
    stop: int | None = None


class Content(NamedTuple):
    """The identity of a file without its name and place, and its reference system."""

    pieces: list[Piece]
    size: int
    digest: str
    crs: str | None


def list_files(source: Any) -> list[Path] | None:
    """Return the files that a path, a pattern or a list of these denotes; None for an array."""
    if isinstance(source, (str, PathLike)):
        return _match(str(source))
    if isinstance(source, Sequence) and source and all(isinstance(part, (str, PathLike)) for part in source):
        return [path for part in source for path in _match(str(part))]
    return None


def _match(name: str) -> list[Path]:
    found = [name] if Path(name).exists() else sorted(glob.glob(name, recursive=True))
    if not found:
        raise FileError(f"{name}: there is no such file")
    return [Path(path).resolve() for path in found]


def look_at(path: Path) -> Content:
    """Examine a file, and divide it into pieces."""
    name = path.name.lower()
    with reading(path):
        known = None
        if name.endswith(_LAS):
            with require("laspy").open(path) as file:
                num, known = file.header.point_count, file.header.parse_crs()
            pieces = divide(path, num)
        elif name.endswith(".npy"):
            pieces = divide(path, len(_open_array(path)))
        else:
            io.find_format(path, for_reading=True)
            pieces = [Piece(str(path))]
        digest = hashlib.blake2b(digest_size=16)
        with path.open("rb") as stream:
            while block := stream.read(1 << 22):
                digest.update(block)
        return Content(pieces, path.stat().st_size, digest.hexdigest(), known and known.to_wkt())


def divide(path: Path, num: int, rows: int = _ROWS) -> list[Piece]:
    """Divide the rows of a file."""
    return [Piece(str(path), start, min(start + rows, num)) for start in range(0, num, rows)]


def _open_array(path: Path) -> FloatArray:
    array = np.load(path, mmap_mode="r", allow_pickle=False)
    if array.ndim != 2 or array.shape[1] != 3 or array.dtype != np.float64:
        raise FormatError(f"(n, 3) float64 are expected, not the shape {array.shape} of {array.dtype}")
    return array  # type: ignore[no-any-return]


def read_piece(piece: Piece, classes: Sequence[int] | None = None) -> tuple[FloatArray, int, str | None]:
    """Read the points of a piece that are finite, how many are not, and the reference system of a file that is read whole."""
    path = Path(piece.path)
    system = None
    if piece.stop is None:
        found = io.read(path)
        points = found.points
        system = None if found.crs is None else found.crs.to_wkt()
    else:
        with reading(path):
            if path.suffix.lower() in _LAS:
                from ..io.las import read_rows

                points = read_rows(path, piece.start, piece.stop, classes)
            else:
                points = np.array(_open_array(path)[piece.start : piece.stop])
    finite = np.isfinite(points).all(axis=1)
    if finite.all():
        return points, 0, system
    return points[finite], int(len(points) - finite.sum()), system


def keep_array(points: FloatArray, path: Path) -> None:
    """Write an array to a file that all workers can read."""
    if not path.exists():
        path.parent.mkdir(exist_ok=True)
        with writing(path) as temporary, temporary.open("wb") as file:
            np.save(file, points)


def digest_array(points: FloatArray) -> str:
    """Return a number for the content of an array."""
    return hashlib.blake2b(points.view(np.uint8).data, digest_size=16).hexdigest()


def check_classes(files: list[Path] | None) -> None:
    """Refuse classes of an array and of files that have none."""
    others = [path for path in files or [] if path.suffix.lower() not in _LAS]
    if files is None or others:
        name = "an array" if files is None else others[0]
        raise InvalidInputError(f"classes: {name} has none, only LAS files have")
