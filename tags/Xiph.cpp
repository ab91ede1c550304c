// SPDX-License-Identifier: MIT
#include "tags/Xiph.h"

#include "tags/Bytes.h"

#include <openssl/evp.h>

#include <algorithm>
#include <optional>

namespace tags::xiph {
namespace {

constexpr std::uint32_t frontCover = 3;
constexpr std::string_view pictureField = "METADATA_BLOCK_PICTURE=";

/** Empty if it isn't Base64. */
std::string fromBase64(std::string_view text) {
    const std::size_t end = text.find_last_not_of('=') + 1;
    std::string bytes(text.size() / 4 * 3, '\0');
    const int size =
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                        reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
    if (size < 0 || text.size() - end > 2) return {};
    bytes.resize(static_cast<std::size_t>(size) - (text.size() - end)); // OpenSSL counts padding as bytes
    return bytes;
}

std::string toBase64(std::string_view bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0'); // including a NUL at the end
    const int size =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                        reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(size));
    return text;
}

std::optional<Picture> pictureInField(const std::string& field) {
    const std::string name = upperCase(std::string_view(field).substr(0, field.find('=') + 1));
    std::optional<Picture> picture;
    if (name == pictureField) {
        picture = pictureIn(fromBase64(std::string_view(field).substr(name.size())));
    } else if (name == "COVERART=") { // older than picture blocks; always a front cover
        picture = {
            .front = true, .image = fromBase64(std::string_view(field).substr(name.size())), .stored = {}};
    } else if (name == "COVERARTMIME=") {
        picture = {.front = true, .image = {}, .stored = {}};
    }
    if (picture) picture->stored = field;
    return picture;
}

std::string sized(std::string_view text) { return littleEndian(text.size(), 4).append(text); }

/** The text at `at`, with its length before it. Moves `at` to the end of the text. */
std::string textAt(const util::ByteReader& in, std::size_t& at) {
    const std::size_t length = in.littleEndian(at, 4);
    const auto bytes = in.part(at + 4, length).bytes();
    at += 4 + length;
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

} // namespace

Comment parse(std::string_view bytes) {
    const util::ByteReader in = readerOf(bytes, "comment header of the song file");
    Comment comment;
    std::size_t at = 0;
    comment.vendor = textAt(in, at);
    const std::size_t count = in.littleEndian(at, 4);
    checkCount(count);
    at += 4;
    for (std::size_t i = 0; i < count; ++i)
        comment.fields.push_back(textAt(in, at));
    comment.rest = bytes.substr(at);
    return comment;
}

std::string render(const Comment& comment) {
    std::string bytes = sized(comment.vendor) + littleEndian(comment.fields.size(), 4);
    for (const std::string& field : comment.fields)
        bytes += sized(field);
    return bytes + comment.rest;
}

void collect(const Comment& comment, StoredTags& tags) {
    tags.others.push_back(comment.vendor);
    for (const std::string& field : comment.fields) {
        if (auto picture = pictureInField(field)) {
            tags.pictures.push_back(std::move(*picture));
        } else {
            tags.others.push_back(field);
        }
    }
    tags.others.push_back(comment.rest);
}

bool removeFront(Comment& comment) {
    return std::erase_if(comment.fields, [](const std::string& field) {
               const auto picture = pictureInField(field);
               return picture && picture->front;
           }) != 0;
}

void setFront(Comment& comment, const Cover& cover) {
    removeFront(comment);
    const auto firstPicture = std::ranges::find_if(
        comment.fields, [](const auto& field) { return pictureInField(field).has_value(); });
    comment.fields.insert(firstPicture, std::string(pictureField) + toBase64(pictureBlock(cover)));
}

Picture pictureIn(std::string_view block) {
    const util::ByteReader in = readerOf(block, "picture");
    Picture picture{
        .front = in.has(0, 4) && in.bigEndian(0, 4) == frontCover, .image = {}, .stored = std::string(block)};
    const auto skipText = [&](std::size_t at) -> std::size_t {
        return in.has(at, 4) ? at + 4 + in.bigEndian(at, 4) : block.size();
    };
    constexpr std::size_t measures = 16; // width, height, depth, number of colours
    const std::size_t sizeAt = skipText(skipText(4)) + measures;
    const bool address = in.matches(8, "-->");
    if (in.has(sizeAt, 4) && in.has(sizeAt + 4, in.bigEndian(sizeAt, 4)) && !address)
        picture.image = block.substr(sizeAt + 4, in.bigEndian(sizeAt, 4));
    return picture;
}

std::string pictureBlock(const Cover& cover) {
    const auto number = [](std::uint64_t value) { return bigEndian(value, 4); };
    return number(frontCover) + number(cover.mime.size()) + std::string(cover.mime) + number(0) +
           number(cover.width) + number(cover.height) + number(cover.bitsPerPixel) + number(0) +
           number(cover.image.size()) + std::string(cover.image);
}

} // namespace tags::xiph
