#include "platform/axoverlay/annotated_video.h"

#include "platform/axoverlay/resolutions.h"
#include "platform/axoverlay/service.h"

#include <libyuv.h>

#include <cstring>
#include <stdexcept>

namespace host_overlay {
namespace {

using platform::reason;

/** Gives the buffer back when the picture has been copied. */
class BorrowedBuffer {
  public:
    BorrowedBuffer(VdoStream* stream, GError** error)
        : m_stream(stream), m_buffer(vdo_stream_get_buffer(stream, error)) {}
    ~BorrowedBuffer() {
        if (m_buffer != nullptr)
            vdo_stream_buffer_unref(m_stream, &m_buffer, nullptr);
    }
    BorrowedBuffer(const BorrowedBuffer&) = delete;
    BorrowedBuffer& operator=(const BorrowedBuffer&) = delete;

    const std::uint8_t* data() const { return static_cast<const std::uint8_t*>(vdo_buffer_get_data(m_buffer)); }

  private:
    VdoStream* m_stream;
    VdoBuffer* m_buffer;
};

void copy(const std::uint8_t* nv12, bool mirrored, Nv12Picture& picture) {
    if (!mirrored) {
        std::memcpy(picture.bytes.data(), nv12, picture.bytes.size());
        return;
    }
    libyuv::NV12Mirror(nv12, picture.width, nv12 + picture.luma_size(), picture.width, picture.luma(), picture.width,
                       picture.chroma(), picture.width, picture.width, picture.height);
}

/** What is shown where nobody is hidden any more. */
OverlayImage cover_card(int width, int height) {
    OverlayImage card(width, height);
    const CairoContext context = card.context();
    cairo_set_source_rgb(context.get(), 0.15, 0.15, 0.15);
    cairo_paint(context.get());
    const char* words = "Not shown: the analysis stands still";
    cairo_select_font_face(context.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context.get(), width / 24.0);
    cairo_text_extents_t size;
    cairo_text_extents(context.get(), words, &size);
    cairo_set_source_rgb(context.get(), 0.9, 0.9, 0.9);
    cairo_move_to(context.get(), (width - size.width) / 2 - size.x_bearing, height / 2.0);
    cairo_show_text(context.get(), words);
    return card;
}

} // namespace

AnnotatedVideo::AnnotatedVideo(const Geometry& geometry, axoverlay_stream_type type)
    : m_geometry(geometry), m_target(Service::instance().open_stream(geometry, type)) {
    m_picture.resize(geometry.picture_width(), geometry.picture_height());
}

AnnotatedVideo::~AnnotatedVideo() {
    stop();
    Service::instance().close_stream(m_target);
}

void AnnotatedVideo::start() {
    const platform::ObjectHandle<VdoMap> settings(vdo_map_new());
    vdo_map_set_uint32(settings.get(), "channel", only_camera);
    vdo_map_set_uint32(settings.get(), "format", VDO_FORMAT_YUV);
    vdo_map_set_uint32(settings.get(), "width", static_cast<guint32>(m_geometry.width));
    vdo_map_set_uint32(settings.get(), "height", static_cast<guint32>(m_geometry.height));
    vdo_map_set_uint32(settings.get(), "rotation", static_cast<guint32>(m_geometry.rotation));
    vdo_map_set_uint32(settings.get(), "buffer.strategy", VDO_BUFFER_STRATEGY_INFINITE);

    g_autoptr(GError) error = nullptr;
    platform::ObjectHandle<VdoStream> stream(vdo_stream_new(settings.get(), nullptr, &error));
    if (stream == nullptr || vdo_stream_attach(stream.get(), nullptr, &error) == FALSE ||
        vdo_stream_start(stream.get(), &error) == FALSE)
        throw std::runtime_error("the camera's video does not start: " + reason(error));
    const annotated_lock lock(m_lock);
    m_stream = std::move(stream);
    if (m_stopped)
        vdo_stream_stop(m_stream.get());
}

bool AnnotatedVideo::next(std::string& why) {
    g_autoptr(GError) error = nullptr;
    {
        const BorrowedBuffer buffer(m_stream.get(), &error);
        const std::uint8_t* nv12 = buffer.data();
        if (nv12 == nullptr) {
            why = "the camera delivers no video: " + reason(error);
            return false;
        }
        copy(nv12, m_geometry.mirrored, m_picture);
    }
    m_overlay_settled = m_target->blend_onto(m_picture);
    if (Service::instance().hides(m_geometry)) {
        if (!m_cover)
            m_cover = cover_card(m_picture.width, m_picture.height);
        m_cover->blend_onto(m_picture);
        m_overlay_settled = true;
    }
    return true;
}

void AnnotatedVideo::stop() {
    const annotated_lock lock(m_lock);
    if (m_stream != nullptr && !m_stopped)
        vdo_stream_stop(m_stream.get());
    m_stopped = true;
}

} // namespace host_overlay
