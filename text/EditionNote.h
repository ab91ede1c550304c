// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace text {

/**
 * Decides whether a group of words only names an edition, for example "2011 Remaster" or "Deluxe Edition,
 * Disc 2". Every word must be a key word, such as "remaster", or a filler word, such as "super"; at least one
 * must be a key word. "Live", "Acoustic", "Remix", "Part 2" and "Vol. 2" name different works, so they never
 * belong to a note. One thread at a time.
 */
class EditionNote {
public:
    /** Adds a word of the original text, in upper or lower case. */
    void add(std::string_view word);

    /** Adds the words of a group nested in this one. */
    void add(const EditionNote& inner);

    /** Records that a note nested in this group was removed. That counts as a key word. */
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

/** Up to three digits, or a word from "one" to "ten". */
[[nodiscard]] bool isDiscNumber(std::string_view foldedWord);

/** A disc word and a disc number in one word, for example "cd2". */
[[nodiscard]] bool isNumberedDisc(std::string_view foldedWord);

} // namespace text
