# SPDX-License-Identifier: MIT
"""Messages of the scripts about missing packages. Only packaging/try-fresh installs real packages, on its own Debian."""

import os
import re

import pytest
from conftest import ROOT
from namespaces import with_mounts

NOTHING_INSTALLED = 'for name; do echo "dpkg-query: no packages found matching $name" >&2; done; exit 1'
NOBODY = 'if [ "$1" = -u ]; then echo 1000; else echo nobody; fi'


@pytest.fixture
def user(checkout):
    """A user who is not root, on a machine without installed packages."""
    checkout.stand_in("dpkg-query", NOTHING_INSTALLED)
    checkout.stand_in("id", NOBODY)
    return checkout


def test_asks_for_what_dpkg_has_never_heard_of(user):
    user.stand_in("sudo", 'echo "$@"')
    done = user.run("install-packages", "run")
    asked = done.stdout.split()
    assert done.returncode == 0 and done.stderr == ""
    assert asked[1] == str(user.folder / "packaging/apt-install") and {"lighttpd", "curl", "libcgicc-dev"} <= set(asked[2:])


def test_asks_only_for_what_is_missing(user):
    user.stand_in("dpkg-query", 'for name; do case $name in -*|curl|\\$*) ;; *) echo "installed $name" ;; esac; done; exit 1')
    user.stand_in("sudo", 'echo "$@"')
    assert user.run("install-packages", "run").stdout.split()[2:] == ["curl"]


def test_does_nothing_where_all_is_there(user):
    user.stand_in("dpkg-query", 'for name; do echo "installed $name"; done')
    user.stand_in("sudo", "echo must not be called; exit 1")
    done = user.run("install-packages", "run", "test")
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")


def only_sentence(done):
    (sentence,) = done.stderr.splitlines()
    return sentence


def test_says_what_to_do_without_sudo(user):
    user.without("sudo")
    done = user.run("install-packages", "mpd", FAILED_AS="./run")
    assert done.returncode == 1
    assert only_sentence(done) == ("./run: packages are missing, and here is no sudo to install them with; run this as root, then try again: "
                                   f"{user.folder}/packaging/apt-install ffmpeg mpc mpd")


def test_says_what_to_do_for_whom_sudo_refuses(user):
    user.stand_in("sudo", 'echo "nobody is not in the sudoers file." >&2; exit 1')
    done = user.run("install-packages", "mpd", FAILED_AS="./run")
    assert done.returncode == 1
    assert done.stderr.splitlines()[1].startswith("./run: packages are missing, and sudo does not let nobody install them; run this as root")


def test_says_that_this_is_not_debian(user):
    user.without("apt-get")
    done = user.run("install-packages", "run")
    assert done.returncode == 1 and "this is made for Debian" in only_sentence(done)


NOTHING_REAL = "mount -t tmpfs none /usr/sbin"  # apt-install writes a temporary file there


def test_says_that_there_is_no_network(checkout):
    checkout.stand_in("apt-get", "echo \"E: Failed to fetch http://example/curl.deb  Temporary failure resolving 'example'\" >&2; exit 100")
    done = checkout.run("apt-install", "curl", prefix=with_mounts(NOTHING_REAL), FAILED_AS="./run")
    assert done.returncode == 10
    assert only_sentence(done).startswith("./run: the packages can't be installed, as Debian's package servers can't be reached; is there a network?")


def test_shows_what_apt_says_of_other_failures(checkout):
    checkout.stand_in("apt-get", 'echo "E: You don\'t have enough free space in /var/cache/apt/archives/." >&2; exit 100')
    done = checkout.run("apt-install", "curl", prefix=with_mounts(NOTHING_REAL))
    assert done.returncode == 10
    assert only_sentence(done) == "apt-install: the packages can't be installed; apt says: You don't have enough free space in /var/cache/apt/archives/."


@pytest.mark.parametrize("status", [0, 100])
def test_no_service_may_start_meanwhile(checkout, tmp_path, status):
    policy = "/usr/sbin/policy-rc.d"
    checkout.stand_in("apt-get", f'case "$*" in *Status-Fd*) {policy} lighttpd start; echo $? >>{tmp_path}/policy; exit {status};; esac')
    done = checkout.run("apt-install", "curl", prefix=with_mounts(NOTHING_REAL, after="ls /usr/sbin"))
    assert done.returncode == (10 if status else 0)
    assert (tmp_path / "policy").read_text() == "101\n"
    assert policy not in done.stdout


@pytest.mark.parametrize("status", [0, 100])
def test_new_services_are_disabled_and_old_ones_stay(checkout, tmp_path, status):
    wants = "/etc/systemd/system/multi-user.target.wants"
    checkout.stand_in("apt-get", f'case "$*" in *Status-Fd*) ln -s x {wants}/new.service; exit {status};; esac')
    checkout.stand_in("systemctl", "exit 0")
    checkout.stand_in("deb-systemd-helper", f'echo "$@" >>{tmp_path}/disabled; rm {wants}/"$3"')
    mounts = f"{NOTHING_REAL} && mount -t tmpfs none /etc/systemd && mkdir -p {wants} && ln -s x {wants}/old.service"
    done = checkout.run("apt-install", "curl", prefix=with_mounts(mounts, after=f"ls {wants}"))
    assert done.returncode == (10 if status else 0)
    assert (tmp_path / "disabled").read_text() == "--system disable new.service\n"
    assert done.stdout.splitlines()[-1] == "old.service"


def test_every_script_fails_with_a_sentence():
    programs = [path for path in (ROOT / "packaging").iterdir() if os.access(path, os.X_OK)]
    scripts = [path.read_text() for path in [ROOT / "run", ROOT / "test", ROOT / "bench/run", ROOT / ".ci/run", *programs]]
    assert len(scripts) > 10
    assert [script for script in scripts if not re.search(r"^\. .*common\.sh\"?$", script, re.MULTILINE)] == []


def test_a_command_that_fails_without_a_word_is_named(checkout):
    (checkout.folder / "packaging/broken").write_text('#!/usr/bin/env bash\n. "$(dirname "$0")/common.sh"\nx=$(false)\n')
    (checkout.folder / "packaging/broken").chmod(0o755)
    done = checkout.run("broken")
    assert done.returncode == 1
    assert only_sentence(done) == 'broken: "x=$(false)" in line 3 of broken failed with status 1'
