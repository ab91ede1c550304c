# SPDX-License-Identifier: MIT
"""Prints the results as tables, for a terminal or for docs/performance.md."""

import os
import pathlib
import platform
import re
import time
from typing import NamedTuple


class Row(NamedTuple):
    """One measurement. `met` is None if there is no target."""

    what: str
    measured: str
    against: str = ""
    figure: str = ""
    target: str = ""
    met: bool | None = None


HEADINGS = ("what", "measured", "against", "figure", "target", "met")


def _cells(row):
    return (*row[:5], {None: "", True: "yes", False: "NO"}[row.met])


def text(title, rows):
    lines = [HEADINGS] + [_cells(row) for row in rows]
    widths = [max(len(line[column]) for line in lines) for column in range(len(HEADINGS))]
    return "\n".join([title] + ["  " + "  ".join(map(str.ljust, line, widths)).rstrip() for line in lines]) + "\n"


def markdown(results, command):
    """`results` maps each title to its rows."""
    parts = [f"Made by `{command}` on {time.strftime('%Y-%m-%d')}: {machine()}."]
    for title, rows in results.items():
        parts += ["", f"### {title}", "", _line(HEADINGS), _line(["---"] * len(HEADINGS))]
        parts += [_line(_cells(row)) for row in rows]
    return "\n".join(parts)


def _line(cells):
    return "| " + " | ".join(cells) + " |"


def machine():
    processor = re.search(r"^model name\s*:\s*(.+)$", pathlib.Path("/proc/cpuinfo").read_text(), re.MULTILINE)
    gibibytes = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    return (
        f"{os.cpu_count()} cores ({processor[1] if processor else platform.machine()}), {gibibytes:.0f} GiB of memory, "
        f"Linux {platform.release()}"
    )
