#pragma once

#include "platform/vdostream/object.h"
#include "platform/vdostream/settings.h"
#include "platform/vdostream/video_source.h"
#include "vdo-stream.h"

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <set>
#include <string>

namespace vdostream {

/** What outlives the stream's GObject as long as one of its buffers does: who holds which buffer. */
struct buffer_book {
    std::mutex lock;
    /** Every buffer made and not yet given back; the stream owns one reference to each. */
    std::set<VdoBuffer*> outstanding;
    /** Infinite strategy: those of them with a frame that was handed out, the oldest first. */
    std::deque<VdoBuffer*> handed;
    /** Explicit strategy: waiting to be filled, the next one first. */
    std::deque<VdoBuffer*> enqueued;

    /** False when it is not outstanding. REQUIRES: the lock is held. */
    bool remove(VdoBuffer* buffer);
};

struct buffer_state {
    VdoBuffer* self = nullptr;
    std::shared_ptr<buffer_book> book;
    /**
     * Infinite strategy: shared with other streams. Explicit strategy: the buffer's own, all zero until it is filled.
     */
    frame_bytes bytes;
    gpointer opaque = nullptr;
    /** Called with `opaque` when the buffer goes; null for none. */
    VdoBufferFinalizer finalizer = nullptr;

    ~buffer_state();
};

/**
 * One stream of a source. Frames are taken from the source's newest picture when the caller asks, so a stream that
 * nobody reads costs nothing. Any thread may call anything; get and stop may meet.
 */
class stream_state {
  public:
    stream_state(const stream_settings& settings, VdoBufferFinalizer finalizer, std::shared_ptr<video_source> source);
    ~stream_state();

    const stream_settings& settings() const { return m_Settings; }
    /** Frames a second in effect: what was asked for, but no more than the source has; 0 when nobody knows. */
    guint32 framerate() const;

    void start();
    void stop();
    VdoBuffer* get_buffer(GError** error);
    bool unref(VdoBuffer* buffer, GError** error);
    VdoBuffer* alloc(gpointer opaque, GError** error);
    bool enqueue(VdoBuffer* buffer, GError** error);

    /** Frames handed out by all streams of the process. */
    static std::uint64_t frames_handed();

  private:
    using clock = video_source::clock;

    frame_bytes next_frame(clock::time_point deadline, GError** error);
    bool is_due(const picture& candidate) const;
    void mark_taken(const picture& taken);
    VdoBuffer* make_buffer(frame_bytes bytes, gpointer opaque);
    void take_back_the_oldest();
    VdoBuffer* get_explicit(clock::time_point deadline, GError** error);
    bool take_enqueued(VdoBuffer*& buffer);

    const stream_settings m_Settings;
    const VdoBufferFinalizer m_Finalizer;
    const std::shared_ptr<video_source> m_Source;
    const std::shared_ptr<buffer_book> m_Book = std::make_shared<buffer_book>();
    std::atomic<bool> m_Running = false;

    /** One caller at a time takes frames; it also guards the two below. */
    std::mutex m_TakeLock;
    std::uint64_t m_LastSequence = 0;
    double m_NextDue = 0.0;
};

/** A stopped stream on a source of the caller's choice; vdo_stream_new uses the one that the environment names. */
VdoStream* make_stream(const stream_settings& settings, VdoBufferFinalizer finalizer,
                       std::shared_ptr<video_source> source);

} // namespace vdostream

struct _VdoBuffer : vdostream::object<vdostream::buffer_state> {};
struct _VdoStream : vdostream::object<vdostream::stream_state> {};
