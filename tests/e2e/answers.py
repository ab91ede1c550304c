# SPDX-License-Identifier: MIT
"""Checks of answers, and functions that extract their parts."""

import re

DECLARATION = '<?xml version="1.0" encoding="ISO-8859-1"?>\n'
NOT_FOUND_TAIL = b"Status: 400 Not Found\n\n\n"


def exception(text):
    return f"<Exception>\n{text}</Exception>\n"


def stored_key(answer):
    """The cache id in the answer to a successful upload."""
    assert answer.status_code == 200, answer.text
    match = re.search(r"^  <Image>(\d+)</Image>\n  <Error code=\"0\">OK</Error>\n</Upload>\n\Z", answer.text, re.MULTILINE)
    assert match, answer.text
    return int(match.group(1))


def png_of(answer):
    """The PNG in the answer of a successful show, without the text after it."""
    assert answer.status_code == 200 and answer.headers["Content-Type"] == "image/png", answer.content[:200]
    assert answer.content.endswith(NOT_FOUND_TAIL)
    return answer.content[: -len(NOT_FOUND_TAIL)]


def is_not_found(answer):
    return answer.status_code == 400 and answer.content == b"\n"
