#include "platform/axevent/topic.h"
#include "tests/platform/axevent/alerts.h"

#include <gtest/gtest.h>

using host_events::active_of;
using host_events::KeyValueSet;
using host_events::topic_of;

namespace {

TEST(Topic, PutsTheNameSpaceBeforeTheFirstLevelOnly) {
    const Set set = alert_set("KorvexOrvelFirstAlert", "Korvex Orvel First Alert");
    const auto topic = topic_of(set->values);
    ASSERT_TRUE(topic);
    EXPECT_EQ(topic->path, "tnsaxis:CameraApplicationPlatform/KorvexOrvelApplication/KorvexOrvelFirstAlert");
    EXPECT_EQ(topic->last, "KorvexOrvelFirstAlert");
    EXPECT_EQ(topic->nice_name, "Korvex Orvel First Alert");
}

TEST(Topic, EndsAtTheFirstMissingLevelWhateverTheOrder) {
    KeyValueSet set;
    for (const auto& [key, value] : {std::pair("topic3", "four"), {"topic1", "two"}, {"topic0", "one"}})
        set.add(key, nullptr, value, AX_VALUE_TYPE_STRING);
    EXPECT_EQ(topic_of(set)->path, "one/two");
    EXPECT_EQ(topic_of(set)->nice_name, "two");
}

TEST(Topic, IsNothingWithoutTextInEveryLevel) {
    const gint number = 1;
    KeyValueSet none;
    none.add("topic1", nullptr, "two", AX_VALUE_TYPE_STRING);
    EXPECT_FALSE(topic_of(none));
    KeyValueSet empty;
    empty.add("topic0", nullptr, "", AX_VALUE_TYPE_STRING);
    EXPECT_FALSE(topic_of(empty));
    KeyValueSet no_text;
    no_text.add("topic0", nullptr, &number, AX_VALUE_TYPE_INT);
    EXPECT_FALSE(topic_of(no_text));
}

TEST(Active, IsTheBoolOutsideOfAnyNameSpace) {
    const gboolean on = TRUE;
    const gint number = 1;
    KeyValueSet set;
    EXPECT_EQ(active_of(set), std::nullopt);
    set.add("active", "space", &on, AX_VALUE_TYPE_BOOL);
    EXPECT_EQ(active_of(set), std::nullopt);
    set.add("active", nullptr, &on, AX_VALUE_TYPE_BOOL);
    EXPECT_EQ(active_of(set), true);
    KeyValueSet no_bool;
    no_bool.add("active", nullptr, &number, AX_VALUE_TYPE_INT);
    EXPECT_EQ(active_of(no_bool), std::nullopt);
}

} // namespace
