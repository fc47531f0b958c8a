#pragma once

#include "vdo-buffer.h"
#include "vdo-map.h"
#include "vdo-types.h"

G_BEGIN_DECLS

/**
 * A stream with the settings asked for: "channel", "format", "width", "height" (pixels, before rotation), "rotation"
 * (degrees), "framerate" (frames a second), "buffer.strategy" (VdoBufferStrategy). NULL with `error` set when a setting
 * cannot be honoured.
 */
VdoStream* vdo_stream_new(VdoMap* settings, VdoBufferFinalizer finalizer, GError** error);
gboolean vdo_stream_attach(VdoStream* stream, VdoMap* intent, GError** error);
/** The settings in effect; the caller unreferences the map. */
VdoMap* vdo_stream_get_settings(VdoStream* stream, GError** error);
gboolean vdo_stream_start(VdoStream* stream, GError** error);
void vdo_stream_stop(VdoStream* stream);
/** Blocks for the next frame. */
VdoBuffer* vdo_stream_get_buffer(VdoStream* stream, GError** error);
/** Gives a frame back and sets *buffer to NULL. */
gboolean vdo_stream_buffer_unref(VdoStream* stream, VdoBuffer** buffer, GError** error);
/** A buffer of the stream's frame size, for the explicit strategy. */
VdoBuffer* vdo_stream_buffer_alloc(VdoStream* stream, gpointer opaque, GError** error);
/** Hands a buffer to the stream to be filled. */
gboolean vdo_stream_buffer_enqueue(VdoStream* stream, VdoBuffer* buffer, GError** error);

G_END_DECLS
