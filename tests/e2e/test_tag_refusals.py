# SPDX-License-Identifier: MIT
"""Song files that can't take a cover, names without a file, and odd names with one."""

import contextlib
import os
import sqlite3

import pytest
from jobs import COVERS, Cover, unchanged, with_music
from server import Server
from songs import KINDS, look
from waiting import wait_until

NOT_THERE = "The song file is not there."
NOT_REGULAR = "This is not a regular file."
OUTSIDE = "The song file is outside the folder that the parameter musicFolder names."

# Files that can't take a cover: the reason, and a function that makes the file from a good song and returns the path to request.
BAD = {}


def bad(reason):
    def keep(make):
        BAD[make.__name__] = (reason, make)
        return make

    return keep


@bad("The song file is read-only.")
def read_only(song):
    song.chmod(0o444)
    return song


@bad(NOT_THERE)
def missing(song):
    return song.with_name("missing.flac")


@bad(NOT_THERE)
def in_a_missing_folder(song):
    return song.parent / "missing" / song.name


@bad(NOT_REGULAR)
def a_folder(song):
    return song.parent


@bad(OUTSIDE)
def the_music_folder(song):
    return ""


@bad(NOT_REGULAR)
def a_named_pipe(song):
    os.mkfifo(song.with_name("pipe.flac"))
    return song.with_name("pipe.flac")


@bad("This is not a song file of a kind that can carry a cover.")
def no_audio(song):
    song.write_text("This is no song. " * 1000)
    return song


@bad("The song file is truncated.")
def truncated(song):
    song.write_bytes(song.read_bytes()[:30])
    return song


@bad("The song file is empty.")
def empty(song):
    song.write_bytes(b"")
    return song


@bad(NOT_THERE)
def a_link_to_nothing(song):
    song.with_name("link.flac").symlink_to("missing.flac")
    return song.with_name("link.flac")


@bad(NOT_THERE)
def a_link_to_itself(song):
    song.with_name("link.flac").symlink_to("link.flac")
    return song.with_name("link.flac")


@bad(NOT_THERE)
def below_a_file(song):
    return song / "song.flac"


@bad(NOT_THERE)
def name_too_long(song):
    return song.with_name("x" * 300)


def refuses(tagging, songs, folder, path):
    """Checks that this path is refused, that nothing below `folder` changes, and that the next file gets its cover. Returns the reason."""
    next_song = songs.copy("wav", tagging.music, f"next-{folder.name}.wav")
    entry = Cover(tagging, COVERS["JPEG"])
    with unchanged(folder):
        entry.write(path, next_song)
        jobs = entry.settled()
    assert [job.state for job in jobs] == ["failed", "done", "failed"], jobs
    assert jobs[0].reason.endswith(".") and jobs[2].reason.endswith("."), jobs
    assert not entry.is_gone()
    assert look(next_song, "wav").fronts == [COVERS["JPEG"]]
    return jobs[0].reason


@pytest.mark.parametrize("what", BAD)
def test_what_can_take_no_cover_stays_as_it_is(tagging, songs, folder, what):
    reason, make = BAD[what]
    path = make(songs.copy("flac", folder))
    assert refuses(tagging, songs, folder, path) == reason


@pytest.mark.parametrize("kind", KINDS)
def test_a_song_that_was_cut_off_stays_as_it_is(tagging, songs, folder, kind):
    song = songs.copy(kind, folder, noise_bytes=1_000_000)
    whole = song.read_bytes()
    for left in (len(whole) // 2, 40):
        song.write_bytes(whole[:left])
        assert refuses(tagging, songs, folder, song).endswith(" is truncated.")
    song.write_bytes(whole)
    Cover(tagging, COVERS["JPEG"]).write_all(song)


def test_a_song_outside_of_the_music_folder_stays_as_it_is(tagging, songs, folder):
    outside = tagging.music.with_name(tagging.music.name + "-other")  # the music folder's name is a prefix of it
    outside.mkdir()
    song = songs.copy("flac", outside)
    (folder / "link.flac").symlink_to(song)
    (folder / "folder").symlink_to(outside)
    for path in (song, folder / "link.flac", folder / "folder" / song.name, f"../{outside.name}/{song.name}",
                 f"{folder}/../../{outside.name}/{song.name}", "/etc/passwd", "/proc/self/mem"):
        with unchanged(folder):
            assert refuses(tagging, songs, outside, path) == OUTSIDE, path


def test_a_link_within_the_music_folder_leads_to_the_song(tagging, songs, folder):
    song = songs.copy("flac", folder)
    (folder / "deep").mkdir()
    (folder / "deep" / "link.flac").symlink_to("../flac.flac")
    (folder / "again").symlink_to("deep")
    Cover(tagging, COVERS["PNG"]).write_all(folder / "again" / "link.flac")
    assert (folder / "deep" / "link.flac").is_symlink() and (folder / "again").is_symlink() and not song.is_symlink()
    assert look(song, "flac").fronts == [COVERS["PNG"]]


def test_a_way_that_leaves_the_music_folder_and_comes_back_is_good(tagging, songs, folder):
    song = songs.copy("flac", folder)
    Cover(tagging, COVERS["PNG"]).write_all(f"../{tagging.music.name}/{folder.name}/./{song.name}")
    assert look(song, "flac").fronts == [COVERS["PNG"]]


def test_a_music_folder_that_is_a_link(songs, tmp_path):
    music = tmp_path / "real"
    music.mkdir()
    (tmp_path / "music").symlink_to("real")
    song = songs.copy("flac", music)
    with Server(processes=1) as server:
        with_music(server, tmp_path / "music")
        Cover(server, COVERS["PNG"]).write_all("flac.flac", tmp_path / "music" / "flac.flac", song)
    assert look(song, "flac").fronts == [COVERS["PNG"]]


def test_a_music_folder_that_is_none(songs, tmp_path):
    song = songs.copy("flac", tmp_path)
    with Server(processes=1) as server, unchanged(tmp_path):
        entry = Cover(server, COVERS["PNG"])
        for folder in (None, "", os.path.relpath(tmp_path), str(tmp_path / "missing"), str(song)):
            if folder is not None:
                server.post("parameter", {"musicFolder": folder})
            entry.write(song)
            *_, tag, delete = entry.settled()
            assert (tag.state, delete.state) == ("failed", "failed") and "musicFolder" in tag.reason, tag
        assert not entry.is_gone()


def test_an_entry_without_a_cover(tagging, songs, folder):
    song = songs.copy("flac", folder)
    entry = Cover(tagging, COVERS["PNG"])
    entry.write()
    assert [job.state for job in entry.settled()] == ["done"] and entry.is_gone()
    with unchanged(folder):
        entry.write(song)
        jobs = entry.settled()
    assert jobs[1].state == "failed" and jobs[1].reason.endswith("."), jobs


def test_an_unknown_cache_id(tagging, songs, folder):
    song = songs.copy("flac", folder)
    with unchanged(folder):
        assert tagging.post("writeTags", {"cacheID": "2000000000", "file": str(song)}).status_code == 200

        def states():
            with contextlib.closing(sqlite3.connect(tagging.state / "covers.db")) as store:
                return [state for state, in store.execute("SELECT state FROM jobs WHERE entry = 2000000000 ORDER BY id")]

        wait_until(lambda: states() == ["failed", "failed"], states)
    Cover(tagging, COVERS["PNG"]).write_all(song)


@pytest.mark.parametrize("name", ["K\u00e4se & <Brot> \"\u2669\".flac", "  blanks  .flac", "line\nend.flac", "-v.flac", "no extension"])
def test_a_relative_path_of_any_characters(tagging, songs, folder, name):
    song = songs.copy("flac", folder, name)
    Cover(tagging, COVERS["PNG"]).write_all(song.relative_to(tagging.music))
    assert look(song, "flac").fronts == [COVERS["PNG"]]


def test_a_path_that_is_no_utf_8(tagging, songs, folder):
    song = songs.copy("flac", folder)
    latin = os.fsencode(folder) + b"/Caf\xe9.flac"
    os.rename(song, latin)
    Cover(tagging, COVERS["PNG"]).write_all(latin)
    os.rename(latin, song)
    assert look(song, "flac").fronts == [COVERS["PNG"]]
