"""LandXML 1.2: surfaces with their breaklines and boundaries. Northing stands before easting in it."""

from __future__ import annotations

from pathlib import Path
from typing import TYPE_CHECKING, Any

import numpy as np

from .._geometry import FloatArray
from .._optional import require
from ..errors import FormatError

if TYPE_CHECKING:
    from ..triangulation import Triangulation
    from ..zone import Zone

_NAMESPACE = "http://www.landxml.org/schema/LandXML-1.2"
_METRES = {
    "millimeter": 0.001, "centimeter": 0.01, "meter": 1.0, "kilometer": 1000.0, "inch": 0.0254, "foot": 0.3048,
    "feet": 0.3048, "ussurveyfoot": 1200 / 3937, "mile": 1609.344,
}  # fmt: skip


def read_lines(path: Path) -> list[tuple[FloatArray, bool, str]]:
    """Read breaklines and boundaries: points, whether closed, and the name."""
    root = _parse(path)
    lines = [(_point_list(e), False, e.get("name") or "") for e in _all(root, "Breakline")]
    return lines + [(_point_list(e), True, e.get("name") or "") for e in _all(root, "Boundary")]


def _parse(path: Path) -> Any:
    """Parse without following anything outside, and without what could grow."""
    etree = require("lxml.etree")
    parser = etree.XMLParser(resolve_entities=False, no_network=True, load_dtd=False, huge_tree=False)
    try:
        tree = etree.parse(path, parser)
    except etree.XMLSyntaxError as error:
        raise FormatError(f"the XML is broken: {error}") from error
    if tree.docinfo.internalDTD is not None:
        raise FormatError("the XML has a document type of its own, which LandXML has not")
    root = tree.getroot()
    if etree.QName(root).localname != "LandXML":
        raise FormatError(f"this is {etree.QName(root).localname}, not LandXML")
    return root


def _all(element: Any, name: str) -> list[Any]:
    return element.findall(f".//{{*}}{name}")  # type: ignore[no-any-return]


def _numbers(element: Any, per_point: int) -> FloatArray:
    """Get points of an element as x, y and whatever follows."""
    values = np.array((element.text or "").split(), dtype=np.float64)
    if not len(values) or len(values) % per_point:
        raise FormatError(f"line {element.sourceline}: {len(values)} numbers make no points of {per_point}")
    points = values.reshape(-1, per_point)
    points[:, [0, 1]] = points[:, [1, 0]]
    return points


def _point_list(element: Any) -> FloatArray:
    for name, per_point in (("PntList3D", 3), ("PntList2D", 2)):
        lists = _all(element, name)
        if lists:
            return np.concatenate([_numbers(part, per_point) for part in lists])
    raise FormatError(f"line {element.sourceline}: a line without points")


def write(tin: Triangulation, path: Path, zone: Zone | None = None) -> None:
    """Write one surface with its faces and the edges of its breaklines."""
    etree = require("lxml.etree")
    root = etree.Element("LandXML", nsmap={None: _NAMESPACE}, version="1.2", language="English", readOnly="false")
    _write_units(etree, root, tin.crs)
    surface = etree.SubElement(etree.SubElement(root, "Surfaces"), "Surface", name=path.stem)
    if tin.breaklines:
        lines = etree.SubElement(etree.SubElement(surface, "SourceData"), "Breaklines")
        for line in tin.breaklines:
            for edge in line.edges.tolist():
                element = etree.SubElement(lines, "Breakline", brkType="standard", name=line.name)
                etree.SubElement(element, "PntList3D").text = " ".join(f"{y!r} {x!r} {z!r}" for x, y, z in edge)
    definition = etree.SubElement(surface, "Definition", surfType="TIN")
    points, triangles = tin.faces(zone)
    element = etree.SubElement(definition, "Pnts")
    for number, (x, y, z) in enumerate(points.tolist(), 1):
        etree.SubElement(element, "P", id=str(number)).text = f"{y!r} {x!r} {z!r}"
    element = etree.SubElement(definition, "Faces")
    for corners in (triangles + 1).tolist():
        etree.SubElement(element, "F").text = " ".join(map(str, corners))
    etree.ElementTree(root).write(path, xml_declaration=True, encoding="utf-8", pretty_print=True)


def _write_units(etree: Any, root: Any, crs: Any) -> None:
    factor = 1.0 if crs is None else crs.axis_info[0].unit_conversion_factor
    name = next((unit for unit, metres in _METRES.items() if abs(metres / factor - 1) < 1e-9), "meter")
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
