#include "platform/axparameter/host_parameters.h"
#include "platform/axparameter/outage.h"

#include <gtest/gtest.h>

namespace {

using host_parameters::Outage;

TEST(ParameterOutage, IsSaidWhenItBegins) {
    constexpr bool writing = true;
    testing::internal::CaptureStderr();
    Outage outage;
    outage.works(!writing);
    outage.given_up();
    outage.failed("1", !writing);
    outage.failed("no", !writing);
    outage.works(!writing);
    outage.failed("2", writing);
    outage.failed("no", writing);
    outage.works(!writing); // reading ends no outage of writing
    outage.failed("no", writing);
    outage.works(writing);
    outage.failed("3", writing);
    outage.failed("4", !writing);
    outage.given_up();
    Outage().works(writing);
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "korvex axparameter: 1.\nkorvex axparameter: 2.\nkorvex axparameter: 3.\nkorvex axparameter: 4.\n"
        "korvex axparameter: the camera works with these settings but could not store them, and has to be started "
        "again once they can be stored.\n");
}

TEST(ParameterOutage, IsKnownOfTheWholeProcessUntilAValueIsKept) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(host_parameters::failing_since(), 0);
    const std::time_t before = std::time(nullptr);
    Outage().failed("the disk is full", true);
    EXPECT_GE(host_parameters::failing_since(), before);
    Outage().works(false);
    EXPECT_NE(host_parameters::failing_since(), 0) << "reading ends no outage of writing";
    Outage().works(true);
    EXPECT_EQ(host_parameters::failing_since(), 0);
    Outage().failed("it cannot be opened", false);
    EXPECT_NE(host_parameters::failing_since(), 0);
    Outage().works(false);
    EXPECT_EQ(host_parameters::failing_since(), 0);
    testing::internal::GetCapturedStderr();
}

} // namespace
