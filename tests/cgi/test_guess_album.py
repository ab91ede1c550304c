# SPDX-License-Identifier: MIT
"""The service that guesses which albums a song is on."""

import pytest
import songs
from answers import GUESS_FORM, GUESSED, SERVER_ERROR, XML_HEADER, exception
from forms import Part, multipart, urlencoded
from seam import escaped, quoted

SONG = [("artist", "Lowbeam"), ("title", "Quiet Harbour")]
ASKED = "SongInfo::guessAlbumNames()"


@pytest.mark.parametrize("method", ["GET", "HEAD", "PUT", "post", "Post", "POSTS", "POST ", ""])
def test_any_other_method_shows_the_form(seam, method):
    assert seam.get("/sleevery/guessAlbum", "title=x&artist=y&xslt=a.xsl", method) == GUESS_FORM
    assert seam.post("/sleevery/guessAlbum", urlencoded(SONG), method=method) == GUESS_FORM
    assert seam.calls == []
    assert seam.stderr == b""


@pytest.mark.parametrize(
    "content",
    [urlencoded(SONG), multipart([Part(name, value.encode()) for name, value in SONG])],
    ids=["urlencoded", "multipart"],
)
def test_the_record_is_asked_for_albums(seam, content):
    assert seam.post("/sleevery/guessAlbum", content) == XML_HEADER + GUESSED
    assert seam.calls == [
        "SongInfo::SongInfo()",
        'SongInfo::setTitle("Quiet Harbour")',
        'SongInfo::setArtist("Lowbeam")',
        "SongInfo::Dump()",
        "SongInfo::isValid()",
        ASKED,
    ]
    assert seam.stderr == songs.STDERR


def test_what_the_form_does_not_offer_reaches_the_record_too(seam):
    assert seam.post("/sleevery/guessAlbum", urlencoded(songs.FIELDS)) == XML_HEADER + GUESSED
    assert seam.calls == [*songs.EXTRACTED, "SongInfo::isValid()", ASKED]


INVALID = [
    [],
    [("title", ""), ("artist", "")],
    [("artist", "Lowbeam")],
    [("title", "Quiet Harbour")],
    [("url", "http://covers.example/1.jpg"), ("sampler", "on"), ("xslt", "a.xsl")],
]


@pytest.mark.parametrize("fields", INVALID)
@pytest.mark.parametrize("kind", ["urlencoded", "multipart"])
def test_a_record_that_is_not_valid_is_answered_by_nothing(seam, fields, kind):
    parts = multipart([Part(name, value.encode()) for name, value in fields])
    assert seam.post("/sleevery/guessAlbum", urlencoded(fields) if kind == "urlencoded" else parts) == b""
    assert seam.calls[-2:] == ["SongInfo::Dump()", "SongInfo::isValid()"]
    assert seam.stderr == songs.STDERR
    assert seam.post("/sleevery/guessAlbum", urlencoded(SONG)) == XML_HEADER + GUESSED


def test_what_is_valid_is_the_record_s_to_say(start):
    seam = start("SongInfo::isValid return false")
    assert seam.post("/sleevery/guessAlbum", urlencoded(SONG)) == b""
    assert ASKED not in seam.calls
    seam = start("SongInfo::isValid return true")
    assert seam.post("/sleevery/guessAlbum", urlencoded([])) == XML_HEADER + GUESSED
    assert seam.calls == ["SongInfo::SongInfo()", "SongInfo::Dump()", "SongInfo::isValid()", ASKED]


@pytest.mark.parametrize(
    "document", [b"", b"no <xml", b"\xe4\xff\0\x01\n\n", pytest.param(b"<Album/>" * 20_000, id="long")]
)
def test_every_byte_of_the_document_goes_out(start, document):
    seam = start("SongInfo::guessAlbumNames return " + escaped(document))
    assert seam.post("/sleevery/guessAlbum", urlencoded(SONG)) == XML_HEADER + document


def test_a_stylesheet_gets_the_very_same_document(start):
    seam = start("XMLParser::transform return page")
    content = urlencoded([*SONG, ("xslt", "a.xsl")])
    assert seam.post("/sleevery/guessAlbum", content) == b"Content-Type: text/plain\n\npage"
    assert seam.calls[-5:] == [
        ASKED,
        "XMLParser::XMLParser()",
        f"XMLParser::parse({quoted(GUESSED)})",
        'XMLParser::transform("a.xsl")',
        "XMLParser::~XMLParser()",
    ]


def test_a_failure_to_deliver_is_a_server_error(start):
    seam = start("XMLParser::parse throw util x")
    assert seam.post("/sleevery/guessAlbum", urlencoded(SONG), "xslt=a.xsl") == SERVER_ERROR


@pytest.mark.parametrize("text", [b"no such host", b"<b>\xff\n"])
@pytest.mark.parametrize("kind", ["util", "std"])
def test_a_search_that_throws_is_an_exception(start, kind, text):
    seam = start(f"SongInfo::guessAlbumNames throw {kind} {escaped(text)}")
    assert seam.post("/sleevery/guessAlbum", urlencoded(SONG)) == XML_HEADER + exception(text)
