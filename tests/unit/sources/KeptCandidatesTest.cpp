// SPDX-License-Identifier: MIT
#include "sources/KeptCandidates.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

namespace {

using matching::Candidate;
using matching::ReleaseKind;
using matching::ReleaseStatus;
using namespace sources;

matching::Candidate full() {
    return {.source = "musicbrainz",
            .artist = "A \"quoted\" \\ ünï <&>",
            .album = "Paper\nLanterns\x01",
            .title = "夜",
            .trackArtist = "Lowbeam",
            .kind = ReleaseKind::Other,
            .status = ReleaseStatus::Bootleg,
            .date = "2004-05",
            .releaseId = "1",
            .groupId = "2",
            .page = "http://a.test/3",
            .pictureUrl = "http://a.test/4",
            .thumbnailUrl = "http://a.test/5",
            .widthPixels = 600,
            .heightPixels = 2'147'483'647};
}

TEST(CandidateText, ComesBackAsItWas) {
    for (const std::vector<Candidate>& candidates :
         {std::vector<Candidate>{}, {Candidate{}}, {full()}, {full(), Candidate{}, full()}})
        EXPECT_EQ(candidatesFrom(toText(candidates)), candidates);
}

TEST(CandidateText, HoldsMoreThanAnAnswer) {
    Candidate large = full();
    large.album = std::string(1024, '\x01'); // six bytes each in JSON
    large.artist = large.title = large.trackArtist = large.album;
    const std::vector<Candidate> many(500, large);
    EXPECT_EQ(candidatesFrom(toText(many)), many);
}

TEST(CandidateText, IsRefusedWhereItIsAnotherVersions) {
    const std::string good = toText({full()});
    std::string otherVersion = good;
    otherVersion.replace(0, 2, "[2");
    std::string moreFields = good;
    moreFields.insert(moreFields.size() - 2, ",0");
    for (const std::string& text : {std::string(), std::string("[]"), std::string("{}"), std::string("null"),
                                    std::string("[1,7]"), std::string("[1,[]]"), std::string("[\"1\"]"),
                                    good.substr(0, good.size() - 1), good + "x", otherVersion, moreFields})
        EXPECT_THROW((void)candidatesFrom(text), util::Exception) << text;
}

TEST(CandidateText, IsRefusedWithUnknownKinds) {
    std::string text = toText({Candidate{}});
    ASSERT_TRUE(text.ends_with(",0,0,0,0]]"));
    for (const char* ending :
         {",7,0,0,0]]", ",0,4,0,0]]", ",0,0,-1,0]]", ",0,0,0,2147483648]]", ",0,0,0,\"\"]]"})
        EXPECT_THROW((void)candidatesFrom(text.substr(0, text.size() - 10) + ending), util::Exception)
            << ending;
}

} // namespace
