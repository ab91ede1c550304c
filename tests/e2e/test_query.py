# SPDX-License-Identifier: MIT
"""The cover cache finds a song's entry under different spellings."""

import contextlib
import hashlib
import sqlite3

import pytest
from answers import exception, stored_key
from documents import document
from pictures import fixture, png
from server import ROOT, Server

NOTHING = '<?xml version="1.0" encoding="UTF-8"?>\n<Query total="0">\n</Query>\n'

SONGS = {
    "harbour": {"artist": "Lowbeam", "album": "Paper Lanterns", "title": "Quiet Harbour"},
    "accents": {"artist": "Björk Guðmundsdóttir", "album": "Début Ænima", "title": "Straße nach Łódź"},
    "stop": {"artist": "The Tide", "album": "The Deep (Remastered) [Disc 2]", "title": "Under feat. Ann"},
    "the": {"artist": "The The", "album": "Soul Mining", "title": "Giant"},
    "sampler": {"artist": "Various", "album": "Summer Hits", "title": "Sun", "sampler": "on"},
    "markup": {"artist": "<b>Simon</b> & \"Friends\"", "album": "A>B<C", "title": "]]>&amp;"},
    "symbols": {"artist": "!!!", "album": "÷", "title": "+/-"},
    "control": {"artist": "One\x01Two\x1b[2J", "album": "Three\r\nFour\t", "title": "\x07Five"},
    "latin": {"artist": b"Ph\xf6nix", "album": b"Gr\xfc\xdfe \x80", "title": b"\xc4rger"},
    "kana": {"artist": "東京事変", "album": "スポーツ", "title": "生きる"},
}


@pytest.fixture(scope="module")
def filled():
    """A server with these songs. `keys` are their cache ids."""
    with Server() as server:
        server.keys = {name: stored_key(server.upload(png(seed=seed), "image/png", **song))
                       for seed, (name, song) in enumerate(SONGS.items())}
        yield server


def ask(server, **fields):
    return document(server.post("query", fields), "Query")


def found(server, **fields):
    """The names of the songs that a query finds, newest first."""
    names = {key: name for name, key in server.keys.items()}
    root = ask(server, **fields)
    assert root.get("total") == str(len(root))
    return [names[int(entry.get("id"))] for entry in root]


def song(entry):
    return [entry.findtext(name) for name in ("Artist", "Album", "Title", "Sampler")]


def test_the_form(shared_server):
    assert shared_server.get("query", artist="x").text == (
        "\n<html><body>"
        '<form action="./query"    method="POST" enctype="multipart/form-data">'
        'Artist: <input size="80" name="artist" type="text" value="Lowbeam"><br>'
        'Album: <input size="80" name="album" type="text" value="Paper Lanterns"><br>'
        'Title: <input size="80" name="title" type="text" value="Quiet Harbour"><br>'
        'xslt: <input size="80" name="xslt" type="text" value=""><br>'
        '<input  type="submit"></body></html>\n'
    )


def test_an_empty_cache(server):
    for fields in ({}, {"artist": "x"}):
        answer = server.post("query", fields)
        assert answer.text == NOTHING
        document(answer, "Query")


def test_an_answer_to_the_byte(server):
    stored_key(server.upload(fixture("orientation-6.jpg"), artist="Simon & <Friends>", album="Caf\u00e9"))
    answer = server.post("query", {"artist": "simon"})
    image = fixture("orientation-6.jpg")
    entry = document(answer, "Query")[0]
    width, height = entry.find("Image").get("width"), entry.find("Image").get("height")
    assert answer.headers["Content-Type"] == "text/xml"
    assert answer.content.decode() == (
        '<?xml version="1.0" encoding="UTF-8"?>\n<Query total="1">\n  <Entry id="1">\n'
        "    <Artist>Simon &amp; &lt;Friends&gt;</Artist>\n    <Album>Caf\u00e9</Album>\n    <Title></Title>\n"
        "    <Sampler>0</Sampler>\n"
        f'    <Image hash="{hashlib.sha256(image).hexdigest()}" type="image/jpeg" width="{width}" height="{height}" '
        f'bytes="{len(image)}"/>\n  </Entry>\n</Query>\n'
    )


def test_without_a_song_the_newest_come_first(filled):
    assert found(filled) == list(SONGS)[::-1]
    assert found(filled, artist="", album="", title="", url="http://x/") == list(SONGS)[::-1]
    assert found(filled, artist=" \t\n") == list(SONGS)[::-1], "nothing but blanks is no word"


@pytest.mark.parametrize("name, fields", [
    ("harbour", {"artist": "lowbeam", "album": "paper lanterns", "title": "quiet harbour"}),
    ("harbour", {"artist": "LOWBEAM"}),
    ("harbour", {"album": "LanTERNS"}),
    ("harbour", {"title": "harbour quiet"}),
    ("harbour", {"title": "Quiet  -  Harb"}),
    ("harbour", {"artist": "l", "album": "p", "title": "q"}),
    ("accents", {"artist": "bjork"}),
    ("accents", {"artist": "BJÖRK"}),
    ("accents", {"artist": "Bjo\u0308rk"}),
    ("accents", {"artist": "\uff22\uff2a\uff2f\uff32\uff2b"}),
    ("accents", {"album": "debut aenima"}),
    ("accents", {"title": "strasse NACH lodz"}),
    ("stop", {"artist": "tide"}),
    ("stop", {"artist": "The Tide"}),
    ("stop", {"artist": "Tide, The", "album": "Deep"}),
    ("stop", {"album": "Deep (2011 Remaster)"}),
    ("stop", {"album": "The Deep - Disc 1"}),
    ("stop", {"title": "under (feat. Somebody Else)"}),
    ("the", {"artist": "The The", "album": "soul"}),
    ("the", {"artist": "the", "album": "mining"}),
    ("sampler", {"album": "summer hits"}),
    ("sampler", {"album": "SUMMER", "sampler": "on"}),
    ("sampler", {"artist": "various", "title": "sun"}),
    ("markup", {"artist": "<b>simon</b>"}),
    ("markup", {"artist": "simon and friends"}),
    ("markup", {"artist": "\"friends\""}),
    ("markup", {"album": "a>b<c"}),
    ("symbols", {"artist": "!!!"}),
    ("symbols", {"album": "÷"}),
    ("symbols", {"title": "+/-"}),
    ("control", {"artist": "One\x01Two\x1b[2J"}),
    ("control", {"artist": "one two 2j"}),
    ("control", {"album": "three\nfour"}),
    ("control", {"title": "\x1bfive\x07"}),
    ("latin", {"artist": b"Ph\xf6nix"}),
    ("latin", {"artist": "phönix"}),
    ("latin", {"artist": b"PHONIX", "title": b"\xe4rger"}),
    ("latin", {"album": b"gr\xfc\xdfe"}),
    ("latin", {"album": "grusse"}),
    ("kana", {"artist": "東京"}),
    ("kana", {"album": "スポーツ"}),
])
def test_a_song_is_found_however_it_is_spelled(filled, name, fields):
    assert found(filled, **fields) == [name]


@pytest.mark.parametrize("fields", [
    {"artist": "Quiet Harbour"},
    {"artist": "lowbeam", "album": "summer"},
    {"artist": "low beam"},
    {"artist": "owbeam"},
    {"album": "paper lanterns three"},
    {"title": "quie harbour"},
    {"artist": "lowbeamer"},
])
def test_every_word_of_every_field_has_to_match_and_only_the_last_may_be_cut(filled, fields):
    assert found(filled, **fields) == []


def test_a_word_that_stands_twice_may_match_once(filled):
    assert found(filled, artist="The The") == ["the", "stop"]


@pytest.mark.parametrize("artist", [
    '"', '""', "'", "*", "lowbeam*", "artist:lowbeam", "lowbeam OR tide", "lowbeam NOT x", "NEAR(lowbeam tide)", "{artist}:x",
    '" OR artist:"', "^", "(", "-x", "a\0b", "%", "_", "; DROP TABLE entries", "\\", "\ufffe\uffff", b"\xff\xfe\xc0\x80", b"\xed\xa0\x80",
])
def test_nothing_is_an_operator(filled, artist):
    for fields in ({"artist": artist}, {"artist": artist, "album": artist, "title": artist}):
        assert set(found(filled, **fields)) <= {"harbour", "symbols"}
    assert found(filled, artist="lowbeam") == ["harbour"]


@pytest.mark.parametrize("text", ["x" * 1_000_000, "x " * 500_000, "x " * 513, "ä" * 513],
                         ids=["word", "words", "few words", "accents"])
@pytest.mark.parametrize("name", ["artist", "album", "title"])
def test_what_is_longer_than_a_name_is_refused(filled, name, text):
    answer = filled.post("query", {name: text})
    assert (answer.status_code, answer.text) == (200, exception(f"The {name} is longer than 1024 bytes."))
    assert found(filled, artist="lowbeam") == ["harbour"]


@pytest.mark.parametrize("text, names", [("lowbeam " * 128, ["harbour"]), ("x" * 1024, []), ("ä" * 512, []), ("x " * 512, [])],
                         ids=["repeated", "word", "accents", "words"])
def test_what_is_as_long_as_a_name_is_looked_for(filled, text, names):
    assert found(filled, artist=text) == names
    assert found(filled, artist=text, album=text, title=text) == []


def test_texts_come_back_in_utf_8_without_what_xml_forbids(filled):
    def text(name):
        return song(next(entry for entry in ask(filled) if entry.get("id") == str(filled.keys[name])))

    assert text("accents") == ["Björk Guðmundsdóttir", "Début Ænima", "Straße nach Łódź", "0"]
    assert text("sampler") == ["Various", "Summer Hits", "Sun", "1"]
    assert text("markup") == ["<b>Simon</b> & \"Friends\"", "A>B<C", "]]>&amp;", "0"]
    assert text("control") == ["OneTwo[2J", "Three\r\nFour\t", "Five", "0"]
    assert text("latin") == ["Phönix", "Grüße €", "Ärger", "0"]
    assert "\x1b" not in filled.messages()


def test_the_image_is_known_by_its_hash(filled):
    for seed, (name, key) in enumerate(filled.keys.items()):
        image = next(entry for entry in ask(filled) if entry.get("id") == str(key)).find("Image")
        sent = png(seed=seed)
        assert dict(image.attrib) == {"hash": hashlib.sha256(sent).hexdigest(), "type": "image/png", "width": "8", "height": "8",
                                      "bytes": str(len(sent))}, name


def test_a_new_cover_has_a_new_hash_and_the_old_id(server):
    hashes = []
    for seed in (1, 2):
        stored_key(server.upload(png(seed=seed), "image/png", artist="Lowbeam", title="Tide"))
        (entry,) = ask(server)
        hashes.append((entry.get("id"), entry.find("Image").get("hash")))
    assert hashes == [("1", hashlib.sha256(png(seed=seed)).hexdigest()) for seed in (1, 2)]


def test_a_song_that_has_no_cover_yet_is_found_without_an_image(server):
    server.upload(b"no image", artist="Caf\u00e9 <1>", title="\x01Tide")
    (entry,) = ask(server, artist="cafe")
    assert song(entry) == ["Caf\u00e9 <1>", "", "Tide", "0"] and entry.find("Image") is None
    (entry,) = document(server.get("showEmpty"), "ShowEmpty")
    assert song(entry) == ["Caf\u00e9 <1>", "", "Tide", "0"]
    stored_key(server.upload(png(), "image/png", artist="Caf\u00e9 <1>", title="Tide"))
    assert document(server.get("showEmpty"), "ShowEmpty").getchildren() == []


def test_the_limit_cuts_the_list_but_not_the_total(server):
    for title in "abcde":
        stored_key(server.upload(png(), "image/png", artist="Lowbeam", title=title))
    server.post("parameter", {"queryLimit": "2"})
    for fields in ({}, {"artist": "low"}):
        root = ask(server, **fields)
        assert root.get("total") == "5"
        assert [entry.findtext("Title") for entry in root] == ["e", "d"], "the newest"


def test_an_entry_tells_its_jobs_and_their_states(server):
    key = stored_key(server.upload(png(), "image/png", artist="Lowbeam", title="Tide"))
    other = stored_key(server.upload(png(), "image/png", artist="Lowbeam", title="Ebb"))
    with contextlib.closing(sqlite3.connect(server.state / "covers.db")) as store, store:
        store.executemany(
            "INSERT INTO jobs (kind, entry, image_hash, path, replace, state, reason, attempts, due, temporary_file) "
            "VALUES (?, ?, '', ?, 1, ?, ?, 0, 0, x'')",
            [("tag", key, b"/music/a.mp3", "done", ""), ("tag", key, b"/music/\xff\x01<&>\".mp3", "failed", "Why: <&>\" \x01\n")])
    answer = server.post("writeTags", [("cacheID", key), ("file", "/nowhere/b.mp3"), ("file", "")])
    assert answer.text.count("<Job id=") == 2, answer.text
    ebb, tide = ask(server)
    assert (ebb.get("id"), ebb.findall("Job")) == (str(other), [])
    jobs = tide.findall("Job")
    assert [(job.get("kind"), job.get("file")) for job in jobs] == [
        ("writeTag", "/music/a.mp3"), ("writeTag", "/music/\u00ff<&>\".mp3"), ("writeTag", "/nowhere/b.mp3"), ("writeTag", ""),
        ("delete", None)]
    assert [(job.get("state"), job.get("reason")) for job in jobs[:2]] == [("done", None), ("failed", "Why: <&>\" \n")]
    ids = [int(job.get("id")) for job in jobs]
    assert ids == sorted(set(ids))
    assert answer.text.count(f'    <Job id="{ids[2]}"/>\n    <Job id="{ids[3]}"/>\n') == 1


def test_the_document_goes_through_a_stylesheet(filled):
    answer = filled.post("query", {"artist": "lowbeam", "xslt": str(ROOT / "xslt" / "answer-text.xsl")})
    assert answer.headers["Content-Type"] == "text/plain"
    assert "Quiet Harbour" in answer.text and "<" not in answer.text


def test_fields_of_a_multipart_body(filled):
    answer = filled.post("query", {"artist": "lowbeam"}, files={"image": ("c.png", b"x", "image/png")})
    assert document(answer, "Query").get("total") == "1"
