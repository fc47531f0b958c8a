#include "host/stay_care.h"
#include "host/stay_store.h"
#include "tests/host/stay_fixture.h"

#include <future>

namespace {

using console::StayCare;
using host_overlay::StillView;
using testing::ElementsAre;

constexpr StillView large{1280, 720, 0};
constexpr StillView small{640, 360, 0};

bool becomes_true(const std::function<bool()>& condition) {
    for (int tries = 0; tries < 1000; ++tries) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

class StayCareTest : public StayTest {
  protected:
    /** One that takes pictures as soon as it may, and says which. */
    StayCare::Camera camera() {
        return {[this](const StillView& view) {
                    may.wait();
                    const std::lock_guard lock(mutex);
                    taken.push_back(std::to_string(view.width));
                    if (broken)
                        throw std::runtime_error("the camera delivers no video");
                    return "picture of " + std::to_string(view.width);
                },
                [this] { stopped = true; }};
    }

    bool has(const std::string& path) const { return std::filesystem::exists(path); }

    std::promise<void> permission;
    std::shared_future<void> may = permission.get_future().share();
    std::mutex mutex;
    std::vector<std::string> taken;
    bool broken = false;
    std::atomic<bool> stopped = false;
};

TEST_F(StayCareTest, OnePictureServesAllThatWait) {
    {
        StayCare care(folder(), {}, camera());
        care.picture(1, 1, large);
        care.picture(2, 1, large);
        care.picture(3, 1, small);
        care.picture(3, 2, large);
        permission.set_value();
        ASSERT_TRUE(becomes_true([&] { return has(folder().still(3, 1)) && has(folder().still(3, 2)); }));
        ASSERT_TRUE(becomes_true([&] { return has(folder().still(1, 1)) && has(folder().still(2, 1)); }));
    }
    std::string text;
    std::getline(std::ifstream(folder().still(3, 1)), text);
    EXPECT_EQ(text, "picture of 640");
    EXPECT_LE(taken.size(), 3U);
    EXPECT_TRUE(stopped);
}

TEST_F(StayCareTest, MoreThanCanBeTakenGetNone) {
    StayCare care(folder(), {}, camera());
    care.picture(1, 1, large);
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // it is under way, or counts as waiting: both will do
    for (int id = 2; id <= 100; ++id)
        care.picture(id, 1, large);
    permission.set_value();
    EXPECT_TRUE(becomes_true([&] { return has(folder().still(64, 1)); }));
    EXPECT_FALSE(has(folder().still(67, 1)));
}

TEST_F(StayCareTest, APictureThatCannotBeTakenIsNot) {
    broken = true;
    permission.set_value();
    StayCare care(folder(), {}, camera());
    care.picture(1, 1, large);
    ASSERT_TRUE(becomes_true([&] {
        const std::lock_guard lock(mutex);
        return !taken.empty();
    }));
    {
        const std::lock_guard lock(mutex);
        broken = false;
    }
    care.picture(2, 1, large);
    EXPECT_TRUE(becomes_true([&] { return has(folder().still(2, 1)); }));
    EXPECT_FALSE(has(folder().still(1, 1)));
}

TEST_F(StayCareTest, AFolderThatTakesNoPictureIsSaidOnce) {
    make_file(folder().stills()); // no folder
    permission.set_value();
    testing::internal::CaptureStderr();
    {
        StayCare care(folder(), {}, camera());
        for (size_t count = 1; count <= 3; ++count) {
            care.picture(static_cast<std::int64_t>(count), 1, large);
            ASSERT_TRUE(becomes_true([&] {
                const std::lock_guard lock(mutex);
                return taken.size() == count;
            }));
        }
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "stays: pictures cannot be kept in " + folder().stills() + ": Not a directory\n");
}

TEST_F(StayCareTest, WhatIsOverIsForgottenAtTheStartAndWhenMuchHasBeenWritten) {
    console::StayStore store(folder().database());
    const auto now = static_cast<double>(time(nullptr)) - noon;
    store.write({record(1, -86400.0 * 20, 5, 1), record(2, now - 60, 5, 1), record(3, now - 30, 5, 1)});
    make_file(folder().still(1, 1));
    make_file(folder().still(77, 1));
    StayCare care(folder(), {1, 10000}, camera());
    std::vector<std::int64_t> over;
    ASSERT_TRUE(becomes_true([&] { return !(over = care.take_over()).empty(); }));
    EXPECT_THAT(over, ElementsAre(1));
    EXPECT_FALSE(has(folder().still(77, 1)));
    store.remove(over);
    make_file(folder().clip(2, 1), 9000);
    make_file(folder().clip(3, 1), 3000);
    care.count(12000);
    permission.set_value();
    care.picture(3, 1, large); // it looks at its work
    ASSERT_TRUE(becomes_true([&] { return !(over = care.take_over()).empty(); }));
    EXPECT_THAT(over, ElementsAre(2));
    EXPECT_FALSE(has(folder().clip(2, 1)));
}

} // namespace
