# SPDX-License-Identifier: MIT
import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

from server import Server  # noqa: E402
from songs import Workshop  # noqa: E402


@pytest.fixture
def server():
    with Server() as running:
        yield running


@pytest.fixture(scope="module")
def shared_server():
    """One server for a module whose tests don't get into each other's way."""
    with Server() as running:
        yield running


@pytest.fixture(scope="session")
def songs(tmp_path_factory):
    """Song files, made once."""
    return Workshop(tmp_path_factory.mktemp("songs"))
