# SPDX-License-Identifier: MIT
"""The service that suggests covers for a song."""

import pytest
import songs
from answers import SERVER_ERROR, SUGGEST_FORM, SUGGESTED, XML_HEADER, exception
from forms import Part, multipart, urlencoded
from seam import escaped, quoted

SONG = multipart([Part(name, value.encode()) for name, value in songs.FIELDS])
ASKED = "SongInfo::getCoverartInformation()"


@pytest.mark.parametrize("method", ["GET", "HEAD", "PUT", "post", "Post", "POSTS", "POST ", ""])
def test_any_other_method_shows_the_form(seam, method):
    assert seam.get("/sleevery/suggest", "title=x&artist=y&xslt=a.xsl", method) == SUGGEST_FORM
    assert seam.post("/sleevery/suggest", SONG, method=method) == SUGGEST_FORM
    assert seam.calls == []
    assert seam.stderr == b""


@pytest.mark.parametrize("content", [SONG, urlencoded(songs.FIELDS)], ids=["multipart", "urlencoded"])
def test_the_record_is_asked_for_suggestions(seam, content):
    assert seam.post("/sleevery/suggest", content) == XML_HEADER + SUGGESTED
    assert seam.calls == [*songs.EXTRACTED, "SongInfo::getArtist()", ASKED]
    assert seam.stderr == songs.STDERR


@pytest.mark.parametrize(
    "name, getters",
    [
        ("artist", ["SongInfo::getArtist()"]),
        ("album", ["SongInfo::getArtist()", "SongInfo::getAlbum()"]),
        ("title", ["SongInfo::getArtist()", "SongInfo::getAlbum()", "SongInfo::getTitle()"]),
    ],
)
def test_one_name_is_enough_and_the_first_one_settles_it(seam, name, getters):
    assert seam.post("/sleevery/suggest", urlencoded([(name, "x")])) == XML_HEADER + SUGGESTED
    assert seam.calls == [
        "SongInfo::SongInfo()",
        f'SongInfo::set{name.capitalize()}("x")',
        "SongInfo::Dump()",
        *getters,
        ASKED,
    ]


NAMELESS = [
    [],
    [("title", ""), ("artist", ""), ("album", "")],
    [("url", "http://covers.example/1.jpg"), ("sampler", "on")],
    [("genre", "Folk"), ("xslt", "a.xsl")],
]


@pytest.mark.parametrize("fields", NAMELESS)
@pytest.mark.parametrize("kind", ["urlencoded", "multipart"])
def test_a_song_without_any_name_is_answered_by_nothing(seam, fields, kind):
    parts = multipart([Part(name, value.encode()) for name, value in fields])
    assert seam.post("/sleevery/suggest", urlencoded(fields) if kind == "urlencoded" else parts) == b""
    assert seam.calls[-4:] == [
        "SongInfo::Dump()",
        "SongInfo::getArtist()",
        "SongInfo::getAlbum()",
        "SongInfo::getTitle()",
    ]
    assert seam.stderr == songs.STDERR
    assert seam.post("/sleevery/suggest", SONG) == XML_HEADER + SUGGESTED


def test_the_names_are_the_record_s_to_say(start):
    seam = start(*(f"SongInfo::get{name} return " for name in ("Artist", "Album", "Title")))
    assert seam.post("/sleevery/suggest", SONG) == b""
    seam = start("SongInfo::getTitle return x")
    assert seam.post("/sleevery/suggest", urlencoded([])) == XML_HEADER + SUGGESTED


@pytest.mark.parametrize("name", [" ", "\0", "0", b"\xff"])
def test_whatever_is_not_empty_is_a_name(seam, name):
    assert seam.post("/sleevery/suggest", urlencoded([("title", name)])) == XML_HEADER + SUGGESTED
    assert f"SongInfo::setTitle({quoted(name)})" in seam.calls


def test_a_song_that_is_not_valid_has_suggestions_all_the_same(start):
    seam = start("SongInfo::isValid return false")
    assert seam.post("/sleevery/suggest", SONG) == XML_HEADER + SUGGESTED
    assert "SongInfo::isValid()" not in seam.calls


def test_a_file_is_no_name(seam):
    file = Part("title", b"Quiet Harbour", "title.txt", "text/plain")
    assert seam.post("/sleevery/suggest", multipart([file])) == b""


@pytest.mark.parametrize(
    "document", [b"", b"no <xml", b"\xe4\xff\0\x01\n\n", pytest.param(b"<Image/>" * 20_000, id="long")]
)
def test_every_byte_of_the_document_goes_out(start, document):
    seam = start("SongInfo::getCoverartInformation return " + escaped(document))
    assert seam.post("/sleevery/suggest", SONG) == XML_HEADER + document


def test_a_stylesheet_gets_the_very_same_document(start):
    seam = start("XMLParser::transform return page")
    content = urlencoded([*songs.FIELDS, ("xslt", "a.xsl")])
    assert seam.post("/sleevery/suggest", content) == b"Content-Type: text/plain\n\npage"
    assert seam.calls[-5:] == [
        ASKED,
        "XMLParser::XMLParser()",
        f"XMLParser::parse({quoted(SUGGESTED)})",
        'XMLParser::transform("a.xsl")',
        "XMLParser::~XMLParser()",
    ]


def test_a_failure_to_deliver_is_a_server_error(start):
    seam = start("XMLParser::parse throw util x")
    assert seam.post("/sleevery/suggest", SONG, "xslt=a.xsl") == SERVER_ERROR


@pytest.mark.parametrize("text", [b"no such host", b"<b>\xff\n"])
@pytest.mark.parametrize("kind", ["util", "std"])
def test_a_search_that_throws_is_an_exception(start, kind, text):
    seam = start(f"SongInfo::getCoverartInformation throw {kind} {escaped(text)}")
    assert seam.post("/sleevery/suggest", SONG) == XML_HEADER + exception(text)
