#include "host/stay_settings.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <stdexcept>

namespace {

class StaySettingsTest : public testing::Test {
  protected:
    ~StaySettingsTest() override {
        for (const char* name : {"KORVEX_STAYS", "KORVEX_STAYS_DAYS", "KORVEX_STAYS_MB", "KORVEX_WEBHOOK",
                                 "KORVEX_WEBHOOK_CA", "KORVEX_MQTT_PAGES", "KORVEX_CLIPS"})
            unsetenv(name);
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

TEST_F(StaySettingsTest, VideosAreKeptWhenTheyAreAskedFor) {
    setenv("KORVEX_STAYS", "/state", 1);
    EXPECT_FALSE(console::stay_settings_from_environment()->clips);
    setenv("KORVEX_CLIPS", "1", 1);
    EXPECT_TRUE(console::stay_settings_from_environment()->clips);
}

TEST_F(StaySettingsTest, AWebhookHasAQueueOfItsOwn) {
    setenv("KORVEX_STAYS", "/state", 1);
    EXPECT_FALSE(console::stay_settings_from_environment()->webhook);
    setenv("KORVEX_WEBHOOK", "https://h/x", 1);
    setenv("KORVEX_WEBHOOK_CA", "/ca", 1);
    setenv("KORVEX_MQTT_PAGES", "http://camera/", 1);
    const auto settings = console::stay_settings_from_environment();
    EXPECT_EQ(settings->webhook->url, "https://h/x");
    EXPECT_EQ(settings->webhook->ca_file, "/ca");
    EXPECT_EQ(settings->webhook->queue_path, "/state/webhook-queue");
    EXPECT_EQ(settings->pages, "http://camera/");
}

TEST_F(StaySettingsTest, WhatMakesNoSenseIsSaid) {
    const auto problem_with = [](const char* name, const char* value) -> std::string {
        setenv("KORVEX_STAYS", "/state", 1);
        setenv(name, value, 1);
        try {
            console::stay_settings_from_environment();
        } catch (const std::runtime_error& problem) {
            unsetenv(name);
            return problem.what();
        }
        return "";
    };
    EXPECT_EQ(problem_with("KORVEX_STAYS_DAYS", "0"), "KORVEX_STAYS_DAYS is a number from 1 to 36500, not \"0\"");
    EXPECT_EQ(problem_with("KORVEX_STAYS_MB", "x"), "KORVEX_STAYS_MB is a number from 1 to 100000000, not \"x\"");
    EXPECT_EQ(problem_with("KORVEX_WEBHOOK", "h"), "KORVEX_WEBHOOK is an http:// or https:// address");
}

} // namespace
