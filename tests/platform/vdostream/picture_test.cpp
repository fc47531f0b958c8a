#include "platform/vdostream/picture.h"
#include "platform/vdostream/stream.h"
#include "tests/platform/vdostream/test_video.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstddef>
#include <future>
#include <mutex>
#include <new>
#include <set>
#include <thread>

namespace {

using namespace std::chrono_literals;
using vdostream::FrameBytes;
using vdostream::Geometry;
using vdostream::Picture;

constexpr Geometry held_shape = {48, 32, 0, vdostream::AspectRule::stretch};
constexpr Geometry other_shape = {32, 24, 0, vdostream::AspectRule::stretch};

/** A conversion begins with the memory for its frame; the first one to `held_shape` waits there for the test. */
std::atomic<bool> hold = false;
std::atomic<int> held = 0;

class PictureTest : public testing::Test {
  protected:
    ~PictureTest() override { hold = false; }

    static testing::AssertionResult somebody_is_held() {
        for (int i = 0; i < 10000 && held == 0; ++i)
            std::this_thread::sleep_for(1ms);
        return held > 0 ? testing::AssertionSuccess() : testing::AssertionFailure() << "nobody converts";
    }

    /** Made by another thread, so that the test can give up. Null when it takes longer than 30 s. */
    FrameBytes made_meanwhile(const Geometry& shape) {
        auto making = std::async(std::launch::async, [this, shape] { return grey.in_geometry(shape); });
        const bool done = making.wait_for(30s) == std::future_status::ready;
        hold = hold && done;
        const FrameBytes bytes = making.get();
        return done ? bytes : nullptr;
    }

    test_video::GreyPicture grey{100};
};

TEST_F(PictureTest, IsConvertedOnceForEachGeometry) {
    const FrameBytes first = grey.in_geometry(held_shape);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(grey.in_geometry(held_shape), first);
    EXPECT_NE(grey.in_geometry(other_shape), first);
}

TEST_F(PictureTest, NobodyWaitsForTheConversionToAnotherGeometry) {
    hold = true;
    held = 0;
    auto slow = std::async(std::launch::async, [this] { return grey.in_geometry(held_shape); });
    ASSERT_TRUE(somebody_is_held());
    EXPECT_NE(made_meanwhile(other_shape), nullptr);
    hold = false;
    EXPECT_NE(slow.get(), nullptr);
}

TEST_F(PictureTest, NobodyWaitsForAnothersConversionToTheSameGeometryAndTheFirstIsKept) {
    hold = true;
    held = 0;
    auto slow = std::async(std::launch::async, [this] { return grey.in_geometry(held_shape); });
    ASSERT_TRUE(somebody_is_held());
    const FrameBytes quick = made_meanwhile(held_shape); // only the first is held
    EXPECT_NE(quick, nullptr);
    hold = false;
    EXPECT_EQ(slow.get(), quick);
}

/** A picture that tells which thread made its pixels. */
class DrawnPicture : public Picture {
  public:
    static std::set<std::thread::id> makers() {
        const std::lock_guard<std::mutex> guard(s_Lock);
        return s_Makers;
    }
    static void forget() {
        const std::lock_guard<std::mutex> guard(s_Lock);
        s_Makers.clear();
    }

  protected:
    bool native(vdostream::Nv12View& view) override {
        if (m_pixels.empty()) {
            m_pixels.resize(std::size_t{64} * 48 * 3 / 2);
            const std::lock_guard<std::mutex> guard(s_Lock);
            s_Makers.insert(std::this_thread::get_id());
        }
        view = {m_pixels.data(), 64, m_pixels.data() + std::ptrdiff_t{64} * 48, 64, 64, 48};
        return true;
    }

  private:
    static std::mutex s_Lock;
    static std::set<std::thread::id> s_Makers;

    std::vector<std::uint8_t> m_pixels;
};

std::mutex DrawnPicture::s_Lock;
std::set<std::thread::id> DrawnPicture::s_Makers;

struct Unreference {
    void operator()(VdoStream* stream) const { g_object_unref(stream); }
};
using StreamHandle = std::unique_ptr<VdoStream, Unreference>;

void take(const StreamHandle& stream) {
    VdoBuffer* buffer = vdo_stream_get_buffer(stream.get(), nullptr);
    ASSERT_NE(buffer, nullptr);
    vdo_stream_buffer_unref(stream.get(), &buffer, nullptr);
}

TEST_F(PictureTest, IsMadeByWhoTakesItUntilThereAreSeveralStreamsThenByTheReadingThread) {
    auto reader = std::make_unique<test_video::ScriptedReader>();
    reader->on_read = [index = 0](std::shared_ptr<Picture>& next, std::string&) mutable {
        next = std::make_shared<DrawnPicture>();
        next->seconds = index++ / 100.0;
        return test_video::ReadResult::picture;
    };
    const auto source = vdostream::VideoSource::make("drawn", std::move(reader), false);
    std::string why;
    ASSERT_TRUE(test_video::opens(*source, why)) << why;
    constexpr vdostream::StreamSettings settings = {other_shape, 0, false};
    const StreamHandle first(vdostream::make_stream(settings, nullptr, source));
    ASSERT_TRUE(vdo_stream_start(first.get(), nullptr));
    DrawnPicture::forget();
    for (int i = 0; i < 5; ++i)
        take(first);
    EXPECT_EQ(DrawnPicture::makers(), std::set{std::this_thread::get_id()});
    {
        const StreamHandle second(vdostream::make_stream(settings, nullptr, source));
        for (int i = 0; i < 3; ++i) {
            take(first); // up to two may have been read before
        }
        DrawnPicture::forget();
        for (int i = 0; i < 5; ++i)
            take(first);
        EXPECT_EQ(DrawnPicture::makers().count(std::this_thread::get_id()), 0U);
        EXPECT_EQ(DrawnPicture::makers().size(), 1U);
    }
    for (int i = 0; i < 3; ++i)
        take(first);
    DrawnPicture::forget();
    take(first);
    EXPECT_EQ(DrawnPicture::makers(), std::set{std::this_thread::get_id()});
}

} // namespace

/** Stands before the library's own. */
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    if (size == vdostream::frame_size(held_shape) && hold && held.fetch_add(1) == 0) {
        while (hold)
            std::this_thread::sleep_for(1ms);
    }
    try {
        return ::operator new[](size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
