# SPDX-License-Identifier: MIT
"""The made-up discography of the stand-ins for web services, with its searches."""

import functools
import json
import pathlib
import re
import unicodedata
import uuid
from typing import NamedTuple

FIXTURES = pathlib.Path(__file__).resolve().parents[1] / "fixtures" / "matching"
VARIOUS_ARTISTS = "Various Artists"
_LETTERS = str.maketrans({"ø": "o", "ł": "l", "æ": "ae", "œ": "oe", "ı": "i", "þ": "th", "ð": "d", "đ": "d"})
_APOSTROPHES = re.compile("['’‘`´]")
_WORD = re.compile("[\u3040-\u30ff\u3400-\u9fff][\u3099\u309a]?|[^\\W_\u3040-\u30ff\u3400-\u9fff]+")


def _is_dropped(mark):
    return unicodedata.combining(mark) and mark not in "\u3099\u309a"


def words(text):
    """Splits a text as search engines do: folded, with each Japanese character as a word. Symbols only count if there is nothing else."""
    folded = unicodedata.normalize("NFKD", text.casefold())
    folded = "".join(c for c in folded if not _is_dropped(c)).casefold().translate(_LETTERS)
    folded = re.sub(r"(?<!\w)(\w)\.(?=\w(?!\w))", r"\1", _APOSTROPHES.sub("", folded))
    return _WORD.findall(folded.replace("&", " and ")) or _WORD.findall(folded) or text.split()


class Track(NamedTuple):
    title: str
    artist: str


class Release:
    def __init__(self, data, group):
        self.id, self.date, self.status, self.country = data["id"], data["date"], data["status"], data["country"]
        self.title = data.get("title", group.title)
        self.disambiguation = data.get("disambiguation", "")
        self.cover = data["cover"]  # the length of its sides in pixels; None: no cover
        self.group = group
        self.artist = group.artist
        self.tracks = group.tracks + [Track(title, group.artist) for title in data.get("extra", [])]


class Group:
    def __init__(self, data):
        self.id, self.title, self.artist = data["id"], data["title"], data["artist"]
        self.primary, self.secondary = data["primary"], data["secondary"]
        self.tracks = [Track(track, self.artist) if isinstance(track, str) else Track(track["title"], track["artist"])
                       for track in data["tracks"]]
        self.releases = [Release(release, self) for release in data["releases"]]

    @property
    def type(self):
        return self.secondary[0] if self.secondary else self.primary

    @property
    def pictured(self):
        """The earliest release with a cover. Its cover represents the whole group."""
        return next((release for release in sorted(self.releases, key=lambda r: r.date) if release.cover), None)


class Recording:
    def __init__(self, key, title, artist, is_live):
        self.id = str(uuid.uuid5(uuid.NAMESPACE_URL, repr(key)))
        self.title, self.artist, self.is_live = title, artist, is_live
        self.releases = []  # pairs of a release and a track number

    @property
    def first_date(self):
        return min(release.date for release, _ in self.releases)


class Catalogue:
    def __init__(self):
        data = json.loads((FIXTURES / "catalogue.json").read_text())
        self.artists = {artist["name"]: artist for artist in data["artists"]}
        self.groups = {group["id"]: Group(group) for group in data["groups"]}
        self.releases = {release.id: release for group in self.groups.values() for release in group.releases}
        self.recordings = self._recordings()

    def _recordings(self):
        """One recording for each song of an artist, and another one for each live album."""
        found = {}
        for release in self.releases.values():
            live = release.group.id if "Live" in release.group.secondary else ""
            for number, track in enumerate(release.tracks, 1):
                key = (tuple(words(track.artist)), tuple(words(track.title)), live)
                recording = found.setdefault(key, Recording(key, track.title, track.artist, bool(live)))
                recording.releases.append((release, number))
        return list(found.values())

    def artist_id(self, name):
        known = self.artists.get(name)
        return known["id"] if known else str(uuid.uuid5(uuid.NAMESPACE_URL, f"artist {name}"))

    def alias(self, name):
        return self.artists.get(name, {}).get("alias", "")

    @property
    def shop_releases(self):
        """The releases that shops sell: only official ones."""
        return [release for release in self.releases.values() if release.status == "Official"]

    def find_albums(self, query):
        wanted = words(query)
        return [release for release in self.shop_releases
                if wanted and set(wanted) <= set(words(f"{release.artist} {release.title}"))]

    def find_tracks(self, query):
        wanted = words(query)
        return [(release, track) for release in self.shop_releases for track in release.tracks
                if wanted and set(wanted) <= set(words(f"{track.artist} {track.title} {release.title}"))]

    def named(self, artist, album):
        """The releases with exactly these names."""
        return [release for release in self.shop_releases
                if words(release.artist) == words(artist) and words(release.title) == words(album)]


@functools.cache
def catalogue():
    return Catalogue()


@functools.cache
def songs():
    """Songs with the tags of their files. Each has the right release `group`, and `is`, a description of it for people."""
    return json.loads((FIXTURES / "songs.json").read_text())
