// SPDX-License-Identifier: MIT
#include "sources/Fields.h"

#include "net/Url.h"
#include "text/Fold.h"

#include <algorithm>
#include <array>
#include <utility>

namespace sources {
namespace {

bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

/** Whether `text` matches `pattern`: "0" stands for a digit, "x" for a hexadecimal digit in lower case. */
bool hasForm(std::string_view text, std::string_view pattern) noexcept {
    return std::ranges::equal(text, pattern, [](char c, char form) {
        if (form == '0') return isDigit(c);
        if (form == 'x') return isDigit(c) || (c >= 'a' && c <= 'f');
        return c == form;
    });
}

} // namespace

std::string nameFrom(std::string_view text) {
    return text.size() <= maxNameBytes ? std::string(text) : std::string();
}

std::string webAddressFrom(std::string_view text) {
    return net::isWebAddress(text) ? std::string(text) : std::string();
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

matching::ReleaseKind kindNamed(std::string_view word) {
    using Named = std::pair<std::string_view, matching::ReleaseKind>;
    static constexpr std::array<Named, 11> kinds{{{"", matching::ReleaseKind::Unknown},
                                                  {"album", matching::ReleaseKind::Album},
                                                  {"mini album", matching::ReleaseKind::Album},
                                                  {"single", matching::ReleaseKind::Single},
                                                  {"maxi single", matching::ReleaseKind::Single},
                                                  {"ep", matching::ReleaseKind::Single},
                                                  {"live", matching::ReleaseKind::Live},
                                                  {"live album", matching::ReleaseKind::Live},
                                                  {"soundtrack", matching::ReleaseKind::Soundtrack},
                                                  {"compilation", matching::ReleaseKind::Compilation},
                                                  {"compile", matching::ReleaseKind::Compilation}}};
    const auto* const found = std::ranges::find(kinds, text::folded(nameFrom(word)), &Named::first);
    return found == kinds.end() ? matching::ReleaseKind::Other : found->second;
}

matching::ReleaseKind tellingKind(const std::vector<matching::ReleaseKind>& kinds) noexcept {
    for (const matching::ReleaseKind kind :
         {matching::ReleaseKind::Compilation, matching::ReleaseKind::Soundtrack, matching::ReleaseKind::Live,
          matching::ReleaseKind::Other, matching::ReleaseKind::Single, matching::ReleaseKind::Album})
        if (std::ranges::find(kinds, kind) != kinds.end()) return kind;
    return matching::ReleaseKind::Unknown;
}

void settleSampler(matching::Candidate& candidate) {
    if (candidate.artist == "Various") candidate.artist = variousArtists;
    const bool open =
        candidate.kind == matching::ReleaseKind::Unknown || candidate.kind == matching::ReleaseKind::Album;
    if (candidate.artist == variousArtists && open) candidate.kind = matching::ReleaseKind::Compilation;
}

bool mayGrow(const std::vector<matching::Candidate>& candidates) noexcept {
    return candidates.size() < maxCandidates;
}

util::Exception unexpectedAnswer() {
    return util::Exception("The answer has another form than the service documents.");
}

} // namespace sources
