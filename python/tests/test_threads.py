"""Locks, signals and progress."""

import io
import pathlib
import pickle
import signal
import subprocess
import sys
import textwrap
import threading
import time

import numpy as np
import pytest
from conftest import make_hills

import taro25d
from taro25d._progress import Bar

_INTERRUPTED = """
    import os, signal, sys, threading, time
    import numpy as np
    import taro25d

    def scatter(seed, num):
        return np.random.default_rng(seed).uniform(0, 1000, (num, 3))

    tin = taro25d.Triangulation(scatter(1, 100_000), threads=1)
    many = scatter(2, {num})
    sent = []

    def interrupt():
        time.sleep(0.4)
        sent.append(time.process_time())
        os.kill(os.getpid(), signal.SIGINT)

    threading.Thread(target=interrupt).start()
    try:
        while True:
            {call}
    except KeyboardInterrupt:
        waited = time.process_time() - sent[0]
        assert tin.check()
        tin.insert(many[:100])
        assert tin.check()
        print(waited)
"""


@pytest.mark.parametrize(
    ("call", "num"),
    [
        ("tin.insert(many)", 5_000_000),
        ("tin.volume(tin.copy()).components", 1000),
        ("taro25d.simplify(many, 0.1)", 300_000),
        ("tin.rasterize(0.5, method='natural')", 1000),
        ("tin.contours(levels=np.arange(1, 1000, 0.5))", 1000),
        ("tin.refine(max_edge=2, min_edge=0.5)", 1000),
    ],
)
def test_ctrl_c_ends_a_call_and_leaves_a_valid_mesh(call: str, num: int, tmp_path: pathlib.Path) -> None:
    code = textwrap.dedent(_INTERRUPTED).format(call=call, num=num)
    result = subprocess.run(
        [sys.executable, "-c", code], capture_output=True, text=True, cwd=tmp_path, check=False, timeout=60
    )
    assert result.returncode == 0, result.stderr
    assert float(result.stdout) < 1  # seconds of both processors, which other programs do not disturb


def test_threads_share_one_object() -> None:
    tin = taro25d.Triangulation(make_hills(20_000))
    stop = threading.Event()
    errors = []

    def attempt(work) -> None:
        try:
            while not stop.is_set():
                work()
        except BaseException as error:
            errors.append(error)

    rng = np.random.default_rng(3)
    works = [
        lambda: tin.heights(rng.uniform(0, 1000, 500), 500),
        lambda: tin.contours(interval=5),
        lambda: tin.insert(rng.uniform(0, 1000, (50, 3))),
        lambda: tin.triangles.max() < len(tin.points),
        lambda: tin.zone(polygon=rng.uniform(0, 1000, (3, 2))).area,
        lambda: (
            tin.add_breakline(rng.uniform(0, 1000, (2, 2)) * [0.01, 1] + [100 * rng.integers(10), 0])
            if len(tin.edges_constrained) < 100
            else None
        ),
    ]
    threads = [threading.Thread(target=attempt, args=(work,)) for work in works]
    for thread in threads:
        thread.start()
    time.sleep(3)
    stop.set()
    for thread in threads:
        thread.join()
    assert [e for e in errors if not isinstance(e, taro25d.Error)] == []
    assert tin.check()


def test_progress_goes_to_a_function_and_its_error_ends_the_call() -> None:
    seen: list[tuple[str, float]] = []
    taro25d.Triangulation(make_hills(2_000_000), progress=lambda phase, done: seen.append((phase, done)))
    assert seen
    assert all(0 <= done <= 1 for _, done in seen)

    tin = taro25d.Triangulation()

    def refuse(phase: str, done: float) -> None:
        raise RuntimeError(f"enough of {phase}")

    with pytest.raises(RuntimeError, match="enough"):
        tin.insert(make_hills(2_000_000), progress=refuse)
    assert len(tin) < 2_000_000
    assert tin.check()


def test_a_call_in_the_middle_of_a_call_is_refused() -> None:
    tin = taro25d.Triangulation()
    with pytest.raises(taro25d.Error, match="in the middle"):
        tin.insert(make_hills(2_000_000), progress=lambda phase, done: tin.heights(1, 1))


def test_bar_on_a_terminal_and_elsewhere() -> None:
    class Terminal(io.StringIO):
        def isatty(self) -> bool:
            return True

    terminal, file = Terminal(), io.StringIO()
    for stream in (terminal, file):
        bar = Bar(stream)
        for done in (0.0, 0.1, 0.5, 1.0):
            bar("insertion", done)
        bar.close()
    assert "insertion [###############...............]  50 %" in terminal.getvalue()
    assert terminal.getvalue().endswith(" \r")
    assert file.getvalue() == "insertion: 0 %\ninsertion: 50 %\ninsertion: 100 %\n"


def test_a_bar_shows_seconds_where_it_knows_no_fraction() -> None:
    class Terminal(io.StringIO):
        def isatty(self) -> bool:
            return True

    terminal = Terminal()
    bar = Bar(terminal)
    with bar.timing("write a.ply"):
        time.sleep(1.4)
        assert "write a.ply: 1 s" in terminal.getvalue()
        bar("write", 0.5)
    assert terminal.getvalue().endswith(" \r")


def test_errors_are_the_built_in_ones_too() -> None:
    for error, builtin in [
        (taro25d.InvalidInputError, ValueError),
        (taro25d.GoneError, KeyError),
        (taro25d.FileError, OSError),
        (taro25d.MissingExtraError, ImportError),
    ]:
        assert issubclass(error, builtin)
        assert issubclass(error, taro25d.Error)
    assert str(pickle.loads(pickle.dumps(taro25d.GoneError("no vertex")))) == "no vertex"
    assert signal.getsignal(signal.SIGINT) is signal.default_int_handler
