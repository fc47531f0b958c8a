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

/** Frames of one stream that may be out at once: more than any camera has. */
constexpr std::size_t most_handed = 16;

using buffer_reference = std::unique_ptr<VdoBuffer, decltype(&g_object_unref)>;

} // namespace

buffer_state::~buffer_state() {
    {
        // Also for a buffer that was dropped with g_object_unref instead of being given back.
        const std::lock_guard guard(book->lock);
        book->remove(self);
    }
    if (finalizer != nullptr)
        finalizer(opaque);
}

bool buffer_book::remove(VdoBuffer* buffer) {
    std::erase(handed, buffer);
    std::erase(enqueued, buffer);
    return outstanding.erase(buffer) != 0;
}

stream_state::stream_state(const stream_settings& settings, VdoBufferFinalizer finalizer,
                           std::shared_ptr<video_source> source)
    : m_Settings(settings), m_Finalizer(finalizer), m_Source(std::move(source)) {
    m_Source->count_stream(1);
}

stream_state::~stream_state() {
    m_Source->count_stream(-1);
    std::set<VdoBuffer*> left;
    {
        const std::lock_guard guard(m_Book->lock);
        left.swap(m_Book->outstanding);
        m_Book->handed.clear();
        m_Book->enqueued.clear();
    }
    std::for_each(left.begin(), left.end(), &g_object_unref);
}

guint32 stream_state::framerate() const {
    const auto own = static_cast<guint32>(std::lround(m_Source->properties().fps));
    if (m_Settings.framerate == 0 || own == 0)
        return std::max(m_Settings.framerate, own);
    return std::min(m_Settings.framerate, own);
}

void stream_state::start() {
    m_Source->start();
    m_Running = true;
}

void stream_state::stop() {
    m_Running = false;
    m_Source->wake();
}

VdoBuffer* stream_state::get_buffer(GError** error) {
    const std::lock_guard guard(m_TakeLock);
    // Who asked for few pictures may wait for one.
    const double fps = m_Settings.framerate;
    const clock::time_point deadline = m_Source->deadline(std::chrono::duration<double>(fps > 0.0 ? 1.0 / fps : 0.0));
    if (m_Settings.explicit_buffers)
        return get_explicit(deadline, error);
    frame_bytes bytes = next_frame(deadline, error);
    return bytes == nullptr ? nullptr : make_buffer(std::move(bytes), nullptr);
}

VdoBuffer* stream_state::get_explicit(clock::time_point deadline, GError** error) {
    VdoBuffer* taken = nullptr;
    if (!m_Source->wait_until([this, &taken] { return take_enqueued(taken); }, m_Running, deadline))
        return nothing(error, m_Running ? failure::silent : failure::not_running,
                       m_Running ? "No buffer was enqueued to be filled" : "The stream is not running");
    // Held while it is filled, because another thread may give it back meanwhile.
    const buffer_reference hold(taken, &g_object_unref);
    const frame_bytes bytes = next_frame(deadline, error);
    if (bytes == nullptr) {
        const std::lock_guard guard(m_Book->lock);
        if (m_Book->outstanding.contains(taken))
            m_Book->enqueued.push_front(taken);
        return nullptr;
    }
    std::memcpy(taken->state->bytes.get(), bytes.get(), frame_size(m_Settings.shape));
    const std::lock_guard guard(m_Book->lock);
    if (!m_Book->outstanding.contains(taken))
        return nothing(error, failure::bad_argument, "The buffer was given back while it was being filled");
    return taken;
}

bool stream_state::take_enqueued(VdoBuffer*& buffer) {
    const std::lock_guard guard(m_Book->lock);
    if (m_Book->enqueued.empty())
        return false;
    buffer = m_Book->enqueued.front();
    m_Book->enqueued.pop_front();
    g_object_ref(buffer);
    return true;
}

frame_bytes stream_state::next_frame(clock::time_point deadline, GError** error) {
    std::string why;
    const std::shared_ptr<picture> next = m_Source->wait_for_picture(
        [this](const picture& candidate) { return is_due(candidate); }, m_Running, deadline, why);
    if (next == nullptr)
        return nothing(error, m_Running ? failure::silent : failure::not_running, why);
    mark_taken(*next);
    frame_bytes bytes = next->in_geometry(m_Settings.shape);
    if (bytes == nullptr)
        return nothing(error, failure::no_source, "A picture of " + m_Source->name() + " could not be converted");
    ++handed_out;
    return bytes;
}

bool stream_state::is_due(const picture& candidate) const {
    if (candidate.sequence <= m_LastSequence)
        return false;
    // A little early is nearer to the rate asked for than the whole source frame later.
    const double fps = m_Source->is_replay() ? 0.0 : static_cast<double>(m_Settings.framerate);
    return fps == 0.0 || m_LastSequence == 0 || candidate.seconds >= m_NextDue - 0.25 / fps;
}

void stream_state::mark_taken(const picture& taken) {
    m_LastSequence = taken.sequence;
    if (m_Settings.framerate != 0) {
        const double period = 1.0 / static_cast<double>(m_Settings.framerate);
        // A caller who came late goes on from now; otherwise the mean rate stays what was asked for.
        m_NextDue = std::abs(taken.seconds - m_NextDue) < period ? m_NextDue + period : taken.seconds + period;
    }
}

VdoBuffer* stream_state::make_buffer(frame_bytes bytes, gpointer opaque) {
    auto state = std::make_unique<buffer_state>();
    state->book = m_Book;
    state->bytes = std::move(bytes);
    state->opaque = opaque;
    state->finalizer = m_Settings.explicit_buffers ? m_Finalizer : nullptr;
    auto* buffer = make_object<VdoBuffer>("KorvexVdoBuffer", std::move(state));
    buffer->state->self = buffer;
    {
        const std::lock_guard guard(m_Book->lock);
        m_Book->outstanding.insert(buffer);
        if (!m_Settings.explicit_buffers)
            m_Book->handed.push_back(buffer);
    }
    take_back_the_oldest();
    return buffer;
}

void stream_state::take_back_the_oldest() {
    VdoBuffer* oldest = nullptr;
    {
        const std::lock_guard guard(m_Book->lock);
        if (m_Book->handed.size() <= most_handed)
            return;
        oldest = m_Book->handed.front();
        m_Book->remove(oldest);
    }
    g_object_unref(oldest);
}

bool stream_state::unref(VdoBuffer* buffer, GError** error) {
    {
        const std::lock_guard guard(m_Book->lock);
        if (!m_Book->remove(buffer))
            return fail(error, failure::bad_argument,
                        "The buffer is not one of this stream's, or was given back already");
    }
    g_object_unref(buffer);
    return true;
}

VdoBuffer* stream_state::alloc(gpointer opaque, GError** error) {
    if (!m_Settings.explicit_buffers)
        return nothing(error, failure::bad_argument,
                       "Only a stream with \"buffer.strategy\" 3 has buffers of the caller's");
    frame_bytes bytes(new (std::nothrow) std::uint8_t[frame_size(m_Settings.shape)]());
    if (bytes == nullptr)
        return nothing(error, failure::bad_argument, "There is no memory for another buffer");
    return make_buffer(std::move(bytes), opaque);
}

bool stream_state::enqueue(VdoBuffer* buffer, GError** error) {
    const char* problem = nullptr;
    {
        const std::lock_guard guard(m_Book->lock);
        if (!m_Settings.explicit_buffers)
            problem = "Only a stream with \"buffer.strategy\" 3 takes buffers";
        else if (!m_Book->outstanding.contains(buffer))
            problem = "The buffer is not one of this stream's, or was given back already";
        else if (std::find(m_Book->enqueued.begin(), m_Book->enqueued.end(), buffer) != m_Book->enqueued.end())
            problem = "The buffer is enqueued already";
        else
            m_Book->enqueued.push_back(buffer);
    }
    if (problem != nullptr)
        return fail(error, failure::bad_argument, problem);
    m_Source->wake();
    return true;
}

std::uint64_t stream_state::frames_handed() {
    return handed_out;
}

} // namespace vdostream
