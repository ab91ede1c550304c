// SPDX-License-Identifier: MIT
#include "bridge/Queue.h"

#include "bridge/Failure.h"

#include <string>

namespace bridge {

void addToQueue(Mpd& mpd, const std::vector<Song>& songs) {
    std::vector<MpdCommand> additions;
    additions.reserve(songs.size());
    for (const Song& song : songs)
        additions.push_back({"addid", song.file});
    // By their numbers, since the place in the queue may be another's by then.
    std::vector<MpdCommand> removals;
    try {
        mpd.askAll(additions, [&](std::string_view name, std::string_view value) {
            if (name == "Id") removals.push_back({"deleteid", std::string(value)});
        });
    } catch (const Refused&) {
        if (!removals.empty()) mpd.askAll(removals, [](std::string_view, std::string_view) {});
        throw;
    }
}

} // namespace bridge
