# SPDX-License-Identifier: MIT
"""How often the right album is ranked first, for songs with typical tags."""

import concurrent.futures
import contextlib
import re
import sqlite3

import pytest
from catalogue import catalogue, songs, words
from lxml import etree
from server import Server
from services import Services

MBID = "[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}"
LEAST_FIRST = 0.90
LEAST_IN_TOP_THREE = 0.97


@pytest.fixture(scope="module")
def responder():
    with Services() as services, Server() as server:
        answer = server.post("parameter", {**services.parameters(), "lookupTimeout": "60"})
        assert answer.status_code == 200, answer.text
        yield server


def after_a_day(server):
    """Resets the rate limits, so that the services can be asked at once."""
    with contextlib.closing(sqlite3.connect(server.state / "covers.db", timeout=60)) as store, store:
        store.execute("UPDATE services SET turn = 0")


def fields(song, *names):
    return {name: song[name] for name in names if name in song} | ({"sampler": "on"} if song.get("sampler") else {})


def suggested(responder, song):
    """The release groups of the suggested pictures, the best first, each once. The stand-ins' URLs name the release."""
    after_a_day(responder)
    answer = responder.post("suggest", fields(song, "artist", "album", "title"))
    root = etree.fromstring(answer.content)
    assert root.tag == "CoverartInformation", answer.text[:500]
    pictures = [re.search(MBID, element.text).group() for element in root.iterfind("Suggestion/ImageUrl")]
    return list(dict.fromkeys(catalogue().releases[picture].group.id for picture in pictures))


def guessed(responder, song):
    """Names and artists of the suggested albums, the best first."""
    after_a_day(responder)
    answer = responder.post("guessAlbum", fields(song, "artist", "title"))
    root = etree.fromstring(answer.content)
    assert root.tag == "AlbumNames", answer.text[:500]
    return [(album.findtext("Name"), album.findtext("Artist")) for album in root.iterfind("Album")]


def is_named(name, group):
    """True if the name is the title of one of the group's releases."""
    return any(words(name) == words(release.title) for release in group.releases)


def place(found, is_right):
    return next((number for number, one in enumerate(found, 1) if is_right(one)), None)


def judged(songs, place_of):
    """Asks for all songs. Prints the songs with another album first, and requires that they are few."""
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        places = list(pool.map(place_of, songs))
    for song, where in zip(songs, places):
        if where != 1:
            print(f"{where or 'not found'}: {song}")
    first = sum(where == 1 for where in places)
    in_top_three = sum(where is not None and where <= 3 for where in places)
    print(f"first: {first} of {len(songs)}, top three: {in_top_three} of {len(songs)}")
    assert first >= LEAST_FIRST * len(songs) and in_top_three >= LEAST_IN_TOP_THREE * len(songs)


def test_the_right_cover_is_suggested(responder):
    """Only for albums with a picture in at least one service."""
    groups = catalogue().groups
    judged([song for song in songs() if any(release.cover for release in groups[song["group"]].releases)],
           lambda song: place(suggested(responder, song), lambda group: group == song["group"]))


def test_the_right_album_is_guessed(responder):
    """Only for songs without an album in their tags. Otherwise artist and title may rightly lead to another album."""
    groups = catalogue().groups
    judged([song for song in songs() if "album" not in song],
           lambda song: place(guessed(responder, song), lambda album: is_named(album[0], groups[song["group"]])))
