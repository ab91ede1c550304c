# SPDX-License-Identifier: MIT
"""Jobs that write covers into song files, and their states."""

import contextlib
import dataclasses
import hashlib
import itertools
import re

from answers import is_not_found, png_of, stored_key
from documents import document
from pictures import fixture, png
from waiting import wait_until

NUMBERS = itertools.count(1)
COVERS = {"JPEG": fixture("progressive.jpg"), "PNG": png((300, 200), seed=7)}


def with_music(server, music, **parameters):
    """Sets the server's music folder."""
    assert server.post("parameter", {"musicFolder": str(music), "tagRetryPause": "1", **parameters}).status_code == 200
    return server


@dataclasses.dataclass(frozen=True)
class Job:
    id: int
    kind: str
    state: str
    file: str | None
    reason: str | None


class Cover:
    """A new entry in the store of `server`, with a cover."""

    def __init__(self, server, image, content_type=None):
        self.server = server
        self.song = {"artist": f"Artist{next(NUMBERS)}", "album": "Album", "title": "Title"}
        self.key = self.upload(image, content_type)

    def upload(self, image, content_type=None):
        content_type = content_type or ("image/png" if image.startswith(b"\x89PNG") else "image/jpeg")
        return stored_key(self.server.upload(image, content_type, **self.song))

    def write(self, *files):
        """Queues the jobs. Returns the ids of the files' jobs."""
        answer = self.server.post("writeTags", [("cacheID", self.key), *(("file", file) for file in files)])
        assert answer.status_code == 200, answer.text
        ids = [int(id) for id in re.findall(r'<Job id="(\d+)"/>', answer.text)]
        assert len(ids) == len(files), answer.text
        return ids

    def entry(self):
        (entry,) = document(self.server.post("query", self.song), "Query")
        assert int(entry.get("id")) == self.key
        return entry

    def jobs(self):
        return [Job(int(job.get("id")), *map(job.get, ("kind", "state", "file", "reason"))) for job in self.entry().findall("Job")]

    def jobs_once(self, condition):
        """Waits until the condition holds for the jobs. Returns them."""
        last = []

        def holds():
            last[:] = self.jobs()
            return condition(last)

        wait_until(holds, lambda: last)
        return last

    def settled(self):
        """Waits until all jobs are done or failed. Returns them."""
        return self.jobs_once(lambda jobs: all(job.state in ("done", "failed") for job in jobs))

    def postponed(self):
        """Waits until a job has failed once and is queued again. Returns all jobs."""
        return self.jobs_once(lambda jobs: any(job.state == "queued" and job.reason for job in jobs))

    def write_all(self, *files):
        """Writes the cover into the files, and checks that it works."""
        self.write(*files)
        jobs = self.settled()
        assert all(job.state == "done" and job.reason is None for job in jobs), jobs

    def is_gone(self):
        gone = is_not_found(self.server.get("show", key=self.key))
        assert (self.entry().find("Image") is None) == gone
        if not gone:
            png_of(self.server.get("show", key=self.key))
        return gone


def state_of(path):
    """A value that changes with every change to a file, or to a folder and its content."""
    if path.is_symlink():
        return "link", path.readlink()
    status = path.stat()
    if path.is_dir():
        return {one.name: state_of(one) for one in path.iterdir()}
    content = hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else None
    return content, status.st_ino, status.st_mtime_ns, status.st_mode, status.st_uid


@contextlib.contextmanager
def unchanged(folder):
    """Checks that the `with` block changes nothing below `folder`, and leaves no files there."""
    before = state_of(folder)
    yield
    assert state_of(folder) == before


def temporary_files(folder):
    return list(folder.rglob(".sleevery-*"))
