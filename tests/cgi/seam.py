# SPDX-License-Identifier: MIT
"""The responder, linked with the recording stand-in for the cover library, as the tests drive it."""

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
    """Any bytes, as a text of a script."""
    return "".join(f"\\x{byte:02x}" for byte in content)


def quoted(text):
    """`text` as the stand-in logs it."""
    if isinstance(text, str):
        text = text.encode()
    plain = [32 <= byte < 127 and byte not in b'"\\' for byte in text]
    return '"' + "".join(chr(b) if p else f"\\x{b:02x}" for b, p in zip(text, plain)) + '"'


class Seam(Responder):
    """The responder with a script (standin/Recorder.h); `calls` are the library calls that the last request led to."""

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
        """The calls of the library, without those of the FastCGI kit."""
        return [line for line in self.whole_log if not line.startswith("FCGX_")]

    def ask(self, params, body=b""):
        try:
            return super().ask(params, body)
        finally:
            assert self.log[: len(STARTUP)] == STARTUP
            self.calls = self.log[self._seen :]
            self._seen = len(self.log)

    def answer(self, params, body=b""):
        """The bytes for the web server; nothing else may come with them."""
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
        """The request ends the process; of the answer `written` before that, the kit may have sent the beginning."""
        with pytest.raises(NoAnswer) as caught:
            self.ask(params, body)
        assert written.startswith(caught.value.stdout)
        assert self.wait() == -signal.SIGABRT
        assert self.whole_log[-len(self.calls) - 1] == "FCGX_Accept_r()", "the request was not finished"
        assert b"terminate called after throwing" in self.stderr
