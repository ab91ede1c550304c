// SPDX-License-Identifier: MIT
#include "tags/MpegAudio.h"

#include "tags/Bytes.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace tags::mpeg {
namespace {

constexpr std::string_view subject = "MP3 file";
constexpr std::size_t headerSize = 4;
constexpr std::size_t searched = std::size_t{64} * 1024;
constexpr int enough = 3; // frames in a row

/** The header bits that all frames of a stream share: version, layer and sample rate. */
constexpr std::uint32_t common = 0xFFFE0C00;

/** The length in bytes of the frame with its header at `at`; 0 if there is none. */
std::size_t frameLength(const util::ByteReader& in, std::size_t at) {
    if (!in.has(at, headerSize)) return 0;
    const std::uint32_t header = in.bigEndian(at, headerSize);
    const std::uint32_t version = header >> 19U & 3U; // 3 means 1, 2 means 2, 0 means 2.5
    const std::uint32_t layer = header >> 17U & 3U;   // 3 means 1, 2 means 2, 1 means 3
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

/** Whether several frames follow one another at `begin`. Fewer are enough at the end of the file. */
bool framesAt(const util::ByteReader& in, std::size_t begin, bool wholeFile) {
    std::size_t at = begin;
    for (int found = 0; found < enough; ++found) {
        const bool cutOff = begin == 0 && !in.has(at, headerSize);
        if (found > 0 && wholeFile &&
            (cutOff || at == in.size() || in.matches(at, "TAG") || in.matches(at, "APETAGEX")))
            return true;
        const std::size_t length = frameLength(in, at);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

/** Skips silence or the rest of another tag before the sound. */
std::optional<std::uint64_t> firstFrame(const SongFile& file, std::uint64_t at) {
    const std::string bytes = file.readSome(at, searched);
    const util::ByteReader in = readerOf(bytes, subject);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] == '\xFF' && framesAt(in, i, bytes.size() == file.size() - at)) return at + i;
    }
    return std::nullopt;
}

/**
 * The length of the sound in bytes, as stored in the first frame and including that frame; 0 if it isn't
 * stored.
 */
std::uint32_t notedLength(const util::ByteReader& in) {
    const std::uint32_t header = in.bigEndian(0, headerSize);
    if ((header >> 17U & 3U) != 1) return 0; // only layer 3 stores it
    const bool mono = (header >> 6U & 3U) == 3;
    const bool version1 = (header >> 19U & 3U) == 3;
    const std::size_t xingAt = headerSize + (version1 ? (mono ? 17U : 32U) : (mono ? 9U : 17U));
    if (in.matches(xingAt, "Xing") || in.matches(xingAt, "Info")) {
        const std::uint32_t flags = in.bigEndian(xingAt + 4, 4);
        const std::size_t lengthAt = xingAt + ((flags & 1U) != 0 ? 12 : 8); // after the number of frames
        return (flags & 2U) != 0 ? in.bigEndian(lengthAt, 4) : 0;
    }
    constexpr std::size_t vbriAt = headerSize + 32;
    return in.matches(vbriAt, "VBRI") ? in.bigEndian(vbriAt + 10, 4) : 0;
}

/** Encoders may count one frame too many or too few. A file that is only one frame short may be whole. */
void checkLength(const SongFile& file, std::uint64_t first) {
    constexpr std::uint64_t longestFrame = 1729;
    constexpr std::size_t head = 64;
    const std::string bytes = file.readSome(first, head);
    const util::ByteReader in = readerOf(bytes, subject);
    if (notedLength(in) > file.size() - first + longestFrame) in.truncated();
}

struct Chain {
    int frames = 0;
    std::size_t end = 0;
};

/** The frames of one stream, beginning at `at`. */
Chain chainAt(const util::ByteReader& in, std::size_t at) {
    Chain chain{.frames = 0, .end = at};
    for (std::size_t length = frameLength(in, at); length != 0; length = frameLength(in, chain.end)) {
        if (((in.bigEndian(chain.end, headerSize) ^ in.bigEndian(at, headerSize)) & common) != 0) break;
        chain.end += length;
        ++chain.frames;
    }
    return chain;
}

void checkLastFrame(const SongFile& file, std::uint64_t first) {
    const std::uint64_t begin = std::max(first, file.size() - std::min<std::uint64_t>(file.size(), searched));
    const std::string bytes = file.readSome(begin, searched);
    const util::ByteReader in = readerOf(bytes, subject);
    for (std::size_t at = 0; at < bytes.size();) {
        const Chain chain = chainAt(in, at);
        const bool sure = chain.frames >= enough || (chain.frames > 0 && begin + at == first);
        if (sure && chain.end > bytes.size()) in.truncated();
        at = sure ? chain.end : at + 1;
    }
}

} // namespace

bool isSoundAt(const SongFile& file, std::uint64_t at) { return firstFrame(file, at).has_value(); }

void checkWhole(const SongFile& file, std::uint64_t at) {
    const std::optional<std::uint64_t> first = firstFrame(file, at);
    if (!first) return;
    checkLength(file, *first);
    checkLastFrame(file, *first);
}

} // namespace tags::mpeg
