# SPDX-License-Identifier: MIT
import os
import pathlib
import shutil
import subprocess
import sys

import pytest

sys.path[:0] = map(str, pathlib.Path(__file__).resolve().parents[:2])

ROOT = pathlib.Path(__file__).resolve().parents[2]


class Checkout:
    """A copy of the scripts. Stand-ins for the programs that they call come first in PATH."""

    def __init__(self, folder):
        self.folder = folder
        self.bin = folder.parent / "stand-ins"
        self.bin.mkdir(exist_ok=True)
        self.path = f"{self.bin}:{os.environ['PATH']}"
        shutil.copytree(ROOT / "packaging", folder / "packaging")

    def stand_in(self, program, script):
        path = self.bin / program
        path.write_text(f"#!/bin/sh\n{script}\n")
        path.chmod(0o755)

    def without(self, *programs):
        """Limits PATH to the programs that the scripts need, without these."""
        for program in {"bash", "sh", "dirname", "readlink", "cat", "sort", "sed", "comm", "id", "printf", "grep", "rm", "mktemp", "tail", "find", "chmod",
                        "env", "dpkg-query", "apt-get"} - set(programs):
            if not (self.bin / program).exists() and (found := shutil.which(program)):
                (self.bin / program).symlink_to(found)
        self.path = str(self.bin)

    def run(self, script, *arguments, prefix=(), **environment):
        inherited = {name: value for name, value in os.environ.items() if name != "FAILED_AS"}
        return subprocess.run([*prefix, self.folder / "packaging" / script, *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60,
                              cwd="/", env={**inherited, "PATH": self.path, **environment})


@pytest.fixture
def checkout(tmp_path):
    return Checkout(tmp_path / "checkout")
