// SPDX-License-Identifier: MIT
#include "tags/FolderImage.h"

#include "tags/FittingPicture.h"
#include "tags/MusicFolder.h"

#include "util/Exception.h"
#include "util/File.h"

#include <strings.h>

#include <string>
#include <system_error>

namespace tags {
namespace {

namespace fs = std::filesystem;

// Servers and players on case-sensitive file systems look for it in lower case.
constexpr const char* imageName = "folder.jpg";

} // namespace

fs::path folderImage(const fs::path& song) { return song.parent_path() / imageName; }

bool hasFolderImage(const fs::path& song, const fs::path& musicFolder) {
    std::error_code error;
    fs::directory_iterator entries(folderOf(musicFolder, song), error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error))
        if (::strcasecmp(entries->path().filename().c_str(), imageName) == 0) return true;
    if (error) throw util::Exception("The folder of the song file can't be read.");
    return false;
}

void writeFolderImage(const fs::path& song, const fs::path& musicFolder, const util::ReceivedImage& image) {
    const fs::path target = folderOf(musicFolder, song) / imageName;
    // The weakest players refuse larger ones, and progressive ones.
    util::replaceFile(
        target.c_str(),
        fittingPicture(image.bytes->bytes(), {.maxSidePixels = 1200, .baselineJpegOnly = true}).bytes());
}

} // namespace tags
