// SPDX-License-Identifier: MIT
#include "tags/FlacFrames.h"

#include "tags/Bytes.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

namespace tags::flac {
namespace {

constexpr std::string_view subject = "FLAC file";
constexpr std::size_t footerSize = 2;

/** The facts about all frames in STREAMINFO; 0 if unknown. */
struct Stream {
    std::uint32_t blockSize = 0; // of every frame but the last, if all have the same
    bool countsFrames = false;   // false: all frames count samples, though old encoders don't mark them
    std::uint32_t smallestFrame = 0;
    std::uint32_t largestFrame = 0;
    std::uint32_t channels = 0;
    std::uint32_t bitsPerSample = 0;
    std::uint64_t samples = 0;
};

Stream streamFrom(std::string_view info) {
    const util::ByteReader in = readerOf(info, subject);
    constexpr std::size_t size = 34;
    if (!in.has(0, size)) in.damaged();
    const std::uint32_t format = in.bigEndian(12, 2); // from the last bits of the sample rate on
    return {.blockSize = in.bigEndian(2, 2),
            .countsFrames = in.bigEndian(0, 2) == in.bigEndian(2, 2),
            .smallestFrame = in.bigEndian(4, 3),
            .largestFrame = in.bigEndian(7, 3),
            .channels = (format >> 9U & 7U) + 1,
            .bitsPerSample = (format >> 4U & 31U) + 1,
            .samples = std::uint64_t{format & 15U} << 32U | in.bigEndian(14, 4)};
}

struct Frame {
    std::size_t at = 0;
    std::size_t soundAt = 0; // after the frame's header
    std::uint64_t end = 0;   // number of the first sample after the frame
};

bool isChecksum(const util::ByteReader& in, std::size_t at, std::size_t length) {
    std::uint32_t sum = 0;
    for (std::size_t i = at; i < at + length; ++i) {
        sum ^= in.byte(i);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum << 1U ^ ((sum & 0x80U) != 0 ? 0x07U : 0U)) & 0xFFU;
    }
    return in.byte(at + length) == sum;
}

/**
 * Whether a frame header has the stream's channels and sample size. Bytes that only look like a header rarely
 * do.
 */
bool fits(const Stream& stream, std::uint32_t format) {
    static constexpr std::array<std::uint32_t, 8> sampleSizes{0, 8, 12, 0, 16, 20, 24, 32};
    const std::uint32_t channels = format >> 4U;
    const std::uint32_t sampleSize = format >> 1U & 7U;
    if (channels > 10 || sampleSize == 3 || (format & 1U) != 0) return false;
    return (channels < 8 ? channels + 1 : 2) == stream.channels &&
           (sampleSize == 0 || sampleSizes.at(sampleSize) == stream.bitsPerSample);
}

struct Number {
    std::uint64_t value = 0;
    std::size_t length = 0;
};

/** A number coded like a character in UTF-8, but with up to 36 bits. */
std::optional<Number> numberAt(const util::ByteReader& in, std::size_t at) {
    std::uint32_t first = in.byte(at);
    std::size_t length = 0;
    for (; (first & 0x80U) != 0; first = first << 1U & 0xFFU)
        ++length;
    if (length == 0) return Number{.value = first, .length = 1};
    constexpr std::size_t longest = 7;
    if (length == 1 || length > longest) return std::nullopt;
    Number number{.value = first >> length, .length = length};
    for (std::size_t i = 1; i < length; ++i) {
        const std::uint32_t next = in.byte(at + i);
        if (next >> 6U != 2) return std::nullopt;
        number.value = number.value << 6U | (next & 0x3FU);
    }
    return number;
}

/**
 * The block size for a code. Some codes mean that the size is stored at `behind`, after the frame's number.
 */
std::uint32_t blockSizeOf(std::uint32_t code, const util::ByteReader& in, std::size_t behind) {
    if (code == 1) return 192;
    if (code < 6) return 576U << (code - 2);
    if (code < 8) return in.bigEndian(behind, code - 5) + 1;
    return 256U << (code - 8);
}

/** @param in must contain enough bytes after `at` for the longest header */
std::optional<Frame> frameAt(const util::ByteReader& in, std::size_t at, const Stream& stream) {
    const std::uint32_t codes = in.byte(at + 2);
    const std::uint32_t blockCode = codes >> 4U;
    const std::uint32_t rateCode = codes & 15U;
    if (in.bigEndian(at, 2) >> 1U != 0x7FFC || blockCode == 0 || rateCode == 15 ||
        !fits(stream, in.byte(at + 3)))
        return std::nullopt;
    const std::optional<Number> number = numberAt(in, at + 4);
    if (!number) return std::nullopt;
    const std::size_t sizeAt = at + 4 + number->length;
    const std::size_t sizeLength = blockCode == 6 ? 1 : blockCode == 7 ? 2 : 0;
    const std::size_t rateLength = rateCode == 12 ? 1 : rateCode > 12 ? 2 : 0;
    const std::size_t length = sizeAt + sizeLength + rateLength - at;
    if (!isChecksum(in, at, length)) return std::nullopt;
    const bool countsFrames = stream.countsFrames && (in.byte(at + 1) & 1U) == 0;
    return Frame{.at = at,
                 .soundAt = at + length + 1,
                 .end = number->value * (countsFrames ? stream.blockSize : 1) +
                        blockSizeOf(blockCode, in, sizeAt)};
}

std::vector<Frame> framesIn(const std::string& bytes, const Stream& stream) {
    constexpr std::size_t longestHeader = 16;
    const std::string padded = bytes + std::string(longestHeader, '\0');
    const util::ByteReader in = readerOf(padded, subject);
    std::vector<Frame> frames;
    for (std::size_t at = bytes.find('\xFF'); at != std::string::npos; at = bytes.find('\xFF', at + 1)) {
        const std::optional<Frame> frame = frameAt(in, at, stream);
        if (frame && frame->soundAt <= bytes.size()) frames.push_back(*frame);
    }
    return frames;
}

constexpr std::array<std::uint16_t, 256> checksumTable = [] {
    std::array<std::uint16_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t sum = i << 8U;
        for (int bit = 0; bit < 8; ++bit)
            sum = sum << 1U ^ ((sum & 0x8000U) != 0 ? 0x8005U : 0U);
        table.at(i) = static_cast<std::uint16_t>(sum & 0xFFFFU);
    }
    return table;
}();

/**
 * Whether `bytes` begins with a whole frame: the checksum is valid after `shortest` bytes or more, or after
 * all of `bytes`. In a frame that is cut off, a checksum is valid by chance now and then, so `shortest`
 * should be as large as possible.
 */
bool isWhole(std::string_view bytes, std::size_t shortest) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        sum = (sum << 8U & 0xFFFFU) ^ checksumTable[sum >> 8U ^ static_cast<unsigned char>(bytes[i])];
        if (sum == 0 && (i + 1 >= shortest || i + 1 == bytes.size())) return true;
    }
    return false;
}

/**
 * Whether the last frame is whole. If the stream's length is known, the last frame is the one with the last
 * sample; else it is a frame with no other after it.
 */
bool hasLastFrame(const std::string& bytes, const std::vector<Frame>& frames, const Stream& stream) {
    int tries = 16; // a hostile file could have many bytes that look like last frames
    for (auto frame = frames.rbegin(); frame != frames.rend(); ++frame) {
        if (stream.samples != 0 && frame->end < stream.samples) continue;
        if (tries-- == 0) break;
        const std::size_t headersEnd = stream.samples != 0 ? frame->soundAt : frames.back().soundAt;
        const std::size_t shortest =
            std::max<std::size_t>(headersEnd + 1 + footerSize - frame->at, stream.smallestFrame);
        if (isWhole(std::string_view(bytes).substr(frame->at), shortest)) return true;
    }
    return false;
}

/** Whether there is a whole frame directly before another one. */
bool hasFrameBeforeAnother(const std::string& bytes, const std::vector<Frame>& frames) {
    for (std::size_t i = 1; i < frames.size(); ++i) {
        const std::size_t length = frames[i].at - frames[i - 1].at;
        if (isWhole(std::string_view(bytes).substr(frames[i - 1].at, length), length)) return true;
    }
    return false;
}

} // namespace

void checkWhole(const SongFile& file, std::string_view streamInfo, Range sound) {
    constexpr std::uint64_t smallestWindow = std::uint64_t{1024} * 1024;
    const Stream stream = streamFrom(streamInfo);
    // Even if the end is missing, a window of this size has one whole frame before the incomplete one.
    const std::uint64_t window =
        std::min(sound.size, std::max(smallestWindow, std::uint64_t{stream.largestFrame} * 2));
    const std::string bytes = file.read(sound.at + sound.size - window, window);
    const std::vector<Frame> frames = framesIn(bytes, stream);
    if (hasLastFrame(bytes, frames, stream)) return;
    // A window without any frame proves nothing: the sound ends somewhere before it.
    if (window == sound.size || hasFrameBeforeAnother(bytes, frames)) readerOf({}, subject).truncated();
}

} // namespace tags::flac
