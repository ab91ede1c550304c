# SPDX-License-Identifier: MIT
"""The request loop: start, end, and failures that end the process."""

import signal
import subprocess

import forms
import pytest
from answers import EMPTY_LIST, INDEX, SHOW_FORM, XML_HEADER
from fcgi_client import NoAnswer
from seam import END, PROGRAM, STARTUP


def test_checks_the_database_once_and_finishes_every_request_before_the_next(start):
    seam = start("CoverCache::ShowEmpty#2 throw std x")
    assert seam.get("/sleevery/nothing") == INDEX
    seam.get("/sleevery/showEmpty")
    seam.get("/sleevery/showEmpty")
    assert seam.get("/sleevery/show") == SHOW_FORM
    assert seam.stop() == 0
    assert seam.whole_log == [
        "CoverCache::CoverCache()",
        "FCGX_Init()",
        "FCGX_InitRequest(0, 0)",
        "CoverCache::CheckDatabase()",
        *["FCGX_Accept_r()", "FCGX_Finish_r()"],
        *["FCGX_Accept_r()", "CoverCache::ShowEmpty()", "FCGX_Finish_r()"],
        *["FCGX_Accept_r()", "CoverCache::ShowEmpty()", "FCGX_Finish_r()"],
        *["FCGX_Accept_r()", "FCGX_Finish_r()"],
        "FCGX_Accept_r()",
        "CoverCache::~CoverCache()",
    ]


@pytest.mark.parametrize("arguments", [[], ["--help", "x"]])
def test_ends_well_after_the_check_where_descriptor_0_is_no_socket(tmp_path, arguments):
    log = tmp_path / "log"
    ended = subprocess.run(
        [PROGRAM, *arguments],
        stdin=subprocess.DEVNULL,
        capture_output=True,
        env={"STANDIN_LOG": str(log)},
        timeout=60,
    )
    assert (ended.returncode, ended.stdout, ended.stderr) == (0, b"", b"")
    assert log.read_text().splitlines() == [
        "CoverCache::CoverCache()",
        "FCGX_Init()",
        "FCGX_InitRequest(0, 0)",
        "CoverCache::CheckDatabase()",
        "FCGX_Accept_r()",
        "CoverCache::~CoverCache()",
    ]


@pytest.mark.parametrize("failure", ["throw util no store", "throw std no store", "throw other"])
@pytest.mark.parametrize("calls", [STARTUP[:1], STARTUP], ids=["constructor", "check"])
def test_a_failure_before_the_first_request_ends_the_process(start, calls, failure):
    seam = start(f"{calls[-1][:-2]} {failure}")
    assert seam.wait() == -signal.SIGABRT
    assert seam.log == calls


def test_what_the_check_returns_is_ignored(start):
    assert start("CoverCache::CheckDatabase return false").get("/sleevery/show") == SHOW_FORM


def test_a_stop_signal_ends_it_well(start):
    seam = start()
    seam.get("/sleevery/show")
    assert seam.terminate() == 0
    assert seam.log == STARTUP + END
    assert seam.stderr == b""


def test_a_request_without_variables_gets_the_index(seam):
    assert seam.answer([]) == INDEX


def test_a_variable_without_equals_sign_ends_the_process(seam):
    # The FastCGI library turns each parameter into "NAME=VALUE"; a NUL in the name truncates that.
    seam.dies_of([(b"SCRIPT_NAME", b"/sleevery/show"), (b"BR\0KEN", b"x")])
    assert b"Illegally formed environment" in seam.stderr
    assert seam.log == STARTUP


PART = b'--b\r\nContent-Disposition: form-data; name="title"\r\n\r\nx\r\n'
MULTIPART = "multipart/form-data; boundary=b"
URLENCODED = "application/x-www-form-urlencoded"


@pytest.mark.parametrize(
    "content_type, body, missing",
    [
        (MULTIPART, b"--b\r\n\r\nx\r\n--b--\r\n", 0),
        (MULTIPART, PART + b"--b\r\nno empty line--b--\r\n", 0),
        (MULTIPART, PART + b"--b--\r\n", 1),
        (URLENCODED, b"title=x", 3),
        (URLENCODED, b"", 10),
        (URLENCODED, b"title=x", -8),
    ],
    ids=["part without headers", "headers without end", "cut parts", "cut fields", "no body", "negative length"],
)
def test_a_malformed_body_ends_the_process_without_an_answer(seam, content_type, body, missing):
    params = forms.params("POST", "/sleevery/upload", body=body, content_type=content_type)
    params += [(b"CONTENT_LENGTH", b"%d" % (len(body) + missing))]
    seam.dies_of(params, body)
    assert seam.log == STARTUP


def test_a_body_that_nobody_reads_does_no_harm(seam):
    for _ in range(2):
        assert seam.answer(forms.params("GET", "/sleevery/show"), 100_000 * b"x") == SHOW_FORM


def test_nobody_answers_after_the_end(seam):
    assert seam.stop() == 0
    with pytest.raises((NoAnswer, ConnectionRefusedError)):
        seam.get("/sleevery/show")


def test_many_requests_of_one_process_are_independent(seam):
    for _ in range(50):
        assert seam.get("/sleevery/show") == SHOW_FORM
        assert seam.calls == []
        assert seam.get("/sleevery/showEmpty") == XML_HEADER + EMPTY_LIST
        assert seam.calls == ["CoverCache::ShowEmpty()"]
