#pragma once

#include "host/stay_record.h"

#include <gmock/gmock.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

/** A state folder of the test's own, and a machine that stands in a zone of +01:00. */
class StayTest : public testing::Test {
  protected:
    static constexpr double noon = 1763809200.0; // 2025-11-22T12:00:00+01:00
    static constexpr int car = 2;

    StayTest() {
        std::string name = (std::filesystem::temp_directory_path() / "korvex_stays_XXXXXX").string();
        EXPECT_NE(mkdtemp(name.data()), nullptr);
        state = name;
        setenv("TZ", "UTC-1", 1);
        tzset();
    }
    ~StayTest() override {
        unsetenv("TZ");
        tzset();
        std::filesystem::remove_all(state);
    }

    /** One that began so many seconds after noon, reached the level 5 s later each, and has ended. */
    static console::StayRecord record(std::int64_t id, double entered, int seconds, int level) {
        console::StayRecord made;
        made.id = id;
        made.stay.object = static_cast<int>(id) + 100;
        made.stay.class_id = car;
        made.stay.entered = noon + entered;
        made.stay.left = noon + entered + seconds;
        made.stay.seconds = seconds;
        for (; made.stay.level < level; ++made.stay.level) {
            made.stay.reached.at(static_cast<size_t>(made.stay.level)) =
                made.stay.entered + 5.0 * (made.stay.level + 1);
        }
        return made;
    }

    void make_file(const std::string& path, size_t bytes = 1) const {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path) << std::string(bytes, 'x');
    }

    std::string state;
    console::StayFolder folder() const { return console::StayFolder(state); }
};

inline std::vector<std::int64_t> ids_of(const std::vector<console::StayRecord>& records) {
    std::vector<std::int64_t> ids;
    for (const console::StayRecord& record : records) {
        ids.push_back(record.id);
    }
    return ids;
}
