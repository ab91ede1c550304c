# SPDX-License-Identifier: MIT
"""The services that use the appliance, with the bridge and a real MPD."""

import time

import library
import pytest
from answers import exception
from bridge import Bridge
from documents import document
from jobs import COVERS, Cover, with_music
from lxml import etree
from mutagen.flac import FLAC
from mpd import Mpd
from server import Server

SLACK_SECONDS = 5  # for a busy machine

ALBUMS = {
    "twenty songs": (library.TWENTY, {}),
    "two discs": (library.TWO_DISCS, {}),
    "a sampler": (library.SAMPLER, {"artist": "", "sampler": "on"}),
    "a sampler by the artist of a song": (library.SAMPLER, {}),
    "a sampler without album artists": (library.UNTAGGED_SAMPLER, {"artist": "", "sampler": "on"}),
    "one of two of the same name": (library.FIRST_HITS, {}),
    "the other": (library.SECOND_HITS, {}),
    "unknown": ([], {"artist": "Nobody", "album": "Nothing"}),
    **{f"called {name}": (library.odd(artist, name), {}) for artist, name in library.ODD_NAMES},
}


@pytest.fixture(scope="module")
def appliance(shared_mpd):
    """A responder with the bridge on a Unix socket as its appliance."""
    with Bridge(shared_mpd.socket, socket=shared_mpd.folder / "bridge") as bridge, Server(processes=1) as server:
        server.post("parameter", {"deviceUrl": f"unix:{bridge.socket}"})
        yield server


@pytest.mark.parametrize("album", ALBUMS)
def test_tracks_are_what_mpd_has(appliance, mpd, album):
    songs, fields = ALBUMS[album]
    asked = {"artist": songs[0].artist, "album": songs[0].album, **fields} if songs else fields
    tracks = document(appliance.post("tracks", asked), "AlbumSongs").findall("Track")
    assert [track.findtext("File") for track in tracks] == [song.file for song in songs]
    assert [track.findtext("Title") for track in tracks] == [song.title for song in songs]


def test_commands_arrive_at_mpd(appliance, mpd):
    answer = appliance.post("quavionAPI", {"xmlString": " <SetVolume><Volume>23</Volume></SetVolume>"})
    assert answer.status_code == 200 and b"<Volume>23</Volume>" in answer.content
    assert mpd.status()["volume"] == "23"
    answer = appliance.post("quavionAPI", {"xmlString": "<AddAlbum><Album>Twenty Songs</Album></AddAlbum>"})
    assert b"<Count>20</Count>" in answer.content and mpd.queue() == [song.file for song in library.TWENTY]


@pytest.fixture(scope="module")
def own_mpd(tmp_path_factory):
    folder = tmp_path_factory.mktemp("own") / "music"
    library.make(folder, library.TWENTY)
    with Mpd(folder) as running:
        yield running


@pytest.fixture(scope="module")
def chain(own_mpd):
    """A bridge with a time-out of one second for MPD, and a responder that uses it."""
    with Bridge(own_mpd.socket, options=["--mpd-timeout", "1"]) as bridge, Server(processes=1) as server:
        server.post("parameter", {"deviceUrl": f"http://127.0.0.1:{bridge.port}/"})
        yield bridge, server


def state(server):
    return server.post("quavionAPI", {"xmlString": "<GetPlayerState/>"}).text


def twenty(server):
    return server.post("tracks", {"artist": "The Scores", "album": "Twenty Songs"}).text


def works(server):
    return "<State>stopped</State>" in state(server) and twenty(server).count("<Track>") == 20


def test_tracks_can_be_given_to_the_tag_jobs(own_mpd, chain):
    _, server = chain
    with_music(server, own_mpd.music)
    tracks = document(server.post("tracks", {"artist": "The Scores", "album": "Twenty Songs"}), "AlbumSongs").findall("Track")
    Cover(server, COVERS["JPEG"]).write_all(*(track.findtext("File") for track in tracks))
    for song in library.TWENTY:
        assert [picture.data for picture in FLAC(own_mpd.music / song.file).pictures] == [COVERS["JPEG"]]


def away(sentence):
    return exception(f"The appliance answered with status 503: The music server {sentence}.")


def test_mpd_may_be_restarted_between_two_requests(own_mpd, chain):
    _, server = chain
    for _ in range(3):
        assert works(server)
        own_mpd.restart()
    assert works(server)


def test_mpd_that_is_away_is_named(own_mpd, chain):
    _, server = chain
    own_mpd.stop()
    assert state(server) == twenty(server) == away("can't be reached")
    own_mpd.start()
    assert works(server)


def test_mpd_that_hangs_is_named_in_time(own_mpd, chain):
    _, server = chain
    own_mpd.freeze()
    begin = time.monotonic()
    assert state(server) == twenty(server) == away("does not answer in time")
    assert time.monotonic() - begin < 2 * (1 + SLACK_SECONDS)
    own_mpd.thaw()
    assert works(server)


def test_a_bridge_that_is_away_is_named(own_mpd, chain):
    bridge, server = chain
    assert works(server)
    bridge.end()
    assert state(server) == twenty(server) == exception("The appliance can't be reached.")
    bridge.start()
    assert works(server)


REFUSED = {"": -1, "  ": -1, "no <xml": -1, "<GetPlayerState>": -1, "<Öffne/>": -2, "<GetPlayerState>☃</GetPlayerState>": -3,
           "<AddAlbum><Album>&lt;b&gt; Ä ☃</Album></AddAlbum>": -4}


@pytest.mark.parametrize("command", REFUSED)
def test_what_the_bridge_refuses_is_a_reply(appliance, mpd, command):
    answer = appliance.post("quavionAPI", {"xmlString": command})
    assert answer.content.startswith(b'<?xml version="1.0" encoding="UTF-8"?>\n<Error ')
    assert etree.fromstring(answer.content).get("code") == str(REFUSED[command])
