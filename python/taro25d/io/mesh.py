"""OBJ, PLY and VTK: meshes of triangles, by meshio."""

from __future__ import annotations

from pathlib import Path
from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from ..triangulation import Triangulation
    from ..zone import Zone


def write_obj(tin: Triangulation, path: Path, zone: Zone | None = None) -> None:
    """Write OBJ with as many digits as it takes to read the same numbers again."""
    points, triangles = tin.faces(zone)
    with path.open("w", encoding="ascii") as file:
        file.writelines(f"v {x!r} {y!r} {z!r}\n" for x, y, z in points.tolist())
        file.writelines(f"f {a} {b} {c}\n" for a, b, c in (triangles + 1).tolist())


def write(tin: Triangulation, path: Path, zone: Zone | None = None) -> None:
    """Write PLY or VTK, in doubles."""
    tin.to_meshio(zone).write(path)
