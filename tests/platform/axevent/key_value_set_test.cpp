#include "platform/axevent/failure.h"
#include "platform/axevent/key_value_set.h"

#include <gtest/gtest.h>

using host_events::ErrorCode;
using host_events::KeyValueSet;

namespace {

TEST(KeyValueSet, KeepsTheOrderAndCopiesEachValueByItsType) {
    gint number = -7;
    gboolean truth = 2; // any value but 0
    gdouble fraction = 0.25;
    std::string text = "first";
    KeyValueSet set;
    ASSERT_TRUE(set.add("z", "space", &number, AX_VALUE_TYPE_INT, nullptr));
    ASSERT_TRUE(set.add("y", nullptr, &truth, AX_VALUE_TYPE_BOOL, nullptr));
    ASSERT_TRUE(set.add("x", nullptr, &fraction, AX_VALUE_TYPE_DOUBLE, nullptr));
    ASSERT_TRUE(set.add("w", nullptr, text.c_str(), AX_VALUE_TYPE_STRING, nullptr));
    ASSERT_TRUE(set.add("v", nullptr, "<element/>", AX_VALUE_TYPE_ELEMENT, nullptr));
    number = 0;
    truth = FALSE;
    fraction = 0;
    text = "other";

    ASSERT_EQ(set.entries().size(), 5U);
    EXPECT_EQ(set.entries()[0].key, "z");
    EXPECT_EQ(set.entries()[0].name_space, "space");
    EXPECT_EQ(std::get<gint>(set.entries()[0].value), -7);
    EXPECT_EQ(std::get<bool>(set.entries()[1].value), true);
    EXPECT_EQ(std::get<double>(set.entries()[2].value), 0.25);
    EXPECT_EQ(std::get<std::string>(set.entries()[3].value), "first");
    EXPECT_EQ(std::get<std::string>(set.entries()[4].value), "<element/>");
    EXPECT_EQ(set.entries()[4].type, AX_VALUE_TYPE_ELEMENT);
}

TEST(KeyValueSet, TakesTheSameKeyOnceInEachNameSpace) {
    KeyValueSet set;
    EXPECT_TRUE(set.add("key", "a", "1", AX_VALUE_TYPE_STRING, nullptr));
    EXPECT_TRUE(set.add("key", "b", "2", AX_VALUE_TYPE_STRING, nullptr));
    EXPECT_TRUE(set.add("key", nullptr, "3", AX_VALUE_TYPE_STRING, nullptr));
    g_autoptr(GError) error = nullptr;
    EXPECT_FALSE(set.add("key", "", "4", AX_VALUE_TYPE_STRING, &error));
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code, static_cast<gint>(ErrorCode::duplicate_key));
    EXPECT_STREQ(error->message, "The set has the key 'key' already.");
    EXPECT_EQ(std::get<std::string>(set.find("key", "")->value), "3");
    EXPECT_EQ(set.entries().size(), 3U);
}

TEST(KeyValueSet, MarksAndNamesTheKeysItHas) {
    KeyValueSet set;
    ASSERT_TRUE(set.add("topic2", "tnsaxis", "Alert", AX_VALUE_TYPE_STRING, nullptr));
    EXPECT_TRUE(set.mark_as_data("topic2", "tnsaxis", nullptr));
    EXPECT_TRUE(set.add_nice_names("topic2", "tnsaxis", "Product", "An Alert", nullptr));
    EXPECT_TRUE(set.add_nice_names("topic2", "tnsaxis", nullptr, "The Alert", nullptr));
    EXPECT_TRUE(set.entries()[0].is_data);
    EXPECT_EQ(set.entries()[0].key_nice_name, "Product");
    EXPECT_EQ(set.entries()[0].value_nice_name, "The Alert");
}

struct Refusal {
    const char* what;
    gboolean (*call)(KeyValueSet& set, GError** error);
    ErrorCode code;
    const char* message;
};

class KeyValueSetRefuses : public testing::TestWithParam<Refusal> {};

TEST_P(KeyValueSetRefuses, WithAnErrorAndWithoutAChange) {
    KeyValueSet set;
    ASSERT_TRUE(set.add("topic2", "tnsaxis", "Alert", AX_VALUE_TYPE_STRING, nullptr));
    g_autoptr(GError) error = nullptr;
    EXPECT_FALSE(GetParam().call(set, &error));
    ASSERT_NE(error, nullptr);
    EXPECT_STREQ(g_quark_to_string(error->domain), "korvex-axevent");
    EXPECT_EQ(error->code, static_cast<gint>(GetParam().code));
    EXPECT_STREQ(error->message, GetParam().message);
    EXPECT_FALSE(GetParam().call(set, nullptr)); // nobody wants to know why
    ASSERT_EQ(set.entries().size(), 1U);
    EXPECT_FALSE(set.entries()[0].is_data);
    EXPECT_EQ(set.entries()[0].value_nice_name, "");
}

constexpr const char* key_rule = "A key and its name space are UTF-8 text, and the key is not empty.";

const Refusal refusals[] = {
    {"NullKey", [](KeyValueSet& s, GError** e) { return s.add(nullptr, "n", "v", AX_VALUE_TYPE_STRING, e); },
     ErrorCode::argument, key_rule},
    {"EmptyKey", [](KeyValueSet& s, GError** e) { return s.add("", "n", "v", AX_VALUE_TYPE_STRING, e); },
     ErrorCode::argument, key_rule},
    {"BadKey", [](KeyValueSet& s, GError** e) { return s.add("\xff", "n", "v", AX_VALUE_TYPE_STRING, e); },
     ErrorCode::argument, key_rule},
    {"BadNameSpace", [](KeyValueSet& s, GError** e) { return s.add("k", "\xff", "v", AX_VALUE_TYPE_STRING, e); },
     ErrorCode::argument, key_rule},
    {"NullValue", [](KeyValueSet& s, GError** e) { return s.add("k", "n", nullptr, AX_VALUE_TYPE_BOOL, e); },
     ErrorCode::argument, "The key 'n:k' has no value."},
    {"UnknownType", [](KeyValueSet& s, GError** e) { return s.add("k", nullptr, "v", 5, e); }, ErrorCode::argument,
     "The key 'k' has the value type 5, which does not exist."},
    {"NegativeType", [](KeyValueSet& s, GError** e) { return s.add("k", nullptr, "v", -1, e); }, ErrorCode::argument,
     "The key 'k' has the value type -1, which does not exist."},
    {"BadText", [](KeyValueSet& s, GError** e) { return s.add("k", nullptr, "\xff", AX_VALUE_TYPE_STRING, e); },
     ErrorCode::argument, "The value of the key 'k' is not UTF-8 text."},
    {"MarkNull", [](KeyValueSet& s, GError** e) { return s.mark_as_data(nullptr, nullptr, e); }, ErrorCode::argument,
     "The key is NULL."},
    {"MarkUnknown", [](KeyValueSet& s, GError** e) { return s.mark_as_data("active", nullptr, e); },
     ErrorCode::unknown_key, "The set has no key 'active'."},
    {"MarkElsewhere", [](KeyValueSet& s, GError** e) { return s.mark_as_data("topic2", nullptr, e); },
     ErrorCode::unknown_key, "The set has no key 'topic2'."},
    {"NameNull", [](KeyValueSet& s, GError** e) { return s.add_nice_names(nullptr, "n", "a", "b", e); },
     ErrorCode::argument, "The key is NULL."},
    {"NameUnknown", [](KeyValueSet& s, GError** e) { return s.add_nice_names("topic9", "tnsaxis", "a", "b", e); },
     ErrorCode::unknown_key, "The set has no key 'tnsaxis:topic9'."},
    {"BadNiceName", [](KeyValueSet& s, GError** e) { return s.add_nice_names("topic2", "tnsaxis", "a", "\xff", e); },
     ErrorCode::argument, "A nice name is UTF-8 text."},
};

INSTANTIATE_TEST_SUITE_P(Table, KeyValueSetRefuses, testing::ValuesIn(refusals),
                         [](const auto& each) { return std::string(each.param.what); });

TEST(KeyValueSet, UpdatesAllValuesOrNone) {
    const gboolean off = FALSE;
    const gboolean on = TRUE;
    const gint number = 1;
    KeyValueSet declared;
    ASSERT_TRUE(declared.add("active", nullptr, &off, AX_VALUE_TYPE_BOOL, nullptr));
    ASSERT_TRUE(declared.add("count", nullptr, &number, AX_VALUE_TYPE_INT, nullptr));

    KeyValueSet wrong_type;
    ASSERT_TRUE(wrong_type.add("active", nullptr, &on, AX_VALUE_TYPE_BOOL, nullptr));
    ASSERT_TRUE(wrong_type.add("count", nullptr, "two", AX_VALUE_TYPE_STRING, nullptr));
    g_autoptr(GError) type_error = nullptr;
    EXPECT_FALSE(declared.update(wrong_type, &type_error));
    EXPECT_EQ(type_error->code, static_cast<gint>(ErrorCode::wrong_type));
    EXPECT_STREQ(type_error->message, "The key 'count' is declared with another value type.");

    KeyValueSet unknown;
    ASSERT_TRUE(unknown.add("active", nullptr, &on, AX_VALUE_TYPE_BOOL, nullptr));
    ASSERT_TRUE(unknown.add("colour", "n", "red", AX_VALUE_TYPE_STRING, nullptr));
    g_autoptr(GError) key_error = nullptr;
    EXPECT_FALSE(declared.update(unknown, &key_error));
    EXPECT_EQ(key_error->code, static_cast<gint>(ErrorCode::unknown_key));
    EXPECT_STREQ(key_error->message, "The declaration has no key 'n:colour'.");
    EXPECT_EQ(std::get<bool>(declared.find("active", "")->value), false);

    KeyValueSet part;
    ASSERT_TRUE(part.add("active", nullptr, &on, AX_VALUE_TYPE_BOOL, nullptr));
    EXPECT_TRUE(declared.update(part, nullptr));
    EXPECT_EQ(std::get<bool>(declared.find("active", "")->value), true);
    EXPECT_EQ(std::get<gint>(declared.find("count", "")->value), 1);
}

} // namespace
