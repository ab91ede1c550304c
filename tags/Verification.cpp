// SPDX-License-Identifier: MIT
#include "tags/Verification.h"

#include "tags/Container.h"
#include "tags/SecondOpinion.h"
#include "tags/SongFile.h"
#include "util/Exception.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace tags {
namespace {

bool hasOneFront(const StoredTags& tags, std::string_view image) {
    const auto found = std::ranges::find_if(tags.pictures, &Picture::front);
    return std::ranges::count_if(tags.pictures, &Picture::front) == 1 && found->image == image;
}

std::vector<std::string> otherPictures(const StoredTags& tags) {
    std::vector<std::string> others;
    for (const Picture& picture : tags.pictures)
        if (!picture.front) others.push_back(picture.stored);
    return others;
}

void check(bool good, const char* complaint) {
    if (!good) throw util::Exception(complaint);
}

} // namespace

void verify(const std::filesystem::path& original, const std::filesystem::path& tagged,
            std::span<const std::byte> picture) {
    const std::string_view image(reinterpret_cast<const char*>(picture.data()), picture.size());
    const SongFile before(original);
    const SongFile after(tagged);
    const Container container = containerOf(before);
    check(containerOf(after) == container, "Writing the cover would have changed the kind of the song file.");
    const Format& format = formatOf(container);
    const StoredTags oldTags = format.tagsOf(before);
    const StoredTags newTags = format.tagsOf(after);
    check(hasOneFront(newTags, image), "The cover has not arrived in the song file.");
    check(otherPictures(oldTags) == otherPictures(newTags),
          "Writing the cover would have changed other pictures in the song file.");
    check(oldTags.others == newTags.others,
          "Writing the cover would have changed other tags of the song file.");
    const Body oldBody = format.bodyOf(before);
    const Body newBody = format.bodyOf(after);
    check(oldBody.layout == newBody.layout && sameBytes(before, oldBody.bytes, after, newBody.bytes),
          "Writing the cover would have changed the sound of the song file.");
    secondOpinion(original, tagged, container, image);
}

} // namespace tags
