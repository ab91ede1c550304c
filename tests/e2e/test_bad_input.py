# SPDX-License-Identifier: MIT
"""Bad input gets a clear answer. It changes no stored data, and the same process serves the next request."""

import contextlib
import os
import pathlib
import sqlite3

import pytest
from answers import exception, png_of, stored_key
from disks import fill_up, small_disk
from namespaces import with_mounts
from pictures import content_type, fixture, png
from server import Server

SENTENCES = {
    "web-page.jpg": "This is a web page or an XML document, not an image.",
    "truncated.jpg": "The JPEG image is truncated.",
    "no-end.jpg": "The JPEG image is truncated.",
    "no-end.png": "The PNG image is truncated.",
    "checksum-data.png": "The PNG image is damaged.",
    "checksum-header.png": "The PNG image is damaged.",
    "many-scans.jpg": "The JPEG image is of a kind that is not supported.",
    "lying-size.png": "The PNG image is truncated.",
    "too-many-pixels.png": "The image has 3600000000 pixels; at most 64000000 are accepted.",
    "still.gif": "Only JPEG and PNG images are accepted.",
    "lossy.webp": "Only JPEG and PNG images are accepted.",
}
GOOD = png(seed=77)


@contextlib.contextmanager
def unharmed(server):
    """Checks that a cover and its process survive the `with` block."""
    key = stored_key(server.upload(GOOD, "image/png", artist="Kept", title="Cover"))
    pids = sorted(server.responder_pids())
    yield key
    assert png_of(server.get("show", key=key)) == GOOD
    assert sorted(server.responder_pids()) == pids
    assert stored_key(server.upload(GOOD, "image/png", artist="Kept", title="Cover")) == key


@pytest.fixture(scope="module")
def one_process():
    with Server(processes=1) as server:
        yield server


@pytest.mark.parametrize("name", SENTENCES)
def test_images_that_are_none(one_process, name):
    with unharmed(one_process):
        answer = one_process.upload(fixture(name), content_type(name), name, artist="Bad", title=name)
        assert (answer.status_code, answer.text) == (200, exception(SENTENCES[name]))


def test_an_empty_file(one_process):
    with unharmed(one_process):
        answer = one_process.upload(b"", artist="Bad", title="Empty")
        assert "    <Size>0</Size>\n" in answer.text
        assert answer.text.endswith('  <Error code="-3">Unknown error on storing image to cache</Error>\n</Upload>\n')


def test_a_file_over_the_limit(one_process):
    with unharmed(one_process):
        answer = one_process.upload(b"\x89PNG\r\n\x1a\n" + bytes(33 * 1024 * 1024), "image/png", artist="Bad", title="Big")
        assert answer.text == exception("The image is larger than 33554432 bytes.")
        assert one_process.upload(bytes(50 * 1024 * 1024), artist="Bad", title="Bigger").status_code == 413


def test_texts_that_are_none(one_process):
    with unharmed(one_process):
        nasty = b"\x01\x1b[2J\xff\xfe<&>\r\n"
        key = stored_key(one_process.upload(png(), "image/png", artist=nasty, title=nasty))
        assert png_of(one_process.get("show", key=key)) == png()
        one_process.upload(b"no image", artist=nasty, title=b"still empty")
        listed = one_process.get("showEmpty").content.decode("utf-8")
        assert "\x01" not in listed and "\x1b" not in listed
        assert "\u00ff\u00fe&lt;&amp;&gt;" in listed
        assert "\x1b" not in one_process.messages() and "artist: \\x01\\x1B[2J" in one_process.messages()


def test_an_artist_of_a_megabyte(one_process):
    with unharmed(one_process):
        before = len(one_process.messages())
        answer = one_process.upload(png(), "image/png", artist="x" * 1_000_000, title="Long")
        assert answer.text == exception("The artist is longer than 1024 bytes.")
        assert len(one_process.messages()) - before < 2000


def test_a_full_disk(tmp_path):
    state = tmp_path / "state"
    state.mkdir()
    with Server(state, processes=1, prefix=small_disk(state)) as server:
        filler = pathlib.Path(f"/proc/{server.lighttpd.pid}/root{state}/filler")
        with unharmed(server):
            fill_up(filler)
            answer = server.upload(png((700, 700)), "image/png", artist="No", title="Space")
            assert answer.text == exception("The disk with the cover store is full; nothing was changed."), answer.text
            filler.unlink()
            assert stored_key(server.upload(png(seed=3), "image/png", artist="Some", title="Space")) > 0


def test_a_disk_that_is_full_at_the_start(tmp_path):
    state = tmp_path / "state"
    state.mkdir()
    full = with_mounts(f"mount -t tmpfs -o size=3m none {state} && ! dd if=/dev/zero of={state}/filler bs=4k 2>/dev/null")
    code, words = start_alone(state, full)
    assert code == 1
    assert words.splitlines()[-1] == "sleevery.fcgi: ended: The disk with the cover store is full; nothing was changed."


def test_a_disk_without_space_for_the_png_of_a_jpeg(tmp_path):
    state = tmp_path / "state"
    state.mkdir()
    with Server(state, processes=1, prefix=small_disk(state)) as server:
        filler = pathlib.Path(f"/proc/{server.lighttpd.pid}/root{state}/filler")
        key = stored_key(server.upload(fixture("baseline.jpg"), artist="A", title="T"))
        fill_up(filler)
        assert png_of(server.get("show", key=key)), "it is shown all the same"
        assert "rendition" in server.messages()


def as_nobody():
    return ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"] if os.getuid() == 0 else []


def start_alone(state, prefix=()):
    """Starts a responder without a socket, so that it only checks its store. Returns its exit code and its messages."""
    import subprocess

    from server import RESPONDER

    done = subprocess.run([*prefix, str(RESPONDER)], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          env={**os.environ, "STATE_DIRECTORY": str(state)}, timeout=60)
    return done.returncode, done.stderr


def test_a_state_folder_that_cant_be_written(tmp_path):
    state = tmp_path / "state"
    state.mkdir(mode=0o555)
    for folder in (tmp_path, tmp_path.parent, tmp_path.parent.parent):
        folder.chmod(0o755)
    code, words = start_alone(state, as_nobody())
    assert code == 1
    assert words == f"sleevery.fcgi: ended: The state folder {state} can't be used: Permission denied.\n"


def test_a_database_that_is_garbage_at_the_start(tmp_path):
    garbage = b"garbage" * 5000
    (tmp_path / "covers.db").write_bytes(garbage)
    code, words = start_alone(tmp_path)
    assert code == 1
    assert words.splitlines()[-1] == (
        "sleevery.fcgi: ended: The cover store is damaged; restore it from a backup or move it away.")
    assert len(words.splitlines()) == 2, words
    assert (tmp_path / "covers.db").read_bytes() == garbage


def test_a_database_of_a_newer_version(tmp_path):
    assert start_alone(tmp_path) == (0, "")
    with contextlib.closing(sqlite3.connect(tmp_path / "covers.db")) as store:
        store.execute("PRAGMA user_version = 1000")
    code, words = start_alone(tmp_path)
    assert code == 1 and "newer version" in words and len(words.splitlines()) == 1


def test_a_database_that_becomes_garbage_while_it_is_in_use(one_process):
    with unharmed(one_process) as key:
        database = one_process.state / "covers.db"
        with contextlib.closing(sqlite3.connect(database)) as store:
            store.execute("PRAGMA wal_checkpoint(TRUNCATE)")
        good = database.read_bytes()
        with database.open("r+b") as file:
            file.write(b"garbage!" * (len(good) // 8))
        try:
            for answer in (one_process.get("show", key=key), one_process.upload(png(), "image/png", artist="Not", title="Now"),
                           one_process.get("showEmpty")):
                assert answer.text == exception("The cover store is damaged; restore it from a backup or move it away.")
        finally:
            with database.open("r+b") as file:
                file.write(good)


def test_a_database_locked_by_another_program(one_process):
    with unharmed(one_process) as key:
        with contextlib.closing(sqlite3.connect(one_process.state / "covers.db", isolation_level=None)) as other:
            other.execute("BEGIN IMMEDIATE")
            answer = one_process.upload(png(), "image/png", artist="Has to", title="Wait")
            assert answer.text == exception("The cover store is in use by another program; try again.")
            assert png_of(one_process.get("show", key=key)) == GOOD, "reading goes on"
            other.execute("ROLLBACK")
        assert stored_key(one_process.upload(png(), "image/png", artist="Has to", title="Wait")) > 0
