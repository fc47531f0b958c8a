#include "platform/vdostream/registry.h"

#include "base/thread_safety.h"
#include "platform/common/settings.h"
#include "platform/vdostream/error.h"
#include "platform/vdostream/ffmpeg_reader.h"
#include "platform/vdostream/host_video.h"
#include "platform/vdostream/scene_reader.h"
#include "platform/vdostream/source_name.h"
#include "platform/vdostream/stream.h"

#include <cmath>
#include <filesystem>
#include <map>

namespace vdostream {
namespace {

struct Registry {
    annotated_mutex lock;
    std::map<std::string, std::weak_ptr<VideoSource>> sources GUARDED_BY(lock);
    std::weak_ptr<VideoSource> last GUARDED_BY(lock);
    double replay_seconds GUARDED_BY(lock) = 0.0;
};

/**
 * Never destroyed: the application's own process-wide objects drop their streams after this library's would be gone.
 */
Registry& the_registry() {
    static auto& instance = *new Registry; // NOLINT(cppcoreguidelines-owning-memory)
    return instance;
}

/** Ordinary files may lie below /dev, too, in memory; a device that is not plugged in yet is one all the same. */
bool is_camera(const std::string& name) {
    std::error_code ignored;
    return name.starts_with("/dev/") && !std::filesystem::is_regular_file(name, ignored);
}

/** The source that was acquired last, or null when no stream holds it any more. */
std::shared_ptr<VideoSource> current_source() {
    Registry& all = the_registry();
    const annotated_lock guard(all.lock);
    return all.last.lock();
}

} // namespace

std::unique_ptr<Reader> make_reader(const std::string& name) {
    if (name == "scene")
        return std::make_unique<SceneReader>();
    if (name.starts_with("rtsp://") || name.starts_with("rtsps://"))
        return std::make_unique<FfmpegReader>(name, Access::rtsp);
    return std::make_unique<FfmpegReader>(name, is_camera(name) ? Access::v4l2 : Access::file);
}

std::shared_ptr<VideoSource> acquire_source() {
    const std::string name = source_name();
    const bool replay = platform::environment("KORVEX_VDO_REPLAY") == "1";
    Registry& all = the_registry();
    const annotated_lock guard(all.lock);
    std::erase_if(all.sources, [](const auto& entry) { return entry.second.expired(); });
    if (all.sources.empty())
        all.replay_seconds = 0.0;
    std::weak_ptr<VideoSource>& kept = all.sources[(replay ? "replay " : "") + name];
    std::shared_ptr<VideoSource> source = kept.lock();
    if (source == nullptr) {
        source = VideoSource::make(name, make_reader(name), replay);
        try {
            source->open();
        } catch (const Failure& failure) {
            throw Failure(failure.code, "The video source " + source->name() + " " + failure.sentence);
        }
        if (replay)
            source->advance(all.replay_seconds);
        kept = source;
    }
    all.last = source;
    return source;
}

} // namespace vdostream

namespace host_video {

bool replay_advance(double seconds) {
    auto& all = vdostream::the_registry();
    const annotated_lock guard(all.lock);
    if (!std::isfinite(seconds))
        return false;
    all.replay_seconds = seconds;
    bool within = true;
    for (const auto& [name, weak] : all.sources) {
        const auto source = weak.lock();
        within = (source == nullptr || !source->is_replay() || source->advance(seconds)) && within;
    }
    return within;
}

Statistics statistics() {
    Statistics now;
    now.frames_handed = vdostream::StreamState::frames_handed();
    if (const auto source = vdostream::current_source()) {
        const auto properties = source->properties();
        now.frames_decoded = source->frames_decoded();
        now.source_fps = properties.fps;
        now.source_width = properties.width;
        now.source_height = properties.height;
        now.lost_since = source->lost_since();
        now.source = source->name();
    }
    return now;
}

} // namespace host_video
