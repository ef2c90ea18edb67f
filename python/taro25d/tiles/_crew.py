"""Dask's workers, and the distribution of tasks to them."""

from __future__ import annotations

import contextlib
import logging
import os
from collections.abc import Callable, Iterable, Iterator
from typing import Any, TypeVar

from .._optional import require
from .._progress import ProgressFunction
from ..errors import Error
from ._work import Job

_WAITING = 4  # tasks that are handed to each thread of a worker

Task = TypeVar("Task")
Result = TypeVar("Result")


class Crew:
    """Dask's workers, and the bar."""

    def __init__(self, client: Any, job: Job, show: ProgressFunction | None) -> None:
        self.client, self.job, self._show = client, job, show

    def each(
        self, phase: str, function: Callable[[Job, Task], Result], tasks: Iterable[Task]
    ) -> Iterator[tuple[int, Result]]:
        """Do tasks, and get the results with the numbers of their tasks, as they are done."""
        distributed = require("distributed", "tiles")
        todo = list(enumerate(tasks))[::-1]
        num, done = len(todo), 0
        running: dict[Any, int] = {}
        finished = distributed.as_completed(loop=self.client.loop)
        window = max(1, _WAITING * sum(self.client.nthreads().values()))
        try:
            while todo or running:
                while todo and len(running) < window:
                    number, task = todo.pop()
                    future = self.client.submit(function, self.job, task, pure=False, retries=2)
                    running[future] = number
                    finished.add(future)
                future = next(finished)
                result = _get(future)
                done += 1
                if self._show:
                    self._show(phase, done / num)
                yield running.pop(future), result
        finally:
            self.client.cancel(list(running))

    def in_order(self, phase: str, function: Callable[[Job, Task], Result], tasks: Iterable[Task]) -> Iterator[Result]:
        """Do tasks, and get the results in their order, each as soon as those before it are done."""
        waiting: dict[int, Result] = {}
        following = 0
        for number, result in self.each(phase, function, tasks):
            waiting[number] = result
            while following in waiting:
                yield waiting.pop(following)
                following += 1

    def all(self, phase: str, function: Callable[[Job, Task], Result], tasks: Iterable[Task]) -> list[Result]:
        """Do tasks, and get the results in their order."""
        return list(self.in_order(phase, function, tasks))


def _get(future: Any) -> Any:
    from distributed.scheduler import KilledWorker

    try:
        return future.result()
    except KilledWorker as error:
        text = (
            "workers died again and again over one task; perhaps they need more memory, or points_per_tile is too large"
        )
        raise Error(text) from error


@contextlib.contextmanager
def workers(client: Any) -> Iterator[Any]:
    """Return a client: the one given, the one that Dask has, or one with threads of this process."""
    distributed = require("distributed", "tiles")
    if client is None:
        with contextlib.suppress(ValueError):
            client = distributed.default_client()
    if client is not None:
        yield client
        return
    own = distributed.Client(
        processes=False, n_workers=1, threads_per_worker=os.cpu_count(), memory_limit=0, dashboard_address=":0",
        set_as_default=False, silence_logs=logging.CRITICAL,
    )  # fmt: skip
    try:
        yield own
    finally:
        own.close()
