#include "platform/axevent/timestamp.h"

#include <gtest/gtest.h>

namespace {

TEST(Timestamp, HasMillisecondsAndTheZone) {
    const char* const times[][2] = {
        {"2025-03-30T14:05:09.042+02:00", "2025-03-30T14:05:09.042+02:00"},
        {"2025-12-31T23:59:59.999999Z", "2025-12-31T23:59:59.999+00:00"},
        {"2025-01-02T03:04:05-03:30", "2025-01-02T03:04:05.000-03:30"},
    };
    for (const auto& [given, written] : times) {
        g_autoptr(GDateTime) time = g_date_time_new_from_iso8601(given, nullptr);
        EXPECT_EQ(host_events::iso_time(time), written);
    }
}

} // namespace
