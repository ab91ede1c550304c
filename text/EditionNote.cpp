// SPDX-License-Identifier: MIT
#include "text/EditionNote.h"

#include "text/Fold.h"

#include <algorithm>
#include <array>
#include <string>

namespace text {

namespace {

using namespace std::string_view_literals;

constexpr std::array keyWords{
    "anniversary"sv, "bonus"sv,       "clean"sv,     "deluxe"sv,  "edition"sv,  "expanded"sv,
    "explicit"sv,    "mastered"sv,    "mono"sv,      "reissue"sv, "reissued"sv, "remaster"sv,
    "remastered"sv,  "remastering"sv, "remasters"sv, "stereo"sv,
};

/** Words that need a key word to form a note: "(Gold)" is a name, "(Gold Edition)" is a note. */
constexpr std::array fillWords{
    "a"sv,          "album"sv,     "and"sv,      "audio"sv,         "bit"sv,        "box"sv,
    "cds"sv,        "collector"sv, "complete"sv, "content"sv,       "definitive"sv, "digital"sv,
    "digitally"sv,  "discs"sv,     "disks"sv,    "extra"sv,         "for"sv,        "from"sv,
    "gold"sv,       "hd"sv,        "in"sv,       "international"sv, "itunes"sv,     "japan"sv,
    "japanese"sv,   "khz"sv,       "legacy"sv,   "limited"sv,       "lp"sv,         "lyrics"sv,
    "new"sv,        "of"sv,        "only"sv,     "original"sv,      "platinum"sv,   "re"sv,
    "recording"sv,  "release"sv,   "set"sv,      "special"sv,       "standard"sv,   "super"sv,
    "the"sv,        "tour"sv,      "track"sv,    "tracks"sv,        "uk"sv,         "ultimate"sv,
    "us"sv,         "version"sv,   "vinyl"sv,    "with"sv,          "year"sv,       "years"sv,
    "collectors"sv, "–"sv,         "—"sv,
};

constexpr std::array numberWords{"one"sv, "two"sv,   "three"sv, "four"sv, "five"sv,
                                 "six"sv, "seven"sv, "eight"sv, "nine"sv, "ten"sv};

constexpr std::array discWords{"cd"sv, "disc"sv, "disk"sv};

constexpr std::string_view digits = "0123456789";

template <typename Words>
bool contains(const Words& words, std::string_view word) {
    return std::ranges::find(words, word) != words.end();
}

/** For example "2011" or "40th". */
bool isNumber(std::string_view word) {
    const std::size_t end = std::min(word.find_first_not_of(digits), word.size());
    const std::string_view ending = word.substr(end);
    return end > 0 &&
           (ending.empty() || contains(std::array{"st"sv, "nd"sv, "rd"sv, "th"sv, "bit"sv}, ending));
}

/** For example "2CD". */
bool isDiscCount(std::string_view word) {
    const std::size_t end = std::min(word.find_first_not_of(digits), word.size());
    return end > 0 && isDiscWord(word.substr(end));
}

} // namespace

void EditionNote::add(std::string_view word) {
    for (const std::string& part : words(folded(word)))
        addFolded(part);
}

void EditionNote::add(const EditionNote& inner) {
    key_ = key_ || inner.key_;
    other_ = other_ || inner.other_;
    afterAlbum_ = false;
}

void EditionNote::addFolded(std::string_view word) {
    const bool albumVersion = afterAlbum_ && word == "version";
    if (albumVersion || contains(keyWords, word) || isDiscWord(word) || isNumberedDisc(word) ||
        isDiscCount(word)) {
        key_ = true;
    } else if (!contains(fillWords, word) && !contains(numberWords, word) && !isNumber(word)) {
        other_ = true;
    }
    afterAlbum_ = word == "album";
}

bool isDiscWord(std::string_view foldedWord) { return contains(discWords, foldedWord); }

bool isDiscNumber(std::string_view foldedWord) {
    const bool number = !foldedWord.empty() && foldedWord.size() <= 3 &&
                        foldedWord.find_first_not_of(digits) == std::string_view::npos;
    return number || contains(numberWords, foldedWord);
}

bool isNumberedDisc(std::string_view foldedWord) {
    const std::size_t number = std::min(foldedWord.find_first_of(digits), foldedWord.size());
    return isDiscWord(foldedWord.substr(0, number)) && isDiscNumber(foldedWord.substr(number));
}

} // namespace text
