// SPDX-License-Identifier: MIT
#include "app/SongInfo.h"

#include "tests/cgi/standin/ImageContent.h"
#include "tests/cgi/standin/Recorder.h"

#include <iostream>

using standin::called;
using standin::calledForBool;
using standin::quoted;

SongInfo::SongInfo() { called("SongInfo::SongInfo"); }

SongInfo::SongInfo(const SongInfo& other) = default;

SongInfo& SongInfo::operator=(const SongInfo& other) = default;

SongInfo::~SongInfo() = default;

std::string SongInfo::getArtist() const { return called("SongInfo::getArtist").value_or(artist); }

std::string SongInfo::getTitle() const { return called("SongInfo::getTitle").value_or(title); }

std::string SongInfo::getAlbum() const { return called("SongInfo::getAlbum").value_or(album); }

std::string SongInfo::getImageUrl() const { return called("SongInfo::getImageUrl").value_or(imageUrl); }

bool SongInfo::isSampler() const { return calledForBool(sampler, "SongInfo::isSampler"); }

void SongInfo::setArtist(std::string value) {
    called("SongInfo::setArtist", quoted(value));
    artist = value;
}

void SongInfo::setTitle(std::string value) {
    called("SongInfo::setTitle", quoted(value));
    title = value;
}

void SongInfo::setAlbum(std::string value) {
    called("SongInfo::setAlbum", quoted(value));
    album = value;
}

void SongInfo::setImageUrl(std::string value) {
    called("SongInfo::setImageUrl", quoted(value));
    imageUrl = value;
}

void SongInfo::setSampler(bool value) {
    called("SongInfo::setSampler", value ? "true" : "false");
    sampler = value;
}

bool SongInfo::isValid() const {
    const bool identified = (sampler || !artist.empty()) && (!title.empty() || !album.empty());
    return calledForBool(identified, "SongInfo::isValid");
}

void SongInfo::Dump() const {
    called("SongInfo::Dump");
    std::cerr << "dump of the stand-in" << std::endl;
}

bool SongInfo::hasImage() const {
    return calledForBool(!image::ImageContent::get(image).empty(), "SongInfo::hasImage");
}

util::Image* SongInfo::getImage() {
    called("SongInfo::getImage");
    return &image;
}

void SongInfo::setImage(const void* data, unsigned int length) {
    if (data == nullptr) {
        called("SongInfo::setImage", "null, " + std::to_string(length));
        image::ImageContent::set(image, {});
    } else {
        const std::string bytes(static_cast<const char*>(data), length);
        called("SongInfo::setImage", quoted(bytes) + ", " + std::to_string(length));
        image::ImageContent::set(image, bytes);
    }
}

std::string SongInfo::getCoverartInformation() {
    return called("SongInfo::getCoverartInformation")
        .value_or("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Suggested/>\n");
}

std::string SongInfo::guessAlbumNames() {
    return called("SongInfo::guessAlbumNames")
        .value_or("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Guessed/>\n");
}

std::string SongInfo::readAlbumSongs() {
    return called("SongInfo::readAlbumSongs")
        .value_or("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Songs/>\n");
}

// The image's bytes contain the URL, so that a test sees where the image comes from.
bool SongInfo::loadImage() {
    if (!calledForBool(!imageUrl.empty(), "SongInfo::loadImage")) return false;
    image::ImageContent::set(image, "image at " + imageUrl);
    return true;
}
