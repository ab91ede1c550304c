// SPDX-License-Identifier: MIT
#include "matching/RankedList.h"

#include "text/StopWords.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace matching {
namespace {

/** The text that is equal for two entries of the same picture or album. */
using Identity = std::string (*)(const Candidate& candidate);

using Merge = void (*)(Ranked& best, const Ranked& other);

/** The scheme doesn't count: http and https give the same picture. */
std::string pictureIdentity(const Candidate& candidate) {
    const std::string_view url = candidate.pictureUrl;
    return std::string(url.substr(url.starts_with("http://") ? 7 : url.starts_with("https://") ? 8 : 0));
}

std::string albumIdentity(const Candidate& candidate) {
    return text::matchText(candidate.album) + '\n' + text::matchText(candidate.artist);
}

void fillIn(std::string& text, const std::string& other) {
    if (text.empty()) text = other;
}

void mergeSources(Ranked& best, const Ranked& other) {
    const std::string& source = other.candidate.source;
    if (source != best.candidate.source && std::ranges::find(best.alsoFrom, source) == best.alsoFrom.end())
        best.alsoFrom.push_back(source);
}

/** Fills in fields that the better candidate lacks: both describe the same picture. */
void mergePictures(Ranked& best, const Ranked& other) {
    mergeSources(best, other);
    Candidate& candidate = best.candidate;
    fillIn(candidate.date, other.candidate.date);
    fillIn(candidate.groupId, other.candidate.groupId);
    fillIn(candidate.page, other.candidate.page);
    fillIn(candidate.thumbnailUrl, other.candidate.thumbnailUrl);
    if (candidate.widthPixels == 0) {
        candidate.widthPixels = other.candidate.widthPixels;
        candidate.heightPixels = other.candidate.heightPixels;
    }
}

/** Fills in the group only: editions share it, but have their own dates and pages. */
void mergeAlbums(Ranked& best, const Ranked& other) {
    mergeSources(best, other);
    fillIn(best.candidate.groupId, other.candidate.groupId);
}

/**
 * The fitting entries of `list`. Each one of `more` is inserted before the first entry with a lower score.
 */
std::vector<Ranked> merged(std::vector<Ranked> list, std::vector<Ranked> more) {
    std::erase_if(list, [](const Ranked& ranked) { return ranked.judgement.score < leastScore; });
    for (Ranked& ranked : more) {
        const auto worse = std::ranges::find_if(
            list, [&](const Ranked& other) { return other.judgement.score < ranked.judgement.score; });
        list.insert(worse, std::move(ranked));
    }
    return list;
}

std::vector<Ranked> withoutDoubles(std::vector<Ranked> list, Identity identity, Merge merge) {
    std::vector<Ranked> best;
    std::unordered_map<std::string, std::size_t> places;
    for (Ranked& entry : list) {
        const auto [place, isNew] = places.emplace(identity(entry.candidate), best.size());
        if (!isNew) {
            if (place->second < best.size()) merge(best[place->second], entry);
        } else if (best.size() < maxRanked) {
            best.push_back(std::move(entry));
        }
    }
    return best;
}

} // namespace

std::vector<Ranked> rankedPictures(Judge& judge, std::vector<Candidate> candidates,
                                   std::vector<Ranked> more) {
    std::erase_if(candidates, [](const Candidate& candidate) { return candidate.pictureUrl.empty(); });
    return withoutDoubles(merged(judge.rank(std::move(candidates)), std::move(more)), pictureIdentity,
                          mergePictures);
}

std::vector<Ranked> rankedAlbums(Judge& judge, std::vector<Candidate> candidates, std::vector<Ranked> more) {
    std::erase_if(candidates, [](const Candidate& candidate) { return candidate.album.empty(); });
    for (Candidate& candidate : candidates)
        candidate.widthPixels = candidate.heightPixels = 0; // a picture must not affect the rank of a name
    return withoutDoubles(merged(judge.rank(std::move(candidates)), std::move(more)), albumIdentity,
                          mergeAlbums);
}

} // namespace matching
