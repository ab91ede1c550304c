# SPDX-License-Identifier: MIT
import pathlib

import pytest
from check_includes import BELOW, PUBLIC_HEADERS, complaints

ROOMS = [layer for layer in BELOW if layer != "app"]
ROOT = pathlib.Path(__file__).resolve().parents[2]


def test_the_includes_of_this_tree_keep_the_rules():
    assert complaints(ROOT) == []


@pytest.fixture
def tree(tmp_path):
    """Writes a file into a clean source tree, and returns the complaints."""
    for header in PUBLIC_HEADERS:
        (tmp_path / header).parent.mkdir(exist_ok=True)
        (tmp_path / header).touch()

    def complaints_about(file, *includes):
        path = tmp_path / file
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("// text\n" + "".join(f"#include {include}\n" for include in includes) + "int x;\n")
        return complaints(tmp_path)

    return complaints_about


@pytest.mark.parametrize(
    "file, includes",
    [
        ("cgi/show.cpp", ['"cgi/frame.h"', '"app/CoverCache.h"', '"util/Convert.h"', "<cgicc/Cgicc.h>", "<fcgio.h>"]),
        ("cgi/show.cpp", ["<string>", "<initializer_list>", "<cstdlib>"]),
        ("app/SongInfo.cpp", ['"util/Log.h"', '"store/CoverStore.h"', '"app/Documents.h"', "<fmt/format.h>"]),
        ("store/Sha256.cpp", ['"util/Buffer.h"', '"text/Fold.h"', "<openssl/evp.h>", "<sys/stat.h>"]),
        ("bridge/Mpd.cpp", ['"bridge/Mpd.h"', '"text/Fold.h"', '"util/Log.h"', "<mpd/client.h>", "<httplib.h>"]),
        ("image/Image.h", ["<gd.h>", "<cstddef>"]),
        ("xml/XMLParser.h", ["<libxml/tree.h>", "<libxml/xpath.h>"]),
        ("util/Image.h", ['"image/Image.h"']),
        ("app/CoverCache.h", ['"app/SongInfo.h"', '"util/Image.h"', "<memory>"]),
    ],
)
def test_what_is_allowed(tree, file, includes):
    assert tree(file, *includes) == []


@pytest.mark.parametrize(
    "file, include",
    [
        ("cgi/show.cpp", '"util/Buffer.h"'),
        ("cgi/show.cpp", '"app/Documents.h"'),
        ("cgi/show.cpp", '"store/CoverStore.h"'),
        ("cgi/show.cpp", '"frame.h"'),
        ("cgi/show.cpp", '"../util/Image.h"'),
        ("cgi/deep/er.h", '"util/File.h"'),
        ("cgi/show.cpp", "<sqlite3.h>"),
        ("cgi/show.cpp", "<unistd.h>"),
        ("cgi/show.cpp", "<util/Buffer.h>"),
        ("cgi/show.cpp", "HEADER"),
        ("util/Image.h", '"xml/XMLParser.h"'),
        ("image/Image.h", "<libxml/tree.h>"),
        ("image/Image.h", "<png.h>"),
        ("image/Image.h", '"image/ImageContent.h"'),
        ("xml/XMLParser.h", "<gd.h>"),
        ("util/Exception.h", "<stdlib.h>"),
        ("app/CoverCache.h", "<sqlite3.h>"),
        ("app/CoverCache.h", '"store/CoverStore.h"'),
        ("app/CoverCache.h", '"cgi/frame.h"'),
        ("app/SongInfo.cpp", '"cgi/frame.h"'),
        *[(f"{layer}/X.cpp", '"app/SongInfo.h"') for layer in ROOMS],
        *[(f"{layer}/X.h", '"cgi/frame.h"') for layer in ROOMS],
        ("util/X.cpp", "<app/SongInfo.h>"),
        ("util/X.cpp", '"text/Fold.h"'),
        ("text/X.cpp", '"store/CoverStore.h"'),
        ("store/X.cpp", '"jobs/Runner.h"'),
        ("bridge/X.cpp", '"net/HttpClient.h"'),
        ("util/X.cpp", '"bridge/Mpd.h"'),
    ],
)
def test_what_is_refused(tree, file, include):
    found = tree(file, "<string>", include)
    assert len(found) == 1 and found[0].startswith(f"{file}: {include} ")


def test_a_listed_header_has_to_be_there(tree, tmp_path):
    (tmp_path / "util/Convert.h").unlink()
    assert tree("cgi/show.cpp") == ["util/Convert.h: is listed, but not there"]
