# SPDX-License-Identifier: MIT
"""Several responders at once, and responders that end."""

import concurrent.futures
import os
import random
import signal

import requests
from answers import png_of, stored_key
from pictures import fixture, png

# The form parser can't parse a part without headers.
MALFORMED = {"data": b"--xyz\r\n\r\nx\r\n--xyz--\r\n", "headers": {"Content-Type": "multipart/form-data; boundary=xyz"}, "timeout": 60}


def test_a_body_that_cant_be_parsed_costs_itself_only(server):
    key = stored_key(server.upload(fixture("baseline.jpg"), artist="A", title="T"))
    expected = server.get("show", key=key).content
    before = set(server.wait_for_responders())

    def ask(number):
        if number % 20 == 10:
            return requests.post(server.url("upload"), **MALFORMED).status_code
        if number % 2:
            return stored_key(server.upload(png(seed=number), "image/png", artist="A", title=f"T{number}")) > 0
        return server.get("show", key=key).content == expected

    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        answers = list(pool.map(ask, range(210)))
    broken = answers[10::20]
    assert broken == [500] * 10
    others = [answer for number, answer in enumerate(answers) if number % 20 != 10]
    assert len(others) == 200 and all(answer is True for answer in others)
    assert set(server.wait_for_responders()) != before
    assert server.messages().count("sleevery.fcgi: ended: ") == 10


def test_two_responders_store_and_show_at_the_same_time(server):
    server.wait_for_responders()

    def store_and_show(number):
        key = stored_key(server.upload(png(seed=number), "image/png", artist="A", title=f"Song {number}"))
        return key, png_of(server.get("show", key=key)) == png(seed=number)

    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        results = list(pool.map(store_and_show, range(200)))
    assert all(good for _, good in results)
    assert len({key for key, _ in results}) == 200
    for number, (key, _) in enumerate(results):
        assert png_of(server.get("show", key=key)) == png(seed=number), "nothing was lost"


def test_two_responders_replace_the_same_cover_at_the_same_time(server):
    def replace(number):
        return stored_key(server.upload(png(seed=number), "image/png", artist="A", title="One song"))

    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        keys = set(pool.map(replace, range(60)))
    assert len(keys) == 1
    assert png_of(server.get("show", key=keys.pop())) in {png(seed=number) for number in range(60)}


def test_what_was_answered_as_stored_is_there_after_a_kill(server):
    """Kills both responders again and again during their work. multiwatch starts new ones."""
    random.seed(1)

    def store(number):
        answer = server.upload(png(seed=number), "image/png", artist="A", title=f"Song {number}")
        if number % 10 == 5:
            os.kill(random.choice(server.wait_for_responders()), signal.SIGKILL)
        return stored_key(answer) if answer.status_code == 200 else None

    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        keys = list(pool.map(store, range(120)))
    stored = {number: key for number, key in enumerate(keys) if key}
    assert len(stored) > 60
    server.restart()
    for number, key in stored.items():
        assert png_of(server.get("show", key=key)) == png(seed=number)
