# SPDX-License-Identifier: MIT
"""How a document is sent: unchanged, or transformed by the stylesheet in the form."""

import pytest
from answers import EMPTY_LIST, SERVER_ERROR, SHOW_FORM, XML_HEADER
from forms import Part, multipart, params, urlencoded
from seam import escaped, quoted

HTML = b"Content-Type: text/html\n\n"
PLAIN = b"Content-Type: text/plain\n\n"
FORMATTING_OBJECTS = 'xmlns:fo="http://www.w3.org/1999/XSL/Format"'


def deliver(seam, query=""):
    """Requests a document from the library. Returns the answer and the calls that send it."""
    answer = seam.get("/sleevery/showEmpty", query)
    assert seam.calls[0] == "CoverCache::ShowEmpty()"
    return answer, seam.calls[1:]


def calls(stylesheet="a.xsl", document=EMPTY_LIST):
    return [
        "XMLParser::XMLParser()",
        f"XMLParser::parse({quoted(document)})",
        f"XMLParser::transform({quoted(stylesheet)})",
        "XMLParser::~XMLParser()",
    ]


@pytest.mark.parametrize("query", ["", "xslt=", "xslt", "xslt=&xslt=a.xsl", "xsl=a.xsl&stylesheet=a.xsl"])
def test_without_a_stylesheet_the_document_goes_out_as_it_is(seam, query):
    assert deliver(seam, query) == (XML_HEADER + EMPTY_LIST, [])


@pytest.mark.parametrize(
    "document",
    [b"", b"no end of line", b"\n\n", b"not <xml", b"\xe4\xff\0\x01", pytest.param(b"x" * 100_000, id="long")],
)
def test_every_byte_of_the_document_goes_out(start, document):
    seam = start("CoverCache::ShowEmpty return " + escaped(document))
    assert deliver(seam) == (XML_HEADER + document, [])


@pytest.mark.parametrize(
    "result",
    [
        FORMATTING_OBJECTS,
        f"<fo:root {FORMATTING_OBJECTS}/>",
        f"text before {FORMATTING_OBJECTS}and behind",
        pytest.param("x" * 20_000 + FORMATTING_OBJECTS, id="far behind"),
    ],
)
def test_a_result_that_declares_formatting_objects_is_html(start, result):
    seam = start("XMLParser::transform return " + result)
    assert deliver(seam, "xslt=a.xsl") == (HTML + result.encode(), calls())


@pytest.mark.parametrize(
    "result",
    [
        "x",
        " ",
        "<html><body>page</body></html>",
        "xmlns:fo='http://www.w3.org/1999/XSL/Format'",
        'xmlns:fo = "http://www.w3.org/1999/XSL/Format"',
        'xmlns:FO="http://www.w3.org/1999/XSL/Format"',
        'xmlns="http://www.w3.org/1999/XSL/Format"',
        'xmlns:fo="http://www.w3.org/1999/XSL/Format/"',
        'xmlns:fo="http://www.w3.org/1999/XSL/Transform"',
        'xmlns:fo="https://www.w3.org/1999/XSL/Format"',
        'xmlns:fo="http://www.w3.org/1999/xsl/format"',
        "xmlns:fo=http://www.w3.org/1999/XSL/Format",
    ],
)
def test_any_other_result_is_plain_text(start, result):
    seam = start("XMLParser::transform return " + result)
    assert deliver(seam, "xslt=a.xsl") == (PLAIN + result.encode(), calls())


def test_every_byte_of_the_result_goes_out(start):
    result = bytes(range(256)) * 100
    seam = start("XMLParser::transform return " + escaped(result))
    assert deliver(seam, "xslt=a.xsl") == (PLAIN + result, calls())


def test_a_stylesheet_without_a_result_is_passed_over(start):
    seam = start("XMLParser::transform return ")
    assert deliver(seam, "xslt=a.xsl") == (XML_HEADER + EMPTY_LIST, calls())


def test_a_document_that_cannot_be_parsed_goes_out_as_it_is(start):
    seam = start("XMLParser::parse return false", "XMLParser::transform return page")
    answer, made = deliver(seam, "xslt=a.xsl")
    assert answer == XML_HEADER + EMPTY_LIST
    assert made == [*calls()[:2], *calls()[3:]]


@pytest.mark.parametrize("failure", ["throw util x", "throw std x", "throw other"])
@pytest.mark.parametrize("index", range(3))
def test_an_exception_is_a_server_error(start, index, failure):
    seam = start(f"{calls()[index].split('(')[0]}#1 {failure}", "XMLParser::transform return page")
    # A parser that was constructed is also destroyed. If its construction fails, there is no destruction to log.
    made = calls()[: index + 1] + (calls()[3:] if index > 0 else [])
    assert deliver(seam, "xslt=a.xsl") == (SERVER_ERROR, made)
    assert deliver(seam, "xslt=a.xsl") == (PLAIN + b"page", calls())
    assert seam.stderr == b""


@pytest.mark.parametrize(
    "value, stylesheet",
    [
        ("%20", " "),
        ("a.xsl%00.txt", "a.xsl"),
        ("../../etc/x.xsl", "../../etc/x.xsl"),
        ("/usr/share/sleevery/a%20b.xsl", "/usr/share/sleevery/a b.xsl"),
        ("http%3A%2F%2Fx%2F%3Fa%26b", "http://x/?a&b"),
        ("%C3%A4%FF.xsl", b"\xc3\xa4\xff.xsl"),
        ("a.xsl&xslt=b.xsl", "a.xsl"),
    ],
)
def test_the_stylesheet_is_named_as_the_form_names_it(start, value, stylesheet):
    seam = start("XMLParser::transform return page")
    assert deliver(seam, "xslt=" + value) == (PLAIN + b"page", calls(stylesheet))


def test_the_field_has_a_name_without_case(start):
    seam = start("XMLParser::transform return page")
    assert deliver(seam, "XSLT=a.xsl") == (PLAIN + b"page", calls())


@pytest.mark.parametrize(
    "content", [urlencoded([("xslt", "a.xsl")]), multipart([Part("xslt", b"a.xsl")])], ids=["urlencoded", "multipart"]
)
def test_the_stylesheet_may_come_in_the_body(start, content):
    seam = start("XMLParser::transform return page")
    assert seam.post("/sleevery/showEmpty", content) == PLAIN + b"page"


def test_a_stylesheet_is_no_file_of_the_form(seam):
    content = multipart([Part("xslt", b"<x/>", "a.xsl", "text/xml")])
    assert seam.post("/sleevery/showEmpty", content) == XML_HEADER + EMPTY_LIST
    assert seam.calls == ["CoverCache::ShowEmpty()"]


def test_forms_are_never_transformed(seam):
    assert seam.answer(params("GET", "/sleevery/show", "xslt=a.xsl")) == SHOW_FORM
    assert seam.calls == []
