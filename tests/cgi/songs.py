# SPDX-License-Identifier: MIT
"""The song that the tests' forms describe, and the calls that its record leads to."""

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

# Each record is logged like this, whatever is in it.
STDERR = b"sleevery.fcgi, received SongInfo\ndump of the stand-in\n"

_RECORD = (
    'SongInfo(title "Quiet Harbour", artist "Lowbeam", album "Paper Lanterns", '
    'url "http://covers.example/1.jpg", sampler'
)


def record(image=b""):
    """The song as the stand-in logs an argument, with the cover `image`."""
    return _RECORD + (f", image {quoted(image)}" if image else "") + ")"
