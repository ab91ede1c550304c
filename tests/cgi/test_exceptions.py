# SPDX-License-Identifier: MIT
"""The answer to an exception in each library call of each service."""

import pytest
import songs
from answers import DECLARATION, INDEX, OK, SERVER_ERROR, SHOW_FORM, XML_HEADER, exception
from forms import Part, multipart, params, urlencoded
from seam import escaped, quoted

PARTS = [Part(name, value.encode()) for name, value in songs.FIELDS]
IMAGE = Part("image", b"\xff\xd8cover", "cover.jpg", "image/jpeg")
FETCHED = b"image at http://covers.example/1.jpg"

# For each service: its longest request, and all library calls that the request causes, in order.
SERVICES = {
    "show": (
        "GET",
        urlencoded([("key", "5")]),
        ["CoverCache::GetImage(5, image)", "Image::isValid()", "Image::getRawPNG()"],
    ),
    "showEmpty": ("GET", urlencoded([]), ["CoverCache::ShowEmpty()"]),
    "upload": (
        "POST",
        multipart([*PARTS, IMAGE]),
        [
            *songs.EXTRACTED,
            *songs.ECHOED,
            'XMLParser::encode("image/jpeg")',
            'XMLParser::encode("cover.jpg")',
            f"CoverCache::Lookup({songs.record()})",
            f"SongInfo::setImage({quoted(IMAGE.content)}, 7)",
            f"CoverCache::Store({songs.record(IMAGE.content)}, true)",
            "SongInfo::setImage(null, 0)",
            "CoverCache::ShowCurrentCover()",
        ],
    ),
    "update": (
        "POST",
        multipart(PARTS),
        [
            *songs.EXTRACTED,
            "SongInfo::isValid()",
            *songs.ECHOED,
            "SongInfo::getImageUrl()",
            'XMLParser::encode("http://covers.example/1.jpg")',
            f"CoverCache::Lookup({songs.record()})",
            "SongInfo::getImageUrl()",
            "SongInfo::loadImage()",
            f"CoverCache::Store({songs.record(FETCHED)}, true)",
            "SongInfo::setImage(null, 0)",
            "CoverCache::ShowCurrentCover()",
        ],
    ),
    "query": (
        "POST",
        multipart(PARTS),
        [
            *songs.EXTRACTED,
            "SongInfo::getArtist()",
            "SongInfo::getAlbum()",
            "SongInfo::getTitle()",
            'CoverCache::Query("Lowbeam", "Paper Lanterns", "Quiet Harbour")',
        ],
    ),
    "suggest": (
        "POST",
        multipart([part for part in PARTS if part.name == "title"]),
        [
            "SongInfo::SongInfo()",
            'SongInfo::setTitle("Quiet Harbour")',
            "SongInfo::Dump()",
            "SongInfo::getArtist()",
            "SongInfo::getAlbum()",
            "SongInfo::getTitle()",
            "SongInfo::getCoverartInformation()",
        ],
    ),
    "guessAlbum": (
        "POST",
        multipart(PARTS),
        [*songs.EXTRACTED, "SongInfo::isValid()", "SongInfo::guessAlbumNames()"],
    ),
    "tracks": (
        "POST",
        multipart(PARTS),
        [*songs.EXTRACTED, f"CoverCache::Lookup({songs.record()})", "SongInfo::readAlbumSongs()"],
    ),
    "quavionAPI": (
        "POST",
        urlencoded([("xmlString", b"<Play/>")]),
        ["Quavion::Instance()", 'Quavion::Send("<Play/>")'],
    ),
    "parameter": (
        "POST",
        urlencoded([("a", "1"), ("cmdDelete", "a"), ("b", "2"), ("cmdDelete", "c")]),
        [
            'CoverCache::DeleteParameter("a")',
            'CoverCache::DeleteParameter("c")',
            'CoverCache::StoreParameter("a", "1")',
            'CoverCache::StoreParameter("b", "2")',
            "CoverCache::ReadParameters()",
        ],
    ),
    "writeTags": (
        "POST",
        urlencoded([("file", "/music/1.mp3"), ("cacheID", "7"), ("file", "/music/2.mp3")]),
        [
            'CoverCache::WriteCoverTag(7, "/music/1.mp3", true)',
            'CoverCache::WriteCoverTag(7, "/music/2.mp3", true)',
            "CoverCache::CreateDeleteJob(7)",
        ],
    ),
}

UPDATED = (
    XML_HEADER + DECLARATION + b"<Update>\n" + songs.BLOCK + b"  <URL>http://covers.example/1.jpg</URL>\n"
    b"  <Image>17</Image>\n" + OK + b"</Update>\n"
)

EACH_CALL = [
    pytest.param(service, index, id=f"{service}-{index}-{call.split('(')[0]}")
    for service, (_, _, calls) in SERVICES.items()
    for index, call in enumerate(calls)
]


def request(service):
    method, (content_type, body), _ = SERVICES[service]
    if method == "GET":
        return params("GET", "/sleevery/" + service, body.decode()), b""
    return params("POST", "/sleevery/" + service, body=body, content_type=content_type), body


def written_before(service, index):
    """The answer that is complete before the call at `index`. Only "update" makes a call after its answer."""
    return UPDATED if service == "update" and index == len(SERVICES[service][2]) - 1 else b""


def order(service, index, failure):
    """The script line that makes the call at `index` fail."""
    functions = [call.split("(")[0] for call in SERVICES[service][2][: index + 1]]
    return f"{functions[-1]}#{functions.count(functions[-1])} {failure}"


@pytest.mark.parametrize("service", SERVICES)
def test_the_calls_of_a_service_that_succeeds(seam, service):
    seam.answer(*request(service))
    assert seam.calls == SERVICES[service][2]


@pytest.mark.parametrize("kind", ["util", "std"])
@pytest.mark.parametrize("service, index", EACH_CALL)
def test_an_exception_is_answered_and_the_next_request_served(start, service, index, kind):
    seam = start(order(service, index, f"throw {kind} The store is full."))
    calls = SERVICES[service][2]

    document = written_before(service, index) + XML_HEADER + exception(b"The store is full.")
    assert seam.answer(*request(service)) == document
    assert seam.calls == calls[: index + 1] + (["Exception::GetText()"] if kind == "util" else [])
    logged = index >= calls.index("SongInfo::Dump()") if "SongInfo::Dump()" in calls else False
    assert seam.stderr.startswith(b"sleevery.fcgi, received SongInfo\n") == logged

    assert seam.get("/sleevery/show") == SHOW_FORM
    seam.answer(*request(service))
    assert seam.calls == calls


@pytest.mark.parametrize("service, index", EACH_CALL)
def test_an_exception_of_an_unknown_kind_ends_the_process(start, service, index):
    seam = start(order(service, index, "throw other"))
    seam.dies_of(*request(service), written_before(service, index))
    assert seam.calls == SERVICES[service][2][: index + 1]


@pytest.mark.parametrize("kind", ["util", "std"])
def test_an_image_that_cannot_be_made_is_answered(start, kind):
    seam = start(f"Image::Image#1 throw {kind} No memory.")
    assert seam.get("/sleevery/show") == XML_HEADER + exception(b"No memory.")
    assert seam.get("/sleevery/show") == SHOW_FORM


@pytest.mark.parametrize("kind", ["util", "std"])
@pytest.mark.parametrize(
    "text",
    [b"", b"<b> & \"x\" ' \xe4\xff", b"two\nlines\n", b" blanks ", pytest.param(b"x" * 20_000, id="long")],
)
def test_the_text_is_sent_as_it_is(start, kind, text):
    seam = start(f"CoverCache::ShowEmpty throw {kind} {escaped(text)}")
    assert seam.get("/sleevery/showEmpty") == XML_HEADER + exception(text)


def test_the_text_of_the_library_exception_is_asked_for(start):
    seam = start("CoverCache::ShowEmpty throw util x", "Exception::GetText return y")
    assert seam.get("/sleevery/showEmpty") == XML_HEADER + exception(b"y")


def test_an_exception_while_one_is_answered_ends_the_process(start):
    seam = start("CoverCache::ShowEmpty throw util x", "Exception::GetText throw std y")
    seam.dies_of(params("GET", "/sleevery/showEmpty"))


@pytest.mark.parametrize("kind", ["util", "std"])
def test_the_document_is_transformed_like_every_other(start, kind):
    seam = start(f"CoverCache::ShowEmpty throw {kind} x", "XMLParser::transform return page")
    assert seam.get("/sleevery/showEmpty", "xslt=a.xsl") == b"Content-Type: text/plain\n\npage"
    assert seam.calls == [
        "CoverCache::ShowEmpty()",
        *(["Exception::GetText()"] if kind == "util" else []),
        "XMLParser::XMLParser()",
        f"XMLParser::parse({quoted(exception(b'x'))})",
        'XMLParser::transform("a.xsl")',
        "XMLParser::~XMLParser()",
    ]


def test_a_failure_to_deliver_the_document_is_a_server_error(start):
    seam = start("CoverCache::ShowEmpty throw std x", "XMLParser::parse throw std y")
    assert seam.get("/sleevery/showEmpty", "xslt=a.xsl") == SERVER_ERROR
    assert seam.get("/sleevery/nothing") == INDEX


def test_a_library_that_fails_again_and_again_stays_usable(start):
    seam = start("CoverCache::ShowEmpty throw util x", "CoverCache::ShowEmpty#20 return y")
    for _ in range(19):
        assert seam.get("/sleevery/showEmpty") == XML_HEADER + exception(b"x")
    assert seam.get("/sleevery/showEmpty") == XML_HEADER + b"y"
