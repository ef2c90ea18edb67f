"""Tiles: together they are the whole, whatever the tiles are and whatever happens on the road there."""

import contextlib
import os
import pathlib
import resource
import signal
import subprocess
import sys

import numpy as np
import pytest
from conftest import make_hills

import taro25d

distributed = pytest.importorskip("distributed")
pytest.importorskip("pyarrow")


def make_cases() -> dict[str, np.ndarray]:
    rng = np.random.default_rng(3)
    places = rng.uniform(0, 1000, (700, 2))
    angles = rng.uniform(0, 2 * np.pi, 150)
    steps = np.arange(60.0)
    lines = [np.column_stack([steps * 4, np.full(60, 300.0 * k)]) + rng.normal(0, 0.01, (60, 2)) for k in range(5)]
    clusters = [rng.normal(rng.uniform(0, 1e4, 2), 5, (100, 2)) for _ in range(5)]
    cases = {
        "random": places,
        "grid": np.stack(np.meshgrid(np.arange(20.0), np.arange(20.0)), -1).reshape(-1, 2),
        "hundredths": np.round(places, 1) + [350_000, 5_800_000],
        "clusters": np.concatenate(clusters),
        "lines": np.concatenate(lines),
        "lake": places[np.hypot(*(places - 500).T) > 350],
        "river": places[np.abs(places[:, 1] - 500 - 100 * np.sin(places[:, 0] / 100)) > 80],
        "stray": np.concatenate([places[:300], [[1e7, -3e6]]]),
        "circle": 1e5 + 1000 * np.column_stack([np.cos(angles), np.sin(angles)]),
        "collinear": np.column_stack([np.arange(100.0), 2 * np.arange(100.0)]),
        "diagonal": np.concatenate([np.column_stack([np.arange(100.0)] * 2), [[30, 31]]]),
        "repeated": np.concatenate([places[:200], places[:200][::-1], -places[:50], -places[:50]]),
        "one": places[:1],
        "none": places[:0],
    }
    return {name: np.column_stack([xy, np.arange(len(xy))]) for name, xy in cases.items()}


CASES = make_cases()


def sort_faces(corners: np.ndarray) -> np.ndarray:
    """Triangles as rows, each from its smallest corner on."""
    first = np.lexsort((corners[..., 1], corners[..., 0]), axis=1)[:, :1]
    turned = np.take_along_axis(corners, ((first + np.arange(3)) % 3)[..., np.newaxis], axis=1).reshape(-1, 9)
    return turned[np.lexsort(turned.T[::-1])]


def whole(points: np.ndarray) -> np.ndarray:
    tin = taro25d.Triangulation(points)
    tin.canonicalize()
    return sort_faces(tin.points[tin.triangles])


def together(result: taro25d.tiles.Tiling) -> np.ndarray:
    return sort_faces(np.concatenate([np.empty((0, 3, 3)), *(result.triangles(tile) for tile in result.tiles)]))


@pytest.fixture(scope="module")
def client():
    with contextlib.closing(
        distributed.Client(processes=False, n_workers=1, threads_per_worker=2, dashboard_address=":0")
    ) as client:
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


# ---- Through the tiles ----


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
    geopandas = pytest.importorskip("geopandas")
    lines = result.contours(interval=5, path=tmp_path / "lines.gpkg")
    assert len(geopandas.read_file(tmp_path / "lines.gpkg")) == len(lines)


@pytest.mark.parametrize("method", ["linear", "slope"])
def test_rasters_are_those_of_one_piece(method: str, hilly, tmp_path: pathlib.Path) -> None:
    rasterio = pytest.importorskip("rasterio")
    tin, result = hilly
    whole = tin.rasterize(13, method=method)
    tiled = result.rasterize(13, method=method)
    np.testing.assert_allclose(tiled.values, whole.values, rtol=1e-9, atol=1e-9)
    assert tiled.frame == whole.frame
    assert result.rasterize(13, method=method, path=tmp_path / "cells.tif") is None
    with rasterio.open(tmp_path / "cells.tif") as file:
        np.testing.assert_array_equal(file.read(1), tiled.values)
    with pytest.raises(taro25d.InvalidInputError, match="method"):
        result.rasterize(13, method="natural")


def test_check_finds_what_was_changed(tmp_path: pathlib.Path, client) -> None:
    folder = tmp_path / "out"
    result = taro25d.tiles.triangulate(CASES["lake"], folder, points_per_tile=60, client=client)
    assert result.check()
    other = folder / "triangles" / f"{result.tiles[0]}.parquet"
    other.write_bytes((folder / "triangles" / f"{result.tiles[1]}.parquet").read_bytes())
    with pytest.raises(taro25d.Error, match=other.name):
        taro25d.tiles.open(folder).check()


# ---- Faults ----


def count_files(folder: pathlib.Path) -> dict[str, tuple[int, int]]:
    files = (path for path in folder.rglob("*") if path.is_file() and path.name != ".lock")
    return {str(path.relative_to(folder)): (path.stat().st_ino, path.stat().st_size) for path in files}


def test_a_second_run_goes_on_and_another_is_refused(tmp_path: pathlib.Path, client) -> None:
    points, folder = CASES["random"], tmp_path / "out"
    result = taro25d.tiles.triangulate(points, folder, points_per_tile=100, client=client)
    made = count_files(folder)
    assert {path.split("/")[0] for path in made} == {"tiling.json", "tiles.parquet", "points", "halo", "triangles"}
    (folder / "triangles" / f"{result.tiles[1]}.parquet").unlink()
    with pytest.raises(taro25d.FileError, match="1 of 8 tiles"):
        taro25d.tiles.open(folder)
    again = taro25d.tiles.triangulate(points, folder, points_per_tile=100, client=client)
    assert np.array_equal(together(again), whole(points))
    kept = count_files(folder)
    assert sum(kept[path] != made[path] for path in made) <= 2
    for source, size, name in ((points[1:], 100, "source"), (points, 99, "points_per_tile")):
        with pytest.raises(taro25d.RefusedError, match=name):
            taro25d.tiles.triangulate(source, folder, points_per_tile=size, client=client)
    assert count_files(folder) == kept
    with pytest.raises(taro25d.RefusedError, match="other files"):
        taro25d.tiles.triangulate(points, tmp_path, client=client)


@pytest.mark.parametrize("phase", ["counting", "dividing", "gathering", "triangulating"])
def test_interrupted_anywhere(phase: str, tmp_path: pathlib.Path, client) -> None:
    points = CASES["lake"]

    def interrupt(now: str, fraction: float) -> None:
        if now == phase:
            raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        taro25d.tiles.triangulate(points, tmp_path / "out", points_per_tile=60, client=client, progress=interrupt)
    with pytest.raises(taro25d.FileError, match=r"not finished|no tiling"):
        taro25d.tiles.open(tmp_path / "out")
    result = taro25d.tiles.triangulate(points, tmp_path / "out", points_per_tile=60, client=client)
    assert np.array_equal(together(result), whole(points))


def test_a_worker_is_killed(tmp_path: pathlib.Path) -> None:
    points = CASES["random"]
    with distributed.Client(
        n_workers=2, threads_per_worker=1, dashboard_address=":0", set_as_default=False, silence_logs=50
    ) as client:
        pids = list(client.run(os.getpid).values())

        def kill(phase: str, fraction: float) -> None:
            if phase == "triangulating" and pids:
                os.kill(pids.pop(), signal.SIGKILL)

        result = taro25d.tiles.triangulate(points, tmp_path / "out", points_per_tile=25, client=client, progress=kill)
        assert len(pids) <= 1
    assert np.array_equal(together(result), whole(points))


def test_the_disk_is_full(tmp_path: pathlib.Path, client) -> None:
    points = make_hills(5000)
    np.save(tmp_path / "points.npy", points)
    program = (
        "import taro25d\n"
        f"taro25d.tiles.triangulate({str(tmp_path / 'points.npy')!r}, {str(tmp_path / 'out')!r}, points_per_tile=3000)\n"
    )
    limit = 60_000
    done = subprocess.run(
        [sys.executable, "-c", program], capture_output=True, text=True, check=False, timeout=120, cwd=tmp_path,
        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)),
    )  # fmt: skip
    assert done.returncode == 1
    assert "taro25d.errors.FileError" in done.stderr
    assert str(tmp_path / "out") in done.stderr.splitlines()[-1]
    assert not [path for path in (tmp_path / "out").rglob(".*") if path.name != ".lock"]
    result = taro25d.tiles.triangulate(tmp_path / "points.npy", tmp_path / "out", points_per_tile=3000, client=client)
    assert np.array_equal(together(result), whole(points))


def test_a_broken_file_is_named(tmp_path: pathlib.Path, client) -> None:
    points = CASES["random"]
    good, bad = tmp_path / "good.xyz", tmp_path / "bad.xyz"
    np.savetxt(good, points[:400])
    bad.write_text("1 2 3\n4 5\n")
    with pytest.raises(taro25d.FormatError, match=r"bad\.xyz"):
        taro25d.tiles.triangulate([good, bad], tmp_path / "out", points_per_tile=100, client=client)
    np.savetxt(bad, points[400:])
    result = taro25d.tiles.triangulate([good, bad], tmp_path / "out", points_per_tile=100, client=client)
    assert np.array_equal(together(result), whole(points))
