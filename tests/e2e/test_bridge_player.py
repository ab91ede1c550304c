# SPDX-License-Identifier: MIT
"""The appliance's commands for the player, through the bridge to a real MPD."""

import contextlib

import pytest
from bridge import Bridge, command, refusal, texts
from library import LONG, TWENTY, make
from mpd import Mpd, Refused
from waiting import wait_until

SILENCE = LONG[0].file


@pytest.fixture
def long_queue(mpd):
    """A queue with three songs of ten minutes."""
    for _ in range(3):
        mpd.ask("add", SILENCE)


def state(bridge, name="GetPlayerState", **fields):
    status, root = bridge.command(command(name, **fields))
    assert (status, root.tag) == (200, "PlayerState"), root.text
    return texts(root)


def refused(bridge, name, **fields):
    return refusal(bridge.request(command(name, **fields)))


def test_stopped_with_nothing_to_play(bridge):
    assert state(bridge) == {"State": "stopped", "Volume": "100", "QueueLength": "0", "Repeat": "0", "Random": "0"}


def test_an_answer_is_written_for_people_too(bridge):
    assert bridge.request(command("GetPlayerState")).body == b"""<?xml version="1.0" encoding="UTF-8"?>
<PlayerState>
  <State>stopped</State>
  <Volume>100</Volume>
  <QueueLength>0</QueueLength>
  <Repeat>0</Repeat>
  <Random>0</Random>
</PlayerState>
"""


def test_plays_and_pauses_and_resumes_and_stops(bridge, mpd, long_queue):
    playing = state(bridge, "Play")
    assert (playing["State"], playing["Position"], playing["QueueLength"]) == ("playing", "1", "3")
    assert state(bridge)["State"] == "playing" == mpd.status()["state"] + "ing"
    assert float(wait_until(lambda: state(bridge).get("Length"))) == 600, "known once the decoder has opened it"
    mpd.ask("seekcur", 300.25)
    paused = state(bridge, "Pause")
    assert paused["State"] == "paused" and 300 <= float(paused["Elapsed"]) < 600
    assert len(paused["Elapsed"].partition(".")[2]) <= 3
    assert state(bridge, "Pause") == paused == state(bridge), "does not go on"
    resumed = state(bridge, "Play")
    assert resumed["State"] == "playing" and float(resumed["Elapsed"]) >= float(paused["Elapsed"])
    stopped = state(bridge, "Stop")
    assert stopped["State"] == "stopped" == mpd.status()["state"] + "ped" and stopped["Elapsed"] == "0"


def test_goes_to_the_next_and_the_previous_song(bridge, long_queue):
    state(bridge, "Play")
    assert [state(bridge, name)["Position"] for name in ("Next", "Next", "Previous")] == ["2", "3", "2"]


@pytest.mark.parametrize("name", ["Next", "Previous"])
def test_there_is_no_next_song_while_none_is_played(bridge, long_queue, name):
    assert refused(bridge, name) == (200, -5)
    assert state(bridge)["State"] == "stopped"


def test_plays_the_song_at_a_position(bridge, mpd, long_queue):
    for position in "312":
        played = state(bridge, "Play", Position=position)
        assert (played["State"], played["Position"]) == ("playing", position)
        assert int(mpd.status()["song"]) + 1 == int(position)


def test_plays_the_position_also_when_paused(bridge, long_queue):
    state(bridge, "Play")
    state(bridge, "Pause")
    played = state(bridge, "Play", Position=3)
    assert (played["State"], played["Position"]) == ("playing", "3")


@pytest.mark.parametrize("position", ["4", "2147483647"])
def test_refuses_a_position_beyond_the_queue(bridge, long_queue, position):
    assert refused(bridge, "Play", Position=position) == (200, -4)
    assert state(bridge)["State"] == "stopped"


@pytest.mark.parametrize("position", ["0", "-1", "", "one", "1.5", "1 2", "0x1", "99999999999999999999"])
def test_refuses_what_is_no_position(bridge, long_queue, position):
    assert refused(bridge, "Play", Position=position) == (200, -3)
    assert state(bridge)["State"] == "stopped"


def test_a_queue_with_nothing_in_it_stays_stopped(bridge):
    assert state(bridge, "Play")["State"] == "stopped"
    assert refused(bridge, "Play", Position=1) == (200, -4)


@pytest.mark.parametrize("volume", [0, 1, 55, 100])
def test_sets_the_volume(bridge, mpd, volume):
    assert state(bridge, "SetVolume", Volume=volume)["Volume"] == str(volume) == mpd.status()["volume"]


@pytest.mark.parametrize("volume", ["101", "-1", "", "loud", "50%", "5e1", "4294967301", None])
def test_refuses_what_is_no_volume(bridge, mpd, volume):
    root = bridge.request(command("SetVolume", Volume=volume)).root()
    assert root.get("code") == "-3" and "Volume" in root.text
    assert mpd.status()["volume"] == "100"


def test_tells_how_the_queue_is_played(bridge, mpd):
    mpd.ask("repeat", 1)
    assert (state(bridge)["Repeat"], state(bridge)["Random"]) == ("1", "0")
    mpd.ask("random", 1)
    assert (state(bridge)["Repeat"], state(bridge)["Random"]) == ("1", "1")


def test_without_a_mixer_there_is_no_volume(music):
    with Mpd(music, mixer="none") as mpd, Bridge(mpd.socket) as bridge:
        assert "Volume" not in state(bridge)
        assert refused(bridge, "SetVolume", Volume=5) == (200, -5)


def test_tells_why_nothing_is_heard(tmp_path):
    song = "<b>&amp; \u00fc \"gone\".flac"
    make(tmp_path / "music", TWENTY[:1])
    (tmp_path / "music" / TWENTY[0].file).rename(tmp_path / "music" / song)
    with Mpd(tmp_path / "music") as mpd, Bridge(mpd.socket) as bridge:
        mpd.ask("add", song)
        (tmp_path / "music" / song).unlink()
        with contextlib.suppress(Refused):  # MPD may notice at once
            mpd.ask("play")
        failure = wait_until(lambda: state(bridge).get("Failure"))
        assert failure == mpd.status()["error"] and song.partition('"')[0] in failure  # newer MPDs escape quotes


def test_the_current_song(bridge, mpd):
    def current():
        status, root = bridge.command(command("GetCurrentSong"))
        assert (status, root.tag) == (200, "CurrentSong")
        return [texts(song) for song in root]

    assert current() == []
    mpd.ask("add", SILENCE)
    mpd.ask("play")
    assert current() == [{"Number": "1", "Title": "Silence", "Artist": "Nobody", "Album": "Ten Minutes", "AlbumArtist": "Nobody",
                          "Length": "600", "File": SILENCE}]
    mpd.ask("clear")
    assert current() == []


@pytest.mark.parametrize("name", ["GetPlayerState", "Pause", "Stop", "Next", "Previous", "GetCurrentSong"])
def test_commands_without_fields_refuse_one(bridge, long_queue, mpd, name):
    state(bridge, "Play")
    before = mpd.status()["songid"]
    root = bridge.request(command(name, Volume=3)).root()
    assert root.get("code") == "-3" and "Volume" in root.text
    assert (mpd.status()["state"], mpd.status()["songid"]) == ("play", before)
