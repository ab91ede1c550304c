// SPDX-License-Identifier: MIT
#include "tags/Container.h"

#include "tags/Bytes.h"
#include "tags/Id3v2.h"
#include "tags/MpegAudio.h"
#include "util/Exception.h"

#include <optional>
#include <string>
#include <string_view>

namespace tags {
namespace {

using namespace std::string_view_literals;

std::optional<Container> oggContainer(const std::string& page) {
    constexpr std::size_t segmentsAt = 26;
    if (page.size() <= segmentsAt) return std::nullopt;
    const std::size_t packetAt = segmentsAt + 1 + static_cast<unsigned char>(page[segmentsAt]);
    const util::ByteReader in = readerOf(page, "Ogg file");
    if (in.matches(packetAt, "\x01vorbis")) return Container::OggVorbis;
    if (in.matches(packetAt, "OpusHead")) return Container::OggOpus;
    if (in.matches(packetAt, "Speex   ")) return Container::OggSpeex;
    if (in.matches(packetAt, "\x7F"
                             "FLAC"))
        return Container::OggFlac;
    return std::nullopt;
}

/**
 * Formats that begin with a mark of their own. `afterTag`: only those that may have an ID3v2 tag before it.
 */
std::optional<Container> markedContainer(const std::string& head, bool afterTag) {
    const util::ByteReader in = readerOf(head, "song file");
    if (in.matches(0, "fLaC")) return Container::Flac;
    if (in.matches(0, "MAC ")) return Container::Ape;
    if (in.matches(0, "MPCK") || in.matches(0, "MP+")) return Container::Musepack;
    if (in.matches(0, "wvpk")) return Container::WavPack;
    if (afterTag) return std::nullopt;
    if (in.matches(0, "RIFF") && in.matches(8, "WAVE")) return Container::Wav;
    if (in.matches(0, "FORM") && (in.matches(8, "AIFF") || in.matches(8, "AIFC"))) return Container::Aiff;
    if (in.matches(0, "OggS")) return oggContainer(head);
    if (in.matches(4, "ftyp")) return Container::Mp4;
    if (in.matches(0, "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"sv))
        return Container::Asf;
    return std::nullopt;
}

} // namespace

Container containerOf(const SongFile& file) {
    constexpr std::size_t headSize = 512;
    const std::uint64_t tag = id3v2::lengthAt(file, 0);
    const auto marked = markedContainer(file.readSome(tag, headSize), tag != 0);
    if (marked) return *marked;
    const std::uint64_t at = id3v2::endOfTags(file);
    if (at >= file.size()) throw util::Exception("The song file is truncated.");
    if (mpeg::isSoundAt(file, at)) return Container::Mp3;
    throw util::Exception("This is not a song file of a kind that can carry a cover.");
}

const Format& formatOf(Container container) noexcept {
    switch (container) {
    case Container::Mp3:
        return mp3Format;
    case Container::Wav:
        return wavFormat;
    case Container::Aiff:
        return aiffFormat;
    case Container::Flac:
        return flacFormat;
    case Container::OggVorbis:
    case Container::OggOpus:
    case Container::OggSpeex:
    case Container::OggFlac:
        return oggFormat;
    case Container::Mp4:
        return mp4Format;
    case Container::Asf:
        return asfFormat;
    case Container::Ape:
    case Container::Musepack:
    case Container::WavPack:
        break;
    }
    return apeFormat;
}

std::size_t maxPictureBytes(Container container) noexcept {
    constexpr std::size_t hardStop = 10'000'000; // below the 16 MB limit of 24-bit sizes in FLAC and ID3v2.2
    constexpr std::size_t inBase64 = hardStop / 4 * 3;
    return &formatOf(container) == &oggFormat ? inBase64 : hardStop;
}

} // namespace tags
