# SPDX-License-Identifier: MIT
"""Runs the responder, which is linked with a recording stand-in for the cover library."""

import os
import pathlib
import signal

import pytest

import forms
from fcgi_client import NoAnswer, Responder

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAM = os.environ.get("SEAM_RESPONDER", ROOT / "build/release/seam_responder")

STARTUP = ["CoverCache::CoverCache()", "CoverCache::CheckDatabase()"]
END = ["CoverCache::~CoverCache()"]


def escaped(content):
    """Encodes any bytes as TEXT for a script (standin/Recorder.h)."""
    return "".join(f"\\x{byte:02x}" for byte in content)


def quoted(text):
    """`text` as the stand-in logs it."""
    if isinstance(text, str):
        text = text.encode()
    plain = [32 <= byte < 127 and byte not in b'"\\' for byte in text]
    return '"' + "".join(chr(b) if p else f"\\x{b:02x}" for b, p in zip(text, plain)) + '"'


class Seam(Responder):
    """The responder with a script (standin/Recorder.h). `calls` holds the library calls of the last request."""

    def __init__(self, folder, script):
        self._log = folder / "log"
        (folder / "script").write_text("".join(line + "\n" for line in script))
        self._seen = len(STARTUP)
        self.calls = []
        super().__init__(
            [PROGRAM], {"STANDIN_LOG": str(self._log), "STANDIN_SCRIPT": str(folder / "script")}
        )

    @property
    def whole_log(self):
        return self._log.read_text().splitlines()

    @property
    def log(self):
        """The calls to the cover library, without those to the FastCGI library."""
        return [line for line in self.whole_log if not line.startswith("FCGX_")]

    def ask(self, params, body=b""):
        try:
            return super().ask(params, body)
        finally:
            assert self.log[: len(STARTUP)] == STARTUP
            self.calls = self.log[self._seen :]
            self._seen = len(self.log)

    def answer(self, params, body=b""):
        """Returns the answer's bytes. Expects no error output and application status 0."""
        answer = self.ask(params, body)
        assert answer.stderr == b""
        assert answer.app_status == 0
        return answer.stdout

    def get(self, script_name, query="", method="GET"):
        return self.answer(forms.params(method, script_name, query))

    def post(self, script_name, content, query="", method="POST"):
        """`content` comes from forms.urlencoded or forms.multipart."""
        content_type, body = content
        return self.answer(forms.params(method, script_name, query, body, content_type), body)

    def dies_of(self, params, body=b"", written=b""):
        """Expects that the request ends the process. The client may get the beginning of the answer `written` so far."""
        with pytest.raises(NoAnswer) as caught:
            self.ask(params, body)
        assert written.startswith(caught.value.stdout)
        assert self.wait() == -signal.SIGABRT
        assert self.whole_log[-len(self.calls) - 1] == "FCGX_Accept_r()", "the request was not finished"
        assert b"terminate called after throwing" in self.stderr
