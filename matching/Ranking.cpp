// SPDX-License-Identifier: MIT
#include "matching/Ranking.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

namespace matching {

namespace {

constexpr double nearlyAgreeing = 0.5;
constexpr double sameLeast = 0.965; // an album that begins with the artist agrees too
constexpr double withoutNotesLeast = 0.955;

// How far kind, status and picture may lower the score.
constexpr double traitsBesideAlbum = 0.06;
constexpr double traitsBesideTitle = 0.2;
constexpr double kindShare = 0.6;
constexpr double statusShare = 0.3;
constexpr double pictureShare = 0.1;
constexpr double otherThanAsked = 0.3; // factor if the names ask for another kind
constexpr int largePicturePixels = 1000;

double kindValue(ReleaseKind kind) {
    switch (kind) {
    case ReleaseKind::Album:
        return 1;
    case ReleaseKind::Unknown:
        return 0.8;
    case ReleaseKind::Single:
        return 0.7;
    case ReleaseKind::Soundtrack:
        return 0.6;
    case ReleaseKind::Live:
        return 0.5;
    case ReleaseKind::Other:
        return 0.4;
    case ReleaseKind::Compilation:
        break;
    }
    return 0.2;
}

double samplerKindValue(const Candidate& candidate) {
    const double artists = isVarious(candidate.artist) ? 0.5 : 0;
    const bool usual =
        candidate.kind == ReleaseKind::Compilation || candidate.kind == ReleaseKind::Soundtrack;
    const double unusual = candidate.kind == ReleaseKind::Unknown ? 0.3 : 0.1;
    return artists + (usual ? 0.5 : unusual);
}

double kindValue(const Wanted& wanted, const Candidate& candidate) {
    if (wanted.kind != ReleaseKind::Unknown && wanted.kind == candidate.kind) return 1;
    if (wanted.sampler) return samplerKindValue(candidate);
    const double usual = kindValue(candidate.kind);
    return wanted.kind == ReleaseKind::Unknown ? usual : usual * otherThanAsked;
}

double statusValue(ReleaseStatus status) {
    switch (status) {
    case ReleaseStatus::Official:
        return 1;
    case ReleaseStatus::Unknown:
        return 0.8;
    case ReleaseStatus::Promotion:
        return 0.4;
    case ReleaseStatus::Bootleg:
        break;
    }
    return 0;
}

/** An unknown size counts as medium. */
double pictureValue(const Candidate& candidate) {
    if (candidate.widthPixels <= 0 || candidate.heightPixels <= 0) return 0.5;
    const int shorter = std::min({candidate.widthPixels, candidate.heightPixels, largePicturePixels});
    return static_cast<double>(shorter) / largePicturePixels;
}

/** The factor for kind and status. */
double traitsFactor(const Wanted& wanted, const Candidate& candidate) {
    const bool byTitle = wanted.album.empty() || wanted.sampler;
    const double traits = byTitle ? traitsBesideTitle : traitsBesideAlbum;
    const double missing =
        kindShare * (1 - kindValue(wanted, candidate)) + statusShare * (1 - statusValue(candidate.status));
    return 1 - traits * missing;
}

double pictureFactor(const Candidate& candidate) {
    return 1 - traitsBesideAlbum * pictureShare * (1 - pictureValue(candidate));
}

std::string_view kindName(ReleaseKind kind) {
    switch (kind) {
    case ReleaseKind::Album:
        return "album";
    case ReleaseKind::Single:
        return "single";
    case ReleaseKind::Live:
        return "live album";
    case ReleaseKind::Soundtrack:
        return "soundtrack";
    case ReleaseKind::Compilation:
        return "compilation";
    case ReleaseKind::Unknown:
    case ReleaseKind::Other:
        break;
    }
    return "release";
}

std::string_view statusName(ReleaseStatus status) {
    switch (status) {
    case ReleaseStatus::Official:
        return "official ";
    case ReleaseStatus::Promotion:
        return "promotional ";
    case ReleaseStatus::Bootleg:
        return "bootleg ";
    case ReleaseStatus::Unknown:
        break;
    }
    return "";
}

using Names = std::vector<std::string_view>;

/** "artist, album and title" */
std::string listed(const Names& names) {
    std::string result;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) result += i + 1 == names.size() ? " and " : ", ";
        result += names[i];
    }
    return result;
}

void addClause(std::string& reason, const Names& names, std::string_view one, std::string_view several) {
    if (names.empty()) return;
    if (!reason.empty()) reason += "; ";
    reason += listed(names);
    reason += names.size() == 1 ? one : several;
}

std::string namesClauses(const Agreement& agreement) {
    Names same;
    Names withoutNotes;
    Names near;
    Names different;
    const std::array<std::pair<std::string_view, std::optional<double>>, 3> all = {
        {{agreement.byTrackArtist ? "track artist" : "artist", agreement.artist},
         {"album", agreement.album},
         {"title", agreement.title}}};
    for (const auto& [name, value] : all) {
        if (!value) continue;
        Names& group = *value >= sameLeast           ? same
                       : *value >= withoutNotesLeast ? withoutNotes
                       : *value >= nearlyAgreeing    ? near
                                                     : different;
        group.push_back(name);
    }
    std::string reason;
    addClause(reason, same, " agrees", " agree");
    addClause(reason, withoutNotes, " agrees without its edition note", " agree without their edition notes");
    addClause(reason, near, " nearly agrees", " nearly agree");
    addClause(reason, different, " differs", " differ");
    return reason;
}

std::string reasonFor(const Wanted& wanted, const Candidate& candidate, const Agreement& agreement) {
    std::string reason = namesClauses(agreement);
    if (!wanted.artist.empty() && !agreement.artist)
        addClause(reason, {"artist"}, agreement.inOtherScript ? " in another script" : " unknown", "");
    if (wanted.album.empty() && !wanted.title.empty() && !agreement.title)
        addClause(reason, {"title"}, " unknown", "");
    if (reason.empty()) reason = "nothing to compare";
    reason += "; ";
    reason += statusName(candidate.status);
    reason += kindName(candidate.kind);
    if (isVarious(candidate.artist)) reason += " of various artists";
    reason.front() = static_cast<char>(reason.front() - 'a' + 'A');
    return reason + ".";
}

/**
 * The sort key for a date. A vague date comes after the precise dates in the same period; a missing date
 * comes last.
 */
std::string dateOrder(const Candidate& candidate) {
    return candidate.date.empty() ? "9999" : candidate.date + "-99";
}

} // namespace

Judge::Judge(const Question& question) : question_(question), wanted_(wantedBy(question)) {}

const Agreement& Judge::agreementWith(const Candidate& candidate) {
    // Everything that compare() reads of a candidate.
    CandidateNames names{candidate.artist, candidate.trackArtist, candidate.album, candidate.title};
    const auto [known, isNew] = agreements_.try_emplace(std::move(names));
    if (isNew) known->second = compare(wanted_, candidate);
    return known->second;
}

Judgement Judge::judge(const Candidate& candidate) {
    const Agreement& agreement = agreementWith(candidate);
    return {.score = agreement.total * traitsFactor(wanted_, candidate) * pictureFactor(candidate),
            .reason = reasonFor(wanted_, candidate, agreement)};
}

std::vector<Ranked> Judge::rank(std::vector<Candidate> candidates) {
    std::vector<Ranked> ranked;
    ranked.reserve(candidates.size());
    for (Candidate& candidate : candidates) {
        Judgement judgement = judge(candidate);
        ranked.push_back({std::move(candidate), std::move(judgement), {}});
    }
    std::ranges::stable_sort(ranked, [](const Ranked& one, const Ranked& other) {
        return std::pair(-one.judgement.score, dateOrder(one.candidate)) <
               std::pair(-other.judgement.score, dateOrder(other.candidate));
    });
    return ranked;
}

} // namespace matching
