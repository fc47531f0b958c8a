// korvex_check_video: tells whether the video source that the environment names can be used: exit status 0, or 1 with a
// sentence on stderr. A file or the scene has to show at least one picture; a camera may come later. The application
// itself would only show a failed set-up, pass after pass.

#include "platform/vdostream/host_video.h"
#include "platform/vdostream/reader.h"
#include "platform/vdostream/source_name.h"
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
    std::string name;
    std::string why;
    if (!vdostream::read_source_name(name, why)) {
        return refuse(why);
    }
    if (vdostream::make_reader(name)->is_live()) {
        return 0;
    }
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
