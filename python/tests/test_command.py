"""The command: exit status, standard output and standard error, all three of each call."""

import json
import pathlib
import re
import shlex
import subprocess
import sys
import time

import numpy as np
import pytest
from conftest import make_hills

import taro25d
from taro25d.command.manual import make_manual
from taro25d.command.table import COMMANDS

geopandas = pytest.importorskip("geopandas")
rasterio = pytest.importorskip("rasterio")
shapely = pytest.importorskip("shapely")

COMMAND = pathlib.Path(sys.executable).with_name("taro25d")


def run(*arguments: object, folder: pathlib.Path) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        [COMMAND, *map(str, arguments)], capture_output=True, text=True, cwd=folder, check=False, timeout=120
    )


@pytest.fixture(scope="module")
def folder(tmp_path_factory: pytest.TempPathFactory) -> pathlib.Path:
    """The files that the examples name."""
    folder = tmp_path_factory.mktemp("files")
    hills = make_hills(3000)
    ground = taro25d.Triangulation(hills, crs="EPSG:32616")
    ground.write(folder / "ground.laz")
    ground.write(folder / "before.xyz")
    taro25d.Triangulation(hills + [0, 0, 1]).write(folder / "after.xyz")
    lines = [shapely.LineString([[100, 100], [900, 800]]), shapely.LineString([[100, 800, 50], [900, 100, 50]])]
    geopandas.GeoDataFrame(geometry=lines, crs="EPSG:32616").to_file(folder / "streams.geojson")
    road = shapely.LineString([[200, 200], [800, 500]])
    geopandas.GeoDataFrame(geometry=[road], crs="EPSG:32616").to_file(folder / "road.geojson")
    plot = shapely.box(200, 200, 600, 700)
    geopandas.GeoDataFrame(geometry=[plot], crs="EPSG:32616").to_file(folder / "plot.gpkg")
    return folder


@pytest.mark.parametrize("command", COMMANDS, ids=lambda command: command.name)
def test_help_and_its_example(command, folder: pathlib.Path) -> None:
    shown = run(command.name, "--help", folder=folder)
    assert (shown.returncode, shown.stderr) == (0, "")
    assert " ".join(command.example.split()) in " ".join(shown.stdout.split())
    for option in command.options:
        assert option.name in shown.stdout
    program, *arguments = shlex.split(command.example)
    assert program == "taro25d"
    before = set(folder.iterdir())
    done = run(*arguments, folder=folder)
    assert (done.returncode, re.sub(r"^[a-z ]+: \d+ %\n", "", done.stderr, flags=re.MULTILINE)) == (0, "")
    targets = {argument.name for argument in command.arguments} & {"TARGET", "FOLDER"}
    assert len(set(folder.iterdir()) - before) == len(targets) + ("--terrain" in command.example)
    assert bool(done.stdout) == (not targets)


def test_info(folder: pathlib.Path) -> None:
    done = run("info", "ground.laz", "--json", folder=folder)
    result = json.loads(done.stdout)
    assert (result["points"], result["classes"], result["crs"]) == (3000, {"2": 3000}, "EPSG:32616")
    text = run("info", "ground.laz", folder=folder).stdout
    assert "UTM zone 16N" in text


def test_volume(folder: pathlib.Path) -> None:
    area = taro25d.Triangulation(make_hills(3000)).zone().area
    whole = json.loads(run("volume", "before.xyz", "after.xyz", "--json", folder=folder).stdout)
    assert (whole["cut"], whole["fill"]) == (0, pytest.approx(area, rel=1e-6))
    part = json.loads(
        run("volume", "before.xyz", "after.xyz", "--boundary", "plot.gpkg", "--json", folder=folder).stdout
    )
    assert part["fill_area"] == pytest.approx(200_000)
    none = json.loads(run("volume", "before.xyz", "after.xyz", "--threshold", "2", "--json", folder=folder).stdout)
    assert none["fill"] == 0
    run("volume", "before.xyz", "after.xyz", "--components", "parts.gpkg", folder=folder)
    assert geopandas.read_file(folder / "parts.gpkg")["volume"].sum() == pytest.approx(whole["fill"])
    wrong = run("volume", "before.xyz", "after.xyz", "--components", "parts.xyz", folder=folder)
    assert (wrong.returncode, wrong.stdout) == (2, "")
    assert "--components" in wrong.stderr


def test_profile(folder: pathlib.Path) -> None:
    result = json.loads(run("profile", "before.xyz", "--line", "road.geojson", "--json", folder=folder).stdout)
    assert result["distance"][-1] == pytest.approx(np.hypot(600, 300))
    rows = run("profile", "before.xyz", "--line", "road.geojson", folder=folder).stdout.splitlines()
    assert len(rows) == len(result["height"])
    done = run("profile", "before.xyz", "--line", "streams.geojson", folder=folder)
    assert (done.returncode, done.stdout) == (1, "")
    assert "streams.geojson: one line" in done.stderr


def test_check_finds_what_is_wrong(folder: pathlib.Path) -> None:
    points = make_hills(2000)
    points[7, 2] += 300
    points[100] = points[99] + [0, 0, 1]
    spike = points[7].tolist()
    points = points[np.hypot(points[:, 0] - 500, points[:, 1] - 500) > 200]
    points[200, 0] = np.nan
    (folder / "bad.xyz").write_text("\n".join(" ".join(map(repr, point)) for point in points.tolist()))
    done = run("check", "bad.xyz", "--json", folder=folder)
    result = json.loads(done.stdout)
    assert (result["repeated"], result["not_finite"], len(result["pits"])) == (1, 1, 0)
    assert result["spikes"] == [spike]
    assert result["gap_area"] > 50_000
    assert [round(c["other"] - c["kept"], 6) for c in result["conflicts"]] == [1]
    crossing = json.loads(run("check", "before.xyz", "--breaklines", "streams.geojson", "--json", folder=folder).stdout)
    assert len(crossing["conflicts"]) == 1


def test_boundary_limits_what_is_written(folder: pathlib.Path) -> None:
    done = run("build", "ground.laz", "part.gpkg", "--boundary", "plot.gpkg", folder=folder)
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    assert geopandas.read_file(folder / "part.gpkg").area.sum() == pytest.approx(200_000)


@pytest.mark.parametrize(
    "arguments",
    [
        "unknown",
        "info",
        "info ground.laz --unknown",
        "contour ground.laz a.gpkg",
        "contour ground.laz a.gpkg --interval 1 --levels 3",
        "contour ground.laz a.gpkg --interval 0",
        "contour ground.laz a.gpkg --levels 1,x",
        "contour ground.laz a.laz --interval 1",
        "convert ground.laz a.docx",
        "mesh ground.laz a.obj --min-angle 50",
        "build before.xyz a.obj --class 2",
        "volume before.xyz after.xyz --threshold nan",
        "tile out",
        "tile ground.laz out --workers 0",
        "tile before.xyz out --class 2",
        "volume before.xyz after.xyz --threshold -1",
        "simplify ground.laz few.laz",
        "raster ground.laz a.tif",
        "simplify ground.laz few.laz --max-error -1",
        "view ground.laz ground.png --no-browser",
    ],
)
def test_wrong_usage_is_status_2(arguments: str, folder: pathlib.Path) -> None:
    before = sorted(folder.iterdir())
    done = run(*arguments.split(), folder=folder)
    assert (done.returncode, done.stdout) == (2, "")
    assert "Error" in done.stderr
    assert "Traceback" not in done.stderr
    assert sorted(folder.iterdir()) == before


@pytest.mark.parametrize(
    ("arguments", "named"),
    [
        ("info away.laz", "away.laz"),
        ("convert away.laz a.obj", "away.laz"),
        ("convert streams.geojson a.obj", "streams.geojson"),
        ("contour line.xyz a.gpkg --interval 1", "line.xyz"),
        ("convert nan.xyz a.obj", "nan.xyz"),
        ("convert empty.xyz a.obj", "empty.xyz"),
        ("build ground.laz a.obj --breaklines away.gpkg", "away.gpkg"),
        ("build ground.laz a.obj --boundary ground.laz", "ground.laz"),
        ("build ground.laz nowhere/a.obj", "nowhere/a.obj"),
        ("mesh before.xyz a.obj --max-edge 1e-9", "before.xyz"),
        ("contour ground.laz a.gpkg --interval 1e-9", "ground.laz"),
        ("convert far.obj a.ply", "far.obj: a face has a corner that is not there"),
        ("info bomb.xml", "bomb.xml"),
        ("contour cut.ply a.gpkg --interval 1", "cut.ply"),
        ("build degrees.tif a.obj", "degrees.tif: WGS 84: longitude and latitude"),
        ("volume feet.xml before.xyz", "feet.xml: x and y are in foot and heights in meter"),
        ("tile away.laz out", "away.laz"),
        ("tile ground.laz empty.xyz out --workers 1", "empty.xyz"),
    ],
)
def test_unusable_data_is_status_1(arguments: str, named: str, folder: pathlib.Path) -> None:
    (folder / "line.xyz").write_text("0 0 0\n1 1 1\n2 2 2\n")
    (folder / "nan.xyz").write_text("nan 0 0\n1 nan 1\n2 2 nan\n")
    (folder / "empty.xyz").write_text("")
    (folder / "far.obj").write_text("v 0 0 0\nv 1 0 0\nf 1 2 3\n")
    (folder / "cut.ply").write_text("ply\nformat ascii 1.0\nelement vertex 3\n")
    (folder / "bomb.xml").write_text('<!DOCTYPE LandXML [<!ENTITY a "ha">]><LandXML>&a;</LandXML>')
    units = '<Units><Imperial linearUnit="foot" elevationUnit="meter"/></Units>'
    (folder / "feet.xml").write_text(f"<LandXML>{units}<Surface/></LandXML>")
    size = {"height": 3, "width": 3, "count": 1, "dtype": "float32"}
    place = rasterio.Affine(0.01, 0, 10, 0, -0.01, 50)
    with rasterio.open(folder / "degrees.tif", "w", crs="EPSG:4326", transform=place, **size) as file:
        file.write(np.ones((3, 3), dtype=np.float32), 1)
    before = sorted(folder.iterdir())
    done = run(*arguments.split(), folder=folder)
    assert (done.returncode, done.stdout) == (1, ""), done.stderr
    assert named in done.stderr.splitlines()[-1]
    assert "Traceback" not in done.stderr
    assert sorted(folder.iterdir()) == before


def test_surfaces_of_files_stay_as_they_are(folder: pathlib.Path) -> None:
    faces = "f 1 2 5\nf 2 3 5\nf 3 4 5\n"
    (folder / "bay.obj").write_text("v 0 0 1\nv 9 0 1\nv 9 9 1\nv 0 9 1\nv 4 4 6\n" + faces + "f 1 2 3\n")
    (folder / "path.xyz").write_text("0 4 0\n9 4 0\n")
    done = run("convert", "bay.obj", "bay.xml", folder=folder)
    assert done.returncode == 0
    assert "left out are 1 of 4" in done.stderr
    assert run("convert", "bay.xml", "again.obj", folder=folder).stderr == ""
    assert len(taro25d.read(folder / "again.obj").faces()[1]) == 3
    assert json.loads(run("info", "bay.xml", "--json", folder=folder).stdout)["triangles"] == 3
    profile = json.loads(run("profile", "bay.xml", "--line", "path.xyz", "--json", folder=folder).stdout)
    assert profile["distance"][0] == pytest.approx(4)


def test_few_points_and_their_lines(folder: pathlib.Path) -> None:
    done = run(
        "simplify", "ground.laz", "few.taro", "--max-error", "1", "--breaklines", "streams.geojson", folder=folder
    )
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    few, all_points = taro25d.load(folder / "few.taro"), taro25d.read(folder / "ground.laz").points
    assert len(few) < 1500
    assert len(few.breaklines) == 2
    inside = np.hypot(all_points[:, 0] - 200, all_points[:, 1] - 900) < 90  # far from the streams
    error = few.heights(all_points[inside, 0], all_points[inside, 1]) - all_points[inside, 2]
    assert np.abs(error).max() <= 1


def test_view_prints_where_the_page_is(folder: pathlib.Path) -> None:
    done = run("view", "ground.laz", "--no-browser", folder=folder)
    page = pathlib.Path(done.stdout.strip())
    assert (done.returncode, done.stderr) == (0, "")
    assert page.read_text(encoding="utf-8").startswith("<!")
    page.unlink()
    page.parent.rmdir()


def test_completion_and_version(folder: pathlib.Path) -> None:
    assert "_TARO25D_COMPLETE" in run("--completion", "bash", folder=folder).stdout
    assert run("--version", folder=folder).stdout.startswith("taro25d")
    shown = run("--help", folder=folder).stdout
    for command in COMMANDS:
        assert command.summary in " ".join(shown.split())


def test_a_closed_pipe_ends_quietly(folder: pathlib.Path) -> None:
    done = subprocess.run(
        f"{COMMAND} info ground.laz --json | true", shell=True, capture_output=True, text=True, cwd=folder, check=False
    )
    assert (done.returncode, done.stderr) == (0, "")


def test_an_end_from_outside_leaves_nothing(tmp_path: pathlib.Path) -> None:
    taro25d.Triangulation(make_hills(200_000)).write(tmp_path / "a.xyz")
    with subprocess.Popen([COMMAND, "convert", "a.xyz", "a.dxf"], cwd=tmp_path, stderr=subprocess.DEVNULL) as process:
        while len(list(tmp_path.iterdir())) < 2 and process.poll() is None:  # until it begins to write
            time.sleep(0.05)
        process.terminate()
        assert process.wait(60) == 143
    assert [path.name for path in tmp_path.iterdir()] == ["a.xyz"]


def test_manual_page_is_that_of_the_table() -> None:
    kept = pathlib.Path(__file__).parent.parent / "share" / "taro25d.1"
    assert kept.read_text() == make_manual(), "python -m taro25d.command.manual > share/taro25d.1"


def test_simplify_keeps_the_border(tmp_path: pathlib.Path) -> None:
    """A surface with a bay and a hole, in which there is an island."""
    points = [[x, y, (x + 2 * y) / 10 + (x == 13 and y == 3)] for x in range(20) for y in range(20)]
    tin = taro25d.Triangulation(points)
    square = [[3, 3], [11, 3], [11, 11], [3, 11]]
    island = [[5, 5], [8, 5], [8, 8], [5, 8]]
    bay = [[14, 6], [20, 6], [20, 12], [14, 12]]
    zone = tin.zone() - tin.zone(polygon=square) - tin.zone(polygon=bay) | tin.zone(polygon=island)
    for name in ("few.obj", "few.xml"):
        tin.write(tmp_path / "all.obj", zone=zone)
        done = run("simplify", "all.obj", name, "--max-error", "0.05", folder=tmp_path)
        assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
        few = taro25d.read(tmp_path / name)
        assert few.zone().area == pytest.approx(zone.area) and not few.breaklines
        assert len(few) < 200 < len(taro25d.read(tmp_path / "all.obj"))
        places = [1.5, 13, 6.5, 17.5], [2.5, 3, 6.5, 4.5]
        assert np.abs(few.heights(*places) - tin.heights(*places)).max() < 0.1
