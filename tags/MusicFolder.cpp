// SPDX-License-Identifier: MIT
#include "tags/MusicFolder.h"

#include "util/Exception.h"

#include <algorithm>
#include <string>
#include <system_error>

namespace tags {
namespace {

namespace fs = std::filesystem;

bool isBelow(const fs::path& path, const fs::path& folder) {
    return path != folder && std::ranges::mismatch(path, folder).in2 == folder.end();
}

fs::path resolvedMusicFolder(const fs::path& musicFolder) {
    if (musicFolder.empty()) throw util::Exception("The parameter musicFolder is not set.");
    std::error_code error;
    fs::path folder = fs::canonical(musicFolder, error);
    if (error || !fs::is_directory(folder, error))
        throw util::Exception("The folder that the parameter musicFolder names is not there.");
    return folder;
}

[[noreturn]] void refuse() {
    throw util::Exception("The song file is outside the folder that the parameter musicFolder names.");
}

} // namespace

fs::path songIn(const fs::path& musicFolder, const fs::path& song) {
    const fs::path top = resolvedMusicFolder(musicFolder);
    // The system would end the name at the NUL.
    if (song.native().find('\0') != std::string::npos)
        throw util::Exception("The name of the song file has a zero byte in it.");
    std::error_code error;
    fs::path file = fs::canonical(top / song, error);
    if (error) throw util::Exception("The song file is not there.");
    if (!isBelow(file, top)) refuse();
    if (!fs::is_regular_file(file, error)) throw util::Exception("This is not a regular file.");
    return file;
}

fs::path folderOf(const fs::path& musicFolder, const fs::path& song) {
    static_cast<void>(songIn(musicFolder, song));
    const fs::path top = resolvedMusicFolder(musicFolder);
    std::error_code error;
    fs::path folder = fs::canonical((top / song).parent_path(), error);
    if (error) throw util::Exception("The folder of the song file is not there.");
    if (folder != top && !isBelow(folder, top)) refuse();
    return folder;
}

} // namespace tags
