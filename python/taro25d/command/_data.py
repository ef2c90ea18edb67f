"""Helpers of all commands: reading sources, lines and polygons, checking targets, printing results."""

from __future__ import annotations

import json
from collections.abc import Sequence
from pathlib import Path
from typing import Any

import click
import numpy as np

from .. import io
from .._geometry import FloatArray
from .._progress import Bar, showing
from ..errors import CrsError, FormatError, InvalidInputError
from ..points import Points
from ..triangulation import Triangulation
from ..zone import Zone


def check_target(target: Path, endings: Sequence[str] | None = None, name: str = "TARGET") -> None:
    """Refuse a target that could not be written, before any work."""
    known = endings or [e for e in io.endings(writing=True) if e not in io.RASTER_ENDINGS]
    if not target.name.lower().endswith(tuple(known)):
        raise click.BadParameter(f"{target}: the ending is none of {' '.join(known)}", param_hint=name)


def read(source: Path, classes: Sequence[int] = (), gaps: bool = False) -> Points | Triangulation:
    """Read a file. Classes are those of LAS, and gaps are those of rasters."""
    las = source.name.lower().endswith((".las", ".laz"))
    if classes and not las:
        raise click.BadParameter(f"{source} is no LAS file, and has no classes", param_hint="--class")
    try:
        options: dict[str, Any] = {"classes": list(classes)} if classes else {}
        options |= {name: value for name, value in (("repair", True), ("gaps", gaps)) if name in io.options_of(source)}
        return io.read(source, progress=Bar(delay=1.0), **options)
    except InvalidInputError as error:
        raise FormatError(str(error)) from error


def read_surface(source: Path, classes: Sequence[int] = (), gaps: bool = False) -> Triangulation:
    """Read a file, and triangulate it if it holds only points."""
    return make_surface(read(source, classes, gaps), source)


def make_surface(data: Points | Triangulation, source: Path) -> Triangulation:
    """Triangulate what was read from a file if it is only points."""
    try:
        tin = data if isinstance(data, Triangulation) else Triangulation(data, progress=Bar(delay=1.0))
    except InvalidInputError as error:
        raise FormatError(f"{source}: {error}") from error
    except CrsError as error:
        raise CrsError(f"{source}: {error}") from error
    if not len(tin):
        raise FormatError(f"{source}: there are no points that can be used")
    return tin


def need_triangles(tin: Triangulation, source: Path) -> Triangulation:
    """Refuse points that are all on one line."""
    if not len(tin.triangles):
        raise FormatError(f"{source}: {len(tin)} points, all on one line, make no surface")
    return tin


def find_lines(path: Path | None, crs: Any) -> list[tuple[FloatArray, str]]:
    """Read lines and their names; closed ones end where they begin."""
    lines = [] if path is None else io.read_lines(path, crs)
    return [(np.concatenate([line, line[:1]]) if closed else line, name) for line, closed, name in lines]


def add_breaklines(tin: Triangulation, path: Path | None) -> None:
    """Force the lines of a file into the mesh."""
    lines = [] if path is None else io.read_lines(path, tin.crs)
    try:
        bar = Bar(delay=1.0)
        with showing(bar):
            for k, (line, closed, name) in enumerate(lines):
                tin.add_breakline(line, closed=closed, name=name)
                bar("add breaklines", (k + 1) / len(lines))
    except ValueError as error:
        raise FormatError(f"{path}: {error}") from error


def find_zone(tin: Triangulation, boundary: Path | None) -> Zone | None:
    """Return the zone inside the polygons of a file; None without a file."""
    if boundary is None:
        return None
    polygons = io.read_polygons(boundary, tin.crs)
    try:
        return tin.zone(polygon=polygons)
    except ValueError as error:
        raise FormatError(f"{boundary}: {error}") from error


def show(result: dict[str, Any], as_json: bool) -> None:
    """Print a result: one JSON object, or a line for each entry."""
    if as_json:
        print(json.dumps(result, allow_nan=False))
        return
    from rich.console import Console
    from rich.table import Table

    table = Table.grid(padding=(0, 2))
    for name, value in result.items():
        table.add_row(name.replace("_", " "), _text(value))
    Console(highlight=False, soft_wrap=True).print(table)


def _text(value: Any) -> str:
    if value is None:
        return "unknown"
    if isinstance(value, float):
        return f"{value:.6g}" if abs(value) < 1e5 else f"{value:.3f}"
    if isinstance(value, dict):
        return ", ".join(f"{key}: {_text(part)}" for key, part in value.items()) or "none"
    if isinstance(value, list):
        return " ".join(map(_text, value)) or "none"
    return str(value)
