# SPDX-License-Identifier: MIT
import time

TIMEOUT_SECONDS = 60


def wait_until(condition, what=lambda: "waited for too long"):
    """What `condition` returns, once that is anything; `what` tells what is the case instead."""
    deadline = time.monotonic() + TIMEOUT_SECONDS
    while not (found := condition()):
        assert time.monotonic() < deadline, what()
        time.sleep(0.01)
    return found
