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
    """One server for a module whose tests don't get into each other's way."""
    with Server() as running:
        yield running


@pytest.fixture(scope="session")
def songs(tmp_path_factory):
    """Song files, made once."""
    return Workshop(tmp_path_factory.mktemp("songs"))


@pytest.fixture(scope="module")
def tagging(tmp_path_factory):
    """A server; `music` is the folder with its songs."""
    with Server() as server:
        server.music = tmp_path_factory.mktemp("music")
        with_music(server, server.music)
        yield server
        assert temporary_files(server.music) == []


@pytest.fixture
def folder(tagging, request):
    """A folder of this test's own among the songs, where no temporary file is left behind."""
    own = tagging.music / request.node.name.replace("/", "_")
    own.mkdir()
    yield own
    assert temporary_files(own) == []


@pytest.fixture(scope="module")
def services():
    """All that is asked on the web, on its own machine."""
    with Services() as running:
        yield running


@pytest.fixture(scope="module")
def asking_server():
    with Server() as running:
        yield running


@pytest.fixture
def responder(asking_server, services):
    """A server that asks `services` and remembers nothing of earlier tests' answers and failures."""
    lookups.forget(asking_server)
    services.forget()
    asking_server.post("parameter", {"cmdDelete": ["sources", "musicFolder"]})
    lookups.configure(asking_server, **services.parameters(), lookupTimeout="30")
    return asking_server


@pytest.fixture(scope="session")
def music(tmp_path_factory):
    """A folder with the songs of a whole library, which nobody changes."""
    folder = tmp_path_factory.mktemp("library") / "music"
    library.make(folder, [*library.SPECIAL, *library.ordinary(14)])
    return folder


@pytest.fixture(scope="session")
def shared_mpd(music):
    with Mpd(music) as running:
        yield running


@pytest.fixture
def mpd(shared_mpd):
    """MPD with that library, an empty queue and nothing playing."""
    shared_mpd.reset()
    return shared_mpd


@pytest.fixture(scope="module")
def shared_bridge(shared_mpd):
    with Bridge(shared_mpd.socket) as running:
        yield running


@pytest.fixture
def bridge(shared_bridge, mpd):
    """The bridge before an MPD whose queue is empty."""
    return shared_bridge
