# SPDX-License-Identifier: MIT
"""Disks that get full."""

import contextlib

from namespaces import with_mounts


def small_disk(folder, options="size=3m"):
    """Runs a command with a file system of its own on `folder`."""
    return with_mounts(f"mount -t tmpfs -o {options} none {folder}")


def fill_up(path):
    with path.open("wb", buffering=0) as file, contextlib.suppress(OSError):
        while file.write(bytes(4096)):
            pass
