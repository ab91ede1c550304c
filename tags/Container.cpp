// SPDX-License-Identifier: MIT
#include "tags/Container.h"

#include "tags/Bytes.h"
#include "tags/Id3v2.h"
#include "util/Exception.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace tags {
namespace {

using namespace std::string_view_literals;

/** The length of the MPEG audio frame (layers 1 to 3) whose header is at `at`; 0 where there is none. */
std::size_t frameLength(const util::ByteReader& in, std::size_t at) {
    if (!in.has(at, 4)) return 0;
    const std::uint32_t header = in.bigEndian(at, 4);
    const std::uint32_t version = header >> 19U & 3U; // 3: 1, 2: 2, 0: 2.5
    const std::uint32_t layer = header >> 17U & 3U;   // 3: 1, 2: 2, 1: 3
    const std::uint32_t bitRate = header >> 12U & 15U;
    const std::uint32_t sampleRate = header >> 10U & 3U;
    if (header >> 21U != 0x7FF || version == 1 || layer == 0 || bitRate == 0 || bitRate == 15 ||
        sampleRate == 3)
        return 0;
    static constexpr std::array<std::array<std::uint16_t, 14>, 5> kilobits{{
        {32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
        {32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
        {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
        {32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
        {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
    }};
    static constexpr std::array<std::uint32_t, 3> rates{44100, 48000, 32000};
    const std::size_t row = version == 3 ? 3 - layer : (layer == 3 ? 3 : 4);
    const std::uint32_t bits = kilobits.at(row).at(bitRate - 1) * 1000U;
    const std::uint32_t rate = rates.at(sampleRate) >> (version == 3 ? 0U : version == 2 ? 1U : 2U);
    const std::uint32_t padding = header >> 9U & 1U;
    if (layer == 3) return (12 * bits / rate + padding) * std::size_t{4};
    const std::uint32_t slots = layer == 1 && version != 3 ? 72 : 144;
    return slots * bits / rate + padding;
}

/** Three frames in a row, or fewer up to the end of the file, don't come about by chance. */
bool framesAt(const util::ByteReader& in, std::size_t at, bool wholeFile) {
    constexpr int wanted = 3;
    for (int found = 0; found < wanted; ++found) {
        if (found > 0 && wholeFile &&
            (at == in.size() || in.matches(at, "TAG") || in.matches(at, "APETAGEX")))
            return true;
        const std::size_t length = frameLength(in, at);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

/** Sound may have silence or the rest of another tag before it. */
bool isMpegAudio(const SongFile& file, std::uint64_t at) {
    constexpr std::size_t searched = std::size_t{64} * 1024;
    const std::string bytes = file.readSome(at, searched);
    const util::ByteReader in = readerOf(bytes, "MP3 file");
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] == '\xFF' && framesAt(in, i, bytes.size() == file.size() - at)) return true;
    }
    return false;
}

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

/** Formats that begin with their own mark; some of them may have an ID3v2 tag before it. */
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
    std::uint64_t at = id3v2::lengthAt(file, 0);
    const auto marked = markedContainer(file.readSome(at, headSize), at != 0);
    if (marked) return *marked;
    // Some programs put a new tag before the old one. Players read the first.
    constexpr int maxOldTags = 8;
    for (int i = 0; i < maxOldTags; ++i)
        at += id3v2::lengthAt(file, at);
    if (at >= file.size()) throw util::Exception("The song file is truncated.");
    if (isMpegAudio(file, at)) return Container::Mp3;
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
    constexpr std::size_t hardStop =
        10'000'000; // stays below the 16 MB where FLAC and ID3v2.2 count in 24 bits
    constexpr std::size_t inBase64 = hardStop / 4 * 3;
    return &formatOf(container) == &oggFormat ? inBase64 : hardStop;
}

} // namespace tags
