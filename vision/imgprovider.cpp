#include "vision/imgprovider.h"

#include "base/blocked_signals.h"
#include "base/logger.h"
#include "base/platform_handles.h"

#include <vdo-channel.h>
#include <vdo-map.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>

namespace {

bool fail(const char* function, const std::string& what) {
    g_Logger.error(std::string(function) + ": " + what);
    return false;
}

/** Everything that is there, and the mutex and the condition. */
void tear_down(ImgProvider& provider) {
    releaseVdoBuffers(&provider);
    g_clear_object(&provider.vdoStream);
    g_clear_pointer(&provider.deliveredFrames, g_queue_free);
    g_clear_pointer(&provider.processedFrames, g_queue_free);
    pthread_mutex_destroy(&provider.frameMutex);
    pthread_cond_destroy(&provider.frameDeliverCond);
}

/** All of it or, after a line in the log, nothing. */
bool initialise(ImgProvider& provider, unsigned int width, unsigned int height) {
    constexpr auto kName = "createImgProvider";
    if (const int error = pthread_mutex_init(&provider.frameMutex, nullptr); error != 0)
        return fail(kName, std::string("Unable to initialize mutex: ") + strerror(error));
    if (const int error = pthread_cond_init(&provider.frameDeliverCond, nullptr); error != 0) {
        pthread_mutex_destroy(&provider.frameMutex);
        return fail(kName, std::string("Unable to initialize condition variable: ") + strerror(error));
    }
    provider.deliveredFrames = g_queue_new();
    provider.processedFrames = g_queue_new();
    if (provider.deliveredFrames == nullptr)
        fail(kName, "Unable to create deliveredFrames queue");
    else if (provider.processedFrames == nullptr)
        fail(kName, "Unable to create processedFrames queue");
    else if (!createStream(&provider, width, height))
        fail(kName, "Could not create VDO stream!");
    else
        return true;
    tear_down(provider);
    return false;
}

/** Keeps `frame` and names the one buffer that may go back to the stream for it: at most one a frame. */
VdoBuffer* deliver(ImgProvider& provider, VdoBuffer* frame) {
    g_queue_push_tail(provider.deliveredFrames, frame);
    if (!g_queue_is_empty(provider.processedFrames))
        return static_cast<VdoBuffer*>(g_queue_pop_head(provider.processedFrames));
    if (g_queue_get_length(provider.deliveredFrames) > provider.numAppFrames)
        return static_cast<VdoBuffer*>(g_queue_pop_head(provider.deliveredFrames));
    return nullptr;
}

void* threadEntry(void* data) {
    auto& provider = *static_cast<ImgProvider*>(data);
    GError* error = nullptr;
    while (!provider.shutDown) {
        VdoBuffer* frame = vdo_stream_get_buffer(provider.vdoStream, &error);
        if (frame == nullptr) {
            fail("threadEntry", "Failed fetching frame from vdo: " + take_message(error));
            continue;
        }
        pthread_mutex_lock(&provider.frameMutex);
        VdoBuffer* recycled = deliver(provider, frame);
        if (recycled != nullptr && !vdo_stream_buffer_enqueue(provider.vdoStream, recycled, &error))
            fail("threadEntry", "Failed enqueueing buffer to vdo: " + take_message(error));
        pthread_cond_signal(&provider.frameDeliverCond);
        pthread_mutex_unlock(&provider.frameMutex);
    }
    return nullptr;
}

} // namespace

ImgProvider* createImgProvider(unsigned int width, unsigned int height, unsigned int num_frames, VdoFormat format) {
    auto* provider = new (std::nothrow) ImgProvider;
    if (provider == nullptr) {
        fail("createImgProvider", std::string("Unable to allocate ImgProvider: ") + strerror(errno));
        return nullptr;
    }
    provider->vdoFormat = format;
    provider->numAppFrames = num_frames;
    if (initialise(*provider, width, height))
        return provider;
    delete provider;
    return nullptr;
}

void destroyImgProvider(ImgProvider* provider) {
    if (provider == nullptr)
        return;
    tear_down(*provider);
    delete provider;
}

bool createStream(ImgProvider* provider, unsigned int width, unsigned int height) {
    constexpr auto kName = "createStream";
    const g_object_ptr<VdoMap> settings(vdo_map_new());
    if (!settings)
        return fail(kName, "Failed to create vdo_map");
    vdo_map_set_uint32(settings.get(), "channel", 1);
    vdo_map_set_uint32(settings.get(), "format", static_cast<guint32>(provider->vdoFormat));
    vdo_map_set_uint32(settings.get(), "width", width);
    vdo_map_set_uint32(settings.get(), "height", height);
    vdo_map_set_uint32(settings.get(), "buffer.strategy", VDO_BUFFER_STRATEGY_EXPLICIT);
    g_Logger.info("createStream: Dump of vdo stream settings map =====");
    vdo_map_dump(settings.get());

    GError* error = nullptr;
    g_object_ptr<VdoStream> stream(vdo_stream_new(settings.get(), nullptr, &error));
    if (!stream)
        return fail(kName, "Failed creating vdo stream: " + take_message(error));
    if (!allocateVdoBuffers(provider, stream.get())) {
        fail(kName, "Failed setting up VDO buffers!");
    } else if (!vdo_stream_start(stream.get(), &error)) {
        fail(kName, "Failed starting stream: " + take_message(error));
    } else {
        provider->vdoStream = stream.release();
        return true;
    }
    provider->vdoStream = stream.get(); // the buffers go back to the stream they came from
    releaseVdoBuffers(provider);
    provider->vdoStream = nullptr;
    return false;
}

bool allocateVdoBuffers(ImgProvider* provider, VdoStream* stream) {
    constexpr auto kName = "allocateVdoBuffers";
    GError* error = nullptr;
    for (VdoBuffer*& buffer : provider->vdoBuffers) {
        buffer = vdo_stream_buffer_alloc(stream, nullptr, &error);
        if (buffer == nullptr)
            return fail(kName, "Failed creating VDO buffer: " + take_message(error));
        // Asking for the data once maps it, here rather than on the first frame.
        if (vdo_buffer_get_data(buffer) == nullptr)
            return fail(kName, "Failed initializing buffer memmap: " + take_message(error));
        if (!vdo_stream_buffer_enqueue(stream, buffer, &error))
            return fail(kName, "Failed enqueue VDO buffer: " + take_message(error));
    }
    return true;
}

void releaseVdoBuffers(ImgProvider* provider) {
    if (provider->vdoStream == nullptr)
        return;
    for (VdoBuffer*& buffer : provider->vdoBuffers) {
        if (buffer == nullptr)
            continue;
        GError* error = nullptr;
        vdo_stream_buffer_unref(provider->vdoStream, &buffer, &error);
        g_clear_error(&error);
        buffer = nullptr;
    }
}

bool chooseStreamResolution(unsigned int req_width, unsigned int req_height, unsigned int* chosen_width,
                            unsigned int* chosen_height) {
    constexpr auto kName = "chooseStreamResolution";
    GError* error = nullptr;
    const g_object_ptr<VdoChannel> channel(vdo_channel_get(1, &error));
    if (!channel)
        return fail(kName, "Failed vdo_channel_get(): " + take_message(error));
    const g_free_ptr<VdoResolutionSet> set(vdo_channel_get_resolutions(channel.get(), nullptr, &error));
    if (!set)
        return fail(kName, "Failed vdo_channel_get_resolutions(): " + take_message(error));

    const VdoResolution* best = nullptr;
    unsigned int best_area = std::numeric_limits<unsigned int>::max();
    for (gsize i = 0; i < set->count; ++i) {
        const VdoResolution& candidate = set->resolutions[i];
        const unsigned int area = candidate.width * candidate.height;
        if (candidate.width >= req_width && candidate.height >= req_height && area < best_area) {
            best = &candidate;
            best_area = area;
        }
    }
    *chosen_width = best != nullptr ? best->width : req_width;
    *chosen_height = best != nullptr ? best->height : req_height;
    if (best == nullptr)
        fail(kName, "VDO channel info contains no resolution info. Fallback to client-requested stream resolution.");
    return true;
}

bool startFrameFetch(ImgProvider* provider) {
    provider->shutDown = false;
    const blocked_signals during_creation;
    const int error = pthread_create(&provider->fetcherThread, nullptr, threadEntry, provider);
    if (error != 0)
        provider->fetcherThread = {};
    return error == 0 ||
           fail("startFrameFetch", std::string("Failed to start thread fetching frames from vdo: ") + strerror(error));
}

bool stopFrameFetch(ImgProvider* provider) {
    provider->shutDown = true;
    // A thread that does not run must not be joined.
    const bool running = pthread_equal(provider->fetcherThread, pthread_t{}) == 0;
    const int error = running ? pthread_join(provider->fetcherThread, nullptr) : ESRCH;
    if (error == 0)
        provider->fetcherThread = {};
    return error == 0 ||
           fail("stopFrameFetch", std::string("Failed to join thread fetching frames from vdo: ") + strerror(error));
}

VdoBuffer* getLastFrameBlocking(ImgProvider* provider) {
    VdoBuffer* frame = nullptr;
    pthread_mutex_lock(&provider->frameMutex);
    int error = 0;
    while (error == 0 && g_queue_is_empty(provider->deliveredFrames))
        error = pthread_cond_wait(&provider->frameDeliverCond, &provider->frameMutex);
    if (error == 0)
        frame = static_cast<VdoBuffer*>(g_queue_pop_tail(provider->deliveredFrames));
    else
        fail("getLastFrameBlocking", std::string("Failed to wait on condition: ") + strerror(error));
    pthread_mutex_unlock(&provider->frameMutex);
    return frame;
}

void returnFrame(ImgProvider* provider, VdoBuffer* frame) {
    pthread_mutex_lock(&provider->frameMutex);
    g_queue_push_tail(provider->processedFrames, frame);
    pthread_mutex_unlock(&provider->frameMutex);
}
