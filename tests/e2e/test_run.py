# SPDX-License-Identifier: MIT
"""./run, as a user starts it."""

import os
import re
import signal
import socket
import subprocess

import library
import pytest
import requests
from answers import png_of, stored_key
from lxml import etree
from pictures import png
from ports import free_port
from programs import HEEDING_SIGNALS
from server import ROOT, Server
from waiting import wait_until


@pytest.fixture
def options():
    return []


@pytest.fixture
def start(tmp_path):
    """Starts ./run through a symbolic link and with CDPATH set. Returns its process, its port and its output."""
    started = []
    (tmp_path / "bin").mkdir()
    (tmp_path / "bin/sleevery").symlink_to(ROOT / "run")

    def start_run(*options, before=()):
        port = free_port()
        process = subprocess.Popen([*before, *HEEDING_SIGNALS, "bin/sleevery", "--port", str(port), "--state", str(tmp_path / "state"), "--processes", "1",
                                    *options], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, cwd=tmp_path,
                                   env={**os.environ, "CDPATH": f"{tmp_path}:/usr"}, start_new_session=True)
        started.append(process)
        said = []
        for line in process.stdout:
            said.append(line)
            if "Ctrl-C" in line:
                break
        return process, port, "".join(said)

    yield start_run
    for process in started:
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
        process.stdout.close()


@pytest.fixture
def running(start, options):
    return start(*options)


def processes_naming(text):
    return [pid for pid in filter(str.isdigit, os.listdir("/proc")) if text in command_line(pid)]


def command_line(pid):
    try:
        with open(f"/proc/{pid}/environ", "rb") as environment, open(f"/proc/{pid}/cmdline", "rb") as command:
            return (environment.read() + command.read()).decode(errors="replace")
    except OSError:
        return ""


def parent(pid):
    with open(f"/proc/{pid}/stat") as stat:
        return int(stat.read().rsplit(") ", 1)[1].split()[1])


def test_prints_its_address_serves_and_stops_everything_on_ctrl_c(running, tmp_path):
    process, port, said = running
    address = re.search(r"http://\S+/sleevery/", said).group(0)
    assert address == f"http://127.0.0.1:{port}/sleevery/"
    answer = requests.post(address + "upload", data={"artist": "A", "title": "T"}, files={"image": ("c.png", png(), "image/png")}, timeout=60)
    key = stored_key(answer)
    assert png_of(requests.get(address + "show", params={"key": key}, timeout=60)) == png()
    answer = requests.post(address + "upload", data={"artist": "A", "title": "T", "xslt": "answer-text.xsl"}, timeout=60)
    assert answer.headers["Content-Type"] == "text/plain" and "Artist: A" in answer.text
    assert (tmp_path / "state").stat().st_mode & 0o777 == 0o700
    os.killpg(process.pid, signal.SIGINT)
    assert process.wait(60) == 130
    assert process.stdout.read() == ""
    assert "received SongInfo" in (tmp_path / "state/run.log").read_text()
    with pytest.raises(requests.ConnectionError):
        requests.get(address, timeout=60)
    assert processes_naming(f"STATE_DIRECTORY={tmp_path}") == []


def test_says_what_is_wrong_with_the_store_and_ends(tmp_path):
    (tmp_path / "covers.db").write_bytes(b"garbage" * 5000)
    done = subprocess.run([ROOT / "run", "--port", str(free_port()), "--state", str(tmp_path)], stdin=subprocess.DEVNULL,
                          capture_output=True, text=True, timeout=120)
    assert done.returncode == 1 and "The cover store is damaged" in done.stderr


@pytest.mark.parametrize("arguments", [["--port"], ["--port", "x"], ["--port", "0"], ["--port", "99999"], ["--port", "65536"],
                                       ["--port", "99999999999999999999"], ["--processes", "0"], ["--processes", "65"],
                                       ["--processes", "100000"], ["--state", "a:b"], ["--state", 'a"b'], ["--no-such-option"]])
def test_refuses_what_it_does_not_know(arguments):
    done = subprocess.run([ROOT / "run", *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60)
    assert done.returncode == 2 and done.stderr.splitlines()[-1].startswith("./run: ")


@pytest.mark.parametrize("listening", [True, False])
def test_says_that_the_port_is_in_use(start, listening):
    with socket.socket() as holder:
        holder.bind(("127.0.0.1", 0))
        if listening:
            holder.listen()
        port = holder.getsockname()[1]
        process, _, said = start("--port", str(port))
        assert process.wait(60) == 1
        assert said.splitlines()[-1] == f"./run: port {port} is in use; choose another one with --port"


def test_says_so_when_the_web_server_ends(running):
    process, port, _ = running
    (lighttpd,) = [int(pid) for pid in processes_naming("lighttpd.conf") if os.getppid() != int(pid) and parent(pid) == process.pid]
    os.kill(lighttpd, signal.SIGKILL)
    assert process.wait(60) == 1
    assert "./run: the web server has ended" in process.stdout.read()


@pytest.fixture
def odd_folder(tmp_path):
    """A music folder with a name that needs quoting."""
    folder = tmp_path / 'the "music" \\ here'
    library.make(folder, library.TWENTY)
    return folder


def ask(address, command):
    answer = requests.post(address + "quavionAPI", data={"xmlString": command}, timeout=60)
    assert answer.status_code == 200
    return etree.fromstring(answer.content)


class TestMpd:
    @pytest.fixture
    def options(self, odd_folder):
        return ["--mpd", "--music", odd_folder]

    @pytest.mark.parametrize("ending", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP], ids=str)
    def test_is_the_appliance_and_stops_with_the_rest(self, running, ending, tmp_path):
        process, port, said = running
        address = f"http://127.0.0.1:{port}/sleevery/"
        socket = re.search(r"--host=(\S+/mpd\.socket)", said).group(1)
        assert ask(address, "<GetPlayerState/>").findtext("State") == "stopped"
        songs = wait_until(lambda: ask(address, "<GetAlbumSongs><Album>Twenty Songs</Album></GetAlbumSongs>").findall("Song"))
        assert [song.findtext("File") for song in songs] == [song.file for song in library.TWENTY]
        ask(address, "<AddAlbum><Album>Twenty Songs</Album></AddAlbum>")
        listed = subprocess.run(["mpc", f"--host={socket}", "playlist", "--format", "%file%"], capture_output=True, text=True, check=True)
        assert listed.stdout.splitlines() == [song.file for song in library.TWENTY]
        os.killpg(process.pid, ending)
        assert process.wait(60) == 128 + ending
        assert processes_naming(os.path.dirname(socket)) == [] and not os.path.exists(os.path.dirname(socket))
        with Server(tmp_path / "state") as later:
            assert "<Parameter name=\"deviceUrl\"></Parameter>" in later.post("parameter", {}).text


    def test_stops_everything_for_people_without_patience_too(self, running):
        process, port, said = running
        folder = os.path.dirname(re.search(r"--host=(\S+/mpd\.socket)", said).group(1))
        (mpd,) = [int(pid) for pid in processes_naming(f"{folder}/mpd.conf") if "--no-daemon" in command_line(pid)]
        os.kill(mpd, signal.SIGSTOP)  # so that stopping waits for MPD to continue
        try:
            os.killpg(process.pid, signal.SIGINT)
            wait_until(lambda: processes_naming(f"{folder}/lighttpd.conf") == [])
            os.killpg(process.pid, signal.SIGINT)
        finally:
            os.kill(mpd, signal.SIGCONT)
        assert process.wait(60) == 130
        assert processes_naming(folder) == [] and not os.path.exists(folder)


def test_shows_why_mpd_does_not_start(tmp_path):
    broken = tmp_path / "bin" / "mpd"
    broken.parent.mkdir()
    broken.write_text("#!/bin/sh\necho there is no sound in here >&2\nexit 1\n")
    broken.chmod(0o755)
    done = subprocess.run([ROOT / "run", "--mpd", "--port", str(free_port()), "--state", str(tmp_path / "state")], stdin=subprocess.DEVNULL,
                          capture_output=True, text=True, timeout=300,
                          env={**os.environ, "PATH": f"{broken.parent}:{os.environ['PATH']}", "TMPDIR": str(tmp_path)})
    assert done.returncode == 1 and "MPD did not start" in done.stderr and "there is no sound in here" in done.stderr
    assert processes_naming(f"STATE_DIRECTORY={tmp_path}") == [] == processes_naming(f"TMPDIR={tmp_path}")
    assert not list(tmp_path.glob("tmp.*"))
