# SPDX-License-Identifier: MIT
"""Questions for covers and albums, and what their answers say."""

import contextlib
import sqlite3

from documents import document

SONG = {"artist": "Lowbeam", "album": "Paper Lanterns", "title": "Quiet Harbour"}
ALBUM_SOURCES = ["musicbrainz", "itunes", "deezer", "lastfm", "audiodb", "discogs", "amazon"]
PICTURE_SOURCES = ["coverartarchive", "fanarttv"]
SOURCES = ALBUM_SOURCES + PICTURE_SOURCES


def configure(server, **parameters):
    answer = server.post("parameter", parameters)
    assert answer.status_code == 200, answer.text


def change_store(server, *commands):
    with contextlib.closing(sqlite3.connect(server.state / "covers.db", timeout=60)) as store, store:
        for command in commands:
            store.execute(command)


def after_a_day(server):
    """The services may be asked at once again."""
    change_store(server, "UPDATE services SET turn = 0")


def forget(server):
    """As if no service had ever been asked for anything."""
    change_store(server, "DELETE FROM answers", "DELETE FROM services")


def suggest(server, fields):
    return document(server.post("suggest", fields), "CoverartInformation")


def guess(server, fields):
    return document(server.post("guessAlbum", fields), "AlbumNames")


def states(root):
    return {source.get("name"): source.get("state") for source in root.iterfind("WebSource")}


def reasons(root):
    """Why sources failed."""
    return {source.get("name"): source.get("reason") for source in root.iterfind("WebSource") if source.get("state") == "failed"}


def found(root):
    return {source.get("name"): int(source.get("found")) for source in root.iterfind("WebSource")}


def texts(root, path):
    return [element.text or "" for element in root.iterfind(path)]


def suggestion_from(root, source):
    """The best one that this source, too, has named."""
    return next(each for each in root.iterfind("Suggestion") if source in texts(each, "Source"))


def sources_of(root):
    """Whoever has named at least one of the suggestions."""
    return set(texts(root, "Suggestion/Source"))
