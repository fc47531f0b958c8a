#pragma once

#include <glib.h>
#include <pthread.h>
#include <vdo-buffer.h>
#include <vdo-stream.h>
#include <vdo-types.h>

#include <array>
#include <atomic>

/**
 * An alternative frame source: a stream with buffers of its own, a thread that keeps the newest frames, and a blocking
 * call for the newest of them. The detector reads its own stream instead; nothing in the application makes one.
 *
 * Frames handed out belong to the consumer until `returnFrame`; they live as long as the provider. `numAppFrames` is
 * how many fetched frames may wait before the oldest is recycled.
 */
struct ImgProvider {
    // Constant while the fetch thread runs.
    VdoFormat vdoFormat = VDO_FORMAT_NONE;
    VdoStream* vdoStream = nullptr;
    std::array<VdoBuffer*, 8> vdoBuffers{};

    // Guarded by frameMutex.
    GQueue* deliveredFrames = nullptr; // fetched, oldest at the head
    GQueue* processedFrames = nullptr; // handed back, on their way to the stream
    unsigned int numAppFrames = 0;     // constant
    pthread_mutex_t frameMutex{};
    pthread_cond_t frameDeliverCond{}; // a frame has been delivered

    pthread_t fetcherThread{};
    std::atomic<bool> shutDown{false};
};

/** Null, with a line in the log, when anything cannot be had. Width and height in pixels. */
ImgProvider* createImgProvider(unsigned int width, unsigned int height, unsigned int num_frames, VdoFormat format);

/** The fetch thread must have been stopped, and no consumer may be waiting. */
void destroyImgProvider(ImgProvider* provider);

/** Sets up and starts `vdoStream`. */
bool createStream(ImgProvider* provider, unsigned int width, unsigned int height);

/** Allocates the eight buffers from the stream and enqueues them. */
bool allocateVdoBuffers(ImgProvider* provider, VdoStream* stream);
void releaseVdoBuffers(ImgProvider* provider);

/**
 * The smallest resolution of video channel 1 that is at least as wide and as high as requested; the first of equal
 * areas; the requested one when there is none. False when the channel cannot be asked.
 */
bool chooseStreamResolution(unsigned int req_width, unsigned int req_height, unsigned int* chosen_width,
                            unsigned int* chosen_height);

bool startFrameFetch(ImgProvider* provider);

/** Waits for the fetch thread, which ends after the frame it is waiting for. */
bool stopFrameFetch(ImgProvider* provider);

/** Waits for a frame and takes the newest; null when waiting fails. Any thread. */
VdoBuffer* getLastFrameBlocking(ImgProvider* provider);

/** Gives a frame back. Any thread. */
void returnFrame(ImgProvider* provider, VdoBuffer* frame);
