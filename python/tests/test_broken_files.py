"""Files that were damaged in any way are read, or refused for a reason, soon."""

import pathlib
import time

import numpy as np
import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

import taro25d

for package in ("laspy", "lazrs", "rasterio", "geopandas", "ezdxf", "lxml", "meshio"):
    pytest.importorskip(package)
ENDINGS = (".asc", ".csv", ".dxf", ".geojson", ".las", ".laz", ".obj", ".ply", ".taro", ".tif", ".vtk", ".xml", ".xyz")
WORDS = (
    b"nan",
    b"inf",
    b"1e999",
    b"-1",
    b"99999999999",
    b"4000000000",
    b"",
    b"\0",
    b"\xff\xff\xff\xff",
    b"<",
    b"9" * 400,
)


@pytest.fixture(scope="module")
def sound(tmp_path_factory: pytest.TempPathFactory) -> dict[str, bytes]:
    folder = tmp_path_factory.mktemp("sound")
    tin = taro25d.Triangulation(np.round(np.random.default_rng(3).uniform(0, 100, (40, 3)), 2))
    tin.add_breakline([[10, 10, 1], [80, 80, 2]], name="ridge")
    for ending in ENDINGS:
        tin.write(folder / f"a{ending}", 10 if ending in (".asc", ".tif") else None)
    return {ending: (folder / f"a{ending}").read_bytes() for ending in ENDINGS}


def damage(data: bytes, faults: list[tuple[str, float, int]]) -> bytes:
    for kind, place, number in faults:
        at = int(place * len(data))
        if kind == "cut off":
            data = data[:at]
        elif kind == "leave out":
            data = data[:at] + data[at + number :]
        elif kind == "repeat":
            data = data[:at] + data[max(0, at - number) :]
        elif kind == "change":
            data = data[:at] + bytes([number]) + data[at + 1 :]
        else:
            data = data[:at] + WORDS[number % len(WORDS)] + data[at + number % 7 :]
    return data


FAULTS = st.tuples(
    st.sampled_from(["cut off", "leave out", "repeat", "change", "put a word"]),
    st.floats(0, 1, exclude_max=True),
    st.integers(0, 255),
)


@pytest.mark.filterwarnings("ignore::taro25d.Warning")
@pytest.mark.parametrize("ending", ENDINGS)
def test_damaged(ending: str, sound: dict[str, bytes], tmp_path: pathlib.Path) -> None:
    path = tmp_path / f"damaged{ending}"

    @settings(max_examples=50, deadline=None, derandomize=True, suppress_health_check=list(HealthCheck))
    @given(st.lists(FAULTS, min_size=1, max_size=3))
    def check(faults: list[tuple[str, float, int]]) -> None:
        path.write_bytes(damage(sound[ending], faults))
        begin = time.process_time()
        try:
            data = taro25d.read(path)
        except taro25d.Error as error:
            assert str(path) in str(error)
        else:
            assert not isinstance(data, taro25d.Triangulation) or data.check()
        assert time.process_time() - begin < 10

    check()


@pytest.mark.parametrize(("columns", "rows"), [(22_000, 22_000), (10**9, 10**9), (10, 10**8)])
def test_a_grid_that_claims_too_much(columns: int, rows: int, tmp_path: pathlib.Path) -> None:
    path = tmp_path / "grid.asc"
    path.write_text(f"ncols {columns}\nnrows {rows}\nxllcorner 0\nyllcorner 0\ncellsize 1\nNODATA_value -9999\n1 2 3\n")
    begin = time.process_time()
    with pytest.raises(taro25d.FormatError, match=r"grid\.asc"):
        taro25d.read(path)
    assert time.process_time() - begin < 2
