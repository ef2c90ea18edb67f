"""The programs of the guide print what it shows."""

import contextlib
import doctest
import io
import pathlib
import re
import subprocess
import sys

import pytest

import taro25d
from taro25d import triangulation

PAGE = pathlib.Path(__file__).parents[2] / "docs" / "guide" / "python.md"


@pytest.mark.skipif(not PAGE.exists(), reason="the guide is not part of the source distribution")
def test_guide() -> None:
    blocks = re.findall(r"```(python|text)\n(.*?)```", PAGE.read_text(encoding="utf-8"), re.DOTALL)
    assert len(blocks) > 5
    names: dict[str, object] = {}
    printed = ""
    for kind, text in blocks:
        if kind == "python":
            with contextlib.redirect_stdout(io.StringIO()) as stream:
                exec(text, names)
            printed = stream.getvalue()
        else:
            assert printed == text


@pytest.mark.parametrize("module", [taro25d, triangulation])
def test_docstrings(module) -> None:
    assert doctest.testmod(module).failed == 0


EXAMPLE = pathlib.Path(__file__).parents[1] / "examples" / "terrain.py"


def test_example(tmp_path: pathlib.Path) -> None:
    pytest.importorskip("matplotlib")
    pytest.importorskip("geopandas")
    result = subprocess.run([sys.executable, EXAMPLE, tmp_path / "out"], capture_output=True, text=True, check=False)
    assert (result.returncode, result.stderr) == (0, "")
    assert "138632 points" in result.stdout
    made = {file.name: file.stat().st_size for file in (tmp_path / "out").iterdir()}
    assert set(made) == {"python_terrain.png", "python_contours.gpkg", "python_slopes.tif"}
    assert min(made.values()) > 10_000
