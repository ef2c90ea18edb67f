"""The library's own files."""

from __future__ import annotations

from pathlib import Path
from typing import TYPE_CHECKING

from .._progress import Progress
from ..errors import InvalidInputError

if TYPE_CHECKING:
    from ..triangulation import Triangulation
    from ..zone import Zone


def read(path: Path, progress: Progress = False) -> Triangulation:
    """Read a triangulation."""
    from .. import _file

    return _file.load(path, progress=progress)


def write(tin: Triangulation, path: Path, zone: Zone | None = None) -> None:
    """Write a triangulation, as a whole."""
    if zone is not None:
        raise InvalidInputError("this format keeps whole surfaces, without a zone or boundary; a .ply file has a part")
    tin.save(path)
