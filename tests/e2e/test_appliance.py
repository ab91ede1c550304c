# SPDX-License-Identifier: MIT
"""Commands to an appliance, and their failures."""

import contextlib
import socket
import time

import pytest
from answers import exception, stored_key
from appliance import Appliance
from documents import document
from pictures import png
from ports import free_port
from waiting import wait_until

DECLARATION = '<?xml version="1.0" encoding="UTF-8"?>\n'
COMMAND = "<GetPlayerState/>"
SLACK_SECONDS = 5  # for a busy machine
COVER = png((30, 20), seed=7)


@pytest.fixture(scope="module")
def appliance():
    with Appliance() as running:
        yield running


@pytest.fixture
def linked(shared_server, appliance):
    """A server that uses the appliance. The appliance gives its usual reply."""
    appliance.reply, appliance.content_type = b"<PlayerState/>", "text/xml"
    appliance.commands.clear()
    use(shared_server, appliance.url())
    shared_server.post("parameter", {"deviceTimeout": "2", "deviceConnectTimeout": "1"})
    return shared_server


def use(server, url):
    server.post("parameter", {"deviceUrl": url})


def send(server, command=COMMAND, **fields):
    return server.post("quavionAPI", {"xmlString": command, **fields})


def works(server, appliance):
    """True if the server works again with a good appliance."""
    use(server, appliance.url())
    return send(server).text == DECLARATION + appliance.reply.decode()


@pytest.mark.parametrize("command", [COMMAND, " <GetPlayerState />", "", "no <xml & more", "<Ä>☃ \"'\\</Ä>", "x" * 60_000])
def test_a_command_arrives_as_it_is(linked, appliance, command):
    answer = send(linked, command)
    assert (answer.headers["Content-Type"], answer.text) == ("text/xml", DECLARATION + "<PlayerState/>")
    assert appliance.commands == [command.encode()]


def test_without_a_command_the_appliance_is_left_alone(linked, appliance):
    assert linked.post("quavionAPI", {"x": "y"}).text == DECLARATION
    assert linked.get("quavionAPI", xmlString=COMMAND).headers["Content-Type"] == "text/html"
    assert appliance.commands == []


def test_a_reply_comes_in_utf8_and_without_its_declaration(linked, appliance):
    appliance.reply = '<?xml version="1.0" encoding="ISO-8859-1"?>\n<Song>Grüße</Song>\n'.encode("latin-1")
    assert send(linked).content == (DECLARATION + "<Song>Grüße</Song>\n").encode()


def test_what_the_appliance_refuses_is_a_reply(linked, appliance):
    appliance.reply = b'<Error code="-2">Unknown command.</Error>'
    assert send(linked).text == DECLARATION + appliance.reply.decode()


def test_a_reply_can_be_transformed(linked, appliance):
    answer = send(linked, xslt="answer-text.xsl")
    assert answer.status_code == 200
    assert appliance.commands == [COMMAND.encode()]


def test_without_an_address_the_parameter_is_named(linked, appliance):
    linked.post("parameter", {"cmdDelete": "deviceUrl"})
    sentence = "The appliance's address is not known: the parameter deviceUrl has to be set."
    assert send(linked).text == exception(sentence)
    assert linked.post("tracks", {"artist": "Lowbeam", "album": "Paper Lanterns"}).text == exception(sentence)
    assert works(linked, appliance)


FAILURES = {
    "silent": "The appliance did not answer in time.",
    "half": "The appliance's answer is shorter than announced.",
    "nothing": "The appliance broke the connection off.",
    "huge": "The appliance's answer is larger than 8388608 bytes.",
    "garbage": "The address leads to something other than a web server.",
    "away": "The appliance answered with status 503: No music here.",
}


@pytest.mark.parametrize("what", FAILURES)
@pytest.mark.parametrize("service, fields", [("quavionAPI", {"xmlString": COMMAND}), ("tracks", {"album": "Paper Lanterns"})])
def test_a_peer_that_fails_is_named_in_time(linked, appliance, what, service, fields):
    appliance.reply = b'<Error code="-6">No music here.</Error>'
    use(linked, appliance.url(what))
    begin = time.monotonic()
    assert linked.post(service, fields).text == exception(FAILURES[what])
    assert time.monotonic() - begin < 2 + SLACK_SECONDS
    assert len(appliance.commands) == 1, "it was sent twice"
    assert works(linked, appliance)


def test_a_peer_that_refuses_connections_is_named(linked, appliance):
    use(linked, f"http://127.0.0.1:{free_port()}/")
    assert send(linked).text == exception("The appliance can't be reached.")
    assert works(linked, appliance)


@contextlib.contextmanager
def deaf_peer():
    """The address of a peer that never accepts a connection: its queue of waiting connections is full."""
    with contextlib.ExitStack() as stack:
        listener = stack.enter_context(socket.socket())
        listener.bind(("127.0.0.1", 0))
        listener.listen(0)
        for _ in range(4):
            waiting = stack.enter_context(socket.socket())
            waiting.setblocking(False)
            with contextlib.suppress(BlockingIOError):
                waiting.connect(listener.getsockname())
        yield "http://{}:{}/".format(*listener.getsockname())


def test_a_peer_that_takes_up_no_connection_is_named_in_time(linked, appliance):
    with deaf_peer() as url:
        use(linked, url)
        begin = time.monotonic()
        assert send(linked).text == exception("The appliance did not answer in time.")
        assert time.monotonic() - begin < 1 + SLACK_SECONDS
    assert works(linked, appliance)


REPLY = b"""<?xml version="1.0"?>
<AlbumSongs>
  <Song><Number>1</Number><Disc>1</Disc><Title>Quiet Harbour</Title><Artist>Lowbeam</Artist><Length>214</Length><File>a.flac</File></Song>
  <Song><Title>Tide &amp; \xe2\x98\x83</Title><File>b.flac</File></Song>
</AlbumSongs>"""


def test_tracks_are_those_of_the_appliance(linked, appliance):
    appliance.reply = REPLY
    root = document(linked.post("tracks", {"artist": "Lowbeam", "album": "Paper Lanterns"}), "AlbumSongs")
    assert [[(child.tag, child.text) for child in track] for track in root.findall("Track")] == [
        [("Number", "1"), ("Disc", "1"), ("Title", "Quiet Harbour"), ("Artist", "Lowbeam"), ("Length", "214"), ("File", "a.flac")],
        [("Title", "Tide & ☃"), ("File", "b.flac")],
    ]


def test_tracks_are_asked_for_as_the_cache_completes_the_song(linked, appliance):
    linked.post("parameter", {"cmdDelete": "deviceUrl"})  # so that the upload does not ask for the current cover
    linked.upload(COVER, "image/png", artist="Lowbeam", title="Known Song", album="Known Album")
    use(linked, appliance.url())
    appliance.reply = b"<AlbumSongs/>"
    root = document(linked.post("tracks", {"artist": "lowbeam", "title": "KNOWN song"}), "AlbumSongs")
    assert (root.findtext("Song/Album"), root.findall("Track")) == ("Known Album", [])
    assert appliance.commands == [b"<GetAlbumSongs><Album>Known Album</Album><Artist>lowbeam</Artist></GetAlbumSongs>"]


def test_without_an_album_there_are_no_tracks(linked, appliance):
    for fields in ({"artist": "Lowbeam", "title": "Unknown"}, {"artist": "Lowbeam"}, {}):
        assert document(linked.post("tracks", fields), "AlbumSongs").findall("Track") == []
    assert appliance.commands == []


def test_what_is_no_list_of_songs_is_an_exception(linked, appliance):
    for reply, text in (
        (b"no xml", "The appliance answered something else than a list of songs."),
        (b"<PlayerState/>", "The appliance answered something else than a list of songs."),
        (b'<Error code="-3">&lt;Album&gt; is missing.</Error>', "The appliance refuses the command: Album is missing."),
    ):
        appliance.reply = reply
        assert linked.post("tracks", {"album": "Paper Lanterns"}).text == exception(text)


# The current cover.

PLAYING = b"<CurrentSong><Song><Artist>Lowbeam</Artist><Title>Tide</Title><Album>Shown Album</Album><File>a</File></Song></CurrentSong>"


def shown(server):
    file = server.state / "current-cover.png"
    return file.read_bytes() if file.exists() else None


def test_an_upload_brings_the_current_cover_up_to_date(linked, appliance):
    appliance.reply = PLAYING
    linked.upload(COVER, "image/png", artist="Lowbeam", album="Shown Album")
    wait_until(lambda: shown(linked) == COVER)
    appliance.reply = b"<CurrentSong/>"
    linked.upload(COVER, "image/png", artist="Lowbeam", album="Shown Album")
    wait_until(lambda: shown(linked) is None)


def test_without_an_appliance_there_is_no_current_cover(linked, appliance):
    linked.post("parameter", {"cmdDelete": "deviceUrl"})
    appliance.reply = PLAYING
    stored_key(linked.upload(COVER, "image/png", artist="Lowbeam", album="Shown Album"))
    use(linked, appliance.url())
    assert appliance.commands == []


def test_nobody_waits_for_a_dead_appliance(server, appliance):
    server.post("parameter", {"deviceUrl": appliance.url("silent"), "deviceTimeout": "60"})
    appliance.commands.clear()
    begin = time.monotonic()
    stored_key(server.upload(COVER, "image/png", artist="Lowbeam", album="Shown Album"))
    wait_until(lambda: appliance.commands)
    for _ in range(3):  # while the responder waits for the appliance
        stored_key(server.upload(COVER, "image/png", artist="Lowbeam", album="Shown Album"))
    assert time.monotonic() - begin < 10 + SLACK_SECONDS
    begin = time.monotonic()
    server.stop()
    assert time.monotonic() - begin < 10 + SLACK_SECONDS
