# SPDX-License-Identifier: MIT
"""The real responder behind the real lighttpd, in a separate folder, as a context manager."""

import contextlib
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time

import requests
from ports import free_port
from programs import HEEDING_SIGNALS

ROOT = pathlib.Path(__file__).resolve().parents[2]
RESPONDER = pathlib.Path(os.environ.get("RESPONDER", ROOT / "build/release/sleevery.fcgi"))
TIMEOUT_SECONDS = 60


def descendants(pids):
    """These processes and all their descendants."""
    todo, found = list(pids), []
    while todo:
        pid = todo.pop()
        found.append(pid)
        with contextlib.suppress(FileNotFoundError, ProcessLookupError):  # a process may end at any moment
            for thread in pathlib.Path(f"/proc/{pid}/task").iterdir():
                todo += map(int, (thread / "children").read_text().split())
    return found


def is_a(program):
    def runs_it(pid):
        with contextlib.suppress(FileNotFoundError, ProcessLookupError):
            return os.readlink(f"/proc/{pid}/exe") == str(program.resolve())
        return False

    return runs_it


def is_running(pid):
    with contextlib.suppress(FileNotFoundError, ProcessLookupError):
        return pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(") ", 1)[1][0] not in "XZ"
    return False


def wait_for_the_end_of(pids, seconds=TIMEOUT_SECONDS):
    deadline = time.monotonic() + seconds
    while running := list(filter(is_running, pids)):
        if time.monotonic() > deadline:
            raise TimeoutError(f"{running} don't end")
        time.sleep(0.01)


class Server:
    """lighttpd with `processes` responders on the state folder `state` (default: a temporary one).

    `prefix` is a command that runs lighttpd, for example with fewer rights or less space.
    """

    def __init__(self, state=None, processes=2, prefix=(), environment=None):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="sleevery-e2e-"))
        self.state = pathlib.Path(state) if state else self.folder / "state"
        self.processes = processes
        self.prefix = list(prefix)
        self.environment = environment or {}
        self.port = free_port()
        self.log = self.folder / "stderr.log"
        self.lighttpd = None

    def __enter__(self):
        try:
            self.start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, failure=None, *_):
        self.stop()
        if failure and self.log.exists():
            print(f"The last words of the server:\n{self.messages()[-3000:]}")
        shutil.rmtree(self.folder, ignore_errors=True)

    def start(self):
        self.folder.chmod(0o777)  # some tests run lighttpd with few rights
        configuration = self.folder / "lighttpd.conf"
        arguments = [self.port, self.processes, self.folder, self.state, RESPONDER]
        configuration.write_bytes(subprocess.check_output([ROOT / "packaging/lighttpd-conf", *map(str, arguments)]))
        with self.log.open("ab") as log:
            self.lighttpd = subprocess.Popen(
                [*HEEDING_SIGNALS, *self.prefix, "/usr/sbin/lighttpd", "-D", "-f", str(configuration)],
                stdin=subprocess.DEVNULL, stdout=log, stderr=log, env={**os.environ, **self.environment},
            )
        self._wait_until_it_listens()

    def _wait_until_it_listens(self):
        # Connections are refused until lighttpd listens. Then the request waits for its answer.
        while True:
            try:
                requests.get(self.url(""), timeout=TIMEOUT_SECONDS)
                return
            except requests.ConnectionError:
                if self.lighttpd.poll() is not None:
                    raise RuntimeError(f"lighttpd ended: {self.messages()}") from None

    def stop(self):
        if self.lighttpd is None:
            return
        running = descendants([self.lighttpd.pid])
        self.lighttpd.send_signal(signal.SIGTERM)
        self.lighttpd.wait(TIMEOUT_SECONDS)
        self.lighttpd = None
        while running := list(filter(is_running, descendants(running))):
            try:
                wait_for_the_end_of(running, seconds=1)  # they may still work on a request or a song
            except TimeoutError:
                # multiwatch does not pass SIGTERM on to a responder that it is just starting, and waits for it for ever.
                for pid in filter(is_a(RESPONDER), descendants(running)):
                    with contextlib.suppress(ProcessLookupError):
                        os.kill(pid, signal.SIGTERM)

    def restart(self):
        self.stop()
        self.start()

    def url(self, service):
        return f"http://127.0.0.1:{self.port}/sleevery/{service}"

    def get(self, service, **fields):
        return requests.get(self.url(service), params=fields, timeout=TIMEOUT_SECONDS)

    def post(self, service, fields, query=None, files=None):
        """`fields` is a list of pairs of a name and a value, or a dictionary."""
        return requests.post(self.url(service), params=query, data=fields, files=files, timeout=TIMEOUT_SECONDS)

    def upload(self, image, content_type="image/jpeg", name="cover.jpg", **fields):
        return requests.post(self.url("upload"), data=fields, files={"image": (name, image, content_type)},
                             timeout=TIMEOUT_SECONDS)

    def messages(self):
        """The standard error of lighttpd and the responders so far."""
        return self.log.read_text(errors="backslashreplace")

    def responder_pids(self):
        """The process ids of the responders, the children of multiwatch."""
        return list(filter(is_a(RESPONDER), descendants([self.lighttpd.pid])))

    def tagger_pids(self):
        """The process ids of the running taggers."""
        return list(filter(is_a(RESPONDER.with_name("sleevery-tagger")), descendants([self.lighttpd.pid])))

    def wait_for_responders(self):
        """Waits until all responders run. Returns their process ids."""
        deadline = time.monotonic() + TIMEOUT_SECONDS
        while len(pids := self.responder_pids()) != self.processes:
            assert time.monotonic() < deadline, f"{len(pids)} responders"
        return pids
