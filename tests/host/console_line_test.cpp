#include "host/console_line.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using console::fitted;
using console::line_of;
using console::Snapshot;
using testing::ElementsAre;

TEST(ConsoleLine, APassShowsItsStatusTimeRatesAndDetections) {
    const Snapshot snapshot{200, 63, 4.96, 25.0, {{10, 20, 30, 40, 2, 0.625F}, {-5, 0, 100, 50, 5, 0.5F}}};
    EXPECT_EQ(line_of(snapshot), "status 200 | 63 ms | 5.0 passes/s | source 25.0 fps | Car 0.62 at 10,20 30x40, "
                                 "Bus 0.50 at -5,0 100x50");
}

TEST(ConsoleLine, TheVideosTimeStandsBesideItsRate) {
    EXPECT_EQ(line_of({200, 7, 5.0, 25.0, {}, 12.36}),
              "status 200 | 7 ms | 5.0 passes/s | source 25.0 fps at 12.4 s | nothing detected");
    EXPECT_EQ(line_of({200, 7, 5.0, 0.0, {}, 12.36}), "status 200 | 7 ms | 5.0 passes/s | nothing detected");
}

TEST(ConsoleLine, AlertsAndSlowPassesHaveDetectionsToo) {
    for (const int status : {502, 503, 504, 600}) {
        EXPECT_EQ(line_of({status, 7, 1.0, 0.0, {{1, 2, 3, 4, 0, 1.0F}}}),
                  "status " + std::to_string(status) + " | 7 ms | 1.0 passes/s | Person 1.00 at 1,2 3x4");
    }
}

TEST(ConsoleLine, APassThatFoundNothingSaysSo) {
    EXPECT_EQ(line_of({200, 7, 1.0, 0.0, {}}), "status 200 | 7 ms | 1.0 passes/s | nothing detected");
}

TEST(ConsoleLine, APassThatDidNotRunShowsNoOldDetectionsAndNoOldTime) {
    for (const int status : {0, 100, 400, 408}) {
        EXPECT_EQ(line_of({status, 7, 5.0, 25.0, {{1, 2, 3, 4, 0, 1.0F}}}),
                  "status " + std::to_string(status) + " | 5.0 passes/s | source 25.0 fps");
    }
}

TEST(ConsoleLine, ALineIsCutToTheTerminal) {
    EXPECT_EQ(fitted("0123456789", 10), "0123456789");
    EXPECT_EQ(fitted("0123456789", 9), "012345...");
    EXPECT_EQ(fitted("0123456789", 3), "...");
    EXPECT_EQ(fitted("0123456789", 0), "0123456789");
}

/** What a terminal shows of what is written to it; it knows what the console uses. */
class Terminal {
  public:
    void write(const std::string& text) {
        for (size_t i = 0; i < text.size(); ++i) {
            if (text[i] == '\r') {
                m_column = 0;
            } else if (text[i] == '\n') { // as a terminal has it, with the return
                ++m_row;
                m_column = 0;
            } else if (text.compare(i, 4, "\x1b[2A") == 0) {
                m_row -= 2;
                i += 3;
            } else if (text.compare(i, 3, "\x1b[J") == 0) {
                rows.resize(m_row + 1);
                rows[m_row].resize(m_column);
                i += 2;
            } else {
                rows.resize(std::max(rows.size(), m_row + 1));
                rows[m_row].resize(std::max(rows[m_row].size(), m_column + 1), ' ');
                rows[m_row][m_column++] = text[i];
            }
        }
    }

    std::vector<std::string> rows;

  private:
    size_t m_row = 0;
    size_t m_column = 0;
};

TEST(ConsoleLine, WhatOthersSayStandsWholeAboveTheLine) {
    Terminal shown;
    shown.write("start\n");
    shown.write(console::below_cursor("status 200 | 63 ms"));
    EXPECT_THAT(shown.rows, ElementsAre("start", "", "", "status 200 | 63 ms"));
    shown.write(console::below_cursor("status 408"));
    EXPECT_THAT(shown.rows, ElementsAre("start", "", "", "status 408")) << "in the place of the one before";
    shown.write("no room\nfor two\n");
    shown.write(console::below_cursor("status 200 | 70 ms"));
    EXPECT_THAT(shown.rows, ElementsAre("start", "no room", "for two", "", "", "status 200 | 70 ms"));
    shown.write(console::clear_below + std::string("an event\n") + console::below_cursor("status 502"));
    EXPECT_THAT(shown.rows, ElementsAre("start", "no room", "for two", "an event", "", "", "status 502"));
}

} // namespace
