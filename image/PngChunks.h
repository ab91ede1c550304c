// SPDX-License-Identifier: MIT
#pragma once

#include "util/ByteReader.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace image {

/** One chunk; its bytes are views into the file. */
struct PngChunk {
    std::string type; // its four letters
    util::ByteReader data;
    std::span<const std::byte> whole; // with length, type and checksum
};

/** Walks a PNG from its signature through the IEND chunk. Checksums are left to the decoder. */
class PngChunks {
public:
    static constexpr std::string_view signature = "\x89PNG\r\n\x1A\n";

    explicit PngChunks(std::span<const std::byte> png) noexcept : in_(png, "PNG image") {}

    /** The next chunk; none behind IEND. @throws util::Exception when the bytes end before that */
    [[nodiscard]] std::optional<PngChunk> next();

    /** The length of the file through the chunk that next() returned last. */
    [[nodiscard]] std::size_t position() const noexcept { return at_; }

private:
    util::ByteReader in_;
    std::size_t at_ = signature.size();
    bool ended_ = false;
};

} // namespace image
