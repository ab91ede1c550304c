# SPDX-License-Identifier: MIT
import time

TIMEOUT_SECONDS = 60


def wait_until(condition, what=lambda: "waited for too long"):
    """Waits until `condition` returns a true value. Returns this value. `what` gives the message of a failure."""
    deadline = time.monotonic() + TIMEOUT_SECONDS
    while not (found := condition()):
        assert time.monotonic() < deadline, what()
        time.sleep(0.01)
    return found
