// SPDX-License-Identifier: MIT
#include "tags/ApeSound.h"

#include "tags/ApeTag.h"
#include "tags/Bytes.h"
#include "tags/Id3v2.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace tags::ape {
namespace {

/**
 * WavPack 4 and 5 (the header in wavpack.h): a sequence of blocks. Each block has its number of samples; the
 * first one may have the total. Decoders skip unknown bytes to the next block, so such bytes prove nothing.
 */
void checkWavPack(const SongFile& file, Range sound) {
    constexpr std::size_t headerSize = 32;
    constexpr std::uint64_t uncounted = 8; // first bytes of a block, not counted in its size
    constexpr std::uint32_t unknown = 0xFFFFFFFF;
    const std::uint64_t end = sound.at + sound.size;
    std::uint64_t total = 0;
    std::uint64_t reached = 0;
    for (std::uint64_t at = sound.at; at < end;) {
        const std::string header = file.readSome(at, headerSize);
        const util::ByteReader in = readerOf(header, "WavPack file");
        if (!in.matches(0, "wvpk")) return;
        const std::uint64_t size = uncounted + in.littleEndian(4, 4);
        if (size < headerSize) return;
        if (size > end - at) in.truncated();
        const std::uint64_t index = std::uint64_t{in.byte(10)} << 32U | in.littleEndian(16, 4);
        const std::uint64_t samples = in.littleEndian(20, 4);
        const std::uint64_t upper = in.byte(11);
        const std::uint32_t lower = in.littleEndian(12, 4);
        // The lower word skips the value that means unknown, so each upper unit counts 2^32 - 1.
        if (samples != 0 && index == 0 && lower != unknown) total = (upper << 32U) + lower - upper;
        if (samples != 0) reached = std::max(reached, index + samples);
        at += size;
    }
    if (reached < total) readerOf({}, "WavPack file").truncated();
}

constexpr std::string_view musepack = "Musepack file";

/**
 * The number after a packet's name: `size` is its value, `at` its end. A byte holds seven bits; all bytes but
 * the last have the upper bit set. Both are 0 if it isn't valid.
 */
Range packetSize(const util::ByteReader& in) {
    constexpr std::size_t longest = 9;
    Range number{.at = 2, .size = 0};
    for (std::uint32_t byte = 0x80; (byte & 0x80U) != 0; ++number.at) {
        if (number.at == 2 + longest) return {};
        byte = in.byte(number.at);
        number.size = number.size << 7U | (byte & 0x7FU);
    }
    return number;
}

/** Version 8, as Musepack describes its stream: named packets; the last one is SE. */
void checkPackets(const SongFile& file, Range sound) {
    constexpr std::size_t headSize = 16;
    const std::uint64_t end = sound.at + sound.size;
    const auto isName = [](char c) { return c >= 'A' && c <= 'Z'; };
    for (std::uint64_t at = sound.at + 4; at < end;) {
        const std::string head =
            file.readSome(at, static_cast<std::size_t>(std::min<std::uint64_t>(headSize, end - at)));
        const util::ByteReader in = readerOf(head, musepack);
        if (!std::ranges::all_of(head.substr(0, 2), isName)) return;
        const Range number = packetSize(in);
        if (number.size < number.at) return;
        if (number.size > end - at) in.truncated();
        if (head.starts_with("SE")) return;
        at += number.size;
    }
    readerOf({}, musepack).truncated();
}

/** The bits of version 7, upper bits first. They come in words of 32 bits, stored in little endian. */
class Bits {
public:
    Bits(const SongFile& file, Range sound) : file_(file), sound_(sound) {}

    /** @throws util::Exception when the file ends before these bits */
    std::uint32_t read(std::uint64_t at, unsigned count) {
        const std::uint64_t two =
            std::uint64_t{word(at / 32)} << 32U | (at % 32 + count > 32 ? word(at / 32 + 1) : 0);
        return static_cast<std::uint32_t>(two << at % 32 >> (64U - count));
    }

private:
    std::uint32_t word(std::uint64_t index) {
        constexpr std::size_t windowBytes = std::size_t{64} * 1024;
        const std::uint64_t at = index * 4;
        if (at < windowAt_ || at + 4 > windowAt_ + window_.size()) {
            const std::uint64_t left = sound_.size - std::min(at, sound_.size);
            window_ = file_.readSome(sound_.at + at,
                                     static_cast<std::size_t>(std::min<std::uint64_t>(windowBytes, left)));
            windowAt_ = at;
        }
        return readerOf(window_, musepack).littleEndian(static_cast<std::size_t>(at - windowAt_), 4);
    }

    const SongFile& file_;
    Range sound_;
    std::string window_;
    std::uint64_t windowAt_ = 0; // a multiple of 4
};

/** Version 7: a header of 25 bytes, then frames. Each frame has its length in bits before it. */
void checkFrames(const SongFile& file, Range sound) {
    constexpr unsigned lengthBits = 20;
    const std::string head = file.read(sound.at, 8);
    Bits bits(file, sound);
    std::uint64_t at = 200;
    for (std::uint32_t left = readerOf(head, musepack).littleEndian(4, 4); left != 0; --left)
        at += lengthBits + bits.read(at, lengthBits);
    // The file must end with a whole word: the first bits of a word are in its last byte.
    if ((at + 31) / 32 * 4 > sound.size) readerOf({}, musepack).truncated();
}

void checkMusepack(const SongFile& file, Range sound) {
    constexpr unsigned char version = 7;
    const std::string head = file.readSome(sound.at, 4);
    if (head == "MPCK") return checkPackets(file, sound);
    if (head.size() == 4 && (static_cast<unsigned char>(head[3]) & 0x0FU) == version)
        checkFrames(file, sound);
}

/** From version 3.98 on, the file begins with a descriptor, which has the sizes of all parts. */
void checkMonkeysAudio(const SongFile& file, Range sound) {
    constexpr std::uint32_t firstWithDescriptor = 3980;
    constexpr std::size_t descriptorSize = 52;
    const std::string head = file.readSome(sound.at, descriptorSize);
    const util::ByteReader in = readerOf(head, "Monkey's Audio file");
    if (in.littleEndian(4, 2) < firstWithDescriptor) return;
    if (!in.has(0, descriptorSize)) in.truncated();
    std::uint64_t size = std::uint64_t{in.littleEndian(28, 4)} << 32U; // upper half of the sound's size
    for (const std::size_t part : std::array<std::size_t, 6>{8, 12, 16, 20, 24, 32})
        size += in.littleEndian(part, 4);
    if (size > sound.size) in.truncated();
}

} // namespace

void checkWhole(const SongFile& file, Container container) {
    const std::uint64_t begin = id3v2::lengthAt(file, 0);
    const std::uint64_t end = std::max(begin, soundEnd(file));
    const Range sound{begin, end - begin};
    if (container == Container::WavPack) checkWavPack(file, sound);
    if (container == Container::Musepack) checkMusepack(file, sound);
    if (container == Container::Ape) checkMonkeysAudio(file, sound);
}

} // namespace tags::ape
