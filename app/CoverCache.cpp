// SPDX-License-Identifier: MIT
#include "app/CoverCache.h"

#include "app/CurrentCover.h"
#include "app/Documents.h"
#include "app/LibrarySetup.h"
#include "app/OpenStore.h"
#include "app/SongRecord.h"
#include "app/StoredCover.h"
#include "jobs/Runner.h"
#include "store/MatchKey.h"
#include "store/StateFolder.h"
#include "store/sqlite/Store.h"
#include "text/Utf8.h"
#include "util/Exception.h"
#include "util/Log.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <optional>
#include <utility>

namespace {

constexpr std::size_t maxParameterNameBytes = 1024;
constexpr std::size_t maxParameterValueBytes = 65'536;
constexpr std::uint64_t maxQueryLimit = 100'000; // what still is an answer and not a dump
constexpr std::size_t maxPathBytes = 65'536;
constexpr std::uint64_t maxSidePixels = 65'535; // what a JPEG can have
constexpr std::uint64_t maxPauseSeconds = 86'400;

void refuseOverlong(std::string_view what, std::size_t bytes, std::size_t maxBytes) {
    if (bytes > maxBytes)
        throw util::Exception(fmt::format("The {} is longer than {} bytes.", what, maxBytes));
}

jobs::Settings jobSettings(store::CoverStore& store,
                           const std::shared_ptr<app::Parameters::Complaints>& complaints) {
    app::Parameters parameters(&store, complaints);
    return {.musicFolder = parameters.text("musicFolder"),
            .maxPictureSidePixels =
                static_cast<int>(std::min(parameters.number("maxTagPictureSide"), maxSidePixels)),
            .retryPause =
                std::chrono::seconds(std::min(parameters.number("tagRetryPause"), maxPauseSeconds))};
}

jobs::RunnerSetup runnerSetup(const std::filesystem::path& folder) {
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    return {.lockFile = folder / "jobs.lock",
            .tagger = program.parent_path() / "sleevery-tagger",
            .openStore = [folder] { return std::make_unique<store::SqliteStore>(folder); },
            .settings = [complaints = std::make_shared<app::Parameters::Complaints>()](
                            store::CoverStore& store) { return jobSettings(store, complaints); },
            .showCurrentCover =
                [cover = std::make_shared<app::CurrentCover>(folder)](store::CoverStore& store,
                                                                      const std::atomic<bool>& cancelled) {
                    return cover->update(store, cancelled);
                }};
}

} // namespace

struct CoverCache::Impl {
    std::unique_ptr<app::OpenStore> opened;
    std::unique_ptr<jobs::Runner> runner;

    app::OpenStore& open() const {
        if (!opened) throw util::Exception("The cover cache has not been opened.");
        return *opened;
    }

    store::CoverStore& store() const { return *open().store; }
};

CoverCache::CoverCache() : impl_(std::make_unique<Impl>()) {}

CoverCache::~CoverCache() {
    if (app::openStore() == impl_->opened.get()) app::setOpenStore(nullptr);
}

bool CoverCache::CheckDatabase() {
    app::setUpLastWords();
    app::setUpMemory();
    const std::filesystem::path folder = store::stateFolder();
    app::setUpXml(folder);
    impl_->opened = std::make_unique<app::OpenStore>(std::make_unique<store::SqliteStore>(folder));
    app::setOpenStore(impl_->opened.get());
    impl_->runner = std::make_unique<jobs::Runner>(runnerSetup(folder));
    return true;
}

bool CoverCache::GetImage(int id, util::Image* image) {
    const std::optional<store::ImageInfo> info = impl_->store().cover(id);
    if (!info) return false;
    const std::optional<util::Image> found =
        app::storedCover(impl_->store(), impl_->open().parameters, *info);
    if (!found) return false;
    *image = *found;
    return true;
}

bool CoverCache::Lookup(SongInfo& song) {
    if (!song.isValid()) return false;
    store::CoverStore& store = impl_->store();
    const store::Record record = app::recordOf(song);
    std::optional<store::Entry> entry = store.findEntry(record);
    if (!entry) entry = store.registerEntry(record);
    app::complete(song, *entry);
    return entry->image.has_value();
}

int CoverCache::Store(SongInfo& song, bool replace) {
    if (!song.hasImage() || !song.isValid()) {
        util::logLine(song.hasImage() ? "not stored: the record names no song"
                                      : "not stored: there is no image");
        return 0;
    }
    const image::ReceivedImage received = app::receivedImage(*song.getImage());
    const int id = impl_->store().storeImage(app::recordOf(song),
                                             app::newImage(received.header, received.bytes->bytes()),
                                             replace ? store::IfPresent::Replace : store::IfPresent::Keep);
    song.setCacheId(id);
    return id;
}

void CoverCache::ShowCurrentCover() {
    try {
        if (impl_->opened && !impl_->open().parameters.text("deviceUrl").empty())
            impl_->runner->showCurrentCover();
    } catch (const std::exception& e) {
        util::logLine(fmt::format("the current cover is not shown: {}", e.what()));
    }
}

std::string CoverCache::Query(std::string artist, std::string album, std::string title) {
    store::CoverStore& store = impl_->store();
    const std::uint64_t limit = std::min(impl_->open().parameters.number("queryLimit"), maxQueryLimit);
    // Nothing that is longer than a name is looked for: the search takes time quadratic in the words.
    const store::Record wanted = app::recordOf(SongInfo(artist, title, album));
    const store::SearchResult found =
        store.search({wanted.artist, wanted.album, wanted.title}, static_cast<int>(limit));
    std::vector<app::ListedEntry> listed;
    listed.reserve(found.entries.size());
    for (const store::Entry& entry : found.entries)
        listed.push_back({entry, store.jobs(entry.id)});
    return app::queryDocument(listed, found.total);
}

std::string CoverCache::ShowEmpty() { return app::showEmptyDocument(impl_->store().emptyEntries()); }

std::string CoverCache::ReadParameters() {
    // Many are set by one request, and this is what its answer is made of; a flush for each would take
    // seconds.
    impl_->store().flush();
    return app::parametersDocument(impl_->store().parameters());
}

void CoverCache::StoreParameter(std::string name, std::string value) {
    refuseOverlong("name of the parameter", name.size(), maxParameterNameBytes);
    refuseOverlong("value of the parameter", value.size(), maxParameterValueBytes);
    impl_->store().setParameter({text::toUtf8(name), text::toUtf8(value)});
}

void CoverCache::DeleteParameter(std::string name) {
    refuseOverlong("name of the parameter", name.size(), maxParameterNameBytes);
    impl_->store().deleteParameter(text::toUtf8(name));
}

int CoverCache::WriteCoverTag(int id, std::string path, bool replace) {
    refuseOverlong("path of the song file", path.size(), maxPathBytes);
    const int job = impl_->store().queueTagJob(id, path, replace);
    impl_->runner->wake();
    return job;
}

int CoverCache::CreateDeleteJob(int id) {
    const int job = impl_->store().queueDeleteJob(id);
    impl_->runner->wake();
    return job;
}
