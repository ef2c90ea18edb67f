"""The division of the plane into tiles: a quadtree counts the points, and rectangles with about equal numbers are cut.

A cell of level k is 2^k wide, and its corners are multiples of that. Scaling by a power of two is exact, so that every reader
assigns a point to the same cell, and the points of two tiles are always divided by a line.
"""

from __future__ import annotations

from collections.abc import Iterator
from pathlib import Path
from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray

from .._geometry import FloatArray

IntArray = NDArray[np.int64]

_ROOT_SIZE = 512
_CHILD_SIZE = 64
_NO_TILE = -1
_FIRST_CHILD = -2  # a label of -2 - k is that of the grid k


def cells_of(places: FloatArray, level: int) -> IntArray:
    """Return the cells (n, 2) of places at a level."""
    return np.floor(np.ldexp(places, -level)).astype(np.int64)


def find_level(low: FloatArray, high: FloatArray, size: int) -> int:
    """Find the smallest level at which a box has at most ``size`` cells in each direction."""
    magnitude = float(np.max(np.abs([low, high])))
    level = int(np.frexp(magnitude)[1]) - 60  # cells have to be numbers of 64 bits
    extent = float(np.max(high / 2 - low / 2)) * 2
    if extent > 0 and np.isfinite(extent):
        level = max(level, int(np.frexp(extent)[1]) - size.bit_length())
    while np.max(cells_of(high, level) - cells_of(low, level)) >= size:
        level += 1
    return level


class Counts(NamedTuple):
    """How many points the cells of a level have: rows of (i, j) and numbers."""

    level: int
    cells: IntArray
    numbers: IntArray


def add_up(level: int, cells: IntArray, numbers: IntArray | None = None) -> Counts:
    """Count equal cells, which lie in a rectangle that is not large."""
    low = cells.min(axis=0)
    shape = cells.max(axis=0) - low + 1
    sums = np.bincount(np.ravel_multi_index(tuple((cells - low).T), tuple(shape)), weights=numbers)
    filled = np.flatnonzero(sums)
    return Counts(level, low + np.column_stack(np.unravel_index(filled, tuple(shape))), sums[filled].astype(np.int64))


def count(places: FloatArray) -> Counts:
    """Count places, of which there are some, at a level that suits their box."""
    level = find_level(places.min(axis=0), places.max(axis=0), _ROOT_SIZE)
    return add_up(level, cells_of(places, level))


def merge(counts: list[Counts]) -> Counts:
    """Add counts up, at a level at which they all lie in a rectangle that is not large."""
    level = max(part.level for part in counts)
    low = np.min([part.cells.min(axis=0) >> (level - part.level) for part in counts], axis=0)
    high = np.max([part.cells.max(axis=0) >> (level - part.level) for part in counts], axis=0)
    rise = 0
    while np.max((high >> rise) - (low >> rise)) >= _ROOT_SIZE:
        rise += 1
    level += rise
    cells = np.concatenate([part.cells >> (level - part.level) for part in counts])
    return add_up(level, cells, np.concatenate([part.numbers for part in counts]))


class Grid:
    """A rectangle of cells of one level, with the label of each: a tile, or a finer grid."""

    def __init__(self, level: int, origin: IntArray, labels: NDArray[np.int32]) -> None:
        self.level, self.origin, self.labels = level, origin, labels

    @classmethod
    def of(cls, counts: Counts) -> tuple[Grid, IntArray]:
        """Make a grid without tiles that holds all counted cells, and the numbers in its cells."""
        low, high = counts.cells.min(axis=0), counts.cells.max(axis=0)
        numbers = np.zeros(high - low + 1, dtype=np.int64)
        numbers[tuple((counts.cells - low).T)] = counts.numbers
        return cls(counts.level, low, np.full(numbers.shape, _NO_TILE, dtype=np.int32)), numbers

    def get_labels(self, places: FloatArray) -> NDArray[np.int32]:
        """Return the labels of places; no tile where they are outside."""
        at = cells_of(places, self.level) - self.origin
        inside = ((at >= 0) & (at < self.labels.shape)).all(axis=1)
        labels = np.full(len(places), _NO_TILE, dtype=np.int32)
        labels[inside] = self.labels[tuple(at[inside].T)]
        return labels


class Plan:
    """The tree of grids; the first one has everything."""

    def __init__(self, grids: list[Grid] | None = None) -> None:
        self.grids = grids or []
        self._numbers: dict[int, IntArray] = {}
        self._open: list[tuple[int, IntArray]] = []  # grid and cell of those that need a finer grid
        self.num_tiles = 0

    def get_tiles(self, places: FloatArray) -> NDArray[np.int32]:
        """Return the number of the tile of each place."""
        labels = self.grids[0].get_labels(places) if self.grids else np.empty(len(places), dtype=np.int32)
        while (labels <= _FIRST_CHILD).any():
            for label in np.unique(labels[labels <= _FIRST_CHILD]):
                rows = np.flatnonzero(labels == label)
                labels[rows] = self.grids[_FIRST_CHILD - label].get_labels(places[rows])
        return labels

    def start(self, counts: Counts, most: int, lowest_level: int) -> None:
        """Make the first grid, and note the cells that have too many points for a tile."""
        self._add_grid(counts, most, lowest_level)

    def _add_grid(self, counts: Counts, most: int, lowest_level: int) -> None:
        grid, numbers = Grid.of(counts)
        self._numbers[len(self.grids)] = numbers
        if counts.level > lowest_level:
            self._open += [(len(self.grids), cell) for cell in np.argwhere(numbers > most)]
        self.grids.append(grid)

    def open_cells(self) -> list[tuple[int, IntArray]]:
        """Return the cells (level, cell) that are to be counted at a lower level."""
        return [(self.grids[g].level, self.grids[g].origin + cell) for g, cell in self._open]

    def refine(self, counts: list[Counts], most: int, lowest_level: int) -> None:
        """Put finer grids, with counts in the order of open_cells, into the cells that have too many points."""
        opened, self._open = self._open, []
        for (parent, cell), part in zip(opened, counts, strict=True):
            self.grids[parent].labels[tuple(cell)] = _FIRST_CHILD - len(self.grids)
            self._add_grid(part, most, lowest_level)

    def cut(self, most: int) -> None:
        """Cut all grids into rectangles of at most ``most`` points; a cell with more points stays whole."""
        for number, grid in enumerate(self.grids):
            for rows, columns in _cut(self._numbers[number], most):
                part = grid.labels[rows, columns]
                if part.shape != (1, 1) or part[0, 0] == _NO_TILE:
                    part[:] = self.num_tiles
                    self.num_tiles += 1

    def save(self, path: Path) -> None:
        """Write the plan."""
        heads = [[grid.level, *grid.origin, *grid.labels.shape] for grid in self.grids]
        labels = np.concatenate([np.empty(0, dtype=np.int32), *(grid.labels.ravel() for grid in self.grids)])
        with path.open("wb") as file:
            np.savez_compressed(
                file, heads=np.array(heads, dtype=np.int64).reshape(-1, 5), labels=labels, tiles=self.num_tiles
            )

    @classmethod
    def load(cls, path: Path) -> Plan:
        """Read a plan that was saved."""
        with np.load(path) as file:
            heads, labels, num_tiles = file["heads"], file["labels"], int(file["tiles"])
        ends = np.cumsum(heads[:, 3] * heads[:, 4])
        parts = np.split(labels, ends[:-1])[: len(heads)]
        plan = cls([Grid(int(h[0]), h[1:3], part.reshape(h[3:])) for h, part in zip(heads, parts, strict=True)])
        plan.num_tiles = num_tiles
        return plan


def count_in_cells(places: FloatArray, cells: list[tuple[int, IntArray]], lowest_level: int) -> list[Counts | None]:
    """Count the places that lie in each of some cells (level, cell), at a lower level."""
    found: list[Counts | None] = [None] * len(cells)
    for level in {level for level, _ in cells}:
        wanted = {tuple(cell): k for k, (of, cell) in enumerate(cells) if of == level}
        finer = max(level - _CHILD_SIZE.bit_length() + 1, lowest_level)
        at = cells_of(places, level)
        order = np.lexsort((at[:, 1], at[:, 0]))
        at = at[order]
        breaks = np.flatnonzero((at[1:] != at[:-1]).any(axis=1)) + 1
        for rows in np.split(order, breaks):
            k = wanted.get(tuple(cells_of(places[rows[:1]], level)[0])) if len(rows) else None
            if k is not None:
                found[k] = add_up(finer, cells_of(places[rows], finer))
    return found


def _cut(numbers: IntArray, most: int) -> Iterator[tuple[slice, slice]]:
    """Halve the rectangle of all cells, then its parts, until no part has more points than allowed."""
    sums = np.zeros((numbers.shape[0] + 1, numbers.shape[1] + 1), dtype=np.int64)
    sums[1:, 1:] = numbers.cumsum(axis=0).cumsum(axis=1)
    stack = [(0, numbers.shape[0], 0, numbers.shape[1])]
    while stack:
        part = _trim(sums, stack.pop())
        if part is None:
            continue
        i0, i1, j0, j1 = part
        along_i = sums[i0 : i1 + 1, j1] - sums[i0 : i1 + 1, j0]
        if along_i[-1] - along_i[0] <= most or (i1 - i0 == 1 and j1 - j0 == 1):
            yield slice(i0, i1), slice(j0, j1)
        elif i1 - i0 >= j1 - j0:
            middle = i0 + _find_half(along_i)
            stack += [(middle, i1, j0, j1), (i0, middle, j0, j1)]
        else:
            middle = j0 + _find_half(sums[i1, j0 : j1 + 1] - sums[i0, j0 : j1 + 1])
            stack += [(i0, i1, middle, j1), (i0, i1, j0, middle)]


def _find_half(sums: IntArray) -> int:
    """Find the inner line next to half of the points."""
    return 1 + int(np.argmin(np.abs(2 * sums[1:-1] - sums[0] - sums[-1])))


def _trim(sums: IntArray, part: tuple[int, int, int, int]) -> tuple[int, int, int, int] | None:
    """Take empty rows and columns off a rectangle; None if it is all empty."""
    i0, i1, j0, j1 = part
    rows = np.flatnonzero(np.diff(sums[i0 : i1 + 1, j1] - sums[i0 : i1 + 1, j0]))
    columns = np.flatnonzero(np.diff(sums[i1, j0 : j1 + 1] - sums[i0, j0 : j1 + 1]))
    if not len(rows):
        return None
    return i0 + int(rows[0]), i0 + int(rows[-1]) + 1, j0 + int(columns[0]), j0 + int(columns[-1]) + 1
