// SPDX-License-Identifier: MIT
#pragma once

#include "app/SongInfo.h"
#include "image/ImageContent.h"
#include "image/ImageHeader.h"
#include "store/CoverStore.h"

#include <span>

namespace app {

/** What the store keeps of a song, in UTF-8. @throws util::Exception when a text is too long to be a name */
[[nodiscard]] store::Record recordOf(const SongInfo& song);

/** Fills in what `song` lacks. */
void complete(SongInfo& song, const store::Entry& entry);

/** The image as it was received; one that was drawn or scaled here is made into a PNG. @throws
 * util::Exception */
[[nodiscard]] image::ReceivedImage receivedImage(util::Image& image);

/** An image as the store takes it; `bytes` stay the caller's. */
[[nodiscard]] store::NewImage newImage(const image::ImageHeader& header, std::span<const std::byte> bytes);

} // namespace app
