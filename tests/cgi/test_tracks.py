# SPDX-License-Identifier: MIT
"""The service that lists an album's songs."""

import pytest
import songs
from answers import HTML_HEADER, SERVER_ERROR, TRACKS, TRACKS_FORM, XML_HEADER, exception
from forms import Part, multipart, urlencoded
from seam import escaped, quoted

ALBUM = [("artist", "Lowbeam"), ("album", "Paper Lanterns")]
LOOKUP = f"CoverCache::Lookup({songs.record()})"
ASKED = "SongInfo::readAlbumSongs()"


@pytest.mark.parametrize("method", ["GET", "HEAD", "PUT", "post", "Post", "POSTS", "POST ", ""])
def test_any_other_method_shows_the_form(seam, method):
    assert seam.get("/sleevery/tracks", "album=x&artist=y&xslt=a.xsl", method) == TRACKS_FORM
    assert seam.post("/sleevery/tracks", urlencoded(ALBUM), method=method) == TRACKS_FORM
    assert seam.calls == []
    assert seam.stderr == b""


@pytest.mark.parametrize(
    "content",
    [urlencoded(songs.FIELDS), multipart([Part(name, value.encode()) for name, value in songs.FIELDS])],
    ids=["urlencoded", "multipart"],
)
def test_the_record_is_looked_up_and_asked_for_its_songs(seam, content):
    assert seam.post("/sleevery/tracks", content) == XML_HEADER + TRACKS
    assert seam.calls == [*songs.EXTRACTED, LOOKUP, ASKED]
    assert seam.stderr == songs.STDERR


@pytest.mark.parametrize("content", [urlencoded([]), multipart([]), urlencoded([("artist", ""), ("genre", "x")])])
def test_a_record_that_names_nothing_is_asked_all_the_same(seam, content):
    assert seam.post("/sleevery/tracks", content) == XML_HEADER + TRACKS
    empty = 'SongInfo(title "", artist "", album "", url "")'
    assert seam.calls == ["SongInfo::SongInfo()", "SongInfo::Dump()", f"CoverCache::Lookup({empty})", ASKED]


@pytest.mark.parametrize("found", ["true", "false"])
def test_what_the_look_up_says_does_not_matter(start, found):
    seam = start(f"CoverCache::Lookup return {found}")
    assert seam.post("/sleevery/tracks", urlencoded(songs.FIELDS)) == XML_HEADER + TRACKS
    assert seam.calls == [*songs.EXTRACTED, LOOKUP, ASKED]


@pytest.mark.parametrize(
    "document", [b"", b"no <xml", b"\xe4\xff\0\x01\n\n", pytest.param(b"<Track/>" * 20_000, id="long")]
)
def test_every_byte_of_the_document_goes_out(start, document):
    seam = start("SongInfo::readAlbumSongs return " + escaped(document))
    assert seam.post("/sleevery/tracks", urlencoded(ALBUM)) == XML_HEADER + document


def test_a_stylesheet_gets_the_very_same_document(start):
    seam = start("XMLParser::transform return page")
    content = urlencoded([*ALBUM, ("xslt", "a.xsl")])
    assert seam.post("/sleevery/tracks", content) == b"Content-Type: text/plain\n\npage"
    assert seam.calls[-5:] == [
        ASKED,
        "XMLParser::XMLParser()",
        f"XMLParser::parse({quoted(TRACKS)})",
        'XMLParser::transform("a.xsl")',
        "XMLParser::~XMLParser()",
    ]


def test_a_failure_to_deliver_is_a_server_error(start):
    seam = start("XMLParser::parse throw util x")
    assert seam.post("/sleevery/tracks", urlencoded(ALBUM), "xslt=a.xsl") == SERVER_ERROR
    assert "Exception::GetText()" not in seam.calls


FAILING = ["SongInfo::setAlbum", "CoverCache::Lookup", "SongInfo::readAlbumSongs"]


@pytest.mark.parametrize("text", [b"", b"The appliance can't be reached.", b"<b>\xff\n&"])
@pytest.mark.parametrize("function", FAILING)
@pytest.mark.parametrize("kind", ["util", "std"])
def test_a_failure_is_an_exception_in_its_own_words(start, kind, function, text):
    seam = start(f"{function} throw {kind} {escaped(text)}")
    assert seam.post("/sleevery/tracks", urlencoded(ALBUM)) == XML_HEADER + exception(text)
    assert seam.calls[-1] == ("Exception::GetText()" if kind == "util" else seam.calls[-1])
    assert ("Exception::GetText()" in seam.calls) == (kind == "util")


def test_the_text_of_an_exception_is_asked_for_and_sent_as_it_is(start):
    seam = start("SongInfo::readAlbumSongs throw util x", "Exception::GetText return <y>")
    assert seam.post("/sleevery/tracks", urlencoded(ALBUM)) == XML_HEADER + exception(b"<y>")


def test_a_stylesheet_applies_to_an_exception_too(start):
    seam = start("SongInfo::readAlbumSongs throw util x", 'XMLParser::transform return xmlns:fo="http://www.w3.org/1999/XSL/Format"')
    answer = seam.post("/sleevery/tracks", urlencoded([*ALBUM, ("xslt", "a.xsl")]))
    assert answer == HTML_HEADER + b'xmlns:fo="http://www.w3.org/1999/XSL/Format"'
    assert f"XMLParser::parse({quoted(exception(b'x'))})" in seam.calls


def test_a_text_that_cannot_be_had_is_the_loop_s_to_answer(start):
    seam = start("SongInfo::readAlbumSongs throw util x", "Exception::GetText throw std y")
    assert seam.post("/sleevery/tracks", urlencoded(ALBUM)) == XML_HEADER + exception(b"y")
