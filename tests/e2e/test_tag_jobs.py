# SPDX-License-Identifier: MIT
"""The jobs that write covers into song files, and the jobs that remove the covers from the cache afterwards."""

import hashlib

from answers import png_of
from jobs import COVERS, Cover, temporary_files, unchanged, with_music
from pictures import png
from server import Server
from songs import look


def test_jobs_are_listed_in_the_order_of_the_files(tagging, songs, folder):
    files = [songs.copy(kind, folder) for kind in ("wav", "flac", "opus")]
    entry = Cover(tagging, png(seed=1))
    ids = entry.write(*files)
    jobs = entry.settled()
    assert [(job.id, job.file, job.state) for job in jobs[:3]] == [(id, str(file), "done") for id, file in zip(ids, files)]
    assert ids == sorted(set(ids)) and jobs[3].kind == "delete" and jobs[3].id > ids[-1]


def test_the_same_file_twice(tagging, songs, folder):
    song = songs.copy("flac", folder)
    Cover(tagging, COVERS["PNG"]).write_all(song, song)
    assert look(song, "flac").fronts == [COVERS["PNG"]]


def test_a_song_that_is_being_written_is_tried_again(tagging, songs, folder):
    song, other = songs.copy("flac", folder), songs.copy("wav", folder)
    entry = Cover(tagging, COVERS["JPEG"])
    with song.open("r+b"):
        with unchanged(song):
            entry.write(song, other)
            jobs = entry.jobs_once(lambda jobs: jobs[0].reason and jobs[1].state == "done")
        assert jobs[0].reason.endswith(".") and entry.jobs()[2].state == "queued" and not entry.is_gone()
        assert temporary_files(folder) == []
    jobs = entry.settled()
    assert [(job.state, job.reason) for job in jobs] == [("done", None)] * 3 and entry.is_gone()
    assert look(song, "flac").fronts == [COVERS["JPEG"]]


def test_a_song_that_is_being_read_is_not_in_use(tagging, songs, folder):
    song = songs.copy("flac", folder)
    old = song.read_bytes()
    with song.open("rb") as reader:
        Cover(tagging, COVERS["JPEG"]).write_all(song)
        assert reader.read() == old


def test_jobs_live_through_a_stop(songs, tmp_path):
    music = tmp_path / "music"
    music.mkdir()
    song = songs.copy("flac", music)
    with Server(tmp_path / "state") as server:
        with_music(server, music)
        entry = Cover(server, COVERS["JPEG"])
        with song.open("r+b"):
            ids = entry.write(song)
            entry.postponed()
            server.restart()
            jobs = entry.jobs()
            assert [job.id for job in jobs[:1]] == ids and [job.state for job in jobs] == ["queued", "queued"]
            assert not entry.is_gone()
        assert [job.state for job in entry.settled()] == ["done", "done"] and entry.is_gone()
    assert look(song, "flac").fronts == [COVERS["JPEG"]]
    assert temporary_files(music) == []


def test_the_delete_job_removes_the_cover_and_nothing_else(tagging, songs, folder):
    entry, other = Cover(tagging, COVERS["PNG"]), Cover(tagging, COVERS["PNG"])
    entry.write_all(songs.copy("flac", folder))
    assert entry.is_gone() and not other.is_gone()
    assert [job.state for job in entry.jobs()] == ["done", "done"]
    listed = tagging.get("showEmpty").text
    assert (entry.song["artist"] in listed) and (other.song["artist"] not in listed)
    answer = tagging.post("update", {**entry.song, "url": f"cover:{hashlib.sha256(COVERS['PNG']).hexdigest()}"})
    assert f"<Image>{entry.key}</Image>" in answer.text, answer.text
    assert png_of(tagging.get("show", key=entry.key)) == COVERS["PNG"]
    assert [job.state for job in entry.jobs()] == ["done", "done"]


def test_the_delete_job_does_not_remove_a_cover_that_came_in_meanwhile(tagging, songs, folder):
    song = songs.copy("flac", folder)
    entry = Cover(tagging, COVERS["PNG"])
    with song.open("r+b"):
        entry.write(song)
        entry.postponed()
        assert entry.upload(COVERS["JPEG"]) == entry.key
    assert [job.state for job in entry.settled()] == ["done", "done"] and not entry.is_gone()


def test_a_delete_job_alone_removes_the_cover(tagging):
    entry = Cover(tagging, COVERS["PNG"])
    entry.write_all()
    assert entry.is_gone()


def test_after_a_failure_the_song_can_be_given_again(tagging, songs, folder):
    song = songs.copy("flac", folder)
    song.chmod(0o444)
    entry = Cover(tagging, COVERS["PNG"])
    entry.write(song)
    assert [job.state for job in entry.settled()] == ["failed", "failed"] and not entry.is_gone()
    song.chmod(0o644)
    entry.write(song)
    assert [job.state for job in entry.settled()] == ["failed", "failed", "done", "done"] and entry.is_gone()
