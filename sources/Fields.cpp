// SPDX-License-Identifier: MIT
#include "sources/Fields.h"

#include "text/Fold.h"

#include <algorithm>
#include <array>
#include <utility>

namespace sources {
namespace {

bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

/** Whether `text` has the form of `pattern`, in which "0" stands for a digit and "x" for a hexadecimal one.
 */
bool hasForm(std::string_view text, std::string_view pattern) noexcept {
    return std::ranges::equal(text, pattern, [](char c, char form) {
        if (form == '0') return isDigit(c);
        if (form == 'x') return isDigit(c) || (c >= 'a' && c <= 'f');
        return c == form;
    });
}

/** Blanks, controls and what would end an attribute have no place in a URL. */
bool mayStandInAddress(char c) noexcept {
    return static_cast<unsigned char>(c) > ' ' && c != '\x7F' && c != '"' && c != '<' && c != '>' &&
           c != '\\';
}

} // namespace

std::string nameFrom(std::string_view text) {
    return text.size() <= maxNameBytes ? std::string(text) : std::string();
}

bool isWebAddress(std::string_view text) noexcept {
    if (text.size() > maxAddressBytes || !std::ranges::all_of(text, mayStandInAddress)) return false;
    for (const std::string_view scheme : {"https://", "http://"}) {
        if (!text.starts_with(scheme)) continue;
        const std::string_view rest = text.substr(scheme.size());
        const std::string_view server = rest.substr(0, std::min(rest.find_first_of("/?#"), rest.size()));
        return !server.empty() && server.find('@') == std::string_view::npos;
    }
    return false;
}

std::string webAddressFrom(std::string_view text) {
    return isWebAddress(text) ? std::string(text) : std::string();
}

std::string dateFrom(std::string_view text) {
    for (const std::string_view pattern : {"0000-00-00", "0000-00", "0000"}) {
        const std::string_view date = text.substr(0, pattern.size());
        if (hasForm(date, pattern) && !date.starts_with("0000")) return std::string(date);
    }
    return {};
}

bool isMbid(std::string_view text) noexcept { return hasForm(text, "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx"); }

std::string mbidFrom(std::string_view text) { return isMbid(text) ? std::string(text) : std::string(); }

ReleaseKind kindNamed(std::string_view word) {
    using Named = std::pair<std::string_view, ReleaseKind>;
    static constexpr std::array<Named, 11> kinds{{{"", ReleaseKind::Unknown},
                                                  {"album", ReleaseKind::Album},
                                                  {"mini album", ReleaseKind::Album},
                                                  {"single", ReleaseKind::Single},
                                                  {"maxi single", ReleaseKind::Single},
                                                  {"ep", ReleaseKind::Single},
                                                  {"live", ReleaseKind::Live},
                                                  {"live album", ReleaseKind::Live},
                                                  {"soundtrack", ReleaseKind::Soundtrack},
                                                  {"compilation", ReleaseKind::Compilation},
                                                  {"compile", ReleaseKind::Compilation}}};
    const auto* const found = std::ranges::find(kinds, text::folded(nameFrom(word)), &Named::first);
    return found == kinds.end() ? ReleaseKind::Other : found->second;
}

ReleaseKind tellingKind(const std::vector<ReleaseKind>& kinds) noexcept {
    for (const ReleaseKind kind : {ReleaseKind::Compilation, ReleaseKind::Soundtrack, ReleaseKind::Live,
                                   ReleaseKind::Other, ReleaseKind::Single, ReleaseKind::Album})
        if (std::ranges::find(kinds, kind) != kinds.end()) return kind;
    return ReleaseKind::Unknown;
}

void settleSampler(Candidate& candidate) {
    if (candidate.artist == "Various") candidate.artist = variousArtists;
    const bool open = candidate.kind == ReleaseKind::Unknown || candidate.kind == ReleaseKind::Album;
    if (candidate.artist == variousArtists && open) candidate.kind = ReleaseKind::Compilation;
}

bool mayGrow(const std::vector<Candidate>& candidates) noexcept { return candidates.size() < maxCandidates; }

util::Exception unexpectedAnswer() {
    return util::Exception("The answer has another form than the service documents.");
}

} // namespace sources
