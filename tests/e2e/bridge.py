# SPDX-License-Identifier: MIT
"""The bridge between the appliance's XML API and MPD, as a context manager."""

import os
import pathlib
import shutil
import signal
import socket
import subprocess
import tempfile
import time
from typing import NamedTuple

from lxml import etree
from ports import free_port
from programs import HEEDING_SIGNALS

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAM = pathlib.Path(os.environ.get("BRIDGE", ROOT / "build/release/sleevery-bridge"))
SCHEMA = ROOT / "docs/xml/Appliance.rng"
TIMEOUT_SECONDS = 60


class Answer(NamedTuple):
    status: int
    headers: dict
    body: bytes

    def root(self):
        """Checks the document. Returns its root element."""
        assert self.headers["content-type"] == "text/xml; charset=utf-8", self
        assert self.body.startswith(b"<?xml "), self
        root = etree.fromstring(self.body, etree.XMLParser(resolve_entities=False))
        assert root.getroottree().docinfo.encoding.upper() == "UTF-8"
        etree.RelaxNG(etree.parse(str(SCHEMA))).assertValid(root)
        return root


class Bridge:
    """Runs the bridge on a port of 127.0.0.1, or on the Unix socket `socket`. `mpd` is MPD's address with a port, or a path."""

    def __init__(self, mpd, socket=None, options=()):
        self.socket = socket
        self.port = None if socket else free_port()
        listen = ["--socket", socket] if socket else ["--listen", f"127.0.0.1:{self.port}"]
        self.command_line = list(map(str, [PROGRAM, *listen, "--mpd", mpd, *options]))
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="sleevery-bridge-"))
        self.log = self.folder / "log"
        self.process = None

    def __enter__(self):
        try:
            self.start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, failure=None, *_):
        if self.process:
            self.process.send_signal(signal.SIGKILL)
            self.process.wait(TIMEOUT_SECONDS)
        if failure:
            print(f"The last words of the bridge:\n{self.messages()[-3000:]}")
        shutil.rmtree(self.folder, ignore_errors=True)

    def start(self):
        with self.log.open("ab") as log:
            self.process = subprocess.Popen([*HEEDING_SIGNALS, *self.command_line], stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        while True:
            try:
                self.connect().close()
                return
            except (ConnectionRefusedError, FileNotFoundError):
                if self.process.poll() is not None:
                    raise RuntimeError(f"the bridge ended: {self.messages()}") from None
                time.sleep(0.005)

    def end(self):
        """Ends the bridge with SIGTERM. Returns its exit code."""
        self.process.send_signal(signal.SIGTERM)
        code = self.process.wait(TIMEOUT_SECONDS)
        self.process = None
        return code

    def messages(self):
        return self.log.read_text(errors="backslashreplace") if self.log.exists() else ""

    def connect(self):
        connection = socket.socket(socket.AF_UNIX if self.socket else socket.AF_INET)
        try:
            connection.settimeout(TIMEOUT_SECONDS)
            connection.connect(str(self.socket) if self.socket else ("127.0.0.1", self.port))
        except BaseException:
            connection.close()
            raise
        return connection

    def request(self, body=b"", method="POST", path="/", drop=(), **headers):
        """`headers` replace the usual headers; write underscores for hyphens. Headers in `drop` are not sent."""
        usual = {"Host": "localhost", "Content-Type": "text/xml; charset=utf-8", "Content-Length": len(body), "Connection": "close"}
        usual.update({name.replace("_", "-"): value for name, value in headers.items()})
        lines = [f"{method} {path} HTTP/1.1", *(f"{name}: {value}" for name, value in usual.items() if name not in drop)]
        return self.raw(("\r\n".join(lines) + "\r\n\r\n").encode() + body)

    def raw(self, request):
        with self.connect() as connection:
            connection.sendall(request)
            return read(connection)

    def command(self, xml):
        """Sends a command. Returns the status and the root element of the answer."""
        answer = self.request(xml if isinstance(xml, bytes) else xml.encode())
        return answer.status, answer.root()


def read(connection):
    """Reads the only answer on this connection."""
    with connection.makefile("rb") as stream:
        status = int(stream.readline().split()[1])
        headers = {}
        while line := stream.readline().rstrip(b"\r\n"):
            name, _, value = line.decode().partition(": ")
            headers[name.lower()] = value
        return Answer(status, headers, stream.read(int(headers["content-length"])))


def command(name, **fields):
    """The XML of a command. Fields with the value None are left out."""
    element = etree.Element(name)
    for field, value in fields.items():
        if value is not None:
            etree.SubElement(element, field).text = str(value)
    return etree.tostring(element, encoding="utf-8")


def refusal(answer):
    """Checks that the answer is an error. Returns its status and its code."""
    root = answer.root()
    assert root.tag == "Error" and len(root.text) > 10 and not set("<>&\n") & set(root.text), answer
    return answer.status, int(root.get("code"))


def texts(element):
    """Maps the names of the child elements to their texts."""
    return {child.tag: child.text or "" for child in element}
