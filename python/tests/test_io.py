"""Files: round trips, and what happens to those that are broken."""

import pathlib
import warnings
import webbrowser

import numpy as np
import pytest
from conftest import make_hills

import taro25d
from taro25d import datasets, io

laspy = pytest.importorskip("laspy")
geopandas = pytest.importorskip("geopandas")
rasterio = pytest.importorskip("rasterio")
shapely = pytest.importorskip("shapely")

UTM = "EPSG:32616"


@pytest.fixture
def tin() -> taro25d.Triangulation:
    """A surface with a breakline far from the origin."""
    points = np.round(make_hills(300) + [500_000, 4_000_000, 300], 3)
    tin = taro25d.Triangulation(points, crs=UTM)
    tin.add_breakline([[500_100.25, 4_000_100.5, 310], [500_800.75, 4_000_850, 320]], name="ridge & brook")
    return tin


@pytest.mark.parametrize("ending", [".las", ".laz"])
def test_las_keeps_points_system_and_classes(tin: taro25d.Triangulation, ending: str, tmp_path: pathlib.Path) -> None:
    tin.write(tmp_path / f"a{ending}")
    points = taro25d.read(tmp_path / f"a{ending}")
    np.testing.assert_allclose(points.points, tin.points, atol=5e-5, rtol=0)
    assert points.crs.to_epsg() == 32616
    assert set(points.attributes["classification"]) == {2}
    assert len(taro25d.read(tmp_path / f"a{ending}", classes=[6])) == 0


@pytest.mark.parametrize("ending", [".xyz", ".csv", ".txt"])
def test_text_is_exact(tin: taro25d.Triangulation, ending: str, tmp_path: pathlib.Path) -> None:
    tin.write(tmp_path / f"a{ending}")
    np.testing.assert_array_equal(taro25d.read(tmp_path / f"a{ending}").points, tin.points)


@pytest.mark.parametrize(
    "text",
    [
        "1 2 3\n4 5 6\n",
        "# a\n\n1,2,3\n4,5,6",
        "X;Y;Z\n1;2;3\n4;5;6\n",
        "id,height,easting,northing\n7,3,1,2\n8,6,4,5\n",
        '"x","y","z"\n"1","2","3"\n"4","5","6"\n',
        "x;y;z\n1,0;2,0;3,0\n4;5,00;6\n",
    ],
)
def test_text_in_many_forms(text: str, tmp_path: pathlib.Path) -> None:
    (tmp_path / "a.csv").write_text("\ufeff" + text, encoding="utf-8")
    assert taro25d.read(tmp_path / "a.csv").points.tolist() == [[1, 2, 3], [4, 5, 6]]


def test_rasters_give_cell_centres(tmp_path: pathlib.Path) -> None:
    values = np.array([[1.5, 2, -9999], [4, 5, 6]], dtype=np.float32)
    transform = rasterio.Affine(10, 0, 1000, 0, -10, 2000)
    with rasterio.open(
        tmp_path / "a.tif", "w", width=3, height=2, count=1, dtype="float32", nodata=-9999, crs=UTM, transform=transform
    ) as file:
        file.write(values, 1)
    points = taro25d.read(tmp_path / "a.tif")
    assert points.points[0].tolist() == [1005, 1995, 1.5]
    assert len(points) == 5
    assert points.crs.to_epsg() == 32616
    with pytest.raises(taro25d.FormatError, match="band 2"):
        taro25d.read(tmp_path / "a.tif", band=2)


@pytest.mark.parametrize("turn", [0, 30])
def test_cells_without_a_height_are_gaps(turn: float, tmp_path: pathlib.Path) -> None:
    values = np.add.outer(np.arange(8.0), np.arange(10.0))
    values[2:5, 3:6] = values[0, :4] = values[7, 9] = np.nan
    cos, sin = np.cos(np.radians(turn)), np.sin(np.radians(turn))
    place = rasterio.Affine(10 * cos, 20 * sin, 1000, 10 * sin, -20 * cos, 2000)
    size = {"height": 8, "width": 10, "count": 1, "dtype": "float64"}
    with rasterio.open(tmp_path / "a.tif", "w", nodata=np.nan, crs=UTM, transform=place, **size) as file:
        file.write(values, 1)
    tin = taro25d.read(tmp_path / "a.tif", gaps=True)
    assert tin.check() and tin.crs.to_epsg() == 32616
    blocks = np.isfinite(values).astype(int)
    numbers = blocks[:-1, :-1] + blocks[1:, :-1] + blocks[:-1, 1:] + blocks[1:, 1:]
    assert tin.zone().area == pytest.approx(200 * ((numbers == 4).sum() + (numbers == 3).sum() / 2))
    columns, rows = np.array([4.5, 8.5]), 3.5
    heights = tin.heights(place.a * columns + place.b * rows + place.c, place.d * columns + place.e * rows + place.f)
    assert np.isnan(heights[0]) and heights[1] == pytest.approx(11)
    assert len(taro25d.read(tmp_path / "a.tif")) == np.isfinite(values).sum()
    values[::2] = values[:, ::2] = np.nan
    with rasterio.open(tmp_path / "b.tif", "w", nodata=np.nan, transform=place, **size) as file:
        file.write(values, 1)
    with pytest.raises(taro25d.FormatError, match="neighbouring"):
        taro25d.read(tmp_path / "b.tif", gaps=True)


def test_rasters_that_are_no_heights_or_have_no_place(tmp_path: pathlib.Path) -> None:
    size = {"height": 3, "width": 3, "count": 1}
    for name, kind, place in (("c", "complex64", (10, 0, 0, 0, -10, 0)), ("n", "float32", (1, 0, 0, 0, 1, 0))):
        with warnings.catch_warnings():
            warnings.simplefilter("ignore", rasterio.errors.NotGeoreferencedWarning)
            with rasterio.open(
                tmp_path / f"{name}.tif", "w", dtype=kind, transform=rasterio.Affine(*place), **size
            ) as file:
                file.write(np.ones((3, 3), dtype=kind), 1)
    with pytest.raises(taro25d.FormatError, match="complex"):
        taro25d.read(tmp_path / "c.tif")
    with pytest.warns(taro25d.Warning, match="columns and rows"):
        assert len(taro25d.read(tmp_path / "n.tif")) == 9


def test_rasters_are_written_exactly(tin: taro25d.Triangulation, tmp_path: pathlib.Path) -> None:
    raster = tin.rasterize((50, 40))
    for name in ("a.tif", "a.asc"):
        raster.write(tmp_path / name)
        with rasterio.open(tmp_path / name) as file:
            values = file.read(1, masked=True).filled(np.nan)
            assert tuple(file.transform)[:6] == tuple(raster.transform)[:6]
            assert file.crs.to_epsg() == 32616 or "16N" in file.crs.to_wkt()
        np.testing.assert_array_equal(values, raster.values if name == "a.tif" else raster.values.astype(values.dtype))
        np.testing.assert_array_equal(tin.rasterize(like=tmp_path / name).values, raster.values)
    tin.write(tmp_path / "b.tif", 25)
    assert len(taro25d.read(tmp_path / "b.tif")) == np.isfinite(tin.rasterize(25).values).sum()
    with pytest.raises(ValueError, match="resolution"):
        tin.write(tmp_path / "c.tif")
    with pytest.raises(ValueError, match="rasters go into"):
        raster.write(tmp_path / "c.obj")


def test_scenes_are_binary_gltf(tin: taro25d.Triangulation, tmp_path: pathlib.Path) -> None:
    tin.write(tmp_path / "a.glb")
    assert (tmp_path / "a.glb").read_bytes()[:4] == b"glTF"


def test_a_page_opens_in_a_browser(tin: taro25d.Triangulation, tmp_path: pathlib.Path, monkeypatch) -> None:
    opened: list[str] = []
    monkeypatch.setattr(webbrowser, "open", lambda address: opened.append(address) or True)
    page = tin.view(tmp_path / "hills & <dales>.html")
    assert opened == [page.as_uri()]
    assert "&lt;dales" in page.read_text(encoding="utf-8")
    monkeypatch.setattr(webbrowser, "open", lambda address: False)
    with pytest.warns(taro25d.Warning, match="no browser"):
        tin.view(page)
    with pytest.raises(ValueError, match="html"):
        tin.view(tmp_path / "a.png")


def test_dataset_is_where_it_says() -> None:
    ground = datasets.jacksboro()
    assert len(ground) == 344 * 403
    assert (ground.points[:, 2].min(), ground.points[:, 2].max()) == (236, 1076)
    streams = datasets.jacksboro_streams()
    assert len(streams) == 26
    west, south, east, north = streams.total_bounds
    assert 0 < west < east < 403 * 74.6
    assert 0 < south < north < 344 * 92.5


@pytest.mark.parametrize("ending", [".gpkg", ".shp", ".geojson"])
def test_vector_files_hold_triangles_and_points(
    tin: taro25d.Triangulation, ending: str, tmp_path: pathlib.Path
) -> None:
    tin.write(tmp_path / f"a{ending}")
    table = geopandas.read_file(tmp_path / f"a{ending}")
    assert len(table) == len(tin.triangles)
    assert table.area.sum() == pytest.approx(tin.zone().area)
    again = taro25d.read(tmp_path / f"a{ending}")
    assert set(map(tuple, again.points.tolist())) == set(map(tuple, tin.points.tolist()))
    assert again.crs == tin.crs or ending == ".shp"
    points = geopandas.GeoSeries(shapely.points(tin.points), crs=UTM)
    points.to_file(tmp_path / f"b{ending}")
    read = taro25d.read(tmp_path / f"b{ending}")
    np.testing.assert_allclose(read.points, tin.points, rtol=1e-15)
    assert read.crs.to_epsg() == 32616


def test_heights_from_a_column(tmp_path: pathlib.Path) -> None:
    table = geopandas.GeoDataFrame({"Elevation": [3.5]}, geometry=[shapely.Point(1, 2)], crs=UTM)
    table.to_file(tmp_path / "a.gpkg")
    assert taro25d.read(tmp_path / "a.gpkg").points.tolist() == [[1, 2, 3.5]]


def test_geometries_go_in_directly() -> None:
    points = geopandas.GeoSeries(shapely.points(make_hills(50)), crs=UTM)
    tin = taro25d.Triangulation(points)
    assert tin.crs.to_epsg() == 32616
    tin.add_breakline(shapely.LineString([[300, 300, 5], [700, 700, 5]]))
    box = shapely.box(300, 300, 700, 700) - shapely.box(400, 400, 500, 500)
    assert tin.zone(polygon=box).area == pytest.approx(150_000)
    assert tin.zone(polygon=geopandas.GeoSeries([box], crs=UTM)).area == pytest.approx(150_000)
    with pytest.raises(taro25d.CrsError, match="polygon"):
        tin.zone(polygon=geopandas.GeoSeries([box], crs="EPSG:32617"))
    with pytest.raises(ValueError, match="Polygon is expected, not a Point"):
        tin.zone(polygon=shapely.Point(1, 1))


def test_systems_without_a_plane_are_refused() -> None:
    with pytest.raises(taro25d.CrsError, match=r"longitude and latitude .*to_crs"):
        taro25d.Triangulation([[0, 0, 0]], crs="EPSG:4326")
    with pytest.raises(taro25d.CrsError, match=r"heights in US survey foot; .*scale_heights"):
        taro25d.Triangulation([[0, 0, 0]], crs="EPSG:32616+6360")
    with pytest.raises(ValueError, match="nonsense"):
        taro25d.Triangulation(crs="nonsense")
    places = taro25d.Points([[-84.4, 36.4, 300]], crs="EPSG:4326").to_crs(UTM)
    assert places.points[0] == pytest.approx([733_000, 4_031_000, 300], abs=2000)
    assert places.scale_heights(2).points[0, 2] == 600


def test_lines_and_polygons_of_files(tin: taro25d.Triangulation, tmp_path: pathlib.Path) -> None:
    for name in ("a.dxf", "a.xml"):
        tin.write(tmp_path / name)
        ((line, closed, _), *_) = lines = io.read_lines(tmp_path / name)
        assert len(lines) == len(tin.breaklines[0].edges)
        assert not closed
        np.testing.assert_array_equal(line[0], tin.breaklines[0].edges[0, 0])
    ring = shapely.Polygon([[0, 0], [4, 0], [4, 4], [0, 4]], [[[1, 1], [2, 1], [2, 2]]])
    geopandas.GeoDataFrame({"name": ["lake"]}, geometry=[ring], crs=UTM).to_file(tmp_path / "b.gpkg")
    assert [(len(line), closed, name) for line, closed, name in io.read_lines(tmp_path / "b.gpkg")] == [
        (5, True, "lake"),
        (4, True, "lake"),
    ]
    assert io.read_polygons(tmp_path / "b.gpkg").area == pytest.approx(15.5)
    plain = '{"type": "LineString", "coordinates": [[500100, 4000100], [500800, 4000850]]}'  # no longitude and latitude
    (tmp_path / "c.geojson").write_text(plain)
    with pytest.raises(taro25d.CrsError, match=r"c.geojson: .*WGS 84 .500100, .* in WGS 84 / UTM zone 16N"):
        io.read_lines(tmp_path / "c.geojson", tin.crs)


def test_contours_go_to_files(tin: taro25d.Triangulation, tmp_path: pathlib.Path) -> None:
    contours = tin.contours(interval=5)
    for name in ("a.gpkg", "a.shp", "a.geojson"):
        io.write_contours(contours, tmp_path / name)
        table = geopandas.read_file(tmp_path / name)
        assert sorted(table["level"]) == sorted(line.level for line in contours)
    io.write_contours(contours, tmp_path / "a.dxf")
    assert len(io.read_lines(tmp_path / "a.dxf")) == len(contours)


def test_components_go_to_files(tmp_path: pathlib.Path) -> None:
    flat = taro25d.Triangulation([[0, 0, 5], [10, 0, 5], [10, 10, 5], [0, 10, 5]], crs=UTM)
    later = flat.copy()
    for low, high in ((2, 5), (5, 8)):  # two pits, which touch in a corner
        later.add_breakline([[low, low, 5], [high, low, 5], [high, high, 5], [low, high, 5]], closed=True)
        later.insert([[(low + high) / 2, (low + high) / 2, 3]])
    volume = flat.volume(later)
    for name in ("a.gpkg", "a.shp", "a.geojson"):
        io.write_components(volume, tmp_path / name)
        table = geopandas.read_file(tmp_path / name)
        assert (table["kind"].tolist(), table.crs) == (["unchanged", "cut", "cut"], UTM)
        assert table.is_valid.all()
        assert table.area.tolist() == pytest.approx(table["area"].tolist())
        assert table["max_depth"].tolist() == pytest.approx([0, 2, 2])
        assert table["mean_depth"].tolist() == pytest.approx((table["volume"] / table["area"]).tolist())


def test_meshes_are_written_exactly(tin: taro25d.Triangulation, tmp_path: pathlib.Path) -> None:
    meshio = pytest.importorskip("meshio")
    part = tin.zone(polygon=[[500_200, 4_000_200], [500_700, 4_000_200], [500_500, 4_000_700]])
    for ending in (".obj", ".ply", ".vtk"):
        for zone in (None, part):
            tin.write(tmp_path / f"a{ending}", zone=zone)
            mesh = meshio.read(tmp_path / f"a{ending}")
            points, triangles = tin.faces(zone)
            np.testing.assert_array_equal(mesh.points, points)
            np.testing.assert_array_equal(mesh.cells_dict["triangle"], triangles)


def _bomb(depth: int = 12) -> str:
    entities = "".join(f'<!ENTITY e{k} "{f"&e{k - 1};" * 10}">' for k in range(1, depth))
    return f'<?xml version="1.0"?><!DOCTYPE LandXML [<!ENTITY e0 "ha">{entities}]><LandXML>&e{depth - 1};</LandXML>'


def broken_files(folder: pathlib.Path) -> dict[str, bytes]:
    """Files that cannot be used, by name."""
    whole = folder / "whole.laz"
    taro25d.Triangulation(make_hills(20_000)).write(whole)
    laz = whole.read_bytes()
    taro25d.Triangulation(make_hills(2000)).write(folder / "whole.las")
    las = (folder / "whole.las").read_bytes()
    broken = {
        "cut.laz": laz[: len(laz) // 2],
        "cut.las": las[: len(las) // 2],
        "noise.laz": laz[:400] + bytes(range(256)) * 40,
        "huge.las": las[:247] + (10**15).to_bytes(8, "little") + las[255:],
        "noise.tif": b"II*\0" + bytes(range(200)),
        "words.csv": b"a,b,c\n1,2,3\n",
        "ragged.xyz": b"1 2 3\n4 5\n",
        "noise.xyz": b"\xff\xfe\x00\x00" * 10,
        "noise.taro": b"noise" * 50,
        "noise.gpkg": b"SQLite format 3\0" + b"\0" * 100,
        "cut.geojson": b'{"type": "FeatureCollection", "features": [',
        "none.geojson": b'{"type": "FeatureCollection", "features": []}',
        "words.asc": b"ncols 2\nnrows 2\nxllcorner 0\nyllcorner 0\ncellsize 1\n1 2 b 4\n",
        "range.obj": b"v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 99999999999999999999\n",
        "joined.obj": b"\\\n" * 300_000,
        "huge.asc": b"ncols 2000000000\nnrows 2000000000\nxllcorner 0\nyllcorner 0\ncellsize 1\n1 2 3\n",
    }
    return broken | {f"empty{f.ending}": b"" for f in io.FORMATS if f.reads}


def test_broken_files_are_refused_by_name(tmp_path: pathlib.Path) -> None:
    for name, content in broken_files(tmp_path).items():
        (tmp_path / name).write_bytes(content)
        with pytest.raises(taro25d.FileError, match=name) as raised:
            print(name, taro25d.read(tmp_path / name))
        assert isinstance(raised.value, OSError)
    with pytest.raises(taro25d.FileError, match=r"away.xyz: there is no such file"):
        taro25d.read(tmp_path / "away.xyz")
    with pytest.raises(taro25d.InvalidInputError, match=r"\.docx.*\.laz"):
        taro25d.read(tmp_path / "a.docx")
    with pytest.raises(taro25d.InvalidInputError, match="classes means nothing"):
        taro25d.read(tmp_path / "ragged.xyz", classes=[2])


@pytest.mark.parametrize(
    ("content", "reason"),
    [
        (_bomb(), "document type|amplification"),
        ('<!DOCTYPE LandXML SYSTEM "file:///etc/passwd"><LandXML/>', "document type|no lines"),
        ("<LandXML><Surfaces>", "broken"),
        ("<Other/>", "not LandXML"),
        ("<LandXML><Breakline><PntList3D>1 2 3 4</PntList3D></Breakline></LandXML>", "4 numbers"),
    ],
)
def test_hostile_xml_is_refused(content: str, reason: str, tmp_path: pathlib.Path) -> None:
    (tmp_path / "a.xml").write_text(content)
    with pytest.raises(taro25d.FormatError, match=f"a.xml.*({reason})"):
        io.read_lines(tmp_path / "a.xml")


def test_nothing_is_left_where_writing_fails(tin: taro25d.Triangulation, tmp_path: pathlib.Path, monkeypatch) -> None:
    target = tmp_path / "a.gpkg"
    target.write_text("old")
    monkeypatch.setattr("taro25d._export.to_geodataframe", lambda *_: (_ for _ in ()).throw(MemoryError()))
    with pytest.raises(MemoryError):
        tin.write(target)
    assert [file.name for file in tmp_path.iterdir()] == ["a.gpkg"]
    assert target.read_text() == "old"
    with pytest.raises(taro25d.FileError, match="nowhere"):
        tin.write(tmp_path / "nowhere" / "a.xyz")


def test_a_missing_package_is_named(tin: taro25d.Triangulation, tmp_path: pathlib.Path, monkeypatch) -> None:
    monkeypatch.setitem(__import__("sys").modules, "laspy", None)
    with pytest.raises(ImportError, match=r"laspy: pip install 'taro25d\[io\]'"):
        tin.write(tmp_path / "a.las")
    assert list(tmp_path.iterdir()) == []
