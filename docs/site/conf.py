"""How Sphinx makes the site: scripts/docs lays out the pages of the repository beside this file, and runs it."""

import os
import re
from pathlib import Path

from sphinx.application import Sphinx
from taro25d.command.table import COMMANDS, get_usage, list_endings

HERE = Path(__file__).parent

project = "taro25d"
copyright = "the libtaro25d authors"
version = release = os.environ["TARO25D_VERSION"]
extensions = ["myst_parser", "breathe", "sphinx.ext.autodoc", "sphinx.ext.napoleon"]
exclude_patterns = ["examples"]

html_theme = "furo"
html_title = f"taro25d {version}"
html_extra_path = ["made"]
html_static_path: list[str] = []

breathe_projects = {"taro25d": os.environ["TARO25D_XML"]}
breathe_default_project = "taro25d"
breathe_show_include = False
suppress_warnings = ["duplicate_declaration.cpp"]  # the namespace, which each header opens

autodoc_member_order = "bysource"
autodoc_typehints = "none"  # the sentences say what is taken
napoleon_use_ivar = True
smartquotes_action = "qe"  # two hyphens stay, since options begin with them

myst_enable_extensions = ["fieldlist"]
myst_heading_anchors = 3


def write_commands() -> None:
    """Make the page of the command, of the table that its parser and its manual page are made of."""
    lines = [
        "# The command",
        "",
        "Results are printed on standard output, everything else on standard error. The exit status is 1 if the data cannot be",
        "used, 2 for wrong usage, and 130 after Ctrl-C; nothing is written then.",
        "",
    ]
    lines += [f"- {verb} {' '.join(f'`{ending}`' for ending in known)}" for verb, known in list_endings()]
    lines.append("")
    for command in COMMANDS:
        usage = f"taro25d {command.name} {get_usage(command)}"
        lines += [f"## {command.name}", "", command.description, "", "```text", usage, "```", ""]
        for argument in command.arguments:
            lines.append(f"- `{argument.name}`: {argument.help}")
        for option in command.options:
            default = "" if option.default is None else f" (default: {option.default})"
            lines.append(f"- `{option.name} {option.metavar}`: {option.help}{default}".replace(" `:", "`:"))
        lines += ["", "```sh", command.example, "```", ""]
    (HERE / "command.md").write_text("\n".join(lines), encoding="utf-8")


def write_headers() -> None:
    """Make a page for each public header: of its class, or else of what Doxygen has read in it."""
    headers = {path.stem: path.read_text(encoding="utf-8") for path in (HERE / "include").glob("*.h")}
    names = sorted(set(headers) - {"taro25d"})
    folder = HERE / "cpp"
    folder.mkdir(exist_ok=True)
    for name in names:
        declared = re.search(rf"^(class|struct) (?:TARO25D_API )?{name}\b[^;]*$", headers[name], re.MULTILINE)
        if re.search(r"^(TARO25D_API|inline) ", headers[name], re.MULTILINE):
            declared = None  # there are functions beside the class
        what = f"{{doxygen{declared[1]}}} LUMO_TARO25D::{name}\n:members:" if declared else f"{{doxygenfile}} {name}.h"
        text = f"# {name}\n\n```{what}\n```\n"
        (folder / f"{name}.md").write_text(text, encoding="utf-8")
    listed = "\n".join(f"cpp/{name}" for name in names)
    text = f"# C++ reference\n\nA page for each header.\n\n```{{toctree}}\n:maxdepth: 1\n\n{listed}\n```\n"
    (HERE / "cpp_reference.md").write_text(text, encoding="utf-8")


def leave_out_links(app: Sphinx, name: str, source: list[str]) -> None:
    """Of links to files that are no part of the site, keep the text; the tests look that such files are there."""
    folder = (HERE / name).parent

    def replace(match: re.Match[str]) -> str:
        target = match[2].partition("#")[0]
        return match[0] if not target or (folder / target).is_file() else match[1]

    source[0] = re.sub(r"(?<!!)\[([^\]]*)\]\(([^):]*)\)", replace, source[0])


def setup(app: Sphinx) -> None:
    """Make what is made, before anything is read."""
    write_commands()
    write_headers()
    app.connect("source-read", leave_out_links)
