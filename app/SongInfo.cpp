// SPDX-License-Identifier: MIT
#include "app/SongInfo.h"

#include "app/AlbumSongs.h"
#include "app/CoverFetch.h"
#include "app/Documents.h"
#include "app/OpenStore.h"
#include "app/SongLookup.h"
#include "app/SongRecord.h"
#include "image/ImageContent.h"
#include "tags/FolderImage.h"
#include "tags/FrontCover.h"
#include "tags/MusicFolder.h"
#include "text/StopWords.h"
#include "util/Exception.h"
#include "util/Log.h"

#include <fmt/format.h>
#include <malloc.h>

#include <exception>
#include <iostream>
#include <span>
#include <string_view>
#include <utility>

namespace {

std::string textOf(const char* text) { return text == nullptr ? std::string() : std::string(text); }

void dumpText(std::string& lines, std::string_view name, const std::string& value) {
    if (!value.empty()) lines += fmt::format("  {}: {}\n", name, util::printable(value));
}

std::string musicFolder() {
    return app::openStore() == nullptr ? std::string() : app::openStore()->parameters.text("musicFolder");
}

} // namespace

SongInfo::SongInfo() = default;

SongInfo::SongInfo(const char* ofArtist, const char* ofTitle, const char* ofAlbum)
    : SongInfo(ofArtist, ofTitle, ofAlbum, false) {}

SongInfo::SongInfo(const char* ofArtist, const char* ofTitle, const char* ofAlbum, bool onSampler)
    : SongInfo(textOf(ofArtist), textOf(ofTitle), textOf(ofAlbum), onSampler) {}

SongInfo::SongInfo(std::string ofArtist, std::string ofTitle, std::string ofAlbum)
    : SongInfo(std::move(ofArtist), std::move(ofTitle), std::move(ofAlbum), false) {}

SongInfo::SongInfo(std::string ofArtist, std::string ofTitle, std::string ofAlbum, bool onSampler)
    : sampler(onSampler), artist(std::move(ofArtist)), title(std::move(ofTitle)), album(std::move(ofAlbum)) {}

SongInfo::SongInfo(const SongInfo& other) = default;
SongInfo& SongInfo::operator=(const SongInfo& other) = default;
SongInfo::~SongInfo() = default;

bool SongInfo::operator==(const SongInfo& other) const {
    const auto bytesOf = [](const util::Image& of) {
        const auto received = image::ImageContent::received(of);
        return received.bytes ? std::string_view(reinterpret_cast<const char*>(received.bytes->data()),
                                                 received.bytes->size())
                              : std::string_view();
    };
    return guessScore == other.guessScore && albumGuessed == other.albumGuessed &&
           imageUrlSearched == other.imageUrlSearched && sampler == other.sampler && artist == other.artist &&
           title == other.title && album == other.album && genre == other.genre &&
           songFilename == other.songFilename && uid == other.uid && imageUrl == other.imageUrl &&
           cacheKey == other.cacheKey && image.width() == other.image.width() &&
           image.height() == other.image.height() && bytesOf(image) == bytesOf(other.image);
}

bool SongInfo::operator!=(const SongInfo& other) const { return !(*this == other); }

std::string SongInfo::getArtist() const { return artist; }
std::string SongInfo::getTitle() const { return title; }
std::string SongInfo::getAlbum() const { return album; }
std::string SongInfo::getGenre() const { return genre; }
std::string SongInfo::getFilename() const { return songFilename; }
std::string SongInfo::getUid() const { return uid; }
std::string SongInfo::getImageUrl() const { return imageUrl; }
bool SongInfo::isSampler() const { return sampler; }
bool SongInfo::isAlbumGuessed() const { return albumGuessed; }
float SongInfo::getGuessScore() const { return guessScore; }
int SongInfo::getCacheId() const { return cacheKey; }

void SongInfo::setArtist(std::string value) { artist = std::move(value); }
void SongInfo::setTitle(std::string value) { title = std::move(value); }
void SongInfo::setAlbum(std::string value) { album = std::move(value); }
void SongInfo::setGenre(std::string value) { genre = std::move(value); }
void SongInfo::setFilename(std::string value) { songFilename = std::move(value); }
void SongInfo::setUid(std::string value) { uid = std::move(value); }
void SongInfo::setImageUrl(std::string value) { imageUrl = std::move(value); }
void SongInfo::setSampler(bool value) { sampler = value; }
void SongInfo::setCacheId(int value) { cacheKey = value; }

bool SongInfo::isValid() const { return (!artist.empty() || sampler) && (!title.empty() || !album.empty()); }

void SongInfo::Dump() const {
    std::string lines;
    dumpText(lines, "artist", artist);
    dumpText(lines, "title", title);
    dumpText(lines, "album", album);
    dumpText(lines, "genre", genre);
    dumpText(lines, "file", songFilename);
    dumpText(lines, "uid", uid);
    if (!imageUrl.empty()) dumpText(lines, "image URL", app::shown(imageUrl));
    if (sampler) lines += "  sampler\n";
    if (albumGuessed) lines += fmt::format("  album guessed, score {:.2f}\n", guessScore);
    if (image.isValid()) lines += fmt::format("  image: {} x {}\n", image.width(), image.height());
    if (cacheKey != 0) lines += fmt::format("  cache id: {}\n", cacheKey);
    std::cerr << lines << std::flush; // in one piece, so that the lines of two processes don't mix
}

bool SongInfo::hasImage() const { return image.isValid(); }

util::Image* SongInfo::getImage() { return &image; }

void SongInfo::setImage(const void* data, unsigned int length) {
    if (data == nullptr || length == 0) {
        image = util::Image();
        static_cast<void>(
            malloc_trim(0)); // a decoded image is thousands of small blocks, between which others are left
        return;
    }
    const image::ImageLimits limits =
        app::openStore() == nullptr ? image::ImageLimits{} : app::openStore()->parameters.imageLimits();
    image = image::ImageContent::decode(std::span(static_cast<const std::byte*>(data), length), limits,
                                        image::AcceptedTypes::JpegAndPng);
}

void SongInfo::setImage(util::Image newImage) { image = newImage; }

bool SongInfo::loadImage(const char* path) { return image.load(path); }

bool SongInfo::saveImage(const char* path) { return image.save(path); }

std::string SongInfo::getFolderJpegName() const {
    return songFilename.empty() ? std::string() : tags::folderImage(songFilename).string();
}

bool SongInfo::HasFolderJpeg() const {
    try {
        return tags::hasFolderImage(songFilename, musicFolder());
    } catch (const std::exception&) {
        return false; // nobody can see one that can't be reached
    }
}

bool SongInfo::WriteFolderJpeg(bool replace) {
    try {
        if (!image.isValid()) throw util::Exception("There is no image.");
        if (tags::hasFolderImage(songFilename, musicFolder()) && !replace)
            throw util::Exception("There is one already.");
        tags::writeFolderImage(songFilename, musicFolder(), app::receivedImage(image));
        return true;
    } catch (const std::exception& e) {
        util::logLine(fmt::format("no folder image beside {}: {}", songFilename, e.what()));
        return false;
    }
}

std::string SongInfo::purgeStopWords(std::string text) const { return text::withoutStopWords(text); }

bool SongInfo::loadImage() {
    try {
        image = app::imageFrom(imageUrl);
        return true;
    } catch (const std::exception& e) {
        util::logLine(fmt::format("no image from {}: {}", app::shown(imageUrl), e.what()));
        return false;
    }
}

bool SongInfo::hasEmbeddedImage() const {
    try {
        return !tags::readFrontCover(tags::songIn(musicFolder(), songFilename)).empty();
    } catch (const std::exception&) {
        return false; // nobody can see one that can't be read
    }
}

std::string SongInfo::getCoverartInformation() {
    const store::Record song = app::recordOf(*this);
    return app::coverartDocument(song, app::findCovers(song));
}

std::string SongInfo::guessAlbumNames() {
    const store::Record song = app::recordOf(*this);
    return app::albumNamesDocument(song, app::findAlbums(song));
}

bool SongInfo::GuessAlbumName() {
    const app::SongLookup albums = app::findAlbums(app::recordOf(*this));
    if (albums.found.empty()) return false;
    album = albums.found.front().candidate.album;
    guessScore = static_cast<float>(albums.found.front().judgement.score);
    albumGuessed = true;
    return true;
}

bool SongInfo::SearchCoverart() {
    const app::SongLookup covers = app::findCovers(app::recordOf(*this));
    imageUrlSearched = true;
    if (covers.found.empty()) return false;
    imageUrl = covers.found.front().candidate.pictureUrl;
    return true;
}

std::string SongInfo::MBAlbumSearch(std::string ofArtist, std::string ofTitle) {
    const store::Record song = app::recordOf(SongInfo(std::move(ofArtist), std::move(ofTitle), ""));
    return app::albumNamesDocument(song, app::findAlbumsOnWeb(song, "musicbrainz"));
}

std::string SongInfo::XMLAWSSearch(std::string ofArtist, std::string ofAlbum) {
    const store::Record song = app::recordOf(SongInfo(std::move(ofArtist), "", std::move(ofAlbum)));
    return app::coverartDocument(song, app::findCoversOnWeb(song, "amazon"));
}

std::string SongInfo::XMLMBSearch(std::string ofArtist, std::string ofAlbum) {
    const store::Record song = app::recordOf(SongInfo(std::move(ofArtist), "", std::move(ofAlbum)));
    return app::coverartDocument(song, app::findCoversOnWeb(song, "musicbrainz, coverartarchive"));
}

std::string SongInfo::getAmazonWebserviceURL(int page) {
    return app::amazonSearchUrl(app::recordOf(*this), page);
}

std::string SongInfo::readAlbumSongs() {
    const store::Record song = app::recordOf(*this);
    return app::albumSongsDocument(song, app::albumSongs(song));
}
