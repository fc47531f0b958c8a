#include "platform/larod/tflite_library.h"
#include "tests/platform/larod/test_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string_view>

namespace korvex::larod::test {

namespace {

using testing::HasSubstr;

TEST(TfliteLibrary, opens_the_engine) {
    const auto library = engine();
    EXPECT_EQ(library->has_known_layout(), std::string_view(library->version()).starts_with("2.2."));
}

TEST(TfliteLibrary, says_that_the_library_is_missing_and_how_to_get_it) {
    std::string why;
    EXPECT_EQ(tflite::TfliteLibrary::open("/nowhere/libengine.so", why), nullptr);
    EXPECT_THAT(why, HasSubstr("Cannot load the inference engine /nowhere/libengine.so"));
    EXPECT_THAT(why, HasSubstr("model/make.sh"));
}

TEST(TfliteLibrary, says_what_another_library_lacks) {
    std::string why;
    EXPECT_EQ(tflite::TfliteLibrary::open("libm.so.6", why), nullptr);
    EXPECT_EQ(why, "The library libm.so.6 is no TensorFlow Lite with a C interface: it lacks TfLiteVersion.");
}

} // namespace

} // namespace korvex::larod::test
