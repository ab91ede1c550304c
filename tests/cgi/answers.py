# SPDX-License-Identifier: MIT
"""Answers that many tests expect."""

XML_HEADER = b"Content-Type: text/xml\n\n"
HTML_HEADER = b"Content-Type: text/html\n\n"
NOT_FOUND = b"Status: 400 Not Found\n\n\n"
SERVER_ERROR = b"Status: 500 Internal Server Error\n\n\nInternal Server Error\n\n"

# Parts of the documents that services build themselves.
DECLARATION = b'<?xml version="1.0" encoding="ISO-8859-1"?>\n'
OK = b'  <Error code="0">OK</Error>\n'
UTF8_DECLARATION = b'<?xml version="1.0" encoding="UTF-8"?>\n'  # only for the appliance's replies

INDEX = HTML_HEADER + b"""
<html>
  <head>
  <title>Quavion Coverartwork Services</title>
  </head>
  <body>
    <h1>Quavion Coverartwork Services</h1>
    <ul>
      <li><a href="./">This Site</a></li>
      <li><a href="./show">Show Cover</a></li>
      <li><a href="./upload">Upload Cover</a></li>
      <li><a href="./update">UpdateCover</a></li>
      <li><a href="./query">Query CoverCache</a></li>
      <li><a href="./suggest">Suggest Coverinformation</a></li>
      <li><a href="./guessAlbum">Guess Album</a></li>
      <li><a href="./showEmpty">Show Cacheentries without image</a></li>
      <li><a href="./tracks">Read Albumtracks from quavion</a></li>
      <li><a href="./parameter">Show parameter values</a></li>
      <li><a href="./quavionAPI">RAW Access to Quavion XML API</a></li>
    </ul>
  </body>
</html>
"""

SHOW_FORM = HTML_HEADER + (
    b"\n<html><body>"
    b'<form action="./show"  method="GET">'
    b'Show Cover from CacheId: <input size="80" name="key" type="text" value="1"><br>'
    b'<input type="submit">'
    b"</body></html>\n"
)

UPLOAD_FORM = HTML_HEADER + (
    b"\n<html><body>"
    b'<form action="./upload"    method="POST" enctype="multipart/form-data">'
    b'Artist: <input size="80" name="artist" type="text" value="Lowbeam"><br>'
    b'Album: <input size="80" name="album" type="text" value="Paper Lanterns"><br>'
    b'Title: <input size="80" name="title" type="text" value="Quiet Harbour"><br>'
    b'xslt: <input size="80" name="xslt" type="text" value=""><br>'
    b'Upload File: <input size="80" name="image" type="file" accept="image/*"><br>'
    b'<input type="submit">'
    b"</body></html>\n"
)

UPDATE_FORM = HTML_HEADER + (
    b"\n<html><body>"
    b'<form action="./update"    method="POST" enctype="multipart/form-data">'
    b'Artist: <input size="80" name="artist" type="text" value="Lowbeam"><br>'
    b'Album: <input size="80" name="album" type="text" value="Paper Lanterns"><br>'
    b'Title: <input size="80" name="title" type="text" value="Quiet Harbour"><br>'
    b'url: <input size="80" name="url" type="text" value="http://covers.example/paper-lanterns.jpg"><br>'
    b'xslt: <input size="80" name="xslt" type="text" value=""><br>'
    b'<input  type="submit">'
    b"</body></html>\n"
)

QUERY_FORM = HTML_HEADER + (
    b"\n<html><body>"
    b'<form action="./query"    method="POST" enctype="multipart/form-data">'
    b'Artist: <input size="80" name="artist" type="text" value="Lowbeam"><br>'
    b'Album: <input size="80" name="album" type="text" value="Paper Lanterns"><br>'
    b'Title: <input size="80" name="title" type="text" value="Quiet Harbour"><br>'
    b'xslt: <input size="80" name="xslt" type="text" value=""><br>'
    b'<input  type="submit">'
    b"</body></html>\n"
)

SUGGEST_FORM = HTML_HEADER + (
    b"\n<html><body>"
    b'<form action="./suggest"    method="POST" enctype="multipart/form-data">'
    b'Artist: <input size="80" name="artist" type="text" value="Lowbeam"><br>'
    b'Album: <input size="80" name="album" type="text" value="Paper Lanterns"><br>'
    b'Title: <input size="80" name="title" type="text" value="Quiet Harbour"><br>'
    b'xslt: <input size="80" name="xslt" type="text" value=""><br>'
    b'<input type="submit">'
    b"</body></html>\n"
)

GUESS_FORM = HTML_HEADER + (
    b"\n<html><body>"
    b'<form action="./guessAlbum"    method="POST" enctype="multipart/form-data">'
    b'Artist: <input size="80" name="artist" type="text" value="Lowbeam"><br>'
    b'Title: <input size="80" name="title" type="text" value="Quiet Harbour"><br>'
    b'xslt: <input size="80" name="xslt" type="text" value=""><br>'
    b'<input type="submit">'
    b"</body></html>\n"
)

TRACKS_FORM = HTML_HEADER + (
    b"\n<html><body>"
    b'<form action="./tracks" method="POST" enctype="multipart/form-data">'
    b'Artist: <input size="80" name="artist" type="text" value="Lowbeam"><br>'
    b'Album: <input size="80" name="album" type="text" value="Paper Lanterns"><br>'
    b'xslt: <input size="80" name="xslt" type="text" value=""><br>'
    b'<input type="submit">'
    b"</body></html>\n"
)

API_FORM = HTML_HEADER + (
    b"\n<html><body>"
    b'<form action="./quavionAPI" method="POST" enctype="multipart/form-data">'
    b'XML-Query: <textarea cols="60" rows="10" name="xmlString" > &lt;GetPlayerState /&gt;</textarea><br>'
    b'<input type="submit">'
    b"</body></html>\n"
)

# The answer of writeTags to a request that is not a POST.
NO_DATA = DECLARATION + b"<NoData />\n"

# The stand-in's results: a cover, a query, suggestions, albums, an album's songs, the entries without a cover, and
# the parameters.
COVER = b"\x89PNG\r\n\x1a\n\0cover\0of the stand-in\0"
FOUND = b'<?xml version="1.0" encoding="UTF-8"?>\n<Found/>\n'
SUGGESTED = b'<?xml version="1.0" encoding="UTF-8"?>\n<Suggested/>\n'
GUESSED = b'<?xml version="1.0" encoding="UTF-8"?>\n<Guessed/>\n'
TRACKS = b'<?xml version="1.0" encoding="UTF-8"?>\n<Songs/>\n'
EMPTY_LIST = b'<?xml version="1.0" encoding="UTF-8"?>\n<Empty/>\n'
PARAMETERS = b'<?xml version="1.0" encoding="UTF-8"?>\n<All/>\n'


def exception(text):
    """The document that the responder sends for an exception."""
    return b"<Exception>\n" + text + b"</Exception>\n"
