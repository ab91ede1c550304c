# SPDX-License-Identifier: MIT
"""A library of a few hundred tagged songs, most of them half a second long. Creating it takes a few seconds."""

import dataclasses
import itertools
import shutil
import subprocess

import mutagen

VARIOUS = "Various Artists"
SOUNDS = {"flac": [], "mp3": ["-c:a", "libmp3lame"], "ogg": ["-c:a", "libvorbis"], "m4a": ["-c:a", "aac"]}


@dataclasses.dataclass(frozen=True)
class Song:
    """`file` is the path below the music folder. `number` and `disc` are written as in the tag."""

    file: str
    title: str | None = None
    artist: str | None = None
    album: str | None = None
    album_artist: str | None = None
    number: str | None = None
    disc: str | None = None

    def tags(self):
        names = {"title": self.title, "artist": self.artist, "album": self.album, "albumartist": self.album_artist,
                 "tracknumber": self.number, "discnumber": self.disc}
        return {name: value for name, value in names.items() if value is not None}


def album(folder, artist, name, count, *, kind="flac", album_artist=None, artists=None, disc=None, number="{}"):
    """An album's songs in playing order. The order of the file names is different."""
    artists = itertools.cycle(artists or [artist])
    return [Song(f"{folder}/{chr(ord('z') - at)} {at}.{kind}", f"{name} {at}", next(artists), name, album_artist,
                 number.format(at), disc) for at in range(1, count + 1)]


def ordinary(count):
    """`count` albums of 8 to 20 songs, in all formats."""
    kinds = itertools.cycle(SOUNDS)
    for at in range(count):
        artist, name = f"Band {at % 7}", f"Ordinary Album {at}"
        yield from album(f"Ordinary/{artist}/{name}", artist, name, 8 + at * 5 % 13, kind=next(kinds), album_artist=artist)


TWENTY = album("Twenty", "The Scores", "Twenty Songs", 20, album_artist="The Scores")
TWO_DISCS = [song for disc, side in (("1/2", "Side B"), ("2/2", "Side A"))
             for song in album(f"Long Player/{side}", "The Pair", "Long Player", 5, kind="mp3", album_artist="The Pair", disc=disc, number="{}/5")]
SAMPLER = album("Samplers/Summer", None, "Summer Hits", 8, album_artist=VARIOUS, artists=["One", "Two", "Three", "Four"])
UNTAGGED_SAMPLER = album("Samplers/Mixtape", None, "Mixtape", 6, kind="ogg", artists=["Five", "Six", "Seven"])
FIRST_HITS = album("Hits/Anna", "Anna Berg", "Greatest Hits", 9, kind="m4a", album_artist="Anna Berg", number="{}/12")
SECOND_HITS = album("Hits/Carl", "Carl", "Greatest Hits", 8)
NUMBERLESS = [Song(f"Numberless/{name}.flac", f"Song {name}", "The Nameless", "Numberless") for name in "abc"]
PARTLY_NUMBERED = [*album("Partly", "The Nameless", "Partly", 2), Song("Partly/a.flac", "A", "The Nameless", "Partly")]
TITLELESS = [Song("Untitled/1.flac", None, "The Nameless", "Untitled", number="1")]
ARTISTLESS = [Song("Anonymous/1.mp3", "Who Is It", None, "Anonymous", number="1")]
ALBUMLESS = [Song("Single.flac", "A Single", "The Nameless"), Song("nothing at all.mp3")]
LONG = [Song("Long/1.flac", "Silence", "Nobody", "Ten Minutes", "Nobody", "1")]

# Artist and name of albums. The name is also the folder's name, except for slashes.
ODD_NAMES = [
    ("Bj\u00f6rk-\u00c4hnlich", "\u00dcber\u00adgr\u00f6\u00dfe \u00e6\u00f0"),
    ("\u6771\u4eac\u4e8b\u5909", "\u52dd\u8a34\u30b9\u30c8\u30ea\u30c3\u30d7"),
    ('The "Quoted"', 'Say "Hello" (\\"World\\")'),
    ("Back\\slash\\", "C:\\Music\\"),
    ("O'Apostrophe", "Don't 'Stop'"),
    ("<Tag> & Co.", "A <b>bold</b> & ]]> &amp; album"),
    ("Emoji \U0001f3b5", "\U0001f3b5\U0001f3b6"),
    ("Two\u00a0Blanks", "Blanks  inside"),
    ("!!!", "???"),
    ("Operators", "(Album == 'x') AND !"),
]


def odd(artist, name):
    return album(f"Odd/{name.replace('/', '_')}", artist, name, 3, album_artist=artist)


SPECIAL = [*TWENTY, *TWO_DISCS, *SAMPLER, *UNTAGGED_SAMPLER, *FIRST_HITS, *SECOND_HITS, *NUMBERLESS, *PARTLY_NUMBERED, *TITLELESS,
           *ARTISTLESS, *ALBUMLESS, *LONG, *(song for names in ODD_NAMES for song in odd(*names))]


def make(folder, songs):
    """Writes the songs below `folder`."""
    sounds = folder.parent / f"{folder.name}-sounds"
    sounds.mkdir(parents=True)
    for kind, options in SOUNDS.items():
        _silence(sounds / f"sound.{kind}", 0.5, options)
    _silence(sounds / "long.flac", 600, [])
    for song in songs:
        path = folder / song.file
        path.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(sounds / ("long.flac" if song in LONG else f"sound{path.suffix}"), path)
        if tags := song.tags():
            file = mutagen.File(path, easy=True)
            if file.tags is None:
                file.add_tags()
            file.update(tags)
            file.save()
    shutil.rmtree(sounds)


def _silence(path, seconds, options):
    source = f"anullsrc=sample_rate=44100:channel_layout=mono:duration={seconds}"
    subprocess.run(["ffmpeg", "-v", "error", "-bitexact", "-f", "lavfi", "-i", source, *options, path], check=True,
                   stdin=subprocess.DEVNULL)
