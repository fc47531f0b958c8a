#pragma once

#include "base/thread_safety.h"
#include "platform/vdostream/outage_card.h"
#include "platform/vdostream/reader.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace vdostream {

/** How a source behaves in time; tests shorten it. */
struct SourceTiming {
    /** A caller waits so long for something new: well below a second, within which a program has to be able to end. */
    std::chrono::milliseconds patience{500};
    /** So old, or twice as old as the source's pictures are apart, the newest picture may be to be given again. */
    std::chrono::milliseconds silence{2000};
    /** How long a stream's making waits for a camera's first picture. */
    std::chrono::milliseconds first_answer{3000};
    /** How long the end waits for the reading thread. */
    std::chrono::milliseconds goodbye{300};
    /** Wait before a lost source is opened again; doubled after each failure. */
    std::chrono::milliseconds first_retry{1000};
    std::chrono::milliseconds last_retry{30000};
};

/**
 * One source and the one thread that reads it, shared by every stream. It keeps the newest picture only: a slow
 * consumer misses pictures, it never delays them. A fast one gets a slow source's picture again.
 *
 *   idle --start--> opening --ok--> reading --end--> opening          (a file loops)
 *                      |  ^            |
 *                      |  +--- wait <--+-- lost                        (1, 2, 4 .. 30 s, said once an outage)
 *                      +-------^
 *
 * A camera always shows something: when a source that has shown pictures is lost, or silent for too long, those who ask
 * get a card that says so, at the source's own pace, until it is back (outage_card.h).
 *
 * In replay there is no thread and no clock: `advance` reads up to a moment of the video's own time.
 * Any thread may call anything.
 */
class VideoSource : public std::enable_shared_from_this<VideoSource> {
  public:
    using Clock = std::chrono::steady_clock;

    /**
     * Its reading ends with the last of these pointers. A reader that hangs where nothing can be cancelled, in the name
     * service, is then left to itself, with the object: nobody waits for it longer than `goodbye`.
     */
    static std::shared_ptr<VideoSource> make(const std::string& name, std::unique_ptr<Reader> reader, bool replay,
                                             SourceTiming timing = {});
    VideoSource(const VideoSource&) = delete;
    VideoSource& operator=(const VideoSource&) = delete;

    /**
     * Opens the source, or throws a Failure. A camera has `first_answer` to show something, and may come later.
     */
    void open();
    /** Begins to read; nothing happens the second time. */
    void start();

    /** When a call that begins now has to answer; `least` is how long it may wait at any rate. */
    Clock::time_point deadline(std::chrono::duration<double> least) const;
    /**
     * Waits until `deadline` for a picture that `wanted` accepts, as long as `running` holds. When none comes, the
     * newest one is given again, and where there never was one, a Failure is thrown. In replay it does not wait: the
     * current picture is taken, asked or not.
     */
    std::shared_ptr<Picture> wait_for_picture(const std::function<bool(const Picture&)>& wanted,
                                              const std::atomic<bool>& running, Clock::time_point deadline);
    /** Waits until `deadline` for `ready` to hold; false when it does not or `running` ended. */
    bool wait_until(const std::function<bool()>& ready, const std::atomic<bool>& running, Clock::time_point deadline);
    /** Makes every waiting thread look again. */
    void wake();
    /** A stream comes (1) or goes (-1). With several of them each picture is prepared before they get it. */
    void count_stream(int change) { m_streams += change; }

    /**
     * Replay only: makes the last picture at or before `seconds` the current one; false beyond the end of the video.
     */
    bool advance(double seconds);

    const std::string& name() const { return m_name; }
    SourceProperties properties() const;
    std::uint64_t frames_decoded() const;
    /** The time of the last picture, while the card is shown in its place; 0 while there is video, or never was. */
    std::time_t lost_since() const;
    bool is_replay() const { return m_replay; }

  private:
    VideoSource(const std::string& name, std::unique_ptr<Reader> reader, bool replay, SourceTiming timing);
    void end();
    void run();
    void reopen();
    void read_until_it_ends();
    // From when on the card is shown, and when its next picture is due; never without an outage.
    Clock::time_point outage_begins() const REQUIRES(m_lock);
    Clock::time_point card_is_due() const REQUIRES(m_lock);
    void publish_card() REQUIRES(m_lock);
    void put_in_front(std::shared_ptr<Picture>& next) REQUIRES(m_lock);
    /** Both are false when the source is to end. */
    bool pause_until(Clock::time_point moment);
    bool wait_for_turn(double seconds);
    void publish(std::shared_ptr<Picture> next);

    const std::string m_name;
    const std::unique_ptr<Reader> m_reader;
    const bool m_replay;
    const SourceTiming m_timing;
    std::atomic<int> m_streams = 0;

    // Reading thread, or whoever holds m_replay_lock.
    double m_loop_base = 0.0;
    bool m_opened = false;
    bool m_outage_said = false;
    std::chrono::milliseconds m_retry{0};
    Clock::time_point m_clock_base{};
    std::shared_ptr<Picture> m_ahead GUARDED_BY(m_replay_lock);
    bool m_at_end GUARDED_BY(m_replay_lock) = false;
    annotated_mutex m_replay_lock;

    // Shared.
    mutable annotated_mutex m_lock;
    std::condition_variable m_changed;
    std::shared_ptr<Picture> m_newest GUARDED_BY(m_lock);
    double m_last_seconds GUARDED_BY(m_lock) = -1.0;
    std::uint64_t m_sequence GUARDED_BY(m_lock) = 0;
    /** When the source's last picture came; the beginning of the clock as long as there was none. */
    Clock::time_point m_last_published GUARDED_BY(m_lock){};
    std::time_t m_last_published_date GUARDED_BY(m_lock) = 0;
    Clock::time_point m_lost_at GUARDED_BY(m_lock){};
    /** Of this outage; null while there is video. */
    std::shared_ptr<OutageCard> m_card GUARDED_BY(m_lock);
    Clock::time_point m_last_card GUARDED_BY(m_lock){};
    /** Seconds from the last picture but one to the last. */
    double m_last_gap GUARDED_BY(m_lock) = 0.0;
    SourceProperties m_properties GUARDED_BY(m_lock);
    std::uint64_t m_decoded GUARDED_BY(m_lock) = 0;
    bool m_started GUARDED_BY(m_lock) = false;
    bool m_first_try_done GUARDED_BY(m_lock) = false;
    bool m_lost GUARDED_BY(m_lock) = false;
    bool m_quit GUARDED_BY(m_lock) = false;
    bool m_thread_ended GUARDED_BY(m_lock) = false;
    std::thread m_thread;
};

} // namespace vdostream
