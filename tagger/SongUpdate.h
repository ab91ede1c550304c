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

/** A temporary failure: trying again later makes sense. */
class TryAgainLater : public util::Exception {
public:
    using Exception::Exception;
};

/** Returns the received picture, or a new one within the limits. @throws util::Exception */
using Fit =
    std::function<util::Buffer(std::span<const std::byte> received, const tags::PictureLimits& limits)>;

/** The job: a picture and the song file that gets it. */
struct SongUpdate {
    std::filesystem::path song;          // absolute, with all links resolved
    std::filesystem::path temporaryFile; // in the same folder, must not exist
    std::span<const std::byte> picture;  // as received
    int maxSidePixels = 1200;
    bool replace = true; // an existing front cover
    Fit fit;
};

/**
 * Makes the picture, or a smaller one that fits, the front cover of the song file. The change is atomic:
 * after a kill at any moment, the disk has the whole old file or the whole new one, and perhaps the temporary
 * file. Doesn't touch a file that already has the picture.
 * A failure leaves the song file unchanged, unless only the flush of the folder failed.
 * @throws TryAgainLater for a temporary failure
 * @throws util::Exception for any other failure
 */
void writeCover(const SongUpdate& update);

} // namespace tagger
