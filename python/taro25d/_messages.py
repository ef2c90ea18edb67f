"""Messages of the library become warnings, log records and the texts of errors."""

from __future__ import annotations

import contextlib
import contextvars
import logging
import sys
import warnings
from collections.abc import Iterator
from pathlib import Path

from . import _engine, errors

_HERE = str(Path(__file__).parent)
_log = logging.getLogger("taro25d")
_expected = contextvars.ContextVar("expected", default=False)


def outside_level() -> int:
    """Find the stack level, for the caller of this function, of the first frame outside the package."""
    level = 1
    frame = sys._getframe(1)
    while frame.f_back is not None and frame.f_code.co_filename.startswith(_HERE):
        frame = frame.f_back
        level += 1
    return level


def warn(text: str) -> None:
    """Warn at the line of the user's code that called this package."""
    warnings.warn(text, errors.Warning, stacklevel=outside_level())


@contextlib.contextmanager
def expecting_warnings() -> Iterator[None]:
    """Drop what the library warns of, in this thread alone; filters of ``warnings`` are those of all threads."""
    token = _expected.set(True)
    try:
        yield
    finally:
        _expected.reset(token)


def _deliver(texts: list[str], notes: list[str]) -> None:
    for note in notes:
        _log.info(note)
    for text in [] if _expected.get() else texts:
        warn(text)


_KINDS: dict[str, type[errors.Error]] = {
    "refused": errors.RefusedError,
    "gone": errors.GoneError,
    "internal": errors.InternalError,
}


def _fail(kind: str, texts: list[str]) -> errors.Error:
    text = "; ".join(texts) or "the library failed without saying why"
    return _KINDS[kind](text)


_engine.connect(_deliver, _fail)
