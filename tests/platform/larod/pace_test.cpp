#include "platform/larod/pace.h"

#include <gtest/gtest.h>

namespace {

using korvex::larod::Pace;

/** Makes `runs` runs that take so long each; gives how many of them were done alone. */
int run(Pace& pace, int runs, double shared_ms, double alone_ms) {
    int alone = 0;
    for (int i = 0; i < runs; ++i) {
        alone += pace.alone() ? 1 : 0;
        pace.took(pace.alone() ? alone_ms : shared_ms);
    }
    return alone;
}

TEST(Pace, OnAQuietMachineRunsAreSharedButForOneTrial) {
    Pace pace;
    EXPECT_FALSE(pace.alone());
    EXPECT_EQ(run(pace, 1000, 60, 90), 1);
}

TEST(Pace, TheFirstRunWhichSetsUpIsNotJudged) {
    Pace pace;
    pace.took(500);
    EXPECT_FALSE(pace.alone());
}

TEST(Pace, OnABusyMachineNearlyAllAreDoneAlone) {
    Pace pace;
    EXPECT_GE(run(pace, 1000, 2000, 190), 990);
}

TEST(Pace, TheyAreWhenItBecomesBusyLater) {
    Pace pace;
    run(pace, 200, 60, 90);
    EXPECT_GE(run(pace, 1000, 2000, 190), 990);
}

TEST(Pace, AndSharedAgainWhenItIsQuietAgain) {
    Pace pace;
    run(pace, 500, 2000, 190);
    run(pace, 3300, 60, 90); // the longest stay
    EXPECT_LE(run(pace, 1000, 60, 90), 1);
}

TEST(Pace, ASlowRunThatIsSlowerAloneIsNoReason) {
    Pace pace;
    run(pace, 200, 60, 90);
    EXPECT_LE(run(pace, 1000, 200, 300), 20);
    EXPECT_FALSE(pace.alone());
}

TEST(Pace, AOneTimeHiccupCostsAHundredRunsAlone) {
    Pace pace;
    run(pace, 200, 60, 90);
    pace.took(400);
    EXPECT_EQ(run(pace, 1000, 60, 90), 101);
}

} // namespace
