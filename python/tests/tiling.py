"""Points in tiles and in one piece, for several tests."""

import contextlib

import numpy as np
import pytest

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


@contextlib.contextmanager
def threads():
    """A client with two threads of this process."""
    with contextlib.closing(
        distributed.Client(processes=False, n_workers=1, threads_per_worker=2, dashboard_address=":0")
    ) as client:
        yield client
