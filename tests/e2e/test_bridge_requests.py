# SPDX-License-Identifier: MIT
"""Requests to the bridge that are not a command in XML, or contain more than one."""

import concurrent.futures
import contextlib

import pytest
from bridge import Bridge, command, read, refusal

MOST_BYTES = 64 * 1024
LOUD = command("SetVolume", Volume=17)
STATE = command("GetPlayerState")


@pytest.fixture
def bridge(shared_bridge, mpd):
    """Checks at the end that the bridge still answers, and that no request has set the volume."""
    yield shared_bridge
    assert shared_bridge.command(STATE)[1].findtext("Volume") == "100" == mpd.status()["volume"]


NO_XML = {
    "nothing": b"",
    "white space": b" \n\t ",
    "text": b"GetPlayerState",
    "a form": b"xmlString=%3CGetPlayerState%2F%3E",
    "an element that is not closed": b"<SetVolume><Volume>17</Volume>",
    "two elements": LOUD + LOUD,
    "text behind it": LOUD + b"x",
    "no UTF-8": b"<SetVolume><Volume>17</Volume>\xff\xfe\xfa</SetVolume>",
    "a NUL": b"<SetVolume><Volume>17\0</Volume></SetVolume>",
    "an unknown entity": b"<SetVolume><Volume>&seventeen;</Volume></SetVolume>",
    "a DTD": b'<!DOCTYPE SetVolume [<!ENTITY v "17">]><SetVolume><Volume>&v;</Volume></SetVolume>',
    "an empty DTD": b"<!DOCTYPE SetVolume>" + LOUD,
    "an external entity": b'<!DOCTYPE s [<!ENTITY v SYSTEM "file:///etc/passwd">]><SetVolume><Volume>&v;</Volume></SetVolume>',
    "laughs": b'<!DOCTYPE l [<!ENTITY a "ha">' + b"".join(b'<!ENTITY %c "%b">' % (c, b"&%c;" % (c - 1) * 10) for c in range(98, 112))
              + b"]><SetVolume><Volume>&o;</Volume></SetVolume>",
    "elements without end": b"<a>" * 20_000,
    "elements in elements": b"<a>" * 9000 + b"</a>" * 9000,
}


@pytest.mark.parametrize("what", NO_XML)
def test_what_is_no_xml_is_refused(bridge, what):
    assert refusal(bridge.request(NO_XML[what])) == (200, -1)


NO_COMMANDS = {
    "unknown": (b"<Reboot/>", -2),
    "in other case": (b"<getplayerstate/>", -2),
    "markup for a name": (b"<\xc3\xbc.-_/>", -2),
    "of another namespace": (b'<x:SetVolume xmlns:x="urn:x"><x:Volume>17</x:Volume></x:SetVolume>', -2),
    "of another namespace by default": (b'<SetVolume xmlns="urn:x"><Volume>17</Volume></SetVolume>', -2),
    "an unknown field": (b"<SetVolume><Volume>17</Volume><Loud/></SetVolume>", -3),
    "a field twice": (b"<SetVolume><Volume>17</Volume><Volume>18</Volume></SetVolume>", -3),
    "a field in a field": (b"<SetVolume><Volume><Volume>17</Volume></Volume></SetVolume>", -3),
    "text beside a field": (b"<SetVolume>17<Volume>17</Volume></SetVolume>", -3),
    "text instead of a field": (b"<SetVolume>17</SetVolume>", -3),
}


@pytest.mark.parametrize("what", NO_COMMANDS)
def test_what_is_no_command_is_refused(bridge, what):
    document, code = NO_COMMANDS[what]
    assert refusal(bridge.request(document)) == (200, code)


@pytest.mark.parametrize("document", [
    b'<?xml version="1.0"?>' + STATE,
    b'<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\r\n' + STATE + b"\r\n",
    b" " + STATE,
    b' <?xml version="1.0"?>' + STATE,
    b"\t\n" + STATE + b"\n\n ",
    b"\xef\xbb\xbf" + STATE,
    b"<GetPlayerState></GetPlayerState>",
    b"<GetPlayerState> \n </GetPlayerState>",
], ids=str)
def test_a_command_may_stand_in_white_space_behind_a_declaration(bridge, document):
    assert bridge.request(document).root().tag == "PlayerState"


@pytest.mark.parametrize("album", [
    "<Album>B\u00f6se &amp; &lt;mehr&gt; &#8364;</Album>".encode(),
    b"<Album><![CDATA[B\xc3\xb6se & <mehr> \xe2\x82\xac]]></Album>",
])
def test_markup_in_names_is_only_markup_in_xml(bridge, album):
    assert bridge.request(b"<GetAlbumSongs>" + album + b"</GetAlbumSongs>").root().tag == "AlbumSongs"


def test_takes_64_kib_and_no_more(bridge):
    largest = STATE.ljust(MOST_BYTES)
    assert bridge.request(largest).root().tag == "PlayerState"
    assert refusal(bridge.request(LOUD.ljust(MOST_BYTES + 1))) == (413, -7)


def test_refuses_a_large_request_before_it_is_there(bridge):
    assert refusal(bridge.request(LOUD, Content_Length=10**12)) == (413, -7)


def test_takes_a_request_in_chunks(bridge):
    head = b"POST / HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\nConnection: close\r\nTransfer-Encoding: chunked\r\n\r\n"
    chunks = b"".join(b"%x\r\n%b\r\n" % (len(part), part) for part in (STATE[:5], STATE[5:]))
    assert bridge.raw(head + chunks + b"0\r\n\r\n").root().tag == "PlayerState"
    many = b"".join(b"%x\r\n%b\r\n" % (1000, b" " * 1000) for _ in range(MOST_BYTES // 1000 + 1))
    assert refusal(bridge.raw(head + many + b"%x\r\n%b\r\n0\r\n\r\n" % (len(LOUD), LOUD))) == (413, -7)


@pytest.mark.parametrize("path", ["/", "/sleevery", "/a/b?c=d", "/%2e%2e/%00"])
def test_the_path_does_not_matter(bridge, path):
    assert bridge.request(STATE, path=path).root().tag == "PlayerState"


@pytest.mark.parametrize("content_type", ["text/xml", "application/xml", "Text/XML;charset=utf-8", 'application/xml; charset="UTF-8"'])
def test_commands_are_xml(bridge, content_type):
    assert bridge.request(STATE, Content_Type=content_type).root().tag == "PlayerState"


@pytest.mark.parametrize("content_type", ["text/plain", "text/plain; text/xml", "application/x-www-form-urlencoded", "text/xmlish",
                                          "multipart/form-data; boundary=x", "image/svg+xml", ""])
def test_what_a_form_can_send_is_refused(bridge, content_type):
    assert refusal(bridge.request(LOUD, Content_Type=content_type)) == (415, -7)


def test_a_request_of_no_type_is_refused(bridge):
    assert refusal(bridge.request(LOUD, drop=["Content-Type"])) == (415, -7)


def test_a_multipart_form_is_refused(bridge):
    body = b'--x\r\nContent-Disposition: form-data; name="a"\r\nContent-Type: text/xml\r\n\r\n' + LOUD + b"\r\n--x--\r\n"
    assert refusal(bridge.request(body, Content_Type="multipart/form-data; boundary=x")) == (415, -7)


@pytest.mark.parametrize("headers", [{"Origin": "http://evil.example"}, {"Origin": "null"}, {"Origin": "http://localhost"},
                                     {"Sec-Fetch-Site": "cross-site"}, {"Sec-Fetch-Site": "same-site"}], ids=str)
def test_another_sites_page_is_refused(bridge, headers):
    answer = bridge.request(LOUD, **headers)
    assert refusal(answer) == (403, -7)
    assert not [name for name in answer.headers if name.startswith("access-control")]


@pytest.mark.parametrize("site", ["none", "same-origin"])
def test_the_bridges_own_user_is_not(bridge, site):
    assert bridge.request(STATE, Sec_Fetch_Site=site).root().tag == "PlayerState"


@pytest.mark.parametrize("host", ["evil.example", "evil.example:80", "localhost.evil.example", "127.0.0.1.evil.example", "1.2.3", "[::1",
                                  "localhost, evil.example", ""])
def test_a_name_that_others_could_have_is_refused(bridge, host):
    assert refusal(bridge.request(LOUD, Host=host)) == (403, -7)


def test_a_request_to_nobody_is_refused(bridge):
    assert refusal(bridge.request(LOUD, drop=["Host"])) == (403, -7)


@pytest.mark.parametrize("host", ["localhost", "LocalHost:1", "127.0.0.1", "127.0.0.1:6680", "192.168.1.2", "[::1]", "[::1]:6680"])
def test_addresses_are_nobodys_names(bridge, host):
    assert bridge.request(STATE, Host=host).root().tag == "PlayerState"


def test_other_names_can_be_allowed(shared_mpd):
    with Bridge(shared_mpd.socket, options=["--host", "music.example"]) as bridge:
        assert bridge.request(STATE, Host="Music.example:80").root().tag == "PlayerState"
        assert refusal(bridge.request(STATE, Host="evil.example")) == (403, -7)


@pytest.mark.parametrize("method", ["GET", "PUT", "DELETE", "PATCH", "OPTIONS"])
def test_commands_are_posted(bridge, method):
    answer = bridge.request(LOUD, method=method)
    assert refusal(answer) == (405, -7)
    assert not [name for name in answer.headers if name.startswith("access-control")]


def test_a_browser_that_asks_whether_it_may_gets_no_permission(bridge):
    answer = bridge.request(method="OPTIONS", drop=["Content-Type"], Origin="http://evil.example",
                            Access_Control_Request_Method="POST", Access_Control_Request_Headers="content-type")
    assert answer.status in (403, 405)
    assert not [name for name in answer.headers if name.startswith("access-control")]


def test_a_head_has_no_body(bridge):
    answer = bridge.request(method="HEAD")
    assert (answer.status, answer.body) == (405, b"")


NO_HTTP = {
    "nothing": b"\r\n\r\n",
    "text": b"garbage\r\n\r\n",
    "half a line": b"POST\r\n\r\n",
    "TLS": b"\x16\x03\x01\x02\x00" + bytes(40) + b"\r\n\r\n",
    "less than no body": b"POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: -5\r\nContent-Type: text/xml\r\n\r\n" + LOUD,
    "many headers": b"POST / HTTP/1.1\r\n" + b"X: y\r\n" * 50_000 + b"\r\n" + LOUD,
    "a long path": b"POST /" + b"x" * 100_000 + b" HTTP/1.1\r\n\r\n" + LOUD,
}


@pytest.mark.parametrize("what", NO_HTTP)
def test_what_is_no_http_does_no_harm(bridge, what):
    with contextlib.suppress(ConnectionError), bridge.connect() as connection:
        connection.sendall(NO_HTTP[what])
        connection.shutdown(1)
        while connection.recv(65536):
            pass


@pytest.mark.parametrize("head", [
    b"Content-Type: text/plain\r\nContent-Length: %d",
    b"Content-Type: text/xml\r\nOrigin: http://evil.example\r\nContent-Length: %d",
    b"Content-Type: text/xml\r\nContent-Length: 0\r\nContent-Length: %d",
    b"Content-Type: text/xml\r\nTransfer-Encoding: chunked\r\nContent-Length: %d",
])
def test_what_is_refused_hides_no_second_request(bridge, head):
    hidden = b"POST / HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\nContent-Length: %d\r\n\r\n" % len(LOUD) + LOUD
    with bridge.connect() as connection:
        connection.sendall(b"POST / HTTP/1.1\r\nHost: localhost\r\n" + head % len(hidden) + b"\r\n\r\n")
        assert read(connection).status in (400, 403, 415)
        with contextlib.suppress(ConnectionError):  # the bridge may have closed the connection already
            connection.sendall(hidden)
            assert connection.recv(1) == b""


def test_a_connection_is_kept(bridge):
    request = (b"POST / HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\nContent-Length: %d\r\n\r\n" % len(STATE)) + STATE
    with bridge.connect() as connection:
        for _ in range(100):
            connection.sendall(request)
            assert read(connection).root().tag == "PlayerState"


def test_two_dozen_at_once_while_one_says_nothing(bridge):
    with bridge.connect(), bridge.connect() as unfinished, concurrent.futures.ThreadPoolExecutor(24) as pool:
        unfinished.sendall(b"POST / HTTP/1.1\r\n")
        answers = pool.map(bridge.request, [STATE] * 240)
        assert {answer.root().tag for answer in answers} == {"PlayerState"}
