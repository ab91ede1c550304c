# SPDX-License-Identifier: MIT
"""The services that show a cover and list the entries without one."""

import pytest
from answers import COVER, EMPTY_LIST, NOT_FOUND, SHOW_FORM, XML_HEADER, exception
from forms import Part, multipart, urlencoded
from seam import escaped

PNG_HEADER = b"Content-Type: image/png\n\n"
CALLS = ["CoverCache::GetImage({}, image)", "Image::isValid()", "Image::getRawPNG()"]


def calls(key, count=3):
    return [call.format(key) for call in CALLS[:count]]


@pytest.mark.parametrize("method", ["GET", "POST", "HEAD", "PUT", "post", ""])
def test_without_a_key_the_form_is_shown(seam, method):
    assert seam.get("/sleevery/show", method=method) == SHOW_FORM
    assert seam.get("/sleevery/show", "id=1&keys=2", method) == SHOW_FORM
    assert seam.post("/sleevery/show", urlencoded([("v", "1")]), method=method) == SHOW_FORM
    assert seam.calls == []


@pytest.mark.parametrize("method", ["GET", "POST", "HEAD", "DELETE", "post", ""])
def test_a_cover_is_followed_by_the_answer_for_none(seam, method):
    assert seam.get("/sleevery/show", "key=5", method) == PNG_HEADER + COVER + NOT_FOUND
    assert seam.calls == calls(5)
    assert seam.stderr == b""


def test_the_key_may_come_in_the_body(seam):
    for content in urlencoded([("key", "5")]), multipart([Part("key", b"5")]):
        assert seam.post("/sleevery/show", content, "key=6") == PNG_HEADER + COVER + NOT_FOUND
        assert seam.calls == calls(5)


def test_other_fields_are_ignored(seam):
    assert seam.get("/sleevery/show", "v=abc&key=5&xslt=a.xsl&key=6") == PNG_HEADER + COVER + NOT_FOUND
    assert seam.calls == calls(5)


def test_a_key_that_is_a_file_is_none(seam):
    content = multipart([Part("key", b"5", "key.txt", "text/plain")])
    assert seam.post("/sleevery/show", content) == SHOW_FORM


@pytest.mark.parametrize(
    "png",
    [b"x", b"\0", pytest.param(bytes(range(256)), id="all"), pytest.param(b"Status: 200\n\n" * 100_000, id="long")],
)
def test_every_byte_of_the_image_goes_out(start, png):
    seam = start("Image::getRawPNG return " + escaped(png))
    assert seam.get("/sleevery/show", "key=5") == PNG_HEADER + png + NOT_FOUND


@pytest.mark.parametrize(
    "order, count",
    [("CoverCache::GetImage return false", 1), ("Image::isValid return false", 2), ("Image::getRawPNG return ", 3)],
)
def test_there_is_no_cover(start, order, count):
    seam = start(order)
    assert seam.get("/sleevery/show", "key=5") == NOT_FOUND
    assert seam.calls == calls(5, count)
    assert seam.get("/sleevery/show") == SHOW_FORM


@pytest.mark.parametrize(
    "key, number",
    [
        ("42", 42),
        ("%20%2042", 42),
        ("%0a%09%0d42", 42),
        ("%2b7", 7),
        ("007", 7),
        ("2147483647", 2147483647),
        ("0", 0),
        ("-0", 0),
        ("-7", -7),
        ("-2147483648", -2147483648),
    ],
)
def test_whole_numbers_are_keys(seam, key, number):
    answer = seam.get("/sleevery/show", "key=" + key)
    assert answer == (PNG_HEADER + COVER + NOT_FOUND if number > 0 else NOT_FOUND)
    assert seam.calls == calls(number, 3 if number > 0 else 1)


@pytest.mark.parametrize(
    "key, text",
    [
        ("", b""),
        ("+", b" "),
        ("abc", b"abc"),
        ("12abc", b"12abc"),
        ("12+", b"12 "),
        ("12%0a", b"12\n"),
        ("12+13", b"12 13"),
        ("4x", b"4x"),
        ("0x10", b"0x10"),
        ("1.5", b"1.5"),
        ("1e3", b"1e3"),
        ("-", b"-"),
        ("--1", b"--1"),
        ("2147483648", b"2147483648"),
        ("-2147483649", b"-2147483649"),
        ("99999999999999999999", b"99999999999999999999"),
        ("<b>%26", b"<b>&"),
        ("%e4%ff", b"\xe4\xff"),
        ("&key=5", b""),
    ],
)
def test_anything_else_is_answered_with_its_own_text(seam, key, text):
    assert seam.get("/sleevery/show", "key=" + key) == XML_HEADER + exception(text)
    assert seam.calls == []
    assert seam.get("/sleevery/show", "key=5") == PNG_HEADER + COVER + NOT_FOUND


@pytest.mark.parametrize("method", ["GET", "POST", "HEAD", ""])
def test_the_list_of_entries_without_a_cover(seam, method):
    assert seam.get("/sleevery/showEmpty", method=method) == XML_HEADER + EMPTY_LIST
    assert seam.get("/sleevery/showEmpty", "key=1&title=x", method=method) == XML_HEADER + EMPTY_LIST
    assert seam.calls == ["CoverCache::ShowEmpty()"]
    assert seam.stderr == b""
