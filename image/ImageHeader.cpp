// SPDX-License-Identifier: MIT
#include "image/ImageHeader.h"

#include "image/PngChunks.h"
#include "util/ByteReader.h"
#include "util/Exception.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

namespace image {
namespace {

/** The most pixels that libgd can hold: it counts the bytes of an image in an int, four per pixel. */
constexpr std::uint64_t decodablePixels = std::numeric_limits<std::int32_t>::max() / 4;

/** Each scan of a progressive JPEG costs a pass over all pixels. Real encoders write about ten scans. */
constexpr int maxScans = 100;

/** Deflate compresses at most 1032 to 1; the limit leaves a small margin. */
constexpr std::uint64_t maxDeflateRatio = 1040;

void setSize(ImageHeader& header, const util::ByteReader& in, std::uint32_t width, std::uint32_t height,
             const ImageLimits& limits) {
    constexpr std::uint32_t maxSide = std::numeric_limits<std::int32_t>::max();
    if (width == 0 || height == 0 || width > maxSide || height > maxSide) in.damaged();
    const std::uint64_t pixels = std::uint64_t{width} * height;
    const std::uint64_t maxPixels = std::min(limits.maxPixels, decodablePixels);
    if (pixels > maxPixels) {
        throw util::Exception("The image has " + std::to_string(pixels) + " pixels; at most " +
                              std::to_string(maxPixels) + " are accepted.");
    }
    header.widthPixels = static_cast<int>(width);
    header.heightPixels = static_cast<int>(height);
}

/**
 * The orientation in a block of EXIF data. Damaged data or data without an orientation counts as upright: the
 * picture itself can still be shown.
 */
int exifOrientation(const util::ByteReader& tiff) {
    using namespace std::string_view_literals;
    const bool little = tiff.matches(0, "II*\0"sv);
    if (!little && !tiff.matches(0, "MM\0*"sv)) return 1;
    const auto number = [&](std::size_t at, std::size_t length) {
        return little ? tiff.littleEndian(at, length) : tiff.bigEndian(at, length);
    };
    if (!tiff.has(4, 4)) return 1;
    const std::size_t directory = number(4, 4);
    if (!tiff.has(directory, 2)) return 1;
    constexpr std::size_t entrySize = 12;
    constexpr std::uint32_t orientationTag = 0x0112;
    constexpr std::uint32_t shortType = 3;
    std::size_t entry = directory + 2;
    for (std::uint32_t left = number(directory, 2); left > 0 && tiff.has(entry, entrySize);
         --left, entry += entrySize) {
        if (number(entry, 2) != orientationTag) continue;
        const std::uint32_t value = number(entry + 8, 2);
        return number(entry + 2, 2) == shortType && value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
    }
    return 1;
}

/**
 * The orientation in EXIF data that starts with the name "Exif". JPEG requires that name, and some writers
 * also put it into a WebP. Upright when the name is missing.
 */
int namedExifOrientation(const util::ByteReader& data) {
    using namespace std::string_view_literals;
    constexpr std::string_view name = "Exif\0\0"sv;
    return data.matches(0, name) ? exifOrientation(data.part(name.size(), data.size() - name.size())) : 1;
}

namespace jpeg {

enum Marker : std::uint32_t {
    temporary = 0x01,
    baseline = 0xC0,
    extended = 0xC1,
    progressive = 0xC2,
    huffmanTables = 0xC4,
    extension = 0xC8,
    arithmetic = 0xC9,
    arithmeticProgressive = 0xCA,
    arithmeticTables = 0xCC,
    lastFrame = 0xCF,
    firstRestart = 0xD0,
    lastRestart = 0xD7,
    startOfImage = 0xD8,
    endOfImage = 0xD9,
    startOfScan = 0xDA,
    application1 = 0xE1,
};

bool standsAlone(std::uint32_t marker) {
    return marker == temporary || (marker >= firstRestart && marker <= lastRestart);
}

bool startsFrame(std::uint32_t marker) {
    return marker >= baseline && marker <= lastFrame && marker != huffmanTables && marker != extension &&
           marker != arithmeticTables;
}

/**
 * The position of the next marker's code. Skips image data, padding and fill bytes in the same way as the
 * decoder does.
 */
std::size_t findMarker(const util::ByteReader& in, std::size_t at) {
    for (;;) {
        const std::span<const std::byte> rest = in.part(at, in.size() - at).bytes();
        const void* found = rest.empty() ? nullptr : std::memchr(rest.data(), 0xFF, rest.size());
        if (found == nullptr) in.truncated();
        at += static_cast<std::size_t>(static_cast<const std::byte*>(found) - rest.data());
        while (in.byte(at) == 0xFF)
            ++at;
        if (in.byte(at) != 0) return at;
    }
}

void readFrame(ImageHeader& header, std::uint32_t marker, const util::ByteReader& segment,
               const ImageLimits& limits) {
    if (header.widthPixels != 0) segment.damaged();
    const bool decodable = marker == baseline || marker == extended || marker == progressive ||
                           marker == arithmetic || marker == arithmeticProgressive;
    const std::uint32_t height = segment.bigEndian(3, 2);
    const std::uint32_t components = segment.byte(7);
    // With height 0, a marker after the first scan tells the height. The decoder doesn't support that.
    if (!decodable || segment.byte(2) != 8 || height == 0 || components == 0 || components == 2 ||
        components > 4) {
        segment.unsupported();
    }
    setSize(header, segment, segment.bigEndian(5, 2), height, limits);
    header.baselineJpeg = marker == baseline && components < 4;
}

/**
 * Walks through all scans to the end marker. The decoder would accept a truncated file and invent the rest.
 */
ImageHeader read(const util::ByteReader& in, const ImageLimits& limits) {
    ImageHeader header;
    header.type = ImageType::Jpeg;
    int scans = 0;
    for (std::size_t at = 2;;) {
        at = findMarker(in, at);
        const std::uint32_t marker = in.byte(at++);
        if (marker == endOfImage) {
            header.usedBytes = at;
            break;
        }
        if (standsAlone(marker)) continue;
        if (marker == startOfImage) in.damaged();
        const util::ByteReader segment = in.part(at, in.bigEndian(at, 2));
        if (segment.size() < 2) in.damaged();
        at += segment.size();
        if (startsFrame(marker)) readFrame(header, marker, segment, limits);
        if (marker == startOfScan && (header.widthPixels == 0 || ++scans > maxScans)) in.unsupported();
        if (marker == application1 && header.orientation == 1) {
            header.orientation = namedExifOrientation(segment.part(2, segment.size() - 2));
        }
    }
    if (scans == 0) in.damaged();
    return header;
}

} // namespace jpeg

namespace png {

/** Samples per pixel; 0 for an unknown colour type. */
std::uint32_t channels(std::uint32_t colourType) {
    switch (colourType) {
    case 0:
    case 3:
        return 1;
    case 2:
        return 3;
    case 4:
        return 2;
    case 6:
        return 4;
    default:
        return 0;
    }
}

ImageHeader read(const util::ByteReader& in, const ImageLimits& limits) {
    ImageHeader header;
    header.type = ImageType::Png;
    PngChunks chunks(in.bytes());
    const std::optional<PngChunk> first = chunks.next();
    if (!first || first->type != "IHDR" || first->data.size() != 13) in.damaged();
    setSize(header, in, first->data.bigEndian(0, 4), first->data.bigEndian(4, 4), limits);
    const std::uint64_t bitsPerPixel = std::uint64_t{channels(first->data.byte(9))} * first->data.byte(8);
    if (bitsPerPixel == 0) in.damaged();

    std::uint64_t packedBytes = 0;
    while (const std::optional<PngChunk> chunk = chunks.next()) {
        if (chunk->type == "IDAT") packedBytes += chunk->data.size();
        if (chunk->type == "eXIf") header.orientation = exifOrientation(chunk->data);
    }
    // The decoder allocates the memory for the size in the header, even if the data can't fill it.
    const std::uint64_t pixels = std::uint64_t(header.widthPixels) * std::uint64_t(header.heightPixels);
    if (pixels * bitsPerPixel / 8 > packedBytes * maxDeflateRatio) in.truncated();
    header.usedBytes = chunks.position();
    return header;
}

} // namespace png

namespace webp {

/** The orientation in the EXIF chunk of an extended file. */
int orientation(const util::ByteReader& in) {
    for (std::size_t at = 12; at < in.size();) {
        const std::size_t size = in.littleEndian(at + 4, 4);
        const util::ByteReader data = in.part(at + 8, size);
        if (in.matches(at, "EXIF")) return std::max(exifOrientation(data), namedExifOrientation(data));
        at += 8 + size + size % 2;
    }
    return 1;
}

ImageHeader read(const util::ByteReader& file, const ImageLimits& limits) {
    ImageHeader header;
    header.type = ImageType::Webp;
    header.usedBytes = std::size_t{8} + file.littleEndian(4, 4);
    const util::ByteReader in = file.part(0, header.usedBytes);
    if (in.matches(12, "VP8 ")) {
        if (!in.matches(23, "\x9D\x01\x2A")) in.damaged();
        setSize(header, in, in.littleEndian(26, 2) & 0x3FFFU, in.littleEndian(28, 2) & 0x3FFFU, limits);
    } else if (in.matches(12, "VP8L")) {
        if (in.byte(20) != 0x2F) in.damaged();
        const std::uint32_t bits = in.littleEndian(21, 4);
        setSize(header, in, (bits & 0x3FFFU) + 1, (bits >> 14U & 0x3FFFU) + 1, limits);
    } else if (in.matches(12, "VP8X")) {
        constexpr std::uint32_t animation = 0x02;
        if ((in.byte(20) & animation) != 0) in.unsupported();
        setSize(header, in, in.littleEndian(24, 3) + 1, in.littleEndian(27, 3) + 1, limits);
        header.orientation = orientation(in);
    } else {
        in.unsupported();
    }
    return header;
}

} // namespace webp

namespace gif {

constexpr std::uint32_t hasColours = 0x80;

std::size_t colourBytes(std::uint32_t flags) {
    return (flags & hasColours) == 0 ? 0 : std::size_t{3} << ((flags & 0x07U) + 1);
}

/** The position after the sub-blocks that start at `at`. */
std::size_t skipSubBlocks(const util::ByteReader& in, std::size_t at) {
    while (const std::uint32_t length = in.byte(at))
        at += 1 + length;
    return at + 1;
}

/** Checks only the first picture, because only that one is shown. */
ImageHeader read(const util::ByteReader& in, const ImageLimits& limits) {
    constexpr std::uint32_t extension = 0x21;
    constexpr std::uint32_t picture = 0x2C;
    ImageHeader header;
    header.type = ImageType::Gif;
    header.usedBytes = in.size();
    const std::uint32_t screenWidth = in.littleEndian(6, 2);
    const std::uint32_t screenHeight = in.littleEndian(8, 2);
    std::size_t at = 13 + colourBytes(in.byte(10));
    while (in.byte(at) == extension)
        at = skipSubBlocks(in, at + 2);
    if (in.byte(at) != picture) in.damaged();
    const std::uint32_t width = in.littleEndian(at + 5, 2);
    const std::uint32_t height = in.littleEndian(at + 7, 2);
    if (in.littleEndian(at + 1, 2) + width > screenWidth ||
        in.littleEndian(at + 3, 2) + height > screenHeight) {
        in.damaged();
    }
    setSize(header, in, width, height, limits);
    const std::size_t data = at + 10 + colourBytes(in.byte(at + 9));
    skipSubBlocks(in, data + 1);
    return header;
}

} // namespace gif

[[noreturn]] void refuse(const util::ByteReader& in) {
    if (in.size() == 0) throw util::Exception("The image file is empty.");
    std::size_t at = in.matches(0, "\xEF\xBB\xBF") ? 3 : 0;
    while (in.has(at, 1) &&
           std::string_view(" \t\r\n").find(static_cast<char>(in.byte(at))) != std::string_view::npos)
        ++at;
    if (in.matches(at, "<")) throw util::Exception("This is a web page or an XML document, not an image.");
    throw util::Exception("This is not a JPEG, PNG, WebP or GIF image.");
}

} // namespace

std::string_view mimeType(ImageType type) noexcept {
    switch (type) {
    case ImageType::Jpeg:
        return "image/jpeg";
    case ImageType::Png:
        return "image/png";
    case ImageType::Webp:
        return "image/webp";
    case ImageType::Gif:
        return "image/gif";
    }
    return "application/octet-stream";
}

ImageHeader readImageHeader(std::span<const std::byte> bytes, const ImageLimits& limits) {
    if (bytes.size() > limits.maxBytes) {
        throw util::Exception("The image is larger than " + std::to_string(limits.maxBytes) + " bytes.");
    }
    const auto as = [&](std::string_view subject) { return util::ByteReader(bytes, subject); };
    const util::ByteReader in = as("image");
    if (in.matches(0, "\xFF\xD8\xFF")) return jpeg::read(as("JPEG image"), limits);
    if (in.matches(0, PngChunks::signature)) return png::read(as("PNG image"), limits);
    if (in.matches(0, "RIFF") && in.matches(8, "WEBP")) return webp::read(as("WebP image"), limits);
    if (in.matches(0, "GIF87a") || in.matches(0, "GIF89a")) return gif::read(as("GIF image"), limits);
    refuse(in);
}

} // namespace image
