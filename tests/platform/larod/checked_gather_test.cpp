#include "platform/larod/checked_gather.h"
#include "tests/platform/larod/test_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvex::larod::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(CheckedGather, gives_the_rows_in_the_order_of_their_indices) {
    const auto model = load(test_model("gather"));
    std::string why;
    ASSERT_TRUE(run_on(*model, {std::byte{2}, std::byte{0}}, why)) << why;
    EXPECT_THAT(floats(model->output(0)), ElementsAre(4, 5, 0, 1));
}

TEST(CheckedGather, refuses_an_index_behind_the_last_row_and_stays_usable) {
    const auto model = load(test_model("gather"));
    for (const int index : {3, 4, 255}) {
        std::string why;
        EXPECT_FALSE(run_on(*model, {std::byte{1}, std::byte(index)}, why)) << index;
        EXPECT_THAT(why, HasSubstr("A gather's index is out of range."));
    }
    std::string why;
    EXPECT_TRUE(run_on(*model, {std::byte{1}, std::byte{1}}, why)) << why;
}

} // namespace

} // namespace korvex::larod::test
