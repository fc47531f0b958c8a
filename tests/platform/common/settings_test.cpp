#include "platform/common/settings.h"

#include <gtest/gtest.h>

using platform::parse_host_port;
using platform::parse_number;
using platform::parse_size;

namespace {

TEST(Settings, AreEmptyOrTheDefaultWhenTheyAreNotSet) {
    unsetenv("KORVEX_TEST_SETTING");
    EXPECT_EQ(platform::environment("KORVEX_TEST_SETTING"), "");
    EXPECT_EQ(platform::environment_or("KORVEX_TEST_SETTING", "other"), "other");
    setenv("KORVEX_TEST_SETTING", "", 1);
    EXPECT_EQ(platform::environment_or("KORVEX_TEST_SETTING", "other"), "other");
    setenv("KORVEX_TEST_SETTING", "own", 1);
    EXPECT_EQ(platform::environment("KORVEX_TEST_SETTING"), "own");
    EXPECT_EQ(platform::environment_or("KORVEX_TEST_SETTING", "other"), "own");
    unsetenv("KORVEX_TEST_SETTING");
}

TEST(ParseNumber, TakesDigitsWithinTheRangeOnly) {
    EXPECT_EQ(parse_number("7", 0, 10), 7U);
    EXPECT_EQ(parse_number("007", 0, 10), 7U);
    EXPECT_EQ(parse_number("0", 0, 10), 0U);
    EXPECT_EQ(parse_number("10", 0, 10), 10U);
    for (const char* wrong :
         {"", "11", "-1", "-0", "+7", " 7", "7 ", "7x", "0x7", "1e0", "7.0", "99999999999999999999"})
        EXPECT_FALSE(parse_number(wrong, 0, 10)) << wrong;
    EXPECT_FALSE(parse_number("0", 1, 10));
}

TEST(ParseSize, TakesTwoNumbersAndACross) {
    const auto size = parse_size("1280x720");
    ASSERT_TRUE(size);
    EXPECT_EQ(size->width, 1280);
    EXPECT_EQ(size->height, 720);
    for (const char* wrong : {"", "x", "1280", "1280x", "x720", "1280X720", "1280x720x", "1280 x720", "-1x720",
                              "1280x2147483648", "99999999999999999999x1"})
        EXPECT_FALSE(parse_size(wrong)) << wrong;
}

TEST(ParseHostPort, TakesAddressesOfBothKinds) {
    const auto plain = parse_host_port("broker.example:1883", 1);
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->host, "broker.example");
    EXPECT_FALSE(plain->is_bracketed);
    EXPECT_EQ(plain->port, 1883);
    const auto bracketed = parse_host_port("[::1]:0", 0);
    ASSERT_TRUE(bracketed);
    EXPECT_EQ(bracketed->host, "::1");
    EXPECT_TRUE(bracketed->is_bracketed);
    EXPECT_EQ(bracketed->port, 0);
    for (const char* wrong : {"", "host", ":80", "host:", "host:0", "host:65536", "host:-1", "host:8x", "::1:80"})
        EXPECT_FALSE(parse_host_port(wrong, 1)) << wrong;
}

} // namespace
