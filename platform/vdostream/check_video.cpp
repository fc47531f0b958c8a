// korvex_check_video: tells whether KORVEX_VDO_SOURCE, a file or the scene, shows at least one picture: exit status 0,
// or 1 with a sentence on stderr. The application itself would only show a failed set-up, pass after pass.

#include "platform/vdostream/host_video.h"
#include "vdo-stream.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

int refuse(const std::string& sentence) {
    std::fprintf(stderr, "%s.\n", sentence.c_str());
    return 1;
}

} // namespace

int main() {
    // In the video's own time the first picture is there at once or never.
    setenv("KORVEX_VDO_REPLAY", "1", 1);
    g_autoptr(GObject) settings = G_OBJECT(vdo_map_new());
    vdo_map_set_uint32(reinterpret_cast<VdoMap*>(settings), "width", 640);
    vdo_map_set_uint32(reinterpret_cast<VdoMap*>(settings), "height", 360);
    g_autoptr(GError) error = nullptr;
    g_autoptr(GObject) stream =
        reinterpret_cast<GObject*>(vdo_stream_new(reinterpret_cast<VdoMap*>(settings), nullptr, &error));
    if (stream == nullptr) {
        return refuse(error->message);
    }
    auto* video = reinterpret_cast<VdoStream*>(stream);
    vdo_stream_start(video, nullptr);
    host_video::replay_advance(0.0);
    VdoBuffer* picture = vdo_stream_get_buffer(video, nullptr);
    if (picture == nullptr) {
        return refuse("The video source " + host_video::statistics().source + " holds no picture that can be decoded");
    }
    vdo_stream_buffer_unref(video, &picture, nullptr);
    return 0;
}
