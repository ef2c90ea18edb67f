"""Reading breaklines and boundaries from files, and writing contours and components."""

from __future__ import annotations

import contextlib
from collections.abc import Callable, Iterator
from os import PathLike
from pathlib import Path
from typing import TYPE_CHECKING, Any, TypeAlias

import numpy as np

from .. import crs as crs_module
from .._geometry import FloatArray, as_lines
from .._optional import require
from .._progress import Bar, Progress, counting, showing, timing
from ..contours import Contours
from ..crs import Crs
from ..errors import CrsError, FormatError, InvalidInputError
from . import dxf, landxml, text, vector
from ._files import reading, writing

if TYPE_CHECKING:
    from ..volume import Volume

#: Points (k, 2) or (k, 3), whether the last is joined to the first, and a name.
Line: TypeAlias = tuple[FloatArray, bool, str]

#: Where polygons with numbers can be written to.
TABLE_ENDINGS = (".gpkg", ".shp", ".geojson", ".json")
_POLYGONS = ("Polygon", "MultiPolygon")
#: Where contours can be written to.
LINE_ENDINGS = (*TABLE_ENDINGS, ".dxf")
_CHUNK = 5000  # contours that are written at a time


def read_lines(path: str | PathLike[str], crs: Crs = None) -> list[Line]:
    """Read lines, and the rings of polygons, for a surface of some reference system."""
    file = Path(path)
    with reading(file):
        ending = file.suffix.lower()
        if ending in TABLE_ENDINGS:
            lines = _lines_of_table(_fit(vector.read_table(file), crs))
        elif ending == ".dxf":
            lines = dxf.read_lines(file)
        elif ending == ".xml":
            lines = landxml.read_lines(file)
        elif ending in (".xyz", ".csv", ".txt"):
            lines = [(text.read(file).points, False, file.stem)]
        else:
            raise InvalidInputError(f"no lines can be read of this ending, but of {' '.join(LINE_ENDINGS)} .xml .csv")
        if not lines:
            raise FormatError("there are no lines")
        return lines


def read_polygons(path: str | PathLike[str], crs: Crs = None) -> Any:
    """Read polygons, or closed lines, as a shapely geometry, for a surface of some reference system."""
    file = Path(path)
    shapely = require("shapely")
    if file.suffix.lower() in TABLE_ENDINGS:
        with reading(file):
            table = _fit(vector.read_table(file), crs)
            polygons = table[table.geom_type.isin(_POLYGONS)]
            if len(polygons):
                return polygons.geometry.union_all()
    rings = [line[:, :2] for line, closed, _ in read_lines(file, crs) if closed or (line[0, :2] == line[-1, :2]).all()]
    with reading(file):
        if not rings:
            raise FormatError("there are no polygons")
        return shapely.union_all([shapely.Polygon(ring) for ring in rings if len(ring) > 2])


def _fit(table: Any, crs: Crs) -> Any:
    """Reproject to the system of the surface where both are known."""
    if crs is None or table.crs is None:
        return table
    target = crs_module.normalise(crs)
    fitted = table.to_crs(target)
    if not np.isfinite(fitted.total_bounds).all() and np.isfinite(table.total_bounds).all():
        where = ", ".join(f"{number:g}" for number in table.total_bounds)
        raise CrsError(
            f"coordinates from {table.crs.name} ({where}) have no place in {target.name}: perhaps they are not in that "
            "system; GeoJSON that names none is in longitude and latitude"
        )
    return fitted


def _lines_of_table(table: Any) -> list[Line]:
    names = table["name"].fillna("").astype(str) if "name" in table.columns else [""] * len(table)
    lines = []
    for geometry, name in zip(table.geometry, names, strict=True):
        polygonal = geometry.geom_type in _POLYGONS
        lines += [(line, polygonal, name) for line in as_lines(geometry.boundary if polygonal else geometry, "lines")]
    return lines


def write_components(volume: Volume, path: str | PathLike[str]) -> None:
    """Write the components of a volume as polygons with their numbers, by the ending of the file."""
    target = Path(path)
    if not target.name.lower().endswith(TABLE_ENDINGS):
        raise InvalidInputError(f"{target}: components go into {' '.join(TABLE_ENDINGS)}")
    table = volume.to_geodataframe()
    with writing(target) as temporary:
        vector.write_table(table, temporary, "components")


def write_contours(contours: Contours, path: str | PathLike[str], progress: Progress = False) -> None:
    """Write contours with their levels, by the ending of the file."""
    progress = Bar() if progress is True else progress
    target = Path(path)
    with timing(f"write {target.name}", progress), appending_contours(target) as append, showing(progress) as show:
        for start in counting("write contours", range(0, max(1, len(contours)), _CHUNK), show):
            append(Contours(contours[start : start + _CHUNK], contours.crs))


@contextlib.contextmanager
def appending_contours(path: str | PathLike[str]) -> Iterator[Callable[[Contours], None]]:
    """Yield a function that writes contours, and may be called repeatedly.

    If the format cannot be appended to, all contours are written at the end.
    """
    target = Path(path)
    if not target.name.lower().endswith(LINE_ENDINGS):
        raise InvalidInputError(f"{target}: contours go into {' '.join(LINE_ENDINGS)}")
    parts: list[Contours] = []
    with writing(target) as temporary:
        if target.suffix.lower() in vector.APPENDABLE:
            yield lambda contours: vector.append_table(contours.to_geodataframe(), temporary, "contours")
            return
        yield parts.append
        together = Contours((line for part in parts for line in part), parts[0].crs if parts else None)
        if target.suffix.lower() == ".dxf":
            dxf.write_contours(together, temporary)
        else:
            vector.write_table(together.to_geodataframe(), temporary)
