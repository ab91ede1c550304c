// SPDX-License-Identifier: MIT
#include "app/FolderImage.h"

#include "util/Exception.h"
#include "util/File.h"
#include "util/ImageCodec.h"

#include <strings.h>

#include <algorithm>
#include <limits>
#include <span>
#include <string>
#include <system_error>

namespace app {
namespace {

namespace fs = std::filesystem;

// Servers and players on case-sensitive file systems look for it in lower case.
constexpr const char* imageName = "folder.jpg";

/** What the weakest players show: some refuse larger ones, and progressive ones. */
constexpr int maxSidePixels = 1200;

bool isBelow(const fs::path& path, const fs::path& folder) {
    return std::ranges::mismatch(path, folder).in2 == folder.end();
}

/** The folder of the song file, resolved. Both the file and its folder may be links, and must not lead out.
 */
fs::path folderOf(const fs::path& song, const fs::path& musicFolder) {
    if (musicFolder.empty()) throw util::Exception("The parameter musicFolder is not set.");
    std::error_code error;
    const fs::path top = fs::canonical(musicFolder, error);
    if (error) throw util::Exception("The folder that the parameter musicFolder names is not there.");
    const fs::path file = fs::canonical(song, error);
    if (error || !fs::is_regular_file(file, error)) throw util::Exception("The song file is not there.");
    fs::path folder = fs::canonical(song.parent_path(), error);
    if (error || !isBelow(file, top) || !isBelow(folder, top))
        throw util::Exception("The song file is outside the folder that the parameter musicFolder names.");
    return folder;
}

/** Files that are fit for it stay as they are, as every encoding costs quality. */
util::Buffer asFolderImage(const util::ReceivedImage& image) {
    const util::ImageHeader& header = image.header;
    const int longestSide = std::max(header.widthPixels, header.heightPixels);
    if (header.baselineJpeg && header.orientation == 1 && longestSide <= maxSidePixels)
        return util::Buffer(image.bytes->bytes().first(header.usedBytes));
    util::Pixels pixels = util::decodePixels(image.bytes->bytes(), header);
    if (longestSide > maxSidePixels) {
        const auto scaled = [&](int side) {
            return std::max(1, static_cast<int>(std::int64_t{side} * maxSidePixels / longestSide));
        };
        pixels = util::scalePixels(*pixels, scaled(pixels->sx), scaled(pixels->sy));
    }
    return util::encodeJpeg(*pixels);
}

} // namespace

fs::path folderImage(const fs::path& song) { return song.parent_path() / imageName; }

bool hasFolderImage(const fs::path& song, const fs::path& musicFolder) {
    std::error_code error;
    fs::directory_iterator entries(folderOf(song, musicFolder), error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error))
        if (::strcasecmp(entries->path().filename().c_str(), imageName) == 0) return true;
    if (error) throw util::Exception("The folder of the song file can't be read.");
    return false;
}

void writeFolderImage(const fs::path& song, const fs::path& musicFolder, const util::ReceivedImage& image) {
    const fs::path target = folderOf(song, musicFolder) / imageName;
    util::replaceFile(target.c_str(), asFolderImage(image).bytes());
}

} // namespace app
