# SPDX-License-Identifier: MIT
"""The time of suggestions from kept answers, against suggestions that ask all services."""

import statistics
import sys
import time
import urllib.parse

from report import Row
from server import RESPONDER, ROOT, Server, Site, read

sys.path.append(str(ROOT / "tests/e2e"))

from catalogue import songs  # noqa: E402
from services import Services  # noqa: E402

TITLE = "Suggestions, the second time against the first"
SONGS = 8  # every service answers this many without a pause
ROUNDS_PER_ROUND = 20
MOST_MS = 5


def run(scale, folder):
    site = Site("sleevery", RESPONDER, folder / "suggestions")
    asked = songs()[:SONGS]
    rows = []
    with Services() as services, Server(site) as server:
        connection = server.connect()
        _post(connection, site, "parameter", services.parameters())
        for service, what in {"suggest": "covers", "guessAlbum": "albums"}.items():
            first = [_post(connection, site, service, _fields(song)) for song in asked]
            before = len(services.requests)
            second = [_post(connection, site, service, _fields(song))
                      for _ in range(scale.rounds * ROUNDS_PER_ROUND) for song in asked]
            if len(services.requests) != before:
                raise RuntimeError("a service was asked for what is kept")
            rows += [_row(what, first, second)]
        connection.close()
    return rows


def _fields(song):
    return {name: song[name] for name in ("artist", "album", "title") if name in song}


def _post(connection, site, service, fields):
    """Returns milliseconds."""
    start = time.perf_counter()
    connection.request("POST", f"/{site.name}/{service}", urllib.parse.urlencode(fields),
                       {"Content-Type": "application/x-www-form-urlencoded"})
    answer = read(connection)
    if answer.status != 200 or b"failed" in answer.body:
        raise RuntimeError(f"status {answer.status}: {answer.body[-500:]!r}")
    return (time.perf_counter() - start) * 1000


def _row(what, first, second):
    median = statistics.median(second)
    return Row(
        what=f"{what} for {SONGS} songs",
        measured=f"{median:.1f} ms, 99 % within {statistics.quantiles(second, n=100)[98]:.1f} (asked: {statistics.median(first):.0f} ms)",
        target=f"at most {MOST_MS} ms",
        met=median <= MOST_MS,
    )
