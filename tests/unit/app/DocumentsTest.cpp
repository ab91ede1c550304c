// SPDX-License-Identifier: MIT
#include "app/Documents.h"
#include "util/XMLParser.h"

#include <gtest/gtest.h>

namespace {

const std::string nasty("<a>&\"'\x01\n\t\xC3\xA9", 11);

TEST(Documents, AreWellFormedWhateverIsStored) {
    store::Entry entry{
        .id = 3, .record = {.artist = nasty, .title = nasty, .album = nasty}, .image = std::nullopt};
    entry.image = store::ImageInfo{
        .hash = std::string(64, 'a'), .mimeType = "image/png", .widthPixels = 1, .heightPixels = 2};
    const store::Job job{
        .id = 4, .path = "/music/\xFF\x01.mp3", .state = store::JobState::Failed, .reason = nasty};
    for (const std::string& document :
         {app::queryDocument({{entry, {job}}}, 1), app::showEmptyDocument({entry}),
          app::parametersDocument({{nasty, nasty}})}) {
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

} // namespace
