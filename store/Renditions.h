// SPDX-License-Identifier: MIT
#pragma once

#include "util/Buffer.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

namespace store {

/**
 * A folder of PNG files, each named after the hash of the image that it shows. They are a cache: any of them
 * may go at any time and is made again. Plain files, because a picture of some megabytes is then read in one
 * go and never fills the database. Any number of processes may use the folder at once.
 */
class Renditions {
public:
    explicit Renditions(std::filesystem::path folder);

    /** The whole file, marked as used; nothing when it isn't there. Whether it still is a PNG is for the
     * caller to see. */
    [[nodiscard]] std::optional<util::Buffer> find(const std::string& hash) const;

    /**
     * Keeps a file, then drops the least recently used ones while all together have more than
     * `maxTotalBytes`.
     * @throws util::Exception when it can't be written; what was there stays
     */
    void keep(const std::string& hash, std::span<const std::byte> png, std::uint64_t maxTotalBytes) const;

private:
    void dropLeastRecentlyUsed(std::uint64_t maxTotalBytes) const;

    std::filesystem::path folder_;
};

} // namespace store
