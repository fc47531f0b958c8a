// korvex_check_video: tells whether the video source that the environment names can be used: exit status 0, or 1 with a
// sentence on stderr. A file or the scene has to show at least one picture; a camera may come later. The application
// itself would only show a failed set-up, pass after pass.

#include "platform/common/glib.h"
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
    try {
        if (vdostream::make_reader(vdostream::source_name())->is_live())
            return 0;
    } catch (const platform::Failure& failure) {
        return refuse(failure.sentence);
    }
    // In the video's own time the first picture is there at once or never.
    setenv("KORVEX_VDO_REPLAY", "1", 1);
    const platform::ObjectHandle<VdoMap> settings(vdo_map_new());
    vdo_map_set_uint32(settings.get(), "width", 640);
    vdo_map_set_uint32(settings.get(), "height", 360);
    g_autoptr(GError) error = nullptr;
    const platform::ObjectHandle<VdoStream> video(vdo_stream_new(settings.get(), nullptr, &error));
    if (video == nullptr)
        return refuse(error->message);
    vdo_stream_start(video.get(), nullptr);
    host_video::replay_advance(0.0);
    VdoBuffer* picture = vdo_stream_get_buffer(video.get(), nullptr);
    if (picture == nullptr)
        return refuse("The video source " + host_video::statistics().source + " holds no picture that can be decoded");
    vdo_stream_buffer_unref(video.get(), &picture, nullptr);
    return 0;
}
