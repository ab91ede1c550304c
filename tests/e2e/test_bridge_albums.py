# SPDX-License-Identifier: MIT
"""The appliance's commands for albums, through the bridge to a real MPD."""

import library
import pytest
from bridge import Bridge, command, refusal, texts
from mpd import Mpd

ALBUMS = {
    "of twenty songs": (library.TWENTY, {"Album": "Twenty Songs", "Artist": "The Scores"}),
    "without its artist": (library.TWENTY, {"Album": "Twenty Songs"}),
    "with the artist spelled otherwise": (library.TWENTY, {"Album": "Twenty Songs", "Artist": " the SCORES! "}),
    "with its name in other case": (library.TWENTY, {"Album": "tWENTY sONGS", "Artist": "The Scores"}),
    "of two discs in two folders": (library.TWO_DISCS, {"Album": "Long Player", "Artist": "The Pair"}),
    "a sampler": (library.SAMPLER, {"Album": "Summer Hits", "Sampler": "1"}),
    "a sampler that nobody calls so": (library.SAMPLER, {"Album": "Summer Hits"}),
    "a sampler by its album artist": (library.SAMPLER, {"Album": "Summer Hits", "Artist": library.VARIOUS, "Sampler": "0"}),
    "a sampler by the artist of a song": (library.SAMPLER, {"Album": "Summer Hits", "Artist": "Three"}),
    "a sampler with an artist": (library.SAMPLER, {"Album": "Summer Hits", "Artist": "Nobody at all", "Sampler": "1"}),
    "a sampler without album artists": (library.UNTAGGED_SAMPLER, {"Album": "Mixtape", "Sampler": "1"}),
    "the same by the artist of a song": (library.UNTAGGED_SAMPLER, {"Album": "Mixtape", "Artist": "Six"}),
    "one of two of the same name": (library.FIRST_HITS, {"Album": "Greatest Hits", "Artist": "Anna Berg"}),
    "the other, without album artist": (library.SECOND_HITS, {"Album": "Greatest Hits", "Artist": "Carl"}),
    "of neither artist": ([], {"Album": "Greatest Hits", "Artist": "Berta"}),
    "without numbers": (library.NUMBERLESS, {"Album": "Numberless"}),
    "with and without numbers": (library.PARTLY_NUMBERED, {"Album": "Partly"}),
    "without titles": (library.TITLELESS, {"Album": "Untitled", "Artist": "The Nameless"}),
    "without an artist": (library.ARTISTLESS, {"Album": "Anonymous"}),
    "without the artist that is asked for": ([], {"Album": "Anonymous", "Artist": "Carl"}),
    "that nobody knows": ([], {"Album": "No Such Album"}),
    "with a name that goes on": ([], {"Album": "Twenty Songs 2"}),
    "with a name that is cut short": ([], {"Album": "Twenty"}),
    **{f"called {name}": (library.odd(artist, name), {"Album": name, "Artist": artist}) for artist, name in library.ODD_NAMES},
}


def expected(song):
    """The elements that an answer has for a song."""
    number, disc = (text and text.partition("/")[0] for text in (song.number, song.disc))
    told = {"Number": number, "Disc": disc, "Title": song.title, "Artist": song.artist, "Album": song.album,
            "AlbumArtist": song.album_artist, "Length": "600" if song in library.LONG else "1", "File": song.file}
    return {name: text for name, text in told.items() if text is not None}


def songs(bridge, **fields):
    status, root = bridge.command(command("GetAlbumSongs", **fields))
    assert (status, root.tag, {song.tag for song in root} - {"Song"}) == (200, "AlbumSongs", set()), root.text
    return [texts(song) for song in root]


@pytest.mark.parametrize("album", ALBUMS)
def test_the_songs_of_an_album(bridge, album):
    wanted, fields = ALBUMS[album]
    assert songs(bridge, **fields) == list(map(expected, wanted))


@pytest.mark.parametrize("album", ALBUMS)
def test_an_album_goes_to_the_end_of_the_queue(bridge, mpd, album):
    wanted, fields = ALBUMS[album]
    mpd.ask("add", library.LONG[0].file)
    answer = bridge.request(command("AddAlbum", **fields))
    if wanted:
        assert answer.status == 200 and texts(answer.root()) == {"Count": str(len(wanted))}
    else:
        assert refusal(answer) == (200, -4)
    assert mpd.queue() == [song.file for song in [*library.LONG, *wanted]]
    assert mpd.status()["state"] == "stop"


def test_the_fields_may_come_in_any_order(bridge):
    document = b"<GetAlbumSongs>\n <Sampler>0</Sampler><Artist>Carl</Artist>\n<Album>Greatest Hits</Album> </GetAlbumSongs>"
    assert len(bridge.request(document).root()) == len(library.SECOND_HITS)


def test_albums_of_one_name_come_together_when_no_artist_is_named(bridge):
    found = songs(bridge, Album="Greatest Hits")
    for album in (library.FIRST_HITS, library.SECOND_HITS):
        assert [song for song in found if song["Artist"] == album[0].artist] == list(map(expected, album))
    assert len(found) == len(library.FIRST_HITS) + len(library.SECOND_HITS)


def test_an_album_can_be_added_twice(bridge, mpd):
    for _ in range(2):
        bridge.command(command("AddAlbum", Album="Long Player"))
    assert mpd.queue() == 2 * [song.file for song in library.TWO_DISCS]


@pytest.mark.parametrize("album", ["Mixtape\nclear", 'Mixtape"\nclear\n', "Mixtape\r\nclear\r\n"])
def test_a_name_with_lines_is_no_command_to_mpd(bridge, mpd, album):
    mpd.ask("add", library.LONG[0].file)
    for name in ("GetAlbumSongs", "AddAlbum", "ListAlbums"):
        answer = bridge.request(command(name, **{"Artist" if name == "ListAlbums" else "Album": album}))
        assert answer.status == 200 and answer.root().find("*") is None
    assert mpd.queue() == [library.LONG[0].file]
    assert bridge.command(command("GetPlayerState"))[1].findtext("QueueLength") == "1"


@pytest.mark.parametrize("fields", [{}, {"Artist": "Carl"}, {"Album": ""}, {"Album": "Mixtape", "Sampler": "yes"},
                                    {"Album": "Mixtape", "Sampler": ""}, {"Album": "Mixtape", "Sampler": "2"},
                                    {"Album": "Mixtape", "Title": "x"}, {"album": "Mixtape"}], ids=str)
@pytest.mark.parametrize("name", ["GetAlbumSongs", "AddAlbum"])
def test_refuses_wrong_fields(bridge, mpd, name, fields):
    assert refusal(bridge.request(command(name, **fields))) == (200, -3)
    assert mpd.queue() == []


def test_all_songs_of_an_album_are_added_or_none(music):
    with Mpd(music, settings='max_playlist_length "10"') as mpd, Bridge(mpd.socket) as bridge:
        mpd.ask("add", library.LONG[0].file)
        assert refusal(bridge.request(command("AddAlbum", Album="Twenty Songs"))) == (200, -5)
        assert mpd.queue() == [library.LONG[0].file]


def albums(bridge, **fields):
    status, root = bridge.command(command("ListAlbums", **fields))
    assert (status, root.tag) == (200, "Albums")
    return [(album.findtext("Artist"), album.findtext("Name")) for album in root]


def listed(songs):
    """The expected albums. For a song without an album artist, MPD uses the artist."""
    return {(song.album_artist or song.artist, song.album) for song in songs if song.album}


def test_lists_the_albums(bridge):
    found = albums(bridge)
    assert len(found) == len(set(found))
    assert set(found) == listed([*library.SPECIAL, *library.ordinary(14)])
    bands = [pair for pair in found if pair[0] and pair[0].startswith("Band")]
    assert len(bands) == 14 and bands == sorted(bands)


def test_every_album_that_is_listed_has_songs(bridge):
    for artist, name in albums(bridge):
        assert name in {song["Album"] for song in songs(bridge, Album=name, Artist=artist)}


def test_lists_the_albums_of_an_artist(bridge):
    assert albums(bridge, Artist="Anna Berg") == [("Anna Berg", "Greatest Hits")]
    assert albums(bridge, Artist="Band 3") == [("Band 3", "Ordinary Album 10"), ("Band 3", "Ordinary Album 3")]
    assert albums(bridge, Artist="No Such Artist") == []


@pytest.mark.parametrize(("artist", "name"), library.ODD_NAMES)
def test_lists_the_albums_of_an_odd_artist(bridge, artist, name):
    assert albums(bridge, Artist=artist) == [(artist, name)]
