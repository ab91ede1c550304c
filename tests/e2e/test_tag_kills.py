# SPDX-License-Identifier: MIT
"""A song file is complete at every moment, even if the processes that write it are killed or stopped."""

import contextlib
import os
import random
import signal
import threading
import time

import pytest
from jobs import Cover, temporary_files
from pictures import fixture, png
from server import Server, wait_for_the_end_of
from songs import READERS
from waiting import wait_until

LONG = bool(os.environ.get("SLEEVERY_LONG"))
KILLS, STOPS = (300, 40) if LONG else (15, 8)
SOUND_BYTES = {"flac": 12_000_000, "wav": 12_000_000, "alac": 12_000_000, "oggflac": 6_000_000, "wavpack": 6_000_000,
               "mp3-v2.4": 12_000_000}
COVERS = (fixture("baseline.jpg"), png((200, 100), seed=5))
ROUNDS = 8


@pytest.fixture(scope="module")
def big_songs(songs, tmp_path_factory):
    folder = tmp_path_factory.mktemp("big")
    return [songs.copy(kind, folder, noise_bytes=size) for kind, size in SOUND_BYTES.items()]


class Work:
    """Writes covers into copies of the songs, in a folder of `server`. Each round writes the other one of two covers."""

    def __init__(self, server, originals):
        self.music = server.folder / "music"
        self.music.mkdir()
        self.songs = [self.music / one.name for one in originals]
        for original, song in zip(originals, self.songs):
            song.write_bytes(original.read_bytes())
        server.post("parameter", {"musicFolder": str(self.music), "tagRetryPause": "1"})
        self.entry = Cover(server, COVERS[0])
        self.round = 0

    def start_round(self):
        self.entry.upload(COVERS[self.round % 2])
        self.round += 1
        self.entry.write(*self.songs)

    def is_at_rest(self):
        return all(job.state in ("done", "failed") for job in self.entry.jobs())

    def contents(self):
        return [song.read_bytes() for song in self.songs]


class Expected:
    """The contents of the songs after each round, and the time of a round, measured without disturbances."""

    def __init__(self, originals):
        with Server(processes=1) as server:
            work = Work(server, originals)
            self.contents = [work.contents()]
            while True:
                began = time.monotonic()
                work.start_round()
                work.entry.settled()
                self.seconds = time.monotonic() - began
                found = work.contents()
                for song, kind in zip(work.songs, SOUND_BYTES):
                    assert READERS[kind](song)[0] == [COVERS[(work.round + 1) % 2]]
                if len(self.contents) > 2 and found == self.contents[-2]:
                    break
                assert work.round < ROUNDS, "it never comes back to the same bytes"
                self.contents.append(found)

    def after(self, rounds):
        """The contents after so many rounds. From some round on, the last two contents alternate."""
        last = len(self.contents) - 1
        return self.contents[rounds if rounds <= last else last - (rounds - last) % 2]


@pytest.fixture(scope="module")
def expected(big_songs):
    return Expected(big_songs)


class Watch:
    """Checks all the time that each song has the content from before the round or from after it."""

    def __init__(self, work, expected):
        self.work = work
        self.expected = expected
        self.looks = 0
        self.complaints = []
        self.ended = threading.Event()
        self.thread = threading.Thread(target=self.run)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.ended.set()
        self.thread.join()

    def run(self):
        while not self.ended.is_set() and not self.complaints:
            self.look()

    def look(self):
        for index, song in enumerate(self.work.songs):
            first = self.work.round
            try:
                content = song.read_bytes()
            except OSError as error:
                content = str(error)
            last = self.work.round  # the next round may have begun meanwhile
            if all(content != self.expected.after(rounds)[index] for rounds in range(max(first - 1, 0), last + 1)):
                self.complaints.append(f"{song.name} in round {first}: {len(content)} bytes that are neither old nor new")
            self.looks += 1

    def check(self):
        self.look()
        assert self.complaints == []


def disturb(server, originals, expected, times, disturbance):
    """Calls `disturbance` at random moments of the work. Checks that all work is done in the end. Returns how many disturbances hit a copy."""
    chance = random.Random(times * server.processes)
    work = Work(server, originals)
    hits = 0
    with Watch(work, expected) as watch:
        for _ in range(times):
            if work.is_at_rest():
                assert_all_is_done(work, expected)
                work.start_round()
            time.sleep(chance.uniform(0, expected.seconds))  # a random moment is the point of the test
            hits += disturbance(work, chance)
            watch.check()
        work.entry.settled()
        watch.check()
    assert_all_is_done(work, expected)
    print(f"{times} times, {hits} of them in the middle of a copy, in {work.round} rounds of {expected.seconds:.2f} s; {watch.looks} looks")
    return hits


def assert_all_is_done(work, expected):
    assert [job for job in work.entry.jobs() if job.state != "done"] == []
    assert work.contents() == expected.after(work.round)
    assert temporary_files(work.music) == []
    assert work.round == 0 or work.entry.is_gone()


def kill(pids):
    for pid in pids:
        with contextlib.suppress(ProcessLookupError):
            os.kill(pid, signal.SIGKILL)
    wait_for_the_end_of(pids)  # a dying responder could still accept a request, without ever answering it


@pytest.mark.parametrize("processes", [1, 2])
def test_songs_are_whole_whenever_a_responder_is_killed(big_songs, expected, processes):
    with Server(processes=processes) as server:

        def kill_some(work, chance):
            kill(chance.sample(server.wait_for_responders(), chance.randint(1, processes)))
            return bool(temporary_files(work.music))

        assert disturb(server, big_songs, expected, KILLS, kill_some) > 0


def test_songs_are_whole_whenever_the_server_is_stopped(big_songs, expected):
    with Server(processes=2) as server:

        def stop(work, _):
            busy = bool(temporary_files(work.music))
            server.stop()
            assert temporary_files(work.music) == []
            server.start()
            return busy

        disturb(server, big_songs, expected, STOPS, stop)


def test_the_work_goes_on_after_a_kill_without_a_request(big_songs, expected):
    with Server(processes=2) as server:
        work = Work(server, big_songs)
        pids = server.wait_for_responders()
        work.start_round()
        kill(pids)
        wait_until(lambda: work.contents() == expected.after(1) and not temporary_files(work.music), work.entry.jobs)
        work.entry.settled()
        assert_all_is_done(work, expected)


@pytest.mark.parametrize("number, states", [(signal.SIGKILL, ("queued", "done", "done")), (signal.SIGSEGV, ("failed", "failed", "failed"))])
def test_the_program_that_writes_ends_in_the_middle(songs, tmp_path, number, states):
    """A killed tagger is started again: the system may have been short of memory. A crash is final: the song would crash it again."""
    song = songs.copy("wav", tmp_path, noise_bytes=80_000_000)
    old = song.read_bytes()
    with Server(processes=1) as server:
        server.post("parameter", {"musicFolder": str(tmp_path), "tagRetryPause": "1"})
        pids = server.wait_for_responders()
        entry = Cover(server, COVERS[0])
        entry.write(song)
        wait_until(lambda: server.tagger_pids() and temporary_files(tmp_path), entry.jobs)
        os.kill(server.tagger_pids()[0], number)
        tag, _ = entry.jobs_once(lambda jobs: jobs[0].reason)
        assert tag.state == states[0] and tag.reason.endswith(".")
        assert song.read_bytes() == old and temporary_files(tmp_path) == []
        assert tuple(job.state for job in entry.settled()) == states[1:]
        assert server.responder_pids() == pids
    assert (READERS["wav"](song)[0] == [COVERS[0]] if "done" in states else song.read_bytes() == old)
