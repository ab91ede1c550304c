// SPDX-License-Identifier: MIT
#include "tags/FolderImage.h"

#include "tags/FittingPicture.h"
#include "tags/MusicFolder.h"

#include "util/Exception.h"
#include "util/File.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <system_error>

namespace tags {
namespace {

namespace fs = std::filesystem;

// In lower case: on case-sensitive file systems, servers and players look for this name.
constexpr const char* imageName = "folder.jpg";

/** The names that programs use for a front cover in the folder, most usual first. */
constexpr std::array frontNames{imageName,    "cover.jpg", "front.jpg",  "folder.jpeg", "cover.jpeg",
                                "front.jpeg", "cover.png", "folder.png", "front.png"};

/** The existing file in `folder` with the earliest of `names`, in any case; empty if there is none. */
fs::path firstNamed(const fs::path& folder, std::span<const char* const> names) {
    std::error_code error;
    auto found = names.end();
    fs::path path;
    fs::directory_iterator entries(folder, error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
        const auto name = std::find_if(names.begin(), found, [&](const char* wanted) {
            return ::strcasecmp(entries->path().filename().c_str(), wanted) == 0;
        });
        if (name == found || !entries->is_regular_file(error)) continue;
        found = name;
        path = entries->path();
    }
    if (error) throw util::Exception("The folder of the song file can't be read.");
    return path;
}

} // namespace

fs::path folderImage(const fs::path& song) { return song.parent_path() / imageName; }

bool hasFolderImage(const fs::path& song, const fs::path& musicFolder) {
    return !firstNamed(folderOf(musicFolder, song), std::span(frontNames).first(1)).empty();
}

util::Buffer readFolderImage(const fs::path& song, const fs::path& musicFolder, std::size_t maxBytes) {
    const fs::path image = firstNamed(folderOf(musicFolder, song), frontNames);
    if (image.empty()) return {};
    return util::readFile(songIn(musicFolder, image).c_str(), maxBytes); // a link must not lead outside
}

void writeFolderImage(const fs::path& song, const fs::path& musicFolder, const image::ReceivedImage& image) {
    const fs::path target = folderOf(musicFolder, song) / imageName;
    // The weakest players refuse larger pictures and progressive ones.
    util::replaceFile(
        target.c_str(),
        fittingPicture(image.bytes->bytes(), {.maxSidePixels = 1200, .baselineJpegOnly = true}).bytes());
}

} // namespace tags
