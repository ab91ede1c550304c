# SPDX-License-Identifier: MIT
"""Answers that a stylesheet transforms."""

import pytest
from answers import exception
from pictures import fixture
from server import ROOT, Server

HEAD = '<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">'
TEXT = HEAD + '<xsl:output method="text"/><xsl:template match="/">root: <xsl:value-of select="name(*)"/></xsl:template></xsl:stylesheet>'
FO = HEAD + ('<xsl:template match="/"><fo:root xmlns:fo="http://www.w3.org/1999/XSL/Format"><fo:block/></fo:root>'
             "</xsl:template></xsl:stylesheet>")
EMPTY = HEAD + '<xsl:output method="text"/><xsl:template match="/"/></xsl:stylesheet>'
BROKEN = HEAD + '<xsl:template match="/"><xsl:no-such-thing/></xsl:template>'
STEALING = HEAD + "<xsl:template match=\"/\"><xsl:copy-of select=\"document('/etc/hostname')\"/></xsl:template></xsl:stylesheet>"


@pytest.fixture(scope="module")
def styled():
    with Server() as server:
        folder = server.state / "xslt"
        folder.mkdir()
        for name, text in {"text": TEXT, "fo": FO, "empty": EMPTY, "broken": BROKEN, "stealing": STEALING}.items():
            (folder / f"{name}.xsl").write_text(text)
        yield server


def upload(server, stylesheet):
    return server.upload(fixture("baseline.jpg"), artist="Lowbeam", album="Paper Lanterns", xslt=stylesheet)


def test_text(styled):
    answer = upload(styled, "text.xsl")
    assert (answer.headers["Content-Type"], answer.text) == ("text/plain", "root: Upload")


def test_formatting_objects_go_out_as_html(styled):
    answer = upload(styled, "fo.xsl")
    assert answer.headers["Content-Type"] == "text/html"
    assert 'xmlns:fo="http://www.w3.org/1999/XSL/Format"' in answer.text


@pytest.mark.parametrize("name,kind", [("answer-html.xsl", "text/html"), ("answer-text.xsl", "text/plain"), ("answer-fo.xsl", "text/html")])
def test_the_stylesheets_that_come_with_the_product(styled, name, kind):
    answer = upload(styled, str(ROOT / "xslt" / name))
    assert answer.headers["Content-Type"] == kind
    assert "Paper Lanterns" in answer.text and "<Upload>" not in answer.text


def test_an_absolute_path(styled):
    assert upload(styled, str(styled.state / "xslt" / "text.xsl")).text == "root: Upload"


@pytest.mark.parametrize("stylesheet", ["empty.xsl", "broken.xsl", "stealing.xsl", "missing.xsl", "../covers.db", "http://127.0.0.1/a.xsl",
                                        "file:///etc/passwd", "/etc/passwd", "/dev/zero", "x" * 5000])
def test_one_that_gives_nothing_is_passed_over(styled, stylesheet):
    answer = upload(styled, stylesheet)
    assert answer.headers["Content-Type"] == "text/xml"
    assert answer.text.endswith('<Error code="0">OK</Error>\n</Upload>\n')


def test_what_is_wrong_with_it_is_one_line(styled):
    before = len(styled.messages())
    upload(styled, "broken.xsl")
    lines = [line for line in styled.messages()[before:].splitlines() if "broken.xsl" in line]
    assert len(lines) == 1 and lines[0].startswith("sleevery.fcgi: ")


def test_an_exception_answer_is_transformed_too(styled):
    answer = styled.get("show", key="abc", xslt="text.xsl")
    assert (answer.headers["Content-Type"], answer.text) == ("text/plain", "root: Exception")
    assert styled.get("show", key="<", xslt="text.xsl").text == exception("<"), "not well-formed, so it stays as it is"


def test_the_list_of_empty_entries_is_transformed(styled):
    assert styled.get("showEmpty", xslt="text.xsl").text == "root: ShowEmpty"


def test_the_folder_can_be_set(styled, tmp_path):
    (tmp_path / "mine.xsl").write_text(TEXT)
    assert upload(styled, "mine.xsl").headers["Content-Type"] == "text/xml"
    import sqlite3

    with sqlite3.connect(styled.state / "covers.db") as store:
        store.execute("INSERT INTO parameters VALUES ('stylesheetFolder', ?)", (str(tmp_path),))
    store.close()
    assert upload(styled, "mine.xsl").text == "root: Upload"
