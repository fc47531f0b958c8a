#include "platform/axoverlay/host_stills.h"

#include "platform/axoverlay/annotated_video.h"
#include "platform/axoverlay/jpeg_encoder.h"
#include "platform/axoverlay/settings.h"

#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>

namespace host_overlay {

/** The stream that is open at the moment, if there is one, for stop(). */
class StillCamera::Video {
  public:
    AnnotatedVideo& open(const Geometry& geometry) {
        const std::lock_guard lock(m_lock);
        m_open.emplace(geometry, AXOVERLAY_STREAM_JPEG);
        if (m_stopped)
            m_open->stop();
        return *m_open;
    }

    void close() {
        const std::lock_guard lock(m_lock);
        m_open.reset();
    }

    void stop() {
        const std::lock_guard lock(m_lock);
        m_stopped = true;
        if (m_open)
            m_open->stop();
    }

    bool is_stopped() {
        const std::lock_guard lock(m_lock);
        return m_stopped;
    }

  private:
    std::mutex m_lock;
    std::optional<AnnotatedVideo> m_open;
    bool m_stopped = false;
};

StillCamera::StillCamera() : m_video(std::make_unique<Video>()) {}
StillCamera::~StillCamera() = default;

std::string StillCamera::take(const StillView& view, std::chrono::milliseconds patience) {
    const auto until = std::chrono::steady_clock::now() + patience;
    struct Closing {
        Video& video;
        ~Closing() { video.close(); }
    } const closing{*m_video};
    AnnotatedVideo& video = m_video->open({view.width, view.height, view.rotation, false});
    video.start();
    std::string why = "no pass has drawn on it";
    while (!m_video->is_stopped() && std::chrono::steady_clock::now() < until) {
        if (!video.next(why)) {
            std::this_thread::sleep_for(failure_pause);
        } else if (video.overlay_settled()) {
            JpegEncoder encoder(jpeg_quality_setting());
            const auto file = encoder.encode(video.picture());
            return {file.begin(), file.end()};
        }
    }
    throw std::runtime_error(why);
}

void StillCamera::stop() {
    m_video->stop();
}

} // namespace host_overlay
