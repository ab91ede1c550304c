# SPDX-License-Identifier: MIT
"""The service that sets, deletes and lists parameters."""

import pytest
from answers import PARAMETERS, XML_HEADER, exception
from forms import Part, multipart, urlencoded
from seam import escaped, quoted

READ = "CoverCache::ReadParameters()"


def delete(name):
    return f"CoverCache::DeleteParameter({quoted(name)})"


def store(name, value):
    return f"CoverCache::StoreParameter({quoted(name)}, {quoted(value)})"


def post(seam, fields, query=""):
    """Returns the calls of a request, without the last one, which lists the parameters."""
    assert seam.post("/sleevery/parameter", urlencoded(fields), query) == XML_HEADER + PARAMETERS
    assert seam.calls[-1] == READ
    return seam.calls[:-1]


@pytest.mark.parametrize("method", ["GET", "HEAD", "PUT", "post", "Post", "POSTS", "POST ", ""])
def test_any_other_method_changes_nothing(seam, method):
    assert seam.get("/sleevery/parameter", "a=1&cmdDelete=b", method) == XML_HEADER + PARAMETERS
    assert seam.calls == [READ]
    content = urlencoded([("a", "1"), ("cmdDelete", "b")])
    assert seam.post("/sleevery/parameter", content, method=method) == XML_HEADER + PARAMETERS
    assert seam.calls == [READ]
    assert seam.stderr == b""


@pytest.mark.parametrize("content", [urlencoded([]), multipart([])])
def test_an_empty_form_changes_nothing(seam, content):
    assert seam.post("/sleevery/parameter", content) == XML_HEADER + PARAMETERS
    assert seam.calls == [READ]
    assert seam.stderr == b""


def test_parameters_are_set_in_the_order_of_the_form(seam):
    assert post(seam, [("b", "2"), ("a", "1"), ("b", "3")]) == [store("b", "2"), store("a", "1"), store("b", "3")]
    assert seam.stderr == b"Setting Parameter: b => 2\nSetting Parameter: a => 1\nSetting Parameter: b => 3\n"


def test_every_delete_command_counts(seam):
    assert post(seam, [("cmdDelete", "a"), ("cmdDelete", "b"), ("cmdDelete", "a")]) == [
        delete("a"),
        delete("b"),
        delete("a"),
    ]
    assert seam.stderr == (
        b"Deleting Parameter: cmdDelete => a\nDeleting Parameter: cmdDelete => b\nDeleting Parameter: cmdDelete => a\n"
    )


@pytest.mark.parametrize("fields", [[("cmdDelete", "a"), ("a", "1")], [("a", "1"), ("cmdDelete", "a")]])
def test_what_is_deleted_and_set_is_set(seam, fields):
    assert post(seam, fields) == [delete("a"), store("a", "1")]
    assert seam.stderr == b"Deleting Parameter: cmdDelete => a\nSetting Parameter: a => 1\n"


@pytest.mark.parametrize("name", ["CMDDELETE", "cmddelete", "CmdDelete", "cmdDelete ", "cmdDelet", "xslt2", "xsl"])
def test_a_name_that_differs_is_a_parameter(seam, name):
    assert post(seam, [(name, "a")]) == [store(name, "a")]
    assert seam.stderr == f"Setting Parameter: {name} => a\n".encode()


def test_the_stylesheet_is_no_parameter_and_gets_the_very_same_document(start):
    seam = start("XMLParser::transform return page")
    content = urlencoded([("xslt", "a.xsl"), ("xslt", "b.xsl")])
    assert seam.post("/sleevery/parameter", content) == b"Content-Type: text/plain\n\npage"
    assert seam.calls == [
        READ,
        "XMLParser::XMLParser()",
        f"XMLParser::parse({quoted(PARAMETERS)})",
        'XMLParser::transform("a.xsl")',
        "XMLParser::~XMLParser()",
    ]
    assert seam.stderr == b""


def test_a_stylesheet_in_capitals_is_both(start):
    seam = start("XMLParser::transform return page")
    assert seam.post("/sleevery/parameter", urlencoded([("XSLT", "a.xsl")])) == b"Content-Type: text/plain\n\npage"
    assert seam.calls[:2] == [store("XSLT", "a.xsl"), READ]


def test_empty_values_and_names_are_commands_like_others(seam):
    assert post(seam, [("a", ""), ("", "1"), ("cmdDelete", "")]) == [delete(""), store("a", ""), store("", "1")]
    assert seam.stderr == (
        b"Deleting Parameter: cmdDelete => \nSetting Parameter: a => \nSetting Parameter:  => 1\n"
    )


def test_fields_of_the_query_string_of_a_post_are_commands_too(seam):
    assert post(seam, [("a", "1")], "b=2&cmdDelete=c") == [delete("c"), store("a", "1"), store("b", "2")]


def test_files_are_ignored_and_fields_of_a_multipart_body_are_not(seam):
    parts = [
        Part("a", b"1", "a.txt", "text/plain"),
        Part("cmdDelete", b"b", "b.txt", "text/plain"),
        Part("c", b"3"),
        Part("cmdDelete", b"d"),
    ]
    assert seam.post("/sleevery/parameter", multipart(parts)) == XML_HEADER + PARAMETERS
    assert seam.calls == [delete("d"), store("c", "3"), READ]
    assert seam.stderr == b"Deleting Parameter: cmdDelete => d\nSetting Parameter: c => 3\n"


PRINTABLE = [
    b" two  blanks ",
    b"a => b",
    b"<&>\"'\\x0A%41+",
    "ä € 🎵".encode(),
    pytest.param(b"x" * 100_000, id="long"),
]


@pytest.mark.parametrize("text", PRINTABLE)
def test_a_printable_text_is_told_to_the_byte(seam, text):
    assert post(seam, [(text, text), ("cmdDelete", text)]) == [delete(text), store(text, text)]
    assert seam.stderr == (
        b"Deleting Parameter: cmdDelete => " + text + b"\nSetting Parameter: " + text + b" => " + text + b"\n"
    )


NOT_PRINTABLE = [
    (b"a\nSetting Parameter: b => c", rb"a\x0ASetting Parameter: b => c"),
    (b"a\r\nb\tc", rb"a\x0D\x0Ab\x09c"),
    (b"\x1b[2J\x07\x7f", rb"\x1B[2J\x07\x7F"),
    ("\u009b31m\u2028\u202e".encode(), rb"\xC2\x9B31m\xE2\x80\xA8\xE2\x80\xAE"),
    (b"Bj\xf6rk", rb"Bj\xF6rk"),
]


@pytest.mark.parametrize("text, shown", NOT_PRINTABLE)
def test_no_text_forges_a_line_or_drives_a_terminal(seam, text, shown):
    assert post(seam, [(text, text), ("cmdDelete", text)]) == [delete(text), store(text, text)]
    assert seam.stderr == (
        b"Deleting Parameter: cmdDelete => " + shown + b"\nSetting Parameter: " + shown + b" => " + shown + b"\n"
    )


def test_a_text_that_is_far_too_long_is_cut(seam):
    post(seam, [("a", b"x" * 3_000_000)])
    assert seam.stderr == b"Setting Parameter: a => " + b"x" * 1024 * 1024 + b"...\n"


@pytest.mark.parametrize(
    "failing, made",
    [
        ("CoverCache::DeleteParameter#2", [delete("a"), delete("b")]),
        ("CoverCache::StoreParameter#2", [delete("a"), delete("b"), store("c", "3"), store("d", "4")]),
        (READ.removesuffix("()"), [delete("a"), delete("b"), store("c", "3"), store("d", "4"), READ]),
    ],
)
def test_what_was_done_before_a_failure_stays_done_and_nothing_is_done_behind_it(start, failing, made):
    seam = start(f"{failing} throw std x")
    fields = [("c", "3"), ("cmdDelete", "a"), ("d", "4"), ("cmdDelete", "b")]
    assert seam.post("/sleevery/parameter", urlencoded(fields)) == XML_HEADER + exception(b"x")
    assert seam.calls == made
    assert seam.stderr.count(b"\n") == len([call for call in made if call != READ]), "a command is told before it is done"


@pytest.mark.parametrize("document", [b"", b"no <xml", b"\xe4\xff\0\n\n", pytest.param(b"<All/>" * 20_000, id="long")])
def test_every_byte_of_the_document_goes_out(start, document):
    seam = start("CoverCache::ReadParameters return " + escaped(document))
    assert seam.get("/sleevery/parameter") == XML_HEADER + document
