# SPDX-License-Identifier: MIT
"""A strict FastCGI client, and a launcher that passes a responder its listening socket as descriptor 0."""

import os
import pathlib
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
from typing import NamedTuple

BEGIN_REQUEST, END_REQUEST, PARAMS, STDIN, STDOUT, STDERR = 1, 3, 4, 5, 6, 7
RESPONDER = 1
REQUEST_ID = 1
TIMEOUT_SECONDS = 60

_HEADER = struct.Struct(">BBHHBx")


class Answer(NamedTuple):
    """The answer to a request: both output streams and the application status from END_REQUEST."""

    stdout: bytes
    stderr: bytes
    app_status: int


class NoAnswer(Exception):
    """The connection was closed before END_REQUEST."""

    def __init__(self, stdout):
        super().__init__(f"connection closed without END_REQUEST, after {stdout!r}")
        self.stdout = stdout


class ProtocolError(Exception):
    """The responder broke the FastCGI protocol."""


def _record(kind, content):
    return _HEADER.pack(1, kind, REQUEST_ID, len(content), 0) + content


def _stream(kind, content):
    """All records of a stream, including the empty one at its end."""
    pieces = [content[at : at + 0xFFFF] for at in range(0, len(content), 0xFFFF)]
    return b"".join(_record(kind, piece) for piece in pieces + [b""])


def _length(count):
    return bytes([count]) if count < 128 else struct.pack(">I", count | 0x80000000)


def _params(params):
    return b"".join(
        _length(len(name)) + _length(len(value)) + name + value for name, value in params
    )


class _Connection:
    def __init__(self, address):
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.socket.settimeout(TIMEOUT_SECONDS)
        self.socket.connect(str(address))

    def send(self, data):
        try:
            self.socket.sendall(data)
        except (BrokenPipeError, ConnectionResetError):
            pass  # the responder has disconnected; receive() reports that

    def receive(self, count):
        """Returns `count` bytes, or fewer when the connection is closed."""
        data = b""
        while len(data) < count:
            try:
                piece = self.socket.recv(count - len(data))
            except ConnectionResetError:
                piece = b""
            if not piece:
                break
            data += piece
        return data

    def receive_record(self):
        """Returns type and content of the next record; None when the connection is closed."""
        header = self.receive(_HEADER.size)
        if not header:
            return None
        if len(header) < _HEADER.size:
            raise ProtocolError("the connection ended inside a record's header")
        version, kind, request_id, length, padding = _HEADER.unpack(header)
        if version != 1 or request_id != REQUEST_ID:
            raise ProtocolError(f"record of version {version} for request {request_id}")
        content = self.receive(length + padding)
        if len(content) < length + padding:
            raise ProtocolError("the connection ended inside a record")
        return kind, content[:length]


def exchange(address, params, body=b""):
    """Sends one request to the Unix socket `address` and returns its Answer.

    `params` are pairs of bytes, sent unchanged and in order. Raises NoAnswer or ProtocolError.
    """
    connection = _Connection(address)
    with connection.socket:
        connection.send(
            _record(BEGIN_REQUEST, struct.pack(">HB5x", RESPONDER, 0))
            + _stream(PARAMS, _params(params))
            + _stream(STDIN, body)
        )
        return _receive_answer(connection)


def _receive_answer(connection):
    streams = {STDOUT: b"", STDERR: b""}
    ended = set()
    while True:
        record = connection.receive_record()
        if record is None:
            raise NoAnswer(streams[STDOUT])
        kind, content = record
        if kind == END_REQUEST:
            break
        if kind not in streams or kind in ended:
            raise ProtocolError(f"unexpected record of type {kind}")
        if not content:
            ended.add(kind)
        streams[kind] += content
    if len(content) != 8:
        raise ProtocolError("END_REQUEST of the wrong length")
    app_status, protocol_status = struct.unpack(">IB3x", content)
    if protocol_status != 0:
        raise ProtocolError(f"protocol status {protocol_status}")
    if STDOUT not in ended or (streams[STDERR] and STDERR not in ended):
        raise ProtocolError("the request ended before its streams")
    if connection.receive(1):
        raise ProtocolError("bytes after END_REQUEST")
    return Answer(streams[STDOUT], streams[STDERR], app_status)


class Responder:
    """A running responder with a listening Unix socket on descriptor 0, in a folder of its own.

    As a context manager it ends the process and removes the folder.
    """

    def __init__(self, command, env=None):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="fcgi-"))
        self.address = self.folder / "socket"
        self._listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        try:
            self._listener.bind(str(self.address))
            self._listener.listen()
            self.process = self._start([str(word) for word in command], {**os.environ, **(env or {})})
        except BaseException:
            self._clean_up()
            raise

    def _start(self, command, env):
        with open(self.folder / "stderr", "wb") as stderr:
            return subprocess.Popen(
                command,
                stdin=self._listener,
                stdout=subprocess.DEVNULL,
                stderr=stderr,
                cwd=self.folder,
                env=env,
            )

    def _clean_up(self):
        self._listener.close()
        shutil.rmtree(self.folder)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        self._clean_up()

    def ask(self, params, body=b""):
        return exchange(self.address, params, body)

    @property
    def stderr(self):
        """The output of the process on its own standard error so far."""
        return (self.folder / "stderr").read_bytes()

    def wait(self):
        """Waits until the process ends by itself. Returns the exit code."""
        return self.process.wait(TIMEOUT_SECONDS)

    def stop(self):
        """Shuts the listening socket down, so that accepting fails after the current request. Returns the exit code."""
        self._listener.shutdown(socket.SHUT_RDWR)
        return self.wait()

    def terminate(self):
        """Ends the process by SIGTERM. Returns the exit code.

        Repeats the signal: the FastCGI library's handler only sets a flag. If the signal comes just before the
        process waits for a request, the process doesn't wake up.
        """
        while True:
            self.process.send_signal(signal.SIGTERM)
            try:
                return self.process.wait(0.1)
            except subprocess.TimeoutExpired:
                continue
