# SPDX-License-Identifier: MIT
"""The service that queues jobs for writing a cover into song files."""

import pytest
from answers import DECLARATION, NO_DATA, XML_HEADER, exception
from forms import Part, multipart, urlencoded
from seam import quoted

INVALID_ID = b'  <Error code="-1">Invalid CacheId given.</Error>\n'
FILES = [("file", "/music/b.mp3"), ("file", "/music/a.flac"), ("file", "c.ogg")]


def document(lines):
    return XML_HEADER + DECLARATION + b"<WriteCoverTags>\n" + lines + b"</WriteCoverTags>\n"


def jobs(*ids):
    return b"".join(b'    <Job id="%d"/>\n' % job for job in ids)


def queued(key, *files):
    """The calls that queue the jobs for a cache entry and its files."""
    tags = [f"CoverCache::WriteCoverTag({key}, {quoted(file)}, true)" for file in files]
    return [*tags, f"CoverCache::CreateDeleteJob({key})"]


def post(seam, fields):
    return seam.post("/sleevery/writeTags", urlencoded(fields))


@pytest.mark.parametrize("method", ["GET", "HEAD", "PUT", "post", "Post", "POSTS", "POST ", ""])
def test_any_other_method_has_no_data(seam, method):
    assert seam.get("/sleevery/writeTags", "cacheID=7&file=a", method) == XML_HEADER + NO_DATA
    content = urlencoded([("cacheID", "7"), *FILES])
    assert seam.post("/sleevery/writeTags", content, method=method) == XML_HEADER + NO_DATA
    assert seam.get("/sleevery/writeTags", "cacheID=abc", method) == XML_HEADER + NO_DATA
    assert seam.calls == []
    assert seam.stderr == b""


@pytest.mark.parametrize(
    "fields", [[("cacheID", "7"), *FILES], [*FILES, ("cacheID", "7")], [FILES[0], ("cacheID", "7"), *FILES[1:]]]
)
def test_a_job_for_each_file_in_order_and_then_one_to_delete(seam, fields):
    assert post(seam, fields) == document(jobs(1, 2, 3))
    assert seam.calls == queued(7, "/music/b.mp3", "/music/a.flac", "c.ogg")
    assert seam.stderr == b""


def test_fields_of_a_multipart_body_are_taken_alike(seam):
    parts = [Part("cacheID", b"7"), Part("file", b"/music/a.mp3"), Part("file", b"/music/b.mp3")]
    assert seam.post("/sleevery/writeTags", multipart(parts)) == document(jobs(1, 2))
    assert seam.calls == queued(7, "/music/a.mp3", "/music/b.mp3")


def test_without_a_file_only_the_deletion_is_queued(seam):
    assert post(seam, [("cacheID", "7")]) == document(b"")
    assert seam.calls == queued(7)


@pytest.mark.parametrize("job", [1, 17, 2147483647, 0, -3, -2147483648])
def test_the_job_is_told_as_the_cache_tells_it(start, job):
    seam = start(f"CoverCache::WriteCoverTag#2 return {job}")
    assert post(seam, [("cacheID", "7"), *FILES]) == document(jobs(1, job, 3))


@pytest.mark.parametrize("result", ["0", "-1"])
def test_what_the_deletion_returns_is_ignored(start, result):
    seam = start(f"CoverCache::CreateDeleteJob return {result}")
    assert post(seam, [("cacheID", "7"), FILES[0]]) == document(jobs(1))


@pytest.mark.parametrize("fields", [[], [("cacheID", "0")], [("cacheID", "-3")], [("cacheID", "-0")], [("cache", "7")]])
def test_no_id_and_one_below_one_are_invalid(seam, fields):
    assert post(seam, [*fields, *FILES]) == document(INVALID_ID)
    assert seam.calls == []


@pytest.mark.parametrize("value, key", [(" 7", 7), ("\t\n 7", 7), ("+7", 7), ("007", 7), ("2147483647", 2147483647)])
def test_ids_that_are_whole_numbers(seam, value, key):
    assert post(seam, [("cacheID", value), FILES[0]]) == document(jobs(1))
    assert seam.calls == queued(key, FILES[0][1])


@pytest.mark.parametrize(
    "value", ["", " ", "12a", "12 ", "7\n", "abc", "0x7", "7.0", "1e3", "--7", "2147483648", "99999999999999999999", "<7>"]
)
def test_an_id_that_is_no_whole_number_is_an_exception(seam, value):
    assert post(seam, [("cacheID", value), *FILES]) == XML_HEADER + exception(value.encode())
    assert seam.calls == []
    assert post(seam, [("cacheID", "7")]) == document(b"")


@pytest.mark.parametrize(
    "first, second, answer, calls",
    [
        ("7", "8", document(b""), queued(7)),
        ("7", "x", document(b""), queued(7)),
        ("0", "7", document(INVALID_ID), []),
        ("x", "7", XML_HEADER + exception(b"x"), []),
    ],
)
def test_of_two_ids_the_first_counts(seam, first, second, answer, calls):
    assert post(seam, [("cacheID", first), ("cacheID", second)]) == answer
    assert seam.calls == calls


@pytest.mark.parametrize("name", ["cacheid", "CACHEID", "CacheID"])
def test_the_id_has_a_name_without_case(seam, name):
    assert post(seam, [(name, "7")]) == document(b"")
    assert seam.calls == queued(7)


@pytest.mark.parametrize("name", ["File", "FILE", "files", "file ", "file[]", "path"])
def test_a_name_that_differs_is_no_file(seam, name):
    assert post(seam, [("cacheID", "7"), (name, "/music/a.mp3")]) == document(b"")
    assert seam.calls == queued(7)


def test_an_uploaded_file_is_none(seam):
    parts = [Part("cacheID", b"7"), Part("file", b"ID3", "a.mp3", "audio/mpeg")]
    assert seam.post("/sleevery/writeTags", multipart(parts)) == document(b"")
    assert seam.calls == queued(7)


@pytest.mark.parametrize(
    "path", [b"", b" ", b"../../etc/passwd", b"/a/<&>\"'.mp3", b"/\xe4\xff\x01\n", "/ä".encode(),
             pytest.param(b"/" + b"x" * 100_000, id="long")]
)
def test_a_path_is_passed_on_as_it_is_and_never_echoed(seam, path):
    assert post(seam, [("cacheID", "7"), ("file", path)]) == document(jobs(1))
    assert seam.calls == queued(7, path)


def test_a_file_named_twice_gets_two_jobs(seam):
    assert post(seam, [("cacheID", "7"), FILES[0], FILES[0]]) == document(jobs(1, 2))


@pytest.mark.parametrize(
    "fields, xml",
    [
        ([("cacheID", "7"), FILES[0]], document(jobs(1))),
        ([], document(INVALID_ID)),
    ],
    ids=["queued", "invalid"],
)
def test_a_stylesheet_gets_the_very_same_document(start, fields, xml):
    seam = start("XMLParser::transform return page")
    assert post(seam, [*fields, ("xslt", "a.xsl")]) == b"Content-Type: text/plain\n\npage"
    assert seam.calls[-3:-1] == [
        f"XMLParser::parse({quoted(xml.removeprefix(XML_HEADER))})",
        'XMLParser::transform("a.xsl")',
    ]


def test_the_answer_without_data_is_transformed_too(start):
    seam = start("XMLParser::transform return page")
    assert seam.get("/sleevery/writeTags", "xslt=a.xsl") == b"Content-Type: text/plain\n\npage"
    assert f"XMLParser::parse({quoted(NO_DATA)})" in seam.calls


@pytest.mark.parametrize("kind", ["util", "std"])
def test_jobs_queued_before_a_failure_stay_and_nothing_is_deleted_behind_it(start, kind):
    seam = start(f"CoverCache::WriteCoverTag#2 throw {kind} x")
    assert post(seam, [("cacheID", "7"), *FILES]) == XML_HEADER + exception(b"x")
    assert [call for call in seam.calls if call != "Exception::GetText()"] == queued(7, "/music/b.mp3", "/music/a.flac")[:-1]
