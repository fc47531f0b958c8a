#include "host/stay_settings.h"

#include <gtest/gtest.h>
#include <stdlib.h>

namespace {

class StaySettingsTest : public testing::Test {
  protected:
    ~StaySettingsTest() override {
        for (const char* name : {"KORVEX_STAYS", "KORVEX_STAYS_DAYS", "KORVEX_STAYS_MB"}) {
            unsetenv(name);
        }
    }
};

TEST_F(StaySettingsTest, WithoutAFolderNothingIsRemembered) {
    EXPECT_FALSE(console::stay_settings_from_environment());
}

TEST_F(StaySettingsTest, ThirtyDaysOrAGigabyteAreKeptUnlessMoreIsSaid) {
    setenv("KORVEX_STAYS", "/state", 1);
    EXPECT_EQ(console::stay_settings_from_environment()->state, "/state");
    EXPECT_EQ(console::stay_settings_from_environment()->limits.days, 30);
    EXPECT_EQ(console::stay_settings_from_environment()->limits.bytes, 1000000000U);
    setenv("KORVEX_STAYS_DAYS", "7", 1);
    setenv("KORVEX_STAYS_MB", "50", 1);
    EXPECT_EQ(console::stay_settings_from_environment()->limits.days, 7);
    EXPECT_EQ(console::stay_settings_from_environment()->limits.bytes, 50000000U);
}

TEST_F(StaySettingsTest, ANumberThatIsNoneIsSaid) {
    setenv("KORVEX_STAYS", "/state", 1);
    setenv("KORVEX_STAYS_DAYS", "0", 1);
    try {
        console::stay_settings_from_environment();
        FAIL();
    } catch (const std::runtime_error& problem) {
        EXPECT_STREQ(problem.what(), "KORVEX_STAYS_DAYS is a number from 1 to 36500, not \"0\"");
    }
}

} // namespace
