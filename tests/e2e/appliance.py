# SPDX-License-Identifier: MIT
"""An appliance that gives a scripted reply, or misbehaves in a scripted way."""

import contextlib
import http.server
import threading

TIMEOUT_SECONDS = 60
HUGE_BYTES = 500_000_000


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    timeout = TIMEOUT_SECONDS

    def do_POST(self):
        command = self.rfile.read(int(self.headers["Content-Length"]))
        self.server.commands.append(command)
        getattr(self, self.path.strip("/"))()

    def reply(self, status=200):
        self.head(status, len(self.server.reply))
        self.wfile.write(self.server.reply)

    def away(self):
        self.reply(503)

    def silent(self):
        """Sends nothing until the client closes the connection."""
        with contextlib.suppress(OSError):
            self.rfile.read(1)
        self.close_connection = True

    def half(self):
        self.head(200, len(self.server.reply) + 1)
        self.wfile.write(self.server.reply)
        self.close_connection = True

    def nothing(self):
        self.close_connection = True

    def huge(self):
        self.head(200, HUGE_BYTES)
        with contextlib.suppress(ConnectionError):
            for _ in range(HUGE_BYTES // 65_536):
                self.wfile.write(b" " * 65_536)
        self.close_connection = True

    def garbage(self):
        self.wfile.write(b"220 mail.example ready\r\n")
        self.close_connection = True

    def head(self, status, length):
        self.send_response(status)
        self.send_header("Content-Type", self.server.content_type)
        self.send_header("Content-Length", str(length))
        self.end_headers()

    def log_message(self, *_):
        pass


class Appliance(http.server.ThreadingHTTPServer):
    """An appliance on a port of 127.0.0.1, as a context manager. The path of its address chooses its behaviour. It answers with
    the bytes in `reply`, and collects the received commands in `commands`."""

    daemon_threads = True  # responders keep their connections open

    def __init__(self):
        super().__init__(("127.0.0.1", 0), Handler)
        self.reply = b"<PlayerState/>"
        self.content_type = "text/xml"
        self.commands = []
        self.thread = threading.Thread(target=self.serve_forever, kwargs={"poll_interval": 0.05})

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.shutdown()
        self.thread.join()
        self.server_close()

    def handle_error(self, request, client_address):
        pass  # some tests expect that the client closes the connection early

    def url(self, what="reply"):
        return f"http://127.0.0.1:{self.server_port}/{what}"
