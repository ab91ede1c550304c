# SPDX-License-Identifier: MIT
"""The real MPD on a music folder, without sound output, as a context manager; and a client for its text protocol."""

import contextlib
import pathlib
import shutil
import signal
import socket
import subprocess
import tempfile
import time

from ports import free_port
from programs import HEEDING_SIGNALS

TIMEOUT_SECONDS = 60
MPD = "/usr/bin/mpd"


class Refused(Exception):
    """MPD answered with ACK."""


def quoted(argument):
    """Quotes an argument of a command for MPD."""
    return '"' + str(argument).replace("\\", "\\\\").replace('"', '\\"') + '"'


class Client:
    """A connection to the MPD that listens on the Unix socket `path`."""

    def __init__(self, path):
        self._socket = socket.socket(socket.AF_UNIX)
        try:
            self._socket.settimeout(TIMEOUT_SECONDS)
            self._socket.connect(str(path))
            self._lines = self._socket.makefile("rb")
            if not self._line().startswith("OK MPD "):
                raise ConnectionError("that is no MPD")
        except BaseException:
            self._socket.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._lines.close()
        self._socket.close()

    def __call__(self, command, *arguments):
        """Sends a command. Returns MPD's answer as pairs of a name and a value."""
        self._socket.sendall((" ".join([command, *map(quoted, arguments)]) + "\n").encode())
        pairs = []
        while (line := self._line()) != "OK":
            if line.startswith("ACK "):
                raise Refused(line)
            pairs.append(tuple(line.split(": ", 1)))
        return pairs

    def wait_for_the_end(self):
        """Waits until MPD closes the connection."""
        while self._lines.readline():
            pass

    def _line(self):
        line = self._lines.readline()
        if not line.endswith(b"\n"):
            raise ConnectionError("MPD has closed the connection")
        return line[:-1].decode()


class Mpd:
    """MPD on the folder `music`, without sound output. It listens on the Unix socket `socket` and on `port` of 127.0.0.1.

    Its database and its other files are in a separate folder, and survive a restart.
    """

    def __init__(self, music, settings="", mixer="software"):
        self.music = pathlib.Path(music)
        self.settings = settings
        self.mixer = mixer
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="sleevery-mpd-"))
        self.socket = self.folder / "socket"
        self.port = free_port()
        self.log = self.folder / "log"
        self.process = None

    def __enter__(self):
        try:
            self.start()
            self.update()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        self.thaw()
        self.stop()
        shutil.rmtree(self.folder, ignore_errors=True)

    def start(self):
        configuration = self.folder / "mpd.conf"
        configuration.write_text(self._configuration())
        with self.log.open("ab") as log:
            self.process = subprocess.Popen([*HEEDING_SIGNALS, MPD, "--no-daemon", "--stderr", configuration],
                                            stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        while True:
            with contextlib.suppress(FileNotFoundError, ConnectionRefusedError), self.client():
                return
            if self.process.poll() is not None:
                raise RuntimeError(f"mpd ended: {self.log.read_text(errors='backslashreplace')}")
            time.sleep(0.005)

    def _configuration(self):
        return f"""
music_directory {quoted(self.music)}
db_file {quoted(self.folder / "database")}
state_file {quoted(self.folder / "state")}
bind_to_address {quoted(self.socket)}
bind_to_address "127.0.0.1"
port "{self.port}"
zeroconf_enabled "no"
auto_update "no"
audio_output {{
    type "null"
    name "nothing"
    mixer_type "{self.mixer}"
}}
{self.settings}
"""

    def stop(self):
        self._end(signal.SIGTERM)

    def kill(self):
        self._end(signal.SIGKILL)

    def _end(self, signal_):
        if self.process:
            self.process.send_signal(signal_)
            self.process.wait(TIMEOUT_SECONDS)
            self.process = None

    def restart(self):
        self.stop()
        self.start()

    def freeze(self):
        """Stops MPD's process. The kernel still accepts connections, but MPD does not answer."""
        self.process.send_signal(signal.SIGSTOP)

    def thaw(self):
        if self.process:
            self.process.send_signal(signal.SIGCONT)

    def client(self):
        return Client(self.socket)

    def ask(self, command, *arguments):
        with self.client() as client:
            return client(command, *arguments)

    def update(self):
        """Updates MPD's database. Returns when it is complete."""
        with self.client() as client:
            client("update")
            while "updating_db" in dict(client("status")):
                client("idle", "update")

    def status(self):
        return dict(self.ask("status"))

    def queue(self):
        """The paths of the songs in the queue."""
        return [value for name, value in self.ask("playlistinfo") if name == "file"]

    def reset(self):
        """Restores the initial state: an empty queue, stopped."""
        with self.client() as client:
            for command in (("clear",), ("setvol", 100), ("repeat", 0), ("random", 0), ("single", 0), ("clearerror",)):
                client(*command)
