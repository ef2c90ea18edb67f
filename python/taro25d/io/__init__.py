"""Files: the known endings, and the modules that read and write them."""

from __future__ import annotations

import importlib
from os import PathLike
from pathlib import Path
from typing import TYPE_CHECKING, Any, NamedTuple

from .._progress import Bar, Progress, timing
from ..errors import InvalidInputError
from ..points import Points
from ._files import reading, writing
from .lines import (
    LINE_ENDINGS,
    TABLE_ENDINGS,
    appending_contours,
    read_lines,
    read_polygons,
    write_components,
    write_contours,
)

if TYPE_CHECKING:
    from ..raster import Raster
    from ..triangulation import Triangulation
    from ..zone import Zone

__all__ = [
    "FORMATS",
    "LINE_ENDINGS",
    "RASTER_ENDINGS",
    "TABLE_ENDINGS",
    "appending_contours",
    "endings",
    "find_format",
    "options_of",
    "read",
    "read_lines",
    "read_polygons",
    "write",
    "write_components",
    "write_contours",
    "write_raster",
]


class Format(NamedTuple):
    """An ending and its functions; ``reads`` and ``writes`` are ``module.function`` in this package."""

    ending: str
    title: str
    reads: str | None
    writes: str | None


#: All formats; of two endings that fit a name the longer one, which stands first, counts.
FORMATS = (
    Format(".copc.laz", "COPC", "las.read", None),
    Format(".laz", "LAZ", "las.read", "las.write"),
    Format(".las", "LAS", "las.read", "las.write"),
    Format(".tif", "GeoTIFF", "grid.read", "grid.write"),
    Format(".tiff", "GeoTIFF", "grid.read", "grid.write"),
    Format(".asc", "ESRI ASCII grid", "grid.read", "grid.write_asc"),
    Format(".xyz", "text", "text.read", "text.write_xyz"),
    Format(".txt", "text", "text.read", "text.write_xyz"),
    Format(".csv", "text with commas", "text.read", "text.write_csv"),
    Format(".gpkg", "GeoPackage", "vector.read", "vector.write"),
    Format(".shp", "Shapefile", "vector.read", "vector.write"),
    Format(".geojson", "GeoJSON", "vector.read", "vector.write"),
    Format(".json", "GeoJSON", "vector.read", "vector.write"),
    Format(".dxf", "DXF", "dxf.read", "dxf.write"),
    Format(".xml", "LandXML", "landxml.read", "landxml.write"),
    Format(".obj", "OBJ", "mesh.read", "mesh.write_obj"),
    Format(".ply", "PLY", "mesh.read", "mesh.write"),
    Format(".vtk", "VTK", "mesh.read", "mesh.write"),
    Format(".glb", "glTF", None, "scene.write_glb"),
    Format(".html", "page", None, "scene.write_html"),
    Format(".taro", "triangulation", "native.read", "native.write"),
)

#: Where rasters can be written to.
RASTER_ENDINGS = tuple(f.ending for f in FORMATS if str(f.writes).startswith("grid."))


def endings(*, reading: bool = False, writing: bool = False) -> list[str]:
    """Return the endings that can be read, or written."""
    return [f.ending for f in FORMATS if (not reading or f.reads) and (not writing or f.writes)]


def find_format(path: Path, *, for_reading: bool) -> Format:
    """Find the format of a name."""
    known = endings(reading=for_reading, writing=not for_reading)
    for candidate in FORMATS:
        if path.name.lower().endswith(candidate.ending) and candidate.ending in known:
            return candidate
    verb = "read" if for_reading else "written"
    raise InvalidInputError(f"{path}: files with this ending cannot be {verb}; possible are {' '.join(known)}")


def _function(name: str | None) -> Any:
    module, _, function = str(name).partition(".")
    return getattr(importlib.import_module(f".{module}", __name__), function)


def _options(function: Any) -> set[str]:
    return set(function.__code__.co_varnames[1 : function.__code__.co_argcount])


def options_of(path: Path) -> set[str]:
    """Return the options with which a file can be read."""
    return _options(_function(find_format(path, for_reading=True).reads))


def read(path: str | PathLike[str], *, progress: Progress = False, **options: Any) -> Points | Triangulation:
    """Read a file, by its ending: ``Points`` of formats of points and rasters, a ``Triangulation`` of formats of meshes.

    A triangulation has the faces of the file unchanged; see ``Triangulation.from_triangles``. A file without faces, but with
    points and lines, gives the triangulation of these.

    Parameters
    ----------
    path
        The file.
    progress
        True for a bar on standard error, or a function of a phase and the fraction of it that is done.
    classes
        For LAS and LAZ: the classes to keep, such as ``[2]`` for ground; all without it.
    band
        For rasters: which band holds the heights, from 1.
    gaps
        For rasters: whether cells without a height are gaps in the surface. The result is then a ``Triangulation``, with
        triangles only between neighbouring cells that have heights.
    layer
        For GeoPackages and DXF: which layer to read.
    surface
        For LandXML: the name of the surface; the first one without it.
    repair
        For meshes: whether faces that are degenerate, or lie over earlier ones, are left out with a warning. Otherwise such
        a file is refused.
    """
    file = Path(path)
    function = _function(find_format(file, for_reading=True).reads)
    possible = _options(function)
    unknown = set(options) - possible
    if unknown:
        raise InvalidInputError(f"{file}: the option {unknown.pop()} means nothing for this format")
    progress = Bar() if progress is True else progress
    with timing(f"read {file.name}", progress), reading(file):
        if "progress" in possible:
            options["progress"] = progress
        return function(file, **options)  # type: ignore[no-any-return]


def write(
    tin: Triangulation,
    path: str | PathLike[str],
    zone: Zone | None = None,
    resolution: float | tuple[float, float] | None = None,
    progress: Progress = False,
) -> None:
    """Write a triangulation, or a zone of it, by the ending of the file; as a raster with a resolution."""
    target = Path(path)
    known = find_format(target, for_reading=False)
    progress = Bar() if progress is True else progress
    if str(known.writes).startswith("grid."):
        if resolution is None:
            raise InvalidInputError(f"{target}: a raster needs a resolution")
        write_raster(tin.rasterize(resolution, zone=zone, progress=progress), target, progress)
        return
    if resolution is not None:
        raise InvalidInputError(f"{target}: a resolution means nothing for this format")
    function = _function(known.writes)
    with timing(f"write {target.name}", progress), writing(target) as temporary:
        function(tin, temporary, zone, **({"progress": progress} if "progress" in _options(function) else {}))


def write_raster(raster: Raster, target: Path, progress: Progress = False) -> None:
    """Write a raster, by the ending of the file."""
    known = find_format(target, for_reading=False)
    if not str(known.writes).startswith("grid."):
        raise InvalidInputError(f"{target}: rasters go into {' '.join(RASTER_ENDINGS)}")
    function = _function(known.writes)
    with timing(f"write {target.name}", progress), writing(target) as temporary:
        function(raster, temporary, progress)
