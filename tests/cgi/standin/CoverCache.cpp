// SPDX-License-Identifier: MIT
#include "app/CoverCache.h"

#include "tests/cgi/standin/ImageContent.h"
#include "tests/cgi/standin/Recorder.h"

using standin::called;
using standin::calledForBool;
using standin::calledForInt;

namespace {

constexpr char cover[] = "\x89PNG\r\n\x1a\n\0cover\0of the stand-in\0";

std::string described(SongInfo& song) {
    const standin::Quiet quiet;
    const std::string image = util::ImageContent::get(*song.getImage());
    return "SongInfo(title " + standin::quoted(song.getTitle()) + ", artist " +
           standin::quoted(song.getArtist()) + ", album " + standin::quoted(song.getAlbum()) + ", url " +
           standin::quoted(song.getImageUrl()) + (song.isSampler() ? ", sampler" : "") +
           (image.empty() ? "" : ", image " + standin::quoted(image)) + ")";
}

bool canBeStored(SongInfo& song) {
    const standin::Quiet quiet;
    return song.isValid() && song.hasImage();
}

} // namespace

struct CoverCache::Impl {};

CoverCache::CoverCache() { called("CoverCache::CoverCache"); }

CoverCache::~CoverCache() { standin::record("CoverCache::~CoverCache"); }

bool CoverCache::CheckDatabase() { return calledForBool(true, "CoverCache::CheckDatabase"); }

bool CoverCache::GetImage(int id, util::Image* image) {
    if (!calledForBool(id > 0, "CoverCache::GetImage",
                       std::to_string(id) + (image == nullptr ? ", null" : ", image")))
        return false;
    util::ImageContent::set(*image, std::string(cover, sizeof cover - 1));
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

std::string CoverCache::ShowEmpty() {
    return called("CoverCache::ShowEmpty").value_or("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Empty/>\n");
}
