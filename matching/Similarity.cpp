// SPDX-License-Identifier: MIT
#include "matching/Similarity.h"

#include "text/Fold.h"
#include "text/StopWords.h"
#include "text/Utf8.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace matching {

namespace {

constexpr std::array<std::string_view, 3> subtitleMarks = {": ", " (", " / "};

constexpr std::size_t maxBytes = 2048; // of the unchanged name
constexpr std::size_t maxCharacters = 200;
constexpr std::size_t maxWords = 40;

constexpr double atMostInexact = 0.95;
constexpr double withoutSubtitle = 0.65;
constexpr double atMostOtherWork = 0.4;
constexpr double leastWordLikeness = 0.5;
constexpr double lightWeight = 0.1;

/** Words of little weight: the same work is often named with and without them. */
constexpr std::array<std::string_view, 27> lightWords = {
    "a",    "an",      "and",      "at",     "by",         "el",  "ep", "film", "for",
    "from", "in",      "la",       "motion", "music",      "of",  "on", "or",   "ost",
    "part", "picture", "original", "score",  "soundtrack", "the", "to", "vol",  "volume"};

/** Words that mark another version of a work, such as a live recording. */
constexpr std::array<std::string_view, 15> versionWords = {
    "acoustic", "demo",    "demos",   "instrumental", "instrumentals", "karaoke", "live",     "remix",
    "remixed",  "remixes", "session", "sessions",     "sides",         "tribute", "unplugged"};

/** Words that mark a collection. In a subtitle they don't count, because the main title is enough. */
constexpr std::array<std::string_view, 7> collectionWords = {"anthology", "best",     "essential", "greatest",
                                                             "hits",      "rarities", "singles"};

constexpr std::array<std::string_view, 10> numberWords = {"one", "two",   "three", "four", "five",
                                                          "six", "seven", "eight", "nine", "ten"};
/** From II on: a single letter is more likely a word. */
constexpr std::array<std::string_view, 11> romanNumbers = {"ii",   "iii", "iv", "",   "vi", "vii",
                                                           "viii", "ix",  "",   "xi", "xii"};

using Characters = std::u32string;

std::string_view beginning(std::string_view name) {
    if (name.size() <= maxBytes) return name;
    std::size_t end = maxBytes;
    // Don't cut inside a character: invalid UTF-8 would be read as another encoding.
    while (end > maxBytes - 4 && (static_cast<unsigned char>(name[end]) & 0xC0U) == 0x80U)
        --end;
    return name.substr(0, end);
}

Characters charactersOf(std::string_view utf8) {
    Characters result;
    while (result.size() < maxCharacters) {
        const text::Character next = text::firstCharacter(utf8);
        if (next.length == 0) break;
        result += next.code;
        utf8.remove_prefix(next.length);
    }
    return result;
}

bool isDigits(std::string_view word) {
    return !word.empty() && word.find_first_not_of("0123456789") == std::string_view::npos;
}

/** Writes numbers as digits, so that "Part Two", "Part II" and "Part 02" are the same. */
std::string withNumber(const std::string& word) {
    if (isDigits(word)) {
        const std::size_t significant = std::min(word.find_first_not_of('0'), word.size() - 1);
        return word.substr(significant);
    }
    const auto* number = std::ranges::find(numberWords, word);
    if (number != numberWords.end()) return std::to_string(number - numberWords.begin() + 1);
    const auto* roman = std::ranges::find(romanNumbers, word);
    return roman == romanNumbers.end() ? word : std::to_string(roman - romanNumbers.begin() + 2);
}

bool isYear(std::string_view number) {
    return number.size() == 4 && (number.starts_with("19") || number.starts_with("20"));
}

struct Word {
    Characters characters;
    bool number = false; // not a year
    bool year = false;
    bool version = false;
    bool collection = false;
    double weight = 1;
};

Word wordOf(const std::string& folded) {
    const std::string plain = withNumber(folded);
    Word word;
    word.characters = charactersOf(plain);
    word.year = isDigits(plain) && isYear(plain);
    word.number = isDigits(plain) && !word.year;
    word.version = std::ranges::find(versionWords, plain) != versionWords.end();
    word.collection = std::ranges::find(collectionWords, plain) != collectionWords.end();
    const bool light = std::ranges::find(lightWords, plain) != lightWords.end();
    if (light || word.year) word.weight = lightWeight;
    return word;
}

/** Two numbers after a year are month and day, so they count as part of the year. */
void joinDates(std::vector<Word>& words) {
    for (std::size_t i = 0; i + 2 < words.size(); ++i) {
        if (!words[i].year || !words[i + 1].number || !words[i + 2].number) continue;
        for (std::size_t j = i + 1; j <= i + 2; ++j) {
            words[j].number = false;
            words[j].year = true;
            words[j].weight = lightWeight;
        }
    }
}

std::vector<Word> wordsOf(std::string_view matchText) {
    std::vector<Word> result;
    std::size_t characters = 0;
    for (const std::string& word : text::words(matchText)) {
        result.push_back(wordOf(word));
        characters += result.back().characters.size();
        if (characters >= maxCharacters || result.size() == maxWords) break;
    }
    joinDates(result);
    return result;
}

Characters joined(const std::vector<Word>& words) {
    Characters result;
    for (const Word& word : words)
        result += word.characters;
    result.resize(std::min(result.size(), maxCharacters));
    return result;
}

/** The edit distance: letters inserted, left out, replaced, or swapped with the next one. */
std::size_t edits(const Characters& one, const Characters& other) {
    std::array<std::array<std::size_t, maxCharacters + 1>, 3> rows{};
    for (std::size_t j = 0; j <= other.size(); ++j)
        rows[0][j] = j;
    for (std::size_t i = 1; i <= one.size(); ++i) {
        auto& row = rows[i % 3];
        const auto& above = rows[(i + 2) % 3];
        const auto& twoAbove = rows[(i + 1) % 3];
        row[0] = i;
        for (std::size_t j = 1; j <= other.size(); ++j) {
            const std::size_t exchange = one[i - 1] == other[j - 1] ? 0 : 1;
            row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + exchange});
            const bool swapped = i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1];
            if (swapped) row[j] = std::min(row[j], twoAbove[j - 2] + 1);
        }
    }
    return rows[one.size() % 3][other.size()];
}

/** Each edit counts double: two names that share half of their letters have nothing in common. */
double likeness(const Characters& one, const Characters& other) {
    if (one == other) return 1;
    const std::size_t longer = std::max(one.size(), other.size());
    const std::size_t shorter = std::min(one.size(), other.size());
    if (shorter * 2 <= longer) return 0;
    std::size_t cost = edits(one, other);
    // Few people misspell the first letter: "Marlow" is not "Barlow".
    if (one.front() != other.front()) ++cost;
    return std::max(0.0, 1 - 2 * static_cast<double>(cost) / static_cast<double>(longer));
}

double likeness(const Word& one, const Word& other) {
    if (one.number || one.year || other.number || other.year)
        return one.characters == other.characters ? 1 : 0;
    const double result = likeness(one.characters, other.characters);
    return result < leastWordLikeness ? 0 : result;
}

double weightOf(const std::vector<Word>& words) {
    double sum = 0;
    for (const Word& word : words)
        sum += word.weight;
    return sum;
}

/** The share of common words in any order, squared, because one word more or less makes another name. */
double likenessOfWords(const std::vector<Word>& one, const std::vector<Word>& other) {
    double common = 0;
    std::vector<bool> taken(other.size());
    for (const Word& word : one) {
        double best = 0;
        std::size_t where = 0;
        for (std::size_t j = 0; j < other.size(); ++j) {
            const double now = taken[j] ? 0 : likeness(word, other[j]);
            if (now > best) {
                best = now;
                where = j;
            }
        }
        if (best == 0) continue;
        taken[where] = true;
        common += best * std::min(word.weight, other[where].weight);
    }
    const double all = weightOf(one) + weightOf(other) - common;
    const double share = all > 0 ? common / all : 0;
    return share * share;
}

template <typename Is>
std::vector<Characters> those(const std::vector<Word>& words, Is is) {
    std::vector<Characters> result;
    for (const Word& word : words) {
        if (is(word)) result.push_back(word.characters);
    }
    std::ranges::sort(result);
    return result;
}

/** Whether different numbers, years or version words rule out the same work. */
bool areTwoWorks(const std::vector<Word>& one, const std::vector<Word>& other) {
    const auto differ = [&](auto is) { return those(one, is) != those(other, is); };
    const auto isYearWord = [](const Word& word) { return word.year; };
    const bool bothDated = std::ranges::any_of(one, isYearWord) && std::ranges::any_of(other, isYearWord);
    return differ([](const Word& word) { return word.number; }) ||
           differ([](const Word& word) { return word.version; }) || (bothDated && differ(isYearWord));
}

bool isCollectionOfOther(const std::vector<Word>& one, const std::vector<Word>& other) {
    const auto is = [](const Word& word) { return word.collection; };
    return those(one, is) != those(other, is);
}

/** Whether `one` is `other` without its subtitle: tags often lack the subtitle. */
bool isMainTitle(std::string_view one, std::string_view other) {
    const std::string match = text::matchText(one);
    return std::ranges::any_of(subtitleMarks, [&](std::string_view mark) {
        const std::size_t end = other.find(mark);
        return end != std::string_view::npos && text::matchText(other.substr(0, end)) == match;
    });
}

} // namespace

double similarity(std::string_view one, std::string_view other) {
    one = beginning(one);
    other = beginning(other);
    const std::string folded = text::folded(one);
    if (folded.empty() || other.empty()) return 0;
    if (one == other) return 1;
    const std::string otherFolded = text::folded(other);
    if (otherFolded.empty()) return 0;
    if (folded == otherFolded) return 1;
    const std::string match = text::matchText(one);
    const std::string otherMatch = text::matchText(other);
    if (match == otherMatch) return sameWithoutNotes;

    const std::vector<Word> words = wordsOf(match);
    const std::vector<Word> otherWords = wordsOf(otherMatch);
    const double together = likeness(joined(words), joined(otherWords));
    if (together == 1) return atMostInexact; // "84 Volt", "84Volt"
    double result = atMostInexact * std::max(likenessOfWords(words, otherWords), together);
    const bool twoWorks = areTwoWorks(words, otherWords);
    if (twoWorks || isCollectionOfOther(words, otherWords)) result = std::min(result, atMostOtherWork);
    const bool subtitled = !twoWorks && (isMainTitle(one, other) || isMainTitle(other, one));
    return subtitled ? std::max(result, withoutSubtitle) : result;
}

} // namespace matching
