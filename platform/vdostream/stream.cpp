#include "platform/vdostream/stream.h"

#include "platform/vdostream/channel.h"
#include "platform/vdostream/error.h"
#include "platform/vdostream/registry.h"
#include "vdo-stream.h"

#include <utility>

namespace vdostream {

VdoStream* make_stream(const StreamSettings& settings, VdoBufferFinalizer finalizer,
                       std::shared_ptr<VideoSource> source) {
    return make_object<VdoStream>("KorvexVdoStream",
                                  std::make_unique<StreamState>(settings, finalizer, std::move(source)));
}

namespace {

bool is_given(const VdoStream* stream, GError** error) {
    return stream != nullptr || fail(error, Failure::bad_argument, "No video stream was given");
}

bool is_given(const VdoBuffer* buffer, GError** error) {
    return buffer != nullptr || fail(error, Failure::bad_argument, "No video buffer was given");
}

} // namespace
} // namespace vdostream

using vdostream::Failure;
using vdostream::is_given;
using vdostream::nothing;

VdoStream* vdo_stream_new(VdoMap* settings, VdoBufferFinalizer finalizer, GError** error) {
    if (settings == nullptr)
        return nothing(error, Failure::bad_argument, "No stream settings were given");
    vdostream::StreamSettings wanted{};
    std::string why;
    if (!vdostream::read_settings(*settings->state, wanted, why))
        return nothing(error, Failure::bad_setting, why);
    std::shared_ptr<vdostream::VideoSource> source = vdostream::acquire_source(why);
    if (source == nullptr)
        return nothing(error, Failure::no_source, why);
    return vdostream::make_stream(wanted, finalizer, std::move(source));
}

gboolean vdo_stream_attach(VdoStream* stream, VdoMap* /*intent*/, GError** error) {
    return is_given(stream, error) ? TRUE : FALSE;
}

VdoMap* vdo_stream_get_settings(VdoStream* stream, GError** error) {
    if (!is_given(stream, error))
        return nullptr;
    const vdostream::StreamSettings& settings = stream->state->settings();
    VdoMap* map = vdo_map_new();
    vdo_map_set_uint32(map, "channel", vdostream::only_channel);
    vdo_map_set_uint32(map, "format", VDO_FORMAT_YUV);
    vdo_map_set_uint32(map, "width", static_cast<guint32>(settings.shape.width));
    vdo_map_set_uint32(map, "height", static_cast<guint32>(settings.shape.height));
    vdo_map_set_uint32(map, "rotation", static_cast<guint32>(settings.shape.rotation));
    vdo_map_set_uint32(map, "framerate", stream->state->framerate());
    vdo_map_set_uint32(map, "buffer.strategy",
                       settings.explicit_buffers ? VDO_BUFFER_STRATEGY_EXPLICIT : VDO_BUFFER_STRATEGY_INFINITE);
    return map;
}

gboolean vdo_stream_start(VdoStream* stream, GError** error) {
    if (!is_given(stream, error))
        return FALSE;
    stream->state->start();
    return TRUE;
}

void vdo_stream_stop(VdoStream* stream) {
    if (stream != nullptr)
        stream->state->stop();
}

VdoBuffer* vdo_stream_get_buffer(VdoStream* stream, GError** error) {
    return is_given(stream, error) ? stream->state->get_buffer(error) : nullptr;
}

gboolean vdo_stream_buffer_unref(VdoStream* stream, VdoBuffer** buffer, GError** error) {
    if (!is_given(stream, error) || !is_given(buffer == nullptr ? nullptr : *buffer, error) ||
        !stream->state->unref(*buffer, error))
        return FALSE;
    *buffer = nullptr;
    return TRUE;
}

VdoBuffer* vdo_stream_buffer_alloc(VdoStream* stream, gpointer opaque, GError** error) {
    return is_given(stream, error) ? stream->state->alloc(opaque, error) : nullptr;
}

gboolean vdo_stream_buffer_enqueue(VdoStream* stream, VdoBuffer* buffer, GError** error) {
    return is_given(stream, error) && is_given(buffer, error) && stream->state->enqueue(buffer, error) ? TRUE : FALSE;
}

gpointer vdo_buffer_get_data(VdoBuffer* buffer) {
    return buffer == nullptr ? nullptr : buffer->state->bytes.get();
}
