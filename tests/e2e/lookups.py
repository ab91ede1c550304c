# SPDX-License-Identifier: MIT
"""Look-ups of covers and albums, and functions that extract parts of the answers."""

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
    """Resets the rate limits, so that the services can be asked at once."""
    change_store(server, "UPDATE services SET turn = 0")


def forget(server):
    """Deletes all answers and states of services from the store."""
    change_store(server, "DELETE FROM answers", "DELETE FROM services")


def suggest(server, fields):
    return document(server.post("suggest", fields), "CoverartInformation")


def guess(server, fields):
    return document(server.post("guessAlbum", fields), "AlbumNames")


def states(root):
    return {source.get("name"): source.get("state") for source in root.iterfind("WebSource")}


def reasons(root):
    """Maps each failed source to its reason."""
    return {source.get("name"): source.get("reason") for source in root.iterfind("WebSource") if source.get("state") == "failed"}


def found(root):
    return {source.get("name"): int(source.get("found")) for source in root.iterfind("WebSource")}


def texts(root, path):
    return [element.text or "" for element in root.iterfind(path)]


def suggestion_from(root, source):
    """The best suggestion that names this source."""
    return next(each for each in root.iterfind("Suggestion") if source in texts(each, "Source"))


def sources_of(root):
    """All sources of at least one suggestion."""
    return set(texts(root, "Suggestion/Source"))
