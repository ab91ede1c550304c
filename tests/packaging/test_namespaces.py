# SPDX-License-Identifier: MIT
import namespaces
import pytest


def test_a_test_that_wants_mounts_is_skipped_where_the_kernel_gives_none(checkout, monkeypatch):
    checkout.stand_in("unshare", "echo 'unshare: unshare failed: Operation not permitted' >&2; exit 1")
    monkeypatch.setenv("PATH", checkout.path)
    monkeypatch.setattr(namespaces, "missing_namespaces", namespaces.missing_namespaces.__wrapped__)
    with pytest.raises(pytest.skip.Exception, match="no user and mount namespaces: unshare: .* not permitted"):
        namespaces.with_mounts("true")
