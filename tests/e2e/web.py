# SPDX-License-Identifier: MIT
"""A web server with good and bad covers, as a context manager."""

import contextlib
import http.server
import ssl
import subprocess
import threading

from pictures import fixture, png

TIMEOUT_SECONDS = 60
COVERS = {
    "/cover.jpg": fixture("baseline.jpg"),
    "/cover.png": png((20, 10), seed=5),
    "/cover.webp": fixture("lossy.webp"),
    "/cover.gif": fixture("still.gif"),
    "/undeclared": fixture("baseline.jpg"),
    "/too-many-pixels.png": fixture("too-many-pixels.png"),
    "/page.html": b"<!DOCTYPE html><html><body>No cover here.</body></html>",
    "/empty.png": b"",
}
REDIRECTS = {
    "/redirect": "/cover.jpg",
    "/chain/0": "/cover.jpg",
    **{f"/chain/{number}": f"/chain/{number - 1}" for number in range(1, 7)},
    "/loop": "/pool",
    "/pool": "/loop",
    "/to-file": "file:///etc/passwd",
    "/to-ftp": "ftp://127.0.0.1/cover.jpg",
}
STATUSES = {"/missing.jpg": 404, "/broken.jpg": 500}


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    timeout = TIMEOUT_SECONDS

    def do_GET(self):
        self.server.requests.append((self.path, dict(self.headers)))
        if self.path in COVERS:
            self.answer(200, COVERS[self.path], "application/octet-stream")
        elif self.path in REDIRECTS:
            self.answer(302, b"moved", Location=REDIRECTS[self.path])
        elif self.path in STATUSES:
            self.answer(STATUSES[self.path], COVERS["/cover.jpg"], "image/jpeg")
        else:
            self.close_connection = True
            {"/endless": self.endless, "/slow": self.slow, "/short": self.short}[self.path]()

    def answer(self, status, body=None, content_type=None, **headers):
        self.send_response(status)
        for name, value in headers.items():
            self.send_header(name, value)
        if content_type:
            self.send_header("Content-Type", content_type)
        if body is not None:
            self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body or b"")

    def endless(self):
        self.answer(200, content_type="image/jpeg")
        with contextlib.suppress(ConnectionError):
            self.wfile.write(COVERS["/cover.jpg"])
            while True:
                self.wfile.write(bytes(65536))

    def slow(self):
        """Sends the beginning, then nothing until the client closes the connection."""
        self.answer(200, content_type="image/jpeg", **{"Content-Length": "100000"})
        self.wfile.write(COVERS["/cover.jpg"][:100])
        with contextlib.suppress(OSError):
            self.rfile.read(1)

    def short(self):
        """Declares one byte more than it sends."""
        body = COVERS["/cover.jpg"]
        self.answer(200, content_type="image/jpeg", **{"Content-Length": str(len(body) + 1)})
        self.wfile.write(body)

    def log_message(self, *_):
        pass


class Web(http.server.ThreadingHTTPServer):
    """Serves the paths above on a port of 127.0.0.1. With a `tls_folder` it uses https, with a self-signed certificate in this
    folder. `requests` has the path and the headers of each request so far."""

    daemon_threads = False

    def __init__(self, tls_folder=None):
        super().__init__(("127.0.0.1", 0), Handler)
        self.requests = []
        self.scheme = "http"
        if tls_folder:
            self.scheme = "https"
            self._wrap(tls_folder / "certificate.pem", tls_folder / "key.pem")
        self.thread = threading.Thread(target=self.serve_forever, kwargs={"poll_interval": 0.05})

    def _wrap(self, certificate, key):
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=127.0.0.1",
                        "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", certificate],
                       check=True, capture_output=True)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate, key)
        self.socket = context.wrap_socket(self.socket, server_side=True, do_handshake_on_connect=False)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.shutdown()
        self.thread.join()
        self.server_close()

    def handle_error(self, request, client_address):
        pass  # some tests expect that the client ends a transfer early or refuses the certificate

    def url(self, path, user=""):
        return f"{self.scheme}://{user}127.0.0.1:{self.server_port}{path}"

    def paths(self):
        return [path for path, _ in self.requests]
