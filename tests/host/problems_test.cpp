#include "host/problems.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using console::Condition;
using console::ProblemNews;
using console::ProblemWatch;

constexpr double start = 1763823600.0; // 15:00 UTC

class ProblemsTest : public testing::Test {
  protected:
    ProblemsTest() {
        setenv("TZ", "UTC", 1);
        tzset();
    }

    /** "+No video since 15:00" for what begins, "-video" for what ends. */
    std::string look(const Condition& condition, double seconds) {
        std::string text;
        for (const ProblemNews& news : m_watch.look(condition, start + seconds))
            text += news.begins ? "+" + news.problem.text : "-" + news.problem.kind;
        return text;
    }

    ProblemWatch m_watch;
};

constexpr std::time_t lost = 1763823540; // a minute before

TEST_F(ProblemsTest, ALostVideoCountsFromItsLastPictureAndAtOnce) {
    EXPECT_EQ(look({.status = 200}, 0.0), "");
    EXPECT_EQ(look({.status = 200, .lost_since = lost}, 0.2), "+No video since 14:59");
    EXPECT_EQ(look({.status = 200, .lost_since = lost}, 0.4), "");
    ASSERT_EQ(m_watch.standing().size(), 1U);
    EXPECT_EQ(m_watch.standing()[0].since, lost);
    EXPECT_EQ(look({.status = 200}, 0.6), "-video");
    EXPECT_TRUE(m_watch.standing().empty());
}

TEST_F(ProblemsTest, AStoreAndAnAgreementLikewise) {
    EXPECT_EQ(look({.status = 408}, 0.0), "+The end-user agreement is not accepted");
    EXPECT_EQ(look({.status = 200, .unkept_since = lost}, 0.2), "-agreement+Settings cannot be kept since 14:59");
    EXPECT_EQ(look({.status = 200}, 0.4), "-store");
}

TEST_F(ProblemsTest, APassThatFailsOrIsLateCountsWhenItGoesOn) {
    struct Case {
        int status;
        std::string text, kind;
    };
    double now = 0.0;
    for (const Case& c :
         {Case{400, "No inference since 15:0", "inference"}, Case{401, "No inference since 15:0", "inference"},
          Case{600, "The analysis is late since 15:0", "late"}}) {
        now += 100.0;
        EXPECT_EQ(look({.status = c.status}, now), "") << "once is nothing";
        EXPECT_EQ(look({.status = 200}, now + 0.2), "");
        EXPECT_EQ(look({.status = 200}, now + 5.2), "");
        EXPECT_EQ(look({.status = c.status}, now + 6.0), "") << "the first one is forgotten";
        EXPECT_EQ(look({.status = 200}, now + 7.0), "") << "good passes between bad ones end nothing";
        EXPECT_EQ(look({.status = c.status}, now + 8.0).substr(1, c.text.size()), c.text);
        EXPECT_EQ(look({.status = 200}, now + 12.9), "");
        EXPECT_EQ(look({.status = 200}, now + 13.0), "-" + c.kind);
    }
}

TEST_F(ProblemsTest, AlertsAreNoProblems) {
    for (const int status : {50, 100, 200, 502, 503, 504})
        EXPECT_EQ(look({.status = status}, status), "") << status;
}

TEST_F(ProblemsTest, EachKindHasANameForItsSensor) {
    std::string all;
    for (const console::Problem& problem : ProblemWatch::kinds())
        all += problem.kind + "=" + problem.name + ";";
    EXPECT_EQ(all, "video=No video;agreement=The end-user agreement is not accepted;inference=No inference;"
                   "late=The analysis is late;store=Settings cannot be kept;");
}

} // namespace
