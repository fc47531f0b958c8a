#include "platform/vdostream/error.h"
#include "platform/vdostream/stream.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <utility>

namespace vdostream {
namespace {

std::atomic<std::uint64_t> handed_out = 0;

/** Frames of one stream that may be out at once, as many as a camera has: a pass that fails leaves its frame out. */
constexpr std::size_t most_handed = 6;

constexpr const char* foreign_buffer = "The buffer is not one of this stream's, or was given back already";

using BufferReference = std::unique_ptr<VdoBuffer, decltype(&g_object_unref)>;

} // namespace

BufferState::~BufferState() {
    {
        // Also for a buffer that was dropped with g_object_unref instead of being given back.
        const annotated_lock guard(book->lock);
        book->remove(self);
    }
    if (finalizer != nullptr)
        finalizer(opaque);
}

bool BufferBook::remove(VdoBuffer* buffer) {
    std::erase(handed, buffer);
    std::erase(enqueued, buffer);
    return outstanding.erase(buffer) != 0;
}

StreamState::StreamState(const StreamSettings& settings, VdoBufferFinalizer finalizer,
                         std::shared_ptr<VideoSource> source)
    : m_settings(settings), m_finalizer(finalizer), m_source(std::move(source)) {
    m_source->count_stream(1);
}

StreamState::~StreamState() {
    m_source->count_stream(-1);
    std::set<VdoBuffer*> left;
    {
        const annotated_lock guard(m_book->lock);
        left.swap(m_book->outstanding);
        m_book->handed.clear();
        m_book->enqueued.clear();
    }
    std::for_each(left.begin(), left.end(), &g_object_unref);
}

guint32 StreamState::framerate() const {
    const auto own = static_cast<guint32>(std::lround(m_source->properties().fps));
    if (m_settings.framerate == 0 || own == 0)
        return std::max(m_settings.framerate, own);
    return std::min(m_settings.framerate, own);
}

void StreamState::start() {
    m_source->start();
    m_running = true;
}

void StreamState::stop() {
    m_running = false;
    m_source->wake();
}

VdoBuffer* StreamState::get_buffer() {
    const annotated_lock guard(m_take_lock);
    // Who asked for few pictures may wait for one.
    const double fps = m_settings.framerate;
    const Clock::time_point deadline = m_source->deadline(std::chrono::duration<double>(fps > 0.0 ? 1.0 / fps : 0.0));
    return m_settings.explicit_buffers ? get_explicit(deadline) : make_buffer(next_frame(deadline), nullptr);
}

VdoBuffer* StreamState::get_explicit(Clock::time_point deadline) {
    VdoBuffer* taken = nullptr;
    if (!m_source->wait_until([this, &taken] { return take_enqueued(taken); }, m_running, deadline)) {
        need(m_running, Code::not_running, "The stream is not running");
        throw Failure(Code::silent, "No buffer was enqueued to be filled");
    }
    // Held while it is filled, because another thread may give it back meanwhile.
    const BufferReference hold(taken, &g_object_unref);
    try {
        std::memcpy(taken->state->bytes.get(), next_frame(deadline).get(), frame_size(m_settings.shape));
    } catch (const Failure&) {
        const annotated_lock guard(m_book->lock);
        if (m_book->outstanding.contains(taken))
            m_book->enqueued.push_front(taken);
        throw;
    }
    const annotated_lock guard(m_book->lock);
    need(m_book->outstanding.contains(taken), Code::bad_argument,
         "The buffer was given back while it was being filled");
    return taken;
}

bool StreamState::take_enqueued(VdoBuffer*& buffer) {
    const annotated_lock guard(m_book->lock);
    if (m_book->enqueued.empty())
        return false;
    buffer = m_book->enqueued.front();
    m_book->enqueued.pop_front();
    g_object_ref(buffer);
    return true;
}

FrameBytes StreamState::next_frame(Clock::time_point deadline) {
    const std::shared_ptr<Picture> next = m_source->wait_for_picture(
        [this](const Picture& candidate) REQUIRES(m_take_lock) { return is_due(candidate); }, m_running, deadline);
    mark_taken(*next);
    FrameBytes bytes = next->in_geometry(m_settings.shape);
    if (bytes == nullptr)
        throw Failure(Code::no_source, "A picture of " + m_source->name() + " could not be converted");
    ++handed_out;
    return bytes;
}

bool StreamState::is_due(const Picture& candidate) const {
    if (candidate.sequence <= m_last_sequence)
        return false;
    // A little early is nearer to the rate asked for than the whole source frame later.
    const double fps = m_source->is_replay() ? 0.0 : static_cast<double>(m_settings.framerate);
    return fps == 0.0 || m_last_sequence == 0 || candidate.seconds >= m_next_due - 0.25 / fps;
}

void StreamState::mark_taken(const Picture& taken) {
    m_last_sequence = taken.sequence;
    if (m_settings.framerate != 0) {
        const double period = 1.0 / static_cast<double>(m_settings.framerate);
        // A caller who came late goes on from now; otherwise the mean rate stays what was asked for.
        m_next_due = std::abs(taken.seconds - m_next_due) < period ? m_next_due + period : taken.seconds + period;
    }
}

VdoBuffer* StreamState::make_buffer(FrameBytes bytes, gpointer opaque) {
    auto state = std::make_unique<BufferState>();
    state->book = m_book;
    state->bytes = std::move(bytes);
    state->opaque = opaque;
    state->finalizer = m_settings.explicit_buffers ? m_finalizer : nullptr;
    auto* buffer = make_object<VdoBuffer>("KorvexVdoBuffer", std::move(state));
    buffer->state->self = buffer;
    {
        const annotated_lock guard(m_book->lock);
        m_book->outstanding.insert(buffer);
        if (!m_settings.explicit_buffers)
            m_book->handed.push_back(buffer);
    }
    take_back_the_oldest();
    return buffer;
}

void StreamState::take_back_the_oldest() {
    VdoBuffer* oldest = nullptr;
    {
        const annotated_lock guard(m_book->lock);
        if (m_book->handed.size() <= most_handed)
            return;
        oldest = m_book->handed.front();
        m_book->remove(oldest);
    }
    g_object_unref(oldest);
}

void StreamState::unref(VdoBuffer* buffer) {
    {
        const annotated_lock guard(m_book->lock);
        need(m_book->remove(buffer), Code::bad_argument, foreign_buffer);
    }
    g_object_unref(buffer);
}

VdoBuffer* StreamState::alloc(gpointer opaque) {
    need(m_settings.explicit_buffers, Code::bad_argument,
         "Only a stream with \"buffer.strategy\" 3 has buffers of the caller's");
    FrameBytes bytes(new (std::nothrow) std::uint8_t[frame_size(m_settings.shape)]());
    need(bytes != nullptr, Code::bad_argument, "There is no memory for another buffer");
    return make_buffer(std::move(bytes), opaque);
}

void StreamState::enqueue(VdoBuffer* buffer) {
    {
        const annotated_lock guard(m_book->lock);
        need(m_settings.explicit_buffers, Code::bad_argument, "Only a stream with \"buffer.strategy\" 3 takes buffers");
        need(m_book->outstanding.contains(buffer), Code::bad_argument, foreign_buffer);
        need(std::ranges::count(m_book->enqueued, buffer) == 0, Code::bad_argument, "The buffer is enqueued already");
        m_book->enqueued.push_back(buffer);
    }
    m_source->wake();
}

std::uint64_t StreamState::frames_handed() {
    return handed_out;
}

} // namespace vdostream
