# SPDX-License-Identifier: MIT
"""The time of queries in a store with very many entries, against the same queries in a store with few."""

import contextlib
import random
import re
import shutil
import sqlite3
import statistics
import time
import urllib.parse

import filled
from report import Row
from server import RESPONDER, Server, Site, read

TITLE = "Queries in a store with very many entries, against the same ones in one with few"
FEW_ENTRIES = 10_000
FIELDS = ("artist", "album", "title")
WARM_UP = 3
MOST_MS = 5
MOST_TIMES = 3


def run(scale, folder):
    sites = [_site(folder / "big", scale.entries), _site(folder / "small", FEW_ENTRIES)]
    songs = _songs(sites, scale.queries)
    typed = _typed(songs)
    kinds = {
        "three fields, each up to somewhere in its last word": (typed, True),
        "three fields, three letters each": (_beginnings(songs, 3), False),
        "three fields, one letter each": (_beginnings(songs, 1), False),
        "an artist up to somewhere in the last word": ([{"artist": song["artist"]} for song in typed], False),
        "a title up to somewhere in the last word": ([{"title": song["title"]} for song in typed], False),
        "a title, two letters": ([{"title": song["title"]} for song in _beginnings(songs, 2)], False),
        "a title, one letter": ([{"title": song["title"]} for song in _beginnings(songs, 1)], False),
        "no field": ([{}] * len(songs), False),
    }
    with Server(*sites) as server:
        return [_row(server, sites, f"{scale.entries:,} entries: {what}", *kind) for what, kind in kinds.items()]


def _site(state, entries):
    state.mkdir()
    shutil.copy(filled.store(entries) / "covers.db", state)
    return Site(state.name, RESPONDER, state)


def _songs(sites, count):
    """Songs that are in the stores of all sites."""
    numbers = range(1, FEW_ENTRIES, FEW_ENTRIES // count)[:count]
    [songs, *others] = [[_song(site, number) for number in numbers] for site in sites]
    if any(songs != other for other in others):
        raise RuntimeError("the stores begin with different entries")
    return songs


def _song(site, number):
    with contextlib.closing(sqlite3.connect(site.state / "covers.db")) as store:
        return dict(zip(FIELDS, store.execute("SELECT artist, album, title FROM entries WHERE id = ?", [number]).fetchone()))


def _typed(songs):
    """The names, each cut off somewhere in its last word, as if somebody were still typing."""
    random_ = random.Random(1)  # the same in every run
    return [{name: text[: random_.randint(text.rfind(" ") + 2, len(text))] for name, text in song.items()} for song in songs]


def _beginnings(songs, letters):
    return [{name: text[:letters].strip() for name, text in song.items()} for song in songs]


def _row(server, sites, what, queries, has_target):
    """Sends every query to one site and then to the other."""
    times, totals = ([], []), ([], [])
    with contextlib.closing(server.connect()) as connection:
        for query in queries[:WARM_UP] + queries:
            for number, site in enumerate(sites):
                milliseconds, total = _ask(connection, site, query)
                times[number].append(milliseconds)
                totals[number].append(total)
    big, small = (statistics.median(series[WARM_UP:]) for series in times)
    return Row(
        what=f"{what}; {statistics.median(totals[0][WARM_UP:]):,.0f} found",
        measured=f"{big:.1f} ms (slowest {max(times[0][WARM_UP:]):.1f})",
        against=f"{small:.1f} ms; {statistics.median(totals[1][WARM_UP:]):,.0f} found",
        figure=f"{big / small:.1f}",
        target=f"at most {MOST_MS} ms and {MOST_TIMES} times" if has_target else "",
        met=big <= MOST_MS and big / small <= MOST_TIMES if has_target else None,
    )


def _ask(connection, site, query):
    """Returns milliseconds and the number of matching entries."""
    body = urllib.parse.urlencode(query)
    start = time.perf_counter()
    connection.request("POST", f"/{site.name}/query", body, {"Content-Type": "application/x-www-form-urlencoded"})
    answer = read(connection)
    milliseconds = (time.perf_counter() - start) * 1000
    found = re.search(rb'<Query total="(\d+)">', answer.body)
    if found is None:
        raise RuntimeError(f"a query was answered with status {answer.status}: {answer.body[:500]!r}")
    return milliseconds, int(found[1])
