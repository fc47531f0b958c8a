#include "platform/vdostream/host_video.h"

#include "platform/vdostream/registry.h"
#include "platform/vdostream/stream.h"

namespace host_video {

bool replay_advance(double seconds) {
    return vdostream::advance_all_sources(seconds);
}

Statistics statistics() {
    Statistics now;
    now.frames_handed = vdostream::stream_state::frames_handed();
    if (const auto source = vdostream::current_source()) {
        const vdostream::source_properties properties = source->properties();
        now.frames_decoded = source->frames_decoded();
        now.source_fps = properties.fps;
        now.source_width = properties.width;
        now.source_height = properties.height;
        now.source = source->name();
    }
    return now;
}

} // namespace host_video
