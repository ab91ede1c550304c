# SPDX-License-Identifier: MIT
"""The song in the tests' forms, and the library calls that it causes."""

from seam import quoted

FIELDS = [
    ("sampler", "on"),
    ("url", "http://covers.example/1.jpg"),
    ("album", "Paper Lanterns"),
    ("artist", "Lowbeam"),
    ("title", "Quiet Harbour"),
]

EXTRACTED = [
    "SongInfo::SongInfo()",
    'SongInfo::setTitle("Quiet Harbour")',
    'SongInfo::setArtist("Lowbeam")',
    'SongInfo::setAlbum("Paper Lanterns")',
    'SongInfo::setImageUrl("http://covers.example/1.jpg")',
    "SongInfo::setSampler(true)",
    "SongInfo::Dump()",
]

ECHOED = [
    "SongInfo::getAlbum()",
    'XMLParser::encode("Paper Lanterns")',
    "SongInfo::getTitle()",
    'XMLParser::encode("Quiet Harbour")',
    "SongInfo::getArtist()",
    'XMLParser::encode("Lowbeam")',
    "SongInfo::isSampler()",
]

BLOCK = b"""  <SongInfo>
    <Album>Paper Lanterns</Album>
    <Title>Quiet Harbour</Title>
    <Artist>Lowbeam</Artist>
    <Sampler>1</Sampler>
  </SongInfo>
"""

# The log of every song, whatever its values.
STDERR = b"sleevery.fcgi, received SongInfo\ndump of the stand-in\n"

_RECORD = (
    'SongInfo(title "Quiet Harbour", artist "Lowbeam", album "Paper Lanterns", '
    'url "http://covers.example/1.jpg", sampler'
)


def record(image=b""):
    """The song with the cover `image`, as the stand-in logs it as an argument."""
    return _RECORD + (f", image {quoted(image)}" if image else "") + ")"
