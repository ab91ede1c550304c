// SPDX-License-Identifier: MIT
#include "app/StoredCover.h"

#include "image/ImageContent.h"
#include "util/Exception.h"
#include "util/Log.h"

#include <fmt/format.h>

#include <exception>
#include <limits>
#include <string>
#include <utility>

namespace app {
namespace {

// The cover is not less worth for lack of a place to keep its PNG, so a failure costs only the next show its
// speed.
void keepRendition(store::CoverStore& store, Parameters& parameters, const std::string& hash,
                   const util::Buffer& png) {
    try {
        store.keepRendition(hash, png.bytes(), parameters.number("renditionCacheBytes"));
    } catch (const std::exception& e) {
        util::logLine(fmt::format("rendition {}: {}", hash, e.what()));
    }
}

std::optional<util::Image> keptRendition(store::CoverStore& store, const std::string& hash) {
    std::optional<util::Buffer> png = store.rendition(hash);
    if (!png) return std::nullopt;
    try {
        return image::ImageContent::fromPng(*std::move(png));
    } catch (const util::Exception& e) {
        util::logLine(fmt::format("rendition {} is made again: {}", hash, e.what()));
        return std::nullopt;
    }
}

} // namespace

std::optional<util::Image> storedCover(store::CoverStore& store, Parameters& parameters,
                                       const store::ImageInfo& info) {
    if (!info.shownAsReceived)
        if (std::optional<util::Image> kept = keptRendition(store, info.hash)) return kept;
    std::optional<util::Buffer> received = store.image(info.hash);
    if (!received) return std::nullopt;
    if (info.shownAsReceived) return image::ImageContent::fromPng(*std::move(received));
    // What was accepted once is shown, also after the limits have been lowered.
    util::Buffer png = image::ImageContent::rendition(
        received->bytes(),
        {.maxBytes = received->size(), .maxPixels = std::numeric_limits<std::uint64_t>::max()});
    keepRendition(store, parameters, info.hash, png);
    return image::ImageContent::fromPng(std::move(png));
}

} // namespace app
