# SPDX-License-Identifier: MIT
"""Builds requests as a web server would send them."""

from typing import NamedTuple
from urllib.parse import urlencode

BOUNDARY = b"----sleevery"


class Part(NamedTuple):
    """A part of a multipart body; `None` leaves the attribute or header out."""

    name: str
    content: bytes
    filename: str | None = None
    content_type: str | None = None


def params(method, script_name, query="", body=None, content_type=None):
    """The CGI variables of a request."""
    variables = {
        "REQUEST_METHOD": method,
        "SCRIPT_NAME": script_name,
        "QUERY_STRING": query,
        "SERVER_PROTOCOL": "HTTP/1.1",
    }
    if body is not None:
        variables |= {"CONTENT_TYPE": content_type, "CONTENT_LENGTH": str(len(body))}
    return [(name.encode(), value.encode()) for name, value in variables.items()]


def urlencoded(fields):
    """Returns content type and body for pairs of name and value (text or bytes)."""
    return "application/x-www-form-urlencoded", urlencode(fields).encode()


def multipart(parts):
    """Returns content type and body for a list of Part."""
    body = b""
    for part in parts:
        disposition = f'form-data; name="{part.name}"'
        if part.filename is not None:
            disposition += f'; filename="{part.filename}"'
        head = f"Content-Disposition: {disposition}\r\n"
        if part.content_type is not None:
            head += f"Content-Type: {part.content_type}\r\n"
        body += b"--" + BOUNDARY + b"\r\n" + head.encode() + b"\r\n" + part.content + b"\r\n"
    return "multipart/form-data; boundary=" + BOUNDARY.decode(), body + b"--" + BOUNDARY + b"--\r\n"
