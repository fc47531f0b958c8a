#include "platform/axevent/failure.h"
#include "platform/axevent/key_value_set.h"

#include <gtest/gtest.h>

using host_events::ErrorCode;
using host_events::guarded;
using host_events::KeyValueSet;

namespace {

TEST(KeyValueSet, KeepsTheOrderAndCopiesEachValueByItsType) {
    gint number = -7;
    gboolean truth = 2; // any value but 0
    gdouble fraction = 0.25;
    std::string text = "first";
    KeyValueSet set;
    set.add("z", "space", &number, AX_VALUE_TYPE_INT);
    set.add("y", nullptr, &truth, AX_VALUE_TYPE_BOOL);
    set.add("x", nullptr, &fraction, AX_VALUE_TYPE_DOUBLE);
    set.add("w", nullptr, text.c_str(), AX_VALUE_TYPE_STRING);
    set.add("v", nullptr, "<element/>", AX_VALUE_TYPE_ELEMENT);
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
    set.add("key", "a", "1", AX_VALUE_TYPE_STRING);
    set.add("key", "b", "2", AX_VALUE_TYPE_STRING);
    set.add("key", nullptr, "3", AX_VALUE_TYPE_STRING);
    g_autoptr(GError) error = nullptr;
    EXPECT_FALSE(guarded(&error, [&] { set.add("key", "", "4", AX_VALUE_TYPE_STRING); }));
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code, static_cast<gint>(ErrorCode::duplicate_key));
    EXPECT_STREQ(error->message, "The set has the key 'key' already.");
    EXPECT_EQ(std::get<std::string>(set.find("key", "")->value), "3");
    EXPECT_EQ(set.entries().size(), 3U);
}

TEST(KeyValueSet, MarksAndNamesTheKeysItHas) {
    KeyValueSet set;
    set.add("topic2", "tnsaxis", "Alert", AX_VALUE_TYPE_STRING);
    set.mark_as_data("topic2", "tnsaxis");
    set.add_nice_names("topic2", "tnsaxis", "Product", "An Alert");
    set.add_nice_names("topic2", "tnsaxis", nullptr, "The Alert");
    EXPECT_TRUE(set.entries()[0].is_data);
    EXPECT_EQ(set.entries()[0].key_nice_name, "Product");
    EXPECT_EQ(set.entries()[0].value_nice_name, "The Alert");
}

struct Refusal {
    const char* what;
    void (*call)(KeyValueSet& set);
    ErrorCode code;
    const char* message;
};

class KeyValueSetRefuses : public testing::TestWithParam<Refusal> {};

TEST_P(KeyValueSetRefuses, WithAnErrorAndWithoutAChange) {
    KeyValueSet set;
    set.add("topic2", "tnsaxis", "Alert", AX_VALUE_TYPE_STRING);
    g_autoptr(GError) error = nullptr;
    EXPECT_FALSE(guarded(&error, [&] { GetParam().call(set); }));
    ASSERT_NE(error, nullptr);
    EXPECT_STREQ(g_quark_to_string(error->domain), "korvex-axevent");
    EXPECT_EQ(error->code, static_cast<gint>(GetParam().code));
    EXPECT_STREQ(error->message, GetParam().message);
    EXPECT_FALSE(guarded(nullptr, [&] { GetParam().call(set); })); // nobody wants to know why
    ASSERT_EQ(set.entries().size(), 1U);
    EXPECT_FALSE(set.entries()[0].is_data);
    EXPECT_EQ(set.entries()[0].value_nice_name, "");
}

constexpr const char* key_rule = "A key and its name space are UTF-8 text, and the key is not empty.";

const Refusal refusals[] = {
    {"NullKey", [](KeyValueSet& s) { s.add(nullptr, "n", "v", AX_VALUE_TYPE_STRING); }, ErrorCode::argument, key_rule},
    {"EmptyKey", [](KeyValueSet& s) { s.add("", "n", "v", AX_VALUE_TYPE_STRING); }, ErrorCode::argument, key_rule},
    {"BadKey", [](KeyValueSet& s) { s.add("\xff", "n", "v", AX_VALUE_TYPE_STRING); }, ErrorCode::argument, key_rule},
    {"BadNameSpace", [](KeyValueSet& s) { s.add("k", "\xff", "v", AX_VALUE_TYPE_STRING); }, ErrorCode::argument,
     key_rule},
    {"NullValue", [](KeyValueSet& s) { s.add("k", "n", nullptr, AX_VALUE_TYPE_BOOL); }, ErrorCode::argument,
     "The key 'n:k' has no value."},
    {"UnknownType", [](KeyValueSet& s) { s.add("k", nullptr, "v", 5); }, ErrorCode::argument,
     "The key 'k' has the value type 5, which does not exist."},
    {"NegativeType", [](KeyValueSet& s) { s.add("k", nullptr, "v", -1); }, ErrorCode::argument,
     "The key 'k' has the value type -1, which does not exist."},
    {"BadText", [](KeyValueSet& s) { s.add("k", nullptr, "\xff", AX_VALUE_TYPE_STRING); }, ErrorCode::argument,
     "The value of the key 'k' is not UTF-8 text."},
    {"MarkNull", [](KeyValueSet& s) { s.mark_as_data(nullptr, nullptr); }, ErrorCode::argument, "The key is NULL."},
    {"MarkUnknown", [](KeyValueSet& s) { s.mark_as_data("active", nullptr); }, ErrorCode::unknown_key,
     "The set has no key 'active'."},
    {"MarkElsewhere", [](KeyValueSet& s) { s.mark_as_data("topic2", nullptr); }, ErrorCode::unknown_key,
     "The set has no key 'topic2'."},
    {"NameNull", [](KeyValueSet& s) { s.add_nice_names(nullptr, "n", "a", "b"); }, ErrorCode::argument,
     "The key is NULL."},
    {"NameUnknown", [](KeyValueSet& s) { s.add_nice_names("topic9", "tnsaxis", "a", "b"); }, ErrorCode::unknown_key,
     "The set has no key 'tnsaxis:topic9'."},
    {"BadNiceName", [](KeyValueSet& s) { s.add_nice_names("topic2", "tnsaxis", "a", "\xff"); }, ErrorCode::argument,
     "A nice name is UTF-8 text."},
};

INSTANTIATE_TEST_SUITE_P(Table, KeyValueSetRefuses, testing::ValuesIn(refusals),
                         [](const auto& each) { return std::string(each.param.what); });

TEST(KeyValueSet, UpdatesAllValuesOrNone) {
    const gboolean off = FALSE;
    const gboolean on = TRUE;
    const gint number = 1;
    KeyValueSet declared;
    declared.add("active", nullptr, &off, AX_VALUE_TYPE_BOOL);
    declared.add("count", nullptr, &number, AX_VALUE_TYPE_INT);

    KeyValueSet wrong_type;
    wrong_type.add("active", nullptr, &on, AX_VALUE_TYPE_BOOL);
    wrong_type.add("count", nullptr, "two", AX_VALUE_TYPE_STRING);
    g_autoptr(GError) type_error = nullptr;
    EXPECT_FALSE(guarded(&type_error, [&] { declared.update(wrong_type); }));
    EXPECT_EQ(type_error->code, static_cast<gint>(ErrorCode::wrong_type));
    EXPECT_STREQ(type_error->message, "The key 'count' is declared with another value type.");

    KeyValueSet unknown;
    unknown.add("active", nullptr, &on, AX_VALUE_TYPE_BOOL);
    unknown.add("colour", "n", "red", AX_VALUE_TYPE_STRING);
    g_autoptr(GError) key_error = nullptr;
    EXPECT_FALSE(guarded(&key_error, [&] { declared.update(unknown); }));
    EXPECT_EQ(key_error->code, static_cast<gint>(ErrorCode::unknown_key));
    EXPECT_STREQ(key_error->message, "The declaration has no key 'n:colour'.");
    EXPECT_EQ(std::get<bool>(declared.find("active", "")->value), false);

    KeyValueSet part;
    part.add("active", nullptr, &on, AX_VALUE_TYPE_BOOL);
    declared.update(part);
    EXPECT_EQ(std::get<bool>(declared.find("active", "")->value), true);
    EXPECT_EQ(std::get<gint>(declared.find("count", "")->value), 1);
}

} // namespace
