# SPDX-License-Identifier: MIT
"""The service that stores a cover from a URL."""

import pytest
import songs
from answers import DECLARATION, OK, UPDATE_FORM, XML_HEADER, exception
from forms import Part, multipart, urlencoded
from seam import escaped, quoted

URL = "http://covers.example/1.jpg"
NO_URL = b'  <Error code="-6">Parameter for image url no set.</Error>\n'
NOT_STORED = b'  <Error code="-4">Unknown error on storing image to cache</Error>\n'

SONG = multipart([Part(name, value.encode()) for name, value in songs.FIELDS])
WITHOUT_URL = [field for field in songs.FIELDS if field[0] != "url"]


def not_loaded(url):
    return b'  <Error code="-5">Cannot load image from ' + url + b"</Error>\n"


def image_line(key):
    return b"  <Image>%d</Image>\n" % key


def document(outcome, url=URL.encode(), song_block=songs.BLOCK):
    return (
        XML_HEADER + DECLARATION + b"<Update>\n" + song_block + b"  <URL>" + url + b"</URL>\n" + outcome + b"</Update>\n"
    )


def block(album=b"", title=b"", artist=b"", sampler=b"0"):
    return (
        b"  <SongInfo>\n    <Album>" + album + b"</Album>\n    <Title>" + title + b"</Title>\n    <Artist>" + artist
        + b"</Artist>\n    <Sampler>" + sampler + b"</Sampler>\n  </SongInfo>\n"
    )


BEGUN = [
    *songs.EXTRACTED,
    "SongInfo::isValid()",
    *songs.ECHOED,
    "SongInfo::getImageUrl()",
    f"XMLParser::encode({quoted(URL)})",
    f"CoverCache::Lookup({songs.record()})",
    "SongInfo::getImageUrl()",
]
STORED = [
    f"CoverCache::Store({songs.record(b'image at ' + URL.encode())}, true)",
    "SongInfo::setImage(null, 0)",
]
SHOWN = ["CoverCache::ShowCurrentCover()"]


@pytest.mark.parametrize("method", ["GET", "HEAD", "PUT", "post", "Post", "POSTS", "POST ", ""])
def test_any_other_method_shows_the_form(seam, method):
    assert seam.get("/sleevery/update", "title=x&artist=y&url=z", method) == UPDATE_FORM
    assert seam.post("/sleevery/update", SONG, method=method) == UPDATE_FORM
    assert seam.calls == []
    assert seam.stderr == b""


@pytest.mark.parametrize("content", [SONG, urlencoded(songs.FIELDS)], ids=["multipart", "urlencoded"])
def test_a_cover_is_fetched_and_stored(seam, content):
    assert seam.post("/sleevery/update", content) == document(image_line(17) + OK)
    assert seam.calls == [*BEGUN, "SongInfo::loadImage()", *STORED, *SHOWN]
    assert seam.stderr == songs.STDERR


@pytest.mark.parametrize("key", [1, 17, 2147483647])
def test_the_key_is_told(start, key):
    seam = start(f"CoverCache::Store return {key}")
    assert seam.post("/sleevery/update", SONG) == document(image_line(key) + OK)


@pytest.mark.parametrize("key", [0, -1, -17, -2147483648])
def test_a_cover_that_is_not_stored(start, key):
    seam = start(f"CoverCache::Store return {key}")
    assert seam.post("/sleevery/update", SONG) == document(NOT_STORED)
    assert seam.calls == [*BEGUN, "SongInfo::loadImage()", *STORED, *SHOWN]


def test_a_cover_that_is_not_loaded_is_neither_stored_nor_detached(start):
    seam = start("SongInfo::loadImage return false")
    assert seam.post("/sleevery/update", SONG) == document(not_loaded(URL.encode()))
    assert seam.calls == [*BEGUN, "SongInfo::loadImage()", "SongInfo::getImageUrl()", *SHOWN]


@pytest.mark.parametrize("fields", [WITHOUT_URL, [*WITHOUT_URL, ("url", "")]], ids=["no field", "empty field"])
def test_without_a_url_nothing_is_fetched(seam, fields):
    assert seam.post("/sleevery/update", urlencoded(fields)) == document(NO_URL, b"")
    record = songs.record().replace(URL, "")
    assert seam.calls[-5:] == [
        "SongInfo::getImageUrl()",
        'XMLParser::encode("")',
        f"CoverCache::Lookup({record})",
        "SongInfo::getImageUrl()",
        *SHOWN,
    ]


@pytest.mark.parametrize("name", ["imageUrl", "image", "URI"])
def test_the_url_is_in_the_field_url_only(seam, name):
    assert seam.post("/sleevery/update", urlencoded([*WITHOUT_URL, (name, URL)])) == document(NO_URL, b"")


INVALID = [
    [],
    [("url", URL)],
    [("artist", "Lowbeam"), ("url", URL)],
    [("title", "Quiet Harbour"), ("url", URL)],
    [("title", ""), ("artist", ""), ("album", ""), ("sampler", "off"), ("url", URL)],
    [("sampler", "on"), ("url", URL)],
]


@pytest.mark.parametrize("fields", INVALID)
def test_a_record_that_is_not_valid_is_answered_by_nothing(seam, fields):
    assert seam.post("/sleevery/update", urlencoded([*fields, ("xslt", "a.xsl")])) == b""
    assert seam.calls[-2:] == ["SongInfo::Dump()", "SongInfo::isValid()"]
    assert seam.stderr == songs.STDERR
    assert seam.post("/sleevery/update", SONG) == document(image_line(17) + OK)


def test_what_is_valid_is_the_record_s_to_say(start):
    seam = start("SongInfo::isValid return false")
    assert seam.post("/sleevery/update", SONG) == b""
    assert seam.calls == [*songs.EXTRACTED, "SongInfo::isValid()"]
    seam = start("SongInfo::isValid return true")
    assert seam.post("/sleevery/update", urlencoded([])) == document(NO_URL, b"", block())


def test_what_the_look_up_returns_is_ignored(start):
    seam = start("CoverCache::Lookup return true")
    assert seam.post("/sleevery/update", SONG) == document(image_line(17) + OK)


def test_a_url_that_the_look_up_brings_is_used_but_not_echoed(start):
    seam = start("SongInfo::getImageUrl#2 return http://found.example/", "SongInfo::loadImage return true")
    assert seam.post("/sleevery/update", urlencoded(WITHOUT_URL)) == document(image_line(17) + OK, b"")


def test_a_url_that_the_look_up_takes_away_is_echoed_but_not_used(start):
    seam = start("SongInfo::getImageUrl#2 return ")
    assert seam.post("/sleevery/update", SONG) == document(NO_URL)
    assert "SongInfo::loadImage()" not in seam.calls


def test_the_url_is_asked_for_anew_each_time(start):
    seam = start(
        *(f"SongInfo::getImageUrl#{call} return url {call}" for call in (1, 2, 3)), "SongInfo::loadImage return false"
    )
    assert seam.post("/sleevery/update", SONG) == document(not_loaded(b"url 3"), b"url 1")
    assert seam.calls.count("SongInfo::getImageUrl()") == 3


ENCODED = [
    ("a & b", b"a &amp; b"),
    ("<b>x</b>", b"&lt;b&gt;x&lt;/b&gt;"),
    ("&amp;", b"&amp;amp;"),
    ("quotes \" and '", b"quotes \" and '"),
    ("ä €", "ä €".encode()),
    (b"\xe4\xff\x01", b"\xe4\xff\x01"),
    ("two\nlines ", b"two\nlines "),
]


@pytest.mark.parametrize("raw, encoded", ENCODED)
def test_a_url_is_echoed_escaped_but_told_raw_when_it_fails(start, raw, encoded):
    seam = start("SongInfo::loadImage return false")
    answer = seam.post("/sleevery/update", urlencoded([*WITHOUT_URL, ("url", raw)]))
    as_it_is = raw if isinstance(raw, bytes) else raw.encode()
    assert answer == document(not_loaded(as_it_is), encoded)
    assert sum(call.startswith("XMLParser::encode") for call in seam.calls) == 4


@pytest.mark.parametrize("raw, encoded", ENCODED)
@pytest.mark.parametrize("name", ["title", "artist", "album"])
def test_a_field_is_echoed_escaped(start, name, raw, encoded):
    seam = start("SongInfo::isValid return true")
    answer = seam.post("/sleevery/update", urlencoded([(name, raw)]))
    assert answer == document(NO_URL, b"", block(**{name: encoded}))
    assert f"XMLParser::encode({quoted(raw)})" in seam.calls


def test_what_the_escaping_returns_is_what_goes_out(start):
    seam = start(*(f"XMLParser::encode#{call} return {call}" for call in range(1, 5)))
    assert seam.post("/sleevery/update", SONG) == document(image_line(17) + OK, b"4", block(b"1", b"2", b"3", b"1"))


@pytest.mark.parametrize("value, digit", [("on", b"1"), ("off", b"0")])
def test_a_sampler_is_a_digit(start, value, digit):
    seam = start("SongInfo::isValid return true")
    answer = seam.post("/sleevery/update", urlencoded([("sampler", value)]))
    assert answer == document(NO_URL, b"", block(sampler=digit))


def test_a_file_is_ignored(seam):
    parts = [Part(name, value.encode()) for name, value in WITHOUT_URL]
    file = Part("url", b"http://x/", "url.txt", "text/plain")
    assert seam.post("/sleevery/update", multipart([*parts, file])) == document(NO_URL, b"")


def test_the_current_cover_is_shown_behind_the_answer(start):
    seam = start("XMLParser::transform return page")
    assert seam.post("/sleevery/update", SONG, "xslt=a.xsl") == b"Content-Type: text/plain\n\npage"
    assert seam.calls[-5:] == [
        "XMLParser::XMLParser()",
        f"XMLParser::parse({quoted(document(image_line(17) + OK).removeprefix(XML_HEADER))})",
        'XMLParser::transform("a.xsl")',
        "XMLParser::~XMLParser()",
        *SHOWN,
    ]


@pytest.mark.parametrize(
    "script, outcome",
    [
        ([], image_line(17) + OK),
        (["CoverCache::Store return 0"], NOT_STORED),
        (["SongInfo::loadImage return false"], not_loaded(URL.encode())),
        (["SongInfo::getImageUrl#2 return "], NO_URL),
    ],
    ids=["stored", "not stored", "not loaded", "no url"],
)
@pytest.mark.parametrize("kind", ["util", "std"])
def test_a_failure_to_show_the_current_cover_comes_behind_the_answer(start, script, outcome, kind):
    seam = start(*script, f"CoverCache::ShowCurrentCover throw {kind} x")
    assert seam.post("/sleevery/update", SONG) == document(outcome) + XML_HEADER + exception(b"x")


@pytest.mark.parametrize("text", [b"no such host", b"<b>\xff\n"])
@pytest.mark.parametrize("kind", ["util", "std"])
def test_a_fetch_that_throws_is_an_exception_and_shows_nothing(start, kind, text):
    seam = start(f"SongInfo::loadImage throw {kind} {escaped(text)}")
    assert seam.post("/sleevery/update", SONG) == XML_HEADER + exception(text)
    assert seam.calls == [*BEGUN, "SongInfo::loadImage()"] + ["Exception::GetText()"] * (kind == "util")
