// SPDX-License-Identifier: MIT
#include "sources/KeptCandidates.h"

#include "sources/Json.h"
#include "util/Exception.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

namespace sources {
namespace {

// [1, candidate, candidate ...]. A candidate is an array: its texts, then its numbers, in the order below.
// Field names are left out: the text is kept for weeks and should be short. Any change needs a new version.
constexpr int version = 1;

constexpr std::array texts{
    &matching::Candidate::source,     &matching::Candidate::artist,      &matching::Candidate::album,
    &matching::Candidate::title,      &matching::Candidate::trackArtist, &matching::Candidate::date,
    &matching::Candidate::releaseId,  &matching::Candidate::groupId,     &matching::Candidate::page,
    &matching::Candidate::pictureUrl, &matching::Candidate::thumbnailUrl};

constexpr std::size_t kindAt = texts.size();
constexpr std::size_t statusAt = kindAt + 1;
constexpr std::size_t widthAt = kindAt + 2;
constexpr std::size_t heightAt = kindAt + 3;
constexpr std::size_t fieldCount = kindAt + 4;

constexpr int lastKind = static_cast<int>(matching::ReleaseKind::Other);
constexpr int lastStatus = static_cast<int>(matching::ReleaseStatus::Bootleg);
constexpr int anyNumber = std::numeric_limits<int>::max();

util::Exception foreignText() {
    return util::Exception("What was kept of an answer was written by another version.");
}

int numberIn(const json::Value& value, int largest) {
    const auto* const number = value.get_ptr<const json::Value::number_unsigned_t*>();
    if (number == nullptr || *number > static_cast<std::uint64_t>(largest)) throw foreignText();
    return static_cast<int>(*number);
}

matching::Candidate candidateFrom(const json::Value::array_t& fields) {
    if (fields.size() != fieldCount) throw foreignText();
    matching::Candidate candidate{
        .kind = static_cast<matching::ReleaseKind>(numberIn(fields[kindAt], lastKind)),
        .status = static_cast<matching::ReleaseStatus>(numberIn(fields[statusAt], lastStatus)),
        .widthPixels = numberIn(fields[widthAt], anyNumber),
        .heightPixels = numberIn(fields[heightAt], anyNumber)};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const auto* const text = fields[i].get_ptr<const std::string*>();
        if (text == nullptr) throw foreignText();
        candidate.*texts.at(i) = *text;
    }
    return candidate;
}

} // namespace

std::string toText(const std::vector<matching::Candidate>& candidates) {
    json::Value written = json::Value::array({version});
    for (const matching::Candidate& candidate : candidates) {
        json::Value fields = json::Value::array();
        for (const auto text : texts)
            fields.push_back(candidate.*text);
        for (const int number : {static_cast<int>(candidate.kind), static_cast<int>(candidate.status),
                                 candidate.widthPixels, candidate.heightPixels})
            fields.push_back(number);
        written.push_back(std::move(fields));
    }
    return written.dump(-1, ' ', false, json::Value::error_handler_t::replace);
}

std::vector<matching::Candidate> candidatesFrom(std::string_view text) {
    const auto kept = json::Value::parse(text, nullptr, false);
    const auto* const list = kept.get_ptr<const json::Value::array_t*>();
    if (list == nullptr || list->empty() || list->front() != version) throw foreignText();
    std::vector<matching::Candidate> candidates;
    for (std::size_t i = 1; i < list->size(); ++i)
        candidates.push_back(candidateFrom(json::elements((*list)[i])));
    return candidates;
}

} // namespace sources
