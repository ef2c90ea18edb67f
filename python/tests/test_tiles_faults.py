"""Tiles when something goes wrong: nothing is lost, nothing comes twice, and the reason is told."""

import os
import pathlib
import resource
import signal
import subprocess
import sys
import time

import numpy as np
import pytest
from conftest import make_hills
from tiling import CASES, distributed, threads, together, whole

import taro25d


@pytest.fixture(scope="module")
def client():
    with threads() as client:
        yield client


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


# ---- Through the tiles ----


def test_workers_die_on_the_way_through(tmp_path: pathlib.Path) -> None:
    points = CASES["random"]
    with distributed.Client(
        n_workers=2, threads_per_worker=1, dashboard_address=":0", set_as_default=False, silence_logs=50
    ) as client:
        result = taro25d.tiles.triangulate(points, tmp_path / "out", points_per_tile=50, client=client)
        pids = list(client.run(os.getpid).values())

        def kill(phase: str, fraction: float) -> None:
            if pids and fraction > 0.2:
                os.kill(pids.pop(), signal.SIGKILL)

        raster = result.rasterize(20, client=client, progress=kill)
        assert len(pids) <= 1
    whole_raster = taro25d.Triangulation(points).rasterize(20)
    np.testing.assert_allclose(raster.values, whole_raster.values, rtol=1e-9)


@pytest.mark.parametrize("call", ["rasterize(5, path='cells.tif')", "write('faces.parquet')", "simplify('few', 0)"])
def test_the_disk_is_full_on_the_way_through(call: str, tmp_path: pathlib.Path, client) -> None:
    pytest.importorskip("rasterio")
    points = make_hills(800)
    taro25d.tiles.triangulate(points, tmp_path / "out", points_per_tile=400, client=client)
    limit = 8_000
    done = subprocess.run(
        [sys.executable, "-c", f"import taro25d\ntaro25d.tiles.open('out').{call}"], capture_output=True, text=True,
        check=False, timeout=300, cwd=tmp_path, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)),
    )  # fmt: skip
    assert done.returncode == 1, done.stderr
    assert "taro25d.errors.FileError" in done.stderr.splitlines()[-1]
    assert {path.name for path in tmp_path.iterdir() if not path.name.startswith(".few.")} == {"out"}
    result = taro25d.tiles.open(tmp_path / "out")
    assert len(result.simplify(tmp_path / "few", 0, client=client)) == len(points)
    assert {path.name for path in tmp_path.iterdir()} == {"out", "few"}


def test_interrupted_while_points_are_chosen(tmp_path: pathlib.Path, client) -> None:
    points = CASES["random"]
    result = taro25d.tiles.triangulate(points, tmp_path / "out", points_per_tile=60, client=client)

    stop: list[str] = []

    def interrupt(phase: str, fraction: float) -> None:
        if fraction > 0.5 and phase == stop[-1]:
            raise KeyboardInterrupt

    for phase in ("simplifying", "counting", "triangulating"):
        stop.append(phase)
        with pytest.raises(KeyboardInterrupt):
            result.simplify(tmp_path / "few", 20, points_per_tile=50, client=client, progress=interrupt)
    fewer = result.simplify(tmp_path / "few", 20, points_per_tile=50, client=client)
    assert fewer.check(client=client)
    assert {path.name for path in tmp_path.iterdir()} == {"out", "few"}
    with pytest.raises(taro25d.RefusedError, match="source"):
        result.simplify(tmp_path / "few", 10, points_per_tile=50, client=client)


# ---- The command ----


@pytest.mark.parametrize("to_all", [False, True], ids=["process", "terminal"])
def test_ctrl_c_ends_the_command(to_all: bool, tmp_path: pathlib.Path, client) -> None:
    """A terminal sends the signal to the workers too."""
    pytest.importorskip("click")
    points = CASES["random"]
    np.save(tmp_path / "points.npy", points)
    command = [
        pathlib.Path(sys.executable).with_name("taro25d"),
        "tile",
        "points.npy",
        "out",
        "--points-per-tile",
        "10",
    ]
    process = subprocess.Popen(
        [*command, "--workers", "2"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, cwd=tmp_path,
        start_new_session=True,
    )  # fmt: skip
    while process.poll() is None and len(list((tmp_path / "out" / "triangles").glob("*.parquet"))) < 10:
        time.sleep(0.02)
    (os.killpg if to_all else os.kill)(process.pid, signal.SIGINT)
    printed, told = process.communicate(timeout=60)
    assert (process.returncode, printed) == (130, "")
    assert told.splitlines()[-1] == "taro25d: error: interrupted; the same command goes on where it was"
    assert "Traceback" not in told
    made = count_files(tmp_path / "out")
    assert taro25d.tiles.triangulate(tmp_path / "points.npy", tmp_path / "out", 10, client).check()
    kept = count_files(tmp_path / "out")
    assert all(kept[path] == made[path] for path in made if path.startswith("triangles/") and "/." not in path)
