"""Tiles when something goes wrong: nothing is lost, nothing comes twice, and the reason is told."""

import os
import pathlib
import resource
import signal
import subprocess
import sys

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
