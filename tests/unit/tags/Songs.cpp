// SPDX-License-Identifier: MIT
#include "tests/unit/tags/Songs.h"

#include "tags/Bytes.h"
#include "tests/unit/tags/Programs.h"

#include <taglib/aifffile.h>
#include <taglib/apefile.h>
#include <taglib/apetag.h>
#include <taglib/asffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpcfile.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/privateframe.h>
#include <taglib/speexfile.h>
#include <taglib/tpropertymap.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/wavpackfile.h>
#include <taglib/xiphcomment.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace tests {
namespace {

using Words = std::vector<std::string>;

struct Recipe {
    std::string extension;
    Words options; // for ffmpeg
};

const std::map<std::string, Recipe>& recipes() {
    static const std::map<std::string, Recipe> all{
        {"mp3", {"mp3", {"-c:a", "libmp3lame", "-id3v2_version", "0", "-write_xing", "0"}}},
        {"flac", {"flac", {"-c:a", "flac"}}},
        {"vorbis", {"ogg", {"-c:a", "libvorbis"}}},
        {"opus", {"opus", {"-c:a", "libopus"}}},
        {"speex", {"spx", {"-c:a", "libspeex", "-ar", "32000"}}},
        {"oggflac", {"oga", {"-c:a", "flac"}}},
        {"aac", {"m4a", {"-c:a", "aac"}}},
        {"alac", {"m4a", {"-c:a", "alac"}}},
        {"faststart", {"m4a", {"-c:a", "aac", "-movflags", "+faststart"}}},
        {"wma", {"wma", {"-c:a", "wmav2"}}},
        {"wav", {"wav", {"-c:a", "pcm_s16le"}}},
        {"aiff", {"aiff", {"-c:a", "pcm_s16be"}}},
        {"wavpack", {"wv", {"-c:a", "wavpack"}}},
        {"ape", {"ape", {}}},
        {"musepack", {"mpc", {}}},
    };
    return all;
}

/**
 * Built by hand, because no encoder is packaged. A second of silence is only two words, and a real decoder
 * can play it.
 */
std::string silentApe() {
    using tags::littleEndian;
    constexpr std::size_t descriptorSize = 52;
    constexpr std::size_t headerSize = 24;
    constexpr std::size_t seekTableSize = 4;
    const std::string sound = littleEndian(0x80000000, 4) + littleEndian(3, 4) + std::string(24, '\0');
    const std::string descriptor = "MAC " + littleEndian(3990, 2) + littleEndian(0, 2) +
                                   littleEndian(descriptorSize, 4) + littleEndian(headerSize, 4) +
                                   littleEndian(seekTableSize, 4) + littleEndian(0, 4) +
                                   littleEndian(sound.size(), 4) + littleEndian(0, 8) + std::string(16, '\0');
    const std::string header = littleEndian(1000, 2) + littleEndian(32, 2) + littleEndian(73728, 4) +
                               littleEndian(44100, 4) + littleEndian(1, 4) + littleEndian(16, 2) +
                               littleEndian(2, 2) + littleEndian(44100, 4);
    return descriptor + header + littleEndian(descriptorSize + headerSize + seekTableSize, 4) + sound;
}

void encode(const Words& options, const std::filesystem::path& to) {
    Words words{"ffmpeg", "-v", "error", "-bitexact", "-f", "lavfi", "-i", "sine=frequency=440:duration=0.5",
                "-ac",    "2"};
    words.insert(words.end(), options.begin(), options.end());
    words.push_back(to.string());
    run(words);
}

TagLib::ByteVector vectorOf(const std::string& bytes) {
    return {bytes.data(), static_cast<unsigned int>(bytes.size())};
}

const TagLib::String note = TagLib::String("caf\xC3\xA9 \xE2\x99\xAB", TagLib::String::UTF8);

void setTexts(TagLib::File& file) {
    TagLib::PropertyMap texts = file.properties();
    texts.replace("TITLE", note);
    texts.replace("ARTIST", TagLib::String("The Testers"));
    texts.replace("ALBUM", TagLib::String("Half Seconds"));
    texts.replace("TRACKNUMBER", TagLib::String("3"));
    texts.replace("DATE", TagLib::String("1999"));
    file.setProperties(texts);
}

void add(TagLib::ID3v2::Tag* tag, const TagPictures& pictures) {
    using Picture = TagLib::ID3v2::AttachedPictureFrame;
    const auto addPicture = [&](Picture::Type type, const std::string& bytes, const char* description) {
        auto frame = std::make_unique<Picture>();
        frame->setType(type);
        frame->setMimeType(pictures.mime);
        frame->setDescription(description);
        frame->setPicture(vectorOf(bytes));
        tag->addFrame(frame.release()); // the tag owns it
    };
    addPicture(Picture::BackCover, pictures.back, "the back");
    addPicture(Picture::FrontCover, pictures.front, "one");
    addPicture(Picture::FrontCover, pictures.front, "two");
    auto data = std::make_unique<TagLib::ID3v2::PrivateFrame>();
    data->setOwner("tests");
    data->setData(vectorOf(std::string("\xFF\x00\xFF\xE0", 4)));
    tag->addFrame(data.release());
}

std::unique_ptr<TagLib::FLAC::Picture> flacPicture(TagLib::FLAC::Picture::Type type, const std::string& bytes,
                                                   const std::string& mime) {
    auto picture = std::make_unique<TagLib::FLAC::Picture>();
    picture->setType(type);
    picture->setMimeType(mime);
    picture->setData(vectorOf(bytes));
    return picture;
}

/** FLAC and all kinds of Ogg have the same functions in TagLib. */
template <typename Target>
void addFlacPictures(Target& target, const TagPictures& pictures) {
    using Picture = TagLib::FLAC::Picture;
    target.addPicture(flacPicture(Picture::BackCover, pictures.back, pictures.mime).release());
    target.addPicture(flacPicture(Picture::FrontCover, pictures.front, pictures.mime).release());
    target.addPicture(flacPicture(Picture::FrontCover, pictures.front, pictures.mime).release());
}

void add(TagLib::Ogg::XiphComment* tag, const TagPictures& pictures) {
    tag->addField("X-ODD", "one");
    tag->addField("X-ODD", "two", false);
    addFlacPictures(*tag, pictures);
}

void add(TagLib::MP4::Tag* tag, const TagPictures& pictures) {
    using TagLib::MP4::CoverArt;
    TagLib::MP4::CoverArtList covers;
    covers.append(CoverArt(CoverArt::PNG, vectorOf(pictures.front)));
    covers.append(CoverArt(CoverArt::PNG, vectorOf(pictures.back)));
    tag->setItem("covr", covers);
    tag->setItem("----:com.example:ODD", TagLib::StringList(note));
}

void add(TagLib::ASF::Tag* tag, const TagPictures& pictures) {
    const auto addPicture = [&](TagLib::ASF::Picture::Type type, const std::string& bytes) {
        TagLib::ASF::Picture picture;
        picture.setType(type);
        picture.setMimeType(pictures.mime);
        picture.setPicture(vectorOf(bytes));
        tag->addAttribute("WM/Picture", picture);
    };
    addPicture(TagLib::ASF::Picture::BackCover, pictures.back);
    addPicture(TagLib::ASF::Picture::FrontCover, pictures.front);
    tag->setAttribute("Odd/Number", 17U);
    tag->setAttribute("Odd/Truth", true);
}

void add(TagLib::APE::Tag* tag, const TagPictures& pictures) {
    const auto addItem = [&](const char* key, const std::string& bytes) {
        TagLib::APE::Item item;
        item.setKey(key);
        item.setType(TagLib::APE::Item::Binary);
        item.setBinaryData(vectorOf(bytes));
        tag->setItem(key, item);
    };
    addItem("Cover Art (Front)", std::string("front.png\0", 10) + pictures.front);
    addItem("Cover Art (Back)", std::string("back.png\0", 9) + pictures.back);
    addItem("Odd", std::string("\0\xFF\x01", 3));
}

/**
 * Uses mutagen, because TagLib writes Ogg FLAC files that it can't read again: it loses the mark on the last
 * header.
 */
void addToOggFlac(const std::filesystem::path& song, const TagPictures& pictures) {
    const std::filesystem::path front = song.parent_path() / "front.png";
    const std::filesystem::path back = song.parent_path() / "back.png";
    writeFile(front, pictures.front);
    writeFile(back, pictures.back);
    run({"/usr/bin/python3", "-c", R"(
import base64, sys
from mutagen.flac import Picture
from mutagen.oggflac import OggFLAC
def picture(kind, file):
    made = Picture()
    made.type, made.mime, made.data = kind, "image/png", open(file, "rb").read()
    return base64.b64encode(made.write()).decode()
song, front, back = sys.argv[1:]
tags = OggFLAC(song)
tags.update(title="caf\u00e9 \u266b", artist="The Testers", album="Half Seconds", x_odd=["one", "two"])
tags["metadata_block_picture"] = [picture(4, back), picture(3, front), picture(3, front)]
tags.save()
)",
         song.string(), front.string(), back.string()});
}

/**
 * The pictures of a WMA file, front covers first. Uses mutagen, because ffmpeg doesn't find pictures above 64
 * KB.
 */
std::vector<std::string> wmaPictures(const std::filesystem::path& song) {
    const std::string lines = run({"/usr/bin/python3", "-c", R"(
import sys
from mutagen.asf import ASF
for value in sorted((a.value for a in ASF(sys.argv[1]).get("WM/Picture", [])), key=lambda value: value[0] != 3):
    print(value[-int.from_bytes(value[1:5], "little"):].hex())
)",
                                   song.string()});
    std::vector<std::string> pictures;
    std::istringstream in(lines);
    for (std::string line; std::getline(in, line);) {
        std::string bytes;
        for (std::size_t i = 0; i + 1 < line.size(); i += 2)
            bytes.push_back(static_cast<char>(std::stoi(line.substr(i, 2), nullptr, 16)));
        pictures.push_back(bytes);
    }
    return pictures;
}

/** Opens the song with TagLib, sets its texts, calls `addTo`, and saves. */
template <typename File, typename Add>
void edit(const std::filesystem::path& song, Add addTo) {
    File file(song.c_str());
    setTexts(file);
    if (!addTo(file)) throw std::runtime_error("no tags in " + song.string());
}

} // namespace

std::vector<std::string> songKinds() {
    std::vector<std::string> kinds;
    for (const auto& [kind, recipe] : recipes())
        kinds.push_back(kind);
    return kinds;
}

std::filesystem::path makeSong(const std::string& kind, const std::filesystem::path& folder) {
    const Recipe& recipe = recipes().at(kind);
    std::filesystem::path song = folder / (kind + "." + recipe.extension);
    if (kind == "ape") {
        writeFile(song, silentApe());
    } else if (kind == "musepack") {
        const std::filesystem::path sound = folder / "sound.wav";
        encode({"-ar", "44100"}, sound);
        run({"mpcenc", "--silent", sound.string(), song.string()});
        std::filesystem::remove(sound);
    } else {
        encode(recipe.options, song);
    }
    return song;
}

void addTags(const std::filesystem::path& song, const std::string& kind, const TagPictures& pictures,
             int id3v2Version) {
    using namespace TagLib;
    const auto version = id3v2Version == 3 ? ID3v2::v3 : ID3v2::v4;
    const auto plain = [&](auto& file) { return add(file.tag(), pictures), file.save(); };
    const auto ape = [&](auto& file) { return add(file.APETag(true), pictures), file.save(); };
    if (kind == "mp3") {
        edit<MPEG::File>(song, [&](MPEG::File& file) {
            add(file.ID3v2Tag(true), pictures);
            return file.save(MPEG::File::ID3v2, File::StripNone, version, File::DoNotDuplicate);
        });
    } else if (kind == "wav") {
        edit<RIFF::WAV::File>(song, [&](RIFF::WAV::File& file) {
            add(file.ID3v2Tag(), pictures);
            return file.save(RIFF::WAV::File::AllTags, File::StripNone, version);
        });
    } else if (kind == "aiff") {
        edit<RIFF::AIFF::File>(song, [&](RIFF::AIFF::File& file) {
            add(file.tag(), pictures);
            return file.save(version);
        });
    } else if (kind == "flac") {
        edit<FLAC::File>(song,
                         [&](FLAC::File& file) { return addFlacPictures(file, pictures), file.save(); });
    } else if (kind == "vorbis") {
        edit<Ogg::Vorbis::File>(song, plain);
    } else if (kind == "opus") {
        edit<Ogg::Opus::File>(song, plain);
    } else if (kind == "speex") {
        edit<Ogg::Speex::File>(song, plain);
    } else if (kind == "oggflac") {
        addToOggFlac(song, pictures);
    } else if (kind == "aac" || kind == "alac" || kind == "faststart") {
        edit<MP4::File>(song, plain);
    } else if (kind == "wma") {
        edit<ASF::File>(song, plain);
    } else if (kind == "ape") {
        edit<APE::File>(song, ape);
    } else if (kind == "musepack") {
        edit<MPC::File>(song, ape);
    } else if (kind == "wavpack") {
        edit<WavPack::File>(song, ape);
    } else {
        throw std::runtime_error("no such kind of song: " + kind);
    }
}

std::string soundOf(const std::filesystem::path& song) {
    return run({"ffmpeg", "-v", "error", "-i", song.string(), "-map", "0:a", "-f", "md5", "-"});
}

std::string textsOf(const std::filesystem::path& song) {
    return run({"ffprobe", "-v", "error", "-select_streams", "a", "-show_entries", "format_tags:stream_tags",
                "-of", "default=noprint_wrappers=1", song.string()});
}

std::string firstPictureOf(const std::filesystem::path& song) {
    if (song.extension() == ".wma") return wmaPictures(song).at(0);
    return run({"ffmpeg", "-v", "error", "-i", song.string(), "-map", "0:v:0", "-c", "copy", "-f",
                "image2pipe", "-"});
}

std::size_t pictureCountOf(const std::filesystem::path& song) {
    if (song.extension() == ".wma") return wmaPictures(song).size();
    const std::string streams = run({"ffprobe", "-v", "error", "-select_streams", "v", "-show_entries",
                                     "stream=index", "-of", "csv=p=0", song.string()});
    return static_cast<std::size_t>(std::ranges::count(streams, '\n'));
}

std::string fileBytes(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void writeFile(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    if (!file.flush()) throw std::runtime_error("can't write " + path.string());
}

} // namespace tests
