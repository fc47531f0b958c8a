#pragma once

#include <glib-object.h>

G_BEGIN_DECLS

/** String-keyed settings. A GObject: released with g_object_unref. */
typedef struct _VdoMap VdoMap;
/** One video input of the camera. A GObject: released with g_object_unref. */
typedef struct _VdoChannel VdoChannel;
/** One running or stopped stream of frames. A GObject: released with g_object_unref. */
typedef struct _VdoStream VdoStream;
/** One frame. A GObject: given back with vdo_stream_buffer_unref. */
typedef struct _VdoBuffer VdoBuffer;

/** Pixels. */
typedef struct {
    guint32 width;
    guint32 height;
} VdoResolution;

/** `count` resolutions; released with g_free. */
typedef struct {
    gsize count;
    G_GNUC_EXTENSION VdoResolution resolutions[];
} VdoResolutionSet;

/** VDO_FORMAT_YUV is NV12, tightly packed: width x height luma bytes, then width x height / 2 chroma, U before V. */
typedef enum {
    VDO_FORMAT_NONE = -1,
    VDO_FORMAT_H264 = 0,
    VDO_FORMAT_H265 = 1,
    VDO_FORMAT_JPEG = 2,
    VDO_FORMAT_YUV = 3
} VdoFormat;

/** EXPLICIT: the application allocates and enqueues every buffer itself. INFINITE: the service does. */
typedef enum {
    VDO_BUFFER_STRATEGY_NONE = 0,
    VDO_BUFFER_STRATEGY_EXPLICIT = 3,
    VDO_BUFFER_STRATEGY_INFINITE = 4
} VdoBufferStrategy;

typedef void (*VdoBufferFinalizer)(gpointer);

G_END_DECLS
