#include "platform/vdostream/video_source.h"

#include "base/blocked_signals.h"
#include "platform/common/report.h"
#include "platform/vdostream/error.h"
#include "platform/vdostream/source_name.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vdostream {
namespace {

constexpr const char* library = "korvex vdostream"; // on stderr
/** Further behind than this the clock is set anew instead of rushing after it. */
constexpr double largest_lag_seconds = 1.0;
/** Times are sums and quotients in double; they are compared to a microsecond. */
constexpr double time_tolerance = 1e-6;
/** A card comes as often as the source's pictures did, but for slow ones often enough for any analysis. */
constexpr double slowest_card_interval = 0.2;

double frame_interval(const SourceProperties& properties) {
    return properties.fps > 0.0 ? 1.0 / properties.fps : 0.04;
}

} // namespace

VideoSource::VideoSource(const std::string& name, std::unique_ptr<Reader> reader, bool replay, SourceTiming timing)
    : m_name(printable(name)), m_reader(std::move(reader)), m_replay(replay), m_timing(timing),
      m_retry(timing.first_retry) {}

std::shared_ptr<VideoSource> VideoSource::make(const std::string& name, std::unique_ptr<Reader> reader, bool replay,
                                               SourceTiming timing) {
    std::shared_ptr<VideoSource> own(new VideoSource(name, std::move(reader), replay, timing));
    VideoSource* const address = own.get();
    return {address, [own = std::move(own)](VideoSource*) { own->end(); }};
}

void VideoSource::end() {
    m_reader->cancel();
    annotated_lock lock(m_lock);
    m_quit = true;
    m_changed.notify_all();
    if (!m_thread.joinable())
        return;
    if (!m_changed.wait_for(lock, m_timing.goodbye, [this]() REQUIRES(m_lock) { return m_thread_ended; })) {
        m_thread.detach();
        return;
    }
    lock.unlock();
    m_thread.join();
}

void VideoSource::open() {
    if (!m_reader->is_live()) {
        const blocked_signals guard;
        reopen();
        return;
    }
    need(!m_replay, Code::no_source, "cannot be replayed; a file or the scene can");
    start();
    annotated_lock lock(m_lock);
    m_changed.wait_for(lock, m_timing.first_answer, [this]() REQUIRES(m_lock) { return m_first_try_done; });
}

void VideoSource::start() {
    const annotated_lock guard(m_lock);
    if (!m_started && !m_replay) {
        m_started = true;
        const blocked_signals blocked;
        m_thread = std::thread([self = shared_from_this()] { self->run(); });
    }
}

VideoSource::Clock::time_point VideoSource::deadline(std::chrono::duration<double> least) const {
    return Clock::now() + std::max(m_timing.patience, std::chrono::ceil<std::chrono::milliseconds>(least));
}

std::shared_ptr<Picture> VideoSource::wait_for_picture(const std::function<bool(const Picture&)>& wanted,
                                                       const std::atomic<bool>& running, Clock::time_point deadline) {
    annotated_lock lock(m_lock);
    for (;;) {
        need(running, Code::not_running, "The stream is not running");
        if (m_newest != nullptr && (m_replay || wanted(*m_newest)))
            return m_newest;
        const Clock::time_point card = card_is_due();
        if (Clock::now() >= card) {
            publish_card();
        } else if (m_replay || Clock::now() >= deadline) {
            if (m_newest == nullptr)
                throw Failure(Code::silent, "No picture came from " + m_name);
            return m_newest;
        } else {
            m_changed.wait_until(lock, std::min(deadline, card));
        }
    }
}

VideoSource::Clock::time_point VideoSource::outage_begins() const {
    if (m_replay || m_last_published == Clock::time_point{})
        return Clock::time_point::max();
    if (m_lost)
        return m_lost_at;
    const std::chrono::duration<double> apart(std::max(m_last_gap, frame_interval(m_properties)));
    const std::chrono::duration<double> allowed = std::max<std::chrono::duration<double>>(m_timing.silence, 2 * apart);
    return m_last_published + std::chrono::duration_cast<Clock::duration>(allowed);
}

VideoSource::Clock::time_point VideoSource::card_is_due() const {
    const Clock::time_point begin = outage_begins();
    if (m_card == nullptr || begin == Clock::time_point::max())
        return begin;
    const double interval = std::min(frame_interval(m_properties), slowest_card_interval);
    return m_last_card + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(interval));
}

void VideoSource::publish_card() {
    const Clock::time_point now = Clock::now();
    const Clock::time_point before = m_card == nullptr ? m_last_published : m_last_card;
    if (m_card == nullptr)
        m_card = std::make_shared<OutageCard>(m_properties.width, m_properties.height, m_last_published_date);
    m_last_card = now;
    std::shared_ptr<Picture> next = picture_of(m_card);
    next->seconds = m_last_seconds + std::chrono::duration<double>(now - before).count();
    put_in_front(next);
    m_changed.notify_all();
}

void VideoSource::put_in_front(std::shared_ptr<Picture>& next) {
    next->sequence = ++m_sequence;
    m_last_seconds = next->seconds;
    m_newest.swap(next);
}

bool VideoSource::wait_until(const std::function<bool()>& ready, const std::atomic<bool>& running,
                             Clock::time_point deadline) {
    annotated_lock lock(m_lock);
    bool met = false;
    m_changed.wait_until(lock, deadline, [&] { return !running || (met = ready()); });
    return met;
}

void VideoSource::wake() {
    // Taking the lock once keeps the change that is announced from falling between a waiter's look and its sleep.
    { const annotated_lock guard(m_lock); }
    m_changed.notify_all();
}

bool VideoSource::advance(double seconds) {
    const annotated_lock guard(m_replay_lock);
    if (!std::isfinite(seconds))
        return false;
    m_reader->skip_to(seconds);
    while (!m_at_end) {
        try {
            m_ahead = m_ahead != nullptr ? m_ahead : m_reader->read();
        } catch (const Failure&) {
            // It ends here.
        }
        m_at_end = m_ahead == nullptr;
        if (!m_at_end && m_ahead->seconds > seconds + time_tolerance)
            return true;
        if (!m_at_end)
            publish(std::exchange(m_ahead, nullptr));
    }
    const annotated_lock lock(m_lock);
    return m_last_seconds >= 0.0 && seconds < m_last_seconds + frame_interval(m_properties) - time_tolerance;
}

SourceProperties VideoSource::properties() const {
    const annotated_lock guard(m_lock);
    return m_properties;
}

std::time_t VideoSource::lost_since() const {
    const annotated_lock guard(m_lock);
    return Clock::now() >= outage_begins() ? m_last_published_date : 0;
}

std::uint64_t VideoSource::frames_decoded() const {
    const annotated_lock guard(m_lock);
    return m_decoded;
}

void VideoSource::run() {
    for (;;) {
        std::string why;
        try {
            if (!m_opened)
                reopen();
            read_until_it_ends();
        } catch (const Failure& failure) {
            why = failure.sentence;
        }
        m_opened = false;
        bool is_over = false;
        {
            const annotated_lock guard(m_lock);
            m_first_try_done = true;
            if (why.empty())
                m_lost = false;
            else if (!std::exchange(m_lost, true))
                m_lost_at = Clock::now();
            is_over = m_thread_ended = m_quit;
        }
        m_changed.notify_all();
        if (is_over)
            return;
        if (!why.empty()) {
            if (!std::exchange(m_outage_said, true))
                platform::report(library, m_name + " " + why + "; trying again");
            pause_until(Clock::now() + m_retry);
            m_retry = std::min(m_retry * 2, m_timing.last_retry);
        }
    }
}

void VideoSource::reopen() {
    m_reader->open();
    const annotated_lock guard(m_lock);
    m_properties = m_reader->properties();
    m_loop_base = m_last_seconds < 0.0 ? 0.0 : m_last_seconds + frame_interval(m_properties);
    m_opened = true;
}

void VideoSource::read_until_it_ends() {
    bool is_empty = true;
    while (std::shared_ptr<Picture> next = m_reader->read()) {
        is_empty = false;
        next->seconds += m_loop_base;
        if (m_streams > 1)
            next->prepare();
        if (!wait_for_turn(next->seconds))
            return;
        publish(std::move(next));
        if (std::exchange(m_outage_said, false))
            platform::report(library, m_name + " is back");
        m_retry = m_timing.first_retry;
    }
    need(!is_empty, Code::no_source, "holds no picture that can be decoded");
}

bool VideoSource::pause_until(Clock::time_point moment) {
    annotated_lock lock(m_lock);
    return !m_changed.wait_until(lock, moment, [this]() REQUIRES(m_lock) { return m_quit; });
}

bool VideoSource::wait_for_turn(double seconds) {
    if (m_reader->is_live())
        return pause_until(Clock::now());
    const auto offset = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    const std::chrono::duration<double> lag = Clock::now() - (m_clock_base + offset);
    if (lag.count() > largest_lag_seconds)
        m_clock_base = Clock::now() - offset;
    return pause_until(m_clock_base + offset);
}

void VideoSource::publish(std::shared_ptr<Picture> next) {
    {
        const annotated_lock guard(m_lock);
        m_first_try_done = true;
        m_lost = false;
        if (m_card != nullptr) {
            // Time went on while nothing of the source's came.
            const double earliest = m_last_seconds + frame_interval(m_properties);
            m_loop_base += std::max(0.0, earliest - next->seconds);
            next->seconds = std::max(next->seconds, earliest);
            m_card.reset();
        }
        m_last_gap = m_last_seconds < 0.0 ? 0.0 : next->seconds - m_last_seconds;
        m_last_published = Clock::now();
        m_last_published_date = std::time(nullptr);
        ++m_decoded;
        put_in_front(next);
    }
    m_changed.notify_all();
}

} // namespace vdostream
