// SPDX-License-Identifier: MIT
#include "net/Url.h"
#include "sources/Fields.h"
#include "sources/Lucene.h"
#include "sources/Names.h"
#include "sources/Source.h"
#include "text/StopWords.h"
#include "util/Numbers.h"
#include "xml/XmlElement.h"

#include <utility>

namespace sources {
namespace {

constexpr std::string_view documentNameSpace = "http://musicbrainz.org/ns/mmd-2.0#";
constexpr std::string_view variousArtistsId = "89ad4ac3-39f7-470e-963a-56509c546377"; // for any credited name
constexpr std::string_view releasePages = "https://musicbrainz.org/release/";

std::string nameIn(const xml::XmlElement& parent, std::string_view child) {
    return nameFrom(parent.child(child).text());
}

/** The artist as credited: the names and the phrases between them. */
std::string creditedArtist(const xml::XmlElement& credit) {
    std::string artist;
    for (const xml::XmlElement& part : credit.children("name-credit")) {
        const xml::XmlElement known = part.child("artist");
        if (known.attribute("id") == variousArtistsId) return std::string(variousArtists);
        const xml::XmlElement name = part.child("name");
        artist += (name ? name : known.child("name")).text() + part.attribute("joinphrase");
        if (artist.size() > maxNameBytes) return {};
    }
    return artist;
}

matching::ReleaseKind kindOf(const xml::XmlElement& group) {
    std::vector<matching::ReleaseKind> secondary;
    for (const xml::XmlElement& type : group.child("secondary-type-list").children("secondary-type"))
        secondary.push_back(kindNamed(type.text()));
    const matching::ReleaseKind kind = tellingKind(secondary);
    return kind == matching::ReleaseKind::Unknown ? kindNamed(group.child("primary-type").text()) : kind;
}

matching::ReleaseStatus statusOf(std::string_view text) noexcept {
    if (text == "Official") return matching::ReleaseStatus::Official;
    if (text == "Promotion") return matching::ReleaseStatus::Promotion;
    if (text == "Bootleg") return matching::ReleaseStatus::Bootleg;
    return matching::ReleaseStatus::Unknown;
}

matching::Candidate candidateFrom(const xml::XmlElement& release) {
    const xml::XmlElement group = release.child("release-group");
    matching::Candidate candidate{.artist = creditedArtist(release.child("artist-credit")),
                                  .album = nameIn(release, "title"),
                                  .kind = kindOf(group),
                                  .status = statusOf(release.child("status").text()),
                                  .date = dateFrom(release.child("date").text()),
                                  .releaseId = mbidFrom(release.attribute("id")),
                                  .groupId = mbidFrom(group.attribute("id"))};
    if (!candidate.releaseId.empty()) candidate.page = std::string(releasePages) + candidate.releaseId;
    return candidate;
}

void addReleases(const xml::XmlElement& list, std::vector<matching::Candidate>& candidates) {
    for (const xml::XmlElement& release : list.children("release")) {
        if (!mayGrow(candidates)) return;
        matching::Candidate candidate = candidateFrom(release);
        if (!candidate.album.empty()) candidates.push_back(std::move(candidate));
    }
}

void addRecording(const xml::XmlElement& recording, std::vector<matching::Candidate>& candidates) {
    const std::size_t before = candidates.size();
    addReleases(recording.child("release-list"), candidates);
    const std::string title = nameIn(recording, "title");
    const std::string artist = creditedArtist(recording.child("artist-credit"));
    for (std::size_t i = before; i < candidates.size(); ++i) {
        candidates[i].title = title;
        candidates[i].trackArtist = artist;
        if (candidates[i].artist.empty()) candidates[i].artist = artist; // sent only if it differs
    }
}

/** @param field "release" or "recording", which contains the name of the work */
std::string exactQuery(std::string_view field, const Names& names) {
    const std::string work = lucene::phrase(field, names.work);
    return names.artist.empty() ? work : work + " AND " + lucene::phrase("artist", names.artist);
}

std::string similarQuery(std::string_view field, const Names& names) {
    const std::string work = lucene::similar(field, text::matchText(names.work));
    return names.artist.empty() ? work
                                : work + " AND " + lucene::similar("artist", text::matchText(names.artist));
}

class MusicBrainz final : public Source {
public:
    MusicBrainz(std::string url, std::chrono::milliseconds pause) : url_(std::move(url)), pause_(pause) {}

    [[nodiscard]] std::string_view name() const noexcept override { return "musicbrainz"; }

    [[nodiscard]] store::Pace pace() const noexcept override { return {.interval = pause_, .burst = 1}; }

    [[nodiscard]] std::vector<Request> requests(const matching::Question& question) const override {
        std::vector<Request> requests;
        addSearches("release", 25, albumNames(question), requests);
        addSearches("recording", 100, titleNames(question), requests);
        return requests;
    }

    [[nodiscard]] std::vector<matching::Candidate> parse(const net::HttpAnswer& answer) const override {
        needSuccess(answer);
        const xml::XmlDoc document = xml::parseXml(answer.body, maxParsedBytes);
        const xml::XmlElement root = xml::XmlElement::rootOf(*document);
        const xml::XmlElement releases = root.child("release-list");
        const xml::XmlElement recordings = root.child("recording-list");
        if (!root.is("metadata") || root.nameSpace() != documentNameSpace || (!releases && !recordings))
            throw unexpectedAnswer();
        std::vector<matching::Candidate> candidates;
        addReleases(releases, candidates);
        for (const xml::XmlElement& recording : recordings.children("recording"))
            addRecording(recording, candidates);
        for (matching::Candidate& candidate : candidates)
            candidate.source = name();
        return candidates;
    }

private:
    /** @param field "release" or "recording": the kind of thing to find, and the field with its name */
    void addSearches(std::string_view field, int limit, const std::vector<Names>& spellings,
                     std::vector<Request>& requests) const {
        const auto add = [&](const std::string& query) {
            requests.push_back({.url = url_ + "/ws/2/" + std::string(field) + "?query=" +
                                       net::urlEncoded(query) + "&limit=" + std::to_string(limit)});
        };
        for (const Names& names : spellings)
            add(exactQuery(field, names));
        if (!spellings.empty()) add(similarQuery(field, spellings.front()));
    }

    std::string url_;
    std::chrono::milliseconds pause_;
};

std::chrono::milliseconds pauseFrom(const std::string& text) noexcept {
    constexpr int usual = 1000;
    constexpr int longest = 3'600'000;
    const int pause = util::wholeNumber<int>(text).value_or(usual);
    return std::chrono::milliseconds(pause <= longest ? pause : usual);
}

} // namespace

std::unique_ptr<Source> musicBrainz(const ParameterReader& parameter) {
    return std::make_unique<MusicBrainz>(parameter("musicBrainzUrl"),
                                         pauseFrom(parameter("musicBrainzPause")));
}

} // namespace sources
