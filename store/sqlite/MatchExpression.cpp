// SPDX-License-Identifier: MIT
#include "store/sqlite/MatchExpression.h"

#include "store/SearchWords.h"

#include <vector>

namespace store::sqlite {
namespace {

void appendQuoted(std::string& expression, const std::string& word) {
    expression += '"';
    for (const char c : word)
        expression.append(c == '"' ? 2 : 1, c);
    expression += "\" ";
}

} // namespace

// "tfirst" "tsecond" "tthird" *
std::string matchExpression(const Search& search) {
    std::string expression;
    for (const std::vector<std::string>& field : wantedWords(search)) {
        for (const std::string& word : field)
            appendQuoted(expression, word);
        expression += "* ";
    }
    return expression;
}

} // namespace store::sqlite
