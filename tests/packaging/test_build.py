# SPDX-License-Identifier: MIT
"""packaging/build, with stand-ins for CMake and Ninja."""

import os
import re
import shutil
import subprocess

import pytest
from conftest import Checkout
from namespaces import with_mounts

CMAKE = """mkdir -p build/release
echo "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" >build/release/CMakeCache.txt
echo made >build/release/build.ninja"""
NINJA = """case $* in *" -n"*) echo "ninja: no work to do."; exit 0 ;; esac
for step in 1 2 3; do echo "@step $step 3 compiling"; done"""


@pytest.fixture
def tools():
    def give(checkout):
        checkout.stand_in("cmake", CMAKE)
        checkout.stand_in("ninja", NINJA)
        return checkout

    return give


@pytest.fixture
def built(checkout, tools):
    assert tools(checkout).run("build", "release").returncode == 0
    return checkout


def test_configures_and_tells_how_far_it_is(checkout, tools):
    done = tools(checkout).run("build", "release", "sleevery.fcgi")
    assert done.returncode == 0 and done.stderr == ""
    said = re.sub(r"\d+:\d\d", "TIME", done.stdout).splitlines()
    assert said[:2] + said[-1:] == ["Configuring build/release", "Building build/release: 1 of 3 (TIME)", "Built build/release: 3 steps in TIME"]


def test_configures_once(built):
    assert "Configuring" not in built.run("build", "release").stdout


@pytest.mark.parametrize("move", [shutil.copytree, shutil.move], ids=["copied", "moved"])
def test_a_build_for_another_folder_is_made_anew(built, tools, tmp_path, move):
    (built.folder / "build/release/old").touch()
    move(built.folder, tmp_path / "elsewhere")
    built.folder = tmp_path / "elsewhere"
    done = built.run("build", "release")
    assert done.returncode == 0 and f"build/release was made for {tmp_path / 'checkout'}; making it anew" in done.stdout
    assert str(built.folder) in (built.folder / "build/release/CMakeCache.txt").read_text()
    assert not (built.folder / "build/release/old").exists()


def test_shows_what_the_compiler_says(built):
    built.stand_in("ninja", 'echo "@step 1 3 compiling"; echo "FAILED: x.o"; echo "x.cpp:1: error: no"; exit 1')
    done = built.run("build", "release")
    assert done.returncode == 1
    assert done.stderr.splitlines() == ["FAILED: x.o", "x.cpp:1: error: no", "build: build/release can't be built; the messages are above"]


def test_shows_what_cmake_says(checkout):
    checkout.stand_in("cmake", "echo 'CMake Error: no compiler' >&2; exit 1")
    done = checkout.run("build", "release", FAILED_AS="./run")
    assert done.returncode == 1
    assert done.stderr.splitlines() == ["CMake Error: no compiler", "./run: build/release can't be configured; CMake's messages are above"]


@pytest.mark.parametrize("name", ['quo"ted', "semi;colon", "ha#sh", "back\\slash", "pi|pe", "<angle>", "line\nbreak"])
def test_refuses_paths_that_cmake_can_not_cope_with(tmp_path, tools, name):
    folder = tmp_path / name / "checkout"
    folder.parent.mkdir()
    done = tools(Checkout(folder)).run("build", "release")
    assert done.returncode == 1 and "that CMake can't cope with" in done.stderr


def test_takes_other_odd_paths(tmp_path, tools):
    folder = tmp_path / "it's a $HOME & (more) ünd [so] on" / "checkout"
    folder.parent.mkdir()
    assert tools(Checkout(folder)).run("build", "release").returncode == 0


def read_only(folder):
    return with_mounts(f'mount --bind "{folder}" "{folder}" && mount -o remount,bind,ro "{folder}"')


def test_says_what_to_do_where_it_can_not_write(checkout, tools):
    done = tools(checkout).run("build", "release", prefix=read_only(checkout.folder))
    assert done.returncode == 1
    assert done.stderr == f"build: nothing can be built in {checkout.folder}, as it can't be written to; clone it to a folder of your own\n"


def test_a_build_that_is_up_to_date_can_be_read_only(built):
    done = built.run("build", "release", prefix=read_only(built.folder))
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    built.stand_in("ninja", "echo '@step 1 3 compiling'")
    done = built.run("build", "release", prefix=read_only(built.folder))
    assert done.returncode == 1 and "is not up to date, and it can't be written to" in done.stderr


def test_does_not_listen_to_cdpath(checkout, tools, tmp_path):
    (tmp_path / "other/packaging").mkdir(parents=True)
    done = tools(checkout).run("build", "release", CDPATH=str(tmp_path / "other"))
    assert done.returncode == 0 and (checkout.folder / "build/release/build.ninja").exists()


def test_can_be_called_through_a_link(checkout, tools, tmp_path):
    tools(checkout)
    (tmp_path / "link").symlink_to(checkout.folder / "packaging/build")
    done = subprocess.run([tmp_path / "link", "release"], capture_output=True, text=True, env={**os.environ, "PATH": checkout.path})
    assert done.returncode == 0 and (checkout.folder / "build/release/build.ninja").exists()
