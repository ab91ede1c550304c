# SPDX-License-Identifier: MIT
"""Load by wrk: several connections, each of which sends its next request as soon as it has an answer."""

import pathlib
import re
import statistics
import subprocess
from typing import NamedTuple

CONNECTIONS = 4
COUNT_SCRIPT = pathlib.Path(__file__).with_name("count.lua")
COUNT_SECONDS = 1800


class Comparison(NamedTuple):
    """Requests per second of two addresses, round by round."""

    first: list
    second: list

    @property
    def ratios(self):
        return [one / other for one, other in zip(self.first, self.second)]

    @property
    def ratio(self):
        """The median of the rounds' ratios. Both rates of a round were measured under the same load of the machine."""
        return statistics.median(self.ratios)


def compare(first, second, rounds, seconds):
    """Measures two addresses in turn, after a warm-up. The order changes from round to round."""
    for url in (first, second):
        _requests_per_second(url, 1)
    comparison = Comparison([], [])
    for number in range(rounds):
        pair = [(first, comparison.first), (second, comparison.second)]
        for url, rates in pair if number % 2 == 0 else reversed(pair):
            rates.append(_requests_per_second(url, seconds))
    return comparison


def _requests_per_second(url, seconds):
    output = _wrk(["--duration", seconds, url], seconds + 60)
    if "Non-2xx" in output or "Socket errors" in output:
        raise RuntimeError(f"wrk met errors:\n{output}")
    return float(re.search(r"^Requests/sec:\s+([\d.]+)$", output, re.MULTILINE)[1])


def request(base, paths, count):
    """Requests the paths in turn until there are `count` answers."""
    _wrk(["--script", COUNT_SCRIPT, "--duration", COUNT_SECONDS, base, "--", count, *paths], COUNT_SECONDS)


def _wrk(arguments, timeout_seconds):
    command = ["wrk", "--threads", "1", "--connections", CONNECTIONS, *arguments]
    return subprocess.run(map(str, command), check=True, capture_output=True, text=True, timeout=timeout_seconds).stdout
