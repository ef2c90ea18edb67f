"""OBJ, PLY and VTK: meshes of triangles.

They are read by this package, because meshio does not know polygons of OBJ and POLYDATA of VTK, and does not come to an end
with some files that are cut short.
"""

from __future__ import annotations

from pathlib import Path
from typing import TYPE_CHECKING

from .._progress import Progress, counting, showing
from ..errors import FormatError
from ._obj import read_obj
from ._ply import read_ply
from ._vtk import read_vtk

if TYPE_CHECKING:
    from ..triangulation import Triangulation
    from ..zone import Zone


def read(path: Path, repair: bool = False, progress: Progress = False) -> Triangulation:
    """Read the triangles; polygons are divided into some."""
    from ..triangulation import Triangulation

    with showing(progress) as show:
        if path.suffix.lower() == ".obj":
            points, triangles = read_obj(path, show)
        else:
            points, triangles = (read_ply if path.suffix.lower() == ".ply" else read_vtk)(path)
    if not len(triangles):
        raise FormatError("there are no triangles")
    return Triangulation.from_triangles(points, triangles, repair, progress=progress)


def write_obj(tin: Triangulation, path: Path, zone: Zone | None = None, progress: Progress = False) -> None:
    """Write OBJ with as many digits as it takes to read the same numbers again."""
    points, triangles = tin.faces(zone)
    with path.open("w", encoding="ascii") as file, showing(progress) as show:
        file.writelines(f"v {x!r} {y!r} {z!r}\n" for x, y, z in counting("write points", points.tolist(), show))
        rows = counting("write triangles", (triangles + 1).tolist(), show)
        file.writelines(f"f {a} {b} {c}\n" for a, b, c in rows)


def write(tin: Triangulation, path: Path, zone: Zone | None = None) -> None:
    """Write PLY or VTK, in doubles."""
    tin.to_meshio(zone).write(path)
