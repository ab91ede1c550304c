# SPDX-License-Identifier: MIT
"""A web server in place of all look-up services, as a context manager."""

import contextlib
import http.server
import re
import socket
import threading
import time
import urllib.parse
from typing import NamedTuple

import musicbrainz
import shops
from pictures import fixture

TIMEOUT_SECONDS = 60
HUGE_BYTES = 50 * 1024 * 1024
MODEST_BYTES = 64 * 1024
SLOW_BYTES_PER_SECOND = 4


class Request(NamedTuple):
    service: str
    path: str  # after the service's prefix
    parameters: dict
    headers: dict
    at: float  # a time of time.monotonic()


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    timeout = TIMEOUT_SECONDS

    def do_GET(self):
        url = urllib.parse.urlsplit(self.path)
        _, service, path = (url.path + "/").split("/", 2)
        path = "/" + path[:-1]
        parameters = dict(urllib.parse.parse_qsl(url.query, keep_blank_values=True))
        path = urllib.parse.unquote(path)
        fault = self.server.faults.get(service)  # read before note(): a test may repair the service as soon as it sees the request
        self.server.note(Request(service, path, parameters, dict(self.headers), time.monotonic()))
        if service in self.server.slower_than:
            self.server.wait_for_answer(self.server.slower_than[service])
        if fault is None:
            self.answer(*self.answer_of(service, path, parameters))
        elif fault.isdigit():
            self.answer(int(fault), *self.refusal(service, fault))
        else:
            with contextlib.suppress(OSError):
                FAULTS[fault](self)
        self.server.note_answer(service)

    def answer_of(self, service, path, parameters):
        if service == "musicbrainz":
            match = re.fullmatch("/ws/2/(release|recording)/?", path)
            status, body = musicbrainz.search(match.group(1), parameters) if match else (404, musicbrainz.error("Not Found"))
            return status, body, {"Content-Type": "application/xml; charset=UTF-8"}
        if service not in shops.SERVICES:
            return 404, b"There is no such service.", {"Content-Type": "text/plain"}
        return shops.SERVICES[service](self.server.url(), path, parameters, self.headers)

    def refusal(self, service, status):
        if service == "musicbrainz" and status in ("400", "404"):
            return musicbrainz.error("Not Found" if status == "404" else "Bad query."), {"Content-Type": "application/xml"}
        headers = {"Content-Type": "application/json"}
        if status in ("429", "503"):
            headers["Retry-After"] = str(self.server.retry_after_seconds)
        return b'{"error": "The web server is currently busy. Please try again later."}\n', headers

    def answer(self, status, body=b"", headers=None, length=None):
        self.send_response(status)
        for name, value in (headers or {}).items():
            self.send_header(name, value)
        self.send_header("Content-Length", str(len(body) if length is None else length))
        self.end_headers()
        self.wfile.write(body)

    def dead(self):
        """Sends nothing until the client closes the connection."""
        self.close_connection = True
        self.rfile.read(1)

    def hang_up(self):
        """Closes the connection without an answer."""
        self.close_connection = True

    def malformed(self):
        self.answer(200, b'<?xml version="1.0"?><metadata><release-list>{"results": [{"' + b"\xff\xfe\x00" * 20)

    def huge(self):
        """Sends a huge answer without declaring its length."""
        self.close_connection = True
        self.send_response(200)
        self.end_headers()
        for _ in range(HUGE_BYTES // 65536):
            self.wfile.write(b" " * 65536)

    def boast(self):
        """Declares a huge answer."""
        self.close_connection = True
        self.answer(200, b"{", length=HUGE_BYTES)

    def drip(self):
        """Sends a byte now and then, and never ends."""
        self.close_connection = True
        self.answer(200, b"{", length=MODEST_BYTES)
        while not self.server.ending.wait(1 / SLOW_BYTES_PER_SECOND):
            self.wfile.write(b" ")

    def loop(self):
        self.answer(302, headers={"Location": self.server.url() + self.path})

    def picture(self):
        """Sends a cover instead of a document."""
        self.answer(200, fixture("baseline.jpg"), {"Content-Type": "application/json"})

    def log_message(self, *_):
        pass


FAULTS = {fault.__name__: fault for fault in
          (Handler.dead, Handler.hang_up, Handler.malformed, Handler.huge, Handler.boast, Handler.drip, Handler.loop, Handler.picture)}


class Services(http.server.ThreadingHTTPServer):
    """Serves musicbrainz, itunes and so on at a port of 127.0.0.1, each below its own prefix.

    `faults` maps broken services to their fault: one of FAULTS, or a status. The statuses "429" and "503" come with a Retry-After of
    `retry_after_seconds`. `slower_than` maps a service to another one that has to answer first. `requests` has all requests so far,
    including those for pictures.
    """

    daemon_threads = False

    def __init__(self):
        super().__init__(("127.0.0.1", 0), Handler)
        self.requests = []
        self.faults = {}
        self.slower_than = {}
        self._answered = set()
        self.retry_after_seconds = 7
        self.ending = threading.Event()
        self._connections = set()
        self._lock = threading.Condition()
        self._thread = threading.Thread(target=self.serve_forever, kwargs={"poll_interval": 0.05})

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self.ending.set()
        self.shutdown()
        self._thread.join()
        with self._lock:
            for connection in self._connections:
                with contextlib.suppress(OSError):
                    connection.shutdown(socket.SHUT_RDWR)  # ends handlers that wait for the client
        self.server_close()

    def process_request(self, request, client_address):
        with self._lock:
            self._connections.add(request)
        super().process_request(request, client_address)

    def shutdown_request(self, request):
        with self._lock:
            self._connections.discard(request)
        super().shutdown_request(request)

    def handle_error(self, request, client_address):
        pass  # some tests expect that the client closes the connection early

    def note(self, request):
        with self._lock:
            self.requests.append(request)
            self._lock.notify_all()

    def note_answer(self, service):
        with self._lock:
            self._answered.add(service)
            self._lock.notify_all()

    def wait_for_answer(self, service):
        with self._lock:
            assert self._lock.wait_for(lambda: service in self._answered, TIMEOUT_SECONDS), service

    def wait_for_request(self, service):
        """Waits for the first request to this service. Returns it."""
        with self._lock:
            assert self._lock.wait_for(lambda: any(r.service == service for r in self.requests), TIMEOUT_SECONDS), service
        return self.asked(service)[0]

    def forget(self):
        """Forgets all requests and faults."""
        with self._lock:
            for of_one_test in (self.requests, self.faults, self.slower_than, self._answered):
                of_one_test.clear()

    def url(self, service=""):
        return f"http://127.0.0.1:{self.server_port}" + (f"/{service}" if service else "")

    def asked(self, service):
        with self._lock:
            return [request for request in self.requests if request.service == service]

    def parameters(self):
        """The parameters with which the responder asks this server, with all keys."""
        urls = {"musicBrainzUrl": "musicbrainz", "coverArtArchiveUrl": "coverartarchive", "itunesUrl": "itunes", "deezerUrl": "deezer",
                "lastFmUrl": "lastfm", "audioDbUrl": "audiodb", "discogsUrl": "discogs", "fanartTvUrl": "fanarttv",
                "amazonUrl": "amazon"}
        keys = {"lastFmKey": "lastfm", "audioDbKey": "audiodb", "discogsToken": "discogs", "fanartTvKey": "fanarttv",
                "amazonKey": "amazon"}
        return ({name: self.url(service) for name, service in urls.items()}
                | {name: shops.KEYS[service] for name, service in keys.items()}
                | {"amazonSecret": shops.AMAZON_SECRET, "amazonTag": shops.AMAZON_TAG, "musicBrainzPause": "1"})
