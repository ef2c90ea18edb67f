"""Points, ids and arrays."""

import gc
import pathlib
import subprocess
import sys

import numpy as np
import pytest
from conftest import make_hills
from hypothesis import given, settings
from hypothesis import strategies as st

import taro25d

coordinate = st.one_of(st.integers(-4, 4).map(float), st.floats(-1e6, 1e6))
points = st.lists(st.tuples(coordinate, coordinate, coordinate), max_size=30)


def assert_consistent(tin: taro25d.Triangulation) -> None:
    corners = tin.points[tin.triangles]
    a, b, c = corners[:, 0], corners[:, 1], corners[:, 2]
    twice = (b[:, 0] - a[:, 0]) * (c[:, 1] - a[:, 1]) - (b[:, 1] - a[:, 1]) * (c[:, 0] - a[:, 0])
    assert (twice >= -1e-3 * (1 + np.abs(corners).max(initial=0) ** 2) * 1e-9).all()
    for i in range(3):
        inner = tin.neighbors[:, i] >= 0
        back = tin.neighbors[tin.neighbors[inner, i]]
        assert (back == np.flatnonzero(inner)[:, None]).any(axis=1).all()
    assert (np.diff(tin.ids) > 0).all()


def test_points_keep_their_order_and_number() -> None:
    given_points = make_hills(5000)
    tin = taro25d.Triangulation(given_points)
    np.testing.assert_array_equal(tin.points, given_points)
    np.testing.assert_array_equal(tin.ids, np.arange(5000))
    hull = (tin.neighbors < 0).sum()
    assert len(tin.triangles) == 2 * 5000 - 2 - hull
    assert_consistent(tin)


@settings(deadline=None, max_examples=100)
@given(points, points)
def test_any_points_have_ids_of_the_first_at_their_place(first: list, second: list) -> None:
    tin = taro25d.Triangulation(np.array(first).reshape(-1, 3))
    ids = tin.insert(np.array(second).reshape(-1, 3))
    by_place: dict = {}
    for k, point in enumerate(first):
        by_place.setdefault((point[0] + 0.0, point[1] + 0.0), (k, point[2]))
    for point, id_ in zip(second, ids, strict=True):
        assert by_place.setdefault((point[0] + 0.0, point[1] + 0.0), (id_, point[2]))[0] == id_
    assert dict(zip(tin.ids, tin.points[:, 2], strict=True)) == dict(by_place.values())
    assert_consistent(tin)


def test_repeated_and_refused_points() -> None:
    with pytest.warns(taro25d.Warning, match="finite"):
        tin = taro25d.Triangulation([[0, 0, 1], [0, 0, 2], [np.nan, 0, 0], [1, 0, 3], [0, 1, 4]])
    assert tin.ids.tolist() == [0, 3, 4]
    with pytest.warns(taro25d.Warning, match="finite"):
        assert tin.insert([[0, 0, 9], [np.inf, 0, 0], [2, 2, 5], [2, 2, 6]]).tolist() == [0, -1, 5, 5]
    for id_ in (1, 2, -1, 99):
        with pytest.raises(KeyError, match=f"id {id_}"):
            tin.remove(id_)


def test_removed_ids_stay_dead() -> None:
    tin = taro25d.Triangulation(make_hills(100))
    before = tin.points
    tin.remove([5, 7])
    with pytest.raises(taro25d.GoneError):
        tin.remove([8, 5])
    assert 8 in tin.ids
    new = tin.insert(before[[5, 7]])
    assert new.tolist() == [100, 101]
    with pytest.raises(KeyError):
        tin.remove(7)
    assert len(before) == 100


def test_vertices_of_the_engine_get_ids_too() -> None:
    tin = taro25d.Triangulation([[0, 0, 0], [10, 0, 0], [10, 10, 0], [0, 10, 0]])
    tin.add_breakline([[1, 1, 5], [9, 9, 5]])
    tin.add_breakline([[1, 9, 7], [9, 1, 7]])
    assert tin.ids.tolist() == list(range(9))
    crossing = tin.points[(tin.points[:, 0] == 5) & (tin.points[:, 1] == 5)]
    assert crossing[:, 2].tolist() == [5]
    with pytest.raises(taro25d.RefusedError, match="breakline"):
        tin.remove(tin.ids[-1])


def test_arrays_outlive_changes_and_their_owner(hills: taro25d.Triangulation) -> None:
    points, triangles = hills.points, hills.triangles
    copies = points.copy(), triangles.copy()
    assert hills.points is points
    hills.remove(0)
    assert len(hills.points) == len(points) - 1
    del hills
    gc.collect()
    np.testing.assert_array_equal(points, copies[0])
    np.testing.assert_array_equal(triangles, copies[1])
    with pytest.raises(ValueError, match="read-only"):
        points[0] = 0


@pytest.mark.parametrize("wrong", [[[1, 2]], [1, 2, 3], "abc", [[1, 2, "x"]], np.zeros((2, 3, 1))])
def test_wrong_points_are_refused(wrong: object) -> None:
    with pytest.raises(ValueError, match="points"):
        taro25d.Triangulation(wrong)


def test_few_points_and_points_on_a_line() -> None:
    for given_points in ([], [[1, 2, 3]], [[k, k, k] for k in range(10)]):
        tin = taro25d.Triangulation(given_points)
        assert tin.triangles.shape == (0, 3)
        assert tin.points.shape == (len(given_points), 3)
        assert np.isnan(tin.heights(1, 1))
        assert tin.contours(interval=1) == []


def test_layouts_of_the_input_make_no_difference() -> None:
    expected = make_hills(500)
    for same in (
        np.asfortranarray(expected),
        expected[:, ::-1][:, ::-1],
        expected.tolist(),
        np.repeat(expected, 2, 0)[::2],
    ):
        tin = taro25d.Triangulation(same)
        np.testing.assert_array_equal(tin.points, expected)
    small = taro25d.Triangulation(expected.astype(np.float32))
    np.testing.assert_array_equal(small.points, expected.astype(np.float32))


def test_import_needs_only_numpy(tmp_path: pathlib.Path) -> None:
    optional = (
        "pyproj rasterio geopandas pandas shapely laspy lxml ezdxf meshio click rich matplotlib pyvista scipy dask"
    )
    code = f"import sys, taro25d; print([m for m in {optional.split()} if m in sys.modules])"
    result = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, cwd=tmp_path, check=True)
    assert result.stdout == "[]\n"
    assert result.stderr == ""


def test_the_library_leaves_no_files(tmp_path: pathlib.Path) -> None:
    code = (
        "import taro25d, warnings; warnings.simplefilter('ignore'); taro25d.Triangulation([[float('nan')] * 3]).check()"
    )
    result = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, cwd=tmp_path, check=True)
    assert (result.stdout, result.stderr, list(tmp_path.iterdir())) == ("", "", [])


def test_vertices_move_and_keep_their_ids() -> None:
    tin = taro25d.Triangulation([[0, 0, 0], [10, 0, 0], [10, 10, 0], [0, 10, 0], [5, 5, 5]])
    tin.move(4, [2, 3, 1])
    assert tin.ids.tolist() == [0, 1, 2, 3, 4]
    assert tin.heights(2, 3) == 1
    for wrong in ([0, 0, 1], [np.nan, 1, 1]):
        with pytest.raises(taro25d.RefusedError):
            tin.move(4, wrong)
    with pytest.raises(KeyError):
        tin.move(5, [1, 1, 1])
    assert tin.heights(2, 3) == 1


def test_canonical_triangles_do_not_depend_on_the_order() -> None:
    x, y = (part.ravel() for part in np.meshgrid(np.arange(20.0), np.arange(15.0)))
    points = np.column_stack([x, y, x * y])
    shuffled = points[np.random.default_rng(4).permutation(len(points))]
    found = []
    for given_points in (points, shuffled):
        tin = taro25d.Triangulation(given_points)
        tin.canonicalize()
        assert tin.check()
        corners = tin.points[tin.triangles]
        found.append({frozenset(map(tuple, triangle)) for triangle in corners.tolist()})
    assert found[0] == found[1]
