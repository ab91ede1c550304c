# SPDX-License-Identifier: MIT
"""The time to upload a new cover, against the least that an upload has to do: decode and commit."""

import statistics
import subprocess
import time

import covers
from report import Row
from server import PROGRAMS, RESPONDER, Server, Site, read, stored_key, upload_form

TITLE = "Uploading a new cover, against one decode and one flushed commit of the same bytes"
SIDE = 1000
WARM_UP = 3
MOST_TIMES = 1.5


class Floor:
    """The program that only decodes and commits, as a context manager."""

    def __init__(self, database):
        self._command = [PROGRAMS / "bench/upload_floor", database]

    def __enter__(self):
        self._process = subprocess.Popen(self._command, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        return self

    def __exit__(self, *_):
        self._process.communicate()

    def measure(self, content):
        """Returns the milliseconds of the decode and of the commit."""
        self._process.stdin.write(b"%d\n%b" % (len(content), content))
        self._process.stdin.flush()
        return tuple(map(float, self._process.stdout.readline().split()))


def run(scale, folder):
    site = Site("sleevery", RESPONDER, folder / "upload")
    photo = covers.photo(SIDE, seed=SIDE)
    times, decodes, commits = [], [], []
    with Server(site) as server, Floor(folder / "floor.db") as floor:
        connection = server.connect()
        for number in range(WARM_UP + scale.uploads):
            cover = covers.Cover("", "image/jpeg", covers.jpeg(covers.variant(photo, number)))
            times.append(send(connection, site, cover, f"Album {number}"))
            decode, commit = floor.measure(cover.content)
            decodes.append(decode)
            commits.append(commit)
        connection.close()
    return [_row(len(cover.content), *(_median(series) for series in (times, decodes, commits)))]


def send(connection, site, cover, album):
    """Returns milliseconds."""
    content_type, body = upload_form(cover, album)
    start = time.perf_counter()
    connection.request("POST", f"/{site.name}/upload", body, {"Content-Type": content_type})
    answer = read(connection)
    milliseconds = (time.perf_counter() - start) * 1000
    stored_key(answer)
    return milliseconds


def _median(series):
    return statistics.median(series[WARM_UP:])


def _row(size, upload, decode, commit):
    times = upload / (decode + commit)
    return Row(
        what=f"{SIDE} x {SIDE} JPEG, {size // 1000} kB, a new song",
        measured=f"{upload:.1f} ms",
        against=f"{decode + commit:.1f} ms (decode {decode:.1f} + commit {commit:.1f})",
        figure=f"{times:.2f}",
        target=f"at most {MOST_TIMES}",
        met=times <= MOST_TIMES,
    )
