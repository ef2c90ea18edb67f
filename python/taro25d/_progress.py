"""A progress bar on standard error for long calls."""

from __future__ import annotations

import contextlib
import shutil
import sys
import threading
import time
from collections.abc import Callable, Iterable, Iterator, Sequence
from typing import TextIO, TypeAlias, TypeVar

ProgressFunction: TypeAlias = Callable[[str, float], object]
#: True for a bar, a function of phase and fraction (0 to 1), or False for nothing.
Progress: TypeAlias = bool | ProgressFunction

_WIDTH = 30
_TICK = 0.25  # seconds
_LINES = 10_000
#: Names of the engine's operations that are not words.
_PHASES = {
    "getContours": "contours",
    "getBands": "bands",
    "CutAndFill": "cut and fill",
    "compareSurfaces": "compare surfaces",
    "Mesh refinement": "refine",
}

Item = TypeVar("Item")


class Bar:
    """Redraws one line on a terminal; elsewhere it prints a line for each phase and every quarter of it."""

    def __init__(self, stream: TextIO | None = None, delay: float = 0.0) -> None:
        self._stream = stream if stream is not None else sys.stderr
        self._start = time.monotonic() + delay
        self._terminal = self._stream.isatty()
        self._last = ("", -1)
        self._called = 0.0  # when a fraction was last reported
        self._lock = threading.Lock()
        self._drawn = 0

    def __call__(self, phase: str, fraction: float) -> None:
        """Show a fraction of a phase."""
        if not phase or time.monotonic() < self._start or (fraction >= 1 and phase != self._last[0]):
            return  # a phase that is over does not begin
        last, self._last = self._last, (phase, int(4 * fraction))
        self._called = time.monotonic()
        if self._terminal:
            full = round(_WIDTH * fraction)
            self._draw(f"{phase} [{'#' * full}{'.' * (_WIDTH - full)}] {100 * fraction:3.0f} %")
        elif last != self._last:
            print(f"{phase}: {100 * fraction:.0f} %", file=self._stream, flush=True)

    def _draw(self, line: str) -> None:
        line = line[: shutil.get_terminal_size().columns - 1]
        with self._lock:
            print("\r" + line.ljust(self._drawn), end="", file=self._stream, flush=True)
            self._drawn = max(self._drawn, len(line))

    def close(self) -> None:
        """Wipe the line off the terminal."""
        with self._lock:
            if self._drawn:
                print("\r" + " " * self._drawn + "\r", end="", file=self._stream, flush=True)
                self._drawn = 0

    @contextlib.contextmanager
    def timing(self, phase: str) -> Iterator[None]:
        """Show on a terminal how long a phase takes, while no fraction of it is reported."""
        begin, done = time.monotonic(), threading.Event()

        def tick() -> None:
            while not done.wait(_TICK):
                now = time.monotonic()
                if now >= self._start and now - self._called > 1:
                    self._draw(f"{phase}: {now - begin:.0f} s")

        ticker = threading.Thread(target=tick, daemon=True)
        if self._terminal:
            ticker.start()
        try:
            yield
        finally:
            done.set()
            if self._terminal:
                ticker.join()
                self.close()


class showing:  # noqa: N801 - reads as a word in a with statement
    """A context that turns the user's argument into a function for the engine, and closes the bar at the end."""

    def __init__(self, progress: Progress) -> None:
        self._function = Bar() if progress is True else (progress or None)

    def __enter__(self) -> ProgressFunction | None:
        show = self._function
        return None if show is None else lambda phase, fraction: show(_PHASES.get(phase, phase), fraction)

    def __exit__(self, *exception: object) -> None:
        if isinstance(self._function, Bar):
            self._function.close()


def timing(phase: str, progress: Progress) -> contextlib.AbstractContextManager[None]:
    """Return a context that shows how long a phase takes if a bar is wanted; functions only get fractions."""
    return progress.timing(phase) if isinstance(progress, Bar) else contextlib.nullcontext()


def counting_lines(phase: str, lines: Iterable[str], size: int, show: ProgressFunction | None) -> Iterator[str]:
    """Yield the lines of a file, and show how much of the size of the file they are."""
    done = 0
    for number, line in enumerate(lines, 1):
        yield line
        done += len(line)
        if show is not None and number % _LINES == 0:
            show(phase, min(1.0, done / max(1, size)))


def counting(phase: str, items: Sequence[Item], show: ProgressFunction | None) -> Iterator[Item]:
    """Yield items, and show after each hundredth how far the phase is."""
    step = max(1, len(items) // 100)
    for number, item in enumerate(items, 1):
        yield item
        if show is not None and number % step == 0:
            show(phase, number / len(items))
