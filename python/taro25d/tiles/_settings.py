"""The settings of a tiling, and the lock of its folder."""

from __future__ import annotations

import contextlib
import fcntl
import json
import shutil
from collections.abc import Iterator, Sequence
from pathlib import Path
from typing import Any, NamedTuple

from .. import crs as crs_module
from ..errors import FileError, FormatError, InvalidInputError, RefusedError
from ..io._files import writing

_FORMAT = 1
_NAME = "tiling.json"
_LOCK = ".lock"


class Settings(NamedTuple):
    """The settings that the user chose; the reference system is a pyproj object."""

    points_per_tile: int
    classes: tuple[int, ...] | None
    crs: Any

    @classmethod
    def of(cls, points_per_tile: int, classes: Sequence[int] | None, crs: Any) -> Settings:
        """Check the user's arguments."""
        if points_per_tile < 1:
            raise InvalidInputError(f"points_per_tile: 1 or more are expected, not {points_per_tile}")
        chosen = None if classes is None else tuple(sorted({int(k) for k in classes}))
        return cls(int(points_per_tile), chosen, crs_module.normalise(crs))


@contextlib.contextmanager
def locking(folder: Path) -> Iterator[None]:
    """Make sure that no other run writes into a folder."""
    try:
        folder.mkdir(parents=True, exist_ok=True)
        file = (folder / _LOCK).open("w")
    except OSError as error:
        raise FileError(f"{folder}: {error.strerror}") from error
    with file:
        try:
            fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except OSError as error:
            raise RefusedError(f"{folder}: another run writes into this folder") from error
        try:
            yield
        except BaseException:
            if (folder / _NAME).exists() and not _is_begun(folder):
                shutil.rmtree(folder / "parts", ignore_errors=True)
                (folder / _NAME).unlink()
            _leave(folder)
            raise


def _leave(folder: Path) -> None:
    """Remove a folder in which there is nothing, and the lock."""
    if [path.name for path in folder.iterdir()] == [_LOCK]:
        (folder / _LOCK).unlink()
        with contextlib.suppress(OSError):
            folder.rmdir()


def _is_begun(folder: Path) -> bool:
    """Return whether the folder has results with which another run can continue."""
    return (folder / "plan.npz").exists() or (folder / "tiles.parquet").exists()


def read(folder: Path) -> dict[str, Any]:
    """Read the settings of a tiling."""
    path = folder / _NAME
    if not path.exists():
        raise FileError(f"{folder}: there is no tiling")
    try:
        found = json.loads(path.read_text(encoding="utf-8"))
        if found["format"] != _FORMAT:
            raise FormatError(f"{path}: this was written by another version")
    except (ValueError, KeyError) as error:
        raise FormatError(f"{path}: this is no tiling") from error
    return found  # type: ignore[no-any-return]


def enter(folder: Path, digests: list[str], settings: Settings) -> None:
    """Store the settings in the folder, or make sure that it has equal ones. A tiling without results is replaced."""
    now = {
        "format": _FORMAT,
        "source": digests,
        "points_per_tile": settings.points_per_tile,
        "classes": None if settings.classes is None else list(settings.classes),
        "crs": None if settings.crs is None else settings.crs.to_wkt(),
    }
    if _is_begun(folder):
        former = read(folder)
        for name in ("source", "points_per_tile", "classes"):
            if former[name] != now[name]:
                raise RefusedError(f"{folder}: there is a tiling with another {name}")
        if now["crs"] is not None and former["crs"] != now["crs"]:
            raise RefusedError(f"{folder}: there is a tiling with another reference system")
        return
    own = {_LOCK, _NAME, "parts"} if (folder / _NAME).exists() else {_LOCK}
    if any(path.name not in own for path in folder.iterdir()):
        raise RefusedError(f"{folder}: the folder holds other files")
    shutil.rmtree(folder / "parts", ignore_errors=True)
    write(folder, now)


def note_system(folder: Path, systems: list[tuple[str, str | None]]) -> None:
    """Join the reference systems of files, by name, that are known only after these have been read."""
    known = read(folder)
    crs = crs_module.normalise(known["crs"])
    for name, system in systems:
        crs = crs_module.merge(crs, crs_module.normalise(system), name)
    crs_module.check_plane(crs)
    if crs is not None and known["crs"] is None:
        write(folder, known | {"crs": crs.to_wkt()})


def write(folder: Path, settings: dict[str, Any]) -> None:
    """Write the settings of a tiling."""
    with writing(folder / _NAME) as temporary:
        temporary.write_text(json.dumps(settings, indent=1), encoding="utf-8")
