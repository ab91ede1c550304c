# SPDX-License-Identifier: MIT
"""How the form's fields become a SongInfo."""

import pytest
import songs
from forms import Part, multipart, urlencoded
from seam import quoted


def extracted(seam, content, query=""):
    """The calls that fill the SongInfo, between its construction and its dump."""
    seam.post("/sleevery/upload", content, query)
    assert seam.calls[0] == "SongInfo::SongInfo()"
    return seam.calls[1 : seam.calls.index("SongInfo::Dump()")]


@pytest.mark.parametrize("fields", [songs.FIELDS, songs.FIELDS[::-1]])
def test_fields_are_set_in_their_own_order(seam, fields):
    assert extracted(seam, urlencoded(fields)) == songs.EXTRACTED[1:-1]
    assert seam.stderr == songs.STDERR


def test_fields_of_a_multipart_body_are_set_alike(seam):
    parts = [Part(name, value.encode()) for name, value in songs.FIELDS]
    assert extracted(seam, multipart(parts)) == songs.EXTRACTED[1:-1]


def test_fields_may_come_in_the_query_string(seam):
    content = urlencoded([("title", "of the body")])
    assert extracted(seam, content, "artist=of+the+query&title=of+the+query") == [
        'SongInfo::setTitle("of the body")',
        'SongInfo::setArtist("of the query")',
    ]


def test_an_empty_form_makes_an_empty_record_and_is_logged(seam):
    assert extracted(seam, urlencoded([])) == []
    assert extracted(seam, multipart([])) == []
    assert seam.stderr == 2 * songs.STDERR


@pytest.mark.parametrize("name", [name for name, _ in songs.FIELDS])
def test_an_empty_field_is_like_none(seam, name):
    assert extracted(seam, urlencoded([(name, "")])) == []
    assert seam.stderr == songs.STDERR


SETTERS = {"title": "setTitle", "artist": "setArtist", "album": "setAlbum", "url": "setImageUrl"}


@pytest.mark.parametrize("name, setter", SETTERS.items())
@pytest.mark.parametrize(
    "value",
    [
        b" ",
        b"  two  blanks ",
        b"\xe4\xff",
        "ä".encode(),
        b"<&>\"'",
        b"a\r\nb\t",
        b"%41+",
        pytest.param(b"x" * 100_000, id="long"),
    ],
)
def test_values_are_set_unchanged(seam, name, setter, value):
    assert extracted(seam, urlencoded([(name, value)])) == [f"SongInfo::{setter}({quoted(value)})"]


@pytest.mark.parametrize("name, setter", SETTERS.items())
@pytest.mark.parametrize("first, second", [("one", "two"), ("one", "")])
def test_of_a_field_given_twice_the_first_counts(seam, name, setter, first, second):
    assert extracted(seam, urlencoded([(name, first), (name, second)])) == [f'SongInfo::{setter}("{first}")']


@pytest.mark.parametrize("name", [name for name, _ in songs.FIELDS])
def test_an_empty_first_field_hides_a_second_one(seam, name):
    assert extracted(seam, urlencoded([(name, ""), (name, "1")])) == []


def test_names_are_compared_without_case(seam):
    content = urlencoded([("TITLE", "one"), ("title", "two"), ("Sampler", "1")])
    assert extracted(seam, content) == ['SongInfo::setTitle("one")', "SongInfo::setSampler(true)"]


def test_the_image_location_is_the_field_url_only(seam):
    assert extracted(seam, urlencoded([("imageUrl", "x"), ("imageurl", "x"), ("genre", "y")])) == []


@pytest.mark.parametrize("value", ["1", "true", "on"])
def test_a_sampler(seam, value):
    assert extracted(seam, urlencoded([("sampler", value)])) == ["SongInfo::setSampler(true)"]


@pytest.mark.parametrize(
    "value", ["0", "false", "TRUE", "True", "ON", "On", "yes", "2", "11", "1 ", " 1", " on", "on\n", "true1", "tru"]
)
def test_no_sampler(seam, value):
    assert extracted(seam, urlencoded([("sampler", value)])) == []


def test_the_log_line_comes_before_the_dump(start):
    seam = start("SongInfo::Dump throw std x")
    seam.post("/sleevery/upload", urlencoded([]))
    assert seam.stderr == b"sleevery.fcgi, received SongInfo\n"


def test_a_failing_setter_comes_before_the_log_line(start):
    seam = start("SongInfo::setAlbum throw std x")
    seam.post("/sleevery/upload", urlencoded(songs.FIELDS))
    assert seam.calls == songs.EXTRACTED[:4]
    assert seam.stderr == b""


def test_a_form_that_is_only_shown_makes_no_record(seam):
    seam.get("/sleevery/upload", "title=x")
    assert seam.calls == []
    assert seam.stderr == b""
