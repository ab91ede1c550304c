// SPDX-License-Identifier: MIT
#include "sources/SourceList.h"

#include <algorithm>
#include <array>
#include <memory>
#include <set>
#include <utility>

namespace sources {
namespace {

struct Entry {
    std::string_view name;
    std::unique_ptr<Source> (*makeSource)(const ParameterReader&);
    std::unique_ptr<PictureSource> (*makePictureSource)(const ParameterReader&);
};

constexpr std::array entries = {
    Entry{"musicbrainz", musicBrainz, nullptr}, Entry{"coverartarchive", nullptr, coverArtArchive},
    Entry{"itunes", itunes, nullptr},           Entry{"deezer", deezer, nullptr},
    Entry{"lastfm", lastFm, nullptr},           Entry{"fanarttv", nullptr, fanartTv},
    Entry{"audiodb", audioDb, nullptr},         Entry{"discogs", discogs, nullptr},
    Entry{"amazon", amazon, nullptr},
};

constexpr std::string_view separators = ", ";

/** Removes the first name from the list and returns it; empty at the end of the list. */
std::string_view takeName(std::string_view& list) noexcept {
    list.remove_prefix(std::min(list.find_first_not_of(separators), list.size()));
    const std::string_view name = list.substr(0, std::min(list.find_first_of(separators), list.size()));
    list.remove_prefix(name.size());
    return name;
}

template <typename Made>
void add(std::vector<std::unique_ptr<Made>>& to, std::unique_ptr<Made> (*make)(const ParameterReader&),
         const ParameterReader& parameter) {
    if (make == nullptr) return;
    if (auto made = make(parameter)) to.push_back(std::move(made));
}

} // namespace

bool areSourceNames(std::string_view list) noexcept {
    for (auto name = takeName(list); !name.empty(); name = takeName(list))
        if (std::ranges::find(entries, name, &Entry::name) == entries.end()) return false;
    return true;
}

Sources sourcesOf(std::string_view list, const ParameterReader& parameter) {
    Sources sources;
    std::set<const Entry*> added;
    for (auto name = takeName(list); !name.empty(); name = takeName(list)) {
        const auto* const entry = std::ranges::find(entries, name, &Entry::name);
        if (entry == entries.end() || !added.insert(entry).second) continue;
        add(sources.albums, entry->makeSource, parameter);
        add(sources.pictures, entry->makePictureSource, parameter);
    }
    return sources;
}

} // namespace sources
