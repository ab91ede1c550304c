# SPDX-License-Identifier: MIT
"""Answers of MusicBrainz searches, from the catalogue."""

import uuid
from xml.sax.saxutils import escape, quoteattr

import lucene
from catalogue import VARIOUS_ARTISTS, catalogue

NAMESPACES = 'xmlns="http://musicbrainz.org/ns/mmd-2.0#" xmlns:ns2="http://musicbrainz.org/ns/ext#-2.0"'
RELEASES_PER_RECORDING = 25
MOST_RESULTS = 100
DEFAULT_RESULTS = 25
_JOINTS = (" feat. ", " with ", " con ")


def error(text):
    return ('<?xml version="1.0" encoding="UTF-8"?>\n<error><text>' + escape(text) + "</text><text>For usage, please see: "
            "https://musicbrainz.org/development/mmd</text></error>\n").encode()


def _fixed_id(text):
    return str(uuid.uuid5(uuid.NAMESPACE_URL, text))


def _element(name, text, identify=False):
    return f"<{name}{' id=' + quoteattr(_fixed_id(text)) if identify else ''}>{escape(text)}</{name}>" if text else ""


def _name_credit(name, joint=""):
    details = _element("disambiguation", "add compilations to this artist" if name == VARIOUS_ARTISTS else "")
    artist = f"<artist id={quoteattr(catalogue().artist_id(name))}><name>{escape(name)}</name><sort-name>{escape(name)}</sort-name>"
    attribute = f" joinphrase={quoteattr(joint)}" if joint else ""
    return f"<name-credit{attribute}><name>{escape(name)}</name>{artist}{details}</artist></name-credit>"


def _credit(artist):
    credits = _name_credit(artist)
    for joint in _JOINTS:
        first, found, guest = artist.partition(joint)
        if found:
            credits = _name_credit(first, joint) + _name_credit(guest)
    return f"<artist-credit id={quoteattr(_fixed_id(artist))}>{credits}</artist-credit>"


def _group(group):
    secondary = "".join(_element("secondary-type", kind, identify=True) for kind in group.secondary)
    return (f'<release-group id="{group.id}" type={quoteattr(group.type)} type-id="{_fixed_id(group.type)}">'
            f"{_element('title', group.title)}{_element('primary-type', group.primary, identify=True)}"
            + (f"<secondary-type-list>{secondary}</secondary-type-list>" if secondary else "") + "</release-group>")


def _release(release, score=None, artist="", media=""):
    attribute = "" if score is None else f' ns2:score="{score}"'
    return (f'<release id="{release.id}"{attribute}>{_element("title", release.title)}'
            f"{_element('status', release.status, identify=True)}{_element('disambiguation', release.disambiguation)}"
            f"{_credit(artist) if artist else ''}{_group(release.group)}{_element('date', release.date)}"
            f"{_element('country', release.country)}{media}</release>")


def _track(release, number):
    track, count = release.tracks[number - 1], len(release.tracks)
    return (f'<medium-list count="1"><track-count>{count}</track-count><medium id="{_fixed_id(release.id)}"><position>1</position>'
            f'<format>CD</format><track-list count="{count}" offset="{number - 1}"><track id="{_fixed_id(release.id + str(number))}">'
            f"<number>{number}</number>{_element('title', track.title)}</track></track-list></medium></medium-list>")


def _recording(recording, score):
    releases = "".join(
        _release(release, artist=release.artist if release.artist != recording.artist else "", media=_track(release, number))
        for release, number in recording.releases[:RELEASES_PER_RECORDING])
    return (f'<recording id="{recording.id}" ns2:score="{score}">{_element("title", recording.title)}<length>254000</length>'
            f"{_element('disambiguation', 'live' if recording.is_live else '')}{_credit(recording.artist)}"
            f"{_element('first-release-date', recording.first_date)}<release-list>{releases}</release-list></recording>")


def _artists(name):
    return [name, catalogue().alias(name)]


def _release_fields(release):
    return {"release": [release.title], "artist": _artists(release.artist), "rgid": [release.group.id], "reid": [release.id],
            "status": [release.status], "primarytype": [release.group.primary], "secondarytype": release.group.secondary}


def _recording_fields(recording):
    return {"recording": [recording.title], "artist": _artists(recording.artist), "rid": [recording.id],
            "release": [release.title for release, _ in recording.releases]}


# For each searchable entity: its objects, their fields, and the function that writes them.
_ENTITIES = {
    "release": (lambda: catalogue().releases.values(), _release_fields,
                lambda release, score: _release(release, score, artist=release.artist)),
    "recording": (lambda: catalogue().recordings, _recording_fields, _recording),
}


def _number(parameters, name, default):
    text = parameters.get(name, "")
    return int(text) if text.isdigit() else default


def search(entity, parameters):
    """The status and the document of the answer to /ws/2/ENTITY."""
    things, fields, written = _ENTITIES[entity]
    limit = _number(parameters, "limit", DEFAULT_RESULTS)
    limit = limit if 1 <= limit <= MOST_RESULTS else DEFAULT_RESULTS
    offset = _number(parameters, "offset", 0)
    try:
        score = lucene.parse(parameters.get("query", ""))
        hits = [(score(fields(thing)), thing) for thing in things()]
    except lucene.SyntaxFailure as failure:
        return 400, error(str(failure))
    hits = sorted((hit for hit in hits if hit[0]), key=lambda hit: -hit[0])
    page = "".join(written(thing, round(100 * points / hits[0][0])) for points, thing in hits[offset:offset + limit])
    return 200, (f'<?xml version="1.0" encoding="UTF-8" standalone="yes"?><metadata created="2026-09-06T10:57:34.794Z" {NAMESPACES}>'
                 f'<{entity}-list count="{len(hits)}" offset="{offset}">{page}</{entity}-list></metadata>').encode()
