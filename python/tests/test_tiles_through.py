"""What goes through the tiles gives what one piece gives."""

import pathlib

import numpy as np
import pytest
from conftest import make_hills
from tiling import CASES, threads

import taro25d


@pytest.fixture(scope="module")
def client():
    with threads() as client:
        yield client


@pytest.fixture(scope="module")
def hilly(tmp_path_factory: pytest.TempPathFactory, client) -> tuple[taro25d.Triangulation, taro25d.tiles.Tiling]:
    """The same surface in one piece and in tiles; some heights are whole numbers."""
    points = make_hills(3000)
    points[::7, 2] = np.round(points[::7, 2])
    tin = taro25d.Triangulation(points)
    tin.canonicalize()
    return tin, taro25d.tiles.triangulate(points, tmp_path_factory.mktemp("hilly"), points_per_tile=300, client=client)


def measure(lines: taro25d.Contours) -> list[tuple[float, bool, int, float]]:
    """Level, whether it is closed, number of points and length of each line, without those around a single point."""
    found = [
        (
            level,
            np.array_equal(coords[0], coords[-1]),
            len(coords),
            np.linalg.norm(np.diff(coords, axis=0), axis=1).sum(),
        )
        for level, coords in lines
    ]
    return sorted((*line[:3], round(line[3], 3)) for line in found if line[3] > 1e-3)


def test_contours_are_those_of_one_piece(hilly, tmp_path: pathlib.Path) -> None:
    tin, result = hilly
    assert measure(result.contours(interval=2.5)) == measure(tin.contours(interval=2.5))
    assert result.contours(levels=[1e6]) == []


@pytest.mark.parametrize(("ending", "interval"), [(".gpkg", 0.05), (".shp", 2.5), (".geojson", 2.5), (".dxf", 2.5)])
def test_contours_in_files(ending: str, interval: float, hilly, tmp_path: pathlib.Path) -> None:
    """At 5 cm there are more lines than are written at a time."""
    geopandas = pytest.importorskip("geopandas")
    path = tmp_path / f"lines{ending}"
    lines = hilly[1].contours(interval=interval)
    assert (len(lines) > 1000) == (interval < 1)
    assert hilly[1].contours(interval=interval, path=path) is None
    assert len(geopandas.read_file(path)) == len(lines)
    assert hilly[1].contours(levels=[1e6], path=path) is None
    assert len(geopandas.read_file(path)) == 0


METHODS = ["linear", "natural", "slope", "aspect", "hillshade"]


@pytest.fixture(scope="module")
def terraces(tmp_path_factory: pytest.TempPathFactory, client) -> tuple[taro25d.Triangulation, taro25d.tiles.Tiling]:
    """A grid with level ground: its points can be centres of cells, on the borders of tiles too."""
    places = np.stack(np.meshgrid(np.arange(30.0), np.arange(25.0)), -1).reshape(-1, 2)
    points = np.column_stack([places, np.round(3 * np.sin(places[:, 0] / 5) + places[:, 1] / 10)])
    tin = taro25d.Triangulation(points)
    tin.canonicalize()
    return tin, taro25d.tiles.triangulate(points, tmp_path_factory.mktemp("grid"), points_per_tile=50, client=client)


@pytest.mark.parametrize("method", METHODS)
def test_rasters_are_those_of_one_piece(method: str, hilly, terraces, tmp_path: pathlib.Path) -> None:
    rasterio = pytest.importorskip("rasterio")
    cases = ((hilly, 13, None), (terraces, 1, (-2.5, -2.5, 31.5, 31.5)), (terraces, 0.5, (-0.25, -0.25, 40.75, 31.75)))
    for number, ((tin, result), size, bounds) in enumerate(cases):
        whole = tin.rasterize(size, bounds=bounds, method=method)
        tiled = result.rasterize(size, bounds=bounds, method=method)
        np.testing.assert_allclose(tiled.values, whole.values, rtol=1e-9, atol=1e-9)
        assert tiled.frame == whole.frame
        path = tmp_path / f"{number}.tif"
        assert result.rasterize(size, bounds=bounds, method=method, path=path) is None
        with rasterio.open(path) as file:
            np.testing.assert_array_equal(file.read(1), tiled.values)
    with pytest.raises(taro25d.InvalidInputError, match="method"):
        result.rasterize(13, method="cubic")


@pytest.mark.parametrize("name", ["lake", "clusters", "lines", "stray", "circle"])
def test_natural_neighbours_far_away(name: str, tmp_path: pathlib.Path, client) -> None:
    points = CASES[name]
    result = taro25d.tiles.triangulate(points, tmp_path, points_per_tile=20, client=client)
    low, high = points[:300, :2].min(axis=0), points[:300, :2].max(axis=0)
    frame = {"resolution": float(np.max(high - low)) / 70, "bounds": (*low.tolist(), *high.tolist())}
    whole = taro25d.Triangulation(points).rasterize(**frame, method="natural").values
    tiled = result.rasterize(**frame, method="natural").values
    scale = np.ptp(points[:, 2])
    np.testing.assert_allclose(tiled / scale, whole / scale, rtol=1e-9, atol=1e-9)


# ---- Volumes ----

PARTS = ("cut", "fill", "cut_area", "fill_area", "unchanged_area")
LAKE = np.array([[100, 100], [900, 150], [600, 950], [50, 700]])


@pytest.fixture(scope="module")
def later(tmp_path_factory: pytest.TempPathFactory, client) -> tuple[taro25d.Triangulation, taro25d.tiles.Tiling]:
    points = make_hills(2000, seed=5) + [3.25, -7.5, 1]
    return taro25d.Triangulation(points), taro25d.tiles.triangulate(
        points, tmp_path_factory.mktemp("later"), points_per_tile=170, client=client
    )


@pytest.mark.parametrize("order", [{}, {"threshold": 0.8}, {"polygon": LAKE}, {"polygon": LAKE, "threshold": 0.5}])
def test_volumes_are_those_of_one_piece(order: dict, hilly, later, tmp_path: pathlib.Path) -> None:
    geopandas = pytest.importorskip("geopandas")
    (before, tiles_before), (after, tiles_after) = hilly, later
    expected = before.volume(after, **order)
    volume = tiles_before.volume(tiles_after, **order, path=tmp_path / "volumes.parquet")
    table = geopandas.read_parquet(tmp_path / "volumes.parquet")
    tiles_before.volume(tiles_after, **order, path=tmp_path / "volumes.csv")
    lines = (tmp_path / "volumes.csv").read_text().splitlines()
    assert len(lines) == len(table) + 1
    for part in PARTS:
        assert getattr(volume, part) == pytest.approx(getattr(expected, part), rel=1e-9)
        assert table[part].sum() == pytest.approx(getattr(expected, part), rel=1e-9)
    assert sorted(c.kind for c in volume.components) == sorted(c.kind for c in expected.components)


def test_volumes_with_holes_and_nothing(hilly, later, tmp_path: pathlib.Path, client) -> None:
    shapely = pytest.importorskip("shapely")
    (before, tiles_before), (after, tiles_after) = hilly, later
    rings = shapely.MultiPolygon(
        [shapely.Polygon(LAKE, [[[300, 300], [500, 320], [400, 600]]]), shapely.box(950, 20, 1400, 60)]
    )
    volume, expected = tiles_before.volume(tiles_after, rings), before.volume(after, rings)
    assert [getattr(volume, part) for part in PARTS] == pytest.approx([getattr(expected, part) for part in PARTS])
    away = taro25d.tiles.triangulate(make_hills(50) + [5000, 0, 0], tmp_path / "away", client=client)
    nothing = tiles_before.volume(away)
    assert [getattr(nothing, part) for part in PARTS] == [0] * 5
    with pytest.raises(taro25d.RefusedError, match="enclose"):
        tiles_before.volume(tiles_after, LAKE + 5000)
    with pytest.raises(taro25d.InvalidInputError, match="after"):
        tiles_before.volume(after)
    with pytest.raises(taro25d.InvalidInputError, match="parquet"):
        tiles_before.volume(tiles_after, path=tmp_path / "volumes.doc")
    itself = tiles_before.volume(tiles_before)
    assert (itself.cut, itself.fill) == (0, 0)
    assert itself.unchanged_area == pytest.approx(before.zone().area, rel=1e-12)


# ---- Fewer points ----


@pytest.mark.parametrize("max_error", [0.0, 0.3, 2.0])
@pytest.mark.parametrize("surface", ["hilly", "terraces"])
def test_simplified_tiles_keep_the_limit_everywhere(
    surface: str, max_error: float, request: pytest.FixtureRequest, tmp_path: pathlib.Path
) -> None:
    tin, result = request.getfixturevalue(surface)
    fewer = result.simplify(tmp_path / "fewer", max_error, points_per_tile=400)
    assert fewer.check()
    points = np.concatenate([fewer.points(tile) for tile in fewer.tiles])
    assert {tuple(point) for point in points} <= {tuple(point) for point in tin.points}
    model = taro25d.Triangulation(points)
    model.canonicalize()
    difference = tin.volume(model, threshold=max_error + 1e-9)
    assert (difference.cut_area, difference.fill_area) == (0, 0)
    assert difference.unchanged_area == pytest.approx(tin.zone().area, rel=1e-12)
    if max_error == 2:
        assert len(fewer) < 0.75 * len(result)
    kept = sorted(path.name for path in tmp_path.iterdir())
    again = result.simplify(tmp_path / "fewer", max_error, points_per_tile=400)
    assert (again.tiles, kept) == (fewer.tiles, ["fewer"])


@pytest.mark.parametrize("name", ["lake", "lines", "collinear", "none", "stray", "repeated"])
def test_simplified_tiles_keep_borders(name: str, tmp_path: pathlib.Path, client) -> None:
    """The edges on the borders of tiles, which two tiles share, are edges of the result."""
    result = taro25d.tiles.triangulate(CASES[name], tmp_path / "all", points_per_tile=60, client=client)
    fewer = result.simplify(tmp_path / "fewer", 50.0, client=client)
    assert fewer.check()
    edges = {edge for tile in fewer.tiles for edge in list_edges(fewer.triangles(tile))}
    for tile in result.tiles:
        own = list_edges(result.triangles(tile))
        assert {edge for edge in own if edge[::-1] not in own} <= edges


def list_edges(triangles: np.ndarray) -> set[tuple[tuple[float, ...], tuple[float, ...]]]:
    return {(tuple(face[k]), tuple(face[(k + 1) % 3])) for face in triangles.tolist() for k in range(3)}


# ---- Handing it on ----


def test_geoparquet(hilly, tmp_path: pathlib.Path, client) -> None:
    geopandas, shapely = pytest.importorskip("geopandas"), pytest.importorskip("shapely")
    _, result = hilly
    result.write(tmp_path / "triangles.parquet")
    table = geopandas.read_parquet(tmp_path / "triangles.parquet")
    assert table.crs is None
    assert table.has_z.all()
    for tile in result.tiles:
        corners = shapely.get_coordinates(table.geometry[table.tile == tile], include_z=True).reshape(-1, 4, 3)
        assert np.array_equal(corners[:, :3], result.triangles(tile))
        assert result.to_geodataframe(tile).geometry.equals(table.geometry[table.tile == tile].reset_index(drop=True))
    near = geopandas.read_parquet(tmp_path / "triangles.parquet", bbox=(0, 0, 100, 100))
    assert 0 < len(near) < len(table) / 10
    plane = taro25d.tiles.triangulate(np.eye(3) * 10, tmp_path / "plane", client=client, crs="EPSG:32616")
    plane.write(tmp_path / "one.parquet")
    assert geopandas.read_parquet(tmp_path / "one.parquet").crs == "EPSG:32616"
    with pytest.raises(taro25d.InvalidInputError, match="parquet"):
        result.write(tmp_path / "triangles.obj")
