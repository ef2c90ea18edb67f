"""Meshes of files, as other programs write them, and files that are broken."""

import pathlib

import numpy as np
import pytest
from conftest import make_hills

import taro25d

meshio = pytest.importorskip("meshio")
ezdxf = pytest.importorskip("ezdxf")
pytest.importorskip("lxml")

#: Four corners, the middle, and the triangles around it.
CORNERS = [[0, 0, 1], [10, 0, 2], [10, 10, 3], [0, 10, 4], [5, 5, 9]]
FAN = [[0, 1, 4], [1, 2, 4], [2, 3, 4], [3, 0, 4]]


def faces_of(tin: taro25d.Triangulation) -> set[frozenset[tuple[float, ...]]]:
    points, triangles = tin.faces()
    return {frozenset(map(tuple, corners)) for corners in points[triangles].tolist()}


def expected(rows: list[list[int]]) -> set[frozenset[tuple[float, ...]]]:
    return {frozenset(tuple(map(float, CORNERS[row])) for row in face) for face in rows}


def read_text(folder: pathlib.Path, name: str, text: str, **options: object) -> taro25d.Triangulation:
    (folder / name).write_text(text, encoding="utf-8")
    tin = taro25d.read(folder / name, **options)
    assert isinstance(tin, taro25d.Triangulation)
    return tin


# ---- The surface is what the file has ----


@pytest.mark.parametrize("ending", [".obj", ".ply", ".vtk", ".dxf", ".xml", ".gpkg", ".taro"])
def test_surfaces_with_bays_and_holes_come_back(ending: str, tmp_path: pathlib.Path) -> None:
    hills = taro25d.Triangulation(make_hills(400) + [500_000.125, 4_000_000.1, 0])
    middles = hills.points[hills.triangles].mean(axis=1)[:, :2] - [500_500, 4_000_500]
    kept = hills.triangles[(np.abs(middles).max(axis=1) > 150) & (middles.sum(axis=1) < 300)]
    tin = taro25d.Triangulation.from_triangles(hills.points, kept)
    tin.write(tmp_path / f"a{ending}")
    back = taro25d.read(tmp_path / f"a{ending}")
    assert faces_of(back) == faces_of(tin)
    assert back.zone().area == pytest.approx(tin.zone().area, rel=1e-12)
    assert np.isnan(back.heights(500_500, 4_000_500))
    for same in (tin.copy(), back):
        assert len(same.faces()[1]) == len(kept)


def test_what_fills_a_mesh_is_no_surface(tmp_path: pathlib.Path) -> None:
    tin = taro25d.Triangulation.from_triangles(CORNERS, FAN[:3])
    assert len(tin.triangles) == 4
    assert tin.zone().area == pytest.approx(75)
    assert tin.zone(polygon=[[0, 0], [5, 0], [5, 10], [0, 10]]).area == 25
    assert tin.zone(polygon=[[0, 0], [5, 0], [5, 10], [0, 10]], inside=False).area == 50
    assert np.isnan(tin.rasterize(1).values).sum() > 10
    assert np.isnan(tin.heights([1, 5, 0, 0], [5, 5, 0, 5])).tolist() == [True, False, False, True]
    assert tin.heights(2.5, 2.5) == 5  # on the edge between both
    distance, height = tin.profile([[0, 5], [10, 5]])
    assert distance[0] == 5
    assert height[0] == 9
    level = taro25d.Triangulation(np.array(CORNERS) * [1, 1, 0])
    assert level.volume(tin).fill_area == pytest.approx(75)
    assert tin.volume(level, polygon=[[0, 0], [10, 0], [10, 5], [0, 5]]).cut_area == pytest.approx(37.5)
    assert {point[0] for line in tin.contours(levels=[4]) for point in line.coords.tolist()} != {0.0}
    tin.insert([[7, 5, 3]])
    assert len(tin.triangles) - len(tin.faces()[1]) == 1
    with pytest.raises(ValueError, match=r"repair"):
        taro25d.Triangulation.from_triangles(CORNERS, [[0, 1, 2], [0, 1, 4]])


def test_lines_beyond_the_faces_are_no_surface(tmp_path: pathlib.Path) -> None:
    tin = taro25d.Triangulation(CORNERS)
    tin.add_breakline([[1, 1, 2], [4, 2, 9], [10, 2, 5]], name="ditch")
    west = tin.zone(polygon=[[0, 0], [3, 0], [3, 10], [0, 10]])
    tin.write(tmp_path / "a.xml", zone=west)
    back = taro25d.read(tmp_path / "a.xml")
    assert back.zone().area == pytest.approx(30)
    assert max(edge[:, 0].max() for line in back.breaklines for edge in line.edges) == pytest.approx(3)
    far = "<Breaklines><Breakline><PntList3D>2 1 5 5 -20 9</PntList3D></Breakline>"  # from inside to the west
    (tmp_path / "b.xml").write_text((tmp_path / "a.xml").read_text().replace("<Breaklines>", far))
    beyond = taro25d.read(tmp_path / "b.xml")
    assert beyond.zone().area == pytest.approx(30)
    assert np.isnan(beyond.heights(-10, 4))
    back.insert([[20, 5, 5]])  # a later point does make the surface larger
    assert back.heights(10, 5) > 0


# ---- OBJ, PLY and VTK ----

OBJ_VERTICES = "".join(f"v {x} {y} {z}\n" for x, y, z in CORNERS)


@pytest.mark.parametrize(
    ("text", "rows"),
    [
        (OBJ_VERTICES + "f 1 2 5\nf 2 3 5\nf 3 4 5\nf 4 1 5\n", FAN),
        (
            "# a\nmtllib a.mtl\no hill\n" + OBJ_VERTICES + "vt 0 0\nvn 0 0 1\ns off\nusemtl x\nf 1/1/1 2/1/1 5/1/1\n",
            FAN[:1],
        ),
        (OBJ_VERTICES.replace("\n", " 1.0\r\n") + "vn 0 0 1\nf -5//1 -4//1 -1//1\r\nf 2//1 \\\n3//1 5//1\n", FAN[:2]),
        (OBJ_VERTICES + "l 1 2\nf 1 2 3 4\n", [[0, 1, 2], [0, 2, 3]]),
        (OBJ_VERTICES + "f 1 2 5 4\n", [[1, 4, 0], [4, 3, 0]]),
    ],
)
def test_obj_in_many_forms(text: str, rows: list[list[int]], tmp_path: pathlib.Path) -> None:
    assert faces_of(read_text(tmp_path, "a.obj", text)) == expected(rows)


@pytest.mark.parametrize("binary", [False, True])
@pytest.mark.parametrize("order", ["little", "big"])
@pytest.mark.parametrize("number", ["float", "double"])
def test_ply_in_many_forms(binary: bool, order: str, number: str, tmp_path: pathlib.Path) -> None:
    kind = f"binary_{order}_endian" if binary else "ascii"
    head = (
        f"ply\nformat {kind} 1.0\ncomment by hand\nelement vertex 5\nproperty {number} x\nproperty {number} y\n"
        f"property {number} z\nproperty uchar red\nelement face 4\nproperty list uchar int vertex_indices\nend_header\n"
    )
    sign = "<" if order == "little" else ">"
    if binary:
        kinds = [*((name, sign + ("f4" if number == "float" else "f8")) for name in "xyz"), ("red", "u1")]
        vertices = np.array([(*c, 7) for c in CORNERS], dtype=kinds)
        faces = np.array([(3, face) for face in FAN], dtype=[("n", "u1"), ("rows", sign + "i4", 3)])
        body = vertices.tobytes() + faces.tobytes()
    else:
        lines = [f"{x} {y} {z} 7" for x, y, z in CORNERS] + [f"3 {a} {b} {c}" for a, b, c in FAN]
        body = ("\n".join(lines) + "\n").encode()
    (tmp_path / "a.ply").write_bytes(head.encode() + body)
    assert faces_of(taro25d.read(tmp_path / "a.ply")) == expected(FAN)


VTK_POINTS = "POINTS 5 double\n" + "".join(f"{x} {y} {z}\n" for x, y, z in CORNERS)


@pytest.mark.parametrize(
    "text",
    [
        "# vtk DataFile Version 3.0\na\nASCII\nDATASET UNSTRUCTURED_GRID\n" + VTK_POINTS
        + "CELLS 4 16\n3 0 1 4\n3 1 2 4\n3 2 3 4\n3 3 0 4\nCELL_TYPES 4\n5\n5\n5\n5\n",
        "# vtk DataFile Version 4.2\na\nASCII\nDATASET POLYDATA\nFIELD FieldData 1\nTimeValue 1 1 double\n0.5\n" + VTK_POINTS
        + "POLYGONS 4 16\n3 0 1 4\n3 1 2 4\n3 2 3 4\n3 3 0 4\nPOINT_DATA 5\nSCALARS h float\nLOOKUP_TABLE default\n1 2 3 4 9\n",
        "# vtk DataFile Version 5.1\na\nASCII\nDATASET POLYDATA\n" + VTK_POINTS
        + "POLYGONS 5 12\nOFFSETS vtktypeint64\n0 3 6 9 12\nCONNECTIVITY vtktypeint64\n0 1 4 1 2 4 2 3 4 3 0 4\n",
    ],
)  # fmt: skip
def test_vtk_in_many_forms(text: str, tmp_path: pathlib.Path) -> None:
    assert faces_of(read_text(tmp_path, "a.vtk", text)) == expected(FAN)


# ---- LandXML ----


def landxml(definition: str = "", source: str = "", head: str = "") -> str:
    return (
        '<?xml version="1.0"?>\n<LandXML xmlns="http://www.landxml.org/schema/LandXML-1.2" version="1.2">'
        f'{head}<Surfaces><Surface name="EG"><SourceData>{source}</SourceData>'
        f'<Definition surfType="TIN">{definition}</Definition></Surface></Surfaces></LandXML>'
    )


PNTS = "<Pnts>" + "".join(f'<P id="{k + 7}">{y} {x} {z}</P>' for k, (x, y, z) in enumerate(CORNERS)) + "</Pnts>"
FACES = "<Faces>" + "".join(f"<F>{a + 7} {b + 7} {c + 7}</F>" for a, b, c in FAN) + "</Faces>"
FEET = '<Units><Imperial areaUnit="squareFoot" linearUnit="USSurveyFoot" volumeUnit="cubicYard"/></Units>'


def test_landxml_faces_are_as_they_are_seen(tmp_path: pathlib.Path) -> None:
    assert faces_of(read_text(tmp_path, "a.xml", landxml(PNTS + FACES))) == expected(FAN)
    unseen = landxml(PNTS + FACES.replace("<F>", '<F i="1" n="0 0 0">', 1))
    assert faces_of(read_text(tmp_path, "a.xml", unseen)) == expected(FAN[1:])
    older = landxml(PNTS + FACES).replace("LandXML-1.2", "LandXML-1.0")
    assert faces_of(read_text(tmp_path, "a.xml", older)) == expected(FAN)


def test_landxml_lines_and_boundaries_make_a_surface(tmp_path: pathlib.Path) -> None:
    source = (
        "<DataPoints><PntList3D>0 0 1 0 10 1 10 10 1 10 0 1</PntList3D></DataPoints>"
        '<Breaklines><Breakline brkType="standard" name="ridge"><PntList3D>2 2 5 8 8 5</PntList3D></Breakline>'
        '<Breakline name="flat"><PntList2D>1 9 3 7</PntList2D></Breakline></Breaklines>'
        '<Boundaries><Boundary bndType="outer" edgeTrim="true"><PntList3D>0 0 0 0 8 0 10 8 0 10 0 0</PntList3D></Boundary>'
        '<Boundary bndType="void"><PntList2D>1 1 1 2 2 2 2 1</PntList2D></Boundary></Boundaries>'
    )
    tin = read_text(tmp_path, "a.xml", landxml(source=source))
    assert [line.name for line in tin.breaklines] == ["ridge", "flat"]
    assert tin.heights(5, 5) == 5
    assert tin.zone().area == pytest.approx(79)
    assert np.isnan(tin.heights([9, 1.5], [5, 1.5])).all()


def test_landxml_units_and_systems(tmp_path: pathlib.Path) -> None:
    florida = '<CoordinateSystem epsgCode="2238" name="Florida North"/>'
    tin = read_text(tmp_path, "a.xml", landxml(PNTS + FACES, head=FEET + florida))
    assert tin.crs.to_epsg() == 2238
    tin.write(tmp_path / "b.xml")
    assert 'linearUnit="USSurveyFoot"' in (tmp_path / "b.xml").read_text()
    assert taro25d.read(tmp_path / "b.xml").crs.to_epsg() == 2238
    for head, reason in [
        (
            FEET.replace('volumeUnit="cubicYard"', 'elevationUnit="meter"'),
            "x and y are in USSurveyFoot and heights in meter",
        ),
        (
            FEET + florida.replace("2238", "26916"),
            "coordinates are in USSurveyFoot, but NAD83 / UTM zone 16N is in metre",
        ),
        (florida.replace("2238", "4326"), "longitude and latitude"),
    ]:
        with pytest.raises(taro25d.CrsError, match=f"a.xml: .*{reason}"):
            read_text(tmp_path, "a.xml", landxml(PNTS + FACES, head=head))
    with pytest.warns(taro25d.Warning, match="nonsense is not known"):
        tin = read_text(tmp_path, "a.xml", landxml(PNTS + FACES, head='<CoordinateSystem ogcWktCode="nonsense"/>'))
    assert tin.crs is None


def test_landxml_with_several_surfaces(tmp_path: pathlib.Path) -> None:
    text = landxml(PNTS + FACES)
    surface = text[text.index("<Surface name") : text.index("</Surfaces>")]
    two = text.replace(surface, surface + surface.replace("EG", "FG").replace("<F>7 8 11</F>", ""))
    assert len(faces_of(read_text(tmp_path, "a.xml", two, surface="FG"))) == 3
    with pytest.warns(taro25d.Warning, match="EG, FG"):
        assert len(faces_of(read_text(tmp_path, "a.xml", two))) == 4
    with pytest.raises(taro25d.FormatError, match="EG, FG none is XG"):
        read_text(tmp_path, "a.xml", two, surface="XG")


# ---- DXF ----

R12_FACES = "0\nSECTION\n2\nENTITIES\n" + "".join(
    "0\n3DFACE\n8\nTIN\n" + "".join(f"{10 + k}\n{x}\n{20 + k}\n{y}\n{30 + k}\n{z}\n" for k, (x, y, z) in enumerate(
        [CORNERS[a], CORNERS[b], CORNERS[c], CORNERS[c]])) for a, b, c in FAN
) + "0\nENDSEC\n0\nEOF\n"  # fmt: skip


def test_dxf_by_hand_as_of_old(tmp_path: pathlib.Path) -> None:
    assert faces_of(read_text(tmp_path, "a.dxf", R12_FACES)) == expected(FAN)
    assert faces_of(read_text(tmp_path, "a.dxf", R12_FACES.replace("\n", "\r\n"), layer="TIN")) == expected(FAN)
    with pytest.raises(taro25d.FormatError, match="layer 0, but in TIN"):
        read_text(tmp_path, "a.dxf", R12_FACES, layer="0")


@pytest.mark.parametrize("version", ["R12", "R2000", "R2018"])
def test_dxf_meshes_and_lines(version: str, tmp_path: pathlib.Path) -> None:
    def read(draw: object) -> taro25d.Triangulation:
        drawing = ezdxf.new(version)
        draw(drawing.modelspace())  # type: ignore[operator]
        drawing.saveas(tmp_path / "a.dxf")
        return taro25d.read(tmp_path / "a.dxf")

    def draw_polyface(space: ezdxf.layouts.Modelspace) -> None:
        space.add_polyface().append_faces([[CORNERS[k] for k in face] for face in FAN])

    def draw_grid(space: ezdxf.layouts.Modelspace) -> None:
        mesh = space.add_polymesh((2, 2))
        for place, corner in zip([(0, 0), (1, 0), (1, 1), (0, 1)], CORNERS, strict=False):
            mesh.set_mesh_vertex(place, corner)

    def draw_lines(space: ezdxf.layouts.Modelspace) -> None:
        space.add_point((5, 5, 9))
        space.add_polyline3d(CORNERS[:4], close=True, dxfattribs={"layer": "EDGE"})
        space.add_polyline2d([(1, 1), (2, 1)], dxfattribs={"elevation": (0, 0, 4)})
        if version != "R12":
            space.add_lwpolyline([(8, 8), (9, 8)], dxfattribs={"elevation": 5})
        space.add_line((3, 2, 1), (4, 2, 1))

    assert faces_of(read(draw_polyface)) == expected(FAN)
    assert faces_of(read(draw_grid)) == expected([[0, 1, 2], [0, 2, 3]])
    if version != "R12":

        def draw_mesh(space: ezdxf.layouts.Modelspace) -> None:
            with space.add_mesh().edit_data() as data:
                data.vertices, data.faces = CORNERS, FAN

        assert faces_of(read(draw_mesh)) == expected(FAN)
    tin = read(draw_lines)
    assert tin.breaklines[0].name == "EDGE"
    assert len(tin.breaklines) == (3 if version == "R12" else 4)
    assert tin.heights([5, 1.5, 3.5], [5, 1, 2]).tolist() == [9, 4, 1]


# ---- Broken and hostile ----

BROKEN = {
    "far.obj": OBJ_VERTICES + "f 1 2 9\n",
    "zero.obj": OBJ_VERTICES + "f 0 1 2\n",
    "words.obj": OBJ_VERTICES + "f a b c\n",
    "flat.obj": "v 1 2\nv 3 4\nv 5 6\nf 1 2 3\n",
    "nan.obj": OBJ_VERTICES.replace("9", "nan") + "f 1 2 5\n",
    "huge.obj": OBJ_VERTICES.replace("9", "1e999") + "f 1 2 5\n",
    "digits.obj": OBJ_VERTICES + "f 1 2 " + "9" * 5000 + "\n",
    "none.obj": OBJ_VERTICES,
    "bent.obj": "v 0 0 0\nv 9 0 0\nv 1 1 0\nv 0 9 0\nv -9 4 0\nv 1 3 0\nf 1 2 3 4 5 6\n",
    "thin.obj": "v 0 0 0\nv 1 1 0\nv 2 2 0\nf 1 2 3\n",
    "far.ply": "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\nelement face 1\n"
    "property list uchar int vertex_indices\nend_header\n0 0 0\n1 0 0\n0 1 0\n3 0 1 7\n",
    "huge.ply": "ply\nformat binary_little_endian 1.0\nelement vertex 99999999999999\nproperty float x\nproperty float y\n"
    "property float z\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n",
    "cut.ply": "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\n",
    "cut.vtk": "# vtk DataFile Version 4.2\na\nASCII\nDATASET POLYDATA\nPOINTS 9999999999 double\n0 0 0\n",
    "grid.vtk": "# vtk DataFile Version 4.2\na\nASCII\nDATASET STRUCTURED_POINTS\nDIMENSIONS 999999 999999 1\nORIGIN 0 0 0\n",
    "far.vtk": "# vtk DataFile Version 4.2\na\nASCII\nDATASET POLYDATA\n" + VTK_POINTS + "POLYGONS 1 4\n3 0 1 99\n",
    "lost.xml": landxml(PNTS + "<Faces><F>7 8 99</F></Faces>"),
    "four.xml": landxml(PNTS + "<Faces><F>7 8 9 10</F></Faces>"),
    "nan.xml": landxml(PNTS.replace("9<", "nan<") + FACES),
    "words.xml": landxml(PNTS.replace("9<", "high<") + FACES),
    "two.xml": landxml(PNTS.replace(" 9<", "<") + FACES),
    "none.xml": landxml(),
    "deep.xml": "<LandXML>" + "<Surface>" * 100_000,
    "bomb.xml": '<!DOCTYPE LandXML [<!ENTITY a "' + "ha" * 500 + '">'
    + "".join(f'<!ENTITY {n} "{f"&{m};" * 50}">' for m, n in zip("abcdef", "bcdefg", strict=True))
    + ']><LandXML version="&g;"><Surface name="&g;"/></LandXML>',
    "outside.xml": '<!DOCTYPE LandXML [<!ENTITY x SYSTEM "file:///etc/passwd">]><LandXML><Surface>&x;</Surface></LandXML>',
    "cut.dxf": R12_FACES[: len(R12_FACES) // 2 - 3],
    "words.dxf": R12_FACES.replace("\n9\n", "\nhigh\n"),
    "none.dxf": "0\nSECTION\n2\nENTITIES\n0\nENDSEC\n0\nEOF\n",
    "noise.dxf": "\x00\x01nonsense\n" * 50,
    "nan.dxf": R12_FACES.replace("\n9\n", "\nnan\n"),
    "huge.dxf": R12_FACES.replace("\n9\n", "\n1e999\n"),
}  # fmt: skip


@pytest.mark.parametrize("name", BROKEN)
def test_broken_meshes_are_refused_with_a_reason(name: str, tmp_path: pathlib.Path) -> None:
    (tmp_path / name).write_text(BROKEN[name], encoding="utf-8")
    with pytest.raises(taro25d.FormatError, match=name) as raised:
        print(taro25d.read(tmp_path / name))
    assert 10 < len(str(raised.value)) - len(str(tmp_path / name)) < 400
    assert "root:" not in str(raised.value)
