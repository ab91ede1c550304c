// SPDX-License-Identifier: MIT
#include "app/Documents.h"
#include "xml/XMLParser.h"

#include <gtest/gtest.h>

namespace {

const std::string nasty("<a>&\"'\x01\n\t\xC3\xA9", 11);

matching::Candidate nastyCandidate() {
    return {.source = nasty,
            .artist = nasty,
            .album = nasty,
            .title = nasty,
            .date = nasty,
            .releaseId = nasty,
            .groupId = nasty,
            .page = nasty,
            .pictureUrl = nasty,
            .thumbnailUrl = nasty};
}

TEST(Documents, AreWellFormedWhateverIsStored) {
    store::Entry entry{
        .id = 3, .record = {.artist = nasty, .title = nasty, .album = nasty}, .image = std::nullopt};
    entry.image = store::ImageInfo{
        .hash = std::string(64, 'a'), .mimeType = "image/png", .widthPixels = 1, .heightPixels = 2};
    const store::Job job{
        .id = 4, .path = "/music/\xFF\x01.mp3", .state = store::JobState::Failed, .reason = nasty};
    const app::SongLookup lookup{
        .found = {{.candidate = nastyCandidate(),
                   .judgement = {.score = 1, .reason = nasty},
                   .alsoFrom = {nasty}}},
        .reports = {{.name = "deezer", .state = sources::SourceState::Failed, .reason = nasty}}};
    for (const std::string& document :
         {app::queryDocument({{entry, {job}}}, 1), app::showEmptyDocument({entry}),
          app::parametersDocument({{nasty, nasty}}), app::coverartDocument(entry.record, lookup),
          app::albumNamesDocument(entry.record, lookup),
          app::albumSongsDocument(entry.record,
                                  {{.title = nasty, .artist = nasty, .album = nasty, .file = nasty}})}) {
        util::XMLParser parser;
        EXPECT_TRUE(parser.parse(document)) << document;
    }
}

TEST(Documents, ShowEmptyListsTheSongs) {
    const store::Entry entry{
        .id = 3, .record = {.artist = "A", .title = "T", .album = "L", .sampler = true}, .image = {}};
    EXPECT_EQ(app::showEmptyDocument({entry}), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                               "<ShowEmpty>\n"
                                               "  <Entry id=\"3\">\n"
                                               "    <Artist>A</Artist>\n"
                                               "    <Album>L</Album>\n"
                                               "    <Title>T</Title>\n"
                                               "    <Sampler>1</Sampler>\n"
                                               "  </Entry>\n"
                                               "</ShowEmpty>\n");
    EXPECT_EQ(app::showEmptyDocument({}),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ShowEmpty>\n</ShowEmpty>\n");
}

TEST(Documents, AJobTellsWhyItFailed) {
    const store::Job job{.id = 4, .path = "/a.mp3", .state = store::JobState::Failed, .reason = "no space"};
    const std::string document = app::queryDocument({{{.id = 1, .record = {}, .image = {}}, {job}}}, 1);
    EXPECT_NE(document.find(
                  "<Job id=\"4\" kind=\"writeTag\" state=\"failed\" file=\"/a.mp3\" reason=\"no space\"/>"),
              std::string::npos)
        << document;
}

const store::Record song{.artist = "A&B", .title = "T", .album = "L", .sampler = true};

/** The song as both documents begin with it. */
const std::string songElement = "  <Song>\n"
                                "    <Artist>A&amp;B</Artist>\n"
                                "    <Album>L</Album>\n"
                                "    <Title>T</Title>\n"
                                "    <Sampler>1</Sampler>\n"
                                "  </Song>\n";

app::SongLookup twoFound() {
    return {.found = {{.candidate = {.source = "musicbrainz",
                                     .artist = "A",
                                     .album = "L",
                                     .title = "T",
                                     .trackArtist = "B",
                                     .date = "2004-05",
                                     .releaseId = "r",
                                     .groupId = "g",
                                     .page = "http://p.test/?a=1&b=2",
                                     .pictureUrl = "http://i.test/?a=1&b=2",
                                     .thumbnailUrl = "http://t.test/",
                                     .widthPixels = 1200,
                                     .heightPixels = 1100},
                       .judgement = {.score = 0.98765, .reason = "Artist and album agree; release."},
                       .alsoFrom = {"deezer", "itunes"}},
                      {.candidate = {.source = "file", .pictureUrl = "cover:12", .widthPixels = 5},
                       .judgement = {.score = 0.5, .reason = "x"},
                       .alsoFrom = {}}},
            .reports = {{.name = "musicbrainz", .state = sources::SourceState::Answered, .found = 12},
                        {.name = "itunes", .state = sources::SourceState::Kept, .found = 1},
                        {.name = "amazon", .state = sources::SourceState::Idle},
                        {.name = "deezer",
                         .state = sources::SourceState::Failed,
                         .found = 3,
                         .reason = "It doesn't \"want\"."}}};
}

const std::string reportElements =
    "  <WebSource name=\"musicbrainz\" state=\"answered\" found=\"12\"/>\n"
    "  <WebSource name=\"itunes\" state=\"kept\" found=\"1\"/>\n"
    "  <WebSource name=\"amazon\" state=\"idle\" found=\"0\"/>\n"
    "  <WebSource name=\"deezer\" state=\"failed\" found=\"3\" reason=\"It doesn't &quot;want&quot;.\"/>\n";

TEST(Documents, CoverartListsSuggestionsWithWhatIsKnownOfThem) {
    EXPECT_EQ(app::coverartDocument(song, twoFound()),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<CoverartInformation>\n" +
                  songElement +
                  "  <Suggestion score=\"0.988\">\n"
                  "    <Artist>A</Artist>\n"
                  "    <Album>L</Album>\n"
                  "    <Title>T</Title>\n"
                  "    <Source>musicbrainz</Source>\n"
                  "    <Source>deezer</Source>\n"
                  "    <Source>itunes</Source>\n"
                  "    <Reason>Artist and album agree; release.</Reason>\n"
                  "    <Date>2004-05</Date>\n"
                  "    <ReleaseId>r</ReleaseId>\n"
                  "    <ReleaseGroupId>g</ReleaseGroupId>\n"
                  "    <Page>http://p.test/?a=1&amp;b=2</Page>\n"
                  "    <ImageUrl>http://i.test/?a=1&amp;b=2</ImageUrl>\n"
                  "    <ThumbnailUrl>http://t.test/</ThumbnailUrl>\n"
                  "    <Width>1200</Width>\n"
                  "    <Height>1100</Height>\n"
                  "  </Suggestion>\n"
                  "  <Suggestion score=\"0.500\">\n"
                  "    <Artist></Artist>\n"
                  "    <Album></Album>\n"
                  "    <Source>file</Source>\n"
                  "    <Reason>x</Reason>\n"
                  "    <ImageUrl>cover:12</ImageUrl>\n"
                  "  </Suggestion>\n" +
                  reportElements + "</CoverartInformation>\n");
}

TEST(Documents, AlbumNamesListAlbumsWithWhatIsKnownOfThem) {
    EXPECT_EQ(app::albumNamesDocument(song, twoFound()),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<AlbumNames>\n" +
                  songElement +
                  "  <Album score=\"0.988\">\n"
                  "    <Name>L</Name>\n"
                  "    <Artist>A</Artist>\n"
                  "    <Source>musicbrainz</Source>\n"
                  "    <Source>deezer</Source>\n"
                  "    <Source>itunes</Source>\n"
                  "    <Reason>Artist and album agree; release.</Reason>\n"
                  "    <Date>2004-05</Date>\n"
                  "    <ReleaseId>r</ReleaseId>\n"
                  "    <ReleaseGroupId>g</ReleaseGroupId>\n"
                  "    <Page>http://p.test/?a=1&amp;b=2</Page>\n"
                  "  </Album>\n"
                  "  <Album score=\"0.500\">\n"
                  "    <Name></Name>\n"
                  "    <Artist></Artist>\n"
                  "    <Source>file</Source>\n"
                  "    <Reason>x</Reason>\n"
                  "  </Album>\n" +
                  reportElements + "</AlbumNames>\n");
}

TEST(Documents, OfALookUpAreThereWhereNothingWasFound) {
    EXPECT_EQ(app::coverartDocument(song, {}),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<CoverartInformation>\n" + songElement +
                  "</CoverartInformation>\n");
    EXPECT_EQ(app::albumNamesDocument(song, {}),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<AlbumNames>\n" + songElement + "</AlbumNames>\n");
}

TEST(Documents, AnAlbumHasItsSongsInTheOrderGiven) {
    const std::vector<app::DeviceSong> songs{{.number = 12,
                                              .disc = 2,
                                              .title = "T<1>",
                                              .artist = "B",
                                              .album = "other",
                                              .length = std::chrono::seconds(214),
                                              .file = "a/b.flac"},
                                             {.file = "c.mp3"}};
    EXPECT_EQ(app::albumSongsDocument(song, songs), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                                    "<AlbumSongs>\n" +
                                                        songElement +
                                                        "  <Track>\n"
                                                        "    <Number>12</Number>\n"
                                                        "    <Disc>2</Disc>\n"
                                                        "    <Title>T&lt;1&gt;</Title>\n"
                                                        "    <Artist>B</Artist>\n"
                                                        "    <Length>214</Length>\n"
                                                        "    <File>a/b.flac</File>\n"
                                                        "  </Track>\n"
                                                        "  <Track>\n"
                                                        "    <File>c.mp3</File>\n"
                                                        "  </Track>\n"
                                                        "</AlbumSongs>\n");
}

} // namespace
