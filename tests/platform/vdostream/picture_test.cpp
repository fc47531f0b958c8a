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
using vdostream::frame_bytes;
using vdostream::geometry;
using vdostream::picture;

constexpr geometry held_shape = {48, 32, 0, vdostream::aspect_rule::stretch};
constexpr geometry other_shape = {32, 24, 0, vdostream::aspect_rule::stretch};

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
    frame_bytes made_meanwhile(const geometry& shape) {
        auto making = std::async(std::launch::async, [this, shape] { return grey.in_geometry(shape); });
        const bool done = making.wait_for(30s) == std::future_status::ready;
        hold = hold && done;
        const frame_bytes bytes = making.get();
        return done ? bytes : nullptr;
    }

    test_video::grey_picture grey{100};
};

TEST_F(PictureTest, IsConvertedOnceForEachGeometry) {
    const frame_bytes first = grey.in_geometry(held_shape);
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
    const frame_bytes quick = made_meanwhile(held_shape); // only the first is held
    EXPECT_NE(quick, nullptr);
    hold = false;
    EXPECT_EQ(slow.get(), quick);
}

/** A picture that tells which thread made its pixels. */
class drawn_picture : public picture {
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
    bool native(vdostream::nv12_view& view) override {
        if (m_Pixels.empty()) {
            m_Pixels.resize(std::size_t{64} * 48 * 3 / 2);
            const std::lock_guard<std::mutex> guard(s_Lock);
            s_Makers.insert(std::this_thread::get_id());
        }
        view = {m_Pixels.data(), 64, m_Pixels.data() + std::ptrdiff_t{64} * 48, 64, 64, 48};
        return true;
    }

  private:
    static std::mutex s_Lock;
    static std::set<std::thread::id> s_Makers;

    std::vector<std::uint8_t> m_Pixels;
};

std::mutex drawn_picture::s_Lock;
std::set<std::thread::id> drawn_picture::s_Makers;

struct unreference {
    void operator()(VdoStream* stream) const { g_object_unref(stream); }
};
using stream_handle = std::unique_ptr<VdoStream, unreference>;

void take(const stream_handle& stream) {
    VdoBuffer* buffer = vdo_stream_get_buffer(stream.get(), nullptr);
    ASSERT_NE(buffer, nullptr);
    vdo_stream_buffer_unref(stream.get(), &buffer, nullptr);
}

TEST_F(PictureTest, IsMadeByWhoTakesItUntilThereAreSeveralStreamsThenByTheReadingThread) {
    auto reader = std::make_unique<test_video::scripted_reader>();
    reader->on_read = [index = 0](std::shared_ptr<picture>& next, std::string&) mutable {
        next = std::make_shared<drawn_picture>();
        next->seconds = index++ / 100.0;
        return vdostream::read_result::picture;
    };
    const auto source = vdostream::video_source::make("drawn", std::move(reader), false);
    std::string why;
    ASSERT_TRUE(source->open(why)) << why;
    constexpr vdostream::stream_settings settings = {other_shape, 0, false};
    const stream_handle first(vdostream::make_stream(settings, nullptr, source));
    ASSERT_TRUE(vdo_stream_start(first.get(), nullptr));
    drawn_picture::forget();
    for (int i = 0; i < 5; ++i)
        take(first);
    EXPECT_EQ(drawn_picture::makers(), std::set{std::this_thread::get_id()});
    {
        const stream_handle second(vdostream::make_stream(settings, nullptr, source));
        for (int i = 0; i < 3; ++i) {
            take(first); // up to two may have been read before
        }
        drawn_picture::forget();
        for (int i = 0; i < 5; ++i)
            take(first);
        EXPECT_EQ(drawn_picture::makers().count(std::this_thread::get_id()), 0U);
        EXPECT_EQ(drawn_picture::makers().size(), 1U);
    }
    for (int i = 0; i < 3; ++i)
        take(first);
    drawn_picture::forget();
    take(first);
    EXPECT_EQ(drawn_picture::makers(), std::set{std::this_thread::get_id()});
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
