// SPDX-License-Identifier: MIT
#include "image/PngChunks.h"

#include <algorithm>

namespace image {

std::optional<PngChunk> PngChunks::next() {
    if (ended_) return std::nullopt;
    constexpr std::size_t overhead = 12;
    const std::size_t length = in_.bigEndian(at_, 4);
    const util::ByteReader whole = in_.part(at_, length + overhead);
    PngChunk chunk{std::string(4, '\0'), whole.part(8, length), whole.bytes()};
    std::ranges::transform(whole.bytes().subspan(4, 4), chunk.type.begin(),
                           [](std::byte letter) { return static_cast<char>(letter); });
    at_ += whole.size();
    ended_ = chunk.type == "IEND";
    return chunk;
}

} // namespace image
