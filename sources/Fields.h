// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Candidate.h"
#include "util/Exception.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// What answers are made of, whatever their form. All of it comes from outside: what is too long or has
// another form counts as not there.

namespace sources {

inline constexpr std::size_t maxNameBytes = 1024;
inline constexpr std::size_t maxParsedBytes = std::size_t{8} * 1024 * 1024;
inline constexpr std::size_t maxCandidates = 500; // of one answer

/** As the artist of a sampler is written. */
inline constexpr std::string_view variousArtists = "Various Artists";

/** The name of an artist, album or title. */
[[nodiscard]] std::string nameFrom(std::string_view text);

/** The URL; empty where it is none. */
[[nodiscard]] std::string webAddressFrom(std::string_view text);

/** What `text` begins with, of "2004-05-17", "2004-05" and "2004". */
[[nodiscard]] std::string dateFrom(std::string_view text);

/** Whether this is an id of MusicBrainz in its canonical form, the only one that is asked for. */
[[nodiscard]] bool isMbid(std::string_view text) noexcept;

/** `text` if it is a canonical id. */
[[nodiscard]] std::string mbidFrom(std::string_view text);

/** A kind as services write it, in any case: "EP", "Soundtrack". Other for words that aren't known. */
[[nodiscard]] matching::ReleaseKind kindNamed(std::string_view word);

/** Of all kinds that are said of an album the one that tells most: a live single is Live. */
[[nodiscard]] matching::ReleaseKind tellingKind(const std::vector<matching::ReleaseKind>& kinds) noexcept;

/** Makes "Various" the name that the others use, and what is by various artists a compilation, unless it is
 * said what it is. */
void settleSampler(matching::Candidate& candidate);

/** Whether there is room for one more. */
[[nodiscard]] bool mayGrow(const std::vector<matching::Candidate>& candidates) noexcept;

/** What `candidateFrom` makes of each of `elements`, but for those without an album's name. */
template <typename Elements, typename Make>
[[nodiscard]] std::vector<matching::Candidate> candidatesOf(std::string_view source, const Elements& elements,
                                                            Make candidateFrom) {
    std::vector<matching::Candidate> candidates;
    for (const auto& element : elements) {
        if (!mayGrow(candidates)) break;
        matching::Candidate candidate = candidateFrom(element);
        candidate.source = source;
        if (!candidate.album.empty()) candidates.push_back(std::move(candidate));
    }
    return candidates;
}

/** To be thrown for an answer that is none of those that are documented. */
[[nodiscard]] util::Exception unexpectedAnswer();

} // namespace sources
