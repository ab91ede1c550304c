# SPDX-License-Identifier: MIT
"""Song files on full disks, and other limits of the system."""

import contextlib
import pathlib
import subprocess
import time

import pytest
from disks import fill_up, small_disk
from jobs import COVERS, Cover, temporary_files, unchanged, with_music
from pictures import noise
from server import Server
from songs import look


@pytest.fixture(scope="module", autouse=True)
def hopeless(songs, tmp_path_factory):
    """A job on a full disk. It starts before the first test, because giving it up takes longer than any of the tests."""
    with on_a_small_disk(songs, tmp_path_factory.mktemp("hopeless"), "size=16m") as (server, song):
        fill_with_bytes(song.parent)
        entry = Cover(server, COVERS["JPEG"])
        with unchanged(song.parent):
            began = time.monotonic()
            entry.write(song.name)
            yield entry, began


@contextlib.contextmanager
def on_a_small_disk(songs, tmp_path, options):
    """A server, and a song on a separate disk."""
    music = tmp_path / "music"
    music.mkdir()
    with Server(tmp_path / "state", processes=1, prefix=small_disk(music, options)) as server:
        inside = pathlib.Path(f"/proc/{server.lighttpd.pid}/root{music}")
        yield with_music(server, music), songs.copy("flac", inside, noise_bytes=3_000_000)


def fill_with_bytes(folder):
    fill_up(folder / "filler")


def fill_with_files(folder):
    with contextlib.suppress(OSError):
        for number in range(100):
            (folder / f"filler-{number}").touch()


def empty_out(folder):
    for filler in folder.glob("filler*"):
        filler.unlink()


@pytest.mark.parametrize("options, fill", [("size=16m", fill_with_bytes), ("size=16m,nr_inodes=50", fill_with_files)])
def test_a_full_disk_is_tried_again(songs, tmp_path, options, fill):
    with on_a_small_disk(songs, tmp_path, options) as (server, song):
        pids = server.wait_for_responders()
        fill(song.parent)
        entry = Cover(server, COVERS["JPEG"])
        with unchanged(song.parent):
            entry.write(song.name)
            tag, delete = entry.postponed()
        assert "space" in tag.reason and (tag.state, delete.state) == ("queued", "queued") and not entry.is_gone()
        empty_out(song.parent)
        assert [job.state for job in entry.settled()] == ["done", "done"]
        assert look(song, "flac").fronts == [COVERS["JPEG"]]
        assert temporary_files(song.parent) == [] and server.responder_pids() == pids


FILE_LIMIT = 2_000_000


@pytest.mark.parametrize("noise_bytes", [3_000_000, 1_900_000], ids=["the song is beyond it", "the song grows beyond it"])
def test_a_limit_of_the_size_of_files(songs, tmp_path, noise_bytes):
    """The write fails halfway through the file."""
    song = songs.copy("flac", tmp_path, noise_bytes=noise_bytes)
    assert (song.stat().st_size > FILE_LIMIT) == (noise_bytes > FILE_LIMIT)
    picture = noise(400, "JPEG", quality=100)
    assert len(picture) > 200_000
    with Server(processes=1, prefix=["prlimit", f"--fsize={FILE_LIMIT}:unlimited", "--"]) as server:
        with_music(server, tmp_path)
        pids = server.wait_for_responders()
        entry = Cover(server, picture)
        with unchanged(tmp_path):
            entry.write(song.name)
            jobs = entry.settled()
            assert [job.state for job in jobs] == ["failed", "failed"] and jobs[0].reason.endswith("."), jobs
        for pid in pids:
            subprocess.run(["prlimit", f"--pid={pid}", "--fsize=unlimited:unlimited"], check=True)
        entry.write(song.name)
        assert [job.state for job in entry.settled()[2:]] == ["done", "done"]
        assert server.responder_pids() == pids, "nobody died"
    assert look(song, "flac").fronts == [picture] and temporary_files(tmp_path) == []


def test_a_disk_that_stays_full_is_given_up(hopeless):
    entry, began = hopeless
    tag, delete = entry.settled()
    assert time.monotonic() - began > 1 + 2 + 4 + 8, "there was time for the disk to become less full"
    assert (tag.state, delete.state) == ("failed", "failed") and "space" in tag.reason and not entry.is_gone()
