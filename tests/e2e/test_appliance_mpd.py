# SPDX-License-Identifier: MIT
"""The services that turn to the appliance, with the bridge and a real MPD for one."""

import library
import pytest
from bridge import Bridge
from documents import document
from server import Server

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
    """A responder whose appliance is the bridge on a Unix socket."""
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
