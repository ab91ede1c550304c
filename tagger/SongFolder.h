// SPDX-License-Identifier: MIT
#pragma once

#include "util/FileDescriptor.h"

#include <filesystem>

namespace tagger {

/**
 * An open folder. Files are reached through it, so that a link put in the place of a parent folder can't
 * redirect them.
 */
class SongFolder {
public:
    /**
     * @param folder absolute and without links
     * @throws util::Exception when a part of it has become a link
     */
    explicit SongFolder(const std::filesystem::path& folder);

    [[nodiscard]] int get() const noexcept { return folder_.get(); }

    /** A path to the file of that name. Valid as long as this object lives. */
    [[nodiscard]] std::filesystem::path file(const std::filesystem::path& name) const;

    /** Flushes the folder: earlier renames in it are on disk on return. @throws util::Exception */
    void flush() const;

private:
    util::FileDescriptor folder_;
};

} // namespace tagger
