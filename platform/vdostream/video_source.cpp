#include "platform/vdostream/video_source.h"

#include "base/blocked_signals.h"
#include "platform/common/report.h"
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

double frame_interval(const source_properties& properties) {
    return properties.fps > 0.0 ? 1.0 / properties.fps : 0.04;
}

} // namespace

video_source::video_source(const std::string& name, std::unique_ptr<reader> reader, bool replay, source_timing timing)
    : m_Name(printable(name)), m_Reader(std::move(reader)), m_Replay(replay), m_Timing(timing),
      m_Retry(timing.first_retry) {}

std::shared_ptr<video_source> video_source::make(const std::string& name, std::unique_ptr<reader> reader, bool replay,
                                                 source_timing timing) {
    std::shared_ptr<video_source> own(new video_source(name, std::move(reader), replay, timing));
    video_source* const address = own.get();
    return {address, [own = std::move(own)](video_source*) { own->end(); }};
}

void video_source::end() {
    m_Reader->cancel();
    std::unique_lock lock(m_Lock);
    m_Quit = true;
    m_Changed.notify_all();
    if (!m_Thread.joinable())
        return;
    if (!m_Changed.wait_for(lock, m_Timing.goodbye, [this] { return m_ThreadEnded; })) {
        m_Thread.detach();
        return;
    }
    lock.unlock();
    m_Thread.join();
}

bool video_source::open(std::string& why) {
    if (!m_Reader->is_live()) {
        const blocked_signals guard;
        m_Opened = reopen(why);
        return m_Opened;
    }
    if (m_Replay) {
        why = "cannot be replayed; a file or the scene can";
        return false;
    }
    start();
    std::unique_lock lock(m_Lock);
    m_Changed.wait_for(lock, m_Timing.first_answer, [this] { return m_FirstTryDone; });
    return true;
}

void video_source::start() {
    const std::lock_guard guard(m_Lock);
    if (!m_Started && !m_Replay) {
        m_Started = true;
        const blocked_signals blocked;
        m_Thread = std::thread([self = shared_from_this()] { self->run(); });
    }
}

video_source::clock::time_point video_source::deadline(std::chrono::duration<double> least) const {
    return clock::now() + std::max(m_Timing.patience, std::chrono::ceil<std::chrono::milliseconds>(least));
}

std::shared_ptr<picture> video_source::wait_for_picture(const std::function<bool(const picture&)>& wanted,
                                                        const std::atomic<bool>& running, clock::time_point deadline,
                                                        std::string& why) {
    std::unique_lock lock(m_Lock);
    for (;;) {
        if (!running) {
            why = "The stream is not running";
            return nullptr;
        }
        if (m_Newest != nullptr && (m_Replay || wanted(*m_Newest)))
            return m_Newest;
        if (m_Replay || clock::now() >= deadline) {
            why = "No picture came from " + m_Name;
            return is_recent() ? m_Newest : nullptr;
        }
        m_Changed.wait_until(lock, deadline);
    }
}

bool video_source::is_recent() const {
    const std::chrono::duration<double> apart(std::max(m_LastGap, frame_interval(m_Properties)));
    const std::chrono::duration<double> allowed = std::max<std::chrono::duration<double>>(m_Timing.silence, 2 * apart);
    return !m_Lost && clock::now() - m_LastPublished < allowed;
}

bool video_source::wait_until(const std::function<bool()>& ready, const std::atomic<bool>& running,
                              clock::time_point deadline) {
    std::unique_lock lock(m_Lock);
    bool met = false;
    m_Changed.wait_until(lock, deadline, [&] { return !running || (met = ready()); });
    return met;
}

void video_source::wake() {
    // Taking the lock once keeps the change that is announced from falling between a waiter's look and its sleep.
    { const std::lock_guard guard(m_Lock); }
    m_Changed.notify_all();
}

bool video_source::advance(double seconds) {
    const std::lock_guard guard(m_ReplayLock);
    if (!std::isfinite(seconds))
        return false;
    m_Reader->skip_to(seconds);
    std::string why;
    while (!m_AtEnd) {
        if (m_Ahead == nullptr && m_Reader->read(m_Ahead, why) != read_result::picture)
            m_AtEnd = true;
        else if (m_Ahead->seconds > seconds + time_tolerance)
            return true;
        else
            publish(std::exchange(m_Ahead, nullptr));
    }
    return m_LastSeconds >= 0.0 && seconds < m_LastSeconds + frame_interval(properties()) - time_tolerance;
}

source_properties video_source::properties() const {
    const std::lock_guard guard(m_Lock);
    return m_Properties;
}

std::uint64_t video_source::frames_decoded() const {
    const std::lock_guard guard(m_Lock);
    return m_Decoded;
}

void video_source::run() {
    for (;;) {
        std::string why;
        if (m_Opened || reopen(why))
            read_until_it_ends(why);
        m_Opened = false;
        {
            const std::lock_guard guard(m_Lock);
            m_FirstTryDone = true;
            m_Lost = !why.empty();
            m_ThreadEnded = m_Quit;
        }
        m_Changed.notify_all();
        if (m_ThreadEnded)
            return;
        if (!why.empty()) {
            report_outage(why);
            retry_later();
        }
    }
}

bool video_source::reopen(std::string& why) {
    if (!m_Reader->open(why))
        return false;
    {
        const std::lock_guard guard(m_Lock);
        m_Properties = m_Reader->properties();
    }
    m_LoopBase = m_LastSeconds < 0.0 ? 0.0 : m_LastSeconds + frame_interval(m_Reader->properties());
    m_ReadSinceOpen = 0;
    return true;
}

void video_source::read_until_it_ends(std::string& why) {
    for (;;) {
        std::shared_ptr<picture> next;
        const read_result result = m_Reader->read(next, why);
        if (result == read_result::lost)
            return;
        if (result == read_result::end) {
            if (m_ReadSinceOpen == 0)
                why = "holds no picture that can be decoded";
            return;
        }
        next->seconds += m_LoopBase;
        ++m_ReadSinceOpen;
        if (m_Streams > 1)
            next->prepare();
        if (!wait_for_turn(next->seconds))
            return;
        publish(std::move(next));
        if (std::exchange(m_OutageSaid, false))
            platform::report(library, m_Name + " is back");
        m_Retry = m_Timing.first_retry;
    }
}

void video_source::report_outage(const std::string& why) {
    if (!std::exchange(m_OutageSaid, true))
        platform::report(library, m_Name + " " + why + "; trying again");
}

void video_source::retry_later() {
    pause_until(clock::now() + m_Retry);
    m_Retry = std::min(m_Retry * 2, m_Timing.last_retry);
}

bool video_source::pause_until(clock::time_point moment) {
    std::unique_lock lock(m_Lock);
    return !m_Changed.wait_until(lock, moment, [this] { return m_Quit; });
}

bool video_source::wait_for_turn(double seconds) {
    if (m_Reader->is_live())
        return pause_until(clock::now());
    const auto offset = std::chrono::duration_cast<clock::duration>(std::chrono::duration<double>(seconds));
    const std::chrono::duration<double> lag = clock::now() - (m_ClockBase + offset);
    if (lag.count() > largest_lag_seconds)
        m_ClockBase = clock::now() - offset;
    return pause_until(m_ClockBase + offset);
}

void video_source::publish(std::shared_ptr<picture> next) {
    next->sequence = ++m_Sequence;
    const double gap = m_LastSeconds < 0.0 ? 0.0 : next->seconds - m_LastSeconds;
    m_LastSeconds = next->seconds;
    {
        const std::lock_guard guard(m_Lock);
        m_FirstTryDone = true;
        m_Lost = false;
        m_LastGap = gap;
        m_Newest.swap(next);
        m_LastPublished = clock::now();
        ++m_Decoded;
    }
    m_Changed.notify_all();
}

} // namespace vdostream
