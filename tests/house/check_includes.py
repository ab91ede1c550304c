# SPDX-License-Identifier: MIT
"""Checks that includes go one way, and that the public headers include no C libraries.

Run as a program, it checks its own source tree or the given one. It prints every violation, and fails if there is one.
"""

import pathlib
import re
import sys

# The headers of the cover library that the responder may include. Each of them includes only others of them and the C++ library,
PUBLIC_HEADERS = {
    "app/CoverCache.h",
    "app/Quavion.h",
    "app/SongInfo.h",
    "image/Image.h",
    "util/Convert.h",
    "util/Exception.h",
    "util/Image.h",
    "util/Log.h",
    "util/XMLParser.h",
    "xml/XMLParser.h",
}
# except these: their interfaces have types of a C library.
C_HEADERS = {"image/Image.h": ("gd.h",), "xml/XMLParser.h": ("libxml/",)}

# Headers at a place that the interface fixes. They only include the real header.
FORWARDING = {"util/Image.h": "image/Image.h", "util/XMLParser.h": "xml/XMLParser.h"}

RESPONDER_LIBRARIES = ("cgicc/", "fcgiapp.h", "fcgio.h")

# The folders, and the folders that each may include. The lowest come first; there are no circles.
BELOW = {
    "util": (),
    "image": ("util/",),
    "xml": ("util/",),
    "text": ("util/",),
    "net": ("util/",),
    "store": ("text/", "util/"),
    "tags": ("image/", "text/", "util/"),
    "matching": ("text/",),
    "sources": ("matching/", "net/", "store/", "text/", "util/", "xml/"),
    "bridge": ("text/", "util/", "xml/"),
    "tagger": ("tags/", "util/"),
    "jobs": ("store/", "tagger/", "tags/", "util/"),
    "app": ("image/", "jobs/", "matching/", "net/", "sources/", "store/", "tags/", "text/", "util/", "xml/"),
}

INCLUDE = re.compile(r"^[ \t]*#[ \t]*include(?:_next)?\b[ \t]*(.*)", re.MULTILINE)
TARGET = re.compile(r'([<"])([^>"]+)[>"]')
CPP_LIBRARY = re.compile(r"[a-z0-9_]+")


def complaint(file, bracket, target):
    """The complaint about `target`, an include of the source `file`; None if it is allowed. Paths are relative to the root."""
    layer = file.split("/")[0]
    own = bracket == '"'
    if own and target.split("/")[0] not in {*BELOW, "cgi"}:
        return "is not written from the root"
    if not own and "/" in target and target.split("/")[0] in {*BELOW, "cgi"}:
        return "is one of ours and wants quotation marks"
    if not own and CPP_LIBRARY.fullmatch(target):
        return None
    if own and FORWARDING.get(file) == target:
        return None
    if own and layer in BELOW and not target.startswith((f"{layer}/", *BELOW[layer])):
        return f"is above {layer}/"
    if layer == "cgi":
        allowed = target in PUBLIC_HEADERS or target.startswith(("cgi/", *RESPONDER_LIBRARIES))
        return None if allowed else "is not for the responder to see"
    if file in PUBLIC_HEADERS:
        allowed = target in PUBLIC_HEADERS or target.startswith(C_HEADERS.get(file, ()))
        return None if allowed else "has no place in a public header"
    return None


def complaints(root):
    """One line for each include that breaks a rule, and for each listed header that is missing."""
    found = []
    for layer in [*BELOW, "cgi"]:
        for path in sorted(root.glob(f"{layer}/**/*")):
            if path.suffix not in (".h", ".cpp"):
                continue
            file = path.relative_to(root).as_posix()
            for directive in INCLUDE.findall(path.read_text()):
                include = TARGET.match(directive)
                what = complaint(file, *include.groups()) if include else "can't be understood"
                if what:
                    found.append(f"{file}: {directive.strip()} {what}")
    missing = [header for header in sorted(PUBLIC_HEADERS) if not (root / header).exists()]
    return found + [f"{header}: is listed, but not there" for header in missing]


def main():
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parents[2]
    found = complaints(root)
    print("\n".join(found))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
