#pragma once

#include <glib.h>

G_BEGIN_DECLS

enum axoverlay_backend_type { AXOVERLAY_CAIRO_IMAGE_BACKEND = 0 };

enum axoverlay_position_type {
    AXOVERLAY_TOP_LEFT = 0,
    AXOVERLAY_TOP_RIGHT,
    AXOVERLAY_BOTTOM_LEFT,
    AXOVERLAY_BOTTOM_RIGHT,
    AXOVERLAY_CUSTOM_NORMALIZED,
    AXOVERLAY_CUSTOM_SOURCE
};

enum axoverlay_anchor_point { AXOVERLAY_ANCHOR_TOP_LEFT = 0, AXOVERLAY_ANCHOR_CENTER };

enum axoverlay_colorspace {
    AXOVERLAY_COLORSPACE_ARGB32 = 0,
    AXOVERLAY_COLORSPACE_4BIT_PALETTE,
    AXOVERLAY_COLORSPACE_1BIT_PALETTE
};

enum axoverlay_stream_type {
    AXOVERLAY_STREAM_JPEG = 0,
    AXOVERLAY_STREAM_H264,
    AXOVERLAY_STREAM_H265,
    AXOVERLAY_STREAM_YCBCR,
    AXOVERLAY_STREAM_VOUT,
    AXOVERLAY_STREAM_OTHER
};

/** Width and height in pixels as delivered, before rotation (degrees). */
struct axoverlay_stream_data {
    gint id;
    gint camera;
    gint width;
    gint height;
    gint rotation;
    gboolean is_mirrored;
    enum axoverlay_stream_type type;
};

/** With the cairo image backend the rendering context is a cairo_t* on an ARGB32 image of the stream's size. */
typedef void (*axoverlay_render_function)(gpointer rendering_context, gint id, struct axoverlay_stream_data* stream,
                                          enum axoverlay_position_type postype, gfloat overlay_x, gfloat overlay_y,
                                          gint overlay_width, gint overlay_height, gpointer user_data);
typedef void (*axoverlay_adjustment_function)(gint id, struct axoverlay_stream_data* stream,
                                              enum axoverlay_position_type* postype, gfloat* overlay_x,
                                              gfloat* overlay_y, gint* overlay_width, gint* overlay_height,
                                              gpointer user_data);
typedef gboolean (*axoverlay_stream_select_function)(gint camera, gint width, gint height, gint rotation,
                                                     gboolean is_mirrored, enum axoverlay_stream_type type);

struct axoverlay_settings {
    axoverlay_render_function render_callback;
    axoverlay_adjustment_function adjustment_callback;
    axoverlay_stream_select_function select_callback;
    enum axoverlay_backend_type backend;
};

struct axoverlay_overlay_data {
    enum axoverlay_position_type postype;
    enum axoverlay_anchor_point anchor_point;
    gfloat x;
    gfloat y;
    gint width;
    gint height;
    enum axoverlay_colorspace colorspace;
    gboolean scale_to_stream;
};

gboolean axoverlay_is_backend_supported(enum axoverlay_backend_type backend);
void axoverlay_init_axoverlay_settings(struct axoverlay_settings* settings);
gboolean axoverlay_init(struct axoverlay_settings* settings, GError** error);
void axoverlay_cleanup(void);
gint axoverlay_get_max_resolution_width(gint camera, GError** error);
gint axoverlay_get_max_resolution_height(gint camera, GError** error);
void axoverlay_init_overlay_data(struct axoverlay_overlay_data* data);
gint axoverlay_create_overlay(struct axoverlay_overlay_data* data, gpointer user_data, GError** error);
void axoverlay_destroy_overlay(gint id, GError** error);
void axoverlay_redraw(GError** error);

G_END_DECLS
