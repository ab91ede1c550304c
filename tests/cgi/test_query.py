# SPDX-License-Identifier: MIT
"""The service that reports the cover cache's entries for a song."""

import pytest
import songs
from answers import FOUND, QUERY_FORM, XML_HEADER
from forms import Part, multipart, urlencoded
from seam import escaped, quoted

GETTERS = ["SongInfo::getArtist()", "SongInfo::getAlbum()", "SongInfo::getTitle()"]


def query(artist, album, title):
    return f"CoverCache::Query({quoted(artist)}, {quoted(album)}, {quoted(title)})"


@pytest.mark.parametrize("method", ["GET", "HEAD", "PUT", "post", "Post", "POSTS", "POST ", ""])
def test_any_other_method_shows_the_form(seam, method):
    assert seam.get("/sleevery/query", "title=x&artist=y", method) == QUERY_FORM
    assert seam.post("/sleevery/query", urlencoded(songs.FIELDS), method=method) == QUERY_FORM
    assert seam.calls == []
    assert seam.stderr == b""


@pytest.mark.parametrize(
    "content",
    [urlencoded(songs.FIELDS), multipart([Part(name, value.encode()) for name, value in songs.FIELDS])],
    ids=["urlencoded", "multipart"],
)
def test_the_cache_is_asked_with_the_song(seam, content):
    assert seam.post("/sleevery/query", content) == XML_HEADER + FOUND
    assert seam.calls == [*songs.EXTRACTED, *GETTERS, query("Lowbeam", "Paper Lanterns", "Quiet Harbour")]
    assert seam.stderr == songs.STDERR


@pytest.mark.parametrize("content", [urlencoded([]), multipart([]), urlencoded([("title", ""), ("genre", "x")])])
def test_without_a_song_it_is_asked_with_empty_strings(seam, content):
    assert seam.post("/sleevery/query", content) == XML_HEADER + FOUND
    assert seam.calls == ["SongInfo::SongInfo()", "SongInfo::Dump()", *GETTERS, query("", "", "")]


@pytest.mark.parametrize("name, arguments", [("artist", ("x", "", "")), ("album", ("", "x", "")), ("title", ("", "", "x"))])
def test_each_field_has_its_place(seam, name, arguments):
    seam.post("/sleevery/query", urlencoded([(name, "x")]))
    assert seam.calls[-1] == query(*arguments)


def test_what_the_record_gives_is_what_the_cache_is_asked_with(start):
    seam = start("SongInfo::getArtist return 1", "SongInfo::getAlbum return 2", "SongInfo::getTitle return 3")
    seam.post("/sleevery/query", urlencoded(songs.FIELDS))
    assert seam.calls[-1] == query("1", "2", "3")


def test_a_song_that_is_not_valid_is_asked_for_all_the_same(start):
    seam = start("SongInfo::isValid return false")
    assert seam.post("/sleevery/query", urlencoded(songs.FIELDS)) == XML_HEADER + FOUND
    assert "SongInfo::isValid()" not in seam.calls


@pytest.mark.parametrize("value", [b" ", b"<&>\"'", b"\xe4\xff\x01\n", "ä€".encode(), pytest.param(b"x" * 100_000, id="long")])
def test_texts_are_passed_on_unchanged(seam, value):
    seam.post("/sleevery/query", urlencoded([("artist", value), ("album", value), ("title", value)]))
    assert seam.calls[-1] == query(value, value, value)


def test_url_and_sampler_play_no_part(seam):
    seam.post("/sleevery/query", urlencoded([("url", "http://x/"), ("sampler", "on"), ("title", "x")]))
    assert seam.calls[-1] == query("", "", "x")


@pytest.mark.parametrize(
    "document", [b"", b"no <xml", b"\xe4\xff\0\x01\n\n", pytest.param(b"<Found/>" * 20_000, id="long")]
)
def test_every_byte_of_the_document_goes_out(start, document):
    seam = start("CoverCache::Query return " + escaped(document))
    assert seam.post("/sleevery/query", urlencoded([])) == XML_HEADER + document


def test_a_stylesheet_gets_the_very_same_document(start):
    seam = start("XMLParser::transform return page")
    assert seam.post("/sleevery/query", urlencoded([("xslt", "a.xsl")])) == b"Content-Type: text/plain\n\npage"
    assert seam.calls[-5:] == [
        query("", "", ""),
        "XMLParser::XMLParser()",
        f"XMLParser::parse({quoted(FOUND)})",
        'XMLParser::transform("a.xsl")',
        "XMLParser::~XMLParser()",
    ]
