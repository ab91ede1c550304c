// SPDX-License-Identifier: MIT
// Makes a store with many entries, all with the same picture. After each tenth it prints a line: the number
// of entries so far, and the mean time per entry in this tenth, in microseconds.
//
//     fill_store FOLDER COUNT PNG
#include "store/sqlite/Store.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

/**
 * Made-up names, the same in every run. Word frequencies are those of real names: the n-th most frequent word
 * occurs in proportion to 1/n, and frequent words are short. The last word of an artist's name is any word,
 * with equal probability. Few artists have many albums.
 */
class Names {
public:
    Names() {
        for (int i = 0; i < artists; ++i)
            artists_.push_back(words(below(3)) + word(1 + below(vocabulary)));
    }

    store::Record nextRecord() {
        store::Record record;
        record.artist = artists_[static_cast<std::size_t>(std::pow(fraction(), 2) * artists)];
        record.album = words(below(4)) + commonWord();
        record.title = words(below(5)) + commonWord();
        return record;
    }

private:
    static constexpr int vocabulary = 200'000;
    static constexpr int artists = 100'000;

    // Not std::uniform_int_distribution: its results differ between standard libraries.
    unsigned below(unsigned bound) { return static_cast<unsigned>(random_() % bound); }
    double fraction() { return static_cast<double>(below(1U << 30U)) / (1U << 30U); }

    static std::string word(unsigned number) {
        static constexpr std::array<std::string_view, 40> syllables = {
            "ba",  "lo",  "mir", "ten", "sha", "ru",  "vel", "ko",  "das", "fin", "gra", "hol", "ja", "kel",
            "lum", "na",  "or",  "pas", "qui", "ris", "sol", "tha", "um",  "vor", "wen", "xa",  "ya", "zor",
            "ech", "bri", "cal", "dro", "el",  "fa",  "gim", "he",  "is",  "jun", "lan", "mo"};
        std::string text;
        for (unsigned rest = number; rest > 0; rest /= static_cast<unsigned>(syllables.size()))
            text += syllables[rest % syllables.size()];
        return text;
    }

    std::string commonWord() { return word(static_cast<unsigned>(std::pow(vocabulary, fraction()))); }

    /** Words, each followed by a blank. */
    std::string words(unsigned count) {
        std::string text;
        for (unsigned i = 0; i < count; ++i)
            text += commonWord() + ' ';
        return text;
    }

    std::mt19937_64 random_{1}; // NOLINT(cert-msc32-c,cert-msc51-cpp): the same names in every run
    std::vector<std::string> artists_;
};

std::string contentOf(const char* path) {
    std::ifstream file(path, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(file), {}};
    if (content.empty()) throw std::runtime_error(std::string("no bytes in ") + path);
    return content;
}

void fill(store::CoverStore& covers, int count, const std::string& png) {
    const store::NewImage image{.bytes = std::as_bytes(std::span(png)),
                                .mimeType = "image/png",
                                .widthPixels = 1,
                                .heightPixels = 1,
                                .shownAsReceived = true};
    Names names;
    int entries = 0;
    for (int tenth = 1; tenth <= 10; ++tenth) {
        const int from = entries;
        const auto start = std::chrono::steady_clock::now();
        const int upTo = static_cast<int>(std::int64_t{count} * tenth / 10);
        while (entries < upTo) // a repeated name returns the existing entry
            entries = std::max(entries, covers.storeImage(names.nextRecord(), image, store::IfPresent::Keep));
        const std::chrono::duration<double, std::micro> taken = std::chrono::steady_clock::now() - start;
        std::cout << entries << ' ' << taken.count() / (entries - from) << std::endl;
    }
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc != 4)
            throw std::runtime_error("three arguments are needed: folder, number of entries, PNG file");
        const int count = std::stoi(argv[2]);
        if (count < 10) throw std::runtime_error("a store of fewer than 10 entries is not worth it");
        store::SqliteStore covers(argv[1]);
        fill(covers, count, contentOf(argv[3]));
        return EXIT_SUCCESS;
    } catch (const std::exception& e) {
        std::cerr << "fill_store: " << e.what() << '\n';
        return EXIT_FAILURE;
    }
}
