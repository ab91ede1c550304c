# SPDX-License-Identifier: MIT
"""Small file systems that a test can fill up."""

import contextlib

from namespaces import with_mounts


def small_disk(folder, options="size=3m"):
    """Returns a prefix for a command that runs it with a separate small file system on `folder`."""
    return with_mounts(f"mount -t tmpfs -o {options} none {folder}")


def fill_up(path):
    with path.open("wb", buffering=0) as file, contextlib.suppress(OSError):
        while file.write(bytes(4096)):
            pass
