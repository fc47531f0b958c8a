#include "base/logger.h"
#include "tests/doubles/core_fixture.h"
#include "tests/doubles/failing_libc.h"
#include "tests/doubles/recording_vdo.h"
#include "tests/support/becomes_true.h"
#include "vision/imgprovider.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <new>
#include <thread>
#include <utility>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

bool g_no_memory = false;    // for the next object that is made with nothrow
int g_queue_that_fails = -1; // counted from 0; none when negative

} // namespace

extern "C" {
void* __real__ZnwmRKSt9nothrow_t(size_t, const std::nothrow_t&);
GQueue* __real_g_queue_new();

void* __wrap__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& tag) {
    if (!std::exchange(g_no_memory, false))
        return __real__ZnwmRKSt9nothrow_t(size, tag);
    errno = ENOMEM;
    return nullptr;
}

GQueue* __wrap_g_queue_new() {
    return g_queue_that_fails-- == 0 ? nullptr : __real_g_queue_new();
}
}

namespace {

using texts = std::vector<std::string>;

class ImgProviderTest : public core_fixture {
  protected:
    ImgProviderTest() { failing_libc::reset(); }
    ~ImgProviderTest() override {
        destroyImgProvider(provider);
        failing_libc::reset();
    }

    void create(unsigned frames = 2) {
        provider = createImgProvider(1280, 720, frames, VDO_FORMAT_YUV);
        ASSERT_NE(provider, nullptr);
    }

    /** Creation fails with these lines after the settings' dump. */
    static void expect_refusal(const texts& lines) {
        texts expected = {"info|createStream: Dump of vdo stream settings map ====="};
        expected.insert(expected.end(), lines.begin(), lines.end());
        EXPECT_EQ(log_of([] { EXPECT_EQ(createImgProvider(64, 64, 2, VDO_FORMAT_YUV), nullptr); }), expected);
        EXPECT_EQ(recording_vdo::recorder().leaks(), "");
    }

    static texts calls(const std::string& call) { return recording_vdo::recorder().calls(call); }

    /** Waits, generously, until the stream has been handed `count` buffers. */
    static void wait_for_enqueued(size_t count) {
        ASSERT_TRUE(becomes_true([count] { return calls("vdo_stream_buffer_enqueue").size() >= count; }));
    }

    void stop() {
        recording_vdo::feed_without_end(); // the fetch thread ends after the frame it waits for
        EXPECT_TRUE(stopFrameFetch(provider));
    }

    ImgProvider* provider = nullptr;
};

TEST_F(ImgProviderTest, AsksForAStreamWithExplicitBuffers) {
    create(3);
    EXPECT_EQ(recording_vdo::last_settings(),
              (std::map<std::string, uint32_t>{
                  {"channel", 1}, {"format", 3}, {"width", 1280}, {"height", 720}, {"buffer.strategy", 3}}));
    EXPECT_THAT(log_lines(), ElementsAre("info|createStream: Dump of vdo stream settings map ====="));
    EXPECT_EQ(provider->numAppFrames, 3U);
    EXPECT_EQ(provider->vdoFormat, VDO_FORMAT_YUV);

    texts expected = {"vdo_map_new",
                      "vdo_map_set_uint32 channel 1",
                      "vdo_map_set_uint32 format 3",
                      "vdo_map_set_uint32 width 1280",
                      "vdo_map_set_uint32 height 720",
                      "vdo_map_set_uint32 buffer.strategy 3",
                      "vdo_map_dump",
                      "vdo_stream_new"};
    for (int i = 0; i < 8; ++i)
        for (const std::string& call : {std::string("vdo_stream_buffer_alloc"), std::string("vdo_buffer_get_data"),
                                        "vdo_stream_buffer_enqueue " + std::to_string(i)})
            expected.push_back(call);
    expected.emplace_back("vdo_stream_start");
    EXPECT_EQ(recording_vdo::recorder().journal(), expected);
    EXPECT_EQ(recording_vdo::recorder().leaks(), "8 VdoBuffer, 1 VdoStream");
}

TEST_F(ImgProviderTest, GivesEverythingBackAtItsEnd) {
    create();
    destroyImgProvider(provider);
    provider = nullptr;
    EXPECT_EQ(calls("vdo_stream_buffer_unref").size(), 8U);
    EXPECT_EQ(recording_vdo::recorder().leaks(), "");
    destroyImgProvider(nullptr);
}

TEST_F(ImgProviderTest, EveryStepOfTheStreamMayFail) {
    const struct {
        const char* call;
        texts lines;
        call_failure how;
    } table[] = {
        {"vdo_stream_new", {"createStream: Failed creating vdo stream: refused"}, {}},
        {"vdo_stream_new", {"createStream: Failed creating vdo stream: N/A"}, {.with_record = false}},
        {"vdo_stream_buffer_alloc",
         {"allocateVdoBuffers: Failed creating VDO buffer: refused", "createStream: Failed setting up VDO buffers!"},
         {.after = 3}},
        {"vdo_stream_buffer_alloc",
         {"allocateVdoBuffers: Failed creating VDO buffer: N/A", "createStream: Failed setting up VDO buffers!"},
         {.with_record = false}},
        {"vdo_buffer_get_data",
         {"allocateVdoBuffers: Failed initializing buffer memmap: N/A", "createStream: Failed setting up VDO buffers!"},
         {.after = 7}},
        {"vdo_stream_buffer_enqueue",
         {"allocateVdoBuffers: Failed enqueue VDO buffer: refused", "createStream: Failed setting up VDO buffers!"},
         {.after = 1}},
        {"vdo_stream_start", {"createStream: Failed starting stream: refused"}, {}},
        {"vdo_stream_start", {"createStream: Failed starting stream: N/A"}, {.with_record = false}},
    };
    for (const auto& [call, lines, how] : table) {
        SCOPED_TRACE(call);
        recording_vdo::reset();
        call_failure failure = how;
        failure.message = "refused";
        recording_vdo::recorder().fail(call, failure);
        texts expected;
        for (const std::string& line : lines)
            expected.push_back("error|" + line);
        expected.emplace_back("error|createImgProvider: Could not create VDO stream!");
        expect_refusal(expected);
    }
}

TEST_F(ImgProviderTest, AMapThatCannotBeHadIsLogged) {
    recording_vdo::recorder().fail("vdo_map_new");
    EXPECT_THAT(log_of([] { EXPECT_EQ(createImgProvider(64, 64, 2, VDO_FORMAT_YUV), nullptr); }),
                ElementsAre("error|createStream: Failed to create vdo_map",
                            "error|createImgProvider: Could not create VDO stream!"));
}

TEST_F(ImgProviderTest, AMutexOrConditionThatCannotBeHadIsLogged) {
    failing_libc::fail("pthread_mutex_init", EAGAIN);
    EXPECT_THAT(log_of([] { EXPECT_EQ(createImgProvider(64, 64, 2, VDO_FORMAT_YUV), nullptr); }),
                ElementsAre("error|createImgProvider: Unable to initialize mutex: Resource temporarily unavailable"));
    failing_libc::fail("pthread_cond_init", ENOMEM);
    EXPECT_THAT(
        log_of([] { EXPECT_EQ(createImgProvider(64, 64, 2, VDO_FORMAT_YUV), nullptr); }),
        ElementsAre("error|createImgProvider: Unable to initialize condition variable: Cannot allocate memory"));
}

TEST_F(ImgProviderTest, WithoutMemoryThereIsNone) {
    g_no_memory = true;
    EXPECT_THAT(log_of([] { EXPECT_EQ(createImgProvider(64, 64, 2, VDO_FORMAT_YUV), nullptr); }),
                ElementsAre("error|createImgProvider: Unable to allocate ImgProvider: Cannot allocate memory"));
}

TEST_F(ImgProviderTest, AQueueThatCannotBeHadIsLoggedAndLeavesNothing) {
    for (const auto& [which, name] : {std::pair{0, "deliveredFrames"}, std::pair{1, "processedFrames"}}) {
        g_queue_that_fails = which; // the leak checker sees to the other one
        EXPECT_THAT(log_of([] { EXPECT_EQ(createImgProvider(64, 64, 2, VDO_FORMAT_YUV), nullptr); }),
                    ElementsAre(std::string("error|createImgProvider: Unable to create ") + name + " queue"));
        EXPECT_THAT(calls("vdo_stream_new"), IsEmpty());
    }
}

TEST_F(ImgProviderTest, HandsOutTheNewestAndRecyclesTheOldest) {
    create(2);
    recording_vdo::feed(3);
    ASSERT_TRUE(startFrameFetch(provider));
    wait_for_enqueued(9); // the third frame is one more than may wait: the first goes back

    VdoBuffer* newest = getLastFrameBlocking(provider);
    ASSERT_NE(newest, nullptr);
    EXPECT_EQ(recording_vdo::number_of(newest), 2);

    recording_vdo::feed(1); // two wait again: nothing goes back
    VdoBuffer* next = nullptr;
    while (next == nullptr || recording_vdo::number_of(next) != 3) { // until the fetch thread has delivered it
        if (next != nullptr)
            returnFrame(provider, next);
        next = getLastFrameBlocking(provider);
    }
    returnFrame(provider, newest);
    returnFrame(provider, next);
    const size_t before = calls("vdo_stream_buffer_enqueue").size();
    recording_vdo::feed(2);
    wait_for_enqueued(before + 2);
    const texts enqueued = calls("vdo_stream_buffer_enqueue");
    EXPECT_EQ(enqueued[8], "vdo_stream_buffer_enqueue 0");
    stop();
    EXPECT_THAT(texts(enqueued.begin() + static_cast<std::ptrdiff_t>(before), enqueued.end()),
                testing::Contains("vdo_stream_buffer_enqueue 2"))
        << "what was handed back returns to the stream before what waits is dropped";
}

TEST_F(ImgProviderTest, HandedBackFramesComeBeforeDroppedOnes) {
    create(1);
    recording_vdo::feed(1);
    ASSERT_TRUE(startFrameFetch(provider));
    VdoBuffer* first = getLastFrameBlocking(provider);
    returnFrame(provider, first);
    recording_vdo::feed(1);
    wait_for_enqueued(9);
    recording_vdo::feed(1);
    wait_for_enqueued(10);
    stop();
    const texts enqueued = calls("vdo_stream_buffer_enqueue");
    EXPECT_EQ(enqueued[8], "vdo_stream_buffer_enqueue 0") << "handed back";
    EXPECT_EQ(enqueued[9], "vdo_stream_buffer_enqueue 1") << "the oldest of two that wait where one may";
}

TEST_F(ImgProviderTest, WaitsForAFrame) {
    create();
    recording_vdo::feed(0);
    ASSERT_TRUE(startFrameFetch(provider));
    VdoBuffer* frame = nullptr;
    std::thread consumer([&] { frame = getLastFrameBlocking(provider); });
    recording_vdo::feed(1);
    consumer.join();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(recording_vdo::number_of(frame), 0);
    stop();
}

TEST_F(ImgProviderTest, FetchingGoesOnAfterAFailure) {
    create();
    forget_log();
    recording_vdo::recorder().fail("vdo_stream_get_buffer", {.message = "silent", .times = 1});
    recording_vdo::recorder().fail("vdo_stream_get_buffer", {.with_record = false, .times = 1});
    recording_vdo::feed(1);
    ASSERT_TRUE(startFrameFetch(provider));
    EXPECT_NE(getLastFrameBlocking(provider), nullptr);
    stop();
    EXPECT_THAT(log_lines(),
                testing::UnorderedElementsAre("error|threadEntry: Failed fetching frame from vdo: N/A",
                                              "error|threadEntry: Failed fetching frame from vdo: silent"));
}

TEST_F(ImgProviderTest, ABufferThatCannotGoBackIsLogged) {
    create(0);
    forget_log();
    recording_vdo::recorder().fail("vdo_stream_buffer_enqueue 0", {.message = "full", .times = 1});
    recording_vdo::recorder().fail("vdo_stream_buffer_enqueue 1", {.with_record = false, .times = 1});
    recording_vdo::feed(2);
    ASSERT_TRUE(startFrameFetch(provider));
    wait_for_enqueued(10);
    stop();
    EXPECT_THAT(log_lines(), ElementsAre("error|threadEntry: Failed enqueueing buffer to vdo: full",
                                         "error|threadEntry: Failed enqueueing buffer to vdo: N/A"));
}

TEST_F(ImgProviderTest, AThreadThatCannotBeHadIsLogged) {
    create();
    forget_log();
    failing_libc::fail("pthread_create", EAGAIN);
    EXPECT_FALSE(startFrameFetch(provider));
    EXPECT_THAT(log_lines(), ElementsAre("error|startFrameFetch: Failed to start thread fetching frames from vdo: "
                                         "Resource temporarily unavailable"));
}

TEST_F(ImgProviderTest, StoppingWhatDoesNotRunIsLogged) {
    create();
    forget_log();
    EXPECT_FALSE(stopFrameFetch(provider));
    EXPECT_TRUE(provider->shutDown);
    EXPECT_THAT(log_lines(),
                ElementsAre("error|stopFrameFetch: Failed to join thread fetching frames from vdo: No such process"));
}

TEST_F(ImgProviderTest, AThreadThatCannotBeJoinedIsLogged) {
    create();
    ASSERT_TRUE(startFrameFetch(provider));
    forget_log();
    failing_libc::fail("pthread_join", EDEADLK);
    EXPECT_FALSE(stopFrameFetch(provider));
    EXPECT_THAT(log_lines(), ElementsAre("error|stopFrameFetch: Failed to join thread fetching frames from vdo: "
                                         "Resource deadlock avoided"));
    EXPECT_TRUE(stopFrameFetch(provider)) << "it may be tried again";
}

TEST_F(ImgProviderTest, TheFetchThreadTakesNoSignals) {
    static std::atomic<bool> taken{false};
    const auto before = std::signal(SIGTERM, [](int) { taken = true; });
    create();
    ASSERT_TRUE(startFrameFetch(provider));
    EXPECT_EQ(pthread_kill(provider->fetcherThread, SIGTERM), 0); // pending at most, and gone with the thread
    stop();
    std::signal(SIGTERM, before);
    EXPECT_FALSE(taken);
}

TEST_F(ImgProviderTest, MayBeStartedAgain) {
    create(1);
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(startFrameFetch(provider));
        VdoBuffer* frame = getLastFrameBlocking(provider);
        ASSERT_NE(frame, nullptr);
        returnFrame(provider, frame);
        EXPECT_TRUE(stopFrameFetch(provider));
        EXPECT_FALSE(stopFrameFetch(provider)) << "it has ended already";
    }
}

TEST_F(ImgProviderTest, AWaitThatFailsGivesNothing) {
    create();
    forget_log();
    failing_libc::fail("pthread_cond_wait", EPERM);
    EXPECT_EQ(getLastFrameBlocking(provider), nullptr);
    EXPECT_THAT(log_lines(),
                ElementsAre("error|getLastFrameBlocking: Failed to wait on condition: Operation not permitted"));
}

TEST_F(ImgProviderTest, ChoosesTheSmallestResolutionThatIsLargeEnough) {
    using sizes = std::vector<VdoResolution>;
    const struct {
        sizes offered;
        unsigned req_width, req_height;
        unsigned width, height;
        bool found;
    } table[] = {
        {{{1920, 1080}, {1280, 720}, {640, 480}}, 960, 540, 1280, 720, true},
        {{{1920, 1080}, {1280, 720}, {640, 480}}, 640, 480, 640, 480, true},
        {{{1280, 960}, {1280, 720}}, 1280, 720, 1280, 720, true},
        {{{400, 300}, {300, 400}}, 300, 300, 400, 300, true}, // equal areas: the first
        {{{300, 400}, {400, 300}}, 300, 300, 300, 400, true},
        {{{1920, 1080}}, 1921, 1080, 1921, 1080, false},
        {{{1920, 1080}}, 1920, 1081, 1920, 1081, false},
        {{}, 640, 360, 640, 360, false},
    };
    for (const auto& row : table) {
        recording_vdo::offer({row.offered});
        unsigned width = 1;
        unsigned height = 1;
        const texts log =
            log_of([&] { EXPECT_TRUE(chooseStreamResolution(row.req_width, row.req_height, &width, &height)); });
        EXPECT_EQ(width, row.width);
        EXPECT_EQ(height, row.height);
        if (row.found)
            EXPECT_THAT(log, IsEmpty());
        else
            EXPECT_THAT(log, ElementsAre(testing::EndsWith(
                                 "|chooseStreamResolution: VDO channel info contains no resolution info. Fallback to "
                                 "client-requested stream resolution.")));
    }
}

TEST_F(ImgProviderTest, AChannelThatCannotBeAskedIsLogged) {
    unsigned width = 0;
    unsigned height = 0;
    for (const auto& [call, text] :
         {std::pair{"vdo_channel_get", "Failed vdo_channel_get(): "},
          std::pair{"vdo_channel_get_resolutions", "Failed vdo_channel_get_resolutions(): "}}) {
        for (const bool with_record : {true, false}) {
            recording_vdo::reset();
            recording_vdo::recorder().fail(call, {.message = "gone", .with_record = with_record});
            EXPECT_THAT(
                log_of([&] { EXPECT_FALSE(chooseStreamResolution(640, 360, &width, &height)); }),
                ElementsAre(std::string("error|chooseStreamResolution: ") + text + (with_record ? "gone" : "N/A")));
        }
    }
}

} // namespace
