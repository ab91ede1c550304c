# SPDX-License-Identifier: MIT
"""The source tree is formatted, has no clang-tidy complaints, and has licence tags."""

import os
import pathlib
import re
import subprocess

import pytest
from check_includes import BELOW

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDERS = (*BELOW, "bench", "cgi")
if os.environ.get("SLEEVERY_LONG"):
    FOLDERS += ("tests",)  # takes as long as all others together, and does not ship
SOURCES = sorted(
    path.relative_to(ROOT)
    for folder in {*FOLDERS, "tests"}
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


@pytest.mark.parametrize("folder", FOLDERS)
def test_clang_tidy_has_no_complaint(folder):
    sources = [str(path) for path in SOURCES if path.parts[0] == folder and path.suffix == ".cpp"]
    if not sources:
        return
    done = subprocess.run(
        ["run-clang-tidy", "-quiet", "-p", "build/release", "-j", str(os.cpu_count()), *(f"{ROOT}/{s}$" for s in sources)],
        cwd=ROOT, capture_output=True, text=True,
    )
    plain = re.sub(r"\x1b\[[0-9;]*m", "", done.stdout)
    complaints = sorted({line for line in plain.splitlines() if re.search(r": (error|warning): ", line)})
    assert complaints == [] and done.returncode == 0, "\n".join(complaints) or plain[-2000:]
