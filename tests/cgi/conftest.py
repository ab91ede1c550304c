# SPDX-License-Identifier: MIT
import pytest

from seam import END, Seam


@pytest.fixture
def start(tmp_path):
    """Starts Seams, each with the lines of a script. After the test, those still running must stop with exit code 0."""
    seams = []

    def start_seam(*script):
        folder = tmp_path / str(len(seams))
        folder.mkdir()
        seams.append(Seam(folder, script))
        return seams[-1]

    yield start_seam
    for seam in seams:
        with seam:
            if seam.process.poll() is None:
                assert seam.stop() == 0
                assert seam.log[-1:] == END
            assert b"Sanitizer" not in seam.stderr and b"runtime error" not in seam.stderr


@pytest.fixture
def seam(start):
    """A Seam without a script."""
    return start()
