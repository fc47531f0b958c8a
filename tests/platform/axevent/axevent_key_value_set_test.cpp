#include "platform/axevent/failure.h"
#include "platform/axevent/key_value_set.h"
#include "tests/platform/axevent/alerts.h"

#include <gtest/gtest.h>

using host_events::ErrorCode;

namespace {

TEST(AxEventKeyValueSet, AddsAListOfKeysInItsOrder) {
    const Set set = alert_set("KorvexOrvelFirstAlert", "Korvex Orvel First Alert");
    std::vector<std::string> keys;
    for (const host_events::KeyValue& entry : set->values.entries())
        keys.push_back(entry.name_space + ":" + entry.key);
    EXPECT_EQ(keys, (std::vector<std::string>{"tnsaxis:topic0", "tnsaxis:topic1", "tnsaxis:topic2", ":active"}));
    EXPECT_TRUE(set->values.find("active", "")->is_data);
    EXPECT_FALSE(set->values.find("topic2", "tnsaxis")->is_data);
    EXPECT_EQ(set->values.find("topic2", "tnsaxis")->key_nice_name, "Korvex Orvel");
    EXPECT_EQ(set->values.find("topic2", "tnsaxis")->value_nice_name, "Korvex Orvel First Alert");
}

TEST(AxEventKeyValueSet, AddsNothingOfAListWithAMistakeInIt) {
    const Set set = new_set();
    const gint number = 3;
    g_autoptr(GError) error = nullptr;
    EXPECT_FALSE(ax_event_key_value_set_add_key_values(set.get(), &error, "good", nullptr, &number, AX_VALUE_TYPE_INT,
                                                       "bad", "space", nullptr, AX_VALUE_TYPE_STRING, "unread", nullptr,
                                                       &number, AX_VALUE_TYPE_INT, nullptr));
    ASSERT_NE(error, nullptr);
    EXPECT_STREQ(error->message, "The key 'space:bad' has no value.");
    EXPECT_TRUE(set->values.entries().empty());
}

TEST(AxEventKeyValueSet, RefusesAnEmptyList) {
    const Set set = new_set();
    g_autoptr(GError) error = nullptr;
    EXPECT_FALSE(ax_event_key_value_set_add_key_values(set.get(), &error, nullptr));
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code, static_cast<gint>(ErrorCode::argument));
    EXPECT_STREQ(error->message, "The list of keys is empty.");
}

TEST(AxEventKeyValueSet, RefusesANullSetEverywhere) {
    const gboolean on = TRUE;
    GError* errors[4] = {};
    EXPECT_FALSE(ax_event_key_value_set_add_key_value(nullptr, "k", nullptr, &on, AX_VALUE_TYPE_BOOL, &errors[0]));
    EXPECT_FALSE(
        ax_event_key_value_set_add_key_values(nullptr, &errors[1], "k", nullptr, &on, AX_VALUE_TYPE_BOOL, nullptr));
    EXPECT_FALSE(ax_event_key_value_set_mark_as_data(nullptr, "k", nullptr, &errors[2]));
    EXPECT_FALSE(ax_event_key_value_set_add_nice_names(nullptr, "k", nullptr, "a", "b", &errors[3]));
    for (GError* error : errors) {
        ASSERT_NE(error, nullptr);
        EXPECT_EQ(error->code, static_cast<gint>(ErrorCode::argument));
        EXPECT_STREQ(error->message, "The key-value set is NULL.");
        g_error_free(error);
    }
    EXPECT_FALSE(ax_event_key_value_set_mark_as_data(nullptr, "k", nullptr, nullptr));
    ax_event_key_value_set_free(nullptr);
}

TEST(AxEvent, CopiesTheSetAndItsTime) {
    Set set = new_set();
    gboolean on = TRUE;
    ASSERT_TRUE(ax_event_key_value_set_add_key_value(set.get(), "active", nullptr, &on, AX_VALUE_TYPE_BOOL, nullptr));
    GDateTime* time = g_date_time_new_from_iso8601("2025-03-30T14:05:09.042+02:00", nullptr);
    const Event event(ax_event_new2(set.get(), time));
    set.reset();
    g_date_time_unref(time);
    EXPECT_EQ(std::get<bool>(event->values.find("active", "")->value), true);
    EXPECT_EQ(event->time, "2025-03-30T14:05:09.042+02:00");
}

TEST(AxEvent, TakesTheTimeItselfWhenItIsGivenNone) {
    g_autoptr(GDateTime) before = g_date_time_new_now_utc();
    const Event event = active_event(true);
    g_autoptr(GDateTime) time = g_date_time_new_from_iso8601(event->time.c_str(), nullptr);
    g_autoptr(GDateTime) after = g_date_time_new_now_utc();
    ASSERT_NE(time, nullptr) << event->time;
    EXPECT_GE(g_date_time_difference(time, before), -1000); // milliseconds are cut off
    EXPECT_LE(g_date_time_difference(time, after), 0);
}

TEST(AxEvent, IsNothingWithoutASet) {
    EXPECT_EQ(ax_event_new2(nullptr, nullptr), nullptr);
    ax_event_free(nullptr);
}

} // namespace
