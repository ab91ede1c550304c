# SPDX-License-Identifier: MIT
"""The whole tree is formatted, free of clang-tidy's complaints, and carries its licence tags."""

import os
import pathlib
import subprocess

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SOURCES = sorted(
    path.relative_to(ROOT)
    for folder in ("app", "bench", "cgi", "store", "tests", "text", "util")
    for path in (ROOT / folder).rglob("*")
    if path.suffix in (".cpp", ".h")
)


def test_there_are_sources():
    assert len(SOURCES) > 20


def test_everything_is_formatted():
    done = subprocess.run(["clang-format", "--dry-run", "--Werror", *SOURCES], cwd=ROOT, capture_output=True, text=True)
    assert done.returncode == 0, done.stderr[:4000]


def test_every_source_carries_its_licence():
    without = [str(path) for path in SOURCES if not (ROOT / path).read_text().startswith("// SPDX-License-Identifier: MIT\n")]
    assert without == []


@pytest.mark.parametrize("folder", ["app", "bench", "cgi", "store", "tests", "text", "util"])
def test_clang_tidy_has_no_complaint(folder):
    sources = [str(path) for path in SOURCES if path.parts[0] == folder and path.suffix == ".cpp"]
    if not sources:
        return
    done = subprocess.run(
        ["run-clang-tidy", "-quiet", "-p", "build/release", "-j", str(os.cpu_count()), *(f"{ROOT}/{s}$" for s in sources)],
        cwd=ROOT, capture_output=True, text=True,
    )
    complaints = [line for line in done.stdout.splitlines() if ": error:" in line or ": warning:" in line]
    assert done.returncode == 0 and complaints == [], "\n".join(complaints) or done.stdout[-2000:]
