#include "platform/larod/engine.h"
#include "platform/larod/service_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvex::larod::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(Engine, OpensThePackagedLibraryWithItsFastConvolutions) {
    std::string why;
    const auto engine = Engine::open(engine_location(), why);
    ASSERT_NE(engine, nullptr) << why;
    EXPECT_THAT(engine->version(), StartsWith("2.9."));
    EXPECT_NE(engine->delegate_create, nullptr);
    EXPECT_NE(engine->delegate_delete, nullptr);
}

TEST(Engine, SaysThatTheLibraryIsMissingAndHowToGetIt) {
    std::string why;
    EXPECT_EQ(Engine::open("/nowhere/libengine.so", why), nullptr);
    EXPECT_THAT(why, HasSubstr("Cannot load the inference engine /nowhere/libengine.so"));
    EXPECT_THAT(why, HasSubstr("model/make.sh"));
}

TEST(Engine, SaysWhatAnotherLibraryLacks) {
    std::string why;
    EXPECT_EQ(Engine::open("libm.so.6", why), nullptr);
    EXPECT_EQ(why, "The library libm.so.6 is no TensorFlow Lite with a C interface: it lacks TfLiteVersion.");
}

} // namespace

} // namespace korvex::larod::test
