# SPDX-License-Identifier: MIT
"""Compares a store with very many entries with an almost empty one."""

import shutil
import statistics

import covers
import filled
import load
from report import Row
from server import RESPONDER, Server, Site, first_answer

TITLE = "A store with very many entries, against one with a single cover"
WARM_UP = 3
MOST_START_MS = 100
LEAST_RATIO = 0.9


def run(scale, folder):
    kept = filled.store(scale.entries)
    big, small = Site("big", RESPONDER, folder / "big"), Site("small", RESPONDER, folder / "small")
    big.state.mkdir()
    shutil.copy(kept / "covers.db", big.state)
    cover = covers.samples()[0]
    with Server(big, small) as server:
        big_path, small_path = (f"show?key={server.upload(site, cover, cover.name)}" for site in (big, small))
        if server.get(big, big_path) != server.get(small, small_path):
            raise RuntimeError("the two stores show the same cover differently")
        rates = load.compare(server.url(big, big_path), server.url(small, small_path), scale.rounds, scale.seconds)
    starts = _start_times((big, big_path), (small, small_path), scale.starts)
    entries = f"{scale.entries:,} entries"
    return [_start_row(entries, *starts), _show_row(entries, cover, rates), _fill_row(kept / "fill.log")]


def _start_times(first, second, count):
    """Measures two stores in turn. Returns milliseconds from just before the process is created to the end of its first answer."""
    times = ([], [])
    for _ in range(WARM_UP + count):
        for (site, path), series in zip((first, second), times):
            series.append(_start_time(site, path))
    return [statistics.median(series[WARM_UP:]) for series in times]


def _start_time(site, path):
    answer = first_answer(site, path)
    if not answer.content.startswith(b"Content-Type: image/png"):
        raise RuntimeError(f"the first answer was {answer.content[:500]!r}")
    return answer.milliseconds


def _start_row(entries, big, small):
    return Row(
        what=f"{entries}: from the start of a responder to the end of its first answer",
        measured=f"{big:.1f} ms",
        against=f"{small:.1f} ms",
        target=f"at most {MOST_START_MS} ms",
        met=big <= MOST_START_MS,
    )


def _show_row(entries, cover, rates):
    return Row(
        what=f"{entries}: showing the {cover.name}",
        measured=f"{statistics.median(rates.first):.0f} requests/s",
        against=f"{statistics.median(rates.second):.0f} requests/s",
        figure=f"{rates.ratio:.2f} (rounds {min(rates.ratios):.2f} to {max(rates.ratios):.2f})",
        target=f"at least {LEAST_RATIO:.2f}",
        met=rates.ratio >= LEAST_RATIO,
    )


def _fill_row(log):
    """The time to add an entry without flushing: for the last tenth of the entries, and for the first."""
    tenths = [line.split() for line in log.read_text().splitlines()]
    return Row(
        what=f"{int(tenths[-1][0]):,} entries: adding one of the last tenth, in memory",
        measured=f"{float(tenths[-1][1]):.0f} us",
        against=f"{float(tenths[0][1]):.0f} us (first tenth)",
    )
