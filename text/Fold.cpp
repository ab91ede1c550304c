// SPDX-License-Identifier: MIT
#include "text/Fold.h"

#include "text/Utf8.h"
#include "util/Exception.h"

#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/uscript.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace text {

namespace {

/** Far longer than any name. After the largest expansion, elevenfold, it still fits ICU's 32-bit lengths. */
constexpr std::size_t maxTextBytes = 64UL * 1024 * 1024;

/**
 * The most marks that one letter keeps; the rest is dropped. Canonical ordering of a longer run would take
 * quadratic time. No language needs more: Unicode's stream-safe format has the same limit.
 */
constexpr int maxMarksInRow = 30;

enum class Kind { Letter, Number, Mark, Decoration, And, FullStop, Blank, Apostrophe, Ignorable, Symbol };

struct Spelling {
    UChar32 letter;
    std::string_view written;
};

/** Letters without a decomposition, and their usual spelling on a keyboard that lacks them. */
constexpr std::array<Spelling, 11> spellings{{{0x00DF, "ss"},  // ß
                                              {0x00E6, "ae"},  // æ
                                              {0x00F0, "d"},   // ð
                                              {0x00F8, "o"},   // ø
                                              {0x00FE, "th"},  // þ
                                              {0x0111, "d"},   // đ
                                              {0x0127, "h"},   // ħ
                                              {0x0131, "i"},   // ı
                                              {0x0142, "l"},   // ł
                                              {0x0153, "oe"},  // œ
                                              {0x0167, "t"}}}; // ŧ

/** Characters used as an apostrophe, apart from ' and `; and the Arabic tatweel, which only adds width. */
constexpr std::array<UChar32, 11> apostrophes{0x02B9, 0x02BB, 0x02BC, 0x02BD, 0x05F3, 0x0640,
                                              0x2018, 0x2019, 0x201B, 0x2032, 0xA78C};

/** The scripts in which marks are optional: people omit them in everyday writing or abroad. */
constexpr std::array<UScriptCode, 8> decoratedScripts{USCRIPT_COMMON, USCRIPT_INHERITED, USCRIPT_LATIN,
                                                      USCRIPT_GREEK,  USCRIPT_CYRILLIC,  USCRIPT_ARABIC,
                                                      USCRIPT_HEBREW, USCRIPT_SYRIAC};

void check(UErrorCode status) {
    if (U_FAILURE(status) == 0) return;
    throw util::Exception(std::string("Unicode's data can't be used: ") + u_errorName(status) + ".");
}

/** Whether `mark` can be removed. It can't if it turns `base` into a different letter. */
bool decorates(UChar32 mark, UChar32 base) {
    const bool japaneseVoicing = mark == 0x3099 || mark == 0x309A;
    const bool cyrillicShortIOrU = mark == 0x0306 && (base == 0x0438 || base == 0x0443);
    const bool cyrillicYi = mark == 0x0308 && base == 0x0456;
    if (japaneseVoicing || cyrillicShortIOrU || cyrillicYi) return false;
    UErrorCode status = U_ZERO_ERROR;
    const UScriptCode script = uscript_getScript(mark, &status);
    check(status);
    return std::ranges::find(decoratedScripts, script) != decoratedScripts.end();
}

Kind asciiKind(UChar32 code) {
    if (code >= 'a' && code <= 'z') return Kind::Letter;
    if (code >= '0' && code <= '9') return Kind::Number;
    if (code <= ' ' || code == 0x7F) return Kind::Blank;
    if (code == '\'' || code == '`') return Kind::Apostrophe;
    if (code == '&' || code == '+') return Kind::And;
    return code == '.' ? Kind::FullStop : Kind::Symbol;
}

/**
 * @param code case-folded
 * @param base the preceding letter, to which `code` belongs if it is a mark
 */
Kind kindOf(UChar32 code, UChar32 base) {
    if (code < 0x80) return asciiKind(code);
    if (std::ranges::find(apostrophes, code) != apostrophes.end()) return Kind::Apostrophe;
    if (u_hasBinaryProperty(code, UCHAR_DEFAULT_IGNORABLE_CODE_POINT) != 0) return Kind::Ignorable;
    const std::uint32_t category = U_GET_GC_MASK(code);
    if ((category & U_GC_M_MASK) != 0) return decorates(code, base) ? Kind::Decoration : Kind::Mark;
    if ((category & U_GC_N_MASK) != 0) return Kind::Number;
    if ((category & (U_GC_Z_MASK | U_GC_CC_MASK)) != 0) return Kind::Blank;
    // Unassigned and private-use characters count as letters: newer Unicode versions may define them as such.
    const bool letter = (category & (U_GC_L_MASK | U_GC_CN_MASK | U_GC_CO_MASK)) != 0;
    return letter ? Kind::Letter : Kind::Symbol;
}

/** Builds the words from single characters and decides how adjacent words are joined. */
class Words {
public:
    void add(UChar32 code) {
        const Kind kind = kindOf(code, base_);
        if (kind == Kind::Letter || kind == Kind::Number) {
            addLetter(code, kind);
        } else if (kind == Kind::Mark) {
            addMark(code);
        } else if (kind == Kind::And) {
            endWord();
            startWord();
            text_ += "and";
            lettersInWord_ = 3;
            endWord();
            seam_ = Seam::Other;
        } else if (kind == Kind::FullStop || kind == Kind::Blank || kind == Kind::Symbol) {
            addSeparator(kind);
        }
    }

    /** Whether the text has a letter, digit or mark; an "and" made from "&" or "+" doesn't count. */
    [[nodiscard]] bool named() const { return named_; }

    [[nodiscard]] std::string take() {
        endWord();
        return std::move(text_);
    }

private:
    enum class Seam { None, FullStop, Other };

    void addLetter(UChar32 code, Kind kind) {
        startWord();
        const auto* spelling = std::ranges::find(spellings, code, &Spelling::letter);
        if (code >= 0x80 && spelling != spellings.end()) {
            text_ += spelling->written;
        } else {
            appendCharacter(text_, static_cast<char32_t>(code));
        }
        // Counts a digit as two letters, so that it is not an initial: "1.5" must not become "15".
        lettersInWord_ += kind == Kind::Letter ? 1 : 2;
        base_ = code;
        marksInRow_ = 0;
        named_ = true;
    }

    void addMark(UChar32 code) {
        if (inWord_ && marksInRow_ >= maxMarksInRow) return;
        startWord();
        appendCharacter(text_, static_cast<char32_t>(code));
        ++marksInRow_;
        named_ = true;
    }

    void addSeparator(Kind kind) {
        endWord();
        if (kind == Kind::FullStop && seam_ == Seam::None) {
            seam_ = Seam::FullStop;
        } else if (kind != Kind::Blank || seam_ == Seam::None) {
            seam_ = Seam::Other;
        }
    }

    void startWord() {
        if (inWord_) return;
        inWord_ = true;
        lettersInWord_ = 0;
        marksInRow_ = 0;
        joint_ = std::string::npos;
        if (text_.empty()) return;
        if (afterInitial_ && seam_ == Seam::FullStop) joint_ = text_.size();
        text_ += ' ';
    }

    void endWord() {
        base_ = 0;
        if (!inWord_) return;
        inWord_ = false;
        seam_ = Seam::None;
        afterInitial_ = lettersInWord_ == 1;
        if (afterInitial_ && joint_ != std::string::npos) text_.erase(joint_, 1);
    }

    std::string text_;
    /** The position of the blank to remove if the current word is another initial; npos if there is none. */
    std::size_t joint_ = std::string::npos;
    UChar32 base_ = 0;
    int lettersInWord_ = 0;
    int marksInRow_ = 0;
    Seam seam_ = Seam::None;
    bool inWord_ = false;
    bool afterInitial_ = false;
    bool named_ = false;
};

/** Builds a name that has no words. */
class Symbols {
public:
    void add(UChar32 code) {
        const Kind kind = kindOf(code, 0);
        if (kind == Kind::Ignorable) return;
        if (kind == Kind::Blank) {
            blank_ = !text_.empty();
            marksInRow_ = 0;
            return;
        }
        marksInRow_ = kind == Kind::Decoration ? marksInRow_ + 1 : 0;
        if (marksInRow_ > maxMarksInRow) return;
        if (blank_) text_ += ' ';
        blank_ = false;
        appendCharacter(text_, static_cast<char32_t>(code));
    }

    [[nodiscard]] std::string take() { return std::move(text_); }

private:
    std::string text_;
    int marksInRow_ = 0;
    bool blank_ = false;
};

/**
 * Passes the characters of `utf8` to `sink`, decomposed (NFKD) and with folded case. The marks of a letter
 * keep their original order.
 */
template <typename Sink>
void addDecomposed(std::string_view utf8, Sink& sink) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* const nfkd = icu::Normalizer2::getNFKDInstance(status);
    check(status);
    icu::UnicodeString parts;
    while (!utf8.empty()) {
        const Character first = firstCharacter(utf8);
        utf8.remove_prefix(first.length);
        const auto code = static_cast<UChar32>(first.code);
        if (code < 0x80) {
            sink.add(code >= 'A' && code <= 'Z' ? code + ('a' - 'A') : code);
        } else if (code == 0x00B4 || code == 0x1FFD) {
            sink.add('\''); // a single acute accent; NFKD would make it a blank and a mark
        } else if (code == 0x2122 || nfkd->getDecomposition(code, parts) == 0) {
            sink.add(u_foldCase(code, U_FOLD_CASE_DEFAULT)); // the trade mark sign must not become "tm"
        } else {
            for (std::int32_t i = 0; i < parts.length(); i = parts.moveIndex32(i, 1)) {
                sink.add(u_foldCase(parts.char32At(i), U_FOLD_CASE_DEFAULT));
            }
        }
    }
}

std::string composed(std::string utf8) {
    const auto ascii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
    if (std::ranges::all_of(utf8, ascii)) return utf8;
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* const nfc = icu::Normalizer2::getNFCInstance(status);
    check(status);
    std::string result;
    icu::StringByteSink<std::string> sink(&result);
    nfc->normalizeUTF8(0, utf8, sink, nullptr, status);
    check(status);
    return result;
}

} // namespace

std::string folded(std::string_view text) {
    if (text.size() > maxTextBytes)
        throw util::Exception("A name is longer than 64 MiB and can't be compared.");
    const std::string utf8 = toUtf8(text);
    Words inWords;
    addDecomposed(utf8, inWords);
    if (inWords.named()) return composed(inWords.take());
    Symbols symbols;
    addDecomposed(utf8, symbols);
    return composed(symbols.take());
}

std::vector<std::string> words(std::string_view foldedText) {
    std::vector<std::string> result;
    std::size_t end = 0;
    for (std::size_t begin = 0; begin < foldedText.size(); begin = end + 1) {
        end = std::min(foldedText.find(' ', begin), foldedText.size());
        if (end > begin) result.emplace_back(foldedText.substr(begin, end - begin));
    }
    return result;
}

} // namespace text
