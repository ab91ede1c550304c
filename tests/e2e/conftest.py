# SPDX-License-Identifier: MIT
import pathlib
import sys

import pytest

sys.path[:0] = map(str, pathlib.Path(__file__).resolve().parents[:2])

import library  # noqa: E402
import lookups  # noqa: E402
from bridge import Bridge  # noqa: E402
from jobs import temporary_files, with_music  # noqa: E402
from mpd import Mpd  # noqa: E402
from server import Server  # noqa: E402
from services import Services  # noqa: E402
from songs import Workshop  # noqa: E402


@pytest.fixture
def server():
    with Server() as running:
        yield running


@pytest.fixture(scope="module")
def shared_server():
    """One server for all tests of a module. The tests must not disturb each other."""
    with Server() as running:
        yield running


@pytest.fixture(scope="session")
def songs(tmp_path_factory):
    """Song files of all kinds, created once."""
    return Workshop(tmp_path_factory.mktemp("songs"))


@pytest.fixture(scope="module")
def tagging(tmp_path_factory):
    """A server. `music` is the folder with its songs."""
    with Server() as server:
        server.music = tmp_path_factory.mktemp("music")
        with_music(server, server.music)
        yield server
        assert temporary_files(server.music) == []


@pytest.fixture
def folder(tagging, request):
    """A separate folder for this test in the music folder. Checks that no temporary file is left in it."""
    own = tagging.music / request.node.name.replace("/", "_")
    own.mkdir()
    yield own
    assert temporary_files(own) == []


@pytest.fixture(scope="module")
def services():
    """Stand-ins for all web services, on this machine."""
    with Services() as running:
        yield running


@pytest.fixture(scope="module")
def asking_server():
    with Server() as running:
        yield running


@pytest.fixture
def responder(asking_server, services):
    """A server that asks `services`, without the answers and failures of earlier tests."""
    lookups.forget(asking_server)
    services.forget()
    asking_server.post("parameter", {"cmdDelete": ["sources", "musicFolder"]})
    lookups.configure(asking_server, **services.parameters(), lookupTimeout="30")
    return asking_server


@pytest.fixture(scope="session")
def music(tmp_path_factory):
    """A folder with the songs of a whole library. Tests must not change it."""
    folder = tmp_path_factory.mktemp("library") / "music"
    library.make(folder, [*library.SPECIAL, *library.ordinary(14)])
    return folder


@pytest.fixture(scope="session")
def shared_mpd(music):
    with Mpd(music) as running:
        yield running


@pytest.fixture
def mpd(shared_mpd):
    """MPD with that library and an empty queue, stopped."""
    shared_mpd.reset()
    return shared_mpd


@pytest.fixture(scope="module")
def shared_bridge(shared_mpd):
    with Bridge(shared_mpd.socket) as running:
        yield running


@pytest.fixture
def bridge(shared_bridge, mpd):
    """The bridge in front of an MPD with an empty queue."""
    return shared_bridge
