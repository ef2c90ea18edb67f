"""Heights, breaklines, zones, contours, volumes, refinement."""

import gc
from typing import Any

import numpy as np
import pytest
from conftest import make_hills

import taro25d


def test_heights_of_numbers_and_arrays(square: taro25d.Triangulation) -> None:
    assert square.heights(2.5, 3) == 2.5
    assert isinstance(square.heights(2.5, 3), float)
    grid = square.heights(np.arange(4)[None, :], np.arange(3)[:, None])
    np.testing.assert_array_equal(grid, np.tile(np.arange(4.0), (3, 1)))
    outside = square.heights([11, np.nan, 5], [5, 5, 5])
    np.testing.assert_array_equal(np.isnan(outside), [True, True, False])


def test_breaklines_are_edges(hills: taro25d.Triangulation) -> None:
    line = hills.add_breakline([[100, 100, 50], [900, 850, 60]])
    ends = hills.points[hills.edges_constrained]
    assert ends[..., 0].min() == 100
    assert ends[..., 0].max() == 900
    length = np.hypot(*(ends[:, 0] - ends[:, 1])[:, :2].T).sum()
    assert length == pytest.approx(np.hypot(800, 750))
    assert line.triangulation is hills
    assert hills.check()


def test_a_line_without_heights_lies_on_the_surface(square: taro25d.Triangulation) -> None:
    square.add_breakline([[2, 2], [6, 5]])
    assert square.points[4:].tolist() == [[2, 2, 2], [6, 5, 6]]
    with pytest.raises(ValueError, match=r"row 1 .* outside"):
        square.add_breakline([[2, 2], [60, 5]])


@pytest.mark.parametrize(
    ("line", "reason"),
    [
        ([[1, 1, 1]], "two different"),
        ([[1, 1, 1], [1, 1, 2]], "two different"),
        ([[1, 1, 1], [np.nan, 2, 2]], "finite"),
    ],
)
def test_wrong_lines_are_refused(square: taro25d.Triangulation, line: list, reason: str) -> None:
    with pytest.raises(ValueError, match=reason):
        square.add_breakline(line)
    assert len(square) == 4


def test_breaklines_wait_for_triangles() -> None:
    tin = taro25d.Triangulation()
    tin.add_breakline([[0, 0, 0], [10, 10, 0]])
    tin.insert([[0, 10, 0], [10, 0, 0]])
    assert len(tin.edges_constrained) == 1
    assert sorted(map(tuple, tin.points[tin.edges_constrained[0]])) == [(0, 0, 0), (10, 10, 0)]


def test_breaklines_have_names_and_can_be_removed(square: taro25d.Triangulation) -> None:
    ridge = square.add_breakline([[1, 1, 5], [9, 9, 5]], name="ridge")
    brook = square.add_breakline([[1, 9, 7], [9, 1, 7]])
    assert [line.name for line in square.breaklines] == ["ridge", ""]
    brook.name = "brook"
    assert square.breaklines == [ridge, brook]
    zone = square.zone(polygon=[[2, 2], [3, 2], [3, 3]])
    ridge.remove()
    assert square.breaklines == [brook]
    assert brook.name == "brook"
    assert ridge not in square.breaklines
    for use in (ridge.remove, lambda: ridge.name):
        with pytest.raises(KeyError, match="removed"):
            use()
    assert square.heights(5, 5) == 5
    brook.remove(vertices=True)
    assert square.check()
    ring = square.add_breakline([[4, 1, 0], [6, 1, 0], [6, 3, 0]], closed=True)
    zone = square.zone(breaklines=ring)
    with pytest.raises(taro25d.RefusedError):
        ring.remove()
    del zone
    ring.remove()


def test_conforming_lines_stay_delaunay(hills: taro25d.Triangulation) -> None:
    hills.add_breakline([[100, 100, 50], [900, 850, 60]], strategy="conforming")
    pieces = len(hills.edges_constrained)
    assert pieces > 10
    hills.insert(make_hills(2000, seed=9))
    assert len(hills.edges_constrained) > pieces
    with pytest.raises(ValueError, match="constrained, conforming"):
        hills.add_breakline([[0, 0, 0], [1, 1, 1]], strategy="soft")


def test_zones_combine(square: taro25d.Triangulation) -> None:
    left = square.zone(polygon=[[1, 1], [6, 1], [6, 9], [1, 9]])
    right = square.zone(polygon=[[4, 1], [9, 1], [9, 9], [4, 9], [4, 1]])
    areas = [zone.area for zone in (left & right, left | right, left - right, left ^ right)]
    assert areas == pytest.approx([16, 64, 24, 48])
    assert left.area_3d == pytest.approx(40 * np.sqrt(2))
    outside = square.zone(polygon=[[1, 1], [6, 1], [6, 9], [1, 9]], inside=False)
    assert outside.area == pytest.approx(60)
    assert square.zone().area == pytest.approx(100)
    corners = square.points[square.triangles[left.triangles]]
    assert corners[..., 0].max() == 6
    (ring,) = left.border()
    assert ring[0].tolist() == ring[-1].tolist()


def test_zones_of_breaklines(square: taro25d.Triangulation) -> None:
    ring = square.add_breakline([[2, 2], [4, 2], [4, 4], [2, 4]], closed=True)
    assert square.zone(breaklines=ring).area == pytest.approx(4)
    assert square.zone(breaklines=[ring], inside=False).area == pytest.approx(96)
    with pytest.raises(ValueError, match="breaklines of this"):
        taro25d.Triangulation().zone(breaklines=ring)


def test_zones_may_die_in_any_order(square: taro25d.Triangulation) -> None:
    left = square.zone(polygon=[[1, 1], [6, 1], [6, 9], [1, 9]])
    both = left | square.zone()
    del left
    gc.collect()
    square.zone()
    assert both.area == pytest.approx(100)
    del square
    gc.collect()
    assert both.area == pytest.approx(100)


def test_zone_without_surface_is_refused(square: taro25d.Triangulation) -> None:
    with pytest.raises(taro25d.RefusedError):
        square.zone(polygon=[[20, 20], [30, 20], [30, 30]])
    with pytest.raises(taro25d.RefusedError):
        square.zone(polygon=[[1, 1], [5, 5], [5, 1], [1, 5]])
    with pytest.raises(taro25d.RefusedError):
        taro25d.Triangulation().zone()


def test_contours_are_whole_lines(square: taro25d.Triangulation) -> None:
    contours = square.contours(interval=4, base=2.5)
    assert [line.level for line in contours] == [2.5, 6.5]
    for level, coords in contours:
        assert (coords[:, 0] == level).all()
        assert (coords[:, 2] == level).all()
        assert coords[0, 1] > coords[-1, 1]  # higher ground is in the east
    assert [line.level for line in square.contours(levels=[7, 3, 99])] == [7, 3]
    half = square.zone(polygon=[[0, 0], [5, 0], [5, 10], [0, 10]])
    assert [line.level for line in square.contours(interval=2.5, zone=half, base=1)] == [1, 3.5]
    for wrong in ({"interval": 0}, {"interval": 1e-9}, {}, {"interval": 1, "levels": [1]}, {"levels": [np.nan]}):
        with pytest.raises(ValueError, match=r"interval|levels"):
            square.contours(**wrong)
    with pytest.raises(ValueError, match=r"^base: .* nan"):
        square.contours(interval=1, base=np.nan)
    with pytest.raises(ValueError, match=r"^levels: "):
        square.bands(None)  # type: ignore[arg-type]


def test_volume_of_a_pit() -> None:
    flat = taro25d.Triangulation([[0, 0, 5], [10, 0, 5], [10, 10, 5], [0, 10, 5]])
    corners = np.array([[2, 2], [8, 2], [8, 8], [2, 8]])
    deep = np.column_stack([corners * 0.5 + 2.5, np.full(4, 2.0)])
    pit = taro25d.Triangulation(np.concatenate([flat.points, np.column_stack([corners, np.full(4, 5.0)]), deep]))
    volume = flat.volume(pit)
    assert volume.cut == pytest.approx(63)  # a frustum of 36 and 9, 3 deep
    assert volume.fill == 0
    assert volume.cut_area == pytest.approx(36)
    assert [c.kind for c in volume.components] == ["unchanged", "cut"]
    assert [c.max_depth for c in volume.components] == pytest.approx([0, 3])
    assert pit.volume(flat).fill == pytest.approx(63)
    part = flat.volume(pit, zone=flat.zone(polygon=[[0, 0], [5, 0], [5, 10], [0, 10]]))
    assert (part.cut, part.unchanged_area) == (pytest.approx(31.5), pytest.approx(32))
    assert flat.volume(flat).cut == 0


def test_refinement_meets_its_limits(square: taro25d.Triangulation) -> None:
    part = square.zone(polygon=[[1, 1], [9, 1], [9, 4], [1, 4]])
    square.refine(part, min_angle=28, max_edge=1.5)
    edges = square.points[square.triangles[part.triangles]]
    lengths = np.linalg.norm(edges - np.roll(edges, 1, axis=1), axis=2)
    assert lengths.max() <= 1.5
    assert part.area == pytest.approx(24)
    assert len(square.ids) == len(set(square.ids))
    before = len(square)
    for wrong in ({"min_angle": 60}, {"max_edge": -1}, {"growth": 0.5}, {"max_edge": 1e-9}):
        with pytest.raises(ValueError, match=r"\w"):
            square.refine(**wrong)
    assert len(square) == before
    square.refine(guide=taro25d.Triangulation(make_hills(100) * 2 - [500, 500, 0]), max_edge=1, min_edge=0.2)
    assert square.check()


def test_heights_that_meet() -> None:
    points = [[0, 0, 0], [10, 0, 0], [10, 10, 0], [0, 10, 0], [10, 0, 2]]
    kept = {"first": 0, "last": 2, "mean": 1, "min": 0, "max": 2}
    for rule, height in kept.items():
        tin = taro25d.Triangulation(points, height_rule=rule)
        assert tin.points[1, 2] == height
        assert tin.conflicts() == [(1, height, 2)]
        assert tin.conflicts(2.0) == []
    with pytest.raises(ValueError, match="first, last"):
        taro25d.Triangulation(points, height_rule="best")


def test_rasters_begin_in_the_north(square: taro25d.Triangulation) -> None:
    square.insert([[5, 10, 7]])
    raster = square.rasterize(2.5)
    assert raster.values.shape == (4, 4)
    np.testing.assert_array_equal(raster.values, square.heights(raster.x[None, :], raster.y[:, None]))
    assert raster.bounds == (0, 0, 10, 10)
    wide = square.rasterize((4, 3), bounds=(-1, -2, 11, 10))
    assert wide.values.shape == (4, 3)
    assert np.isnan(wide.values).tolist() == [[False] * 3] * 3 + [[True] * 3]
    np.testing.assert_array_equal(square.rasterize(like=wide).values, wide.values)
    assert square.rasterize(3).bounds == (0, 0, 12, 12)
    for wrong in ({}, {"resolution": 0}, {"resolution": 1, "like": wide}, {"resolution": 1, "bounds": (3, 0, 1, 1)}):
        with pytest.raises(ValueError, match=r"resolution|bounds"):
            square.rasterize(**wrong)
    with pytest.raises(ValueError, match=r"linear, natural, slope"):
        square.rasterize(1, method="cubic")


def test_raster_methods_on_a_plane(square: taro25d.Triangulation) -> None:
    shade = 1 + 254 * (0.5 + 0.5 * np.sqrt(0.5))  # the plane falls to the west, and the light comes from the north-west
    for method, value in {"slope": 45, "aspect": 270, "hillshade": shade}.items():
        np.testing.assert_allclose(square.rasterize(2, method=method).values, value)
    np.testing.assert_allclose(square.rasterize(2, method="natural").values, square.rasterize(2).values)
    half = square.zone(polygon=[[0, 0], [5, 0], [5, 10], [0, 10]])
    assert np.isfinite(square.rasterize(2.5, zone=half).values).sum(axis=1).tolist() == [2] * 4


def test_plot_of_a_zone_has_its_breaklines(square: taro25d.Triangulation) -> None:
    pytest.importorskip("matplotlib").use("Agg")
    square.add_breakline([[1, 1], [9, 9]])
    square.add_breakline([[6, 2], [8, 2]])
    assert len(square.plot().collections[-1].get_segments()) == len(square.edges_constrained)
    part = square.zone(polygon=[[5.5, 1], [9, 1], [9, 3], [5.5, 3]])
    lines = np.array(square.plot(zone=part).collections[-1].get_segments())
    assert lines[..., 0].min() == 5.5
    assert {(6, 2), (8, 2)} <= set(map(tuple, lines.reshape(-1, 2)))


def test_components_know_when_they_are_too_late(square: taro25d.Triangulation) -> None:
    other = taro25d.Triangulation(square.points + [0, 0, 1])
    early, late = square.volume(other), square.volume(other)
    assert early.fill == pytest.approx(100)
    assert [c.volume for c in early.components] == pytest.approx([100])
    other.insert([[5, 5, 9]])
    assert early.components
    with pytest.raises(taro25d.RefusedError, match="changed"):
        print(late.components)


def test_bands_divide_the_ground(square: taro25d.Triangulation) -> None:
    low, middle, high = bands = square.bands([7, 2, 7])
    assert [(band.low, band.high) for band in bands] == [(-np.inf, 2), (2, 7), (7, np.inf)]
    (ring,) = middle.rings
    assert ring[0].tolist() == ring[-1].tolist()
    assert (ring[:, 0].min(), ring[:, 0].max()) == (2, 7)
    assert (low.rings[0][:, 2].max(), high.rings[0][:, 2].min()) == (2, 7)
    for wrong in ([np.nan], [[1, 2], [3, 4]]):
        with pytest.raises(ValueError, match="levels"):
            square.bands(wrong)


def test_bands_have_holes(hills: taro25d.Triangulation) -> None:
    pytest.importorskip("geopandas")
    table = hills.bands([-10, 0, 10, 20]).to_geodataframe()
    assert table.is_valid.all()
    assert table.area.sum() == pytest.approx(hills.zone().area)
    assert sum(len(polygon.interiors) for shape in table.geometry for polygon in shape.geoms) > 0


def test_profile_follows_the_line(square: taro25d.Triangulation) -> None:
    distances, heights = square.profile([[-5, 4], [5, 4], [5, 20]])
    assert (distances[0], heights[0]) == (5, 0)
    assert (distances[-1], heights[-1]) == (16, 5)
    assert 10 in distances
    np.testing.assert_allclose(heights, np.minimum(distances - 5, 5))
    gap = square.profile([[1, 1], [1, 20], [8, 20], [8, 1]])
    assert np.isnan(gap[1]).sum() == 1
    assert len(square.profile([[50, 50], [60, 60]])[0]) == 0


def test_few_points_stay_near_all_of_them() -> None:
    points = make_hills(5000)
    tin = taro25d.simplify(points, 1.0)
    assert len(tin) < 1500
    np.testing.assert_array_equal(tin.points, points[tin.ids])
    assert np.abs(tin.heights(points[:, 0], points[:, 1]) - points[:, 2]).max() <= 1.0
    (new,) = tin.insert([[500, 500, 0]])
    assert new == 5000
    certified = taro25d.simplify(points, 1.0, certified=True)
    assert len(certified) > len(tin)
    whole = taro25d.Triangulation(points)
    whole.canonicalize()
    x, y = certified.points[certified.triangles].mean(axis=1)[:, :2].T
    assert np.abs(certified.heights(x, y) - whole.heights(x, y)).max() <= 1.0
    for wrong in (-1, np.nan, np.inf):
        with pytest.raises(ValueError, match="max_error"):
            taro25d.simplify(points, wrong)


def test_lines_stay_in_few_points() -> None:
    points = make_hills(3000)
    lines = [[[100, 100, 500], [900, 900, 500]], [[100, 800], [500, 850], [900, 100]]]
    tin = taro25d.simplify(points, 2.0, lines)
    dam, road = tin.breaklines
    assert (dam.edges[..., 2] == 500).all()
    x, y = np.transpose(lines[1])
    np.testing.assert_allclose(tin.heights(x, y), taro25d.Triangulation(points).heights(x, y))
    assert len(tin.edges_constrained) == len(dam.edges) + len(road.edges)
    assert tin.check()
    again = taro25d.simplify(points, 2.0, tin.breaklines)
    assert {frozenset(map(tuple, edge)) for edge in again.points[again.edges_constrained].tolist()} == {
        frozenset(map(tuple, edge)) for edge in tin.points[tin.edges_constrained].tolist()
    }
    dam.remove()
    assert len(tin.edges_constrained) <= len(road.edges)
    assert tin.check()


def test_volume_inside_a_polygon_changes_nothing(square: taro25d.Triangulation) -> None:
    later = taro25d.Triangulation(square.points + [0, 0, 1])
    volume = square.volume(later, [[1, 1], [4, 1], [4, 3], [1, 3]])
    assert (volume.fill, volume.cut) == (pytest.approx(6), 0)
    assert len(square) == len(later) == 4
    square.insert([[2, 2, 50]])
    assert [c.volume for c in volume.components] == pytest.approx([6])
    with pytest.raises(ValueError, match="polygon"):
        square.volume(later, [[1, 1], [4, 1], [4, 3]], zone=square.zone())
    with pytest.raises(taro25d.RefusedError):
        square.volume(later, [[20, 1], [24, 1], [24, 3]])


def test_triangles_come_in_as_they_are(hills: taro25d.Triangulation) -> None:
    kept = np.delete(hills.triangles, [5, 700], axis=0)
    tin = taro25d.Triangulation.from_triangles(hills.points, kept[:, ::-1])
    assert {frozenset(map(tuple, t)) for t in hills.points[kept].tolist()} <= {
        frozenset(map(tuple, t)) for t in tin.points[tin.triangles].tolist()
    }
    thin = [[[0, 0, 0], [10, 0, 0], [5, 1, 9]], [[0, 0, 0], [10, 0, 0], [5, -9, 0]], [[1, 0, 0], [2, 0, 0], [3, 0, 0]]]
    with pytest.raises(taro25d.RefusedError):
        taro25d.Triangulation.from_triangles(thin)
    with pytest.warns(taro25d.Warning):
        assert len(taro25d.Triangulation.from_triangles(thin, repair=True)) == 4
    for wrong in ([[0, 1, 9999]], [[0, 1]], [[0.5, 1, 2]], [[-1, 0, 1]]):
        with pytest.raises(ValueError, match="triangles"):
            taro25d.Triangulation.from_triangles(hills.points, wrong)


@pytest.mark.parametrize(
    "call",
    [
        lambda tin: tin.insert([[10**400, 0, 0]]),
        lambda tin: tin.insert([[1, 2, 3], [1, 2]]),
        lambda tin: tin.insert([[1j, 2, 3]]),
        lambda tin: tin.move(0, [1, 2]),
        lambda tin: tin.move([], [1, 2, 3]),
        lambda tin: tin.contours(interval=1, zone="all"),
        lambda tin: tin.rasterize(like=5),
        lambda tin: tin.rasterize(like="nowhere.tif"),
        lambda tin: tin.refine(guide=5),
        lambda tin: tin.refine(grid=-1),
        lambda tin: tin.volume(5),
        lambda tin: tin.volume(taro25d.Triangulation()),
        lambda tin: taro25d.Triangulation(tin.points, threads=1.5),
        lambda tin: taro25d.read("x" * 300 + ".obj"),
    ],
)
def test_wrong_arguments_are_errors_of_the_package(call: Any, square: taro25d.Triangulation) -> None:
    before = square.points.tolist()
    with pytest.raises(taro25d.Error):
        call(square)
    assert square.points.tolist() == before


def test_masked_points_are_left_out() -> None:
    points = np.ma.masked_greater([[0, 0, 1], [10, 0, 1], [0, 10, 1], [5, 5, -9999], [10, 10, 99]], 50)
    with pytest.warns(taro25d.Warning):
        assert len(taro25d.Triangulation(points)) == 4
