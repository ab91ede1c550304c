# SPDX-License-Identifier: MIT
"""Runs lighttpd with the shipped configuration in front of one or more responders, and sends requests to them."""

import http.client
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
from typing import NamedTuple

import processes

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / "build/bench"  # data that is kept between runs, and the state folders of a run
PROGRAMS = ROOT / "build/release"
RESPONDER = PROGRAMS / "sleevery.fcgi"
BARE_RESPONDER = PROGRAMS / "bench/bare_responder"

sys.path.insert(0, str(ROOT / "tests/cgi"))

import fcgi_client  # noqa: E402
import forms  # noqa: E402


class Site(NamedTuple):
    """A responder with its state folder. Its services are below /NAME/."""

    name: str
    program: pathlib.Path
    state: pathlib.Path


class Answer(NamedTuple):
    status: int
    headers: dict
    body: bytes


class Server:
    """A running lighttpd with one process for each site, as a context manager."""

    def __init__(self, *sites):
        self._sites = sites

    def __enter__(self):
        self._folder = pathlib.Path(tempfile.mkdtemp(prefix="sleevery-bench-"))
        self._log = self._folder / "stderr.log"
        self._port = _free_port()
        configuration = self._folder / "lighttpd.conf"
        configuration.write_text(self._configuration())
        with self._log.open("wb") as log:
            self._process = subprocess.Popen(
                ["/usr/sbin/lighttpd", "-D", "-f", configuration],
                stdin=subprocess.DEVNULL,
                stderr=log,
                start_new_session=True,  # Ctrl-C reaches only this driver, which then stops the server
            )
        try:
            processes.wait_until(self._is_up, "the server to answer")
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        started = processes.below(self._process.pid)
        self._process.terminate()
        self._process.wait(processes.WAIT_SECONDS)
        processes.wait_until(lambda: not any(map(processes.is_alive, started)), "the responders to end")
        shutil.rmtree(self._folder)

    def _configuration(self):
        """The shipped configuration, with one more fastcgi.server block for each further site."""
        first, *others = [self._shipped(site) for site in self._sites]
        blocks = [re.search(r"^fastcgi\.server = \(.*?^\)\) \)$", text, re.DOTALL | re.MULTILINE)[0] for text in others]
        return first + "".join(block.replace("server =", "server +=") + "\n" for block in blocks)

    def _shipped(self, site):
        """The configuration for `site` alone."""
        command = [ROOT / "packaging/lighttpd-conf", self._port, 1, self._folder, site.state, site.program]
        text = subprocess.run(map(str, command), check=True, capture_output=True, text=True).stdout
        text = text.replace('"/sleevery/"', f'"/{site.name}/"')
        return text.replace("/responder.sock", f"/{site.name}.sock")

    def _is_up(self):
        if self._process.poll() is not None:
            raise RuntimeError("lighttpd ended: " + self._log.read_text(errors="backslashreplace"))
        try:
            return all(self.get(site, "show").status < 500 for site in self._sites)
        except ConnectionRefusedError:
            return False

    def process(self, site):
        """The process id of the site's responder."""
        return processes.running(self._process.pid, site.program)

    def url(self, site, path):
        return f"http://127.0.0.1:{self._port}/{site.name}/{path}"

    def connect(self):
        """A connection that is kept open."""
        return http.client.HTTPConnection("127.0.0.1", self._port, timeout=processes.WAIT_SECONDS)

    def get(self, site, path):
        connection = self.connect()
        try:
            connection.request("GET", f"/{site.name}/{path}")
            return read(connection)
        finally:
            connection.close()

    def upload(self, site, cover, album):
        """Uploads a cover and returns its key."""
        content_type, body = upload_form(cover, album)
        connection = self.connect()
        try:
            connection.request("POST", f"/{site.name}/upload", body, {"Content-Type": content_type})
            return stored_key(read(connection))
        finally:
            connection.close()


class FirstAnswer(NamedTuple):
    content: bytes
    milliseconds: float  # since just before the process was created


def first_answer(site, path):
    """Starts a responder for a single request, without a web server. Returns its answer."""
    service, _, query = path.partition("?")
    params = forms.params("GET", f"/{site.name}/{service}", query)
    start = time.perf_counter()
    with fcgi_client.Responder([site.program], {"STATE_DIRECTORY": str(site.state)}) as responder:
        answer = responder.ask(params)
        milliseconds = (time.perf_counter() - start) * 1000
        responder.stop()
    return FirstAnswer(answer.stdout, milliseconds)


def _free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


def read(connection):
    response = connection.getresponse()
    headers = {name: value for name, value in response.getheaders() if name not in ("Date", "Connection")}
    return Answer(response.status, headers, response.read())


def upload_form(cover, album):
    """The content type and the body of an upload."""
    return forms.multipart(
        [
            forms.Part("artist", b"Lowbeam"),
            forms.Part("album", album.encode()),
            forms.Part("image", cover.content, "cover", cover.mime_type),
        ]
    )


def stored_key(answer):
    found = re.search(rb"<Image>(\d+)</Image>", answer.body)
    if found is None:
        raise RuntimeError(f"an upload was answered with status {answer.status}: {answer.body[:500]!r}")
    return int(found[1])
