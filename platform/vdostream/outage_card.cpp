#include "platform/vdostream/outage_card.h"

#include "platform/common/cairo.h"

#include <algorithm>
#include <string>
#include <utility>

namespace vdostream {
namespace {

using platform::CairoContext;
using platform::CairoSurface;

// Video's range of luma: a dark card with light letters.
constexpr std::uint8_t background = 48;
constexpr int contrast = 160;

constexpr int least_side = 64; // pixels; a source that says less of itself is not believed

std::string words(std::time_t since) {
    std::tm local{};
    localtime_r(&since, &local);
    char time[sizeof "00:00"] = "";
    std::strftime(time, sizeof time, "%H:%M", &local);
    return std::string("No video since ") + time;
}

/** The text, centred, as coverage: a byte a pixel. */
CairoSurface lettered(const std::string& text, int width, int height) {
    CairoSurface surface(cairo_image_surface_create(CAIRO_FORMAT_A8, width, height));
    const CairoContext context(cairo_create(surface.get()));
    cairo_select_font_face(context.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context.get(), std::min(width / 16.0, height / 6.0));
    cairo_text_extents_t size;
    cairo_text_extents(context.get(), text.c_str(), &size);
    cairo_move_to(context.get(), (width - size.width) / 2 - size.x_bearing,
                  (height - size.height) / 2 - size.y_bearing);
    cairo_show_text(context.get(), text.c_str());
    cairo_surface_flush(surface.get());
    return surface;
}

class CardPicture : public Picture {
  public:
    explicit CardPicture(std::shared_ptr<OutageCard> card) : m_card(std::move(card)) {}

  protected:
    bool native(Nv12View& view) override {
        view = m_card->pixels();
        return true;
    }

  private:
    const std::shared_ptr<OutageCard> m_card;
};

} // namespace

OutageCard::OutageCard(int width, int height, std::time_t since)
    : m_width(std::max(width, least_side) / 2 * 2), m_height(std::max(height, least_side) / 2 * 2), m_since(since) {}

Nv12View OutageCard::pixels() {
    std::call_once(m_drawn, [this] { draw(); });
    const std::uint8_t* chroma = m_nv12.data() + static_cast<std::ptrdiff_t>(m_width) * m_height;
    return {m_nv12.data(), m_width, chroma, m_width, m_width, m_height};
}

void OutageCard::draw() {
    const auto width = static_cast<std::size_t>(m_width);
    const auto height = static_cast<std::size_t>(m_height);
    m_nv12.assign(width * height, background);
    m_nv12.resize(width * height * 3 / 2, 128); // no colour
    const CairoSurface letters = lettered(words(m_since), m_width, m_height);
    const unsigned char* coverage = cairo_image_surface_get_data(letters.get());
    if (coverage == nullptr)
        return; // no memory for letters: a plain card
    const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(letters.get()));
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x)
            m_nv12[y * width + x] = static_cast<std::uint8_t>(background + contrast * coverage[y * stride + x] / 255);
}

std::shared_ptr<Picture> picture_of(std::shared_ptr<OutageCard> card) {
    return std::make_shared<CardPicture>(std::move(card));
}

} // namespace vdostream
