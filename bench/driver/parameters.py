# SPDX-License-Identifier: MIT
"""The time to store many parameters in one request."""

import statistics
import time
import urllib.parse

from report import Row
from server import RESPONDER, Server, Site, read

TITLE = "Storing parameters, many with one request"
COUNT = 1000
WARM_UP = 3
MOST_MS = 50


def run(scale, folder):
    site = Site("sleevery", RESPONDER, folder / "parameters")
    times = {"new ones": [], "with other values": [], "deleted": []}
    with Server(site) as server:
        connection = server.connect()
        for _ in range(WARM_UP + scale.rounds):
            first, second = ([(f"name{number:04}", value * 20) for number in range(COUNT)] for value in "ab")
            for series, fields in zip(times.values(), (first, second, [("cmdDelete", name) for name, _ in first])):
                series.append(_post(connection, site, fields))
        connection.close()
    return [_row(what, series[WARM_UP:]) for what, series in times.items()]


def _post(connection, site, fields):
    """Returns milliseconds."""
    body = urllib.parse.urlencode(fields)
    start = time.perf_counter()
    connection.request("POST", f"/{site.name}/parameter", body, {"Content-Type": "application/x-www-form-urlencoded"})
    answer = read(connection)
    milliseconds = (time.perf_counter() - start) * 1000
    expected = 0 if fields[0][0] == "cmdDelete" else COUNT
    if answer.status != 200 or answer.body.count(b"<Parameter name=") != expected:
        raise RuntimeError(f"status {answer.status}: {answer.body[:500]!r}")
    return milliseconds


def _row(what, series):
    median = statistics.median(series)
    return Row(
        what=f"{COUNT:,} parameters, {what}",
        measured=f"{median:.1f} ms (rounds {min(series):.1f} to {max(series):.1f})",
        target=f"at most {MOST_MS} ms",
        met=median <= MOST_MS,
    )
