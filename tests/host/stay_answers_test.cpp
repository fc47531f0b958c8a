#include "host/stay_answers.h"
#include "host/stay_store.h"
#include "tests/host/stay_fixture.h"

namespace {

using console::StayStore;
using testing::HasSubstr;

class StayAnswersTest : public StayTest {
  protected:
    StayAnswersTest() : m_store(folder().database()) { m_store.write({record(1, 0.0, 6, 1), record(2, 60.0, 3, 0)}); }

    host_overlay::Answer answer(const std::string& path, const host_overlay::QueryArguments& query = {}) const {
        return console::stay_answer(folder(), path, query).value();
    }

    StayStore m_store;
};

TEST_F(StayAnswersTest, ThePagesGetTheStaysOfATime) {
    const auto both = answer("/stream/stays.json", {{"from", "2025-11-22"}, {"to", "2025-11-23"}});
    EXPECT_EQ(both.status, 200U);
    EXPECT_EQ(both.type, "application/json");
    EXPECT_EQ(both.body, console::json_of_stays({record(1, 0.0, 6, 1), record(2, 60.0, 3, 0)}, folder()));
    const auto one =
        answer("/stream/stays.json", {{"from", "2025-11-22T12:00:30+01:00"}, {"to", "2025-11-22T12:01:01+01:00"}});
    EXPECT_EQ(one.body, console::json_of_stays({record(2, 60.0, 3, 0)}, folder()));
    EXPECT_EQ(answer("/stream/stays.json").body, "{\"stays\": []}\n"); // today
}

TEST_F(StayAnswersTest, SpreadsheetsGetThemAsAFile) {
    const auto rows = answer("/stream/stays.csv", {{"from", "2025-11-22"}, {"to", "2025-11-23"}});
    EXPECT_EQ(rows.type, "text/csv; charset=utf-8");
    EXPECT_EQ(rows.filename, "stays.csv");
    EXPECT_EQ(rows.body, console::csv_of_stays({record(1, 0.0, 6, 1), record(2, 60.0, 3, 0)}, folder()));
}

TEST_F(StayAnswersTest, AQueryThatMakesNoSenseIsRefusedInASentence) {
    const std::vector<std::pair<host_overlay::QueryArguments, std::string>> table = {
        {{{"day", "2025-11-22"}}, "The query may hold from and to only.\n"},
        {{{"from", "monday"}},
         "\"monday\" is no time; it is to be a date like 2026-11-22, or a time like "
         "2026-11-22T08:35 with or without a zone such as +01:00.\n"},
        {{{"from", "2025-11-23"}, {"to", "2025-11-22"}},
         "The time is to begin before it ends: 2025-11-23T00:00:00.000+01:00 is not before "
         "2025-11-22T00:00:00.000+01:00.\n"},
    };
    for (const auto& [query, sentence] : table) {
        const auto refused = answer("/stream/stays.json", query);
        EXPECT_EQ(refused.status, 400U);
        EXPECT_EQ(refused.body, sentence);
    }
}

TEST_F(StayAnswersTest, PicturesAndVideosAreFilesOfTheirFolders) {
    const auto still = answer("/stream/stills/12-3.jpg");
    EXPECT_EQ(still.file, state + "/stills/12-3.jpg");
    EXPECT_EQ(still.type, "image/jpeg");
    const auto clip = answer("/stream/clips/12-1.mp4");
    EXPECT_EQ(clip.file, state + "/clips/12-1.mp4");
    EXPECT_EQ(clip.type, "video/mp4");
}

TEST_F(StayAnswersTest, NoPathLeavesItsFolder) {
    for (const char* path :
         {"/stream/stills/", "/stream/stills/../stays.sqlite", "/stream/stills/../clips/1-1.mp4",
          "/stream/stills/1-1.jpg/..", "/stream/stills/1-4.jpg", "/stream/stills/1-1.mp4", "/stream/clips/1-1.jpg",
          "/stream/stills/01-1.jpg", "/stream/stills/1-1.jpg\n", "/stream/stills//1-1.jpg", "/stream/clips/x",
          "/stream/stills/1-1.jpg.new", "/stream/stills/99999999999999999999-1.jpg"}) {
        const auto refused = answer(path);
        EXPECT_EQ(refused.status, 404U) << path;
        EXPECT_EQ(refused.file, "") << path;
    }
}

TEST_F(StayAnswersTest, OtherPathsAreNotTheirs) {
    for (const char* path : {"/stream/1280x720.mjpg", "/stream/stays.jsonx", "/stays.json", "/stream/stills"})
        EXPECT_FALSE(console::stay_answer(folder(), path, {})) << path;
}

TEST_F(StayAnswersTest, ADatabaseThatCannotBeReadIsNotTheClientsFault) {
    const console::StayFolder other(state + "/other");
    make_file(other.database(), 5000);
    const auto refused = console::stay_answer(other, "/stream/stays.json", {});
    EXPECT_EQ(refused->status, 503U);
    EXPECT_THAT(refused->body, HasSubstr("The kept stays cannot be read"));
}

} // namespace
