"""The run: the tasks and their order."""

from __future__ import annotations

import shutil
import uuid
import warnings
from pathlib import Path
from typing import Any

import numpy as np

from .. import crs as crs_module
from .._geometry import as_points, crs_of
from .._progress import Progress, showing
from ..errors import Warning
from ..io._files import writing
from . import _source, _work
from ._crew import Crew, workers
from ._plan import Counts, Plan, merge
from ._settings import Settings, enter, locking, note_system
from ._source import Piece
from ._store import Index, Store
from ._work import Gathered, Job


def run(source: Any, folder: Path, client: Any, settings: Settings, progress: Progress) -> None:
    """Make all tiles, continuing a former run."""
    files = _source.list_files(source)
    if settings.classes is not None:
        _source.check_classes(files)
    with locking(folder), workers(client) as crew_client, showing(progress) as show:
        crew = Crew(crew_client, Job(str(folder.resolve()), uuid.uuid4().hex, settings.classes), show)
        pieces = _take_array(source, folder, settings) if files is None else _take_files(crew, files, folder, settings)
        _make(crew, pieces, settings.points_per_tile)


def _take_array(source: Any, folder: Path, settings: Settings) -> list[Piece]:
    crs = crs_module.merge(settings.crs, crs_of(source), "source")
    crs_module.check_plane(crs)
    points = as_points(source, "source")
    enter(folder, [_source.digest_array(points)], settings._replace(crs=crs))
    path = folder / "parts" / "source.npy"
    if not (folder / "tiles.parquet").exists():
        _source.keep_array(points, path)
    return _source.divide(path, len(points))


def _take_files(crew: Crew, files: list[Path], folder: Path, settings: Settings) -> list[Piece]:
    contents = crew.all("looking at the files", _work.look_at, map(str, files))
    crs = settings.crs
    for path, content in zip(files, contents, strict=True):
        crs = crs_module.merge(crs, crs_module.normalise(content.crs), str(path))
    crs_module.check_plane(crs)
    enter(folder, [content.digest for content in contents], settings._replace(crs=crs))
    return [piece for content in contents for piece in content.pieces]


# ---- Phases ----


def _make(crew: Crew, pieces: list[Piece], points_per_tile: int) -> None:
    store = Store(crew.job.folder)
    if not store.index_path.exists():
        if not store.plan_path.exists():
            _plan(crew, store, pieces, points_per_tile)
        _gather(crew, store, pieces)
    store.plan_path.unlink(missing_ok=True)
    shutil.rmtree(store.folder / "parts", ignore_errors=True)
    for name in ("halo", "triangles"):
        (store.folder / name).mkdir(exist_ok=True)
    crew.all("triangulating", _work.triangulate_tile, store.index.names)


def _plan(crew: Crew, store: Store, pieces: list[Piece], points_per_tile: int) -> None:
    counted = crew.all("counting", _work.count_piece, pieces)
    note_system(store.folder, [(piece.path, part.crs) for piece, part in zip(pieces, counted, strict=True)])
    num_refused = sum(part.num_refused for part in counted)
    if num_refused:
        warnings.warn(f"{num_refused} points with coordinates that are not finite are left out", Warning, stacklevel=2)
    filled = [part for part in counted if part.counts is not None]
    plan = Plan()
    if filled:
        magnitude = max(float(np.max(np.abs([part.low, part.high]))) for part in filled)
        lowest = int(np.frexp(magnitude)[1]) - 60
        plan.start(merge([part.counts for part in filled if part.counts is not None]), points_per_tile, lowest)
        while cells := plan.open_cells():
            tasks = ((piece, cells, lowest) for piece in pieces)
            sums: list[list[Counts]] = [[] for _ in cells]
            for _, found in crew.each("counting again", _work.count_again, tasks):
                for k, part in enumerate(found):
                    if part is not None:
                        sums[k].append(part)
            plan.refine([merge(parts) for parts in sums], points_per_tile, lowest)
        plan.cut(points_per_tile)
    with writing(store.plan_path) as temporary:
        plan.save(temporary)


def _gather(crew: Crew, store: Store, pieces: list[Piece]) -> None:
    for name in ("parts", "points"):
        (store.folder / name).mkdir(exist_ok=True)
    num_tiles = Plan.load(store.plan_path).num_tiles
    groups: list[list[tuple[int, int]]] = [[] for _ in range(num_tiles)]
    if num_tiles:
        for part, tiles in enumerate(crew.all("dividing", _work.divide_piece, enumerate(pieces))):
            for group, tile in enumerate(tiles):
                groups[tile].append((part, group))
    names = [f"{number:0{len(str(max(num_tiles - 1, 0)))}d}" for number in range(num_tiles)]
    gathered: list[Gathered] = crew.all("gathering", _work.gather_tile, zip(names, groups, strict=True))
    Index(**_work.heads_of(gathered)).write(store.index_path)
