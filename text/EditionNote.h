// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace text {

/**
 * Judges whether some words, as in "2011 Remaster" or "Deluxe Edition, Disc 2", only tell an edition from the
 * others: each has to be a word that such notes are made of, and one of them one that makes a note. "Live",
 * "Acoustic", "Remix", "Part 2" and "Vol. 2" are names of other works and never part of one. One thread at a
 * time.
 */
class EditionNote {
public:
    /** `word` as it was found, in any case. */
    void add(std::string_view word);

    /** Adds the words of a note inside this one. */
    void add(const EditionNote& inner);

    /** Tells the note that one inside it was left out. */
    void addDropped() { key_ = true; }

    [[nodiscard]] bool isEdition() const { return key_ && !other_; }

private:
    void addFolded(std::string_view word);

    bool key_ = false;
    bool other_ = false;
    bool afterAlbum_ = false;
};

/** "disc", "disk" or "cd". */
[[nodiscard]] bool isDiscWord(std::string_view foldedWord);

/** A disc's number: up to three digits, or "one" to "ten". */
[[nodiscard]] bool isDiscNumber(std::string_view foldedWord);

/** Both in one word, as in "CD2". */
[[nodiscard]] bool isNumberedDisc(std::string_view foldedWord);

} // namespace text
