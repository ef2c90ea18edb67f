"""Makes the manual page of the table of commands: ``python -m taro25d.command.manual``."""

from __future__ import annotations

from .table import COMMANDS, Command, get_usage, list_endings


def _escape(text: str) -> str:
    return text.replace("\\", "\\e").replace("-", "\\-")


def _section(command: Command) -> list[str]:
    lines = [f'.SS "taro25d {command.name} {_escape(get_usage(command))}"', _escape(command.description)]
    for argument in command.arguments:
        lines += [".TP", f".I {argument.name}", _escape(argument.help)]
    for option in command.options:
        default = "" if option.default is None else f" (default: {option.default})"
        lines += [".TP", f'.BI {_escape(option.name)} " {option.metavar}"', _escape(option.help + default)]
    return [*lines, ".PP", "Example:", ".PP", ".RS", ".EX", _escape(command.example), ".EE", ".RE"]


def make_manual() -> str:
    """Make the page, in the language of man."""
    lines = [
        '.TH TARO25D 1 "" taro25d "User commands"',
        ".SH NAME",
        "taro25d \\- triangulates terrain and other points with heights",
        ".SH SYNOPSIS",
        ".B taro25d",
        ".I COMMAND",
        "[\\fIARGUMENT\\fR...] [\\fB\\-\\-json\\fR]",
        ".SH DESCRIPTION",
        "Results are printed on standard output, everything else on standard error. Nothing is written where a command fails.",
        ".SH COMMANDS",
        *(line for command in COMMANDS for line in _section(command)),
        ".SH FILES",
        *(f".TP\n{title}\n\\&{_escape(' '.join(known))}" for title, known in list_endings()),
        ".SH EXIT STATUS",
        *(
            ".TP\n.B 0\nsuccess",
            ".TP\n.B 1\nthe data cannot be used; the message names the file",
            ".TP\n.B 2\nwrong usage",
            ".TP\n.B 130\ninterrupted with Ctrl\\-C",
        ),
    ]
    return "\n".join(lines) + "\n"


if __name__ == "__main__":
    print(make_manual(), end="")
