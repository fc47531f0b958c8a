#include "platform/axoverlay/host_recorder.h"

#include "base/blocked_signals.h"
#include "platform/axoverlay/annotated_video.h"
#include "platform/axoverlay/mp4_file.h"
#include "platform/axoverlay/priority.h"
#include "platform/axoverlay/resolutions.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <stdexcept>
#include <thread>

namespace host_overlay {
namespace {

Geometry checked_geometry(const RecorderOptions& options) {
    const auto offered = channel_resolutions();
    if (!offers(offered, options.width, options.height))
        throw std::runtime_error("cannot record " + std::to_string(options.width) + "x" +
                                 std::to_string(options.height) + "; the camera offers " + list_text(offered));
    return {options.width, options.height, options.rotation, options.mirrored};
}

} // namespace

class Recorder::Session {
  public:
    explicit Session(const RecorderOptions& options)
        : m_geometry(checked_geometry(options)), m_video(m_geometry, AXOVERLAY_STREAM_H264),
          m_file(options.path, m_geometry.picture_width(), m_geometry.picture_height()), m_stopped(options.stopped) {
        m_video.start();
        if (!options.replay) {
            const blocked_signals blocked;
            m_thread = std::thread([this] { run(); });
        }
    }

    ~Session() { end_thread(); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void take(double seconds) {
        std::string why;
        if (!m_video.next(why))
            throw std::runtime_error(why);
        m_file.add(m_video.picture(), seconds);
    }

    void finish() {
        end_thread();
        if (m_failure != nullptr)
            std::rethrow_exception(m_failure);
        m_file.finish();
    }

  private:
    void run() {
        give_way_to_all();
        try {
            const auto begin = std::chrono::steady_clock::now();
            std::string why;
            while (!m_ending) {
                if (m_video.next(why)) {
                    const std::chrono::duration<double> since = std::chrono::steady_clock::now() - begin;
                    m_file.add(m_video.picture(), since.count());
                } else {
                    std::this_thread::sleep_for(failure_pause); // a silent camera may come back
                }
            }
        } catch (const std::exception& failure) {
            m_failure = std::current_exception();
            if (m_stopped)
                m_stopped(failure.what());
        }
    }

    void end_thread() {
        m_ending = true;
        m_video.stop();
        if (m_thread.joinable())
            m_thread.join();
    }

    const Geometry m_geometry;
    AnnotatedVideo m_video;
    Mp4File m_file;
    const std::function<void(const std::string&)> m_stopped;
    std::atomic<bool> m_ending = false;
    std::exception_ptr m_failure; // the thread's, read after it has been joined
    std::thread m_thread;
};

Recorder::Recorder(const RecorderOptions& options) : m_session(std::make_unique<Session>(options)) {}
Recorder::~Recorder() = default;

void Recorder::take(double seconds) {
    if (m_session == nullptr)
        throw std::runtime_error("the recording has ended");
    m_session->take(seconds);
}

void Recorder::finish() {
    if (const auto session = std::move(m_session))
        session->finish();
}

} // namespace host_overlay
