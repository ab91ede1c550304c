// SPDX-License-Identifier: MIT
#include "app/Parameters.h"
#include "store/sqlite/Store.h"
#include "tests/unit/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>

namespace {

TEST(Parameters, HaveTheirDefaultsWithoutAStore) {
    app::Parameters parameters;
    EXPECT_EQ(parameters.number("maxImageBytes"), 32U * 1024 * 1024);
    EXPECT_EQ(parameters.number("maxImagePixels"), 64'000'000U);
    EXPECT_EQ(parameters.text("stylesheetFolder"), "");
}

TEST(Parameters, AreReadAnewEachTime) {
    const tests::TemporaryFolder folder;
    store::SqliteStore store(folder.path());
    app::Parameters parameters(&store);
    store.setParameter({"queryLimit", "7"});
    EXPECT_EQ(parameters.number("queryLimit"), 7U);
    store.setParameter({"queryLimit", "8"});
    EXPECT_EQ(parameters.number("queryLimit"), 8U);
    store.deleteParameter("queryLimit");
    EXPECT_EQ(parameters.number("queryLimit"), 100U);
}

TEST(Parameters, AValueThatCantBeUnderstoodIsReportedOnceAndTheDefaultHolds) {
    const tests::TemporaryFolder folder;
    store::SqliteStore store(folder.path());
    app::Parameters parameters(&store);
    for (const char* value : {"", "0", "-1", "7x", " 7", "1e3", "99999999999999999999", "many\n"}) {
        store.setParameter({"queryLimit", value});
        testing::internal::CaptureStderr();
        EXPECT_EQ(parameters.number("queryLimit"), 100U) << value;
        EXPECT_EQ(parameters.number("queryLimit"), 100U) << value;
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
        EXPECT_EQ(said.rfind("sleevery.fcgi: parameter queryLimit: ", 0), 0U) << said;
    }
}

TEST(Parameters, AnObjectThatGoesOnForAnotherDoesNotRepeatWhatThatHasReported) {
    const tests::TemporaryFolder folder;
    store::SqliteStore store(folder.path());
    store.setParameter({"queryLimit", "many"});
    const auto complaints = std::make_shared<app::Parameters::Complaints>();
    for (const bool first : {true, false}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(app::Parameters(&store, complaints).number("queryLimit"), 100U);
        EXPECT_EQ(testing::internal::GetCapturedStderr().empty(), !first);
    }
}

TEST(Parameters, ATextThatCantBeUnderstoodIsReportedOnceAndTheDefaultHolds) {
    const tests::TemporaryFolder folder;
    store::SqliteStore store(folder.path());
    app::Parameters parameters(&store);
    const auto said = [&](const char* name, const char* value, const char* expected) {
        store.setParameter({name, value});
        testing::internal::CaptureStderr();
        EXPECT_EQ(parameters.text(name), expected) << value;
        EXPECT_EQ(parameters.text(name), expected) << value;
        return testing::internal::GetCapturedStderr();
    };
    EXPECT_EQ(said("privateAddresses", "allow", "allow"), "");
    EXPECT_EQ(said("privateAddresses", "deny", "deny"), "");
    EXPECT_EQ(
        said("privateAddresses", "Deny", "allow"),
        "sleevery.fcgi: parameter privateAddresses: \"Deny\" can't be understood, it should be: allow or "
        "deny; allow is used\n");
    EXPECT_NE(said("privateAddresses", "", "allow"), "");
    EXPECT_EQ(said("musicFolder", "/music", "/music"), "");
    EXPECT_EQ(said("musicFolder", "", ""), "");
    EXPECT_EQ(
        said("musicFolder", "music", ""),
        "sleevery.fcgi: parameter musicFolder: \"music\" can't be understood, it should be: absolute path; "
        "none is used\n");
}

TEST(Parameters, WebAddressesAreHttpOrHttpsAndNothingElse) {
    const tests::TemporaryFolder folder;
    store::SqliteStore store(folder.path());
    app::Parameters parameters(&store);
    testing::internal::CaptureStderr();
    for (const char* name : {"amazonUrl", "audioDbUrl", "coverArtArchiveUrl", "deezerUrl", "discogsUrl",
                             "fanartTvUrl", "itunesUrl", "lastFmUrl", "musicBrainzUrl"}) {
        const std::string usual = parameters.text(name);
        EXPECT_TRUE(usual.starts_with("http")) << name;
        for (const char* value : {"http://127.0.0.1:8080/prefix", "https://a.test/"}) {
            store.setParameter({name, value});
            EXPECT_EQ(parameters.text(name), value) << name;
        }
        for (const char* value : {"", "a.test", "ftp://a.test", "file:///etc/passwd", "http://a.test/?q=1",
                                  "http://a.test/#a", "http://a b.test", "http://a.test/<a>"}) {
            store.setParameter({name, value});
            EXPECT_EQ(parameters.text(name), usual) << name << ": " << value;
        }
    }
    testing::internal::GetCapturedStderr();
}

TEST(Parameters, SourcesAreNamesOfSources) {
    const tests::TemporaryFolder folder;
    store::SqliteStore store(folder.path());
    app::Parameters parameters(&store);
    const std::string all = parameters.text("sources");
    for (const char* value : {"", "deezer", "amazon,musicbrainz"}) {
        store.setParameter({"sources", value});
        EXPECT_EQ(parameters.text("sources"), value);
    }
    store.setParameter({"sources", "deezer, others"});
    testing::internal::CaptureStderr();
    EXPECT_EQ(parameters.text("sources"), all);
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "sleevery.fcgi: parameter sources: \"deezer, others\" can't be understood, it should be: names of "
        "sources; " +
            all + " is used\n");
    store.setParameter({"musicBrainzPause", "no"});
    testing::internal::CaptureStderr();
    EXPECT_EQ(parameters.text("musicBrainzPause"), "1000");
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

TEST(Parameters, DefaultsAreUnderstood) {
    for (const app::ParameterDefinition& definition : app::parameterDefinitions())
        EXPECT_TRUE(definition.understands == nullptr || definition.understands(definition.defaultValue))
            << definition.name;
}

TEST(Parameters, AreDescribedAsTheyAre) {
    std::ifstream file(SLEEVERY_SOURCE_DIR "/docs/parameters.md");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    std::string table = "| name | default | unit | meaning |\n| --- | --- | --- | --- |\n";
    for (const app::ParameterDefinition& definition : app::parameterDefinitions()) {
        table += "| `" + std::string(definition.name) + "` | " +
                 (definition.defaultValue.empty() ? "(none)" : std::string(definition.defaultValue)) + " | " +
                 std::string(definition.unit) + " | " + std::string(definition.meaning) + " |\n";
    }
    EXPECT_NE(text.find(table), std::string::npos) << "docs/parameters.md should have:\n" << table;
}

} // namespace
