// SPDX-License-Identifier: MIT
#include "store/MatchKey.h"

#include "text/StopWords.h"

namespace store {
namespace {

constexpr char separator = '\x1f'; // folded texts have no control characters

std::string keyOf(char kind, const std::string& first, const std::string& second) {
    return kind + text::matchText(first) + separator + text::matchText(second);
}

} // namespace

MatchKeys matchKeys(const Record& record) {
    MatchKeys keys;
    if (record.artist.empty() && !record.sampler) return keys;
    if (!record.album.empty())
        keys.album = record.sampler ? keyOf('s', "", record.album) : keyOf('a', record.artist, record.album);
    if (!record.title.empty()) keys.title = keyOf('t', record.artist, record.title);
    return keys;
}

} // namespace store
