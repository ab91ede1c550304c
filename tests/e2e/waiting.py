# SPDX-License-Identifier: MIT
import time

TIMEOUT_SECONDS = 60


def wait_until(condition):
    """What `condition` returns, once that is anything."""
    deadline = time.monotonic() + TIMEOUT_SECONDS
    while not (found := condition()):
        assert time.monotonic() < deadline, "waited for too long"
        time.sleep(0.01)
    return found
