#pragma once

#include "base/thread_safety.h"
#include "platform/vdostream/object.h"
#include "platform/vdostream/settings.h"
#include "platform/vdostream/video_source.h"
#include "vdo-stream.h"

#include <atomic>
#include <deque>
#include <memory>
#include <set>
#include <string>

namespace vdostream {

/** What outlives the stream's GObject as long as one of its buffers does: who holds which buffer. */
struct BufferBook {
    annotated_mutex lock;
    /** Every buffer made and not yet given back; the stream owns one reference to each. */
    std::set<VdoBuffer*> outstanding GUARDED_BY(lock);
    /** Infinite strategy: those of them with a frame that was handed out, the oldest first. */
    std::deque<VdoBuffer*> handed GUARDED_BY(lock);
    /** Explicit strategy: waiting to be filled, the next one first. */
    std::deque<VdoBuffer*> enqueued GUARDED_BY(lock);

    /** False when it is not outstanding. */
    bool remove(VdoBuffer* buffer) REQUIRES(lock);
};

struct BufferState {
    VdoBuffer* self = nullptr;
    std::shared_ptr<BufferBook> book;
    /**
     * Infinite strategy: shared with other streams. Explicit strategy: the buffer's own, all zero until it is filled.
     */
    FrameBytes bytes;
    gpointer opaque = nullptr;
    /** Called with `opaque` when the buffer goes; null for none. */
    VdoBufferFinalizer finalizer = nullptr;

    ~BufferState();
};

/**
 * One stream of a source. Frames are taken from the source's newest picture when the caller asks, so a stream that
 * nobody reads costs nothing. Any thread may call anything; get and stop may meet.
 */
class StreamState {
  public:
    StreamState(const StreamSettings& settings, VdoBufferFinalizer finalizer, std::shared_ptr<VideoSource> source);
    ~StreamState();

    const StreamSettings& settings() const { return m_settings; }
    /** Frames a second in effect: what was asked for, but no more than the source has; 0 when nobody knows. */
    guint32 framerate() const;

    void start();
    void stop();
    // What the interface does with buffers; each throws a Failure.
    VdoBuffer* get_buffer();
    void unref(VdoBuffer* buffer);
    VdoBuffer* alloc(gpointer opaque);
    void enqueue(VdoBuffer* buffer);

    /** Frames handed out by all streams of the process. */
    static std::uint64_t frames_handed();

  private:
    using Clock = VideoSource::Clock;

    FrameBytes next_frame(Clock::time_point deadline) REQUIRES(m_take_lock);
    bool is_due(const Picture& candidate) const REQUIRES(m_take_lock);
    void mark_taken(const Picture& taken) REQUIRES(m_take_lock);
    VdoBuffer* make_buffer(FrameBytes bytes, gpointer opaque);
    void take_back_the_oldest();
    VdoBuffer* get_explicit(Clock::time_point deadline) REQUIRES(m_take_lock);
    bool take_enqueued(VdoBuffer*& buffer);

    const StreamSettings m_settings;
    const VdoBufferFinalizer m_finalizer;
    const std::shared_ptr<VideoSource> m_source;
    const std::shared_ptr<BufferBook> m_book = std::make_shared<BufferBook>();
    std::atomic<bool> m_running = false;

    /** One caller at a time takes frames. */
    annotated_mutex m_take_lock;
    std::uint64_t m_last_sequence GUARDED_BY(m_take_lock) = 0;
    double m_next_due GUARDED_BY(m_take_lock) = 0.0;
};

/** A stopped stream on a source of the caller's choice; vdo_stream_new uses the one that the environment names. */
VdoStream* make_stream(const StreamSettings& settings, VdoBufferFinalizer finalizer,
                       std::shared_ptr<VideoSource> source);

} // namespace vdostream

struct _VdoBuffer : vdostream::Object<vdostream::BufferState> {};
struct _VdoStream : vdostream::Object<vdostream::StreamState> {};
