// SPDX-License-Identifier: MIT
#pragma once

#include "tags/Bytes.h"

#include <string>

namespace tests {

/** As much of a FLAC file as it takes, with a front cover where that is not empty. */
inline std::string flacWith(const std::string& cover) {
    using tags::bigEndian;
    const std::string streamInfo = bigEndian(34, 3) + std::string(34, '\0');
    const std::string sound = "\xFF\xF8";
    if (cover.empty()) return "fLaC\x80" + streamInfo + sound;
    const std::string picture = bigEndian(3, 4) + bigEndian(9, 4) + "image/png" + std::string(20, '\0') +
                                bigEndian(cover.size(), 4) + cover;
    return std::string("fLaC\0", 5) + streamInfo + '\x86' + bigEndian(picture.size(), 3) + picture + sound;
}

} // namespace tests
