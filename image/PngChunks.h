// SPDX-License-Identifier: MIT
#pragma once

#include "util/ByteReader.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace image {

/** One chunk. `data` and `whole` are views into the file. */
struct PngChunk {
    std::string type; // its four letters
    util::ByteReader data;
    std::span<const std::byte> whole; // with length, type and checksum
};

/** Walks through the chunks of a PNG up to and including IEND. Doesn't check checksums: the decoder does. */
class PngChunks {
public:
    static constexpr std::string_view signature = "\x89PNG\r\n\x1A\n";

    explicit PngChunks(std::span<const std::byte> png) noexcept : in_(png, "PNG image") {}

    /** The next chunk; none after IEND. @throws util::Exception when the bytes end before IEND */
    [[nodiscard]] std::optional<PngChunk> next();

    /** The file's length from its start to the end of the chunk that next() returned last. */
    [[nodiscard]] std::size_t position() const noexcept { return at_; }

private:
    util::ByteReader in_;
    std::size_t at_ = signature.size();
    bool ended_ = false;
};

} // namespace image
