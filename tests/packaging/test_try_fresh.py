# SPDX-License-Identifier: MIT
"""Messages of packaging/try-fresh on machines where it can't run."""

import pytest


@pytest.mark.parametrize("ci, status", [("", 0), ("true", 1)])
def test_takes_root(checkout, ci, status):
    checkout.stand_in("id", "echo 1000")
    done = checkout.run("try-fresh", CI=ci)
    assert done.returncode == status
    assert "only root can make a Debian of its own" in (done.stdout + done.stderr) and len((done.stdout + done.stderr).splitlines()) == 1


@pytest.mark.parametrize("ci, status", [("", 0), ("true", 1)])
def test_takes_namespaces(checkout, ci, status):
    checkout.stand_in("id", "echo 0")
    checkout.stand_in("unshare", "echo 'unshare: Operation not permitted' >&2; exit 1")
    done = checkout.run("try-fresh", CI=ci)
    assert done.returncode == status and "the kernel gives no mount and process namespaces" in done.stdout + done.stderr
