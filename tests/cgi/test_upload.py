# SPDX-License-Identifier: MIT
"""The service that stores an uploaded cover."""

import pytest
import songs
from answers import DECLARATION, OK, UPLOAD_FORM, XML_HEADER
from forms import Part, multipart, urlencoded
from seam import quoted

WRONG_TYPE = b'  <Error code="-1">Invalid Fileformat, accepting JPEG or PNG only. </Error>\n'
NO_FILE = b'  <Error code="-2">Parameter for file not set.</Error>\n'
NOT_STORED = b'  <Error code="-3">Unknown error on storing image to cache</Error>\n'

ACCEPTED = ["image/jpeg", "image/jpg", "image/pjpeg", "image/png", "image/x-png"]
REFUSED = [
    "image/gif",
    "image/webp",
    "image/JPEG",
    "Image/png",
    "IMAGE/PNG",
    "image/jpeg; charset=binary",
    "image/jpeg;q=1",
    "image/png ",
    "image/jpe",
    "image/x-jpeg",
    "image/",
    "png",
    "application/octet-stream",
    "text/plain",
]

SONG = [Part(name, value.encode()) for name, value in songs.FIELDS]
CONTENT = b"\xff\xd8\xff\0cover\r\n--\0\n"
IMAGE = Part("image", CONTENT, "cover.jpg", "image/jpeg")


def document(file_block, outcome, song_block=songs.BLOCK):
    return XML_HEADER + DECLARATION + b"<Upload>\n" + song_block + file_block + outcome + b"</Upload>\n"


def file_block(mime_type, name, size):
    return (
        b"  <File>\n    <MimeType>" + mime_type + b"</MimeType>\n    <Name>" + name + b"</Name>\n"
        b"    <Size>%d</Size>\n  </File>\n" % size
    )


def image_line(key):
    return b"  <Image>%d</Image>\n" % key


FILE = file_block(b"image/jpeg", b"cover.jpg", len(CONTENT))
ECHOED_FILE = ['XMLParser::encode("image/jpeg")', 'XMLParser::encode("cover.jpg")']


def stored(content=CONTENT):
    """The calls that store the song's cover."""
    return [
        f"CoverCache::Lookup({songs.record()})",
        f"SongInfo::setImage({quoted(content)}, {len(content)})",
        f"CoverCache::Store({songs.record(content)}, true)",
        "SongInfo::setImage(null, 0)",
    ]


SHOWN = ["CoverCache::ShowCurrentCover()"]


@pytest.mark.parametrize("method", ["GET", "HEAD", "PUT", "post", "Post", "POSTS", "POST ", ""])
def test_any_other_method_shows_the_form(seam, method):
    assert seam.get("/sleevery/upload", "title=x", method) == UPLOAD_FORM
    assert seam.post("/sleevery/upload", multipart([*SONG, IMAGE]), method=method) == UPLOAD_FORM
    assert seam.calls == []
    assert seam.stderr == b""


def test_a_cover_is_stored(seam):
    answer = seam.post("/sleevery/upload", multipart([*SONG, IMAGE]))
    assert answer == document(FILE, image_line(17) + OK)
    assert seam.calls == songs.EXTRACTED + songs.ECHOED + ECHOED_FILE + stored() + SHOWN
    assert seam.stderr == songs.STDERR


def test_the_image_may_come_before_the_fields(seam):
    assert seam.post("/sleevery/upload", multipart([IMAGE, *SONG])) == document(FILE, image_line(17) + OK)


@pytest.mark.parametrize("key", [1, 17, 2147483647])
def test_the_key_is_told(start, key):
    seam = start(f"CoverCache::Store return {key}")
    assert seam.post("/sleevery/upload", multipart([*SONG, IMAGE])) == document(FILE, image_line(key) + OK)


@pytest.mark.parametrize("key", [0, -1, -17, -2147483648])
def test_a_cover_that_is_not_stored(start, key):
    seam = start(f"CoverCache::Store return {key}")
    assert seam.post("/sleevery/upload", multipart([*SONG, IMAGE])) == document(FILE, NOT_STORED)
    assert seam.calls == songs.EXTRACTED + songs.ECHOED + ECHOED_FILE + stored() + SHOWN


def test_what_the_look_up_returns_is_ignored(start):
    seam = start("CoverCache::Lookup return true")
    assert seam.post("/sleevery/upload", multipart([*SONG, IMAGE])) == document(FILE, image_line(17) + OK)


@pytest.mark.parametrize("content_type", ACCEPTED)
def test_types_that_are_accepted(seam, content_type):
    parts = [*SONG, IMAGE._replace(content_type=content_type)]
    block = file_block(content_type.encode(), b"cover.jpg", len(CONTENT))
    assert seam.post("/sleevery/upload", multipart(parts)) == document(block, image_line(17) + OK)
    assert seam.calls[-5:] == stored() + SHOWN


@pytest.mark.parametrize("content_type", REFUSED)
def test_types_that_are_refused(seam, content_type):
    parts = [*SONG, IMAGE._replace(content_type=content_type)]
    block = file_block(content_type.encode(), b"cover.jpg", len(CONTENT))
    assert seam.post("/sleevery/upload", multipart(parts)) == document(block, WRONG_TYPE)
    echoed = [f"XMLParser::encode({quoted(content_type)})", 'XMLParser::encode("cover.jpg")']
    assert seam.calls == songs.EXTRACTED + songs.ECHOED + echoed + SHOWN


def test_a_file_without_a_type_is_refused(seam):
    parts = [*SONG, IMAGE._replace(content_type=None)]
    block = file_block(b"text/plain", b"cover.jpg", len(CONTENT))
    assert seam.post("/sleevery/upload", multipart(parts)) == document(block, WRONG_TYPE)


@pytest.mark.parametrize(
    "parts",
    [
        [],
        [Part("picture", CONTENT, "cover.jpg", "image/jpeg")],
        [Part("image", CONTENT)],
        [Part("image", b"", "", "application/octet-stream")],
        [Part("image", CONTENT, "", "image/jpeg")],
    ],
    ids=["none", "other name", "field", "no file chosen", "empty file name"],
)
def test_without_a_file_nothing_is_stored_nor_shown(seam, parts):
    assert seam.post("/sleevery/upload", multipart([*SONG, *parts])) == document(b"", NO_FILE)
    assert seam.calls == songs.EXTRACTED + songs.ECHOED


def test_a_form_without_parts_has_no_file(seam):
    content = urlencoded([*songs.FIELDS, ("image", "x")])
    assert seam.post("/sleevery/upload", content) == document(b"", NO_FILE)


def test_of_two_images_the_first_counts(seam):
    parts = [*SONG, IMAGE, Part("image", b"other", "other.png", "image/png")]
    assert seam.post("/sleevery/upload", multipart(parts)) == document(FILE, image_line(17) + OK)
    assert seam.calls[-5:] == stored() + SHOWN


def test_a_refused_first_image_hides_the_second(seam):
    parts = [*SONG, Part("image", b"other", "other.gif", "image/gif"), IMAGE]
    block = file_block(b"image/gif", b"other.gif", 5)
    assert seam.post("/sleevery/upload", multipart(parts)) == document(block, WRONG_TYPE)


@pytest.mark.parametrize("name", ["IMAGE", "Image", "iMAGE"])
def test_the_part_has_a_name_without_case(seam, name):
    parts = [*SONG, IMAGE._replace(name=name)]
    assert seam.post("/sleevery/upload", multipart(parts)) == document(FILE, image_line(17) + OK)


def test_an_empty_file_is_handed_on_like_any_other(start):
    seam = start("CoverCache::Store return 17")
    answer = seam.post("/sleevery/upload", multipart([*SONG, IMAGE._replace(content=b"")]))
    assert answer == document(file_block(b"image/jpeg", b"cover.jpg", 0), image_line(17) + OK)
    assert seam.calls[-5:] == stored(b"") + SHOWN


def test_a_large_file_is_handed_on_to_the_byte(seam):
    content = bytes(range(256)) * 8192
    answer = seam.post("/sleevery/upload", multipart([*SONG, IMAGE._replace(content=content)]))
    assert answer == document(file_block(b"image/jpeg", b"cover.jpg", 2_097_152), image_line(17) + OK)
    assert seam.calls[-5:] == stored(content) + SHOWN


ENCODED = [
    ("a & b", b"a &amp; b"),
    ("<b>x</b>", b"&lt;b&gt;x&lt;/b&gt;"),
    ("&amp;", b"&amp;amp;"),
    ("quotes \" and '", b"quotes \" and '"),
    ("ä €", "ä €".encode()),
    ("two\nlines ", b"two\nlines "),
]


@pytest.mark.parametrize("raw, encoded", ENCODED)
@pytest.mark.parametrize("name", ["title", "artist", "album"])
def test_a_field_is_echoed_escaped(seam, name, raw, encoded):
    values = {"album": b"", "title": b"", "artist": b"", name: encoded}
    block = b"  <SongInfo>\n    <Album>%s</Album>\n    <Title>%s</Title>\n    <Artist>%s</Artist>\n" % tuple(
        values.values()
    )
    answer = seam.post("/sleevery/upload", urlencoded([(name, raw)]))
    assert answer == document(b"", NO_FILE, block + b"    <Sampler>0</Sampler>\n  </SongInfo>\n")
    assert f"XMLParser::encode({quoted(raw)})" in seam.calls


def test_type_and_name_of_the_file_are_echoed_escaped(seam):
    parts = [*SONG, IMAGE._replace(filename="<a> & b.png", content_type="image/<png>&")]
    block = file_block(b"image/&lt;png&gt;&amp;", b"&lt;a&gt; &amp; b.png", len(CONTENT))
    assert seam.post("/sleevery/upload", multipart(parts)) == document(block, WRONG_TYPE)


def test_what_the_escaping_returns_is_what_goes_out(start):
    seam = start(*(f"XMLParser::encode#{call} return {call}" for call in range(1, 6)))
    block = (
        b"  <SongInfo>\n    <Album>1</Album>\n    <Title>2</Title>\n    <Artist>3</Artist>\n"
        b"    <Sampler>1</Sampler>\n  </SongInfo>\n"
    )
    answer = seam.post("/sleevery/upload", multipart([*SONG, IMAGE]))
    assert answer == document(file_block(b"4", b"5", len(CONTENT)), image_line(17) + OK, block)


@pytest.mark.parametrize("value, digit", [("on", b"1"), ("off", b"0")])
def test_a_sampler_is_a_digit(seam, value, digit):
    block = (
        b"  <SongInfo>\n    <Album></Album>\n    <Title></Title>\n    <Artist></Artist>\n"
        b"    <Sampler>" + digit + b"</Sampler>\n  </SongInfo>\n"
    )
    assert seam.post("/sleevery/upload", urlencoded([("sampler", value)])) == document(b"", NO_FILE, block)


@pytest.mark.parametrize(
    "parts, outcome, shown",
    [([IMAGE], FILE + image_line(17) + OK, SHOWN), ([], NO_FILE, [])],
    ids=["stored", "no file"],
)
def test_a_stylesheet_gets_the_very_same_document(start, parts, outcome, shown):
    seam = start("XMLParser::transform return page")
    answer = seam.post("/sleevery/upload", multipart([*SONG, Part("xslt", b"a.xsl"), *parts]))
    assert answer == b"Content-Type: text/plain\n\npage"
    xml = document(b"", outcome).removeprefix(XML_HEADER)
    assert seam.calls[-len(shown) - 4 :] == [
        *shown,
        "XMLParser::XMLParser()",
        f"XMLParser::parse({quoted(xml)})",
        'XMLParser::transform("a.xsl")',
        "XMLParser::~XMLParser()",
    ]


def test_an_image_that_the_library_refuses_is_answered_as_an_exception(start):
    seam = start("SongInfo::setImage throw util This is no image.")
    answer = seam.post("/sleevery/upload", multipart([*SONG, IMAGE]))
    assert answer == XML_HEADER + b"<Exception>\nThis is no image.</Exception>\n"
    assert seam.calls[-3:] == [*stored()[:2], "Exception::GetText()"]
