# SPDX-License-Identifier: MIT
"""The cost of the link to the appliance: listing an album's songs, against MPD's own answer, and uploads while the appliance is dead."""

import contextlib
import itertools
import socket
import statistics
import sys
import time
import urllib.parse

import covers
import upload
from processes import WAIT_SECONDS
from report import Row
from server import RESPONDER, ROOT, Server, Site, read

sys.path.append(str(ROOT / "tests/e2e"))

import library  # noqa: E402
from bridge import Bridge  # noqa: E402
from mpd import Mpd, quoted  # noqa: E402

TITLE = "The appliance: an album's songs, against MPD's own answer; uploads while it is dead, against none"
ALBUM = library.TWENTY
WARM_UP = 5
MOST_TIMES, MOST_MORE_MS = 2, 1
SIDE = 500


def run(scale, folder):
    return [_tracks(scale, folder / str(songs), songs) for songs in scale.libraries] + _uploads(scale, folder)


def _tracks(scale, folder, songs):
    folder.mkdir()
    at_hand = [*library.SPECIAL, *itertools.islice(_ordinary(), songs - len(library.SPECIAL))]
    library.make(folder / "music", at_hand)
    site = Site("sleevery", RESPONDER, folder / "tracks")
    answers, finds = [], []
    with Mpd(folder / "music") as mpd, Bridge(mpd.socket, socket=mpd.folder / "bridge") as bridge, Server(site) as server:
        connection = server.connect()
        _post(connection, site, "parameter", {"deviceUrl": f"unix:{bridge.socket}"})
        with _connected(mpd) as direct:
            for _ in range(WARM_UP + scale.tracks):
                answers.append(_ask(connection, site))
                finds.append(_find(direct))
        connection.close()
    return _tracks_row(len(at_hand), statistics.median(answers[WARM_UP:]), statistics.median(finds[WARM_UP:]))


def _ordinary():
    """An endless sequence of songs. A large library begins with the same albums as a small one."""
    return library.ordinary(sys.maxsize)


def _ask(connection, site):
    """Returns milliseconds."""
    start = time.perf_counter()
    answer = _post(connection, site, "tracks", {"artist": ALBUM[0].artist, "album": ALBUM[0].album})
    milliseconds = (time.perf_counter() - start) * 1000
    if answer.body.count(b"<File>") != len(ALBUM):
        raise RuntimeError(f"status {answer.status}: {answer.body[:500]!r}")
    return milliseconds


@contextlib.contextmanager
def _connected(mpd):
    with socket.socket(socket.AF_UNIX) as connection:
        connection.connect(str(mpd.socket))
        connection.recv(100)
        yield connection


def _find(connection):
    """Returns milliseconds. The answer is not parsed, because that would take Python longer than MPD needs."""
    start = time.perf_counter()
    connection.sendall(f"find album {quoted(ALBUM[0].album)}\n".encode())
    answer = b""
    while not answer.endswith(b"\nOK\n"):
        answer += connection.recv(65536)
    milliseconds = (time.perf_counter() - start) * 1000
    if answer.count(b"file: ") != len(ALBUM):
        raise RuntimeError(f"MPD says {answer[:500]!r}")
    return milliseconds


def _post(connection, site, service, fields):
    body = urllib.parse.urlencode(fields)
    connection.request("POST", f"/{site.name}/{service}", body, {"Content-Type": "application/x-www-form-urlencoded"})
    return read(connection)


def _tracks_row(songs, answer, find):
    most = MOST_TIMES * find + MOST_MORE_MS
    return Row(
        what=f"{len(ALBUM)} songs out of {songs:,}",
        measured=f"{answer:.2f} ms",
        against=f"{find:.2f} ms (find)",
        figure=f"{answer / find:.1f}",
        target=f"at most {MOST_TIMES} x find + {MOST_MORE_MS} ms = {most:.2f} ms",
        met=answer <= most,
    )


def _uploads(scale, folder):
    """Sends each cover in turn to a responder without an appliance and to two responders with a dead appliance."""
    names = ("none", "silent", "refusing")
    sites = [Site(name, RESPONDER, folder / f"upload-{name}") for name in names]
    times = {name: [] for name in names}
    photo = covers.photo(SIDE, seed=SIDE)
    with socket.create_server(("127.0.0.1", 0), backlog=1024) as silent, socket.socket() as refusing, Server(*sites) as server:
        refusing.bind(("127.0.0.1", 0))  # bound, but not listening
        connection = server.connect()
        for site, dead in zip(sites[1:], (silent, refusing)):
            _post(connection, site, "parameter", {"deviceUrl": f"http://127.0.0.1:{dead.getsockname()[1]}/"})
        for number in range(WARM_UP + scale.uploads):
            cover = covers.Cover("", "image/jpeg", covers.jpeg(covers.variant(photo, number)))
            turn = number % len(sites)
            for site in sites[turn:] + sites[:turn]:
                times[site.name].append(upload.send(connection, site, cover, f"Album {number}"))
        connection.close()
        silent.settimeout(WAIT_SECONDS)
        silent.accept()[0].close()  # fails if no responder has tried to connect
    medians = {name: statistics.median(series[WARM_UP:]) for name, series in times.items()}
    return [_upload_row(name, medians[name], medians["none"]) for name in names[1:]]


def _upload_row(name, with_one, without):
    return Row(
        what=f"an upload, the appliance is {name}",
        measured=f"{with_one:.2f} ms",
        against=f"{without:.2f} ms (no appliance set)",
        figure=f"{with_one - without:+.2f} ms",
        target=f"less than {MOST_MORE_MS} ms more",
        met=with_one - without < MOST_MORE_MS,
    )
