# SPDX-License-Identifier: MIT
"""Covers in song files of all formats: the new cover, and everything that must stay."""

import errno
import io
import os

import pytest
from jobs import COVERS, Cover, state_of, unchanged, with_music
from PIL import Image
from pictures import has_the_quarters, noise, png, upright
from server import Server
from songs import KINDS, OLD_BACK, OLD_FRONT, look
from web import COVERS as WEB_COVERS
from web import Web


@pytest.fixture(scope="module")
def untouched(songs, tmp_path_factory):
    """The content of the unchanged songs, as other programs read it."""
    folder = tmp_path_factory.mktemp("untouched")
    return {kind: look(songs.copy(kind, folder), kind) for kind in KINDS}


@pytest.mark.parametrize("kind", KINDS)
@pytest.mark.parametrize("cover", COVERS)
def test_a_song_gets_the_cover_and_keeps_everything_else(tagging, songs, untouched, folder, cover, kind):
    song = songs.copy(kind, folder)
    assert untouched[kind].fronts == [OLD_FRONT] and len(untouched[kind].others) == 1
    entry = Cover(tagging, COVERS[cover])
    ids = entry.write(song)
    jobs = entry.settled()
    assert [(job.kind, job.state, job.file, job.reason) for job in jobs] == [
        ("writeTag", "done", str(song), None), ("delete", "done", None, None)]
    assert [jobs[0].id] == ids
    seen = look(song, kind)
    assert seen.fronts == [COVERS[cover]] and seen.shown == COVERS[cover]
    assert seen.but_for_the_front() == untouched[kind].but_for_the_front()
    assert OLD_FRONT not in song.read_bytes()
    assert (OLD_BACK in song.read_bytes()) == (kind not in ("vorbis", "opus", "oggflac")), "there it is in base64"


@pytest.mark.parametrize("path", ["/cover.webp", "/cover.gif"])
def test_what_players_do_not_know_becomes_a_jpeg(tagging, songs, folder, path):
    song = songs.copy("flac", folder)
    entry = Cover(tagging, COVERS["PNG"])
    with Web() as web:
        tagging.post("update", {**entry.song, "url": web.url(path)})
    entry.write_all(song)
    (front,) = look(song, "flac").fronts
    with Image.open(io.BytesIO(front)) as image:
        assert image.format == "JPEG" and image.size == upright(WEB_COVERS[path]).size


LARGE = {
    "JPEG": lambda: noise(2300, "JPEG", quality=100, subsampling=0),
    "PNG": lambda: noise(2450, "PNG", compress_level=1),
}


@pytest.mark.parametrize("format", LARGE)
def test_a_picture_of_17_megabytes_arrives_smaller(tagging, songs, untouched, folder, format):
    picture = LARGE[format]()
    assert len(picture) > 17_000_000
    kinds = ("mp3-v2.3", "flac", "vorbis")
    files = [songs.copy(kind, folder) for kind in kinds]
    Cover(tagging, picture).write_all(*files)
    for kind, file in zip(kinds, files):
        seen = look(file, kind)
        assert len(seen.fronts) == 1 and seen.shown == seen.fronts[0]
        with Image.open(io.BytesIO(seen.shown)) as image:
            assert (image.format, image.size) == (format, (1200, 1200)) and has_the_quarters(image)
        assert seen.but_for_the_front() == untouched[kind].but_for_the_front()


def test_a_picture_that_no_song_has_room_for_arrives_smaller(songs, tmp_path):
    rooms = {"mp3-v2.3": 10_000_000, "flac": 10_000_000, "vorbis": 7_500_000}
    files = {kind: songs.copy(kind, tmp_path) for kind in rooms}
    with Server(processes=1) as server:
        with_music(server, tmp_path, maxTagPictureSide="10000")
        Cover(server, LARGE["JPEG"]()).write_all(*files.values())
    for kind, room in rooms.items():
        (front,) = look(files[kind], kind).fronts
        assert len(front) <= room
        with Image.open(io.BytesIO(front)) as image:
            assert image.format == "JPEG" and has_the_quarters(image)


def test_longer_pictures_are_scaled_down_upright(songs, tmp_path):
    song = songs.copy("flac", tmp_path)
    with Server(processes=1) as server:
        with_music(server, tmp_path, maxTagPictureSide="100")
        for size in ((100, 60), (60, 100)):
            Cover(server, png(size)).write_all(song)
            assert look(song, "flac").fronts == [png(size)], "not longer"
        for size, smaller in {(101, 50): (100, 49), (50, 101): (49, 100), (1000, 1): (100, 1)}.items():
            Cover(server, png(size)).write_all(song)
            assert upright(look(song, "flac").shown).size == smaller
        turned = io.BytesIO()
        exif = Image.Exif()
        exif[0x0112] = 6  # viewers turn the picture by 90 degrees
        with Image.open(io.BytesIO(noise(600, "PNG"))) as image:
            image.rotate(90).crop((0, 0, 600, 300)).resize((600, 150)).save(turned, "JPEG", exif=exif)
        Cover(server, turned.getvalue()).write_all(song)
        shown = look(song, "flac").shown
        assert upright(shown).size == (25, 100)
        expected = upright(turned.getvalue()).resize((2, 2), Image.Resampling.BOX)
        found = upright(shown).resize((2, 2), Image.Resampling.BOX)
        assert max(abs(a - b) for one, other in zip(expected.getdata(), found.getdata()) for a, b in zip(one, other)) < 16


def test_a_song_that_has_the_cover_is_not_touched(tagging, songs, folder):
    song = songs.copy("flac", folder)
    Cover(tagging, COVERS["JPEG"]).write_all(song)
    with unchanged(folder):
        Cover(tagging, COVERS["JPEG"]).write_all(song)


def test_another_name_of_the_song_keeps_the_old_one(tagging, songs, folder):
    song = songs.copy("flac", folder)
    (folder / "other").hardlink_to(song)
    before = state_of(folder / "other")
    Cover(tagging, COVERS["JPEG"]).write_all(song)
    assert state_of(folder / "other") == before
    assert look(song, "flac").fronts == [COVERS["JPEG"]]


@pytest.mark.parametrize("mode", [0o600, 0o664, 0o2755])
def test_the_song_keeps_its_mode(tagging, songs, folder, mode):
    song = songs.copy("flac", folder)
    song.chmod(mode)
    Cover(tagging, COVERS["JPEG"]).write_all(song)
    assert song.stat().st_mode & 0o7777 == mode


def test_the_song_keeps_its_owner(tagging, songs, folder):
    if os.getuid() != 0:
        pytest.skip("only root gives files away")
    song = songs.copy("flac", folder)
    os.chown(song, 1234, 2345)
    song.chmod(0o640)
    Cover(tagging, COVERS["JPEG"]).write_all(song)
    status = song.stat()
    assert (status.st_uid, status.st_gid, status.st_mode & 0o7777) == (1234, 2345, 0o640)


def test_the_song_keeps_its_extended_attributes(tagging, songs, folder):
    song = songs.copy("flac", folder)
    attributes = {"user.x": b"value", "user.sleevery.odd": b"\0\xff", "user.empty": b""}
    try:
        for name, value in attributes.items():
            os.setxattr(song, name, value)
    except OSError as error:
        if error.errno != errno.ENOTSUP:
            raise
        pytest.skip("the file system has no extended attributes")
    Cover(tagging, COVERS["JPEG"]).write_all(song)
    assert {name: os.getxattr(song, name) for name in os.listxattr(song)} == attributes
