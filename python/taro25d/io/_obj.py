"""OBJ: vertices, and faces of any number of corners."""

from __future__ import annotations

from collections.abc import Iterable
from pathlib import Path

import numpy as np
from numpy.typing import NDArray

from .._geometry import FloatArray
from .._progress import ProgressFunction, counting_lines
from ..errors import FormatError
from ._polygons import split

_MOST_VERTICES = 1 << 31


def read_obj(path: Path, show: ProgressFunction | None) -> tuple[FloatArray, NDArray[np.int64]]:
    """Return points and triangles; normals, textures, lines and groups do not count."""
    vertices: list[list[str]] = []
    faces: list[list[int]] = []
    with path.open(encoding="utf-8", errors="replace") as file:
        for number, words in _statements(counting_lines("read", file, path.stat().st_size, show)):
            if words[0] == "v":
                vertices.append(words[1:4])
            elif words[0] == "f":
                faces.append([_corner(word, len(vertices), number) for word in words[1:]])
    if any(len(vertex) != 3 for vertex in vertices):
        raise FormatError("a vertex has fewer than three coordinates")
    points = np.array(vertices, dtype=np.float64).reshape(-1, 3)
    return points, split(points, faces)


def _statements(lines: Iterable[str]) -> Iterable[tuple[int, list[str]]]:
    """Return the words of lines, and of several that a backslash joins, with the number of the last line."""
    words: list[str] = []
    for number, line in enumerate(lines, 1):
        text = line.partition("#")[0].strip()
        words += text.removesuffix("\\").split()
        if words and not text.endswith("\\"):
            yield number, words
            words = []


def _corner(word: str, num_vertices: int, line: int) -> int:
    """Return the row of a corner such as 7, 7/1/2 or -1, which is the last vertex so far."""
    try:
        index = int(word.partition("/")[0])
    except ValueError as error:
        raise FormatError(f"line {line}: {word[:20]} is no corner of a face") from error
    row = num_vertices + index if index < 0 else index - 1
    if index == 0 or not 0 <= row < _MOST_VERTICES:
        raise FormatError(f"line {line}: there is no vertex {index}")
    return row
