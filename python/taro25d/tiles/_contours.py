"""Contours of all tiles, joined across their borders as soon as both pieces are there."""

from __future__ import annotations

from collections import defaultdict
from collections.abc import Iterator
from pathlib import Path
from typing import TYPE_CHECKING

import numpy as np
from numpy.typing import NDArray

from .. import _engine, io
from .._geometry import FloatArray
from ..contours import Contour, Contours
from ._crew import Crew
from ._parts import open_part
from ._work import Job

if TYPE_CHECKING:
    from ._result import Tiling

_STEPS = 16
_BATCH = 1000

Place = tuple[float, float]


# ---- Tasks ----


def find_taken(job: Job, task: tuple[str, FloatArray]) -> NDArray[np.bool_]:
    """Return which heights points of a tile have."""
    name, candidates = task
    return np.isin(candidates, job.store.points(name).read()[:, 2])


def cut_tile(job: Job, task: tuple[str, list[float]]) -> list[tuple[int, FloatArray]]:
    """Return the pieces of lines in the triangles that a tile owns, with the positions of their levels."""
    name, levels = task
    part = open_part(job.store, name)
    places, starts, positions = _engine.owned_contours(part.tin._surface, part.num_own, levels)
    pieces = np.split(places, starts[1:-1]) if len(positions) else []
    return list(zip(positions.tolist(), pieces, strict=True))


# ---- Lines ----


def make_contours(tiling: Tiling, crew: Crew, levels: FloatArray) -> Contours:
    """Make contours by level."""
    lines = sorted(_draw(tiling, crew, levels), key=lambda pair: pair[0])
    return Contours((line for _, line in lines), tiling.crs)


def write_contours(tiling: Tiling, crew: Crew, levels: FloatArray, path: Path) -> None:
    """Write lines as they are finished; formats that cannot be appended to are written at the end."""
    with io.appending_contours(path) as append:
        batch = Contours(crs=tiling.crs)
        for _, line in _draw(tiling, crew, levels):
            batch.append(line)
            if len(batch) == _BATCH:
                append(batch)
                batch = Contours(crs=tiling.crs)
        append(batch)


def _draw(tiling: Tiling, crew: Crew, levels: FloatArray) -> Iterator[tuple[int, Contour]]:
    """Return lines that are finished, with the positions of their levels; the order depends on the tiles alone."""
    cuts = _avoid_corners(tiling, crew, levels).tolist()
    joiners = [Joiner() for _ in cuts]
    for pieces in crew.in_order("contours", cut_tile, ((name, cuts) for name in tiling.tiles) if cuts else ()):
        for position, piece in pieces:
            line = joiners[position].add(piece)
            if line is not None:
                yield position, _lift(line, float(levels[position]))
    for position, joiner in enumerate(joiners):
        for line in joiner.finish():
            yield position, _lift(line, float(levels[position]))


def _lift(line: FloatArray, level: float) -> Contour:
    return Contour(level, np.column_stack([line, np.full(len(line), level)]))


def _avoid_corners(tiling: Tiling, crew: Crew, levels: FloatArray) -> FloatArray:
    """Move levels that are heights of points up, by the same few rounding errors in all tiles."""
    step = 1000 * np.spacing(np.abs(levels))
    candidates = levels[:, np.newaxis] + step[:, np.newaxis] * np.arange(_STEPS)
    taken = np.zeros(candidates.shape, dtype=bool)
    if len(levels):
        for _, found in crew.each("heights", find_taken, ((name, candidates) for name in tiling.tiles)):
            taken |= found
    free: FloatArray = candidates[np.arange(len(levels)), np.argmin(taken, axis=1)]
    return free


class Joiner:
    """Joins directed lines of which one ends exactly where another begins.

    Rounding may give two ends one place; then either of them is taken.
    """

    def __init__(self) -> None:
        self._beginning: dict[Place, list[list[FloatArray]]] = defaultdict(list)
        self._ending: dict[Place, list[list[FloatArray]]] = defaultdict(list)

    def add(self, piece: FloatArray) -> FloatArray | None:
        """Add a piece, and get the line that it closes."""
        chain = [piece]
        before, after = _take(self._ending, _first(chain)), None
        if before is not None:
            _drop(self._beginning, _first(before), before)
            chain = before + chain
        if _first(chain) != _last(chain):
            after = _take(self._beginning, _last(chain))
        if after is not None:
            _drop(self._ending, _last(after), after)
            chain += after
        if _first(chain) == _last(chain):
            return _concatenate(chain)
        self._beginning[_first(chain)].append(chain)
        self._ending[_last(chain)].append(chain)
        return None

    def finish(self) -> list[FloatArray]:
        """Return the lines that are open."""
        return [_concatenate(chain) for chains in self._beginning.values() for chain in chains]


def _first(chain: list[FloatArray]) -> Place:
    return tuple(chain[0][0].tolist())


def _last(chain: list[FloatArray]) -> Place:
    return tuple(chain[-1][-1].tolist())


def _take(table: dict[Place, list[list[FloatArray]]], place: Place) -> list[FloatArray] | None:
    chains = table.get(place)
    if not chains:
        return None
    chain = chains.pop()
    if not chains:
        del table[place]
    return chain


def _drop(table: dict[Place, list[list[FloatArray]]], place: Place, chain: list[FloatArray]) -> None:
    chains = [other for other in table[place] if other is not chain]
    if chains:
        table[place] = chains
    else:
        del table[place]


def _concatenate(chain: list[FloatArray]) -> FloatArray:
    return np.concatenate([chain[0], *(piece[1:] for piece in chain[1:])])
