// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Candidate.h"
#include "util/Exception.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Checks for single fields of an answer, JSON or XML. Answers come from outside: a field that is too long or
// has an unexpected form counts as missing.

namespace sources {

inline constexpr std::size_t maxNameBytes = 1024;
inline constexpr std::size_t maxParsedBytes = std::size_t{8} * 1024 * 1024;
inline constexpr std::size_t maxCandidates = 500; // per answer

/** The artist of every sampler. */
inline constexpr std::string_view variousArtists = "Various Artists";

/** The name of an artist, an album or a title; empty if it is too long. */
[[nodiscard]] std::string nameFrom(std::string_view text);

/** `text` if it is a web address (net/Url.h), else empty. */
[[nodiscard]] std::string webAddressFrom(std::string_view text);

/** The date at the start of `text`: "2004-05-17", "2004-05" or "2004"; else empty. */
[[nodiscard]] std::string dateFrom(std::string_view text);

/** Whether it is a MusicBrainz id in canonical form. Ids in other forms are never put into a request. */
[[nodiscard]] bool isMbid(std::string_view text) noexcept;

/** `text` if it is a canonical id, else empty. */
[[nodiscard]] std::string mbidFrom(std::string_view text);

/** The kind for a service's word, such as "EP" or "Soundtrack", in any case. Unknown words are Other. */
[[nodiscard]] matching::ReleaseKind kindNamed(std::string_view word);

/** The most specific of an album's kinds: a live single is Live. */
[[nodiscard]] matching::ReleaseKind tellingKind(const std::vector<matching::ReleaseKind>& kinds) noexcept;

/**
 * Replaces the artist "Various" by `variousArtists`. Makes an album by various artists a compilation, unless
 * its kind is more specific.
 */
void settleSampler(matching::Candidate& candidate);

/** Whether one more candidate fits below maxCandidates. */
[[nodiscard]] bool mayGrow(const std::vector<matching::Candidate>& candidates) noexcept;

/** Calls `candidateFrom` for each element. Drops candidates without an album's name. */
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

/** The exception for an answer that has none of the documented forms. */
[[nodiscard]] util::Exception unexpectedAnswer();

} // namespace sources
