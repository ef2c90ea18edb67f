"""A tile as a triangulation of its own, for what goes through the tiles."""

from __future__ import annotations

import uuid
from collections.abc import Iterator
from contextlib import contextmanager
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

from .. import _engine
from .._geometry import FloatArray
from .._progress import Progress, showing
from ..triangulation import Triangulation
from ._crew import Crew, workers
from ._store import Store
from ._work import Job

if TYPE_CHECKING:
    from ._result import Tiling


class Part(NamedTuple):
    """A tile with the points of others around it."""

    tin: Triangulation
    num_own: int

    @property
    def mask(self) -> NDArray[np.uint8]:
        """Which triangles the tile owns."""
        return _engine.owned_triangles(self.tin._surface, self.num_own)

    def owns(self, places: FloatArray) -> NDArray[np.bool_]:
        """Return which places lie in triangles that the tile owns."""
        found: NDArray[np.uint8] = _engine.owned_places(self.tin._surface, np.ascontiguousarray(places), self.num_own)
        return found.astype(bool)


def open_part(store: Store, name: str, threads: int = 1) -> Part:
    """Make the triangulation of a tile; one thread, since there are other tasks."""
    return make_part(store.points(name).read(), store.read_halo(name), threads)


def make_part(own: FloatArray, halo: FloatArray, threads: int = 1) -> Part:
    """Make the triangulation of points of a tile and those around it."""
    tin = Triangulation(np.concatenate([own, halo]), threads=threads)
    tin.canonicalize()
    return Part(tin, len(own))


@contextmanager
def crew_for(tiling: Tiling, client: Any, progress: Progress) -> Iterator[Crew]:
    """Return workers for the tiles of a result."""
    job = Job(str(tiling.folder.resolve()), uuid.uuid4().hex, None)
    with workers(client) as found, showing(progress) as show:
        yield Crew(found, job, show)
