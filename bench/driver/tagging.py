# SPDX-License-Identifier: MIT
"""The time to write a cover into a large song file, against copying the file and flushing the copy."""

import os
import shutil
import statistics
import subprocess
import time
import urllib.parse

import covers
from report import Row
from server import BUILD, RESPONDER, Server, Site, read

TITLE = "Writing a cover into a FLAC file, against `cp` and `sync` of that file"
MOST_TIMES = 1.3
WARM_UP = 1


def run(scale, folder):
    music = folder / "music"
    music.mkdir()
    song = music / "song.flac"
    shutil.copy(_noise(scale.song_seconds), song)
    pictures = [covers.Cover("", "image/jpeg", covers.jpeg(covers.photo(1000, seed))) for seed in (1, 2)]
    copies, jobs = [], []
    site = Site("sleevery", RESPONDER, folder / "tagging")
    with Server(site) as server:
        connection = server.connect()
        _post(connection, site, "parameter", {"musicFolder": music})
        for number in range(WARM_UP + scale.songs):
            key = server.upload(site, pictures[number % 2], "Paper Lanterns")
            os.sync()
            copies.append(_copy(song, music / "copy.flac"))
            os.sync()
            jobs.append(_tag(connection, site, key))
        connection.close()
    return [_row(song.stat().st_size, statistics.median(jobs[WARM_UP:]), statistics.median(copies[WARM_UP:]))]


def _noise(seconds):
    """An incompressible song. It is kept for the next run."""
    song = BUILD / f"noise-{seconds}.flac"
    if not song.exists():
        unfinished = song.with_suffix(".part")
        source = f"anoisesrc=duration={seconds}:amplitude=0.9:color=white:sample_rate=44100:seed=1,aformat=channel_layouts=stereo"
        subprocess.run(["ffmpeg", "-y", "-v", "error", "-f", "lavfi", "-i", source, "-f", "flac", unfinished], check=True)
        unfinished.rename(song)
    return song


def _copy(song, copy):
    """Returns milliseconds."""
    start = time.perf_counter()
    subprocess.run(["/bin/sh", "-c", 'cp "$1" "$2" && sync "$2"', "sh", song, copy], check=True)
    milliseconds = (time.perf_counter() - start) * 1000
    copy.unlink()
    return milliseconds


def _tag(connection, site, key):
    """Returns milliseconds from the request to the first answer that calls the job done."""
    start = time.perf_counter()
    job = _post(connection, site, "writeTags", {"cacheID": key, "file": "song.flac"}).split(b'<Job id="')[1].split(b'"')[0]
    while b'state="done"' not in (line := _job(connection, site, job)):
        if b'state="failed"' in line:
            raise RuntimeError(f"the job has failed: {line}")
        time.sleep(0.002)
    return (time.perf_counter() - start) * 1000


def _job(connection, site, job):
    document = _post(connection, site, "query", {"artist": "Lowbeam"})
    return next(line for line in document.splitlines() if b'<Job id="%b"' % job in line)


def _post(connection, site, service, fields):
    body = urllib.parse.urlencode(fields)
    connection.request("POST", f"/{site.name}/{service}", body, {"Content-Type": "application/x-www-form-urlencoded"})
    return read(connection).body


def _row(size, job, copy):
    times = job / copy
    return Row(
        what=f"{size / 1e6:.0f} MB",
        measured=f"{job:.0f} ms",
        against=f"{copy:.0f} ms",
        figure=f"{times:.2f}",
        target=f"at most {MOST_TIMES}",
        met=times <= MOST_TIMES,
    )
