// SPDX-License-Identifier: MIT
#include "sources/Lucene.h"

#include "text/Fold.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace sources::lucene {
namespace {

constexpr std::size_t maxSimilarWords = 16; // each of them costs the server much time
constexpr std::ptrdiff_t minSimilarLetters = 4;

std::string escaped(std::string_view text, std::string_view special) {
    std::string result;
    for (const char c : text) {
        if (special.find(c) != std::string_view::npos) result += '\\';
        result += c;
    }
    return result;
}

std::ptrdiff_t letters(std::string_view utf8) noexcept {
    return std::ranges::count_if(utf8,
                                 [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; });
}

} // namespace

std::string phrase(std::string_view field, std::string_view text) {
    return std::string(field) + ":\"" + escaped(text, "\"\\") + '"';
}

std::string word(std::string_view text) {
    const bool isOperator = text == "AND" || text == "OR" || text == "NOT";
    return (isOperator ? "\\" : "") + escaped(text, "+-&|!(){}[]^\"~*?:\\/");
}

std::string similar(std::string_view field, std::string_view foldedText) {
    std::vector<std::string> words = text::words(foldedText);
    words.resize(std::min(words.size(), maxSimilarWords));
    std::string terms;
    for (const std::string& each : words) {
        if (!terms.empty()) terms += " AND ";
        terms += word(each);
        if (letters(each) >= minSimilarLetters) terms += '~';
    }
    return std::string(field) + ":(" + terms + ')';
}

} // namespace sources::lucene
