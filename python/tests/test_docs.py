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

GUIDE = pathlib.Path(__file__).parents[2] / "docs" / "guide"
PAGE = GUIDE / "python.md"


@pytest.mark.skipif(not PAGE.exists(), reason="the guide is not part of the source distribution")
@pytest.mark.parametrize("page", ["python.md", "tiles.md"])
def test_guide(page: str) -> None:
    if page == "tiles.md":
        for package in ("distributed", "pyarrow", "rasterio"):
            pytest.importorskip(package)
    blocks = re.findall(r"```(python|text)\n(.*?)```", (GUIDE / page).read_text(encoding="utf-8"), re.DOTALL)
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


EXAMPLES = sorted((pathlib.Path(__file__).parents[1] / "examples").glob("*.py"))


@pytest.mark.parametrize("example", EXAMPLES, ids=lambda path: path.stem)
def test_worked_example(example: pathlib.Path, tmp_path: pathlib.Path) -> None:
    for package in ("matplotlib", "geopandas", "laspy"):
        pytest.importorskip(package)
    result = subprocess.run([sys.executable, example, tmp_path], capture_output=True, text=True, check=False)
    assert (result.returncode, result.stderr) == (0, "")
    assert re.search(r"\d", result.stdout)
    assert (tmp_path / f"{example.stem}.png").stat().st_size > 10_000
    if PAGE.exists():
        site = PAGE.parents[1] / "site" / "worked.md"
        assert f"examples/{example.name}" in site.read_text(encoding="utf-8")
