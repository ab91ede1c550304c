# SPDX-License-Identifier: MIT
"""Covers that are written into song files, and song files that can't take one."""

import contextlib
import errno
import hashlib
import io
import os
import pathlib
import sqlite3
import subprocess
import time

import pytest
from answers import png_of
from disks import fill_up, small_disk
from jobs import Cover, state_of, temporary_files, unchanged, wait_until
from PIL import Image
from pictures import fixture, has_the_quarters, noise, png, upright
from server import Server
from songs import KINDS, OLD_BACK, OLD_FRONT, look
from web import COVERS as WEB_COVERS
from web import Web

COVERS = {"JPEG": fixture("progressive.jpg"), "PNG": png((300, 200), seed=7)}


def with_music(server, music, **parameters):
    """Tells the server where the songs are."""
    assert server.post("parameter", {"musicFolder": str(music), "tagRetryPause": "1", **parameters}).status_code == 200
    return server


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
def untouched(songs, tmp_path_factory):
    """What other programs see in the songs before anything happens to them."""
    folder = tmp_path_factory.mktemp("untouched")
    return {kind: look(songs.copy(kind, folder), kind) for kind in KINDS}


@pytest.fixture(scope="module", autouse=True)
def hopeless(songs, tmp_path_factory):
    """A job on a full disk that began before the first test: it takes longer than any of them until it is given up."""
    with on_a_small_disk(songs, tmp_path_factory.mktemp("hopeless"), "size=16m") as (server, song):
        fill_with_bytes(song.parent)
        entry = Cover(server, COVERS["JPEG"])
        with unchanged(song.parent):
            began = time.monotonic()
            entry.write(song.name)
            yield entry, began


@pytest.mark.parametrize("kind", KINDS)
@pytest.mark.parametrize("cover", COVERS)
def test_a_song_gets_the_cover_and_keeps_everything_else(tagging, songs, untouched, folder, cover, kind):
    song = songs.copy(kind, folder)
    assert untouched[kind].fronts == [OLD_FRONT] and len(untouched[kind].others) == 1
    entry = Cover(tagging, COVERS[cover])
    ids = entry.write(song)
    jobs = entry.settled()
    assert [(job.kind, job.state, job.file, job.reason) for job in jobs] == [
        ("writeTag", "done", str(song), None), ("delete", "done", None, None)]
    assert [jobs[0].id] == ids
    seen = look(song, kind)
    assert seen.fronts == [COVERS[cover]] and seen.shown == COVERS[cover]
    assert seen.but_for_the_front() == untouched[kind].but_for_the_front()
    assert OLD_FRONT not in song.read_bytes()
    assert (OLD_BACK in song.read_bytes()) == (kind not in ("vorbis", "opus", "oggflac")), "there it is in base64"


def test_jobs_are_listed_in_the_order_of_the_files(tagging, songs, folder):
    files = [songs.copy(kind, folder) for kind in ("wav", "flac", "opus")]
    entry = Cover(tagging, png(seed=1))
    ids = entry.write(*files)
    jobs = entry.settled()
    assert [(job.id, job.file, job.state) for job in jobs[:3]] == [(id, str(file), "done") for id, file in zip(ids, files)]
    assert ids == sorted(set(ids)) and jobs[3].kind == "delete" and jobs[3].id > ids[-1]


@pytest.mark.parametrize("name", ["K\u00e4se & <Brot> \"\u2669\".flac", "  blanks  .flac", "line\nend.flac", "-v.flac", "no extension"])
def test_a_relative_path_of_any_characters(tagging, songs, folder, name):
    song = songs.copy("flac", folder, name)
    Cover(tagging, COVERS["PNG"]).write_all(song.relative_to(tagging.music))
    assert look(song, "flac").fronts == [COVERS["PNG"]]


def test_a_path_that_is_no_utf_8(tagging, songs, folder):
    song = songs.copy("flac", folder)
    latin = os.fsencode(folder) + b"/Caf\xe9.flac"
    os.rename(song, latin)
    Cover(tagging, COVERS["PNG"]).write_all(latin)
    os.rename(latin, song)
    assert look(song, "flac").fronts == [COVERS["PNG"]]


def test_the_same_file_twice(tagging, songs, folder):
    song = songs.copy("flac", folder)
    Cover(tagging, COVERS["PNG"]).write_all(song, song)
    assert look(song, "flac").fronts == [COVERS["PNG"]]


NOT_THERE = "The song file is not there."
NOT_REGULAR = "This is not a regular file."
OUTSIDE = "The song file is outside the folder that the parameter musicFolder names."

# What can't take a cover: the reason, and what makes the file from a good song and returns the path that is asked for.
BAD = {}


def bad(reason):
    def keep(make):
        BAD[make.__name__] = (reason, make)
        return make

    return keep


@bad("The song file is read-only.")
def read_only(song):
    song.chmod(0o444)
    return song


@bad(NOT_THERE)
def missing(song):
    return song.with_name("missing.flac")


@bad(NOT_THERE)
def in_a_missing_folder(song):
    return song.parent / "missing" / song.name


@bad(NOT_REGULAR)
def a_folder(song):
    return song.parent


@bad(OUTSIDE)
def the_music_folder(song):
    return ""


@bad(NOT_REGULAR)
def a_named_pipe(song):
    os.mkfifo(song.with_name("pipe.flac"))
    return song.with_name("pipe.flac")


@bad("This is not a song file of a kind that can carry a cover.")
def no_audio(song):
    song.write_text("This is no song. " * 1000)
    return song


@bad("The song file is truncated.")
def truncated(song):
    song.write_bytes(song.read_bytes()[:30])
    return song


@bad("The song file is empty.")
def empty(song):
    song.write_bytes(b"")
    return song


@bad(NOT_THERE)
def a_link_to_nothing(song):
    song.with_name("link.flac").symlink_to("missing.flac")
    return song.with_name("link.flac")


@bad(NOT_THERE)
def a_link_to_itself(song):
    song.with_name("link.flac").symlink_to("link.flac")
    return song.with_name("link.flac")


@bad(NOT_THERE)
def below_a_file(song):
    return song / "song.flac"


@bad(NOT_THERE)
def name_too_long(song):
    return song.with_name("x" * 300)


def refuses(tagging, songs, folder, path):
    """Checks that this path is refused, nothing below `folder` changes, and the next file gets its cover. Returns the reason."""
    next_song = songs.copy("wav", tagging.music, f"next-{folder.name}.wav")
    entry = Cover(tagging, COVERS["JPEG"])
    with unchanged(folder):
        entry.write(path, next_song)
        jobs = entry.settled()
    assert [job.state for job in jobs] == ["failed", "done", "failed"], jobs
    assert jobs[0].reason.endswith(".") and jobs[2].reason.endswith("."), jobs
    assert not entry.is_gone()
    assert look(next_song, "wav").fronts == [COVERS["JPEG"]]
    return jobs[0].reason


@pytest.mark.parametrize("what", BAD)
def test_what_can_take_no_cover_stays_as_it_is(tagging, songs, folder, what):
    reason, make = BAD[what]
    path = make(songs.copy("flac", folder))
    assert refuses(tagging, songs, folder, path) == reason


@pytest.mark.parametrize("kind", KINDS)
def test_a_truncated_song_of_any_kind_is_not_damaged_further(tagging, songs, folder, kind):
    song = songs.copy(kind, folder)
    head = song.read_bytes()[:40]
    song.write_bytes(head)
    if kind in ("wavpack", "musepack"):  # where what is missing is sound, and the tags come last
        Cover(tagging, COVERS["JPEG"]).write_all(song)
        assert song.read_bytes().startswith(head)
    else:
        refuses(tagging, songs, folder, song)


def test_a_song_outside_of_the_music_folder_stays_as_it_is(tagging, songs, folder):
    outside = tagging.music.with_name(tagging.music.name + "-other")  # begins with the music folder's name
    outside.mkdir()
    song = songs.copy("flac", outside)
    (folder / "link.flac").symlink_to(song)
    (folder / "folder").symlink_to(outside)
    for path in (song, folder / "link.flac", folder / "folder" / song.name, f"../{outside.name}/{song.name}",
                 f"{folder}/../../{outside.name}/{song.name}", "/etc/passwd", "/proc/self/mem"):
        with unchanged(folder):
            assert refuses(tagging, songs, outside, path) == OUTSIDE, path


def test_a_link_within_the_music_folder_leads_to_the_song(tagging, songs, folder):
    song = songs.copy("flac", folder)
    (folder / "deep").mkdir()
    (folder / "deep" / "link.flac").symlink_to("../flac.flac")
    (folder / "again").symlink_to("deep")
    Cover(tagging, COVERS["PNG"]).write_all(folder / "again" / "link.flac")
    assert (folder / "deep" / "link.flac").is_symlink() and (folder / "again").is_symlink() and not song.is_symlink()
    assert look(song, "flac").fronts == [COVERS["PNG"]]


def test_a_way_that_leaves_the_music_folder_and_comes_back_is_good(tagging, songs, folder):
    song = songs.copy("flac", folder)
    Cover(tagging, COVERS["PNG"]).write_all(f"../{tagging.music.name}/{folder.name}/./{song.name}")
    assert look(song, "flac").fronts == [COVERS["PNG"]]


def test_a_music_folder_that_is_a_link(songs, tmp_path):
    music = tmp_path / "real"
    music.mkdir()
    (tmp_path / "music").symlink_to("real")
    song = songs.copy("flac", music)
    with Server(processes=1) as server:
        with_music(server, tmp_path / "music")
        Cover(server, COVERS["PNG"]).write_all("flac.flac", tmp_path / "music" / "flac.flac", song)
    assert look(song, "flac").fronts == [COVERS["PNG"]]


def test_a_music_folder_that_is_none(songs, tmp_path):
    song = songs.copy("flac", tmp_path)
    with Server(processes=1) as server, unchanged(tmp_path):
        entry = Cover(server, COVERS["PNG"])
        for folder in (None, "", os.path.relpath(tmp_path), str(tmp_path / "missing"), str(song)):
            if folder is not None:
                server.post("parameter", {"musicFolder": folder})
            entry.write(song)
            *_, tag, delete = entry.settled()
            assert (tag.state, delete.state) == ("failed", "failed") and "musicFolder" in tag.reason, tag
        assert not entry.is_gone()


def test_an_entry_without_a_cover(tagging, songs, folder):
    song = songs.copy("flac", folder)
    entry = Cover(tagging, COVERS["PNG"])
    entry.write()
    assert [job.state for job in entry.settled()] == ["done"] and entry.is_gone()
    with unchanged(folder):
        entry.write(song)
        jobs = entry.settled()
    assert jobs[1].state == "failed" and jobs[1].reason.endswith("."), jobs


def test_an_unknown_cache_id(tagging, songs, folder):
    song = songs.copy("flac", folder)
    with unchanged(folder):
        assert tagging.post("writeTags", {"cacheID": "2000000000", "file": str(song)}).status_code == 200

        def states():
            with contextlib.closing(sqlite3.connect(tagging.state / "covers.db")) as store:
                return [state for state, in store.execute("SELECT state FROM jobs WHERE entry = 2000000000 ORDER BY id")]

        wait_until(lambda: states() == ["failed", "failed"], states)
    Cover(tagging, COVERS["PNG"]).write_all(song)


@pytest.mark.parametrize("path", ["/cover.webp", "/cover.gif"])
def test_what_players_do_not_know_becomes_a_jpeg(tagging, songs, folder, path):
    song = songs.copy("flac", folder)
    entry = Cover(tagging, COVERS["PNG"])
    with Web() as web:
        tagging.post("update", {**entry.song, "url": web.url(path)})
    entry.write_all(song)
    (front,) = look(song, "flac").fronts
    with Image.open(io.BytesIO(front)) as image:
        assert image.format == "JPEG" and image.size == upright(WEB_COVERS[path]).size


LARGE = {
    "JPEG": lambda: noise(2300, "JPEG", quality=100, subsampling=0),
    "PNG": lambda: noise(2450, "PNG", compress_level=1),
}


@pytest.mark.parametrize("format", LARGE)
def test_a_picture_of_17_megabytes_arrives_smaller(tagging, songs, untouched, folder, format):
    picture = LARGE[format]()
    assert len(picture) > 17_000_000
    kinds = ("mp3-v2.3", "flac", "vorbis")
    files = [songs.copy(kind, folder) for kind in kinds]
    Cover(tagging, picture).write_all(*files)
    for kind, file in zip(kinds, files):
        seen = look(file, kind)
        assert len(seen.fronts) == 1 and seen.shown == seen.fronts[0]
        with Image.open(io.BytesIO(seen.shown)) as image:
            assert (image.format, image.size) == (format, (1200, 1200)) and has_the_quarters(image)
        assert seen.but_for_the_front() == untouched[kind].but_for_the_front()


def test_a_picture_that_no_song_has_room_for_arrives_smaller(songs, tmp_path):
    rooms = {"mp3-v2.3": 10_000_000, "flac": 10_000_000, "vorbis": 7_500_000}
    files = {kind: songs.copy(kind, tmp_path) for kind in rooms}
    with Server(processes=1) as server:
        with_music(server, tmp_path, maxTagPictureSide="10000")
        Cover(server, LARGE["JPEG"]()).write_all(*files.values())
    for kind, room in rooms.items():
        (front,) = look(files[kind], kind).fronts
        assert len(front) <= room
        with Image.open(io.BytesIO(front)) as image:
            assert image.format == "JPEG" and has_the_quarters(image)


def test_longer_pictures_are_scaled_down_upright(songs, tmp_path):
    song = songs.copy("flac", tmp_path)
    with Server(processes=1) as server:
        with_music(server, tmp_path, maxTagPictureSide="100")
        for size in ((100, 60), (60, 100)):
            Cover(server, png(size)).write_all(song)
            assert look(song, "flac").fronts == [png(size)], "not longer"
        for size, smaller in {(101, 50): (100, 49), (50, 101): (49, 100), (1000, 1): (100, 1)}.items():
            Cover(server, png(size)).write_all(song)
            assert upright(look(song, "flac").shown).size == smaller
        turned = io.BytesIO()
        exif = Image.Exif()
        exif[0x0112] = 6  # to be shown turned by 90 degrees
        with Image.open(io.BytesIO(noise(600, "PNG"))) as image:
            image.rotate(90).crop((0, 0, 600, 300)).resize((600, 150)).save(turned, "JPEG", exif=exif)
        Cover(server, turned.getvalue()).write_all(song)
        shown = look(song, "flac").shown
        assert upright(shown).size == (25, 100)
        expected = upright(turned.getvalue()).resize((2, 2), Image.Resampling.BOX)
        found = upright(shown).resize((2, 2), Image.Resampling.BOX)
        assert max(abs(a - b) for one, other in zip(expected.getdata(), found.getdata()) for a, b in zip(one, other)) < 16


def test_a_song_that_has_the_cover_is_not_touched(tagging, songs, folder):
    song = songs.copy("flac", folder)
    Cover(tagging, COVERS["JPEG"]).write_all(song)
    with unchanged(folder):
        Cover(tagging, COVERS["JPEG"]).write_all(song)


def test_another_name_of_the_song_keeps_the_old_one(tagging, songs, folder):
    song = songs.copy("flac", folder)
    (folder / "other").hardlink_to(song)
    before = state_of(folder / "other")
    Cover(tagging, COVERS["JPEG"]).write_all(song)
    assert state_of(folder / "other") == before
    assert look(song, "flac").fronts == [COVERS["JPEG"]]


@pytest.mark.parametrize("mode", [0o600, 0o664, 0o2755])
def test_the_song_keeps_its_mode(tagging, songs, folder, mode):
    song = songs.copy("flac", folder)
    song.chmod(mode)
    Cover(tagging, COVERS["JPEG"]).write_all(song)
    assert song.stat().st_mode & 0o7777 == mode


def test_the_song_keeps_its_owner(tagging, songs, folder):
    if os.getuid() != 0:
        pytest.skip("only root gives files away")
    song = songs.copy("flac", folder)
    os.chown(song, 1234, 2345)
    song.chmod(0o640)
    Cover(tagging, COVERS["JPEG"]).write_all(song)
    status = song.stat()
    assert (status.st_uid, status.st_gid, status.st_mode & 0o7777) == (1234, 2345, 0o640)


def test_the_song_keeps_its_extended_attributes(tagging, songs, folder):
    song = songs.copy("flac", folder)
    attributes = {"user.x": b"value", "user.sleevery.odd": b"\0\xff", "user.empty": b""}
    try:
        for name, value in attributes.items():
            os.setxattr(song, name, value)
    except OSError as error:
        if error.errno != errno.ENOTSUP:
            raise
        pytest.skip("the file system has no extended attributes")
    Cover(tagging, COVERS["JPEG"]).write_all(song)
    assert {name: os.getxattr(song, name) for name in os.listxattr(song)} == attributes


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


@contextlib.contextmanager
def on_a_small_disk(songs, tmp_path, options):
    """A server, and its song on a disk of its own."""
    music = tmp_path / "music"
    music.mkdir()
    with Server(tmp_path / "state", processes=1, prefix=small_disk(music, options)) as server:
        inside = pathlib.Path(f"/proc/{server.lighttpd.pid}/root{music}")
        yield with_music(server, music), songs.copy("flac", inside, noise_bytes=3_000_000)


def fill_with_bytes(folder):
    fill_up(folder / "filler")


def fill_with_files(folder):
    with contextlib.suppress(OSError):
        for number in range(100):
            (folder / f"filler-{number}").touch()


def empty_out(folder):
    for filler in folder.glob("filler*"):
        filler.unlink()


@pytest.mark.parametrize("options, fill", [("size=16m", fill_with_bytes), ("size=16m,nr_inodes=50", fill_with_files)])
def test_a_full_disk_is_tried_again(songs, tmp_path, options, fill):
    with on_a_small_disk(songs, tmp_path, options) as (server, song):
        pids = server.wait_for_responders()
        fill(song.parent)
        entry = Cover(server, COVERS["JPEG"])
        with unchanged(song.parent):
            entry.write(song.name)
            tag, delete = entry.postponed()
        assert "space" in tag.reason and (tag.state, delete.state) == ("queued", "queued") and not entry.is_gone()
        empty_out(song.parent)
        assert [job.state for job in entry.settled()] == ["done", "done"]
        assert look(song, "flac").fronts == [COVERS["JPEG"]]
        assert temporary_files(song.parent) == [] and server.responder_pids() == pids


FILE_LIMIT = 2_000_000


@pytest.mark.parametrize("noise_bytes", [3_000_000, 1_900_000], ids=["the song is beyond it", "the song grows beyond it"])
def test_a_limit_of_the_size_of_files(songs, tmp_path, noise_bytes):
    """Here it is in the middle of the work that writing fails."""
    song = songs.copy("flac", tmp_path, noise_bytes=noise_bytes)
    assert (song.stat().st_size > FILE_LIMIT) == (noise_bytes > FILE_LIMIT)
    picture = noise(400, "JPEG", quality=100)
    assert len(picture) > 200_000
    with Server(processes=1, prefix=["prlimit", f"--fsize={FILE_LIMIT}:unlimited", "--"]) as server:
        with_music(server, tmp_path)
        pids = server.wait_for_responders()
        entry = Cover(server, picture)
        with unchanged(tmp_path):
            entry.write(song.name)
            jobs = entry.settled()
            assert [job.state for job in jobs] == ["failed", "failed"] and jobs[0].reason.endswith("."), jobs
        for pid in pids:
            subprocess.run(["prlimit", f"--pid={pid}", "--fsize=unlimited:unlimited"], check=True)
        entry.write(song.name)
        assert [job.state for job in entry.settled()[2:]] == ["done", "done"]
        assert server.responder_pids() == pids, "nobody died"
    assert look(song, "flac").fronts == [picture] and temporary_files(tmp_path) == []


def test_a_disk_that_stays_full_is_given_up(hopeless):
    entry, began = hopeless
    tag, delete = entry.settled()
    assert time.monotonic() - began > 1 + 2 + 4 + 8, "there was time for the disk to become less full"
    assert (tag.state, delete.state) == ("failed", "failed") and "space" in tag.reason and not entry.is_gone()
