// SPDX-License-Identifier: MIT
#include "sources/SourceList.h"

#include "tests/unit/sources/Asking.h"

namespace {

using tests::parameters;
using Names = std::vector<std::string>;

template <typename Made>
Names namesOf(const std::vector<std::unique_ptr<Made>>& made) {
    Names names;
    for (const auto& service : made)
        names.emplace_back(service->name());
    return names;
}

constexpr std::string_view all =
    "musicbrainz, coverartarchive, itunes, deezer, lastfm, fanarttv, audiodb, discogs, amazon";

TEST(SourceNames, AreSeparatedByCommasAndBlanks) {
    for (const std::string_view list :
         {all, std::string_view(), std::string_view(" , ,, "), std::string_view("deezer"),
          std::string_view(",deezer  itunes,,amazon "), std::string_view("deezer,deezer")})
        EXPECT_TRUE(sources::areSourceNames(list)) << list;
    for (const std::string_view list : {"deezer;itunes", "Deezer", "dee", "deezers", "deezer, other",
                                        "deezer\titunes", "none", ".", "musicbrainz,\n"})
        EXPECT_FALSE(sources::areSourceNames(list)) << list;
    EXPECT_FALSE(sources::areSourceNames(std::string_view("deezer\0", 7)));
}

TEST(SourcesOf, AreMadeInTheOrderOfTheList) {
    const auto sources = sources::sourcesOf(all, parameters());
    EXPECT_EQ(namesOf(sources.albums),
              (Names{"musicbrainz", "itunes", "deezer", "lastfm", "audiodb", "discogs", "amazon"}));
    EXPECT_EQ(namesOf(sources.pictures), (Names{"coverartarchive", "fanarttv"}));
    const auto some = sources::sourcesOf("fanarttv,amazon coverartarchive deezer", parameters());
    EXPECT_EQ(namesOf(some.albums), (Names{"amazon", "deezer"}));
    EXPECT_EQ(namesOf(some.pictures), (Names{"fanarttv", "coverartarchive"}));
}

TEST(SourcesOf, LeaveOutThoseWithoutTheirKey) {
    const auto sources = sources::sourcesOf(all, parameters({{"lastFmKey", ""},
                                                             {"audioDbKey", ""},
                                                             {"discogsToken", ""},
                                                             {"fanartTvKey", ""},
                                                             {"amazonSecret", ""}}));
    EXPECT_EQ(namesOf(sources.albums), (Names{"musicbrainz", "itunes", "deezer"}));
    EXPECT_EQ(namesOf(sources.pictures), (Names{"coverartarchive"}));
}

TEST(SourcesOf, LeaveOutWhatIsNoSource) {
    const auto sources = sources::sourcesOf("other, Deezer deezer", parameters());
    EXPECT_EQ(namesOf(sources.albums), (Names{"deezer"}));
    EXPECT_TRUE(sources.pictures.empty());
    EXPECT_TRUE(sources::sourcesOf("", parameters()).albums.empty());
}

TEST(SourcesOf, OneThatIsNamedTwiceIsAskedOnce) {
    const auto sources = sources::sourcesOf("deezer, coverartarchive, deezer coverartarchive", parameters());
    EXPECT_EQ(namesOf(sources.albums), (Names{"deezer"}));
    EXPECT_EQ(namesOf(sources.pictures), (Names{"coverartarchive"}));
}

} // namespace
