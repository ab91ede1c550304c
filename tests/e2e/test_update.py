# SPDX-License-Identifier: MIT
"""Covers that come from a URL."""

import hashlib
import re
from xml.sax.saxutils import escape

import pytest
import requests
from answers import DECLARATION, png_of, stored_key
from namespaces import with_mounts
from pictures import fixture, png, upright
from server import TIMEOUT_SECONDS, Server
from web import COVERS, Web

SONG = {"artist": "Lowbeam", "title": "Quiet Harbour", "album": "Paper Lanterns"}


@pytest.fixture(scope="module")
def web():
    with Web() as running:
        yield running


@pytest.fixture(scope="module")
def one_process():
    with Server(processes=1) as running:
        yield running


def update(server, url=None, **fields):
    data = fields if url is None else {**fields, "url": url}
    return requests.post(server.url("update"), data=data, timeout=TIMEOUT_SECONDS)


def update_document(url, *lines, artist="", title="", album="", sampler="0"):
    return (f"{DECLARATION}<Update>\n  <SongInfo>\n    <Album>{album}</Album>\n    <Title>{title}</Title>\n"
            f"    <Artist>{artist}</Artist>\n    <Sampler>{sampler}</Sampler>\n  </SongInfo>\n  <URL>{url}</URL>\n"
            + "".join(f"  {line}\n" for line in lines) + "</Update>\n")


def updated_key(answer):
    match = re.search(r'^  <Image>(\d+)</Image>\n  <Error code="0">OK</Error>\n</Update>\n\Z', answer.text, re.MULTILINE)
    assert match, answer.text
    return int(match.group(1))


def reason(server, url, **fields):
    """Checks that the responder refuses `url` with a single diagnostic line. Returns the reason from this line."""
    before = len(server.messages())
    answer = update(server, url, **(fields or SONG))
    assert answer.text.endswith(f'  <Error code="-5">Cannot load image from {url}</Error>\n</Update>\n'), answer.text
    lines = [line for line in server.messages()[before:].splitlines() if "no image from" in line]
    assert len(lines) == 1, lines
    return lines[0].split(": ")[-1]


@pytest.fixture
def parameter(one_process):
    """Sets a parameter, and removes it at the end of the test."""
    names = set()

    def change(**fields):
        assert requests.post(one_process.url("parameter"), data=fields, timeout=TIMEOUT_SECONDS).status_code == 200

    def set_one(name, value):
        names.add(name)
        change(**{name: value})

    yield set_one
    change(cmdDelete=sorted(names))


def test_an_update_is_answered_to_the_byte(server, web):
    url = web.url("/cover.jpg")
    answer = update(server, url, artist="A & <B>", title="T", sampler="on")
    assert (answer.status_code, answer.headers["Content-Type"]) == (200, "text/xml")
    assert answer.text == update_document(url, "<Image>1</Image>", '<Error code="0">OK</Error>',
                                          artist="A &amp; &lt;B&gt;", title="T", sampler="1")
    assert upright(png_of(server.get("show", key=1))).tobytes() == upright(fixture("baseline.jpg")).tobytes()


@pytest.mark.parametrize("path", ["/cover.jpg", "/cover.png", "/cover.webp", "/cover.gif", "/undeclared", "/redirect", "/chain/4"])
def test_a_good_cover_is_stored_by_its_content(one_process, web, path):
    key = updated_key(update(one_process, web.url(path), artist="Good", title=path))
    expected = COVERS.get(path, COVERS["/cover.jpg"])
    assert upright(png_of(one_process.get("show", key=key))).tobytes() == upright(expected).tobytes()


REASONS = {
    "/page.html": "This is a web page or an XML document, not an image.",
    "/empty.png": "The image file is empty.",
    "/too-many-pixels.png": "The image has 3600000000 pixels; at most 64000000 are accepted.",
    "/missing.jpg": "The server answered with status 404.",
    "/broken.jpg": "The server answered with status 500.",
    "/loop": "The server redirects more than 5 times.",
    "/chain/5": "The server redirects more than 5 times.",
    "/to-file": "The address leads to something other than a web server.",
    "/to-ftp": "The address leads to something other than a web server.",
    "/endless": "The server's answer is larger than 33554432 bytes.",
    "/short": "The server's answer is shorter than announced.",
}


@pytest.mark.parametrize("path", REASONS)
def test_what_is_no_cover_is_refused_and_the_old_one_stays(one_process, web, path):
    song = {"artist": "Kept", "title": path}
    key = stored_key(one_process.upload(png(seed=3), "image/png", **song))
    pids = one_process.responder_pids()
    assert reason(one_process, web.url(path), **song) == REASONS[path]
    assert png_of(one_process.get("show", key=key)) == png(seed=3)
    assert one_process.responder_pids() == pids


def test_a_server_that_is_slow_is_left(one_process, web, parameter):
    parameter("fetchTimeout", "1")
    assert reason(one_process, web.url("/slow")) == "The server did not answer in time."


def test_the_limit_of_bytes_holds_for_what_is_fetched(one_process, web, parameter):
    parameter("maxImageBytes", "100")
    assert reason(one_process, web.url("/cover.jpg")) == "The server's answer is larger than 100 bytes."


@pytest.mark.parametrize("url", ["file:///etc/passwd", "ftp://127.0.0.1/cover.jpg", "/etc/passwd", "127.0.0.1", "data:image/png;base64,AAAA"])
def test_other_schemes_are_refused(one_process, url):
    assert reason(one_process, url) == "The address is neither http nor https."


def test_a_certificate_that_nobody_signed_is_refused(one_process, tmp_path):
    with Web(tmp_path) as tls:
        assert reason(one_process, tls.url("/cover.jpg")) == "The server's certificate can't be trusted."
        assert tls.paths() == []


def trusting(certificate):
    """Returns a prefix for a command on a machine that trusts only this certificate."""
    return with_mounts(f"mount --bind {certificate} /etc/ssl/certs/ca-certificates.crt")


def test_a_certificate_that_is_trusted_is_good(tmp_path):
    with Web(tmp_path) as tls, Server(processes=1, prefix=trusting(tmp_path / "certificate.pem")) as server:
        updated_key(update(server, tls.url("/cover.jpg"), **SONG))


def test_private_addresses_can_be_denied(one_process, web, parameter):
    parameter("privateAddresses", "deny")
    before = web.paths()
    assert "private address" in reason(one_process, web.url("/cover.jpg"))
    assert "private address" in reason(one_process, web.url("/cover.jpg").replace("127.0.0.1", "localhost"))
    assert web.paths() == before
    parameter("privateAddresses", "allow")
    updated_key(update(one_process, web.url("/cover.jpg"), **SONG))


def test_the_environment_has_no_proxy_to_offer(web):
    proxy = "http://127.0.0.1:1"
    with Server(processes=1, environment={"http_proxy": proxy, "ALL_PROXY": proxy}) as server:
        updated_key(update(server, web.url("/cover.jpg"), **SONG))


def test_the_request_names_the_product(one_process, web):
    update(one_process, web.url("/cover.jpg"), **SONG)
    path, headers = web.requests[-1]
    assert path == "/cover.jpg"
    assert re.fullmatch(r"sleevery/\d+\.\d+\.\d+ \( https://\S+ \)", headers["User-Agent"])


def test_the_url_is_written_raw_where_it_failed(one_process, web):
    url = web.url("/missing.jpg?a=1&b=<2>")
    answer = update(one_process, url, **SONG)
    assert answer.text == update_document(escape(url), f'<Error code="-5">Cannot load image from {url}</Error>', **SONG)


def test_a_song_without_a_url_has_none(server):
    error = '<Error code="-6">Parameter for image url no set.</Error>'
    for data in ({"artist": "No", "title": "Url"}, {"artist": "No", "title": "Url", "url": ""}):
        assert update(server, **data).text == update_document("", error, artist="No", title="Url")


def test_what_is_no_song_is_not_fetched(server, web):
    before = web.paths()
    answer = update(server, web.url("/cover.jpg"), artist="Lowbeam")
    assert "<Update" not in answer.text, "the responder says nothing, and the web server makes an answer of its own"
    assert web.paths() == before
    assert "<Entry" not in server.get("showEmpty").text


def test_an_earlier_cover_comes_back_by_its_hash(server):
    pictures = [png(seed=seed) for seed in range(3)]
    keys = {stored_key(server.upload(picture, "image/png", **SONG)) for picture in pictures}
    url = "cover:" + hashlib.sha256(pictures[0]).hexdigest()
    key = updated_key(update(server, url, **SONG))
    assert keys == {key}
    assert png_of(server.get("show", key=key)) == pictures[0]


def test_a_hash_without_a_cover_is_refused(one_process):
    for hash_ in ("0" * 64, "", "x", "../../etc/passwd"):
        assert reason(one_process, "cover:" + hash_) == "The store has no such cover."
