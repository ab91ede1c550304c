// SPDX-License-Identifier: MIT
#include "app/CurrentCover.h"

#include "app/AlbumSongs.h"
#include "app/SongRecord.h"
#include "app/StoredCover.h"
#include "util/File.h"
#include "util/Log.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <optional>
#include <span>
#include <system_error>
#include <vector>

namespace app {
namespace {

using PngBytes = std::unique_ptr<void, void (*)(void*)>;

/** Under its own artist, its album's artist, or as a song of a sampler: nobody knows how the cover was
 * stored. */
std::optional<store::ImageInfo> coverOf(store::CoverStore& store, const DeviceSong& song) {
    for (const SongInfo& record :
         {SongInfo(song.artist, song.title, song.album), SongInfo(song.albumArtist, song.title, song.album),
          SongInfo(song.artist, song.title, song.album, true)}) {
        if (!record.isValid()) continue;
        const std::optional<store::Entry> entry = store.findEntry(recordOf(record));
        if (entry && entry->image) return entry->image;
    }
    return std::nullopt;
}

bool holds(const std::filesystem::path& file, std::span<const std::byte> bytes) {
    std::error_code none;
    if (std::filesystem::file_size(file, none) != bytes.size() || none) return false;
    return std::ranges::equal(util::readFile(file.c_str(), bytes.size()).bytes(), bytes);
}

} // namespace

CurrentCover::CurrentCover(const std::filesystem::path& stateFolder)
    : file_(stateFolder / "current-cover.png"), complaints_(std::make_shared<Parameters::Complaints>()) {}

bool CurrentCover::update(store::CoverStore& store, const std::atomic<bool>& cancelled) noexcept {
    try {
        Parameters parameters(&store, complaints_);
        if (!link_) link_ = std::make_unique<DeviceLink>(&cancelled);
        replaceFile(store, parameters, link_->send(parameters, "<GetCurrentSong/>"));
        lastFailure_.clear();
        return true;
    } catch (const std::exception& e) {
        complain(e.what());
        return false;
    }
}

void CurrentCover::replaceFile(store::CoverStore& store, Parameters& parameters,
                               const std::string& reply) const {
    const std::vector<DeviceSong> songs = deviceSongs(reply, "CurrentSong");
    const std::optional<store::ImageInfo> info = songs.empty() ? std::nullopt : coverOf(store, songs.front());
    std::optional<util::Image> cover = info ? storedCover(store, parameters, *info) : std::nullopt;
    void* data = nullptr;
    std::size_t size = 0;
    if (!cover || !cover->getRawPNG(&data, size)) {
        std::filesystem::remove(file_);
        return;
    }
    const PngBytes owner(data, &std::free); // NOLINT(cppcoreguidelines-no-malloc)
    const std::span bytes(static_cast<const std::byte*>(data), size);
    // Every upload asks for it, and most of them have nothing to do with what is playing.
    if (!holds(file_, bytes)) util::replaceFile(file_.c_str(), bytes);
}

void CurrentCover::complain(const std::string& failure) {
    if (failure == lastFailure_) return;
    util::logLine(fmt::format("the current cover stays as it is: {}", failure));
    lastFailure_ = failure;
}

} // namespace app
