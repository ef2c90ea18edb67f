"""Terrain tiles for the web: valid, without gaps, and where the surface is."""

import contextlib
import json
import pathlib

import numpy as np
import pytest
from conftest import make_hills
from quantized_mesh import STEPS, Terrain, count_mismatches, read_all
from test_tiles import CASES

import taro25d

distributed = pytest.importorskip("distributed")
pytest.importorskip("pyarrow")
EAST, NORTH = 500_000, 5_400_000


@pytest.fixture(scope="module")
def client():
    with contextlib.closing(
        distributed.Client(processes=False, n_workers=1, threads_per_worker=2, dashboard_address=":0")
    ) as client:
        yield client


def make_ground(num: int) -> np.ndarray:
    """Hills with a steep edge, so that heights of neighbouring tiles range differently."""
    points = make_hills(num)
    points[:, 2] += 300 + 200 * (points[:, 0] > 700)
    return points + [EAST, NORTH, 0]


@pytest.fixture(scope="module")
def ground(tmp_path_factory: pytest.TempPathFactory, client) -> taro25d.tiles.Tiling:
    return taro25d.tiles.triangulate(
        make_ground(6000), tmp_path_factory.mktemp("ground"), points_per_tile=900, client=client
    )


def get_areas(tile: Terrain) -> np.ndarray:
    a, b, c = np.moveaxis(tile.places[tile.triangles], 1, 0)
    return ((b - a)[:, 0] * (c - a)[:, 1] - (b - a)[:, 1] * (c - a)[:, 0]) / 2


@pytest.mark.parametrize("name", CASES)
def test_any_points(name: str, tmp_path: pathlib.Path, client) -> None:
    points = CASES[name].copy()
    points[:, 2] = points[:, 2] * 37 % 300
    result = taro25d.tiles.triangulate(points, tmp_path / "tiles", points_per_tile=100, client=client)
    if name in ("collinear", "one", "none"):
        with pytest.raises(taro25d.Error, match="no triangles"):
            result.write_terrain(tmp_path / "web", 30, client=client)
        return
    result.write_terrain(tmp_path / "web", 30, client=client)
    tiles = read_all(tmp_path / "web")
    layer = json.loads((tmp_path / "web" / "layer.json").read_text())
    available = {
        (z, x, y)
        for z, parts in enumerate(layer["available"])
        for part in parts
        for x in range(part["startX"], part["endX"] + 1)
        for y in range(part["startY"], part["endY"] + 1)
    }
    assert set(tiles) == available
    assert all((get_areas(tile) > 0).all() for tile in tiles.values())
    assert count_mismatches(tiles)[1] == 0


def test_errors_are_within_the_limits(tmp_path: pathlib.Path, client) -> None:
    points = make_hills(6000) + [EAST, NORTH, 300]
    result = taro25d.tiles.triangulate(points, tmp_path / "tiles", points_per_tile=900, client=client)
    result.write_terrain(tmp_path / "web", 300, client=client)
    layer, tiles = json.loads((tmp_path / "web" / "layer.json").read_text()), read_all(tmp_path / "web")
    tin = taro25d.Triangulation(points)
    tin.canonicalize()
    origin, top = np.array(layer["taro25d"]["origin"]), layer["maxzoom"]
    assert top == 2
    for (z, x, y), tile in tiles.items():
        width = layer["taro25d"]["size"] / 2**z
        places = origin + (np.array([x, y]) + tile.places / STEPS) * width
        corners, heights = places[tile.triangles], tile.heights[tile.triangles]
        # Along the hull, slivers stand up on end.
        inner = (np.abs(corners - [EAST + 500, NORTH + 500]) < 440).all(axis=(1, 2))
        weights = np.random.default_rng(1).dirichlet([1, 1, 1], inner.sum())
        at = np.einsum("ij,ijk->ik", weights, corners[inner])
        error = np.abs(np.einsum("ij,ij->i", weights, heights[inner]) - tin.heights(*at.T)).max()
        rounding = 2 * width / STEPS + (tile.high - tile.low) / STEPS
        assert error < (0 if z == top else 2 * width / 1024) + rounding
        if z < top:
            assert len(tile.places) < 600  # 6000 and more have come in
    finest = sum(get_areas(tile).sum() for (z, _, _), tile in tiles.items() if z == top)
    assert finest / (4**top * STEPS**2) > 0.98


def test_tiles_of_the_globe(tmp_path: pathlib.Path, client) -> None:
    pyproj = pytest.importorskip("pyproj")
    points = make_ground(3000)
    result = taro25d.tiles.triangulate(points, tmp_path / "tiles", points_per_tile=900, client=client, crs="EPSG:32632")
    result.write_terrain(tmp_path / "web", 300, client=client, compress=True, title="A <b> & c")
    layer, tiles = json.loads((tmp_path / "web" / "layer.json").read_text()), read_all(tmp_path / "web")
    assert layer["projection"] == "EPSG:4326" and layer["name"] == "A <b> & c"
    assert count_mismatches(tiles)[1] == 0
    first = layer["taro25d"]["first"]
    assert layer["minzoom"] == 0 and first > 5
    for (z, x, y), tile in tiles.items():
        assert z == 0 or (z - 1, x >> 1, y >> 1) in tiles  # viewers come to a tile through those above it
        if z < first:
            assert get_areas(tile).min() > 0 and get_areas(tile).sum() == STEPS**2 and not tile.heights.any()
    assert (0, 0, 0) in tiles and (0, 1, 0) in tiles
    to_survey = pyproj.Transformer.from_crs("EPSG:4326", "EPSG:32632", always_xy=True)
    to_space = pyproj.Transformer.from_crs("EPSG:4979", "EPSG:4978", always_xy=True)
    tin = taro25d.Triangulation(points)
    for (z, x, y), tile in tiles.items():
        width = 180 / 2**z
        places = np.array([-180, -90]) + (np.array([x, y]) + tile.places / STEPS) * width
        space = np.column_stack(to_space.transform(*places.T, tile.heights))
        assert np.linalg.norm(space - tile.sphere[:3], axis=1).max() <= tile.sphere[3] + 1e-3
        assert np.linalg.norm(tile.center - tile.sphere[:3]) == 0
        if z == 0:
            continue  # half of the globe is never below the horizon
        # Who sees a vertex sees the point: it is above the horizon of all the ground from which a vertex is.
        scaled = space / [6378137.0, 6378137.0, 6356752.3142451793]
        size = np.maximum(1, np.linalg.norm(scaled, axis=1))  # rounding
        angle = np.arccos(np.clip(scaled @ tile.horizon / size / np.linalg.norm(tile.horizon), -1, 1))
        assert (angle + np.arccos(1 / size) <= np.arccos(1 / np.linalg.norm(tile.horizon)) + 1e-6).all()
        if z == layer["maxzoom"]:
            heights = tin.heights(*to_survey.transform(*places.T))
            assert np.nanquantile(np.abs(tile.heights - heights), 0.97) < 0.1
    page = (tmp_path / "web" / "index.html").read_text()
    assert "<title>A &lt;b&gt; &amp; c</title>" in page


def test_a_pyramid_goes_on_and_another_is_refused(ground: taro25d.tiles.Tiling, tmp_path: pathlib.Path, client) -> None:
    web = tmp_path / "web"

    def interrupt(phase: str, fraction: float) -> None:
        if phase.startswith("simplifying"):
            raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        ground.write_terrain(web, 40, client=client, progress=interrupt)
    assert not (web / "layer.json").exists()
    kept = list((web / ".work").iterdir())
    with pytest.raises(taro25d.RefusedError, match="other settings"):
        ground.write_terrain(web, 41, client=client)
    assert len(kept) > 1
    ground.write_terrain(web, 40, client=client)
    assert not (web / ".work").exists()
    ground.write_terrain(tmp_path / "fresh", 40, client=client)
    for path in (tmp_path / "fresh").rglob("*.terrain"):
        assert path.read_bytes() == (web / path.relative_to(tmp_path / "fresh")).read_bytes()
    with pytest.raises(taro25d.RefusedError, match="other settings"):
        ground.write_terrain(web, 41, client=client)
    with pytest.raises(taro25d.RefusedError, match="other files"):
        ground.write_terrain(tmp_path, 40, client=client)
    with pytest.raises(taro25d.InvalidInputError, match="reference system"):
        ground.write_terrain(tmp_path / "globe", geographic=True)
