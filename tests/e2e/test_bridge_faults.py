# SPDX-License-Identifier: MIT
"""The bridge while MPD is gone, slow or refuses; its start and its end."""

import concurrent.futures
import contextlib
import resource
import socket
import stat
import subprocess

import pytest
from bridge import PROGRAM, TIMEOUT_SECONDS, Bridge, command, refusal, texts
from library import LONG
from mpd import Mpd

STATE = command("GetPlayerState")
PLAY = command("Play")


@pytest.fixture
def own_mpd(music):
    """A separate MPD that a test may freeze or kill."""
    with Mpd(music) as running:
        yield running


def answers(bridge):
    return bridge.command(STATE)[0] == 200


def is_away(bridge, document=STATE):
    return refusal(bridge.request(document)) == (503, -6)


@pytest.mark.parametrize("over_tcp", [True, False])
def test_needs_no_mpd_to_start(own_mpd, over_tcp):
    own_mpd.stop()
    with Bridge(f"127.0.0.1:{own_mpd.port}" if over_tcp else own_mpd.socket) as bridge:
        assert is_away(bridge) and is_away(bridge)
        own_mpd.start()
        assert answers(bridge)


def test_nobody_sees_that_mpd_was_restarted(own_mpd):
    with Bridge(own_mpd.socket) as bridge:
        for end in (own_mpd.stop, own_mpd.kill):
            assert answers(bridge)
            end()
            own_mpd.start()
            assert answers(bridge)


def test_mpd_that_has_gone_is_told(own_mpd):
    with Bridge(own_mpd.socket) as bridge:
        assert answers(bridge)
        own_mpd.kill()
        assert is_away(bridge) and is_away(bridge)
        own_mpd.start()
        assert answers(bridge)


def test_mpd_closes_connections_that_are_not_used(music):
    with Mpd(music, settings='connection_timeout "1"') as mpd, Bridge(mpd.socket) as bridge:
        assert answers(bridge)
        with mpd.client() as later_one:
            later_one.wait_for_the_end()
        assert answers(bridge)


def test_mpd_that_hangs_is_told_and_forgotten(own_mpd):
    with Bridge(own_mpd.socket, options=["--mpd-timeout", "1"]) as bridge:
        assert answers(bridge)
        own_mpd.freeze()
        assert is_away(bridge), "on the connection that was there"
        assert is_away(bridge), "on a new one, without a greeting"
        own_mpd.thaw()
        assert answers(bridge)


def test_others_wait_no_longer_than_that(own_mpd):
    with Bridge(own_mpd.socket, options=["--mpd-timeout", "1"]) as bridge, concurrent.futures.ThreadPoolExecutor(8) as pool:
        own_mpd.freeze()
        assert all(pool.map(lambda _: is_away(bridge), range(8)))
        own_mpd.thaw()
        assert answers(bridge)


def test_mpd_killed_in_the_middle_is_not_asked_again(own_mpd):
    own_mpd.ask("add", LONG[0].file)
    with Bridge(own_mpd.socket) as bridge, concurrent.futures.ThreadPoolExecutor(1) as pool:
        assert answers(bridge)
        own_mpd.freeze()
        asked = pool.submit(is_away, bridge, PLAY)
        with pytest.raises(concurrent.futures.TimeoutError):
            asked.result(0.2)  # MPD is frozen, so there can be no answer
        own_mpd.kill()
        assert asked.result(TIMEOUT_SECONDS)
        own_mpd.start()
        assert answers(bridge) and own_mpd.status()["state"] == "stop"


def test_no_connection_gets_a_number_that_the_mpd_library_can_not_wait_for(own_mpd):
    _, most = resource.getrlimit(resource.RLIMIT_NOFILE)
    with Bridge(own_mpd.socket) as bridge:
        assert resource.prlimit(bridge.process.pid, resource.RLIMIT_NOFILE) == (min(most, 1024), most)
        assert answers(bridge)


def test_something_else_than_mpd_is_told():
    with socket.create_server(("127.0.0.1", 0)) as other:
        other.settimeout(TIMEOUT_SECONDS)
        with Bridge(f"127.0.0.1:{other.getsockname()[1]}") as bridge, concurrent.futures.ThreadPoolExecutor(1) as pool:
            asked = pool.submit(is_away, bridge)
            with other.accept()[0] as connection:
                connection.sendall(b"220 mail.example ESMTP\r\n")
                assert asked.result(TIMEOUT_SECONDS)


def test_a_password_comes_from_a_file(music, tmp_path):
    settings = 'password "secret@read,add,control,admin"\ndefault_permissions ""\nlocal_permissions "read,add,control,admin"'
    password, wrong = tmp_path / "password", tmp_path / "wrong"
    password.write_text("secret\n")
    wrong.write_text("guess\n")
    with Mpd(music, settings) as mpd:
        address = f"127.0.0.1:{mpd.port}"
        with Bridge(address) as bridge:
            assert refusal(bridge.request(STATE)) == (200, -5)
        with Bridge(address, options=["--mpd-password-file", wrong]) as bridge:
            assert bridge.request(STATE).root().tag == "Error" and b"guess" not in bridge.request(STATE).body
        with Bridge(address, options=["--mpd-password-file", password]) as bridge:
            assert answers(bridge)
            mpd.restart()
            assert answers(bridge)
            assert "secret" not in bridge.messages()


def test_what_mpd_says_comes_without_markup():
    with socket.create_server(("127.0.0.1", 0)) as other:
        other.settimeout(TIMEOUT_SECONDS)
        with Bridge(f"127.0.0.1:{other.getsockname()[1]}") as bridge, concurrent.futures.ThreadPoolExecutor(1) as pool:
            asked = pool.submit(bridge.request, command("Next"))
            with other.accept()[0] as connection:
                connection.sendall(b"OK MPD 0.23.12\n")
                assert connection.recv(1000)
                connection.sendall(b"ACK [5@0] {next} <b>no &amp; never</b> \x01\x1b[31m\xff\n")
                assert refusal(asked.result(TIMEOUT_SECONDS)) == (200, -5)


def test_listens_on_a_unix_socket_for_its_own_user(mpd, tmp_path):
    path = tmp_path / "bridge.socket"
    with Bridge(mpd.socket, socket=path) as bridge:
        assert stat.S_IMODE(path.stat().st_mode) == 0o600
        assert texts(bridge.command(STATE)[1])["State"] == "stopped"
        assert bridge.request(STATE, Host="whatever.example").status == 200
        assert refusal(bridge.request(STATE, Origin="http://evil.example")) == (403, -7)
        assert bridge.end() == 0
        assert not path.exists()


def test_takes_the_place_of_a_socket_that_nobody_listens_on(mpd, tmp_path):
    path = tmp_path / "bridge.socket"
    with Bridge(mpd.socket, socket=path) as killed:
        killed.process.kill()
        killed.process.wait()
    assert path.exists()
    with Bridge(mpd.socket, socket=path) as bridge:
        assert answers(bridge)


def fails(*options):
    done = subprocess.run([PROGRAM, *map(str, options)], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=TIMEOUT_SECONDS)
    assert done.stderr.strip() and len(done.stderr.splitlines()) < 20
    return done.returncode


def test_does_not_touch_what_is_no_socket_or_in_use(mpd, tmp_path):
    file = tmp_path / "file"
    file.write_text("mine")
    assert fails("--socket", file, "--mpd", mpd.socket) == 1 and file.read_text() == "mine"
    path = tmp_path / "bridge.socket"
    with Bridge(mpd.socket, socket=path) as bridge:
        assert fails("--socket", path, "--mpd", mpd.socket) == 1
        assert answers(bridge)


def test_says_that_a_port_is_in_use(mpd):
    with Bridge(mpd.socket) as bridge:
        assert fails("--listen", f"127.0.0.1:{bridge.port}", "--mpd", mpd.socket) == 1
        assert answers(bridge)


@pytest.mark.parametrize("options", [
    ["--no-such"], ["--listen"], ["--listen", "x"], ["--listen", "127.0.0.1:0x"], ["--listen", "127.0.0.1:99999"], ["--mpd", ""],
    ["--mpd-timeout", "0"], ["--mpd-timeout", "soon"], ["--mpd-password-file", "/no/such/file"],
    ["--socket", "/tmp/x", "--listen", "127.0.0.1:6680"], ["--socket", "/tmp/" + "x" * 200], ["stray"],
], ids=str)
def test_refuses_options_that_it_does_not_understand(options):
    assert fails(*options) == 2


def test_says_once_where_it_listens(mpd):
    with Bridge(mpd.socket) as bridge:
        assert bridge.end() == 0
        (line,) = bridge.messages().splitlines()
        assert str(bridge.port) in line


@pytest.mark.parametrize("what", ["nothing", "a kept connection", "a connection that says nothing", "MPD that hangs"])
def test_ends_when_it_is_told_to(own_mpd, what):
    with Bridge(own_mpd.socket, options=["--mpd-timeout", "2"]) as bridge, contextlib.ExitStack() as stack:
        assert answers(bridge)
        if what == "a kept connection":
            connection = stack.enter_context(bridge.connect())
            connection.sendall(b"POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 0\r\nContent-Type: text/xml\r\n\r\n")
            assert connection.recv(1)
        elif what == "a connection that says nothing":
            stack.enter_context(bridge.connect())
        elif what == "MPD that hangs":
            own_mpd.freeze()
            stack.enter_context(concurrent.futures.ThreadPoolExecutor(1)).submit(bridge.request, STATE)
        assert bridge.end() == 0
        with pytest.raises(ConnectionRefusedError):
            bridge.connect()
