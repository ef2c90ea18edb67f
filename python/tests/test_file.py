"""Whole triangulations in files and pickles."""

import copy
import pathlib
import pickle

import numpy as np
import pytest
from conftest import make_hills

import taro25d


@pytest.fixture
def tin() -> taro25d.Triangulation:
    tin = taro25d.Triangulation(make_hills(500), threads=1, height_rule="max")
    tin.add_breakline([[100, 100, 50], [900, 850, 60]], name="ridge")
    tin.zone(polygon=[[200, 200], [300, 200], [300, 300]])
    tin.add_breakline([[100, 800, 5], [400, 850, 6], [200, 900, 7]], closed=True, name="pond", strategy="conforming")
    tin.remove([3, 499])
    tin.remove(tin.insert([[1.0, 2.0, 3.0]]))
    return tin


def assert_equal(first: taro25d.Triangulation, second: taro25d.Triangulation) -> None:
    np.testing.assert_array_equal(first.ids, second.ids)
    np.testing.assert_array_equal(first.points, second.points)
    assert {frozenset(edge) for edge in first.edges_constrained.tolist()} == {
        frozenset(edge) for edge in second.edges_constrained.tolist()
    }
    assert len(first.triangles) == len(second.triangles)
    assert [line.name for line in first.breaklines] == [line.name for line in second.breaklines]
    for one, other in zip(first.breaklines, second.breaklines, strict=True):
        assert len(one.edges) == len(other.edges)
    assert second.check()


def test_files_keep_everything(tin: taro25d.Triangulation, tmp_path: pathlib.Path) -> None:
    tin.save(tmp_path / "a.taro")
    same = taro25d.load(tmp_path / "a.taro")
    assert_equal(tin, same)
    assert same.insert([[1.0, 2.0, 3.0]]).tolist() == tin.insert([[1.0, 2.0, 3.0]]).tolist()
    pond = same.breaklines[1]
    assert same.zone(breaklines=pond).area == pytest.approx(tin.zone(breaklines=tin.breaklines[1]).area)
    assert isinstance(taro25d.read(tmp_path / "a.taro"), taro25d.Triangulation)


def make_grid_with_holes() -> taro25d.Triangulation:
    """A surface of squares, in which either diagonal is right, without two blocks; and a breakline over one of them."""
    rows, columns = np.divmod(np.arange(900), 30)
    points = np.column_stack([columns, rows, np.random.default_rng(5).random(900) * 10])
    corner = np.arange(900).reshape(30, 30)[:-1, :-1].ravel()
    kept = [k for k in corner if not (8 <= k // 30 < 20 and 5 <= k % 30 < 25) and not (k // 30 < 3 and k % 30 > 25)]
    halves = np.array([[0, 1, 31], [0, 31, 30]])
    tin = taro25d.Triangulation.from_triangles(points, np.concatenate([k + halves for k in kept]))
    tin.add_breakline([[2.2, 3.3, 5], [20.5, 28.1, 6]])
    return tin


def test_files_keep_bays_and_holes(tmp_path: pathlib.Path) -> None:
    tin = make_grid_with_holes()
    for _ in range(2):
        tin.save(tmp_path / "a.taro")
        for same in (taro25d.load(tmp_path / "a.taro"), pickle.loads(pickle.dumps(tin))):
            assert same.zone().area == pytest.approx(tin.zone().area)
            assert np.isnan(same.heights([10, 10, 29], [10, 15, 1])).all()
        tin.canonicalize()


def test_canonical_triangles_come_back(tmp_path: pathlib.Path) -> None:
    tin = make_grid_with_holes()
    tin.canonicalize()
    tin.copy().save(tmp_path / "a.taro")
    same = taro25d.load(tmp_path / "a.taro")
    x, y = np.random.default_rng(6).random((2, 1000)) * 29
    np.testing.assert_allclose(same.heights(x, y), tin.heights(x, y), atol=1e-9)
    same.insert([[0.5, 0.5, 1]])  # not canonical any more, perhaps
    assert b"canonical" not in pickle.dumps(same)


def test_pickles_keep_everything(tin: taro25d.Triangulation) -> None:
    pond = tin.breaklines[1]
    same, same_pond = pickle.loads(pickle.dumps((tin, pond)))
    assert_equal(tin, same)
    assert same_pond.triangulation is same
    assert same_pond.name == "pond"
    same.insert([[*same.points[0, :2], 1e6]])
    assert same.points[0, 2] == 1e6  # the rule for heights is kept too
    assert_equal(tin, copy.deepcopy(tin))
    other = tin.copy()
    assert_equal(tin, other)
    other.breaklines[0].remove()
    assert [line.name for line in tin.breaklines] == ["ridge", "pond"]
    with pytest.raises(TypeError, match="zone"):
        pickle.dumps(tin.zone())


def test_results_can_be_pickled(tin: taro25d.Triangulation) -> None:
    contours = pickle.loads(pickle.dumps(tin.contours(interval=5)))
    assert len(contours) == len(tin.contours(interval=5))
    raster = pickle.loads(pickle.dumps(tin.rasterize(50)))
    np.testing.assert_array_equal(raster.values, tin.rasterize(50).values)
    volume = tin.volume(tin)
    assert pickle.loads(pickle.dumps(volume)).cut == volume.cut
    assert len(pickle.loads(pickle.dumps(taro25d.Points(tin.points)))) == len(tin)


def test_empty_and_flat_triangulations_are_kept(tmp_path: pathlib.Path) -> None:
    for points in ([], [[1, 2, 3]], [[k, k, 0] for k in range(5)]):
        tin = taro25d.Triangulation(points)
        tin.save(tmp_path / "a.taro")
        np.testing.assert_array_equal(taro25d.load(tmp_path / "a.taro").points, tin.points)


def test_broken_files_are_refused(tin: taro25d.Triangulation, tmp_path: pathlib.Path) -> None:
    tin.save(tmp_path / "a.taro")
    whole = (tmp_path / "a.taro").read_bytes()
    for content in (b"", whole[:100], whole[:-1], whole + b"x", b"noise" * 100):
        (tmp_path / "b.taro").write_bytes(content)
        with pytest.raises(taro25d.FormatError, match=r"b\.taro"):
            taro25d.load(tmp_path / "b.taro")
    with pytest.raises(taro25d.FileError, match="away"):
        taro25d.load(tmp_path / "away.taro")


def test_the_system_is_kept(tmp_path: pathlib.Path) -> None:
    pytest.importorskip("pyproj")
    tin = taro25d.Triangulation(make_hills(10), crs=32616)
    tin.save(tmp_path / "a.taro")
    assert taro25d.load(tmp_path / "a.taro").crs.to_epsg() == 32616
    assert pickle.loads(pickle.dumps(tin)).crs == tin.crs
