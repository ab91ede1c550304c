# SPDX-License-Identifier: MIT
"""Song files of every kind, and readers of their content through mutagen and ffmpeg."""

import base64
import dataclasses
import random
import shutil
import struct
import subprocess

from mutagen import aiff, apev2, asf, flac, id3, mp4, oggflac, oggopus, oggvorbis, wave
from pictures import png

MP3 = ["-c:a", "libmp3lame", "-id3v2_version", "0", "-write_xing", "0"]

# The extension and the options of ffmpeg; None if ffmpeg has no encoder.
RECIPES = {
    "mp3-v2.3": ("mp3", MP3),
    "mp3-v2.4": ("mp3", MP3),
    "flac": ("flac", ["-c:a", "flac"]),
    "vorbis": ("ogg", ["-c:a", "libvorbis"]),
    "opus": ("opus", ["-c:a", "libopus"]),
    "oggflac": ("oga", ["-c:a", "flac"]),
    "aac": ("m4a", ["-c:a", "aac"]),
    "alac": ("m4a", ["-c:a", "alac"]),
    "wma": ("wma", ["-c:a", "wmav2"]),
    "wav": ("wav", ["-c:a", "pcm_s16le"]),
    "aiff": ("aiff", ["-c:a", "pcm_s16be"]),
    "wavpack": ("wv", ["-c:a", "wavpack"]),
    "ape": ("ape", None),
    "musepack": ("mpc", None),
}
KINDS = list(RECIPES)

SINE = ["-f", "lavfi", "-i", "sine=frequency=440:duration=0.5"]
FRONT, BACK = 3, 4
OLD_FRONT, OLD_BACK = png((40, 40), seed=1000), png((30, 30), seed=2000)
NOTE, ARTIST, ALBUM = "caf\u00e9 \u266b", "The Testers", "Half Seconds"


def run(*command, **options):
    return subprocess.run(list(map(str, command)), stdin=None if "input" in options else subprocess.DEVNULL,
                          stdout=subprocess.PIPE, check=True, **options).stdout


def silent_ape(behind=b""):
    """A Monkey's Audio file with a second of silence. No package has an encoder, but the sound is only two words, and real decoders play
    it. They ignore the bytes `behind` it."""
    sound = struct.pack("<II24x", 0x80000000, 3) + behind
    descriptor = struct.pack("<4sHHIIIIIQ16x", b"MAC ", 3990, 0, 52, 24, 4, 0, len(sound), 0)
    header = struct.pack("<HHIIIHHI", 1000, 32, 73728, 44100, 1, 16, 2, 44100)
    return descriptor + header + struct.pack("<I", 52 + 24 + 4) + sound


class Workshop:
    """Creates each kind of song once, in `folder`, and returns copies."""

    def __init__(self, folder):
        self.folder = folder
        self.made = {}

    def copy(self, kind, folder, name=None, noise_bytes=None):
        """A tagged song of half a second. With `noise_bytes`, an untagged song of so many bytes of incompressible sound."""
        if (kind, noise_bytes) not in self.made:
            self.made[kind, noise_bytes] = self._make(kind, noise_bytes)
        song = folder / (name or f"{kind}.{RECIPES[kind][0]}")
        shutil.copyfile(self.made[kind, noise_bytes], song)
        return song

    def _make(self, kind, noise_bytes):
        extension, options = RECIPES[kind]
        song = self.folder / f"{kind}-{noise_bytes}.{extension}"
        pcm = random.Random(kind).randbytes(noise_bytes or 0)
        source = ["-f", "s16le", "-ar", "44100", "-ac", "2", "-i", "-"] if pcm else SINE
        if kind == "ape":
            song.write_bytes(silent_ape(pcm))
        elif kind == "musepack":
            encode(source, ["-ar", "44100"], self.folder / "sound.wav", pcm)
            run("mpcenc", "--silent", self.folder / "sound.wav", song)
        else:
            encode(source, options, song, pcm)
        if not pcm:
            add_tags(song, kind)
        return song


def encode(source, options, song, pcm=b""):
    run("ffmpeg", "-v", "error", "-y", "-bitexact", *source, "-ac", "2", *options, song, input=pcm)


def add_tags(song, kind):
    """Adds texts, a front cover, a back cover, and data of an unknown program."""
    if kind.startswith("mp3"):
        tags = id3.ID3()
        add_id3_frames(tags, 3 if kind == "mp3-v2.3" else 4)
        tags.save(song, v1=0, v2_version=3 if kind == "mp3-v2.3" else 4)
    elif kind in ("wav", "aiff"):
        file = (wave.WAVE if kind == "wav" else aiff.AIFF)(song)
        file.add_tags()
        add_id3_frames(file.tags, 3)
        file.save(v2_version=3)
    elif kind in ("flac", "vorbis", "opus", "oggflac"):
        add_xiph_comment(song, kind)
    elif kind in ("aac", "alac"):
        file = mp4.MP4(song)
        file["\xa9nam"], file["\xa9ART"], file["\xa9alb"], file["trkn"] = NOTE, ARTIST, ALBUM, [(3, 9)]
        file["----:com.example:ODD"] = mp4.MP4FreeForm(b"\xff\x00odd")
        file["covr"] = [mp4.MP4Cover(picture, mp4.MP4Cover.FORMAT_PNG) for picture in (OLD_FRONT, OLD_BACK)]
        file.save()
    elif kind == "wma":
        file = asf.ASF(song)
        file["Title"], file["Author"], file["WM/AlbumTitle"], file["Odd/Number"] = NOTE, ARTIST, ALBUM, asf.ASFDWordAttribute(17)
        file["WM/Picture"] = [asf.ASFByteArrayAttribute(
            struct.pack("<BI", type_, len(picture)) + "image/png\0\0".encode("utf-16-le") + picture)
            for type_, picture in ((BACK, OLD_BACK), (FRONT, OLD_FRONT))]
        file.save()
    else:
        tags = apev2.APEv2()
        tags["Title"], tags["Artist"], tags["Album"], tags["Track"] = NOTE, ARTIST, ALBUM, "3"
        tags["Cover Art (Front)"] = apev2.APEValue(b"front.png\0" + OLD_FRONT, apev2.BINARY)
        tags["Cover Art (Back)"] = apev2.APEValue(b"back.png\0" + OLD_BACK, apev2.BINARY)
        tags["Odd"] = apev2.APEValue(b"\0\xff\1", apev2.BINARY)
        tags.save(song)


def add_id3_frames(tags, version):
    """Adds ID3 frames. Version 2.3 has no UTF-8."""
    encoding = id3.Encoding.UTF16 if version == 3 else id3.Encoding.UTF8
    year = id3.TYER(encoding=encoding, text="1999") if version == 3 else id3.TDRC(encoding=encoding, text="1999-12-31")
    for frame in (id3.TIT2(encoding=encoding, text=NOTE), id3.TPE1(encoding=encoding, text=ARTIST),
                  id3.TALB(encoding=encoding, text=ALBUM), id3.TRCK(encoding=encoding, text="3/9"), year,
                  id3.COMM(encoding=encoding, lang="deu", desc="why", text=NOTE), id3.PRIV(owner="tests", data=b"\xff\x00\xff\xe0"),
                  id3.APIC(encoding=encoding, mime="image/png", type=BACK, desc="the b\u00e4ck", data=OLD_BACK),
                  id3.APIC(encoding=encoding, mime="image/png", type=FRONT, desc="one", data=OLD_FRONT)):
        tags.add(frame)


def add_xiph_comment(song, kind):
    def picture(type_, data):
        made = flac.Picture()
        made.type, made.mime, made.data, made.desc = type_, "image/png", data, NOTE
        return made

    file = {"flac": flac.FLAC, "vorbis": oggvorbis.OggVorbis, "opus": oggopus.OggOpus, "oggflac": oggflac.OggFLAC}[kind](song)
    file.update({"title": NOTE, "artist": ARTIST, "album": ALBUM, "tracknumber": "3", "x-odd": ["one", "two"]})
    pictures = [picture(BACK, OLD_BACK), picture(FRONT, OLD_FRONT)]
    if kind == "flac":
        for one in pictures:
            file.add_picture(one)
    else:
        file["metadata_block_picture"] = [base64.b64encode(one.write()).decode() for one in pictures]
    file.save()


@dataclasses.dataclass
class Seen:
    """The content of a song file as other programs read it. `others` are all pictures except the front cover; `tags` is everything else."""

    fronts: list
    others: list
    tags: list
    shown: bytes  # the first picture that ffmpeg finds
    texts: bytes  # from ffprobe
    sound: bytes  # MD5 of the decoded sound

    def but_for_the_front(self):
        return {"others": self.others, "tags": self.tags, "texts": self.texts, "sound": self.sound}


def look(song, kind):
    fronts, others, tags = READERS[kind](song)
    if kind == "wma":  # ffmpeg does not find WMA pictures over 64 KB
        shown = fronts[0] if fronts else None
    else:
        shown = run("ffmpeg", "-v", "error", "-i", song, "-map", "0:v:0?", "-c", "copy", "-f", "image2pipe", "-")
    texts = run("ffprobe", "-v", "error", "-select_streams", "a", "-show_entries", "format_tags:stream_tags",
                "-of", "default=noprint_wrappers=1", song)
    return Seen(fronts, others, tags, shown, texts, sound_of(song))


def sound_of(song):
    return run("ffmpeg", "-v", "error", "-i", song, "-map", "0:a", "-f", "md5", "-")


def by_type(pictures):
    """`pictures` are triples: the type, the bytes and any other data."""
    return [data for type_, data, _ in pictures if type_ == FRONT], [one for one in pictures if one[0] != FRONT]


def id3_seen(tags):
    frames = list(tags.values())
    pictures = [(frame.type, frame.data, (frame.mime, frame.desc)) for frame in frames if frame.FrameID == "APIC"]
    rest = sorted(repr(frame) for frame in frames if frame.FrameID != "APIC")
    return *by_type(pictures), [tags.version, tags.unknown_frames, *rest]


def flac_pictures(pictures):
    return by_type([(int(one.type), one.data, (one.mime, one.desc)) for one in pictures])


def flac_seen(song):
    file = flac.FLAC(song)
    blocks = [(block.code, block.write()) for block in file.metadata_blocks if block.code not in (1, 4, 6)]
    return *flac_pictures(file.pictures), [file.tags.vendor, *file.tags, *blocks]


def ogg_seen(file):
    pictures = [flac.Picture(base64.b64decode(value)) for value in file.tags.get("metadata_block_picture", [])]
    return *flac_pictures(pictures), [file.tags.vendor, *(pair for pair in file.tags if pair[0].lower() != "metadata_block_picture")]


def mp4_seen(song):
    tags = mp4.MP4(song).tags or {}
    covers = tags.get("covr", [])
    return list(map(bytes, covers[:1])), list(covers[1:]), sorted(pair for pair in tags.items() if pair[0] != "covr")


def asf_seen(song):
    tags = asf.ASF(song).tags
    pictures = []
    for value in (attribute.value for attribute in tags.get("WM/Picture", [])):
        size = struct.unpack_from("<I", value, 1)[0]
        pictures.append((value[0], value[len(value) - size:], value[5:-size]))
    return *by_type(pictures), sorted((name, repr(value)) for name, value in tags if name != "WM/Picture")


def ape_seen(song):
    tags = apev2.APEv2(song)
    front = tags.get("Cover Art (Front)")
    return ([front.value.split(b"\0", 1)[1]] if front else [], [tags["Cover Art (Back)"].value] if "Cover Art (Back)" in tags else [],
            sorted((key, value.kind, value.value) for key, value in tags.items() if not key.startswith("Cover Art")))


READERS = {
    **{kind: lambda song: id3_seen(id3.ID3(song, translate=False)) for kind in ("mp3-v2.3", "mp3-v2.4")},
    "wav": lambda song: id3_seen(wave.WAVE(song).tags),
    "aiff": lambda song: id3_seen(aiff.AIFF(song).tags),
    "flac": flac_seen,
    "vorbis": lambda song: ogg_seen(oggvorbis.OggVorbis(song)),
    "opus": lambda song: ogg_seen(oggopus.OggOpus(song)),
    "oggflac": lambda song: ogg_seen(oggflac.OggFLAC(song)),
    **{kind: mp4_seen for kind in ("aac", "alac")},
    "wma": asf_seen,
    **{kind: ape_seen for kind in ("wavpack", "ape", "musepack")},
}
