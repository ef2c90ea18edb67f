"""Tiles: together they are the whole, whatever the tiles are."""

import pathlib
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest
from conftest import make_hills
from tiling import CASES, distributed, sort_faces, threads, together, whole

import taro25d
from taro25d.tiles._store import PointFile


@pytest.fixture(scope="module")
def client():
    with threads() as client:
        yield client


@pytest.mark.parametrize("points_per_tile", [30, 200])
@pytest.mark.parametrize("name", CASES)
def test_tiles_together_are_the_whole(name: str, points_per_tile: int, tmp_path: pathlib.Path, client) -> None:
    points = CASES[name]
    result = taro25d.tiles.triangulate(points, tmp_path / "out", points_per_tile=points_per_tile, client=client)
    assert len(result) == len(np.unique(points[:, :2], axis=0))
    assert all(len(result.points(tile)) <= points_per_tile for tile in result.tiles)
    assert np.array_equal(together(result), whole(points))


@pytest.mark.parametrize("workers", [1, 2, 3])
def test_workers_do_not_matter(workers: int, tmp_path: pathlib.Path) -> None:
    points = CASES["hundredths"]
    with distributed.Client(
        processes=False, n_workers=workers, threads_per_worker=1, dashboard_address=":0", set_as_default=False
    ) as client:
        result = taro25d.tiles.triangulate(points, tmp_path / "out", points_per_tile=90, client=client)
    assert np.array_equal(together(result), whole(points))


def test_a_tile_with_its_halo(tmp_path: pathlib.Path, client) -> None:
    points = CASES["grid"]
    result = taro25d.tiles.triangulate(points, tmp_path, points_per_tile=60, client=client)
    for tile in result.tiles:
        tin = result.open(tile)
        own = {tuple(place) for place in result.points(tile)[:, :2]}
        corners = sort_faces(tin.points[tin.triangles]).reshape(-1, 3, 3)
        of_own = corners[[tuple(face[0, :2]) in own for face in corners]]
        assert np.array_equal(sort_faces(of_own), sort_faces(result.triangles(tile)))
    with pytest.raises(taro25d.GoneError, match="'x'"):
        result.open("x")


def test_files_in_order(tmp_path: pathlib.Path, client) -> None:
    pytest.importorskip("laspy")
    pytest.importorskip("pyproj")
    points = np.round(make_hills(1500), 3)
    taro25d.Triangulation(points[:1000], crs="EPSG:32616").write(tmp_path / "a.laz")
    taro25d.Triangulation(points[1000:]).write(tmp_path / "b.xyz")
    read = np.concatenate([taro25d.read(path).points for path in (tmp_path / "a.laz", tmp_path / "b.xyz")])
    again = read[:200] + [0, 0, 5]
    np.save(tmp_path / "c.npy", np.concatenate([again, [[np.nan, 0, 0]]]))
    sources = [str(tmp_path / "?.laz"), tmp_path / "b.xyz", tmp_path / "c.npy"]
    with pytest.warns(taro25d.Warning, match="1 points"):
        result = taro25d.tiles.triangulate(sources, tmp_path / "out", points_per_tile=400, client=client)
    assert result.crs.to_epsg() == 32616
    assert np.array_equal(together(result), whole(read))
    with pytest.raises(taro25d.FileError, match="away"):
        taro25d.tiles.triangulate(tmp_path / "away*.laz", tmp_path / "other", client=client)


def test_threads_of_a_worker_share_files(tmp_path: pathlib.Path, client) -> None:
    taro25d.tiles.triangulate(make_hills(20_000), tmp_path / "out", 20_000, client)
    (path,) = (tmp_path / "out" / "points").glob("*.parquet")
    file = PointFile(path)
    with ThreadPoolExecutor(8) as pool:
        sums = set(pool.map(lambda _: file.read().sum(), range(400)))
    assert len(sums) == 1


def test_check_finds_what_was_changed(tmp_path: pathlib.Path, client) -> None:
    folder = tmp_path / "out"
    result = taro25d.tiles.triangulate(CASES["lake"], folder, points_per_tile=60, client=client)
    assert result.check()
    other = folder / "triangles" / f"{result.tiles[0]}.parquet"
    other.write_bytes((folder / "triangles" / f"{result.tiles[1]}.parquet").read_bytes())
    with pytest.raises(taro25d.Error, match=other.name):
        taro25d.tiles.open(folder).check()
