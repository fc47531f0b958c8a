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

} // namespace vdostream

using vdostream::Code;
using vdostream::guarded;
using vdostream::StreamState;

namespace {

/** What an entry point does with its stream. */
template <typename Body>
auto with(VdoStream* stream, GError** error, Body body) {
    return guarded(error, [&] {
        vdostream::need(stream != nullptr, Code::bad_argument, "No video stream was given");
        return body(*stream->state);
    });
}

void need_buffer(const VdoBuffer* buffer) {
    vdostream::need(buffer != nullptr, Code::bad_argument, "No video buffer was given");
}

} // namespace

VdoStream* vdo_stream_new(VdoMap* settings, VdoBufferFinalizer finalizer, GError** error) {
    return guarded(error, [&] {
        vdostream::need(settings != nullptr, Code::bad_argument, "No stream settings were given");
        const auto wanted = vdostream::read_settings(*settings->state);
        return vdostream::make_stream(wanted, finalizer, vdostream::acquire_source());
    });
}

gboolean vdo_stream_attach(VdoStream* stream, VdoMap* /*intent*/, GError** error) {
    return with(stream, error, [](StreamState&) { return TRUE; });
}

VdoMap* vdo_stream_get_settings(VdoStream* stream, GError** error) {
    return with(stream, error, [](const StreamState& state) {
        const vdostream::StreamSettings& settings = state.settings();
        VdoMap* map = vdo_map_new();
        vdo_map_set_uint32(map, "channel", vdostream::only_channel);
        vdo_map_set_uint32(map, "format", VDO_FORMAT_YUV);
        vdo_map_set_uint32(map, "width", static_cast<guint32>(settings.shape.width));
        vdo_map_set_uint32(map, "height", static_cast<guint32>(settings.shape.height));
        vdo_map_set_uint32(map, "rotation", static_cast<guint32>(settings.shape.rotation));
        vdo_map_set_uint32(map, "framerate", state.framerate());
        vdo_map_set_uint32(map, "buffer.strategy",
                           settings.explicit_buffers ? VDO_BUFFER_STRATEGY_EXPLICIT : VDO_BUFFER_STRATEGY_INFINITE);
        return map;
    });
}

gboolean vdo_stream_start(VdoStream* stream, GError** error) {
    return with(stream, error, [](StreamState& state) {
        state.start();
        return TRUE;
    });
}

void vdo_stream_stop(VdoStream* stream) {
    if (stream != nullptr)
        stream->state->stop();
}

VdoBuffer* vdo_stream_get_buffer(VdoStream* stream, GError** error) {
    return with(stream, error, [](StreamState& state) { return state.get_buffer(); });
}

gboolean vdo_stream_buffer_unref(VdoStream* stream, VdoBuffer** buffer, GError** error) {
    return with(stream, error, [&](StreamState& state) {
        need_buffer(buffer == nullptr ? nullptr : *buffer);
        state.unref(*buffer);
        *buffer = nullptr;
        return TRUE;
    });
}

VdoBuffer* vdo_stream_buffer_alloc(VdoStream* stream, gpointer opaque, GError** error) {
    return with(stream, error, [&](StreamState& state) { return state.alloc(opaque); });
}

gboolean vdo_stream_buffer_enqueue(VdoStream* stream, VdoBuffer* buffer, GError** error) {
    return with(stream, error, [&](StreamState& state) {
        need_buffer(buffer);
        state.enqueue(buffer);
        return TRUE;
    });
}

gpointer vdo_buffer_get_data(VdoBuffer* buffer) {
    return buffer == nullptr ? nullptr : buffer->state->bytes.get();
}
