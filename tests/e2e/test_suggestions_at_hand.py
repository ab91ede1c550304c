# SPDX-License-Identifier: MIT
"""Suggestions without the web: from the song's file, from its folder and from the cache."""

import hashlib
import itertools
import os

import pytest
from answers import png_of, stored_key
from jobs import Cover, unchanged
from lookups import SONG, SOURCES, configure, guess, sources_of, suggest, suggestion_from, texts
from pictures import fixture, png, upright
from server import Server
from songs import KINDS, OLD_FRONT
from test_update import update, updated_key

SEEDS = itertools.count(5000)


@pytest.fixture(scope="module")
def library(tmp_path_factory):
    """A server without web sources. `music` is its music folder."""
    with Server() as server:
        server.music = tmp_path_factory.mktemp("music")
        configure(server, musicFolder=str(server.music), sources="")
        yield server


@pytest.fixture
def album(library, request):
    """A folder for the songs of one test."""
    own = library.music / request.node.name.replace("/", "_")
    own.mkdir()
    return own


def picture():
    return png((20, 20), seed=next(SEEDS))


def cover_url(data):
    return "cover:" + hashlib.sha256(data).hexdigest()


def known(library, songs, album, kind="flac", name="song.flac"):
    """A song with its cover written into the file `path`. Afterwards the file is replaced by one with another cover."""
    cover = Cover(library, picture())
    cover.path = songs.copy(kind, album, name)
    cover.write_all(cover.path)
    songs.copy(kind, album, name)
    return cover


def offered(library, song):
    """Sources and URL of each suggestion, the best first."""
    return [(texts(each, "Source"), each.findtext("ImageUrl")) for each in suggest(library, song).iterfind("Suggestion")]


def urls(library, song):
    return {url for _, url in offered(library, song)}


def complaints(library):
    return [line for line in library.messages().splitlines() if "no picture from the song's" in line]


def stays_a_stranger(library, song, data):
    """True if a picture is not in the store."""
    return cover_url(data) not in urls(library, song) and "Error code=\"-5\"" in update(library, cover_url(data), **song).text


@pytest.mark.parametrize("kind", KINDS)
def test_the_picture_in_the_file_is_the_first(library, songs, album, kind):
    cover = known(library, songs, album, kind, f"song.{kind}")
    with unchanged(album):
        root = suggest(library, cover.song)
    first = root.find("Suggestion")
    assert texts(first, "Source") == ["file"] and first.findtext("ImageUrl") == cover_url(OLD_FRONT)
    assert first.findtext("Reason") == "The song's own file has it."
    assert [first.findtext(name) for name in ("Artist", "Album", "Title", "Width", "Height")] == [*cover.song.values(), "40", "40"]
    assert first.find("Page") is None and first.find("ThumbnailUrl") is None
    assert sources_of(root) >= {"file", "earlier"}


def test_what_file_and_cache_have_in_common_is_offered_once(library, songs, album):
    data = picture()
    cover = Cover(library, data)
    cover.write_all(songs.copy("flac", album, "song.flac"))
    assert offered(library, cover.song) == [(["file", "earlier"], cover_url(data))]
    cover.upload(data)
    (album / "COVER.PNG").write_bytes(data)
    assert offered(library, cover.song) == [(["file", "folder", "current"], cover_url(data))]


@pytest.mark.parametrize("name, data", [("folder.jpg", fixture("baseline.jpg")), ("Cover.PNG", fixture("rgba.png")),
                                        ("FRONT.JPEG", fixture("orientation-6.jpg"))], ids=["jpg", "png", "jpeg"])
def test_the_picture_beside_the_file(library, songs, album, name, data):
    cover = known(library, songs, album)
    for other in album.glob("[Ff]older.jpg"):
        other.unlink()
    (album / name).write_bytes(data)
    found = offered(library, cover.song)
    assert [sources for sources, _ in found] == [["file"], ["folder"], ["earlier"]]
    assert found[1][1] == cover_url(data)
    assert updated_key(update(library, found[1][1], **cover.song)) == cover.key
    assert upright(png_of(library.get("show", key=cover.key))).tobytes() == upright(data).tobytes()


def test_current_and_earlier_covers(library):
    pictures = [picture() for _ in range(4)]
    cover = Cover(library, pictures[0])
    for data in pictures[1:]:
        cover.upload(data)
    assert offered(library, cover.song) == [
        (["current"], cover_url(pictures[3])), *((["earlier"], cover_url(data)) for data in pictures[2::-1])]
    for data in pictures:
        updated_key(update(library, cover_url(data), **cover.song))
        assert offered(library, cover.song)[0] == (["current"], cover_url(data))
        assert urls(library, cover.song) == set(map(cover_url, pictures))


def test_other_entries(library):
    data = picture()
    song = {"artist": "Marlow", "title": "Humid"}
    stored_key(library.upload(data, "image/png", **song))
    root = suggest(library, {"title": "Humid"})
    first = suggestion_from(root, "cache")
    assert (first.findtext("Artist"), first.findtext("ImageUrl")) == ("Marlow", cover_url(data))
    assert first.findtext("Reason").startswith("Another entry of the cache has it. ")
    assert suggest(library, {"artist": "Barlow & Sons", "title": "Dry"}).find("Suggestion") is None
    other = {"artist": "Marlow", "album": "Greenhouse", "title": "Humid"}
    assert suggest(library, other).find("Suggestion") is None, "its album is another one"


def test_an_album_is_guessed_from_other_entries(library):
    stored_key(library.upload(picture(), "image/png", artist="Ísold", album="Hraun", title="Eldur"))
    root = guess(library, {"artist": "isold", "title": "ELDUR"})
    assert [(each.findtext("Name"), each.findtext("Artist"), texts(each, "Source")) for each in root.iterfind("Album")] == [
        ("Hraun", "Ísold", ["cache"])]


def test_without_a_music_folder_no_file_is_read(library, songs, album):
    cover = known(library, songs, album)
    configure(library, musicFolder="")
    found = urls(library, cover.song)
    configure(library, musicFolder=str(library.music))
    assert cover_url(OLD_FRONT) not in found
    assert cover_url(OLD_FRONT) in urls(library, cover.song)


@pytest.mark.parametrize("lead", ["absolute", "dots", "link", "linked folder"])
def test_files_outside_the_music_folder_are_not_read(songs, tmp_path, lead):
    music, outside = tmp_path / "music", tmp_path / "outside"
    music.mkdir()
    outside.mkdir()
    song = songs.copy("flac", outside, "song.flac")
    (outside / "folder.jpg").write_bytes(fixture("baseline.jpg"))
    (music / "link.flac").symlink_to(song)
    (music / "folder").symlink_to(outside)
    path = {"absolute": song, "dots": "../outside/song.flac", "link": "link.flac", "linked folder": "folder/song.flac"}[lead]
    with Server(processes=1) as server, unchanged(outside):
        configure(server, musicFolder=str(music), sources="")
        cover = Cover(server, picture())
        cover.write(path)
        assert {job.state for job in cover.settled()} == {"failed"}
        assert [sources for sources, _ in offered(server, cover.song)] == [["current"]]
        for data in (OLD_FRONT, fixture("baseline.jpg")):
            assert stays_a_stranger(server, cover.song, data)
        assert len(complaints(server)) >= 2


@pytest.mark.parametrize("target", ["outside", "device", "nowhere", "itself"])
def test_a_folder_picture_that_leads_elsewhere_is_not_read(library, songs, album, tmp_path, target):
    secret = tmp_path / "secret.png"
    secret.write_bytes(picture())
    cover = known(library, songs, album)
    image = album / "folder.jpg"
    image.unlink(missing_ok=True)
    image.symlink_to({"outside": secret, "device": "/dev/zero", "nowhere": tmp_path / "nothing", "itself": "folder.jpg"}[target])
    assert [sources for sources, _ in offered(library, cover.song)] == [["file"], ["earlier"]]
    assert stays_a_stranger(library, cover.song, secret.read_bytes())


def test_a_song_that_became_a_link_is_not_read(library, songs, album, tmp_path):
    cover = known(library, songs, album)
    (album / "folder.jpg").unlink(missing_ok=True)
    cover.path.unlink()
    cover.path.symlink_to(songs.copy("flac", tmp_path))
    assert [sources for sources, _ in offered(library, cover.song)] == [["earlier"]]


BROKEN = {
    "empty": b"", "noise": bytes(range(256)) * 64, "a text": b"<html>no song</html>", "no end": b"fLaC" + b"\x84\xff\xff\xff" + bytes(64),
    "a huge tag": b"ID3\x04\x00\x00\x7f\x7f\x7f\x7fAPIC\x7f\x7f\x7f\x7f\x00\x00" + bytes(64),
}


@pytest.mark.parametrize("content", BROKEN)
def test_a_broken_song_harms_nothing(library, songs, album, content):
    cover = known(library, songs, album)
    (album / "folder.jpg").write_bytes(fixture("baseline.jpg"))
    pids = library.wait_for_responders()
    cover.path.write_bytes(BROKEN[content])
    assert [sources for sources, _ in offered(library, cover.song)] == [["folder"], ["earlier"]]
    assert library.wait_for_responders() == pids


def put_folder_picture(album, name):
    """Puts a folder.jpg into the folder that is not a good JPEG."""
    image = album / "folder.jpg"
    image.unlink(missing_ok=True)
    if name == "folder":
        image.mkdir()
    elif name == "pipe":
        os.mkfifo(image)
    elif name == "huge":
        image.write_bytes(fixture("baseline.jpg"))
        os.truncate(image, 1 << 40)
    else:
        image.write_bytes(b"" if name == "empty" else fixture(name))


@pytest.mark.parametrize("name", ["lying-size.png", "no-end.jpg", "truncated.gif", "too-many-pixels.png", "web-page.jpg", "empty", "folder",
                                  "pipe", "huge"])
def test_a_broken_picture_harms_nothing(library, songs, album, name):
    cover = known(library, songs, album)
    put_folder_picture(album, name)
    pids = library.wait_for_responders()
    assert [sources for sources, _ in offered(library, cover.song)] == [["file"], ["earlier"]]
    assert library.wait_for_responders() == pids


def test_a_picture_whose_pixels_are_broken_is_not_taken(library, songs, album):
    """Suggests the picture although it is damaged, because suggestions only need its header."""
    cover = known(library, songs, album)
    put_folder_picture(album, "checksum-data.png")
    url = cover_url(fixture("checksum-data.png"))
    assert url in urls(library, cover.song)
    assert "Error code=\"-5\"" in update(library, url, **cover.song).text
    assert sources_of(suggest(library, cover.song)) == {"file", "folder", "earlier"}


def test_a_song_that_is_gone_harms_nothing(library, songs, album):
    cover = known(library, songs, album)
    cover.path.unlink()
    for other in album.iterdir():
        other.unlink()
    album.rmdir()
    assert [sources for sources, _ in offered(library, cover.song)] == [["earlier"]]


def test_what_is_at_hand_and_the_web_stand_in_one_list(responder, services, songs, tmp_path):
    song = songs.copy("flac", tmp_path, "song.flac")
    configure(responder, musicFolder=str(tmp_path))
    cover = Cover(responder, picture())
    cover.song = SONG
    cover.key = cover.upload(picture())
    cover.write_all(song)
    songs.copy("flac", tmp_path, "song.flac")
    cover.upload(picture())
    root = suggest(responder, SONG)
    order = [texts(each, "Source")[0] for each in root.iterfind("Suggestion")]
    assert set(order[:-3]) == set(SOURCES) - {"musicbrainz"} and order[-3:] == ["file", "current", "earlier"], "a perfect hit is better"
    scores = [float(each.get("score")) for each in root.iterfind("Suggestion")]
    assert min(scores[:-3]) > 0.96 == scores[-3] > scores[-2] > scores[-1]
