// SPDX-License-Identifier: MIT
#include "store/SearchWords.h"

#include "text/Fold.h"
#include "text/StopWords.h"

#include <vector>

namespace store {
namespace {

constexpr char artistField = 'a';
constexpr char albumField = 'l';
constexpr char titleField = 't';

void appendWords(std::string& words, char field, const std::string& value) {
    for (const std::string& word : text::words(text::folded(value)))
        (words += field).append(word) += ' ';
}

void appendQuoted(std::string& expression, char field, const std::string& word) {
    (expression += '"') += field;
    for (const char c : word)
        expression.append(c == '"' ? 2 : 1, c);
    expression += "\" ";
}

// "tfirst" "tsecond" "tthird" *
void appendCondition(std::string& expression, char field, const std::string& value) {
    const std::vector<std::string> words = text::words(text::folded(text::withoutStopWords(value)));
    for (const std::string& word : words)
        appendQuoted(expression, field, word);
    if (!words.empty()) expression += "* ";
}

} // namespace

std::string searchWords(const Record& record) {
    std::string words;
    appendWords(words, artistField, record.artist);
    appendWords(words, albumField, record.album);
    appendWords(words, titleField, record.title);
    return words;
}

std::string matchExpression(const Search& search) {
    std::string expression;
    appendCondition(expression, artistField, search.artist);
    appendCondition(expression, albumField, search.album);
    appendCondition(expression, titleField, search.title);
    return expression;
}

} // namespace store
