// SPDX-License-Identifier: MIT
#pragma once

#include "tags/PictureLimits.h"
#include "util/Buffer.h"
#include "util/Exception.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <span>

namespace tagger {

/** A failure for a reason that passes, so that it makes sense to try again later. */
class TryAgainLater : public util::Exception {
public:
    using Exception::Exception;
};

/** Makes a picture that fits out of one that was received. @throws util::Exception */
using Fit =
    std::function<util::Buffer(std::span<const std::byte> received, const tags::PictureLimits& limits)>;

/** What is to be written into which song file. */
struct SongUpdate {
    std::filesystem::path song;          // absolute, with all links resolved
    std::filesystem::path temporaryFile; // of the same folder, and not there
    std::span<const std::byte> picture;  // as it was received
    int maxSidePixels = 1200;
    bool replace = true; // the front cover that is there
    Fit fit;
};

/**
 * Makes the picture, or a smaller one that fits, the front cover of the song file. At every moment, a killed
 * process included, there is the whole old file or the whole new one, on disk; only the temporary file may be
 * left behind by a kill. A file that has the picture already is not touched.
 * @throws TryAgainLater, util::Exception; the song file is as it was, then, unless all that failed was to
 * flush the folder
 */
void writeCover(const SongUpdate& update);

} // namespace tagger
