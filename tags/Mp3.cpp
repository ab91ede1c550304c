// SPDX-License-Identifier: MIT
#include "tags/Formats.h"
#include "tags/Id3v2.h"

namespace tags {
namespace {

/** The tag at the beginning; an empty one where there is none. What stands at the end (ID3v1, APEv2) counts
 * as body. */
id3v2::Tag tagOf(const SongFile& file, std::uint64_t length) {
    return length == 0 ? id3v2::Tag{} : id3v2::parse(file.read(0, length));
}

StoredTags tagsOf(const SongFile& file) {
    StoredTags tags;
    id3v2::collect(tagOf(file, id3v2::lengthAt(file, 0)), tags);
    return tags;
}

Body bodyOf(const SongFile& file) {
    const std::uint64_t length = id3v2::lengthAt(file, 0);
    return {.bytes = {{length, file.size() - length}}, .layout = {}};
}

void writeFront(SongFile& file, const Cover& cover) {
    const std::uint64_t length = id3v2::lengthAt(file, 0);
    id3v2::Tag tag = tagOf(file, length);
    id3v2::setFront(tag, cover);
    file.replace(0, length, id3v2::render(tag, paddingFor(id3v2::sizeOf(tag), length)));
}

} // namespace

const Format mp3Format{tagsOf, bodyOf, writeFront};

} // namespace tags
