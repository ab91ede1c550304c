# SPDX-License-Identifier: MIT
"""The rate of showing stored covers, against a responder with the same answers in memory."""

import statistics

import covers
import load
from report import Row
from server import BARE_RESPONDER, RESPONDER, Server, Site, first_answer

TITLE = "Showing a cover, against a responder that answers the same bytes from memory"
END_OF_PNG = b"IEND\xaeB`\x82"
LEAST_RATIO = 0.85


def run(scale, folder):
    real, bare = Site("sleevery", RESPONDER, folder / "show"), Site("bare", BARE_RESPONDER, folder / "bare")
    bare.state.mkdir()
    samples = covers.samples()
    with Server(real) as server:
        keys = [server.upload(real, cover, cover.name) for cover in samples]
        for key in keys:
            png, end, _ = server.get(real, f"show?key={key}").body.partition(END_OF_PNG)
            (bare.state / f"{key}.png").write_bytes(png + end)
    for key in keys:
        path = f"show?key={key}"
        if first_answer(real, path).content != first_answer(bare, path).content:
            raise RuntimeError(f"the two responders answer {path} differently")
    with Server(real, bare) as server:
        return [_row(server, real, bare, cover, key, scale) for cover, key in zip(samples, keys)]


def _row(server, real, bare, cover, key, scale):
    path = f"show?key={key}"
    size = len(server.get(real, path).body)
    rates = load.compare(server.url(real, path), server.url(bare, path), scale.rounds, scale.seconds)
    return Row(
        what=f"{cover.name}, {len(cover.content) // 1000} kB; answer {size // 1000} kB",
        measured=f"{statistics.median(rates.first):.0f} requests/s",
        against=f"{statistics.median(rates.second):.0f} requests/s",
        figure=f"{rates.ratio:.2f} (rounds {min(rates.ratios):.2f} to {max(rates.ratios):.2f})",
        target=f"at least {LEAST_RATIO}",
        met=rates.ratio >= LEAST_RATIO,
    )
