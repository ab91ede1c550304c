# SPDX-License-Identifier: MIT
"""Makes the measurements of docs/performance.md. bench/run builds the programs and starts this driver."""

import argparse
import functools
import shutil
import signal
import sys
import tempfile
from pathlib import Path
from typing import NamedTuple

import appliance
import big_store
import memory
import parameters
import query
import report
import show
import suggestions
import tagging
import upload
from server import BUILD

BENCHMARKS = {
    "show": show,
    "upload": upload,
    "memory": memory,
    "store": big_store,
    "query": query,
    "parameters": parameters,
    "tagging": tagging,
    "suggestions": suggestions,
    "appliance": appliance,
}


class Scale(NamedTuple):
    """The size of each benchmark."""

    rounds: int
    seconds: int
    uploads: int
    shows: tuple
    entries: int
    starts: int
    queries: int
    songs: int
    song_seconds: int
    tracks: int
    libraries: tuple


FULL = Scale(
    rounds=9,
    seconds=3,
    uploads=200,
    shows=(1_000, 10_000, 100_000),
    entries=1_000_000,
    starts=30,
    queries=200,
    songs=15,
    song_seconds=760,
    tracks=500,
    libraries=(300, 5_000),
)
QUICK = Scale(
    rounds=3,
    seconds=1,
    uploads=60,
    shows=(300, 1_000, 3_000),
    entries=20_000,
    starts=8,
    queries=40,
    songs=5,
    song_seconds=70,
    tracks=100,
    libraries=(300,),
)


def main():
    options = _options()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))  # an exception, so that all started processes are stopped
    BUILD.mkdir(parents=True, exist_ok=True)
    aloud = functools.partial(print, file=sys.stderr if options.markdown else sys.stdout, flush=True)
    aloud(report.machine() + "\n")
    results = {}
    for name in options.benchmark or BENCHMARKS:
        title, rows = _run(BENCHMARKS[name], QUICK if options.quick else FULL)
        aloud(report.text(title, rows))
        results[title] = rows
    if options.markdown:
        print(report.markdown(results, " ".join(["bench/run", *sys.argv[1:]])))


def _run(benchmark, scale):
    folder = Path(tempfile.mkdtemp(prefix="run-", dir=BUILD))
    try:
        return benchmark.TITLE, benchmark.run(scale, folder)
    finally:
        shutil.rmtree(folder)


def _options():
    parser = argparse.ArgumentParser(prog="bench/run", description=__doc__)
    parser.add_argument("benchmark", nargs="*", help=f"only these: {', '.join(BENCHMARKS)}")
    parser.add_argument("--quick", action="store_true", help="few rounds and a small store, to check that the benchmarks work")
    parser.add_argument("--markdown", action="store_true", help="print the results for docs/performance.md")
    options = parser.parse_args()
    if unknown := set(options.benchmark) - set(BENCHMARKS):
        parser.error(f"there is no benchmark {', '.join(sorted(unknown))}")
    return options


try:
    main()
except KeyboardInterrupt:
    sys.exit(130)
