# SPDX-License-Identifier: MIT
"""The stand-ins answer as the real services do."""

import io
import socket

import pytest
import requests
import services
import shops
from catalogue import catalogue, songs
from lxml import etree
from PIL import Image

MB = {"mb": "http://musicbrainz.org/ns/mmd-2.0#"}
SCORE = "{http://musicbrainz.org/ns/ext#-2.0}score"
TIMEOUT_SECONDS = 30


@pytest.fixture
def web():
    with services.Services() as running:
        yield running


def get(web, path, headers=None, **parameters):
    return requests.get(web.url(path), params=parameters, headers=headers, timeout=TIMEOUT_SECONDS)


def searched(web, entity, query, **parameters):
    answer = get(web, f"musicbrainz/ws/2/{entity}", query=query, **parameters)
    assert answer.status_code == 200, answer.text
    return etree.fromstring(answer.content)


def texts(root, path):
    return [element.text for element in root.iterfind(path, MB)]


def test_the_catalogue_is_large_and_every_song_is_in_it():
    everything = catalogue()
    assert len(everything.artists) >= 40 and len(everything.releases) >= 200 and len(songs()) >= 80
    assert all(song["group"] in everything.groups for song in songs())
    assert len({release.id for release in everything.releases.values()}) == sum(len(g.releases) for g in everything.groups.values())


def test_releases_are_found_by_phrases(web):
    root = searched(web, "release", 'release:"paper LANTERNS" AND artist:"Lowbeam"')
    assert set(texts(root, ".//mb:release/mb:title")) == {"Paper Lanterns", "Paper Lanterns (10th Anniversary Edition)"}
    assert root.find(".//mb:release", MB).get(SCORE) == "100"
    assert root.find(".//mb:release-group", MB).get("type") == "Album"
    assert texts(root, ".//mb:release-list/mb:release/mb:artist-credit/mb:name-credit/mb:name") == ["Lowbeam"] * len(
        root.findall(".//mb:release", MB))


@pytest.mark.parametrize("query, titles", [
    (r'release:"Hey, Hey, Hey!" AND artist:"The The Waltzers"', {"Hey, Hey, Hey!", "Hey, Hey, Hey! Live at the Palais"}),
    ("release:(lantrens~ AND paper~) AND artist:lowbeem~", {"Paper Lanterns", "Paper Lanterns (10th Anniversary Edition)"}),
    ('release:"Дом у моря"', {"Дом у моря"}),
    ('release:"雨の図書館"', {"雨の図書館"}),
    ('release:"Salt and Cedar" AND status:official', {"Salt & Cedar", "Salt & Cedar (Remastered)",
                                                       "Salt & Cedar (40th Anniversary Deluxe Edition)"}),
    (r'release:"say \"nothing\""', set()),
])
def test_the_query_language(web, query, titles):
    assert set(texts(searched(web, "release", query), ".//mb:release/mb:title")) == titles


@pytest.mark.parametrize("query", ["", 'release:"', 'nonsense:"x"', "release:(a OR b)", "release:AND", 'release:"a" artist:"b"'])
def test_a_query_that_is_wrong_is_refused(web, query):
    answer = get(web, "musicbrainz/ws/2/release", query=query)
    assert answer.status_code == 400 and b"<error><text>" in answer.content


def test_recordings_name_the_artist_of_a_release_only_where_it_is_another(web):
    root = searched(web, "recording", 'recording:"Quiet Harbour" AND artist:"Lowbeam"', limit=100)
    credits = {release.findtext("mb:title", namespaces=MB): release.findtext(".//mb:name", namespaces=MB)
               for release in root.iterfind(".//mb:release", MB)}
    assert credits["Slow Tides: Sixteen Calm Hours"] == "Various Artists"
    assert credits["Paper Lanterns"] is None
    assert "Live at Oslo" in credits


def test_what_is_not_there_is_an_empty_list(web):
    root = searched(web, "recording", 'recording:"No Such Song"')
    assert root[0].get("count") == "0" and len(root[0]) == 0


def test_covers_come_by_redirects(web):
    group = next(group for group in catalogue().groups.values() if group.pictured and group.pictured.cover >= 1000)
    answer = get(web, f"coverartarchive/release-group/{group.id}")
    assert [hop.status_code for hop in answer.history] == [307, 302]
    front = next(image for image in answer.json()["images"] if image["front"])
    picture = requests.get(front["thumbnails"]["500"], timeout=TIMEOUT_SECONDS)
    assert [hop.status_code for hop in picture.history] == [307, 302]
    assert Image.open(io.BytesIO(picture.content)).size == (500, 500)
    assert get(web, "coverartarchive/release-group/00000000-0000-0000-0000-000000000000").status_code == 404
    assert get(web, f"coverartarchive/release-group/{group.id.upper()}").status_code == 400


def test_each_release_has_a_picture_of_its_own():
    ids = list(catalogue().releases)
    assert len({shops.picture(identifier, 16) for identifier in ids}) == len(ids)


def test_itunes_and_deezer(web):
    album = get(web, "itunes/search", term="lowbeam satellite", media="music", entity="album").json()["results"][0]
    assert album["collectionName"] == "Satellite - Single"
    assert requests.get(album["artworkUrl100"], timeout=TIMEOUT_SECONDS).headers["Content-Type"] == "image/jpeg"
    song = get(web, "itunes/search", term="Lowbeam Lamplight", entity="song", limit="1").json()
    assert song["resultCount"] == 1 and song["results"][0]["trackName"] == "Lamplight"
    assert get(web, "itunes/search", term="No Such Album").json() == {"resultCount": 0, "results": []}
    hits = get(web, "deezer/search/album", q="Lowbeam Paper Lanterns").json()
    assert hits["total"] == len(hits["data"]) > 0 and hits["data"][0]["record_type"] == "album"
    assert get(web, "deezer/search", q="Quiet Harbour").json()["data"][0]["album"]["title"]
    assert get(web, "deezer/nothing").json()["error"]["code"] == 800


def test_services_with_keys(web):
    group = next(group for group in catalogue().groups.values() if group.title == "Glass Weather")
    named = {"artist": "Lowbeam", "album": "Glass Weather"}
    assert get(web, "lastfm/2.0/", method="album.getInfo", api_key=shops.KEYS["lastfm"], **named).json()["album"]["image"]
    assert get(web, "lastfm/2.0/", method="album.getInfo", **named).json()["error"] == 10
    albums = get(web, f"audiodb/api/v1/json/{shops.KEYS['audiodb']}/searchalbum.php", s="lowbeam", a="glass weather").json()
    assert albums["album"][0]["strMusicBrainzID"] == group.id
    token = {"Authorization": f"Discogs token={shops.KEYS['discogs']}"}
    found = get(web, "discogs/database/search", headers=token, artist="Lowbeam", release_title="Glass Weather").json()
    assert found["results"][0]["title"].startswith("Lowbeam - Glass Weather")
    assert get(web, "discogs/database/search").status_code == 401
    covers = get(web, f"fanarttv/v3/music/albums/{group.id}", api_key=shops.KEYS["fanarttv"]).json()["albums"][group.id]["albumcover"]
    assert Image.open(io.BytesIO(requests.get(covers[0]["url"], timeout=TIMEOUT_SECONDS).content)).format == "JPEG"
    assert get(web, f"fanarttv/v3/music/albums/{group.id}").status_code == 401
    assert b"SignatureDoesNotMatch" in get(web, "amazon/onca/xml", AWSAccessKeyId=shops.KEYS["amazon"], Signature="x").content


def test_requests_are_recorded(web):
    get(web, "deezer/search", q="a & b/ü", headers={"User-Agent": "test"})
    request, = web.asked("deezer")
    assert (request.path, request.parameters) == ("/search", {"q": "a & b/ü"})
    assert request.headers["User-Agent"] == "test" and request.at > 0


@pytest.mark.parametrize("status", ["400", "404", "429", "503"])
def test_a_service_that_refuses(web, status):
    web.faults["itunes"] = status
    answer = get(web, "itunes/search", term="x")
    assert answer.status_code == int(status) and answer.headers.get("Retry-After") == ("7" if status in ("429", "503") else None)
    assert get(web, "deezer/search", q="x").status_code == 200


def test_a_service_that_is_broken(web):
    web.faults.update(musicbrainz="malformed", itunes="hang_up", deezer="loop", lastfm="huge")
    with pytest.raises(etree.XMLSyntaxError):
        etree.fromstring(get(web, "musicbrainz/ws/2/release").content)
    with pytest.raises(requests.ConnectionError):
        get(web, "itunes/search")
    with pytest.raises(requests.TooManyRedirects):
        get(web, "deezer/search")
    assert len(get(web, "lastfm/2.0/").content) == services.HUGE_BYTES


@pytest.mark.parametrize("fault, first_bytes", [("dead", b""), ("drip", b"HTTP/1.1 200")])
def test_a_service_that_keeps_one_waiting_ends_with_the_server(fault, first_bytes):
    with services.Services() as web:
        web.faults["deezer"] = fault
        connection = socket.create_connection(("127.0.0.1", web.server_port), timeout=TIMEOUT_SECONDS)
        connection.sendall(b"GET /deezer/search HTTP/1.1\r\nHost: x\r\n\r\n")
        web.wait_for_request("deezer")
        assert connection.recv(len(first_bytes)) == first_bytes
    with connection:
        rest = b""
        while piece := connection.recv(65536):
            rest += piece
    assert fault == "drip" or rest == b""
