# SPDX-License-Identifier: MIT
"""Look-ups of songs with unusual names, and which look-ups send requests at all."""

import pytest
from answers import exception
from catalogue import catalogue
from lookups import (ALBUM_SOURCES, PICTURE_SOURCES, SONG, SOURCES, after_a_day, change_store, configure, found, guess, reasons, states,
                     suggest, texts)
from server import Server

# Artist and album from the tags, and the text of the query to MusicBrainz.
NAMES = {
    "quotes": ('Say "Nothing"', 'The "Best" of', r'release:"The \"Best\" of" AND artist:"Say \"Nothing\""'),
    "backslashes": ("Back\\slash", "\\", r'release:"\\" AND artist:"Back\\slash"'),
    "slashes": ("Sable / Ember", "Two Fires", 'release:"Two Fires" AND artist:"Sable / Ember"'),
    "brackets": ("{Curly} (Round)", "[Square] <Angle>", 'release:"[Square] <Angle>" AND artist:"{Curly} (Round)"'),
    "operators": ("AND OR NOT", "NOT", 'release:"NOT" AND artist:"AND OR NOT"'),
    "small operators": ("and", "Or Not", 'release:"Or Not" AND artist:"and"'),
    "query signs": ("a+b-c!", "x*? y~2^3: z", 'release:"x*? y~2^3: z" AND artist:"a+b-c!"'),
    "URL signs": ("100% #1?", "a=b&c=d;e+f%20", 'release:"a=b&c=d;e+f%20" AND artist:"100% #1?"'),
    "markup": ("<b>A</b> ]]>", "&amp; &#0;", 'release:"&amp; &#0;" AND artist:"<b>A</b> ]]>"'),
    "a secret's place": ("{key}", "{key} {key}", 'release:"{key} {key}" AND artist:"{key}"'),
    "ampersands": ("MC Oriel", "Bricks & Mortar", 'release:"Bricks & Mortar" AND artist:"MC Oriel"'),
    "accents": ("Zoë Gálvez", "Corazón de Ceniza", 'release:"Corazón de Ceniza" AND artist:"Zoë Gálvez"'),
    "Cyrillic": ("Мария Светлова", "Дом у моря", 'release:"Дом у моря" AND artist:"Мария Светлова"'),
    "Japanese": ("月見団地", "雨の図書館", 'release:"雨の図書館" AND artist:"月見団地"'),
    "symbols": ("!?!", "...", 'release:"..." AND artist:"!?!"'),
    "an emoji": ("🎸", "🎸🥁", 'release:"🎸🥁" AND artist:"🎸"'),
    "letters": ("x" * 1000, "y" * 1000, f'release:"{"y" * 1000}" AND artist:"{"x" * 1000}"'),
}
KNOWN = ("slashes", "ampersands", "accents", "Cyrillic", "Japanese", "symbols")


TOO_SOON = "It can't be asked again in time."


@pytest.fixture
def quick(responder):
    """A responder without the source that allows only one request per second."""
    configure(responder, sources=", ".join(source for source in SOURCES if source != "amazon"))
    return responder


@pytest.mark.parametrize("kind", NAMES)
def test_each_service_gets_the_names_as_they_are(quick, services, kind):
    artist, album, query = NAMES[kind]
    root = suggest(quick, {"artist": artist, "album": album})
    assert (root.findtext("Song/Artist"), root.findtext("Song/Album")) == (artist, album)
    assert services.asked("musicbrainz")[0].parameters["query"] == query
    assert services.asked("itunes")[0].parameters["term"] == services.asked("deezer")[0].parameters["q"] == f"{artist} {album}"
    for service, (one, other) in {"lastfm": ("artist", "album"), "audiodb": ("s", "a"), "discogs": ("artist", "release_title")}.items():
        parameters = services.asked(service)[0].parameters
        assert (parameters[one], parameters[other]) == (artist, album), service
    assert reasons(root) == {}, "all have understood"
    if kind in KNOWN:
        assert (root.findtext("Suggestion/Artist"), root.findtext("Suggestion/Album")) == (artist, album)


def test_names_are_signed_as_they_are(responder, services):
    configure(responder, sources="amazon", lookupTimeout="1")
    for artist, album, _ in NAMES.values():
        after_a_day(responder)
        services.forget()
        root = suggest(responder, {"artist": artist, "album": album})
        parameters = services.asked("amazon")[0].parameters
        assert (parameters["Artist"], parameters["Title"]) == (artist, album)
        assert set(reasons(root).values()) <= {TOO_SOON}, "a wrong signature is refused"


@pytest.mark.parametrize("kind", NAMES)
def test_each_service_gets_the_title_as_it_is(quick, services, kind):
    artist, title, query = NAMES[kind]
    root = guess(quick, {"artist": artist, "title": title})
    assert (root.findtext("Song/Artist"), root.findtext("Song/Title")) == (artist, title)
    assert services.asked("musicbrainz")[0].parameters["query"] == query.replace("release:", "recording:", 1)
    assert services.asked("lastfm")[0].parameters["track"] == title
    assert reasons(root) == {}


def test_bytes_that_are_no_utf_8_are_read_as_latin_letters(responder, services):
    root = suggest(responder, {"artist": "Café Größenwahn".encode("latin-1"), "album": "Straßenmusik".encode("latin-1")})
    assert (root.findtext("Song/Artist"), root.findtext("Song/Album")) == ("Café Größenwahn", "Straßenmusik")
    assert services.asked("musicbrainz")[0].parameters["query"] == 'release:"Straßenmusik" AND artist:"Café Größenwahn"'
    assert root.findtext("Suggestion/Album") == "Straßenmusik"


@pytest.mark.parametrize("name", [b"\xff\xfe\x00\x81\x8d", b"a\x01\x02\x1b[2Jb\r\nHost: x\r\n\r\n", b"\xed\xa0\x80\xf4\x90\x80\x80",
                                  b"\xc3"])
def test_bytes_that_are_no_text_do_no_harm(quick, services, name):
    root = suggest(quick, {"artist": name, "album": name, "title": name})
    assert reasons(root) == {} and services.requests
    assert {request.headers["Host"] for request in services.requests} == {f"127.0.0.1:{services.server_port}"}


@pytest.mark.parametrize("name", ["Ж" * 1000, "x" * 100_000], ids=["2000 bytes", "100000 bytes"])
def test_a_name_that_is_too_long_for_the_cache_is_refused(responder, services, name):
    answer = responder.post("suggest", {"artist": name, "album": name, "title": name})
    assert answer.text == exception("The artist is longer than 1024 bytes.")
    assert services.requests == []


@pytest.mark.parametrize("name", ["w " * 500, "Ж" * 500], ids=["words", "letters"])
def test_long_names_are_asked_for(quick, name):
    root = suggest(quick, {"artist": name, "album": name, "title": name})
    assert reasons(root) == {} and root.find("Suggestion") is None


@pytest.mark.parametrize("name", [" \t\n", "\u3000"], ids=["blanks", "a wide blank"])
def test_blanks_are_not_asked_for(responder, services, name):
    root = suggest(responder, {"artist": name, "album": name, "title": name})
    assert set(states(root).values()) == {"idle"} and services.requests == []


def test_stop_words_are_left_out_where_the_name_as_it_stands_finds_nothing(quick, services):
    root = suggest(quick, {"artist": "Lowbeam feat. Ada Vinter", "album": "Paper Lanterns (2011 Remaster) [Disc 2]"})
    assert root.findtext("Suggestion/Album").startswith("Paper Lanterns")
    assert [request.parameters["q"] for request in services.asked("deezer")] == [
        "Lowbeam feat. Ada Vinter Paper Lanterns (2011 Remaster) [Disc 2]", "Lowbeam Paper Lanterns"]


def test_the_second_time_nothing_goes_out(responder, services):
    first = suggest(responder, SONG)
    services.forget()
    second = suggest(responder, SONG)
    assert states(second) == dict.fromkeys(SOURCES, "kept") and found(second) == found(first)
    assert texts(second, "Suggestion/ImageUrl") == texts(first, "Suggestion/ImageUrl")
    assert states(suggest(responder, {**SONG, "title": "Undertow"})) == dict.fromkeys(SOURCES, "kept"), "another song of it"
    assert services.requests == []


def test_what_one_process_was_answered_the_others_know(responder, services):
    with Server(processes=1, state=responder.state) as other:
        first = suggest(other, SONG)
        assert states(first) == dict.fromkeys(SOURCES, "answered")
        services.forget()
        for _ in range(2):
            assert states(suggest(responder, SONG)) == dict.fromkeys(SOURCES, "kept")
        other.restart()
        assert states(suggest(other, SONG)) == dict.fromkeys(SOURCES, "kept")
    assert services.requests == []


def test_that_nothing_was_found_is_kept_for_a_day(responder, services):
    nothing = {"artist": "Nobody At All", "album": "No Such Album"}
    suggest(responder, nothing)
    services.forget()
    assert states(suggest(responder, nothing)) == dict.fromkeys(ALBUM_SOURCES, "kept") | dict.fromkeys(PICTURE_SOURCES, "idle")
    assert services.requests == []
    change_store(responder, f"UPDATE answers SET expires = expires - {24 * 3600 * 1000}", "UPDATE services SET turn = 0")
    assert states(suggest(responder, nothing)) == dict.fromkeys(ALBUM_SOURCES, "answered") | dict.fromkeys(PICTURE_SOURCES, "idle")


def test_what_was_found_is_kept_for_as_long_as_the_parameter_says(responder):
    configure(responder, answerAge="2")
    suggest(responder, SONG)
    change_store(responder, f"UPDATE answers SET expires = expires - {47 * 3600 * 1000}")
    assert states(suggest(responder, SONG)) == dict.fromkeys(SOURCES, "kept")
    change_store(responder, f"UPDATE answers SET expires = expires - {3600 * 1000}")
    assert states(suggest(responder, SONG)) == dict.fromkeys(SOURCES, "answered")
    responder.post("parameter", {"cmdDelete": "answerAge"})


def test_other_names_are_asked_for_anew(responder, services):
    suggest(responder, SONG)
    services.forget()
    after_a_day(responder)
    root = suggest(responder, {**SONG, "album": "Glass Weather"})
    assert states(root) == dict.fromkeys(SOURCES, "answered")
    assert root.findtext("Suggestion/Album") == "Glass Weather"
    assert {request.service for request in services.requests} >= set(SOURCES)


def test_the_catalogue_has_what_is_asked_for_here():
    artists = {release.artist for release in catalogue().releases.values()}
    assert all(NAMES[kind][0] in artists for kind in KNOWN)
