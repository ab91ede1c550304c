// SPDX-License-Identifier: MIT
#include "matching/Wanted.h"

#include "text/Fold.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>

namespace matching {

namespace {

bool isOneOf(std::string_view folded, std::initializer_list<std::string_view> names) {
    return std::ranges::find(names, folded) != names.end();
}

bool isUnknown(std::string_view name) {
    return isOneOf(text::folded(name.substr(0, 64)),
                   {"unknown", "unknown album", "unknown artist", "unknown title", "unbekannt",
                    "unbekanntes album", "unbekannter interpret"});
}

std::string known(const std::string& name) { return isUnknown(name) ? std::string() : name; }

bool endsInWords(std::string_view name, std::string_view words) {
    const std::string folded = text::folded(name);
    if (!folded.ends_with(words) || folded.size() == words.size()) return false;
    return folded[folded.size() - words.size() - 1] == ' ';
}

/** Removes the note after the name, in brackets or after the last dash, if `fits` accepts its folded text. */
template <typename Fits>
bool cutSuffix(std::string& name, Fits fits) {
    for (const std::string_view opening : {" (", " [", " - ", " – "}) {
        const std::size_t begin = name.rfind(opening);
        if (begin == std::string::npos || begin == 0 || begin + 256 < name.size()) continue;
        if (!fits(text::folded(std::string_view(name).substr(begin)))) continue;
        name.resize(begin);
        return true;
    }
    return false;
}

/** Matches whole notes, because "Live and Let Die" is a title. */
bool isLiveNote(std::string_view folded) {
    return isOneOf(folded, {"live", "live version", "live recording"}) || folded.starts_with("live at ") ||
           folded.starts_with("live in ") || folded.starts_with("live from ") ||
           folded.starts_with("live on ");
}

/** Moves notes about the kind, added by shops and players, from the names into `wanted.kind`. */
void takeKind(Wanted& wanted) {
    const auto isSingle = [](std::string_view note) {
        return isOneOf(note, {"single", "ep", "cd single", "maxi single"});
    };
    if (cutSuffix(wanted.album, isSingle)) wanted.kind = ReleaseKind::Single;
    if (endsInWords(wanted.album, "ost") || endsInWords(wanted.album, "soundtrack"))
        wanted.kind = ReleaseKind::Soundtrack;
    if (!wanted.album.empty()) return;
    if (cutSuffix(wanted.title, isLiveNote)) wanted.kind = ReleaseKind::Live;
}

/** Removes a track number such as "03 ", "03. " or "3 - ". Keeps the number of "99 Days". */
void takeTrackNumber(std::string& title) {
    const std::size_t end = title.find_first_not_of("0123456789");
    if (end == std::string::npos || end == 0 || end > 3) return;
    const std::size_t name = title.find_first_not_of(" .-_", end);
    const bool dashed = title.compare(end, 3, " - ") == 0;
    const bool numbered = dashed || (title.front() == '0' && end == 2 && name != end);
    if (numbered && name != std::string::npos) title.erase(0, name);
}

} // namespace

bool isVarious(std::string_view artist) {
    return isOneOf(
        text::folded(artist.substr(0, 64)),
        {"various artists", "various", "va", "verschiedene interpreten", "verschiedene", "diverse"});
}

Wanted wantedBy(const Question& question) {
    Wanted wanted;
    wanted.artist = known(question.artist);
    wanted.album = known(question.album);
    wanted.title = known(question.title);
    wanted.sampler = question.sampler || isVarious(question.artist);
    if (isVarious(wanted.artist)) wanted.artist.clear();
    takeKind(wanted);
    takeTrackNumber(wanted.title);
    return wanted;
}

} // namespace matching
