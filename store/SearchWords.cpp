// SPDX-License-Identifier: MIT
#include "store/SearchWords.h"

#include "text/Fold.h"
#include "text/StopWords.h"

#include <utility>

namespace store {
namespace {

constexpr char artistField = 'a';
constexpr char albumField = 'l';
constexpr char titleField = 't';

void appendWords(std::string& words, char field, const std::string& value) {
    for (const std::string& word : text::words(text::folded(value)))
        (words += field).append(word) += ' ';
}

void appendWanted(std::vector<std::vector<std::string>>& wanted, char field, const std::string& value) {
    std::vector<std::string> words = text::words(text::folded(text::withoutStopWords(value)));
    for (std::string& word : words)
        word.insert(word.begin(), field);
    if (!words.empty()) wanted.push_back(std::move(words));
}

} // namespace

std::string searchWords(const Record& record) {
    std::string words;
    appendWords(words, artistField, record.artist);
    appendWords(words, albumField, record.album);
    appendWords(words, titleField, record.title);
    return words;
}

std::vector<std::vector<std::string>> wantedWords(const Search& search) {
    std::vector<std::vector<std::string>> wanted;
    appendWanted(wanted, artistField, search.artist);
    appendWanted(wanted, albumField, search.album);
    appendWanted(wanted, titleField, search.title);
    return wanted;
}

} // namespace store
