# SPDX-License-Identifier: MIT
"""Which service a script name selects. All other names get the index page."""

import forms
import pytest
from answers import (
    API_FORM,
    EMPTY_LIST,
    GUESS_FORM,
    INDEX,
    NO_DATA,
    PARAMETERS,
    QUERY_FORM,
    SHOW_FORM,
    SUGGEST_FORM,
    TRACKS_FORM,
    UPDATE_FORM,
    UPLOAD_FORM,
    XML_HEADER,
)

SERVICES = {
    "show": SHOW_FORM,
    "upload": UPLOAD_FORM,
    "suggest": SUGGEST_FORM,
    "update": UPDATE_FORM,
    "query": QUERY_FORM,
    "guessAlbum": GUESS_FORM,
    "showEmpty": XML_HEADER + EMPTY_LIST,
    "tracks": TRACKS_FORM,
    "quavionAPI": API_FORM,
    "parameter": XML_HEADER + PARAMETERS,
    "writeTags": XML_HEADER + NO_DATA,
}


@pytest.mark.parametrize("service", SERVICES)
@pytest.mark.parametrize("folder", ["/sleevery/", "/a/b/c/", "/a//", "//", "x/", "/upload/", "/nothing/show/"])
def test_the_last_segment_names_the_service(seam, folder, service):
    assert seam.get(folder + service) == SERVICES[service]


@pytest.mark.parametrize("service", SERVICES)
@pytest.mark.parametrize("script_name", ["{}", "/{}", "/sleevery/{}/", "/{}/", "{}/"])
def test_a_name_that_is_not_below_a_folder_leads_to_the_index(seam, script_name, service):
    assert seam.get(script_name.format(service)) == INDEX
    assert seam.calls == []


@pytest.mark.parametrize("script_name", ["", "/", "//", "/sleevery/", "/sleevery", "sleevery"])
def test_no_name_leads_to_the_index(seam, script_name):
    assert seam.get(script_name) == INDEX
    assert seam.calls == []


@pytest.mark.parametrize(
    "service",
    [
        "Show", "SHOW", "Upload", "showempty", "ShowEmpty", "showEmpty2", "sho", " show", "show ", "show.png", "*",
        "Suggest", "suggestion", "guessalbum", "GuessAlbum", "guess", "Update", "updat", "updates", "Query", "querys", "Tracks", "track", "quavionApi", "QuavionAPI", "quavionAPIs", "Parameter", "parameters", "writetags", "WriteTags", "writeTag",
    ],
)
def test_a_name_that_differs_leads_to_the_index(seam, service):
    assert seam.get("/sleevery/" + service) == INDEX
    assert seam.calls == []


@pytest.mark.parametrize("query", ["/sleevery/show", "x=/a/show", "service=show", "key=1", "xslt=x.xsl"])
def test_the_query_string_leads_nowhere(seam, query):
    assert seam.get("/sleevery/nothing", query) == INDEX
    assert seam.get("/sleevery", query) == INDEX
    assert seam.get("/sleevery/upload", query) == UPLOAD_FORM
    assert seam.calls == []


def test_the_path_behind_the_script_name_leads_nowhere(seam):
    params = forms.params("GET", "/sleevery") + [(b"PATH_INFO", b"/show"), (b"REQUEST_URI", b"/sleevery/show")]
    assert seam.answer(params) == INDEX


@pytest.mark.parametrize("method", ["GET", "POST", "HEAD", "PUT", "DELETE", ""])
def test_the_index_is_the_same_for_every_request(seam, method):
    content = forms.urlencoded([("key", "1"), ("xslt", "x.xsl"), ("title", "x")])
    assert seam.post("/sleevery/nothing", content, "artist=y&xslt=z", method) == INDEX
    assert seam.calls == []
    assert seam.stderr == b""


def test_of_a_variable_given_twice_the_last_counts(seam):
    params = forms.params("GET", "/sleevery/upload") + [(b"SCRIPT_NAME", b"/sleevery/show")]
    assert seam.answer(params) == SHOW_FORM
    assert seam.answer(params[::-1]) == UPLOAD_FORM


def test_the_value_of_a_variable_may_hold_equals_signs(seam):
    assert seam.get("/sleevery=x/show") == SHOW_FORM
