"""What stands in LandXML: points, faces and lines, as x, y and z."""

from __future__ import annotations

from pathlib import Path
from typing import Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

from .._geometry import FloatArray
from .._optional import require
from ..errors import FormatError

METRES = {
    "millimeter": 0.001, "centimeter": 0.01, "meter": 1.0, "kilometer": 1000.0, "inch": 0.0254, "foot": 0.3048,
    "feet": 0.3048, "ussurveyfoot": 1200 / 3937, "mile": 1609.344, "miles": 1609.344,
}  # fmt: skip


class Line(NamedTuple):
    """A line of (k, 2) or (k, 3), its name, and of what kind a boundary is."""

    points: FloatArray
    name: str
    kind: str = ""


class Surface(NamedTuple):
    """A surface as it stands in the file; without faces, its points are all that it was made of."""

    points: FloatArray
    faces: NDArray[np.int32]
    breaklines: list[Line]
    boundaries: list[Line]


def parse(path: Path) -> Any:
    """Parse without following anything outside, and without what could grow."""
    etree = require("lxml.etree")
    parser = etree.XMLParser(resolve_entities=False, no_network=True, load_dtd=False, huge_tree=False)
    try:
        tree = etree.parse(path, parser)
    except etree.XMLSyntaxError as error:
        raise FormatError(f"the XML is broken: {error.msg}") from error
    if tree.docinfo.internalDTD is not None:
        raise FormatError("the XML has a document type of its own, which LandXML has not")
    root = tree.getroot()
    if etree.QName(root).localname != "LandXML":
        raise FormatError(f"this is {etree.QName(root).localname}, not LandXML")
    return root


def select(element: Any, name: str) -> list[Any]:
    """Return all elements of a name below another one, whatever the version of the format."""
    return element.findall(f".//{{*}}{name}")  # type: ignore[no-any-return]


def read_lines(path: Path) -> list[tuple[FloatArray, bool, str]]:
    """Read breaklines and boundaries: points, whether closed, and the name."""
    root = parse(path)
    lines = [(line.points, False, line.name) for line in _lines(root, "Breakline")]
    return lines + [(line.points, True, line.name) for line in _lines(root, "Boundary")]


def read_surface(element: Any) -> Surface:
    """Read a surface: its visible faces with their points, or else the data that it was made of."""
    definitions = select(element, "Definition")
    numbered = [point for definition in definitions for point in select(definition, "P")]
    rows = {point.get("id"): row for row, point in enumerate(numbered)}
    faces = _read_faces(select(element, "F"), rows)
    points = _numbers_of_all(numbered)
    breaklines = _lines(element, "Breakline")
    if not len(faces):
        data = [part for source in select(element, "DataPoints") for part in select(source, "PntList3D")]
        points = np.concatenate([points, *(_numbers(part, 3) for part in data)])
        breaklines += [_level(contour) for contour in select(element, "Contour")]
    return Surface(points, faces, breaklines, _lines(element, "Boundary"))


def split_boundaries(boundaries: list[Line]) -> tuple[Any, Any]:
    """Make polygons of what boundaries enclose and of the voids, None where there are none."""
    shapely = require("shapely")
    found: dict[bool, list[Any]] = {False: [], True: []}
    for line in boundaries:
        if len(line.points) > 2:
            found[line.kind == "void"].append(shapely.make_valid(shapely.Polygon(line.points[:, :2])))
    return tuple(shapely.union_all(rings) if rings else None for rings in found.values())  # type: ignore[return-value]


def _read_faces(elements: list[Any], rows: dict[str, int]) -> NDArray[np.int32]:
    """Return the rows of the corners of faces; those that are marked as invisible are no part of the surface."""
    try:
        faces = [[rows[name] for name in (face.text or "").split()] for face in elements if face.get("i") != "1"]
    except KeyError as error:
        raise FormatError(f"a face has the corner {error.args[0]}, which is not there") from error
    if any(len(face) != 3 for face in faces):
        raise FormatError("a face has not three corners")
    return np.array(faces, dtype=np.int32).reshape(-1, 3)


def _numbers_of_all(points: list[Any]) -> FloatArray:
    words = [(point.text or "").split() for point in points]
    for point, parts in zip(points, words, strict=True):
        if len(parts) != 3:
            raise FormatError(f"line {point.sourceline}: {len(parts)} numbers make no point of 3")
    return _swap(np.array(words, dtype=np.float64).reshape(-1, 3))


def _numbers(element: Any, per_point: int) -> FloatArray:
    """Return the points of an element as x, y and the numbers that follow."""
    values = np.array((element.text or "").split(), dtype=np.float64)
    if not len(values) or len(values) % per_point:
        raise FormatError(f"line {element.sourceline}: {len(values)} numbers make no points of {per_point}")
    return _swap(values.reshape(-1, per_point))


def _swap(points: FloatArray) -> FloatArray:
    points[:, [0, 1]] = points[:, [1, 0]]
    return points


def _lines(element: Any, name: str) -> list[Line]:
    return [
        Line(_point_list(line), line.get("name") or "", line.get("bndType") or "") for line in select(element, name)
    ]


def _point_list(element: Any) -> FloatArray:
    for name, per_point in (("PntList3D", 3), ("PntList2D", 2)):
        lists = select(element, name)
        if lists:
            return np.concatenate([_numbers(part, per_point) for part in lists])
    raise FormatError(f"line {element.sourceline}: a line without points")


def _level(contour: Any) -> Line:
    points = _point_list(contour)[:, :2]
    return Line(np.column_stack([points, np.full(len(points), float(contour.get("elev", "nan")))]), "contour")
