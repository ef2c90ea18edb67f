"""Scenes in space, by the library itself."""

from __future__ import annotations

from pathlib import Path
from typing import TYPE_CHECKING

from .. import _engine

if TYPE_CHECKING:
    from ..triangulation import Triangulation
    from ..zone import Zone


def write_glb(tin: Triangulation, path: Path, zone: Zone | None = None) -> None:
    """Write binary glTF 2.0, in colours of the heights."""
    _engine.write_glb(tin._surface, None if zone is None else zone._engine, str(path), path.stem)
