// SPDX-License-Identifier: MIT
#include "text/StopWords.h"

#include "text/EditionNote.h"
#include "text/Fold.h"
#include "text/Utf8.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace text {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view blanks = " \t\n\r\f\v";
constexpr std::string_view openers = "([{";
constexpr std::string_view closers = ")]}";
constexpr std::string_view brackets = "()[]{}";

/** Characters that can't form a name by themselves. Others can: "-", "+" and "!!!" are names. */
constexpr std::string_view nameless = " \t\n\r\f\v()[]{},;:\"'";

bool isOneOf(std::string_view set, char byte) { return set.find(byte) != std::string_view::npos; }

bool isLetterOrNumber(char byte) {
    const bool letter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
    return letter || (byte >= '0' && byte <= '9') || static_cast<unsigned char>(byte) >= 0x80;
}

/** Covers the typographic apostrophe, too: it is not ASCII, and all non-ASCII bytes count as letters. */
bool isWordByte(char byte) { return isLetterOrNumber(byte) || byte == '\''; }

std::size_t wordEnd(std::string_view text, std::size_t begin) {
    return static_cast<std::size_t>(
        std::find_if_not(text.begin() + static_cast<std::ptrdiff_t>(begin), text.end(), isWordByte) -
        text.begin());
}

/** The start of the word that ends at `end`; `end` if there is none. */
std::size_t wordBegin(std::string_view text, std::size_t end) {
    while (end > 0 && isWordByte(text[end - 1]))
        --end;
    return end;
}

bool isAscii(std::string_view text, std::string_view lowerCase) {
    const auto lower = [](char byte) {
        return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte;
    };
    return std::ranges::equal(text, lowerCase, {}, lower);
}

bool isAnyOf(std::string_view word, std::initializer_list<std::string_view> candidates) {
    return std::ranges::any_of(candidates,
                               [word](std::string_view candidate) { return isAscii(word, candidate); });
}

bool isGuestWord(std::string_view word) { return isAnyOf(word, {"feat", "ft", "featuring"}); }

/** The length in bytes of the dash at `position`: a hyphen, en dash or em dash. 0 if there is none. */
std::size_t dashLength(std::string_view text, std::size_t position) {
    const std::string_view here = text.substr(position);
    if (here.starts_with('-')) return 1;
    return here.starts_with("–") || here.starts_with("—") ? "–"sv.size() : 0;
}

/** The length in bytes of the dash at the end of `text`; 0 if there is none. */
std::size_t lastDashLength(std::string_view text) {
    if (text.ends_with('-')) return 1;
    return text.ends_with("–") || text.ends_with("—") ? "–"sv.size() : 0;
}

/** The text that remains. Bytes are appended at its end, and parts are cut off there. */
class Remainder {
public:
    void append(char byte) {
        if (seam_ && isOneOf(blanks, byte)) return;
        const bool joins = text_.empty() || isOneOf(openers, text_.back()) || isOneOf(",.;:!?)]}", byte);
        if (seam_ && !joins) text_ += ' ';
        seam_ = false;
        if (!isNamed() && !isOneOf(nameless, byte)) name_ = text_.size();
        text_ += byte;
    }

    void append(std::string_view bytes) {
        for (const char byte : bytes)
            append(byte);
    }

    /** Cuts off the text from `position` on and the blanks before it. */
    void cut(std::size_t position) {
        text_.resize(position);
        trimBlanks();
        seam_ = true;
    }

    /** Cuts off commas, colons, semicolons and dashes at the end, except the name's first character. */
    void trimSeparators() {
        trimBlanks();
        for (std::size_t length = separatorLength(); length > 0; length = separatorLength()) {
            text_.resize(text_.size() - length);
            trimBlanks();
        }
    }

    /** Whether nothing was appended after the last cut. */
    [[nodiscard]] bool endsInSeam() const { return seam_; }

    /** Whether the name starts before `position`. */
    [[nodiscard]] bool isNamed(std::size_t position) const { return name_ < position; }
    [[nodiscard]] bool isNamed() const { return name_ != std::string::npos; }
    [[nodiscard]] std::size_t size() const { return text_.size(); }
    [[nodiscard]] std::string_view view() const { return text_; }

private:
    /** The length of a separator at the end that is not the name's first byte; 0 if there is none. */
    [[nodiscard]] std::size_t separatorLength() const {
        if (!isNamed() || text_.size() <= name_ + 1) return 0;
        if (isOneOf(",;:", text_.back())) return 1;
        const std::size_t dash = lastDashLength(text_);
        const bool dangling =
            text_.size() - dash > name_ + 1 && isOneOf(blanks, text_[text_.size() - dash - 1]);
        return dangling ? dash : 0;
    }

    void trimBlanks() { text_.resize(text_.find_last_not_of(blanks) + 1); }

    std::string text_;
    std::size_t name_ = std::string::npos;
    bool seam_ = false;
};

/** A bracket that is still open. */
struct Group {
    std::size_t begin = 0;
    /** Whether a guest word has come. The words after it are names and don't belong to the note. */
    bool guest = false;
    /** The words before the guest word. */
    EditionNote note;
    bool empty = true;
};

/** Removes bracketed groups. Uses its own stack, not recursion: a text can consist of brackets only. */
class GroupFilter {
public:
    Remainder operator()(std::string_view text) {
        for (std::size_t i = 0; i < text.size();) {
            const std::size_t end = isWordByte(text[i]) ? wordEnd(text, i) : i + 1;
            if (isWordByte(text[i])) {
                addWord(text.substr(i, end - i));
            } else if (isOneOf(openers, text[i])) {
                open(text[i]);
            } else {
                rest_.append(text[i]);
                if (isOneOf(closers, text[i])) close();
            }
            i = end;
        }
        while (!groups_.empty())
            close(); // a missing closing bracket: old tag formats truncate names
        if (rest_.endsInSeam()) rest_.trimSeparators();
        return std::move(rest_);
    }

private:
    void open(char bracket) {
        rest_.append(bracket);
        groups_.emplace_back().begin = rest_.size() - 1;
    }

    void addWord(std::string_view word) {
        rest_.append(word);
        if (groups_.empty()) return;
        Group& group = groups_.back();
        group.guest = group.guest || isGuestWord(word);
        if (group.guest) return;
        group.empty = false;
        group.note.add(word);
    }

    void close() {
        if (groups_.empty()) return;
        const Group group = groups_.back();
        groups_.pop_back();
        const bool dropped =
            rest_.isNamed(group.begin) && ((group.guest && group.empty) || group.note.isEdition());
        if (dropped) rest_.cut(group.begin);
        if (groups_.empty() || groups_.back().guest) return;
        if (dropped) {
            groups_.back().note.addDropped();
        } else {
            groups_.back().note.add(group.note);
        }
    }

    Remainder rest_;
    std::vector<Group> groups_;
};

/** Whether a guest's name follows the guest word `word`, which ends at `end`. */
bool announces(std::string_view word, std::string_view text, std::size_t end) {
    const bool stop = end < text.size() && text[end] == '.';
    const std::size_t guest = text.find_first_not_of(blanks, stop ? end + 1 : end);
    if (guest == std::string_view::npos || isOneOf(brackets, text[guest])) return false;
    if (stop) return !isAscii(word, "featuring");
    // In "Little Feat & Friends" and "Little Feat feat. Ann", "Feat" belongs to the band's name.
    const std::string_view name = text.substr(guest, wordEnd(text, guest) - guest);
    return guest > end && !name.empty() && !isGuestWord(name) && !isAscii(word, "ft");
}

/** Whether the text before `word` excludes a guest: "6 ft. Under", "Live at Ft. Rock", "The Featuring". */
bool standsAlone(std::string_view word, std::string_view before) {
    const std::string_view text = before.substr(0, before.find_last_not_of(blanks) + 1);
    const std::string_view last = text.substr(wordBegin(text, text.size()));
    const bool number = text.size() <= 3 && text.find_first_not_of("0123456789") == std::string_view::npos;
    const bool feet = number && isAscii(word, "ft");
    return feet || isAnyOf(last, {"at", "from", "in", "near", "of", "the", "to"});
}

Remainder withoutGuests(std::string_view text) {
    Remainder rest;
    for (std::size_t i = 0; i < text.size();) {
        if (!isWordByte(text[i])) {
            rest.append(text[i++]);
            continue;
        }
        const std::size_t end = wordEnd(text, i);
        const std::string_view word = text.substr(i, end - i);
        const bool guest = isGuestWord(word) && rest.isNamed() && announces(word, text, end) &&
                           !standsAlone(word, rest.view());
        if (guest) {
            rest.cut(rest.size());
            rest.trimSeparators();
        } else {
            rest.append(word);
        }
        i = guest ? std::min(text.find_first_of(brackets, end), text.size()) : end;
    }
    return rest;
}

/** The position of the last dash between blanks; npos if there is none. */
std::size_t lastDash(std::string_view text) {
    for (std::size_t i = text.size(); i-- > 1;) {
        const std::size_t length = dashLength(text, i);
        const bool apart = length > 0 && i + length < text.size() && isOneOf(blanks, text[i - 1]);
        if (apart && isOneOf(blanks, text[i + length])) return i;
    }
    return std::string_view::npos;
}

bool isEditionNote(std::string_view text) {
    EditionNote note;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t end = std::max(wordEnd(text, i), i + 1);
        if (isWordByte(text[i])) {
            note.add(text.substr(i, end - i));
        } else if (isOneOf(brackets, text[i])) {
            return false; // this group was kept, so it is not an edition note
        }
        i = end;
    }
    return note.isEdition();
}

/** Cuts off one edition note after a dash. @return false if there is none */
bool cutDashNote(Remainder& rest) {
    const std::string_view text = rest.view();
    const std::size_t dash = lastDash(text);
    if (dash == std::string_view::npos || !rest.isNamed(dash)) return false;
    if (!isEditionNote(text.substr(dash + dashLength(text, dash)))) return false;
    rest.cut(dash);
    rest.trimSeparators();
    return true;
}

/** Cuts off one "disc 2". @return false if there is none */
bool cutDisc(Remainder& rest) {
    const std::string_view text = rest.view().substr(0, rest.view().find_last_not_of(blanks) + 1);
    std::size_t begin = wordBegin(text, text.size());
    const std::string number = folded(text.substr(begin));
    if (isDiscNumber(number)) {
        const std::size_t end = text.substr(0, begin).find_last_not_of(" .#") + 1;
        begin = wordBegin(text, end);
        if (!isDiscWord(folded(text.substr(begin, end - begin)))) return false;
    } else if (!isNumberedDisc(number)) {
        return false;
    }
    if (begin == 0 || !rest.isNamed(begin) || !isOneOf(" \t,;:", text[begin - 1])) return false;
    rest.cut(begin);
    rest.trimSeparators();
    return true;
}

std::string_view withoutThe(std::string_view text) {
    const std::size_t end = text.find_last_not_of(blanks) + 1;
    const std::size_t comma = text.rfind(',');
    std::string_view result = text;
    if (comma != std::string_view::npos) {
        const std::size_t word = text.find_first_not_of(blanks, comma + 1);
        const bool trailing = word < end && isAscii(text.substr(word, end - word), "the");
        if (trailing) result = text.substr(0, text.substr(0, comma).find_last_not_of(blanks) + 1);
    }
    const std::size_t begin = std::min(result.find_first_not_of(blanks), result.size());
    const std::size_t first = wordEnd(result, begin);
    if (isAscii(result.substr(begin, first - begin), "the")) {
        const std::size_t second = std::min(result.find_first_not_of(blanks, first), result.size());
        if (second > first) result = result.substr(second);
    }
    const std::string_view left = result.substr(0, wordEnd(result, 0));
    const bool name = result.find_first_not_of(nameless) != std::string_view::npos && !isAscii(left, "the");
    return name ? result : text;
}

} // namespace

std::string withoutStopWords(std::string_view text) {
    Remainder rest = withoutGuests(GroupFilter()(text).view());
    while (cutDashNote(rest)) {
    }
    while (cutDisc(rest)) {
    }
    return std::string(withoutThe(rest.view()));
}

std::string matchText(std::string_view text) { return folded(withoutStopWords(toUtf8(text))); }

} // namespace text
