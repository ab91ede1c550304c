// SPDX-License-Identifier: MIT
#include "app/Documents.h"

#include "text/Utf8.h"
#include "text/Xml.h"

#include <fmt/format.h>

#include <iterator>
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

} // namespace app
