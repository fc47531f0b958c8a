#include "platform/axoverlay/host_clips.h"

#include "base/blocked_signals.h"
#include "platform/axoverlay/annotated_video.h"
#include "platform/axoverlay/clip_ring.h"
#include "platform/axoverlay/priority.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace host_overlay {
namespace {

using Clock = std::chrono::steady_clock;

/** Between two tries to get a video that there is not. */
constexpr std::chrono::seconds retry_pause{5};

double seconds_between(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
}

} // namespace

class ClipRecorder::Session {
  public:
    explicit Session(Listener listener) : m_listener(std::move(listener)) {
        const blocked_signals blocked;
        m_thread = std::thread([this] { run(); });
    }

    ~Session() {
        {
            const std::lock_guard lock(m_lock);
            m_ending = true;
            stop_video();
        }
        m_changed.notify_all();
        m_thread.join();
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void watch(const std::optional<StillView>& view, int role) {
        const std::lock_guard lock(m_lock);
        if (view == m_view && role == m_role)
            return;
        m_view = view;
        m_role = role;
        ++m_wish;
        stop_video();
        m_changed.notify_all();
    }

    void save(const std::string& path) {
        const std::lock_guard lock(m_lock);
        m_wanted.emplace_back(path, Clock::now());
    }

  private:
    using Wanted = std::vector<std::pair<std::string, Clock::time_point>>;

    /** The lock is held. */
    void stop_video() {
        if (m_video != nullptr)
            m_video->stop();
    }

    void run() {
        give_way_to_all();
        std::unique_lock lock(m_lock);
        while (true) {
            m_changed.wait(lock, [this] { return m_ending || m_view; });
            if (m_ending)
                return;
            const Geometry geometry{m_view->width, m_view->height, m_view->rotation, false};
            const unsigned wish = m_wish;
            m_wanted.clear(); // of a time of which nothing is in memory
            lock.unlock();
            try {
                record(geometry, wish);
            } catch (const std::exception& failure) {
                tell_failure(failure.what());
            }
            lock.lock();
            if (wish == m_wish)
                m_changed.wait_for(lock, retry_pause, [&] { return m_ending || wish != m_wish; });
        }
    }

    /** One view, until another one is wished for or the end comes. */
    void record(const Geometry& geometry, unsigned wish) {
        AnnotatedVideo video(geometry, AXOVERLAY_STREAM_H264);
        struct Shown {
            Session& session;
            Shown(Session& owner, AnnotatedVideo& shown) : session(owner) { session.show(&shown); }
            ~Shown() { session.show(nullptr); }
        } const shown(*this, video);
        video.start();
        H264Encoder encoder(geometry.picture_width(), geometry.picture_height());
        ClipRing ring(
            encoder,
            [this](const std::string& path, std::uint64_t bytes) {
                m_failing = false;
                m_listener.written(path, bytes);
            },
            [this](const std::string& why) { tell_failure(why); });
        const PacketTaker take = [&ring](AVPacket* packet) { ring.add(packet); };
        std::optional<Clock::time_point> begin;
        std::string why;
        while (is_wished(wish)) {
            if (!video.next(why)) {
                std::this_thread::sleep_for(failure_pause); // a silent camera may come back
                continue;
            }
            const Clock::time_point now = Clock::now();
            if (!begin && !video.overlay_settled())
                continue; // it would show what is to be hidden
            begin = begin.value_or(now);
            for (const auto& [path, moment] : take_wanted())
                ring.save(path, seconds_between(*begin, moment));
            encoder.add(video.picture(), seconds_between(*begin, now), take);
        }
        encoder.finish(take);
        ring.finish();
    }

    void show(AnnotatedVideo* video) {
        const std::lock_guard lock(m_lock);
        m_video = video;
    }

    bool is_wished(unsigned wish) {
        const std::lock_guard lock(m_lock);
        return !m_ending && wish == m_wish;
    }

    Wanted take_wanted() {
        const std::lock_guard lock(m_lock);
        return std::exchange(m_wanted, {});
    }

    void tell_failure(const std::string& why) {
        if (!m_failing)
            m_listener.failed(why);
        m_failing = true;
    }

    const Listener m_listener;
    bool m_failing = false; // the thread's own

    std::mutex m_lock; // guards the rest
    std::condition_variable m_changed;
    std::optional<StillView> m_view;
    int m_role = 0;
    unsigned m_wish = 0; // counts them
    AnnotatedVideo* m_video = nullptr;
    Wanted m_wanted;
    bool m_ending = false;
    std::thread m_thread;
};

ClipRecorder::ClipRecorder(Listener listener) : m_session(std::make_unique<Session>(std::move(listener))) {}
ClipRecorder::~ClipRecorder() = default;

void ClipRecorder::watch(const std::optional<StillView>& view, int role) {
    m_session->watch(view, role);
}

void ClipRecorder::save(const std::string& path) {
    m_session->save(path);
}

} // namespace host_overlay
