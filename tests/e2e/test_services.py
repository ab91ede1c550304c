# SPDX-License-Identifier: MIT
"""The services, as people and programs see them through the web server."""

import pytest
import requests
from answers import DECLARATION, exception, is_not_found, png_of, stored_key
from pictures import content_type, fixture, png, upright
from PIL import ImageChops

INDEX_LINES = 21
UPLOAD_FORM = (
    "\n<html><body>"
    '<form action="./upload"    method="POST" enctype="multipart/form-data">'
    'Artist: <input size="80" name="artist" type="text" value="Lowbeam"><br>'
    'Album: <input size="80" name="album" type="text" value="Paper Lanterns"><br>'
    'Title: <input size="80" name="title" type="text" value="Quiet Harbour"><br>'
    'xslt: <input size="80" name="xslt" type="text" value=""><br>'
    'Upload File: <input size="80" name="image" type="file" accept="image/*"><br>'
    '<input type="submit"></body></html>\n'
)
SHOW_FORM = (
    '\n<html><body><form action="./show"  method="GET">'
    'Show Cover from CacheId: <input size="80" name="key" type="text" value="1"><br>'
    '<input type="submit"></body></html>\n'
)


@pytest.mark.parametrize("path", ["", "nothing", "Show", "uploads"])
def test_everything_unknown_is_the_index_page(shared_server, path):
    answer = shared_server.get(path)
    assert answer.status_code == 200
    assert answer.headers["Content-Type"] == "text/html"
    lines = answer.text.split("\n")
    assert lines[0] == "" and lines[1] == "<html>" and lines[INDEX_LINES] == "</html>" and lines[INDEX_LINES + 1 :] == [""]
    assert '      <li><a href="./update">UpdateCover</a></li>' in lines


def test_the_test_forms(shared_server):
    for service, form in (("upload", UPLOAD_FORM), ("show", SHOW_FORM)):
        answer = shared_server.get(service)
        assert (answer.status_code, answer.headers["Content-Type"], answer.text) == (200, "text/html", form)


def test_an_upload_is_answered_to_the_byte(server):
    answer = server.upload(fixture("baseline.jpg"), "image/pjpeg", "a<b>&c.jpg", artist="Simon & <Friends>", album="A>B", sampler="on")
    assert answer.headers["Content-Type"] == "text/xml"
    assert answer.text == (
        f"{DECLARATION}<Upload>\n  <SongInfo>\n    <Album>A&gt;B</Album>\n    <Title></Title>\n"
        "    <Artist>Simon &amp; &lt;Friends&gt;</Artist>\n    <Sampler>1</Sampler>\n  </SongInfo>\n"
        "  <File>\n    <MimeType>image/pjpeg</MimeType>\n    <Name>a&lt;b&gt;&amp;c.jpg</Name>\n"
        f"    <Size>{len(fixture('baseline.jpg'))}</Size>\n  </File>\n  <Image>1</Image>\n"
        '  <Error code="0">OK</Error>\n</Upload>\n'
    )


@pytest.mark.parametrize("name", ["rgb.png", "rgba.png", "palette.png", "palette-transparent.png", "grey.png", "colour-key.png",
                                  "sixteen-bit.png", "interlaced.png", "odd-chunks.png"])
def test_a_png_is_shown_to_the_byte(shared_server, name):
    key = stored_key(shared_server.upload(fixture(name), "image/png", name, artist="Png", title=name))
    assert png_of(shared_server.get("show", key=key)) == fixture(name)


@pytest.mark.parametrize("name", ["baseline.jpg", "progressive.jpg", "grey.jpg", "orientation-6.png", "zip-behind.png",
                                  *(f"orientation-{number}.jpg" for number in range(1, 9))])
def test_the_pixels_of_the_upload_are_shown_upright(shared_server, name):
    key = stored_key(shared_server.upload(fixture(name), content_type(name), name, artist="Upright", title=name))
    shown = upright(png_of(shared_server.get("show", key=key)))
    expected = upright(fixture(name))
    assert shown.size == expected.size
    assert shown.tobytes() == expected.tobytes()


def test_a_cmyk_jpeg_is_shown_in_its_colours(shared_server):
    key = stored_key(shared_server.upload(fixture("cmyk.jpg"), artist="Print", title="CMYK"))
    shown = upright(png_of(shared_server.get("show", key=key))).convert("RGB")
    difference = ImageChops.difference(shown, upright(fixture("cmyk.jpg")).convert("RGB"))
    assert max(high for _, high in difference.getextrema()) < 24, "each library turns CMYK into RGB in its own way, but not far off"


def test_a_cover_that_is_not_there_is_not_found(shared_server):
    for key in ("999999", "0", "-1", " 999999"):
        assert is_not_found(shared_server.get("show", key=key))


def test_a_key_that_is_no_number_is_an_exception(shared_server):
    for key in ("12abc", "12 ", "", "9999999999"):
        answer = shared_server.get("show", key=key)
        assert (answer.status_code, answer.headers["Content-Type"], answer.text) == (200, "text/xml", exception(key))


def test_a_second_upload_replaces_the_first_under_its_key(server):
    first = stored_key(server.upload(png(seed=1), "image/png", artist="Lowbeam", album="Paper Lanterns"))
    second = stored_key(server.upload(png(seed=2), "image/png", artist="LOWBEAM", album="Paper Lanterns (Remastered)"))
    assert first == second
    assert png_of(server.get("show", key=first)) == png(seed=2)


def test_what_has_no_cover_yet_is_listed(server):
    assert server.get("showEmpty").text == '<?xml version="1.0" encoding="UTF-8"?>\n<ShowEmpty>\n</ShowEmpty>\n'
    server.upload(b"no image", artist="Caf\u00e9 <1>", title="Tide")
    answer = server.get("showEmpty")
    assert answer.headers["Content-Type"] == "text/xml"
    assert ("  <Entry id=\"1\">\n    <Artist>Caf\u00e9 &lt;1&gt;</Artist>\n    <Album></Album>\n    <Title>Tide</Title>\n"
            "    <Sampler>0</Sampler>\n  </Entry>\n") in answer.content.decode()
    stored_key(server.upload(png(), "image/png", artist="Caf\u00e9 <1>", title="Tide"))
    assert "<Entry" not in server.get("showEmpty").text


def test_an_upload_without_a_file_or_of_another_type_is_refused(shared_server):
    song = "  <SongInfo>\n    <Album></Album>\n    <Title>T</Title>\n    <Artist>A</Artist>\n    <Sampler>0</Sampler>\n  </SongInfo>\n"
    answer = requests.post(shared_server.url("upload"), data={"artist": "A", "title": "T"}, timeout=60)
    assert answer.text == f'{DECLARATION}<Upload>\n{song}  <Error code="-2">Parameter for file not set.</Error>\n</Upload>\n'
    answer = shared_server.upload(b"GIF89a", "image/gif", "a.gif", artist="A", title="T")
    assert answer.text.endswith('  <Error code="-1">Invalid Fileformat, accepting JPEG or PNG only. </Error>\n</Upload>\n')


def test_the_type_is_told_by_the_content(server):
    key = stored_key(server.upload(png(), "image/jpeg", artist="Wrong", title="Label"))
    assert png_of(server.get("show", key=key)) == png()
    answer = server.upload(fixture("lossy.webp"), "image/jpeg", artist="Wrong", title="Type")
    assert answer.text.startswith("<Exception>\n") and "JPEG" in answer.text


def test_everything_is_there_after_a_restart(server):
    keys = {seed: stored_key(server.upload(png(seed=seed), "image/png", artist="A", title=f"T{seed}")) for seed in range(5)}
    jpeg = stored_key(server.upload(fixture("baseline.jpg"), artist="J", title="T"))
    shown = png_of(server.get("show", key=jpeg))
    server.restart()
    for seed, key in keys.items():
        assert png_of(server.get("show", key=key)) == png(seed=seed)
    assert png_of(server.get("show", key=jpeg)) == shown
    assert stored_key(server.upload(png(seed=9), "image/png", artist="A", title="T0")) == keys[0]
