# SPDX-License-Identifier: MIT
"""Services that are broken, busy or gone, and the rate of requests to services."""

import concurrent.futures
import itertools
import time

import pytest
from lookups import (ALBUM_SOURCES, PICTURE_SOURCES, SONG, SOURCES, after_a_day, change_store, configure, found, guess, reasons,
                     sources_of, states, suggest, texts)
from ports import free_port
from server import Server
from services import FAULTS, Services

GROUPS = [ALBUM_SOURCES[:4], ALBUM_SOURCES[4:], PICTURE_SOURCES]  # at most four at a time: more requests to one address would wait for each other
LATE = "The server did not answer in time."
ODD = "The answer is no JSON."
TOO_LARGE = "The server's answer is larger than 4194304 bytes."
BUSY = "The service has too much to do."
REASONS = {
    "dead": LATE, "drip": LATE, "hang_up": "The server broke the connection off.", "huge": TOO_LARGE, "boast": TOO_LARGE,
    "loop": "The server redirects more than 5 times.", "malformed": ODD, "picture": ODD,
    "400": "The service doesn't understand the question.", "404": "The service answers with the status 404.", "429": BUSY, "503": BUSY,
}
XML_SOURCES = ("musicbrainz", "amazon")
LATENESS_SECONDS = 0.1  # how much later than sent a request may arrive


@pytest.fixture(scope="module")
def second_services():
    with Services() as running:
        yield running


@pytest.fixture
def broken(second_services):
    """Separate stand-ins for broken services, so that waiting for them does not delay the other services."""
    second_services.forget()
    second_services.retry_after_seconds = 7
    return second_services


def urls_of(services, names):
    """The parameters with the addresses of these services."""
    return {parameter: url for parameter, url in services.parameters().items()
            if parameter.endswith("Url") and url.rsplit("/", 1)[1] in names}


def failures(names, fault):
    """The expected reasons."""
    return {name: "The answer is no XML." if REASONS[fault] == ODD and name in XML_SOURCES else REASONS[fault] for name in names}


def break_down(responder, broken, names, fault):
    broken.faults.update(dict.fromkeys(names, fault))
    configure(responder, **urls_of(broken, names))


def test_every_fault_is_tested_here():
    assert set(FAULTS) <= set(REASONS)


@pytest.mark.parametrize("names", GROUPS, ids=lambda names: f"{names[0]} and others")
@pytest.mark.parametrize("fault", REASONS)
def test_a_broken_source_is_named_and_the_others_answer(responder, broken, fault, names):
    break_down(responder, broken, names, fault)
    configure(responder, lookupTimeout="2" if REASONS[fault] in (LATE, BUSY) else "30")
    root = suggest(responder, SONG)
    well = [name for name in SOURCES if name not in names]
    if fault == "404" and names == PICTURE_SOURCES:
        assert reasons(root) == {} and all(found(root)[name] == 0 for name in names), "it has no picture of this album"
    else:
        assert reasons(root) == failures(names, fault)
    assert all(states(root)[name] == "answered" and found(root)[name] > 0 for name in well)
    assert sources_of(root) == set(well) - {"musicbrainz"}
    assert root.findtext("Suggestion/Album") == "Paper Lanterns"


@pytest.mark.parametrize("fault", ["hang_up", "malformed", "huge", "picture", "503"])
def test_albums_are_guessed_by_whoever_is_well(responder, broken, fault):
    break_down(responder, broken, ["musicbrainz", "itunes"], fault)
    configure(responder, lookupTimeout="2")
    root = guess(responder, SONG)
    assert reasons(root) == failures(["musicbrainz", "itunes"], fault)
    assert (root.findtext("Album/Name"), texts(root.find("Album"), "Source")) == ("Paper Lanterns", ["deezer", "lastfm"])


def test_a_service_that_refuses_connections(responder):
    nobody = f"http://127.0.0.1:{free_port()}"
    configure(responder, discogsUrl=nobody, musicBrainzUrl=nobody)
    root = suggest(responder, SONG)
    assert reasons(root) == dict.fromkeys(["musicbrainz", "discogs"], "The server can't be reached.")
    assert sources_of(root) == set(SOURCES) - {"musicbrainz", "discogs"}, "another source names the album's group"


def test_private_addresses_can_be_denied(responder, services):
    configure(responder, privateAddresses="deny")
    root = suggest(responder, SONG)
    responder.post("parameter", {"cmdDelete": "privateAddresses"})
    assert set(reasons(root)) == set(ALBUM_SOURCES) and all("private address" in reason for reason in reasons(root).values())
    assert services.requests == []


def asked_for(responder, seconds):
    """Looks up covers, and checks that the answer comes within `lookupTimeout`."""
    configure(responder, lookupTimeout=str(seconds))
    began = time.monotonic()
    root = suggest(responder, SONG)
    assert time.monotonic() - began <= seconds * 1.1
    return root


def test_when_all_are_dead_the_answer_comes_in_time_and_soon_without_asking(responder, services, broken):
    for dead in (services, broken):
        dead.faults.update(dict.fromkeys(ALBUM_SOURCES, "dead"))
    configure(responder, **urls_of(broken, GROUPS[1]))
    failed = dict.fromkeys(ALBUM_SOURCES, LATE)
    assert reasons(asked_for(responder, 2)) == failed
    for _ in range(2):
        assert reasons(asked_for(responder, 1)) == failed, "failures aren't kept"
        after_a_day(responder)
    requests = len(services.requests), len(broken.requests)
    assert requests == (12, 9)
    root = asked_for(responder, 30)
    assert list(reasons(root)) == ALBUM_SOURCES
    for reason in reasons(root).values():
        assert reason.startswith("It is left alone for another ") and reason.endswith(f" s because it failed: {LATE}"), reason
    assert (len(services.requests), len(broken.requests)) == requests
    assert "musicbrainz: " + LATE in responder.messages()


def test_the_first_answer_forgives_all(responder, broken, services):
    break_down(responder, broken, ["deezer"], "hang_up")
    configure(responder, sources="deezer")
    for _ in range(3):
        assert reasons(suggest(responder, SONG)) == {"deezer": REASONS["hang_up"]}
    assert "left alone" in reasons(suggest(responder, SONG))["deezer"]
    broken.faults.clear()
    change_store(responder, "UPDATE services SET paused_until = 0")
    assert states(suggest(responder, SONG)) == {"deezer": "answered"}
    broken.faults["deezer"] = "hang_up"
    for album in ("Glass Weather", "Live at Oslo"):
        assert reasons(suggest(responder, {**SONG, "album": album})) == {"deezer": REASONS["hang_up"]}, "it has credit again"


def test_one_look_up_is_one_failure_however_much_it_asks(responder, broken):
    """Otherwise a service that is asked for several pictures at once would get a long pause after a single bad moment."""
    break_down(responder, broken, PICTURE_SOURCES, "hang_up")
    fields = {"artist": "Lowbeam", "title": "Quiet Harbour"}
    assert set(reasons(suggest(responder, fields))) == set(PICTURE_SOURCES)
    assert len(broken.asked("fanarttv")) >= 3
    assert reasons(suggest(responder, fields)) == dict.fromkeys(PICTURE_SOURCES, REASONS["hang_up"])


@pytest.mark.parametrize("status", ["429", "503"])
def test_a_service_that_asks_for_a_moment_gets_it(responder, broken, status):
    break_down(responder, broken, ["musicbrainz"], status)
    broken.retry_after_seconds = 1
    with concurrent.futures.ThreadPoolExecutor(1) as pool:
        answer = pool.submit(suggest, responder, SONG)
        broken.wait_for_request("musicbrainz")
        broken.faults.clear()
        root = answer.result()
    assert states(root) == dict.fromkeys(SOURCES, "answered")
    first, second = broken.asked("musicbrainz")
    assert first.parameters == second.parameters and second.at - first.at >= 1 - LATENESS_SECONDS


@pytest.mark.parametrize("status", ["429", "503"])
def test_a_service_that_asks_for_more_time_than_there_is_is_left_alone(responder, services, broken, status):
    break_down(responder, broken, ["musicbrainz"], status)
    broken.retry_after_seconds = 300
    configure(responder, lookupTimeout="5", sources="musicbrainz, itunes")
    assert reasons(suggest(responder, SONG)) == {"musicbrainz": BUSY}
    services.forget()
    root = suggest(responder, {**SONG, "album": "Glass Weather"})
    reason = reasons(root)["musicbrainz"]
    assert reason.startswith("It is left alone for another ") and reason.endswith(f" s because it failed: {BUSY}"), reason
    assert 290 < int(reason.split()[6]) <= 300
    assert len(broken.requests) == 1 and states(root)["itunes"] == "answered"
    with Server(processes=1, state=responder.state) as other:
        assert "left alone" in reasons(suggest(other, {**SONG, "album": "Live at Oslo"}))["musicbrainz"]
    assert len(broken.requests) == 1


def test_failures_are_not_kept_but_the_answers_beside_them_are(responder, services, broken):
    break_down(responder, broken, ["itunes"], "malformed")
    assert set(reasons(suggest(responder, SONG))) == {"itunes"}
    broken.faults.clear()
    services.forget()
    assert states(suggest(responder, SONG)) == dict.fromkeys(SOURCES, "kept") | {"itunes": "answered"}
    assert services.requests == []


def test_two_processes_together_keep_the_pace_of_music_brainz(services):
    """Each process asks for an unknown song, which takes several requests."""
    services.forget()
    with Server(processes=1) as one, Server(processes=1, state=one.state) as other:
        configure(one, **services.parameters(), lookupTimeout="3", sources="musicbrainz")
        one.post("parameter", {"cmdDelete": "musicBrainzPause"})
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            answers = list(pool.map(lambda server, name: suggest(server, {"artist": name, "album": name}), (one, other), ("Ann", "Bob")))
    assert all("musicbrainz" in states(answer) for answer in answers)
    asked = services.asked("musicbrainz")
    assert {name for name in ("Ann", "Bob") if any(name in request.parameters["query"] for request in asked)} == {"Ann", "Bob"}
    assert len(asked) >= 3
    for before, after in itertools.pairwise(request.at for request in asked):
        assert after - before >= 1 - LATENESS_SECONDS
