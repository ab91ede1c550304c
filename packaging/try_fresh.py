# SPDX-License-Identifier: MIT
"""Tries the README's commands on a new minimal Debian."""

import argparse
import contextlib
import fcntl
import io
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import time

from PIL import Image, ImageChops

ROOT = pathlib.Path(__file__).resolve().parents[1]
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "sleevery/fresh"
CACHE_DAYS = 7
PASSWORD = "paper lanterns"
CHANGED = "\r\x1b[K"  # start of a line of progress
INCLUDED = ("git", "sudo", "ca-certificates")
# This machine's settings for reaching package servers. A minimal Debian does not have them.
APT_SETTINGS = re.compile(r"^(Acquire::(?:https?::|Retries|Check-Date|Check-Valid-Until).*;)$", re.MULTILINE)


class Failed(Exception):
    """A failed check, with a sentence about it."""


def output(*command, **options):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **options).stdout


def sources(release):
    """This machine's Debian package sources, as lines of a sources.list for `release`."""
    fields = "$(ORIGIN)|$(REPO_URI)|$(CODENAME)|$(COMPONENT)"
    here = output("apt-get", "indextargets", "--format", fields, "Created-By: Packages").splitlines()
    if not any(line.startswith("Debian|") for line in here):  # apt learns the origin of a source from its lists
        output("apt-get", "update", "-qq")
        here = output("apt-get", "indextargets", "--format", fields, "Created-By: Packages").splitlines()
    codename = re.search(r"^VERSION_CODENAME=(\w+)$", pathlib.Path("/etc/os-release").read_text(), re.MULTILINE)[1]
    debian = {tuple(line.split("|")[1:]) for line in here if line.startswith("Debian|")}
    lines = [f"deb {url} {suite.replace(codename, release)} {component}" for url, suite, component in sorted(debian) if suite.startswith(codename)]
    if not lines:
        raise Failed("apt knows no sources of Debian's packages here")
    return lines


class Fresh:
    """A minimal Debian of a release, with its downloaded packages; kept for a week."""

    def __init__(self, release):
        self.folder = CACHE / release
        self.root, self.archives = self.folder / "root", self.folder / "archives"
        self.folder.mkdir(parents=True, exist_ok=True)
        self._lock = (CACHE / f"{release}.lock").open("w")
        fcntl.flock(self._lock, fcntl.LOCK_EX)  # two runs of apt can't share a package folder
        made = self.folder / "made"
        if not made.exists() or time.time() - made.stat().st_mtime > CACHE_DAYS * 86400:
            shutil.rmtree(self.folder)
            self.archives.mkdir(parents=True)
            self._make(release)
            made.touch()
        for left_behind in self.folder.glob("run-*"):
            shutil.rmtree(left_behind)

    def _make(self, release):
        say(f"Making a minimal Debian ({release})")
        settings = APT_SETTINGS.findall(output("apt-config", "dump"))
        done = subprocess.run(["mmdebstrap", "--quiet", "--variant=minbase", f"--include={','.join(INCLUDED)}", *(f"--aptopt={line}" for line in settings),
                               release, self.root, *sources(release)], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if done.returncode:
            raise Failed(f"a Debian {release} can't be made: {done.stdout.strip()}")
        for file in ("resolv.conf", "hosts"):
            shutil.copyfile(f"/etc/{file}", self.root / "etc" / file)


# The first process of the machine. As a shell it reaps orphaned processes. It ends when its standard input is closed; then the
# kernel ends all other processes of the machine.
INIT = r"""
set -e
root=$1 folder=$2 archives=$3
mkdir "$folder/upper" "$folder/work" "$folder/merged"
mount -t overlay overlay -o "lowerdir=$root,upperdir=$folder/upper,workdir=$folder/work" "$folder/merged"
cd "$folder/merged"
mount -t proc proc proc
mount --rbind /sys sys
mount --rbind /dev dev
mount -t tmpfs -o mode=1777 tmpfs dev/shm
mount --bind "$archives" var/cache/apt/archives
mkdir old
pivot_root . old
umount -l /old
rmdir /old
echo ready
read -r _
"""


class Machine:
    """A throwaway copy of a minimal Debian. It has its own processes, and uses this machine's network."""

    def __init__(self, fresh, user):
        self.user = user
        self.home = "/root" if user == "root" else f"/home/{user}"
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="run-", dir=fresh.folder))
        self._init = subprocess.Popen(
            ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--propagation", "private",
             "bash", "-c", INIT, "init", fresh.root, self.folder, fresh.archives],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        if self._init.stdout.readline() != "ready\n":
            raise Failed("a minimal Debian was made, but can't be entered")
        self._pid = pathlib.Path(f"/proc/{self._init.pid}/task/{self._init.pid}/children").read_text().strip()

    def close(self):
        self._init.communicate("\n")
        shutil.rmtree(self.folder)

    def command(self, text, user=None):
        """The command that runs a line of shell in a new login session, with default signals."""
        return ["env", "--default-signal=HUP,INT,QUIT,TERM", "nsenter", f"--target={self._pid}", "--mount", "--pid", "--root", "--wd", "--",
                "runuser", "-l", user or self.user, "-c", text]

    def run(self, text, user=None):
        """The output of a line of shell, as bytes."""
        done = subprocess.run(self.command(text, user), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        if done.returncode:
            raise Failed(f"{text} failed: {done.stderr.decode(errors='replace').strip()}")
        return done.stdout

    def processes(self):
        """The command lines of all processes except the first one."""
        own = os.readlink(f"/proc/{self._pid}/ns/pid")
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):  # a process may end at any moment
                if process.name != self._pid and os.readlink(process / "ns/pid") == own:
                    found.append((process / "cmdline").read_text().replace("\0", " ").strip())
        return found

    def files(self):
        """All files in the places where a process might leave something behind."""
        return self.run("find /tmp /var/tmp /dev/shm /run/lock ~ -maxdepth 1 -mindepth 1 -not -name sleevery -not -name '.*'", self.user).decode().split()


class Terminal:
    """A command in a pseudo-terminal of the machine. Its output is shown, and its questions for the password are answered."""

    def __init__(self, machine, text):
        self._process = subprocess.Popen(machine.command(f"script -qefc '{text}' /dev/null"), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         stderr=subprocess.STDOUT, bufsize=0)
        self.said = ""
        self._shown = 0
        self._next_sign_of_life = time.monotonic() + 30
        self._changed = threading.Condition()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _show(self):
        """Prints the complete lines in their last state, and every 30 seconds also a line that still changes."""
        lines = self.said[self._shown:].split("\n")
        for line in lines[:-1]:
            print(f"   {line.rstrip().split(CHANGED)[-1]}", flush=True)
        self._shown = len(self.said) - len(lines[-1])
        if CHANGED in lines[-1] and time.monotonic() > self._next_sign_of_life:
            self._next_sign_of_life = time.monotonic() + 30
            print(f"   {lines[-1].split(CHANGED)[-1]}", flush=True)

    def _read(self):
        answered = 0
        while part := self._process.stdout.read(65536):
            with self._changed:
                self.said += part.decode(errors="replace")
                self._changed.notify_all()
            self._show()
            if (asked := len(re.findall(r"password for \w+:", self.said))) > answered:
                answered = asked
                self.type(PASSWORD + "\n")
        with self._changed:
            self._process.wait()
            self._changed.notify_all()

    def type(self, text):
        self._process.stdin.write(text.encode())

    def wait_for(self, text, minutes):
        """Waits until the output contains the text. Fails if the command ends before."""
        with self._changed:
            said = self._changed.wait_for(lambda: text in self.said or self._process.returncode is not None, minutes * 60)
        if text not in self.said:
            raise Failed(f"it ended with status {self._process.returncode}" if said else f"it is not ready after {minutes} minutes")

    def wait(self, minutes):
        """Waits for the end of the command. Returns its exit status."""
        self._reader.join(minutes * 60)
        if self._reader.is_alive():
            raise Failed(f"it does not end within {minutes} minutes")
        return self._process.returncode


def say(text):
    print(f"== {text}", flush=True)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def check_the_same_picture(shown, original):
    """Compares the PNG from `show` with the uploaded JPEG. Small differences are allowed, because decoders round differently."""
    shown, original = Image.open(io.BytesIO(shown)), Image.open(original)
    if shown.format != "PNG" or shown.size != original.size:
        raise Failed(f"show answers with a {shown.format} of {shown.size}")
    difference = max(high for _, high in ImageChops.difference(shown.convert("RGB"), original.convert("RGB")).getextrema())
    if difference > 8:
        raise Failed(f"show answers with another picture: a pixel differs by {difference} of 255")


def prepare(machine):
    """Creates the user and clones the committed state."""
    if machine.user != "root":
        machine.run(f"useradd --create-home --shell /bin/bash --groups sudo {machine.user} && echo '{machine.user}:{PASSWORD}' | chpasswd", "root")
    bare = machine.folder / "upper/srv/sleevery.git"
    subprocess.run(["git", "-c", f"safe.directory={ROOT}", "-c", f"safe.directory={ROOT}/.git", "clone", "--quiet", "--bare", f"file://{ROOT}", bare], check=True)
    machine.run(f"chown -R {machine.user}: /srv/sleevery.git", "root")
    machine.run("git clone --quiet /srv/sleevery.git sleevery")


def readme_commands(port):
    """The README's first two commands to type while ./run serves: upload a cover and fetch it again."""
    lines = re.findall(r"^    (curl .*)$", (ROOT / "README.md").read_text(), re.MULTILINE)[:2]
    return [f"cd sleevery && {line.replace('curl', 'curl -sS', 1).replace(':8080', f':{port}')}" for line in lines]


def try_run(machine):
    port = free_port()
    say(f"./run as {machine.user}")
    services = "find /etc/systemd /etc/rc?.d /usr/sbin/policy-rc.d -type l -not -name K\\* -o -name policy-rc.d | sort"
    before, services_before = machine.files(), machine.run(services, "root")
    started = time.monotonic()
    terminal = Terminal(machine, f"cd sleevery && ./run --port {port}")
    terminal.wait_for("Ctrl-C stops everything", minutes=30)
    say(f"ready after {time.monotonic() - started:.0f} s")
    upload, show = readme_commands(port)
    answer = machine.run(upload).decode()
    if '<Error code="0">OK</Error>' not in answer:
        raise Failed(f"the upload was not taken: {answer}")
    machine.run(show)
    check_the_same_picture(machine.run("cat sleevery/cover.png && rm sleevery/cover.png"), ROOT / "docs/cover.jpg")
    terminal.type("\x03")
    if (status := terminal.wait(minutes=1)) != 130:
        raise Failed(f"./run ended with status {status} after Ctrl-C")
    if left := machine.processes():
        raise Failed(f"processes are left behind: {left}")
    if left := sorted(set(machine.files()) - set(before)):
        raise Failed(f"files are left behind: {left}")
    if changed := machine.run("git -C sleevery status --porcelain").decode():
        raise Failed(f"the checkout is changed: {changed}")
    if enabled := set(machine.run(services, "root").splitlines()) - set(services_before.splitlines()):
        raise Failed(f"services were enabled: {enabled}")
    say("the cover is right, and nothing is left behind")


def try_test(machine):
    say(f"./test as {machine.user}")
    started = time.monotonic()
    if status := (terminal := Terminal(machine, "cd sleevery && ./test")).wait(minutes=60):
        raise Failed(f"./test ended with status {status}")
    if not re.search(r"^\d+ passed, 0 failed", terminal.said, re.MULTILINE):
        raise Failed("./test does not say that all has passed")
    say(f"done after {time.monotonic() - started:.0f} s")


def main():
    parser = argparse.ArgumentParser(prog="packaging/try-fresh", description=__doc__)
    parser.add_argument("--release", default="bookworm", choices=("bookworm", "trixie"), help="Debian 12 (default) or 13")
    parser.add_argument("--root", action="store_true", help="run as root instead of as a user with sudo")
    parser.add_argument("--test", action="store_true", help="also run ./test there")
    options = parser.parse_args()
    with contextlib.closing(Machine(Fresh(options.release), "root" if options.root else "listener")) as machine:
        prepare(machine)
        try_run(machine)
        if options.test:
            try_test(machine)


try:
    main()
except Failed as failure:
    sys.exit(f"packaging/try-fresh: {failure}")
