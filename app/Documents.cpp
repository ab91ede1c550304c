// SPDX-License-Identifier: MIT
#include "app/Documents.h"

#include "text/Utf8.h"
#include "text/Xml.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

namespace app {
namespace {

constexpr std::string_view declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

void appendText(std::string& document, std::string_view element, const std::string& text) {
    fmt::format_to(std::back_inserter(document), "    <{0}>{1}</{0}>\n", element, text::xmlEscaped(text));
}

void appendSong(std::string& document, const store::Record& record) {
    appendText(document, "Artist", record.artist);
    appendText(document, "Album", record.album);
    appendText(document, "Title", record.title);
    appendText(document, "Sampler", record.sampler ? "1" : "0");
}

void appendImage(std::string& document, const store::ImageInfo& image) {
    fmt::format_to(std::back_inserter(document),
                   "    <Image hash=\"{}\" type=\"{}\" width=\"{}\" height=\"{}\" bytes=\"{}\"/>\n",
                   image.hash, text::xmlEscaped(image.mimeType), image.widthPixels, image.heightPixels,
                   image.sizeBytes);
}

std::string_view kindName(store::JobKind kind) {
    return kind == store::JobKind::WriteTag ? "writeTag" : "delete";
}

std::string_view stateName(store::JobState state) {
    switch (state) {
    case store::JobState::Queued:
        return "queued";
    case store::JobState::Running:
        return "running";
    case store::JobState::Done:
        return "done";
    case store::JobState::Failed:
        break;
    }
    return "failed";
}

void appendJob(std::string& document, const store::Job& job) {
    auto out = std::back_inserter(document);
    fmt::format_to(out, "    <Job id=\"{}\" kind=\"{}\" state=\"{}\"", job.id, kindName(job.kind),
                   stateName(job.state));
    if (job.kind == store::JobKind::WriteTag)
        fmt::format_to(out, " file=\"{}\"", text::xmlEscaped(text::toUtf8(job.path)));
    if (!job.reason.empty()) fmt::format_to(out, " reason=\"{}\"", text::xmlEscaped(job.reason));
    document += "/>\n";
}

void appendKnown(std::string& document, std::string_view element, const std::string& text) {
    if (!text.empty()) appendText(document, element, text);
}

void appendSongElement(std::string& document, const store::Record& song) {
    document += "  <Song>\n";
    appendSong(document, song);
    document += "  </Song>\n";
}

void appendKnown(std::string& document, std::string_view element, std::optional<std::int64_t> number) {
    if (number) appendText(document, element, std::to_string(*number));
}

std::string_view stateName(sources::SourceState state) {
    switch (state) {
    case sources::SourceState::Idle:
        return "idle";
    case sources::SourceState::Kept:
        return "kept";
    case sources::SourceState::Answered:
        return "answered";
    case sources::SourceState::Failed:
        break;
    }
    return "failed";
}

void appendReports(std::string& document, const std::vector<sources::SourceReport>& reports) {
    auto out = std::back_inserter(document);
    for (const sources::SourceReport& report : reports) {
        fmt::format_to(out, "  <WebSource name=\"{}\" state=\"{}\" found=\"{}\"", report.name,
                       stateName(report.state), report.found);
        if (!report.reason.empty()) fmt::format_to(out, " reason=\"{}\"", text::xmlEscaped(report.reason));
        document += "/>\n";
    }
}

/** What a suggestion and an album's name have in common. */
void appendRanked(std::string& document, const matching::Ranked& ranked) {
    appendText(document, "Source", ranked.candidate.source);
    for (const std::string& source : ranked.alsoFrom)
        appendText(document, "Source", source);
    appendText(document, "Reason", ranked.judgement.reason);
    appendKnown(document, "Date", ranked.candidate.date);
    appendKnown(document, "ReleaseId", ranked.candidate.releaseId);
    appendKnown(document, "ReleaseGroupId", ranked.candidate.groupId);
    appendKnown(document, "Page", ranked.candidate.page);
}

void appendSuggestion(std::string& document, const matching::Ranked& ranked) {
    const matching::Candidate& candidate = ranked.candidate;
    fmt::format_to(std::back_inserter(document), "  <Suggestion score=\"{:.3f}\">\n", ranked.judgement.score);
    appendText(document, "Artist", candidate.artist);
    appendText(document, "Album", candidate.album);
    appendKnown(document, "Title", candidate.title);
    appendRanked(document, ranked);
    appendText(document, "ImageUrl", candidate.pictureUrl);
    appendKnown(document, "ThumbnailUrl", candidate.thumbnailUrl);
    if (candidate.widthPixels > 0 && candidate.heightPixels > 0) {
        appendText(document, "Width", std::to_string(candidate.widthPixels));
        appendText(document, "Height", std::to_string(candidate.heightPixels));
    }
    document += "  </Suggestion>\n";
}

} // namespace

std::string queryDocument(const std::vector<ListedEntry>& entries, std::int64_t total) {
    std::string document(declaration);
    fmt::format_to(std::back_inserter(document), "<Query total=\"{}\">\n", total);
    for (const ListedEntry& listed : entries) {
        fmt::format_to(std::back_inserter(document), "  <Entry id=\"{}\">\n", listed.entry.id);
        appendSong(document, listed.entry.record);
        if (listed.entry.image) appendImage(document, *listed.entry.image);
        for (const store::Job& job : listed.jobs)
            appendJob(document, job);
        document += "  </Entry>\n";
    }
    return document += "</Query>\n";
}

std::string showEmptyDocument(const std::vector<store::Entry>& entries) {
    std::string document(declaration);
    document += "<ShowEmpty>\n";
    for (const store::Entry& entry : entries) {
        fmt::format_to(std::back_inserter(document), "  <Entry id=\"{}\">\n", entry.id);
        appendSong(document, entry.record);
        document += "  </Entry>\n";
    }
    return document += "</ShowEmpty>\n";
}

std::string parametersDocument(const std::vector<store::Parameter>& parameters) {
    std::string document(declaration);
    document += "<Parameters>\n";
    for (const store::Parameter& parameter : parameters)
        fmt::format_to(std::back_inserter(document), "  <Parameter name=\"{}\">{}</Parameter>\n",
                       text::xmlEscaped(parameter.name), text::xmlEscaped(parameter.value));
    return document += "</Parameters>\n";
}

std::string coverartDocument(const store::Record& song, const SongLookup& covers) {
    std::string document(declaration);
    document += "<CoverartInformation>\n";
    appendSongElement(document, song);
    for (const matching::Ranked& ranked : covers.found)
        appendSuggestion(document, ranked);
    appendReports(document, covers.reports);
    return document += "</CoverartInformation>\n";
}

std::string albumNamesDocument(const store::Record& song, const SongLookup& albums) {
    std::string document(declaration);
    document += "<AlbumNames>\n";
    appendSongElement(document, song);
    for (const matching::Ranked& ranked : albums.found) {
        fmt::format_to(std::back_inserter(document), "  <Album score=\"{:.3f}\">\n", ranked.judgement.score);
        appendText(document, "Name", ranked.candidate.album);
        appendText(document, "Artist", ranked.candidate.artist);
        appendRanked(document, ranked);
        document += "  </Album>\n";
    }
    appendReports(document, albums.reports);
    return document += "</AlbumNames>\n";
}

std::string albumSongsDocument(const store::Record& song, const std::vector<DeviceSong>& songs) {
    std::string document(declaration);
    document += "<AlbumSongs>\n";
    appendSongElement(document, song);
    for (const DeviceSong& track : songs) {
        document += "  <Track>\n";
        appendKnown(document, "Number", track.number);
        appendKnown(document, "Disc", track.disc);
        appendKnown(document, "Title", track.title);
        appendKnown(document, "Artist", track.artist);
        if (track.length) appendKnown(document, "Length", track.length->count());
        appendKnown(document, "File", track.file);
        document += "  </Track>\n";
    }
    return document += "</AlbumSongs>\n";
}

} // namespace app
