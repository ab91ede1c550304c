# SPDX-License-Identifier: MIT
"""Runs commands as root of a user namespace, with their own mounts."""

import functools
import subprocess

import pytest


@functools.cache
def missing_namespaces():
    """The reason why this machine can't give a command its own mounts. Empty if it can."""
    done = subprocess.run(["unshare", "-rm", "mount", "-t", "tmpfs", "none", "/mnt"], capture_output=True, text=True)
    return done.stderr.strip() if done.returncode else ""


def with_mounts(mounts, after=""):
    """Returns a prefix for a command. It runs the shell line `mounts`, then the command, then the shell line `after`.

    The mounts disappear with the command. Skips the test if the kernel gives no namespaces.
    """
    if missing_namespaces():
        pytest.skip(f"no user and mount namespaces: {missing_namespaces()}")
    run = f'"$@"; result=$?; {after}; exit $result' if after else 'exec "$@"'
    return ["unshare", "-rm", "sh", "-c", f"{mounts} && {{ {run}; }}", "sh"]
