// SPDX-License-Identifier: MIT
#include "app/CoversAtHand.h"

#include "app/SongRecord.h"
#include "image/ImageHeader.h"
#include "tags/FolderImage.h"
#include "tags/FrontCover.h"
#include "tags/MusicFolder.h"
#include "util/Exception.h"
#include "util/Log.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace app {
namespace {

using matching::Ranked;

// What the owner of the music has chosen is beaten only by a perfect hit; docs/matching.md has these numbers.
constexpr double inFileScore = 0.96;
constexpr double inFolderScore = 0.94;
constexpr double currentScore = 0.92;
constexpr double earlierScore = 0.7;
constexpr double otherEntryWeight = 0.9;

constexpr std::size_t maxFiles = 3; // that are opened for one song
constexpr int maxOtherEntries = 50; // that are looked at

/** A picture of the song itself. */
Ranked pictureOf(const store::Record& song, std::string_view source, const std::string& hash) {
    return {.candidate = {.source = std::string(source),
                          .artist = song.artist,
                          .album = song.album,
                          .title = song.title,
                          .pictureUrl = "cover:" + hash},
            .judgement = {},
            .alsoFrom = {}};
}

Ranked stored(const store::Record& song, std::string_view source, const store::ImageInfo& image) {
    Ranked ranked = pictureOf(song, source, image.hash);
    ranked.candidate.widthPixels = image.widthPixels;
    ranked.candidate.heightPixels = image.heightPixels;
    return ranked;
}

class AtHand {
public:
    AtHand(OpenStore& open, const store::Record& song) : open_(open), song_(song) {}

    [[nodiscard]] std::vector<Ranked> covers() {
        const std::optional<store::Entry> entry = open_.store->findEntry(song_);
        addFiles(entry);
        if (entry) addOwn(*entry);
        addOthers(entry ? entry->id : 0);
        return std::move(covers_);
    }

private:
    /** The song's file as its record names it, and those that its cover was written into. */
    [[nodiscard]] std::vector<std::string> files(const std::optional<store::Entry>& entry) {
        std::vector<std::string> files;
        const auto add = [&](const std::string& file) {
            if (!file.empty() && files.size() < maxFiles && std::ranges::find(files, file) == files.end())
                files.push_back(file);
        };
        add(song_.songFilename);
        if (!entry) return files;
        add(entry->record.songFilename);
        const std::vector<store::Job> jobs = open_.store->jobs(entry->id);
        for (auto job = jobs.rbegin(); job != jobs.rend(); ++job)
            if (job->kind == store::JobKind::WriteTag) add(job->path);
        return files;
    }

    void addFiles(const std::optional<store::Entry>& entry) {
        const std::string musicFolder = open_.parameters.text("musicFolder");
        if (musicFolder.empty()) return;
        const std::size_t maxBytes = open_.parameters.imageLimits().maxBytes;
        for (const std::string& file : files(entry)) {
            offer("file", inFileScore, "The song's own file has it.",
                  [&] { return tags::readFrontCover(tags::songIn(musicFolder, file)); });
            offer("folder", inFolderScore, "It lies beside the song's file.",
                  [&] { return tags::readFolderImage(file, musicFolder, maxBytes); });
        }
    }

    template <typename Read>
    void offer(std::string_view source, double score, std::string reason, Read read) {
        util::Buffer picture;
        store::NewImage image;
        try {
            picture = read();
            if (picture.empty()) return;
            image = newImage(image::readImageHeader(picture.bytes(), open_.parameters.imageLimits()),
                             picture.bytes());
        } catch (const util::Exception& e) {
            util::logLine(fmt::format("no picture from the song's {}: {}", source, e.what()));
            return;
        }
        Ranked ranked = pictureOf(song_, source, open_.store->offerImage(image));
        ranked.candidate.widthPixels = image.widthPixels;
        ranked.candidate.heightPixels = image.heightPixels;
        add(std::move(ranked), score, std::move(reason));
    }

    void addOwn(const store::Entry& entry) {
        if (entry.image)
            add(stored(entry.record, "current", *entry.image), currentScore, "The song has it now.");
        for (const store::ImageInfo& image : open_.store->earlierImages(entry.id))
            add(stored(entry.record, "earlier", image), earlierScore, "The song had it before.");
    }

    void addOthers(int ownId) {
        matching::Judge judge(questionOf(song_));
        for (const store::Entry& entry : others(*open_.store, song_)) {
            if (entry.id == ownId || !entry.image) continue;
            Ranked ranked = stored(entry.record, "cache", *entry.image);
            const matching::Judgement judgement = judge.judge(ranked.candidate);
            if (judgement.score >= matching::leastScore)
                add(std::move(ranked), judgement.score * otherEntryWeight,
                    "Another entry of the cache has it. " + judgement.reason);
        }
    }

    void add(Ranked ranked, double score, std::string reason) {
        ranked.judgement = {.score = score, .reason = std::move(reason)};
        covers_.push_back(std::move(ranked));
    }

    static std::vector<store::Entry> others(store::CoverStore& store, const store::Record& song) {
        const std::string artist = song.sampler ? std::string() : song.artist;
        const std::string title = song.album.empty() ? song.title : std::string();
        if (song.album.empty() && title.empty()) return {}; // all that the artist ever made
        return store.search({artist, song.album, title}, maxOtherEntries).entries;
    }

    OpenStore& open_;
    const store::Record& song_;
    std::vector<Ranked> covers_;
};

} // namespace

matching::Question questionOf(const store::Record& song) {
    return {.artist = song.artist, .album = song.album, .title = song.title, .sampler = song.sampler};
}

std::vector<Ranked> coversAtHand(OpenStore& open, const store::Record& song) {
    return AtHand(open, song).covers();
}

std::vector<Ranked> albumsAtHand(OpenStore& open, const store::Record& song) {
    std::vector<Ranked> albums;
    matching::Judge judge(questionOf(song));
    for (const store::Entry& entry :
         open.store->search({song.artist, "", song.title}, maxOtherEntries).entries) {
        Ranked ranked{.candidate = {.source = "cache",
                                    .artist = entry.record.artist,
                                    .album = entry.record.album,
                                    .title = entry.record.title},
                      .judgement = {},
                      .alsoFrom = {}};
        if (ranked.candidate.album.empty()) continue;
        ranked.judgement = judge.judge(ranked.candidate);
        if (ranked.judgement.score >= matching::leastScore) albums.push_back(std::move(ranked));
    }
    return albums;
}

} // namespace app
