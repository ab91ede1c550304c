# SPDX-License-Identifier: MIT
"""The service that passes commands on to the appliance."""

import pytest
from answers import API_FORM, SERVER_ERROR, UTF8_DECLARATION, XML_HEADER, exception
from forms import Part, multipart, urlencoded
from seam import escaped, quoted

COMMAND = b"<GetPlayerState/>"
INSTANCE = "Quavion::Instance()"
REPLIED = XML_HEADER + UTF8_DECLARATION + b"<PlayerState/>"
BARE = XML_HEADER + UTF8_DECLARATION


def sent(command):
    return f"Quavion::Send({quoted(command)})"


@pytest.mark.parametrize("method", ["GET", "HEAD", "PUT", "post", "Post", "POSTS", "POST ", ""])
def test_any_other_method_shows_the_form(seam, method):
    assert seam.get("/sleevery/quavionAPI", "xmlString=x&xslt=a.xsl", method) == API_FORM
    assert seam.post("/sleevery/quavionAPI", urlencoded([("xmlString", COMMAND)]), method=method) == API_FORM
    assert seam.calls == []
    assert seam.stderr == b""


@pytest.mark.parametrize(
    "content",
    [urlencoded([("xmlString", COMMAND)]), multipart([Part("xmlString", COMMAND)])],
    ids=["urlencoded", "multipart"],
)
def test_the_reply_goes_out_behind_a_declaration(seam, content):
    assert seam.post("/sleevery/quavionAPI", content) == REPLIED
    assert seam.calls == [INSTANCE, sent(COMMAND)]
    assert seam.stderr == b""


def test_the_form_s_own_command_keeps_its_blank(seam):
    assert seam.post("/sleevery/quavionAPI", multipart([Part("xmlString", b" <GetPlayerState />")])) == REPLIED
    assert seam.calls == [INSTANCE, sent(" <GetPlayerState />")]


COMMANDS = [b"", b"  ", b"no <xml", b"<&>\"'\\", b"\xe4\xff\0\x01\n\r\n", "<Ä>☃</Ä>".encode(), pytest.param(b"x" * 100_000, id="long")]


@pytest.mark.parametrize("command", COMMANDS)
@pytest.mark.parametrize("kind", ["urlencoded", "multipart"])
def test_every_byte_of_the_command_is_passed_on(seam, command, kind):
    content = urlencoded([("xmlString", command)]) if kind == "urlencoded" else multipart([Part("xmlString", command)])
    assert seam.post("/sleevery/quavionAPI", content) == REPLIED
    assert seam.calls == [INSTANCE, sent(command)]


@pytest.mark.parametrize(
    "reply", [b"", b"no <xml", b"\xe4\xff\0\x01\n\n", b"<Error code=\"-2\">Unknown.</Error>", pytest.param(b"<Song/>" * 20_000, id="long")]
)
def test_every_byte_of_the_reply_goes_out(start, reply):
    seam = start("Quavion::Send return " + escaped(reply))
    assert seam.post("/sleevery/quavionAPI", urlencoded([("xmlString", COMMAND)])) == BARE + reply


@pytest.mark.parametrize("fields", [[], [("xslt", "")], [("xml", "<x/>"), ("artist", "y")]])
def test_without_a_command_the_appliance_is_left_alone(seam, fields):
    assert seam.post("/sleevery/quavionAPI", urlencoded(fields)) == BARE
    assert seam.calls == []


def test_of_two_commands_the_first_is_sent(seam):
    seam.post("/sleevery/quavionAPI", urlencoded([("xmlString", b"<Play/>"), ("xmlString", b"<Stop/>")]))
    assert seam.calls == [INSTANCE, sent("<Play/>")]
    seam.post("/sleevery/quavionAPI", urlencoded([("xmlString", b""), ("xmlString", b"<Stop/>")]))
    assert seam.calls == [INSTANCE, sent("")]


def test_a_command_in_the_query_string_of_a_post_counts(seam):
    assert seam.post("/sleevery/quavionAPI", urlencoded([]), "xmlString=%3CStop/%3E") == REPLIED
    assert seam.calls == [INSTANCE, sent("<Stop/>")]


def test_the_instance_is_asked_for_each_time(seam):
    for _ in range(3):
        seam.post("/sleevery/quavionAPI", urlencoded([("xmlString", COMMAND)]))
        assert seam.calls == [INSTANCE, sent(COMMAND)]


def test_a_stylesheet_gets_declaration_and_reply(start):
    seam = start("XMLParser::transform return page")
    content = urlencoded([("xmlString", COMMAND), ("xslt", "a.xsl")])
    assert seam.post("/sleevery/quavionAPI", content) == b"Content-Type: text/plain\n\npage"
    assert seam.calls[-4:] == [
        "XMLParser::XMLParser()",
        f"XMLParser::parse({quoted(UTF8_DECLARATION + b'<PlayerState/>')})",
        'XMLParser::transform("a.xsl")',
        "XMLParser::~XMLParser()",
    ]


def test_a_failure_to_deliver_is_a_server_error(start):
    seam = start("XMLParser::parse throw util x")
    assert seam.post("/sleevery/quavionAPI", urlencoded([("xmlString", COMMAND)]), "xslt=a.xsl") == SERVER_ERROR


@pytest.mark.parametrize("function", ["Quavion::Instance", "Quavion::Send"])
@pytest.mark.parametrize("kind", ["util", "std"])
@pytest.mark.parametrize("text", [b"", b"The appliance can't be reached.", b"<b>\xff\n"])
def test_a_link_that_fails_is_an_exception(start, function, kind, text):
    seam = start(f"{function} throw {kind} {escaped(text)}")
    assert seam.post("/sleevery/quavionAPI", urlencoded([("xmlString", COMMAND)])) == XML_HEADER + exception(text)
