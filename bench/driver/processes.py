# SPDX-License-Identifier: MIT
"""Information from the kernel about processes."""

import os
import pathlib
import time
from typing import NamedTuple

WAIT_SECONDS = 30


class Memory(NamedTuple):
    """In KiB. `proportional` divides shared pages among the processes that use them; `anonymous` is the process's own memory."""

    resident: int
    proportional: int
    anonymous: int


def below(ancestor):
    """The process ids of all descendants of a process."""
    children = {}
    for stat in pathlib.Path("/proc").glob("[0-9]*/stat"):
        try:
            parent = int(stat.read_text().rpartition(")")[2].split()[1])
        except (FileNotFoundError, ProcessLookupError):
            continue  # the process has ended
        children.setdefault(parent, []).append(int(stat.parent.name))
    found, frontier = [], [ancestor]
    while frontier:
        frontier = [child for parent in frontier for child in children.get(parent, [])]
        found += frontier
    return found


def running(ancestor, program):
    """The process id of the only descendant that runs `program`."""
    [process] = [pid for pid in below(ancestor) if os.readlink(f"/proc/{pid}/exe") == str(program)]
    return process


def is_alive(process):
    return pathlib.Path(f"/proc/{process}").exists()


def idle_memory(process):
    """Waits until a process is idle. Returns its memory."""
    seen = []

    def is_idle():
        seen.append(_ticks(process))
        return len(seen) > 10 and seen[-10] == seen[-1]

    wait_until(is_idle, "a process to be idle")
    return _memory(process)


def _ticks(process):
    """The processor time of a process so far."""
    fields = pathlib.Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()
    return int(fields[11]) + int(fields[12])


def _memory(process):
    folder = pathlib.Path(f"/proc/{process}")
    fields = {}
    for line in ((folder / "status").read_text() + (folder / "smaps_rollup").read_text()).splitlines():
        name, _, value = line.partition(":")
        if value.endswith(" kB"):
            fields[name] = int(value.split()[0])
    return Memory(fields["VmRSS"], fields["Pss"], fields["RssAnon"])


def wait_until(condition, what):
    end = time.monotonic() + WAIT_SECONDS
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError(f"waited {WAIT_SECONDS} s for {what}")
        time.sleep(0.02)
