#include "output/overlay_manager.h"
#include "output/user_rectangles.h"
#include "tests/doubles/core_fixture.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class UserRectanglesTest : public core_fixture {
  protected:
    ~UserRectanglesTest() override { OverlayManager::clearUserRectangles(); }
};

} // namespace

TEST_F(UserRectanglesTest, AreNoneAtTheStart) {
    EXPECT_EQ(g_nUserRectangles, 0);
    EXPECT_THAT(copy_user_rectangles(), IsEmpty());
}

TEST_F(UserRectanglesTest, AreKeptInTheirOrder) {
    OverlayManager::addUserRectangle(1, 2, 3, 4, Blue);
    OverlayManager::addUserRectangle(-5, 6, -7, 8, 99);
    ASSERT_EQ(g_nUserRectangles, 2);
    EXPECT_EQ(g_UserRectangles[0].rect.X, 1);
    EXPECT_EQ(g_UserRectangles[0].rect.Y, 2);
    EXPECT_EQ(g_UserRectangles[0].rect.W, 3);
    EXPECT_EQ(g_UserRectangles[0].rect.H, 4);
    EXPECT_EQ(g_UserRectangles[0].colorIndex, Blue);
    const std::vector<UserRectangle> copy = copy_user_rectangles();
    ASSERT_EQ(copy.size(), 2U);
    EXPECT_EQ(copy[1].rect.X, -5);
    EXPECT_EQ(copy[1].colorIndex, 99);
}

TEST_F(UserRectanglesTest, AreAtMostSixteen) {
    for (int i = 0; i < 16; ++i)
        EXPECT_THAT(log_of([i] { OverlayManager::addUserRectangle(i, 0, 1, 1, Red); }), IsEmpty());
    EXPECT_THAT(log_of([] { OverlayManager::addUserRectangle(16, 0, 1, 1, Red); }),
                ElementsAre("error|addUserRectangle: Too many user rectangles."));
    EXPECT_EQ(g_nUserRectangles, 16);
    EXPECT_EQ(g_UserRectangles[15].rect.X, 15);
}

TEST_F(UserRectanglesTest, CanBeClearedAndAddedAgain) {
    OverlayManager::addUserRectangle(1, 2, 3, 4, Blue);
    OverlayManager::clearUserRectangles();
    EXPECT_EQ(g_nUserRectangles, 0);
    EXPECT_THAT(copy_user_rectangles(), IsEmpty());
    OverlayManager::addUserRectangle(9, 2, 3, 4, Blue);
    ASSERT_EQ(copy_user_rectangles().size(), 1U);
    EXPECT_EQ(copy_user_rectangles()[0].rect.X, 9);
}
