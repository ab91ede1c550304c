// SPDX-License-Identifier: MIT
#include "net/Url.h"
#include "sources/Fields.h"
#include "sources/KeptCandidates.h"
#include "tests/unit/sources/Answers.h"
#include "tests/unit/sources/Asking.h"
#include "text/Utf8.h"

#include <random>

namespace {

using namespace tests;
using Random = std::mt19937;

std::size_t below(std::size_t limit, Random& random) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

/** Damages the text. Half of the kinds of damage keep the brackets intact, so that many texts still parse. */
void mutate(std::string& text, Random& random) {
    const std::size_t at = below(text.size(), random);
    switch (below(6, random)) {
    case 0:
        text[at] = static_cast<char>(text[at] ^ 1 << below(8, random));
        break;
    case 1:
        text[at] = static_cast<char>('a' + static_cast<char>(below(26, random)));
        break;
    case 2:
        text.insert(at, text.substr(below(text.size(), random), 1 + below(60, random)));
        break;
    case 3:
        text.erase(at, 1 + below(20, random));
        break;
    case 4:
        text.insert(at, std::string(below(3000, random), 'x'));
        break;
    default:
        text.insert(at, below(2, random) == 0 ? "7" : "null");
        break;
    }
    if (text.empty()) text = "x";
}

void expectSound(const Candidate& candidate) {
    for (const std::string* address : {&candidate.page, &candidate.pictureUrl, &candidate.thumbnailUrl}) {
        if (address->empty()) continue;
        EXPECT_TRUE(address->starts_with("http://") || address->starts_with("https://")) << *address;
        EXPECT_LE(address->size(), net::maxWebAddressBytes + 10);
    }
    for (const std::string* name :
         {&candidate.artist, &candidate.album, &candidate.title, &candidate.trackArtist, &candidate.date,
          &candidate.releaseId, &candidate.groupId}) {
        EXPECT_TRUE(text::isUtf8(*name));
        EXPECT_LE(name->size(), sources::maxNameBytes);
    }
    EXPECT_GE(candidate.widthPixels, 0);
    EXPECT_GE(candidate.heightPixels, 0);
}

/** @return the number of damaged answers that still gave candidates */
int readMutants(const sources::Service& service, const std::string& sound) {
    Random random(17); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same mutations each time
    int read = 0;
    for (int i = 0; i < 1500; ++i) {
        std::string mutant = sound;
        for (std::size_t changes = 1 + below(3, random); changes > 0; --changes)
            mutate(mutant, random);
        try {
            const auto candidates = service.parse(answer(mutant));
            for (const Candidate& candidate : candidates)
                expectSound(candidate);
            EXPECT_EQ(sources::candidatesFrom(sources::toText(candidates)), candidates);
            if (!candidates.empty()) ++read;
        } catch (const util::Exception& failure) {
            EXPECT_STRNE(failure.what(), "");
        }
    }
    return read;
}

TEST(Parsers, SurviveDamagedAnswers) {
    const auto all = parameters();
    const auto expectSurvival = [](const auto& service, std::initializer_list<std::string> sound) {
        for (const std::string& text : sound) {
            EXPECT_FALSE(service->parse(answer(text)).empty()) << service->name();
            EXPECT_GT(readMutants(*service, text), 10) << service->name();
        }
    };
    expectSurvival(sources::musicBrainz(all), {answers::musicBrainzReleases, answers::musicBrainzRecordings});
    expectSurvival(sources::coverArtArchive(all), {answers::coverArtArchive});
    expectSurvival(sources::itunes(all), {answers::itunesAlbums, answers::itunesSongs});
    expectSurvival(sources::deezer(all), {answers::deezerAlbums, answers::deezerTracks});
    expectSurvival(sources::lastFm(all), {answers::lastFmAlbum, answers::lastFmTrack, answers::lastFmSearch});
    expectSurvival(sources::audioDb(all), {answers::audioDb});
    expectSurvival(sources::discogs(all), {answers::discogs});
    expectSurvival(sources::fanartTv(all), {answers::fanartTv, answers::fanartTvNewer});
    expectSurvival(sources::amazon(all), {answers::amazon});
}

} // namespace
