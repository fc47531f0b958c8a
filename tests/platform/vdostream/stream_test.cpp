#include "platform/vdostream/stream.h"
#include "tests/platform/vdostream/test_video.h"
#include "vdo-buffer.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using test_video::environment;
using test_video::GreyPicture;
using test_video::new_stream;
using test_video::ReadResult;
using test_video::ScriptedReader;
using test_video::take_message;
using vdostream::Picture;

constexpr vdostream::StreamSettings small = {{32, 24, 0, vdostream::AspectRule::stretch}, 0, false};
constexpr vdostream::StreamSettings small_explicit = {{32, 24, 0, vdostream::AspectRule::stretch}, 0, true};

struct Unreference {
    void operator()(VdoStream* stream) const { g_object_unref(stream); }
};
using StreamHandle = std::unique_ptr<VdoStream, Unreference>;

constexpr int endless = 1000000;

/**
 * 100 pictures a second, each one step brighter than the last; none beyond `last`, then silence. Where that is
 * awaited, a get waits for `patience`; otherwise as long as a busy machine needs.
 */
std::shared_ptr<vdostream::VideoSource> brightening(int last = endless, bool started = true,
                                                    std::chrono::milliseconds patience = 10min) {
    auto reader = std::make_unique<ScriptedReader>();
    ScriptedReader* spy = reader.get();
    reader->on_read = [spy, last, index = 0](std::shared_ptr<Picture>& next, std::string& why) mutable {
        while (index == last && !spy->is_cancelled())
            std::this_thread::sleep_for(1ms);
        if (index == last) {
            why = "was given up";
            return ReadResult::lost;
        }
        next = std::make_shared<GreyPicture>(static_cast<std::uint8_t>(index));
        next->seconds = index++ / 100.0;
        return ReadResult::picture;
    };
    vdostream::SourceTiming timing;
    timing.patience = patience;
    timing.silence = patience; // after a wait in vain nothing is young enough to be given again
    auto source = vdostream::VideoSource::make("grey", std::move(reader), false, timing);
    std::string why;
    EXPECT_TRUE(test_video::opens(*source, why)) << why;
    if (started)
        source->start();
    return source;
}

int grey_of(VdoBuffer* buffer) {
    return *static_cast<const std::uint8_t*>(vdo_buffer_get_data(buffer));
}

std::string get_error(VdoStream* stream) {
    GError* error = nullptr;
    EXPECT_EQ(vdo_stream_get_buffer(stream, &error), nullptr);
    return take_message(error);
}

TEST(StreamTest, ReportsTheSettingsInEffect) {
    const StreamHandle stream(
        new_stream({{"channel", 1}, {"format", 3}, {"width", 800}, {"height", 450}, {"rotation", 90}}));
    ASSERT_NE(stream, nullptr);
    EXPECT_TRUE(vdo_stream_attach(stream.get(), nullptr, nullptr));
    VdoMap* settings = vdo_stream_get_settings(stream.get(), nullptr);
    EXPECT_EQ(*settings->state, (vdostream::MapValues{{"buffer.strategy", 4},
                                                      {"channel", 1},
                                                      {"format", 3},
                                                      {"framerate", 25},
                                                      {"height", 450},
                                                      {"rotation", 90},
                                                      {"width", 800}}));
    g_object_unref(settings);
}

TEST(StreamTest, ReportsTheRateAskedForButNoMoreThanTheSourceHas) {
    const std::pair<guint32, guint32> cases[] = {{0, 25}, {5, 5}, {25, 25}, {60, 25}};
    for (const auto& [asked, reported] : cases) {
        const StreamHandle stream(new_stream({{"width", 640}, {"height", 360}, {"framerate", asked}}));
        VdoMap* settings = vdo_stream_get_settings(stream.get(), nullptr);
        EXPECT_EQ(vdo_map_get_uint32(settings, "framerate", 0), reported);
        g_object_unref(settings);
    }
}

TEST(StreamTest, RefusesWhatItCannotDoWithAnError) {
    std::string message;
    EXPECT_EQ(new_stream({{"width", 641}, {"height", 360}}, &message), nullptr);
    EXPECT_EQ(message, "Stream size 641x360 is not possible; both must be even and from 16 to 4096");
    EXPECT_EQ(vdo_stream_new(nullptr, nullptr, nullptr), nullptr);
    const environment gone{{"KORVEX_VDO_SOURCE", "/nonexistent/video.mp4"}};
    EXPECT_EQ(new_stream({{"width", 640}, {"height", 360}}, &message), nullptr);
    EXPECT_EQ(message, "The video source /nonexistent/video.mp4 cannot be opened (No such file or directory)");
}

TEST(StreamTest, HandsOutEachPictureOnceAndInOrder) {
    const StreamHandle stream(vdostream::make_stream(small, nullptr, brightening()));
    ASSERT_TRUE(vdo_stream_start(stream.get(), nullptr));
    int last = -1;
    for (int i = 0; i < 20; ++i) {
        VdoBuffer* buffer = vdo_stream_get_buffer(stream.get(), nullptr);
        ASSERT_NE(buffer, nullptr);
        EXPECT_GT(grey_of(buffer), last);
        last = grey_of(buffer);
        EXPECT_TRUE(vdo_stream_buffer_unref(stream.get(), &buffer, nullptr));
        EXPECT_EQ(buffer, nullptr);
    }
}

TEST(StreamTest, HandsTheNewestToACallerThatComesLate) {
    const auto source = brightening(10, true, 300ms);
    const StreamHandle stream(vdostream::make_stream(small, nullptr, source));
    vdo_stream_start(stream.get(), nullptr);
    while (source->frames_decoded() < 10)
        std::this_thread::sleep_for(1ms);
    VdoBuffer* buffer = vdo_stream_get_buffer(stream.get(), nullptr);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(grey_of(buffer), 9);
    VdoBuffer* card = vdo_stream_get_buffer(stream.get(), nullptr);
    ASSERT_NE(card, nullptr);
    EXPECT_EQ(grey_of(card), 48) << "the source is silent, and a camera says so in its picture";
}

TEST(StreamTest, ALowerRateSkipsPicturesEvenly) {
    vdostream::StreamSettings slow = small;
    slow.framerate = 40;
    const StreamHandle stream(vdostream::make_stream(slow, nullptr, brightening()));
    vdo_stream_start(stream.get(), nullptr);
    int previous = -1;
    for (int i = 0; i < 12; ++i) {
        VdoBuffer* buffer = vdo_stream_get_buffer(stream.get(), nullptr);
        ASSERT_NE(buffer, nullptr);
        if (i > 0) {
            // 2.5 pictures between two frames.
            EXPECT_GE(grey_of(buffer) - previous, 2);
        }
        previous = grey_of(buffer);
        vdo_stream_buffer_unref(stream.get(), &buffer, nullptr);
    }
}

TEST(StreamTest, NeedsToBeStartedAndNotStopped) {
    GError* error = nullptr;
    const StreamHandle stream(vdostream::make_stream(small, nullptr, brightening(endless, false)));
    EXPECT_EQ(get_error(stream.get()), "The stream is not running");
    ASSERT_TRUE(vdo_stream_start(stream.get(), &error));
    VdoBuffer* buffer = vdo_stream_get_buffer(stream.get(), &error);
    ASSERT_NE(buffer, nullptr);
    vdo_stream_stop(stream.get());
    EXPECT_EQ(get_error(stream.get()), "The stream is not running");
    EXPECT_TRUE(vdo_stream_buffer_unref(stream.get(), &buffer, &error));
    ASSERT_TRUE(vdo_stream_start(stream.get(), &error));
    buffer = vdo_stream_get_buffer(stream.get(), &error);
    EXPECT_NE(buffer, nullptr);
}

TEST(StreamTest, AStopFromAnotherThreadWakesAGetThatWaits) {
    // Many times, to meet the moment between the look and the sleep as well.
    for (int round = 0; round < 20; ++round) {
        for (const auto& settings : {small, small_explicit}) {
            auto reader = std::make_unique<ScriptedReader>();
            ScriptedReader* spy = reader.get();
            reader->on_read = [spy](std::shared_ptr<Picture>&, std::string& why) {
                while (!spy->is_cancelled())
                    std::this_thread::sleep_for(1ms);
                why = "was given up";
                return ReadResult::lost;
            };
            vdostream::SourceTiming timing;
            timing.patience = 10min;
            auto source = vdostream::VideoSource::make("never", std::move(reader), false, timing);
            std::string why;
            ASSERT_TRUE(test_video::opens(*source, why));
            const StreamHandle stream(vdostream::make_stream(settings, nullptr, source));
            vdo_stream_start(stream.get(), nullptr);
            std::thread stopper([&stream, round] {
                std::this_thread::sleep_for(std::chrono::microseconds(round * 50));
                vdo_stream_stop(stream.get());
            });
            EXPECT_EQ(get_error(stream.get()), "The stream is not running");
            stopper.join();
        }
    }
}

TEST(StreamTest, ToleratesNothing) {
    GError* error = nullptr;
    EXPECT_EQ(get_error(nullptr), "No video stream was given");
    EXPECT_FALSE(vdo_stream_attach(nullptr, nullptr, &error));
    EXPECT_EQ(take_message(error), "No video stream was given");
    EXPECT_FALSE(vdo_stream_start(nullptr, nullptr));
    EXPECT_EQ(vdo_stream_get_settings(nullptr, nullptr), nullptr);
    EXPECT_EQ(vdo_stream_buffer_alloc(nullptr, nullptr, nullptr), nullptr);
    EXPECT_FALSE(vdo_stream_buffer_enqueue(nullptr, nullptr, nullptr));
    EXPECT_EQ(vdo_buffer_get_data(nullptr), nullptr);
    vdo_stream_stop(nullptr);
    const StreamHandle stream(vdostream::make_stream(small, nullptr, brightening()));
    VdoBuffer* none = nullptr;
    EXPECT_FALSE(vdo_stream_buffer_unref(stream.get(), &none, &error));
    EXPECT_EQ(take_message(error), "No video buffer was given");
    EXPECT_FALSE(vdo_stream_buffer_unref(stream.get(), nullptr, nullptr));
}

TEST(StreamTest, ABufferOfAnotherStreamIsRefusedAndStaysValid) {
    const auto source = brightening();
    const StreamHandle owner(vdostream::make_stream(small, nullptr, source));
    const StreamHandle other(vdostream::make_stream(small, nullptr, source));
    vdo_stream_start(owner.get(), nullptr);
    VdoBuffer* buffer = vdo_stream_get_buffer(owner.get(), nullptr);
    ASSERT_NE(buffer, nullptr);
    GError* error = nullptr;
    EXPECT_FALSE(vdo_stream_buffer_unref(other.get(), &buffer, &error));
    EXPECT_EQ(take_message(error), "The buffer is not one of this stream's, or was given back already");
    EXPECT_NE(buffer, nullptr);
    EXPECT_TRUE(vdo_stream_buffer_unref(owner.get(), &buffer, nullptr));
}

TEST(StreamTest, BuffersThatNeverComeBackStopNothingAndFillNoMemory) {
    const StreamHandle stream(vdostream::make_stream(small, nullptr, brightening()));
    vdo_stream_start(stream.get(), nullptr);
    int alive = 0;
    VdoBuffer* newest = nullptr;
    for (int i = 0; i < 50; ++i) {
        newest = vdo_stream_get_buffer(stream.get(), nullptr);
        ASSERT_NE(newest, nullptr);
        ++alive;
        g_object_weak_ref(
            G_OBJECT(newest), [](gpointer count, GObject*) { --*static_cast<int*>(count); }, &alive);
        EXPECT_EQ(alive, std::min(i + 1, 6));
    }
    EXPECT_TRUE(vdo_stream_buffer_unref(stream.get(), &newest, nullptr));
    EXPECT_EQ(alive, 5);
}

TEST(StreamTest, ABufferMayBeDroppedDirectlyOrOutliveItsStream) {
    StreamHandle stream(vdostream::make_stream(small, nullptr, brightening()));
    vdo_stream_start(stream.get(), nullptr);
    g_object_unref(vdo_stream_get_buffer(stream.get(), nullptr));
    VdoBuffer* kept = vdo_stream_get_buffer(stream.get(), nullptr);
    g_object_ref(kept);
    const int grey = grey_of(kept);
    stream.reset();
    EXPECT_EQ(grey_of(kept), grey);
    g_object_unref(kept);
}

TEST(StreamTest, StreamsOfOneGeometryShareOneConversion) {
    const auto source = brightening(1);
    const StreamHandle one(vdostream::make_stream(small, nullptr, source));
    const StreamHandle two(vdostream::make_stream(small, nullptr, source));
    vdo_stream_start(one.get(), nullptr);
    vdo_stream_start(two.get(), nullptr);
    VdoBuffer* first = vdo_stream_get_buffer(one.get(), nullptr);
    VdoBuffer* second = vdo_stream_get_buffer(two.get(), nullptr);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(vdo_buffer_get_data(first), vdo_buffer_get_data(second));
}

TEST(StreamTest, ExplicitBuffersAreFilledInTheOrderOfTheirEnqueueing) {
    const StreamHandle stream(vdostream::make_stream(small_explicit, nullptr, brightening(endless, true, 300ms)));
    std::vector<VdoBuffer*> buffers;
    for (int i = 0; i < 3; ++i) {
        buffers.push_back(vdo_stream_buffer_alloc(stream.get(), nullptr, nullptr));
        ASSERT_NE(buffers.back(), nullptr);
        // Memory of its own before it was ever filled.
        std::memset(vdo_buffer_get_data(buffers.back()), 255, 32 * 24 * 3 / 2);
        ASSERT_TRUE(vdo_stream_buffer_enqueue(stream.get(), buffers.back(), nullptr));
    }
    vdo_stream_start(stream.get(), nullptr);
    int last = -1;
    for (VdoBuffer* expected : buffers) {
        VdoBuffer* filled = vdo_stream_get_buffer(stream.get(), nullptr);
        ASSERT_EQ(filled, expected);
        EXPECT_GT(grey_of(filled), last);
        EXPECT_NE(grey_of(filled), 255);
        last = grey_of(filled);
    }
    EXPECT_EQ(get_error(stream.get()), "No buffer was enqueued to be filled");
    ASSERT_TRUE(vdo_stream_buffer_enqueue(stream.get(), buffers[1], nullptr));
    EXPECT_EQ(vdo_stream_get_buffer(stream.get(), nullptr), buffers[1]);
    EXPECT_TRUE(vdo_stream_buffer_unref(stream.get(), &buffers[0], nullptr));
}

TEST(StreamTest, AnEnqueuedBufferStaysEnqueuedWhenNothingCame) {
    const StreamHandle stream(vdostream::make_stream(small_explicit, nullptr, brightening(0, true, 300ms)));
    VdoBuffer* buffer = vdo_stream_buffer_alloc(stream.get(), nullptr, nullptr);
    vdo_stream_buffer_enqueue(stream.get(), buffer, nullptr);
    vdo_stream_start(stream.get(), nullptr);
    EXPECT_EQ(get_error(stream.get()), "No picture came from grey");
    GError* error = nullptr;
    EXPECT_FALSE(vdo_stream_buffer_enqueue(stream.get(), buffer, &error));
    EXPECT_EQ(take_message(error), "The buffer is enqueued already");
}

TEST(StreamTest, AWaitingGetTakesABufferThatIsEnqueuedLater) {
    const StreamHandle stream(vdostream::make_stream(small_explicit, nullptr, brightening()));
    VdoBuffer* buffer = vdo_stream_buffer_alloc(stream.get(), nullptr, nullptr);
    vdo_stream_start(stream.get(), nullptr);
    std::thread helper([&] { vdo_stream_buffer_enqueue(stream.get(), buffer, nullptr); });
    EXPECT_EQ(vdo_stream_get_buffer(stream.get(), nullptr), buffer);
    helper.join();
}

TEST(StreamTest, ABufferGivenBackWhileItWaitsForItsPictureIsNotHandedOut) {
    auto reader = std::make_unique<ScriptedReader>();
    std::atomic<bool> give_picture = false;
    reader->on_read = [spy = reader.get(), &give_picture](std::shared_ptr<Picture>& next, std::string& why) {
        while (!give_picture && !spy->is_cancelled())
            std::this_thread::sleep_for(1ms);
        why = "was given up";
        next = std::make_shared<GreyPicture>(std::uint8_t{9});
        return give_picture.exchange(false) ? ReadResult::picture : ReadResult::lost;
    };
    vdostream::SourceTiming timing;
    timing.patience = 10min;
    auto source = vdostream::VideoSource::make("grey", std::move(reader), false, timing);
    std::string why;
    ASSERT_TRUE(test_video::opens(*source, why)) << why;
    const StreamHandle stream(vdostream::make_stream(small_explicit, nullptr, source));
    VdoBuffer* buffer = vdo_stream_buffer_alloc(stream.get(), nullptr, nullptr);
    VdoBuffer* const taken = buffer;
    ASSERT_TRUE(vdo_stream_buffer_enqueue(stream.get(), buffer, nullptr));
    vdo_stream_start(stream.get(), nullptr);
    std::string message;
    std::thread getter([&] { message = get_error(stream.get()); });
    // It is taken, and waits for a picture, once it may be enqueued again.
    while (vdo_stream_buffer_enqueue(stream.get(), taken, nullptr) == FALSE)
        std::this_thread::sleep_for(1ms);
    EXPECT_TRUE(vdo_stream_buffer_unref(stream.get(), &buffer, nullptr));
    give_picture = true;
    getter.join();
    EXPECT_EQ(message, "The buffer was given back while it was being filled");
}

TEST(StreamTest, OnlyExplicitStreamsDealInBuffers) {
    const StreamHandle stream(vdostream::make_stream(small, nullptr, brightening()));
    GError* error = nullptr;
    EXPECT_EQ(vdo_stream_buffer_alloc(stream.get(), nullptr, &error), nullptr);
    EXPECT_EQ(take_message(error), "Only a stream with \"buffer.strategy\" 3 has buffers of the caller's");
    vdo_stream_start(stream.get(), nullptr);
    VdoBuffer* buffer = vdo_stream_get_buffer(stream.get(), nullptr);
    EXPECT_FALSE(vdo_stream_buffer_enqueue(stream.get(), buffer, &error));
    EXPECT_EQ(take_message(error), "Only a stream with \"buffer.strategy\" 3 takes buffers");
}

TEST(StreamTest, TheFinalizerIsCalledForEveryExplicitBuffer) {
    int gone[2] = {0, 0};
    const VdoBufferFinalizer count = [](gpointer opaque) { ++*static_cast<int*>(opaque); };
    StreamHandle stream(vdostream::make_stream(small_explicit, count, brightening()));
    VdoBuffer* given_back = vdo_stream_buffer_alloc(stream.get(), &gone[0], nullptr);
    vdo_stream_buffer_alloc(stream.get(), &gone[1], nullptr);
    EXPECT_TRUE(vdo_stream_buffer_unref(stream.get(), &given_back, nullptr));
    EXPECT_EQ(gone[0], 1);
    EXPECT_EQ(gone[1], 0);
    stream.reset();
    EXPECT_EQ(gone[1], 1);
}

TEST(StreamTest, ManyStreamsAndThreadsShareOneSource) {
    const auto source = brightening();
    std::vector<std::thread> readers;
    std::atomic<int> frames = 0;
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([&source, &frames, i] {
            auto settings = i % 2 == 0 ? small : small_explicit;
            settings.shape.width += i / 2 * 16;
            const StreamHandle stream(vdostream::make_stream(settings, nullptr, source));
            vdo_stream_start(stream.get(), nullptr);
            VdoBuffer* own =
                settings.explicit_buffers ? vdo_stream_buffer_alloc(stream.get(), nullptr, nullptr) : nullptr;
            for (int n = 0; n < 20; ++n) {
                if (own != nullptr)
                    vdo_stream_buffer_enqueue(stream.get(), own, nullptr);
                VdoBuffer* buffer = vdo_stream_get_buffer(stream.get(), nullptr);
                frames += buffer != nullptr ? 1 : 0;
                if (own == nullptr)
                    vdo_stream_buffer_unref(stream.get(), &buffer, nullptr);
            }
        });
    }
    for (std::thread& each : readers)
        each.join();
    EXPECT_EQ(frames, 80);
}

} // namespace
