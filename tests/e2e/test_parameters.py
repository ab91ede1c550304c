# SPDX-License-Identifier: MIT
"""Setting, deleting and listing parameters through the web server."""

import os
import signal

import pytest
from answers import exception, stored_key
from documents import document
from pictures import png
from server import ROOT, Server


def listed(answer):
    """The parameters in an answer, in the same order."""
    return [(parameter.get("name"), parameter.text or "") for parameter in document(answer, "Parameters")]


@pytest.fixture(scope="module")
def one_store():
    with Server() as server:
        yield server


@pytest.fixture
def parameters(one_store):
    """A server with a = 1 as its only parameter. `commands` returns the diagnostic lines since then."""
    names = [name for name, _ in listed(one_store.get("parameter"))]
    one_store.post("parameter", [*(("cmdDelete", name) for name in names), ("a", "1")])
    seen = len(commands(one_store))
    one_store.commands = lambda: commands(one_store)[seen:]
    return one_store


def commands(server):
    return [line for line in server.messages().splitlines() if " Parameter: " in line]


@pytest.mark.parametrize("ask", [Server.get, lambda server, service, **fields: server.post(service, None)])
def test_none_at_first(server, ask):
    answer = ask(server, "parameter")
    assert answer.text == '<?xml version="1.0" encoding="UTF-8"?>\n<Parameters>\n</Parameters>\n'
    assert listed(answer) == []


def test_what_a_get_asks_for_is_not_done(parameters):
    assert listed(parameters.get("parameter", a="2", b="3", cmdDelete="a")) == [("a", "1")]
    assert parameters.commands() == []


@pytest.mark.parametrize("files", [None, {"image": ("c.png", b"x", "image/png")}], ids=["urlencoded", "multipart"])
def test_a_post_sets_and_lists_by_name(parameters, files):
    assert listed(parameters.post("parameter", [("c", "3"), ("b", "2"), ("a", "9")], files=files)) == [
        ("a", "9"), ("b", "2"), ("c", "3")]
    assert parameters.commands() == [f"Setting Parameter: {name} => {value}" for name, value in ("c3", "b2", "a9")]
    assert listed(parameters.get("parameter")) == [("a", "9"), ("b", "2"), ("c", "3")]


def test_every_delete_command_counts(parameters):
    parameters.post("parameter", {"b": "2", "c": "3"})
    fields = [("cmdDelete", "a"), ("cmdDelete", "no such"), ("cmdDelete", "b")]
    assert listed(parameters.post("parameter", fields)) == [("c", "3")]
    assert parameters.commands()[2:] == [f"Deleting Parameter: cmdDelete => {name}" for name in ("a", "no such", "b")]


@pytest.mark.parametrize("fields", [[("cmdDelete", "a"), ("a", "2")], [("a", "2"), ("cmdDelete", "a")]])
def test_what_is_deleted_and_set_is_set(parameters, fields):
    assert listed(parameters.post("parameter", fields)) == [("a", "2")]
    assert parameters.commands() == ["Deleting Parameter: cmdDelete => a", "Setting Parameter: a => 2"]


def test_of_a_parameter_set_twice_the_last_value_stays(parameters):
    assert listed(parameters.post("parameter", [("a", "2"), ("a", "3")])) == [("a", "3")]


def test_names_have_their_case(parameters):
    fields = {"A": "2", "CMDDELETE": "a", "cmddelete": "a"}
    assert listed(parameters.post("parameter", fields)) == [("A", "2"), ("CMDDELETE", "a"), ("a", "1"), ("cmddelete", "a")]


def test_an_empty_value_is_a_value(parameters):
    assert listed(parameters.post("parameter", {"a": "", "b": ""})) == [("a", ""), ("b", "")]


def test_an_empty_name_is_a_name(parameters):
    assert listed(parameters.post("parameter", {"": "2"})) == [("", "2"), ("a", "1")]
    assert listed(parameters.post("parameter", {"cmdDelete": ""})) == [("a", "1")]


def test_uploaded_files_are_ignored(parameters):
    files = {"b": ("b.txt", b"2", "text/plain"), "cmdDelete": ("a", b"a", "text/plain")}
    assert listed(parameters.post("parameter", None, files=files)) == [("a", "1")]
    assert parameters.commands() == []


def test_only_a_stylesheet_changes_nothing(parameters):
    stylesheet = str(ROOT / "xslt" / "answer-text.xsl")
    answer = parameters.post("parameter", {"xslt": stylesheet})
    assert answer.headers["Content-Type"] == "text/plain" and "<" not in answer.text
    assert parameters.get("parameter", xslt=stylesheet).text == answer.text
    assert listed(parameters.post("parameter", {"xslt": ""})) == [("a", "1")]
    assert parameters.commands() == []


NASTY = [
    ("<a>&amp;\"'</Parameter>", "<a>&amp;\"'</Parameter>", "<a>&amp;\"'</Parameter>"),
    ("two\r\nlines\t", "two\r\nlines\t", r"two\x0D\x0Alines\x09"),
    ("\x01\x1b[2Jx", "[2Jx", r"\x01\x1B[2Jx"),
    ("ä € 🎵", "ä € 🎵", "ä € 🎵"),
    (b"Bj\xf6rk \x80", "Björk €", r"Bj\xF6rk \x80"),
    ("a\nSetting Parameter: b => c", "a\nSetting Parameter: b => c", r"a\x0ASetting Parameter: b => c"),
    (" blanks  ", " blanks  ", " blanks  "),
]


@pytest.mark.parametrize("sent, kept, told", NASTY)
def test_any_bytes_make_a_valid_document_and_one_line_each(parameters, sent, kept, told):
    assert (kept, kept) in listed(parameters.post("parameter", [(sent, sent)]))
    assert listed(parameters.post("parameter", [("cmdDelete", sent)])) == [("a", "1")], "the same bytes name it"
    assert parameters.commands() == [f"Setting Parameter: {told} => {told}", f"Deleting Parameter: cmdDelete => {told}"]


def test_what_is_too_long_is_refused_and_what_came_before_it_stays(parameters):
    fields = [("b", "2"), ("c", "x" * 65_537), ("d", "4")]
    assert parameters.post("parameter", fields).text == exception("The value of the parameter is longer than 65536 bytes.")
    assert listed(parameters.get("parameter")) == [("a", "1"), ("b", "2")]
    for field in [("x" * 1025, "1"), ("cmdDelete", "x" * 1025)]:
        assert parameters.post("parameter", [field]).text == exception("The name of the parameter is longer than 1024 bytes.")
    fields = [("x" * 1024, "y" * 65_536)]
    assert listed(parameters.post("parameter", fields)) == [("a", "1"), ("b", "2"), *fields]


def test_a_thousand_at_once(parameters):
    fields = [(f"name{number:04}", str(number)) for number in range(1000)]
    assert listed(parameters.post("parameter", fields)) == [("a", "1"), *fields]
    assert listed(parameters.post("parameter", [("cmdDelete", name) for name, _ in fields])) == [("a", "1")]


def test_every_process_sees_them_and_they_outlive_all(server):
    server.post("parameter", {"b": "2", "a": "1"})
    for _ in range(20):
        assert listed(server.get("parameter")) == [("a", "1"), ("b", "2")]
    server.restart()
    assert listed(server.get("parameter")) == [("a", "1"), ("b", "2")]


@pytest.mark.parametrize("last", [[], [("c", "x" * 65_537)]], ids=["answered", "then one is refused"])
def test_a_thousand_outlive_killed_processes(server, last):
    fields = [(f"name{number:04}", str(number)) for number in range(1000)]
    server.post("parameter", {"a": "1"})
    server.post("parameter", [("cmdDelete", "a"), *fields, *last])
    for process in server.wait_for_responders():
        os.kill(process, signal.SIGKILL)
    server.restart()
    assert listed(server.get("parameter")) == fields


def test_one_that_the_library_reads_works_at_once(server):
    for title in "abc":
        stored_key(server.upload(png(), "image/png", artist="A", title=title))

    def entries(limit):
        server.post("parameter", {"queryLimit": limit})
        root = document(server.post("query", None), "Query")
        assert root.get("total") == "3"
        return len(root)

    assert [entries("2"), entries("1"), entries("100")] == [2, 1, 3]
    assert entries("many") == 3, "the default holds"
    assert "parameter queryLimit: " in server.messages()
    assert document(server.post("parameter", {"cmdDelete": "queryLimit"}), "Parameters").getchildren() == []
