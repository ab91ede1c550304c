// SPDX-License-Identifier: MIT
#pragma once

#include "util/FileDescriptor.h"

#include <filesystem>

namespace tagger {

/**
 * An open folder. Its files are reached through it, so that nobody can lead them elsewhere by putting a link
 * in the place of a folder on the way.
 */
class SongFolder {
public:
    /** @param folder absolute, without links in it. @throws util::Exception when one has come in meanwhile */
    explicit SongFolder(const std::filesystem::path& folder);

    [[nodiscard]] int get() const noexcept { return folder_.get(); }

    /** A path to the file of that name that holds as long as this object lives. */
    [[nodiscard]] std::filesystem::path file(const std::filesystem::path& name) const;

    /** What was renamed in it is on disk when this returns. @throws util::Exception */
    void flush() const;

private:
    util::FileDescriptor folder_;
};

} // namespace tagger
