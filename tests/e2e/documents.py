# SPDX-License-Identifier: MIT
"""Checks the library's documents against their schemas."""

import functools

from lxml import etree
from server import ROOT


@functools.cache
def schema(name):
    return etree.RelaxNG(etree.parse(str(ROOT / "docs" / "xml" / f"{name}.rng")))


def document(answer, name):
    """Checks that the answer is a valid document `name`. Returns its root element."""
    assert (answer.status_code, answer.headers["Content-Type"]) == (200, "text/xml"), answer.text[:500]
    root = etree.fromstring(answer.content, etree.XMLParser(resolve_entities=False, huge_tree=True))
    assert root.getroottree().docinfo.encoding == "UTF-8"
    assert root.tag == name, answer.text[:500]
    schema(name).assertValid(root)
    return root
