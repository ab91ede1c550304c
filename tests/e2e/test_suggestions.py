# SPDX-License-Identifier: MIT
"""Covers and album names from the web."""

import re

import pytest
import requests
import shops
from answers import png_of
from catalogue import catalogue
from lookups import (ALBUM_SOURCES, PICTURE_SOURCES, SONG, SOURCES, configure, found, guess, states, suggest,
                     suggestion_from, texts)
from pictures import upright
from server import TIMEOUT_SECONDS
from test_update import update, updated_key

GROUP = catalogue().groups["2010d8b7-78f8-5491-918c-5534723b0083"]
FIRST, PICTURED = GROUP.releases[0], GROUP.pictured


def asked(services):
    """The services that were asked for anything except picture files."""
    return set(request.service for request in services.requests) & set(SOURCES)


def fields_of(element):
    return {child.tag: child.text for child in element if child.tag != "Source"}


def test_all_that_is_known_of_a_suggestion(responder, services):
    root = suggest(responder, SONG)
    assert fields_of(root.find("Song")) == {"Artist": "Lowbeam", "Album": "Paper Lanterns", "Title": "Quiet Harbour", "Sampler": "0"}
    first = root.find("Suggestion")
    art = services.url(f"fanarttv-cdn/{PICTURED.id}/1000")
    assert texts(first, "Source") == ["fanarttv"]
    assert fields_of(first) == {
        "Artist": "Lowbeam", "Album": "Paper Lanterns", "Reason": "Artist and album agree; official album.", "Date": "2004-05-17",
        "ReleaseId": FIRST.id, "ReleaseGroupId": GROUP.id, "Page": f"https://musicbrainz.org/release/{FIRST.id}",
        "ImageUrl": f"{art}/fanart/x.jpg", "ThumbnailUrl": f"{art}/preview/x.jpg", "Width": "1000", "Height": "1000"}
    assert 0.9 < float(first.get("score")) <= 1
    assert [texts(each, "Source") for each in root.iterfind("Suggestion")][:2] == [["fanarttv"], ["coverartarchive"]]
    assert all(each.findtext("Album") == "Paper Lanterns" for each in root.iterfind("Suggestion"))
    assert set(texts(root, "Suggestion/Source")) == set(SOURCES) - {"musicbrainz"}, "which has no pictures"
    assert states(root) == dict.fromkeys(SOURCES, "answered")


def test_all_that_is_known_of_an_album(responder):
    root = guess(responder, {"artist": "Lowbeam", "title": "Quiet Harbour"})
    first = root.find("Album")
    assert texts(first, "Source") == ["musicbrainz", "itunes", "deezer", "lastfm"]
    assert fields_of(first) == {
        "Name": "Paper Lanterns", "Artist": "Lowbeam", "Reason": "Artist and title agree; official album.", "Date": "2004-05-17",
        "ReleaseId": FIRST.id, "ReleaseGroupId": GROUP.id, "Page": f"https://musicbrainz.org/release/{FIRST.id}"}
    names = texts(root, "Album/Name")
    assert set(names[1:]) > {"Live at Oslo", "Quiet Harbour", "Slow Tides: Sixteen Calm Hours"}
    assert list(states(root)) == ALBUM_SOURCES, "nobody is asked for pictures"


def test_an_album_in_the_question_is_no_hint(responder):
    root = guess(responder, {**SONG, "album": "Glass Weather"})
    assert root.findtext("Song/Album") == "Glass Weather", "it is repeated as it was asked for"
    assert root.findtext("Album/Name") == "Paper Lanterns"


@pytest.mark.parametrize("first, last", [("audiodb", "discogs"), ("discogs", "audiodb")])
def test_equals_stand_in_the_order_of_their_sources_whoever_answers_first(responder, services, first, last):
    services.slower_than = {first: last}
    configure(responder, sources=f"{first}, {last}")
    root = suggest(responder, SONG)
    assert len({each.get("score") for each in root.iterfind("Suggestion")}) == 1
    assert texts(root, "Suggestion/Source") == [first, last]


def test_no_hits(responder):
    nothing = {"artist": "Nobody At All", "album": "No Such Album", "title": "No Such Title"}
    root = suggest(responder, nothing)
    assert root.find("Suggestion") is None
    assert states(root) == dict.fromkeys(ALBUM_SOURCES, "answered") | dict.fromkeys(PICTURE_SOURCES, "idle")
    assert set(found(root).values()) == {0}
    root = guess(responder, nothing)
    assert root.find("Album") is None


def test_a_question_with_only_a_title(responder):
    root = suggest(responder, {"title": "Quiet Harbour"})
    assert texts(root, "Song/Title") == ["Quiet Harbour"] and texts(root, "Song/Artist") == [""]
    albums = set(texts(root, "Suggestion/Album"))
    assert {"Paper Lanterns", "Salt & Cedar"} <= albums


def test_a_question_with_only_an_album(responder):
    root = suggest(responder, {"album": "Night Shift"})
    assert root.findtext("Suggestion/Artist") == "Kestrel Club"


def test_a_sampler(responder, services):
    root = suggest(responder, {"artist": "Lowbeam", "album": "Slow Tides: Sixteen Calm Hours", "title": "Quiet Harbour", "sampler": "on"})
    assert root.findtext("Song/Sampler") == "1"
    first = root.find("Suggestion")
    assert (first.findtext("Artist"), first.findtext("Album")) == ("Various Artists", "Slow Tides: Sixteen Calm Hours")
    queries = [request.parameters["query"] for request in services.asked("musicbrainz")]
    assert queries == ['release:"Slow Tides: Sixteen Calm Hours"'], "its artist is not the album's"


@pytest.mark.parametrize("service, fields", [
    ("suggest", {}), ("suggest", {"artist": "", "album": "", "title": ""}), ("suggest", {"url": "http://x/", "sampler": "on"}),
    ("guessAlbum", {}), ("guessAlbum", {"artist": "Lowbeam"})])
def test_a_form_that_names_no_song_is_answered_by_nothing(responder, services, service, fields):
    answer = responder.post(service, fields)
    assert answer.status_code == 500, "the responder says nothing, and the web server makes an answer of its own"
    assert b"WebSource" not in answer.content and asked(services) == set()


def test_each_service_is_asked_as_it_wants_to_be(responder, services):
    suggest(responder, SONG)
    named = {service: [(request.path, request.parameters) for request in services.asked(service)] for service in SOURCES}
    amazon = {name: value for name, value in named["amazon"][0][1].items() if name not in ("Signature", "Timestamp")}
    assert named == {
        "musicbrainz": [("/ws/2/release", {"query": 'release:"Paper Lanterns" AND artist:"Lowbeam"', "limit": "25"})],
        "itunes": [("/search", {"term": "Lowbeam Paper Lanterns", "media": "music", "entity": "album", "limit": "25"})],
        "deezer": [("/search/album", {"q": "Lowbeam Paper Lanterns", "limit": "25"})],
        "lastfm": [("/2.0/", {"method": "album.getInfo", "artist": "Lowbeam", "album": "Paper Lanterns", "autocorrect": "1",
                              "format": "json", "api_key": shops.KEYS["lastfm"]})],
        "audiodb": [(f"/api/v1/json/{shops.KEYS['audiodb']}/searchalbum.php", {"s": "Lowbeam", "a": "Paper Lanterns"})],
        "discogs": [("/database/search", {"artist": "Lowbeam", "release_title": "Paper Lanterns", "type": "release", "per_page": "25"})],
        "coverartarchive": [(f"/release-group/{GROUP.id}", {})],
        "fanarttv": [(f"/v3/music/albums/{GROUP.id}", {"api_key": shops.KEYS["fanarttv"]})],
        "amazon": [("/onca/xml", named["amazon"][0][1])],
    }
    assert amazon == {
        "Service": "AWSECommerceService", "Operation": "ItemSearch", "SearchIndex": "Music", "Artist": "Lowbeam",
        "Title": "Paper Lanterns", "ResponseGroup": "ItemAttributes,Images", "ItemPage": "1", "Version": "2013-08-01",
        "AWSAccessKeyId": shops.KEYS["amazon"], "AssociateTag": shops.AMAZON_TAG}
    for request in services.requests:
        assert re.fullmatch(r"sleevery/\d+\.\d+\.\d+ \( https://\S+ \)", request.headers["User-Agent"]), request


def test_songs_are_asked_for_by_their_title(responder, services):
    guess(responder, {"artist": "Lowbeam", "title": "Quiet Harbour"})
    assert [(r.path, r.parameters) for r in services.asked("musicbrainz")] == [
        ("/ws/2/recording", {"query": 'recording:"Quiet Harbour" AND artist:"Lowbeam"', "limit": "100"})]
    assert services.asked("lastfm")[0].parameters["method"] == "track.getInfo"
    assert services.asked("itunes")[0].parameters["entity"] == "song"


@pytest.mark.parametrize("fault", [None, "hang_up", "401", "503"])
def test_a_key_goes_to_its_own_service_only_and_is_never_told(responder, services, fault):
    services.faults.update(dict.fromkeys(SOURCES, fault) if fault else {})
    configure(responder, lookupTimeout="1")
    logged = len(responder.messages())
    answers = [responder.post("suggest", SONG), responder.post("guessAlbum", SONG)]
    secrets = {**{key: service for service, key in shops.KEYS.items() if service != "audiodb"}, shops.AMAZON_SECRET: None}
    for request in services.requests:
        for secret, owner in secrets.items():
            assert request.service == owner or secret not in str(request), request
        assert (f"/{shops.KEYS['audiodb']}/" in request.path) == (request.service == "audiodb")
    for told in [answer.text for answer in answers] + [responder.messages()[logged:]]:
        assert not any(secret in told for secret in secrets) and f"/{shops.KEYS['audiodb']}/" not in told


@pytest.mark.parametrize("parameter, source", [("lastFmKey", "lastfm"), ("audioDbKey", "audiodb"), ("discogsToken", "discogs"),
                                               ("fanartTvKey", "fanarttv"), ("amazonKey", "amazon"), ("amazonSecret", "amazon")])
def test_who_needs_a_key_is_not_asked_without(responder, services, parameter, source):
    responder.post("parameter", {"cmdDelete": parameter})
    assert source not in states(suggest(responder, SONG))
    assert services.asked(source) == []


def test_a_wrong_key_is_named_as_the_reason(responder, services):
    configure(responder, discogsToken="wrong", fanartTvKey="wrong", amazonSecret="wrong")
    root = suggest(responder, SONG)
    failed = {source.get("name"): source.get("reason") for source in root.iterfind("WebSource[@state='failed']")}
    assert set(failed) == {"discogs", "fanarttv", "amazon"} and all("key" in reason for reason in failed.values()), failed


@pytest.mark.parametrize("source", [source for source in SOURCES if source != "musicbrainz"])
def test_the_best_suggestion_becomes_the_cover(responder, source):
    configure(responder, sources=f"musicbrainz, {source}" if source in PICTURE_SOURCES else source)
    first = suggest(responder, SONG).find("Suggestion")
    url = first.findtext("ImageUrl")
    assert texts(first, "Source") == [source]
    assert suggestion_from(suggest(responder, SONG), source).findtext("ImageUrl") == url
    key = updated_key(update(responder, url, **SONG))
    offered = requests.get(url, timeout=TIMEOUT_SECONDS).content
    assert upright(png_of(responder.get("show", key=key))).tobytes() == upright(offered).tobytes()
    thumbnail = requests.get(first.findtext("ThumbnailUrl"), timeout=TIMEOUT_SECONDS)
    assert thumbnail.status_code == 200 and thumbnail.headers["Content-Type"] == "image/jpeg"


def test_the_sources_stand_in_the_order_of_their_parameter(responder, services):
    configure(responder, sources="discogs deezer,  fanarttv,musicbrainz")
    assert list(states(suggest(responder, SONG))) == ["discogs", "deezer", "musicbrainz", "fanarttv"], "pictures after albums"
    assert asked(services) == {"discogs", "deezer", "musicbrainz", "fanarttv"}


@pytest.mark.parametrize("sources", ["", " , "])
def test_without_sources_nothing_goes_out(responder, services, sources):
    configure(responder, sources=sources)
    root = suggest(responder, {"artist": "Zoë Gálvez", "album": "Azul Añil"})
    assert states(root) == {} and root.find("Suggestion") is None
    assert states(guess(responder, SONG)) == {}
    assert services.requests == []


def test_sources_that_nobody_knows_are_passed_over_with_a_word(responder):
    configure(responder, sources="itunes, gramophone")
    before = len(responder.messages())
    for _ in range(4):
        assert list(states(suggest(responder, SONG))) == SOURCES
    lines = [line for line in responder.messages()[before:].splitlines() if "parameter sources:" in line]
    assert 1 <= len(lines) <= responder.processes and '"itunes, gramophone" can\'t be understood' in lines[0]


def test_addresses_may_end_in_a_slash(responder, services):
    configure(responder, **{name: value + "/" for name, value in services.parameters().items() if name.endswith("Url")})
    assert states(suggest(responder, SONG)) == dict.fromkeys(SOURCES, "answered")
    assert not any(request.path.startswith("//") for request in services.requests)
