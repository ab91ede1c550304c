# SPDX-License-Identifier: MIT
"""The memory of an idle responder, and whether it grows with the number of requests."""

import covers
import load
import processes
from report import Row
from server import RESPONDER, Server, Site

TITLE = "Resident memory of a responder process"
MOST_KIB = 24 * 1024


def run(scale, folder):
    site = Site("sleevery", RESPONDER, folder / "memory")
    with Server(site) as server:
        keys = [server.upload(site, cover, cover.name) for cover in covers.samples()]
        for key in keys:
            server.get(site, f"show?key={key}")
    with Server(site) as server:
        idle = _after_a_show(server, site, keys[-1])
        rows = [_row("idle, after its first cover", idle, target=f"at most {_mib(MOST_KIB)}", met=idle.resident <= MOST_KIB)]
        done, earlier = 0, None
        for count in scale.shows:
            load.request(server.url(site, ""), [f"/{site.name}/show?key={key}" for key in keys], count - done)
            done, now = count, _after_a_show(server, site, keys[-1])
            rows.append(_row(f"after {count:,} covers", now))
            earlier = earlier or now
        grown = now.resident - earlier.resident
    rows[-1] = rows[-1]._replace(
        against=f"{_mib(earlier.resident)} after {scale.shows[0]:,}",
        figure=f"{grown:+} KiB",
        target="no growth",
        met=grown <= 0,
    )
    return rows


def _after_a_show(server, site, key):
    """Measures the memory after a request. The request is always the same, so that its own memory is part of every measurement."""
    server.get(site, f"show?key={key}")
    return processes.idle_memory(server.process(site))


def _row(what, memory, **verdict):
    shares = f"share of shared pages {_mib(memory.proportional)}, own {_mib(memory.anonymous)}"
    return Row(what, f"{_mib(memory.resident)} ({shares})", **verdict)


def _mib(kib):
    return f"{kib / 1024:.1f} MiB"
