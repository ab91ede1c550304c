// SPDX-License-Identifier: MIT
#include "app/CoverCache.h"

#include "tests/cgi/standin/ImageContent.h"
#include "tests/cgi/standin/Recorder.h"

using standin::called;
using standin::calledForBool;
using standin::calledForInt;
using standin::quoted;

namespace {

constexpr char cover[] = "\x89PNG\r\n\x1a\n\0cover\0of the stand-in\0";

std::string described(SongInfo& song) {
    const standin::Quiet quiet;
    const std::string image = image::ImageContent::get(*song.getImage());
    return "SongInfo(title " + quoted(song.getTitle()) + ", artist " + quoted(song.getArtist()) + ", album " +
           quoted(song.getAlbum()) + ", url " + quoted(song.getImageUrl()) +
           (song.isSampler() ? ", sampler" : "") + (image.empty() ? "" : ", image " + quoted(image)) + ")";
}

bool canBeStored(SongInfo& song) {
    const standin::Quiet quiet;
    return song.isValid() && song.hasImage();
}

} // namespace

struct CoverCache::Impl {
    int lastJob = 0;
};

CoverCache::CoverCache() : impl_(std::make_unique<Impl>()) { called("CoverCache::CoverCache"); }

CoverCache::~CoverCache() { standin::record("CoverCache::~CoverCache"); }

bool CoverCache::CheckDatabase() { return calledForBool(true, "CoverCache::CheckDatabase"); }

bool CoverCache::GetImage(int id, util::Image* image) {
    if (!calledForBool(id > 0, "CoverCache::GetImage",
                       std::to_string(id) + (image == nullptr ? ", null" : ", image")))
        return false;
    image::ImageContent::set(*image, std::string(cover, sizeof cover - 1));
    return true;
}

bool CoverCache::Lookup(SongInfo& song) {
    return calledForBool(false, "CoverCache::Lookup", described(song));
}

int CoverCache::Store(SongInfo& song, bool replace) {
    return calledForInt(canBeStored(song) ? 17 : 0, "CoverCache::Store",
                        described(song) + (replace ? ", true" : ", false"));
}

void CoverCache::ShowCurrentCover() { called("CoverCache::ShowCurrentCover"); }

std::string CoverCache::Query(std::string artist, std::string album, std::string title) {
    return called("CoverCache::Query", quoted(artist) + ", " + quoted(album) + ", " + quoted(title))
        .value_or("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Found/>\n");
}

std::string CoverCache::ShowEmpty() {
    return called("CoverCache::ShowEmpty").value_or("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Empty/>\n");
}

std::string CoverCache::ReadParameters() {
    return called("CoverCache::ReadParameters")
        .value_or("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<All/>\n");
}

void CoverCache::StoreParameter(std::string name, std::string value) {
    called("CoverCache::StoreParameter", quoted(name) + ", " + quoted(value));
}

void CoverCache::DeleteParameter(std::string name) { called("CoverCache::DeleteParameter", quoted(name)); }

int CoverCache::WriteCoverTag(int id, std::string path, bool replace) {
    return calledForInt(++impl_->lastJob, "CoverCache::WriteCoverTag",
                        std::to_string(id) + ", " + quoted(path) + (replace ? ", true" : ", false"));
}

int CoverCache::CreateDeleteJob(int id) {
    return calledForInt(++impl_->lastJob, "CoverCache::CreateDeleteJob", std::to_string(id));
}
