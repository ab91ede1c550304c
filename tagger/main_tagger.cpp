// SPDX-License-Identifier: MIT
#include "tagger/Protocol.h"
#include "tagger/Tagger.h"
#include "tags/PictureLimits.h"
#include "util/Buffer.h"
#include "util/Exception.h"

#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <span>

namespace {

/**
 * Replaces this process by the program that can scale a picture; it starts from the beginning. Scaling is in
 * another program because that one links libgd: loading some fifty libraries takes longer than most songs.
 */
[[noreturn]] void giveWay(char** arguments) {
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
    const std::filesystem::path other = self.parent_path() / tagger::scalingProgram;
    ::execv(other.c_str(), arguments);
    throw util::Exception("The program that makes pictures smaller can't be started.");
}

} // namespace

int main(int count, char** arguments) {
    return tagger::runTagger(count, arguments,
                             [&](std::span<const std::byte> received, const tags::PictureLimits& limits) {
                                 if (!tags::fits(received, limits)) giveWay(arguments);
                                 return util::Buffer(received);
                             });
}
