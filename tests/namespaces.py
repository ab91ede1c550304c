# SPDX-License-Identifier: MIT
"""Commands with mounts of their own, as root of a user namespace."""

import functools
import subprocess

import pytest


@functools.cache
def missing_namespaces():
    """Why this machine can't give a command mounts of its own; nothing where it can."""
    done = subprocess.run(["unshare", "-rm", "mount", "-t", "tmpfs", "none", "/mnt"], capture_output=True, text=True)
    return done.stderr.strip() if done.returncode else ""


def with_mounts(mounts, after=""):
    """Runs a command with the mounts that this line of shell makes, and a line of shell after it; they go with the command.

    Skips the test where there are no namespaces.
    """
    if missing_namespaces():
        pytest.skip(f"no user and mount namespaces: {missing_namespaces()}")
    run = f'"$@"; result=$?; {after}; exit $result' if after else 'exec "$@"'
    return ["unshare", "-rm", "sh", "-c", f"{mounts} && {{ {run}; }}", "sh"]
