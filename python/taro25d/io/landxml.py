"""LandXML 1.2: surfaces with their breaklines and boundaries. Northing stands before easting in it."""

from __future__ import annotations

from pathlib import Path
from typing import TYPE_CHECKING, Any

import numpy as np

from .. import _engine
from .. import crs as crs_module
from .._geometry import FloatArray
from .._messages import warn
from .._optional import require
from .._progress import Progress, counting, showing
from ..errors import CrsError, FormatError, InvalidInputError
from ._landxml import METRES, Line, parse, read_lines, read_surface, select, split_boundaries

if TYPE_CHECKING:
    from ..triangulation import Triangulation
    from ..zone import Zone

__all__ = ["read", "read_lines", "write"]

_NAMESPACE = "http://www.landxml.org/schema/LandXML-1.2"


def read(path: Path, surface: str | None = None, repair: bool = False, progress: Progress = False) -> Triangulation:
    """Read a surface, the first one if none is named: its visible faces, or its points and lines where it has no faces."""
    from ..triangulation import Triangulation

    root = parse(path)
    data, crs = read_surface(_choose(root, surface)), _read_crs(root)
    if len(data.faces):
        tin = Triangulation.from_triangles(data.points, data.faces, repair, crs=crs, progress=progress)
        if data.breaklines and tin._part is None:  # lines beyond the faces must not make the surface larger
            tin._part = _engine.Zone.of_rows(tin._surface, list(range(len(tin.triangles))))
    else:
        tin = Triangulation(data.points, crs=crs, progress=progress)
    for line in data.breaklines:
        tin.add_breakline(line.points, name=line.name)
    if not len(data.faces):
        _limit(tin, data.boundaries)
    elif tin._part is not None and len(tin._part.rows()) == len(tin.triangles):
        tin._part = None
    if not len(tin):
        raise FormatError("the surface has no points")
    return tin


def _choose(root: Any, name: str | None) -> Any:
    surfaces = select(root, "Surface")
    names = [str(surface.get("name")) for surface in surfaces]
    if name is None and len(surfaces) > 1:
        warn(f"of the surfaces {', '.join(names)} the first is read; surface= chooses another")
    for surface, known in zip(surfaces, names, strict=True):
        if name in (None, known):
            return surface
    raise FormatError("there is no surface" if name is None else f"of the surfaces {', '.join(names)} none is {name}")


def _limit(tin: Triangulation, boundaries: list[Line]) -> None:
    """Cut a surface that was made of points at its boundaries."""
    outer, voids = split_boundaries(boundaries)
    part = tin.zone(polygon=outer) if outer is not None else tin.zone() if voids is not None else None
    if part is not None:
        tin._part = (part if voids is None else part - tin.zone(polygon=voids))._engine


def _read_crs(root: Any) -> Any:
    """Return the system; heights in another unit than the plane are refused."""
    units = next(iter(select(root, "Metric") + select(root, "Imperial")), None)
    plane = None if units is None else units.get("linearUnit")
    height = None if units is None else units.get("elevationUnit") or plane
    for unit in {plane, height} - {None}:
        if str(unit).lower() not in METRES:
            warn(f"the unit {unit} is not known; coordinates are taken as they are")
    factor, factor_of_heights = METRES.get(str(plane).lower()), METRES.get(str(height).lower())
    if factor and factor_of_heights and abs(factor_of_heights / factor - 1) > 1e-5:
        raise CrsError(
            f"x and y are in {plane} and heights in {height}; write the file with one unit for both, or read it as points "
            f"and multiply the heights by {factor_of_heights / factor:.10g}"
        )
    crs = _find_crs(root)
    if crs is not None and factor and abs(crs.axis_info[0].unit_conversion_factor / factor - 1) > 1e-9:
        raise CrsError(
            f"coordinates are in {plane}, but {crs.name} is in {crs.axis_info[0].unit_name}; "
            "correct Units or CoordinateSystem in the file"
        )
    return crs


def _find_crs(root: Any) -> Any:
    for system in select(root, "CoordinateSystem")[:1]:
        code, text = system.get("epsgCode"), system.get("ogcWktCode")
        known = f"EPSG:{code}" if code and code != "0" else text
        try:
            return crs_module.normalise(known or None)
        except InvalidInputError:
            warn(f"the coordinate system {known} is not known, and the surface has none")
    return None


def write(tin: Triangulation, path: Path, zone: Zone | None = None, progress: Progress = False) -> None:
    """Write one surface with its faces and the edges of its breaklines."""
    etree = require("lxml.etree")
    root = etree.Element("LandXML", nsmap={None: _NAMESPACE}, version="1.2", language="English", readOnly="false")
    _write_units(etree, root, tin.crs)
    surface = etree.SubElement(etree.SubElement(root, "Surfaces"), "Surface", name=path.stem)
    _write_source(etree, surface, tin, zone)
    definition = etree.SubElement(surface, "Definition", surfType="TIN")
    points, triangles = tin.faces(zone)
    element = etree.SubElement(definition, "Pnts")
    with showing(progress) as show:
        for number, (x, y, z) in enumerate(counting("write points", points.tolist(), show), 1):
            etree.SubElement(element, "P", id=str(number)).text = f"{y!r} {x!r} {z!r}"
        element = etree.SubElement(definition, "Faces")
        for corners in counting("write triangles", (triangles + 1).tolist(), show):
            etree.SubElement(element, "F").text = " ".join(map(str, corners))
    etree.ElementTree(root).write(path, xml_declaration=True, encoding="utf-8", pretty_print=True)


def _write_source(etree: Any, surface: Any, tin: Triangulation, zone: Zone | None) -> None:
    source = etree.Element("SourceData")
    part = zone or (tin.zone() if tin._part is not None else None)
    rings = [] if part is None else part.border()
    boundaries = etree.SubElement(source, "Boundaries") if rings else None
    for ring in rings:
        kind = "outer" if _is_counterclockwise(ring) else "void"
        element = etree.SubElement(boundaries, "Boundary", bndType=kind, edgeTrim="true")
        etree.SubElement(element, "PntList3D").text = _text(ring)
    lines = etree.Element("Breaklines")
    edges = [(line.name, line.edges) for line in tin.breaklines]
    known = None if part is None else _list_sides(tin, zone, [pair for _, pairs in edges for pair in pairs])
    for name, pairs in edges:
        for edge in pairs if known is None else [pair for pair in pairs if _key(pair) in known]:
            element = etree.SubElement(lines, "Breakline", brkType="standard", name=name)
            etree.SubElement(element, "PntList3D").text = _text(edge)
    if len(lines):
        source.append(lines)
    if len(source):
        surface.append(source)


def _key(edge: FloatArray) -> frozenset[tuple[float, ...]]:
    return frozenset(map(tuple, edge[:, :2].tolist()))


def _list_sides(tin: Triangulation, zone: Zone | None, edges: list[FloatArray]) -> set[frozenset[tuple[float, ...]]]:
    """List the sides of the written triangles, as far as both their ends are ends of some edges."""
    points, triangles = tin.faces(zone)
    ends = {end for edge in edges for end in _key(edge)}
    is_end = np.array([tuple(place) in ends for place in points[:, :2].tolist()], dtype=bool)
    sides = triangles[:, [[0, 1], [1, 2], [2, 0]]].reshape(-1, 2)
    return {_key(side) for side in points[sides[is_end[sides].all(axis=1)]]}


def _is_counterclockwise(ring: FloatArray) -> bool:
    (x, y), (next_x, next_y) = (ring[:-1, :2] - ring[0, :2]).T, (ring[1:, :2] - ring[0, :2]).T
    return bool((x * next_y - next_x * y).sum() > 0)


def _text(points: FloatArray) -> str:
    return " ".join(f"{y!r} {x!r} {z!r}" for x, y, z in points.tolist())


def _write_units(etree: Any, root: Any, crs: Any) -> None:
    factor = 1.0 if crs is None else crs.axis_info[0].unit_conversion_factor
    name = next((unit for unit, metres in METRES.items() if abs(metres / factor - 1) < 1e-9), "meter")
    imperial = name in ("foot", "ussurveyfoot", "inch", "mile")
    spelling = {"ussurveyfoot": "USSurveyFoot"}.get(name, name)
    units = etree.SubElement(root, "Units")
    etree.SubElement(
        units, "Imperial" if imperial else "Metric",
        areaUnit="squareFoot" if imperial else "squareMeter", linearUnit=spelling,
        volumeUnit="cubicFeet" if imperial else "cubicMeter",
        temperatureUnit="fahrenheit" if imperial else "celsius", pressureUnit="inchHG" if imperial else "milliBars",
    )  # fmt: skip
    if crs is not None:
        code = crs.to_epsg()
        system = {"epsgCode": str(code)} if code else {"ogcWktCode": crs.to_wkt("WKT1_GDAL")}
        etree.SubElement(root, "CoordinateSystem", name=crs.name, **system)
