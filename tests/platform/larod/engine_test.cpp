#include "platform/larod/engine.h"
#include "platform/larod/failure.h"
#include "platform/larod/service_settings.h"
#include "tests/platform/larod/test_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvex::larod::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

TEST(Engine, OpensThePackagedLibraryWithItsFastConvolutions) {
    const Engine engine(engine_location());
    EXPECT_THAT(engine.version(), StartsWith("2.9."));
    EXPECT_NE(engine.delegate_create, nullptr);
    EXPECT_NE(engine.delegate_delete, nullptr);
}

TEST(Engine, SaysThatTheLibraryIsMissingAndHowToGetIt) {
    EXPECT_THAT([] { Engine("/nowhere/libengine.so"); },
                fails_with(AllOf(HasSubstr("Cannot load the inference engine /nowhere/libengine.so"),
                                 HasSubstr("model/make.sh"))));
}

TEST(Engine, SaysWhatAnotherLibraryLacks) {
    EXPECT_THAT([] { Engine("libm.so.6"); },
                fails_with("The library libm.so.6 is no TensorFlow Lite with a C interface: it lacks TfLiteVersion."));
}

} // namespace

} // namespace korvex::larod::test
