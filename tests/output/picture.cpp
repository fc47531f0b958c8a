#include "tests/output/picture.h"

#include <algorithm>
#include <cstdio>

picture::picture(int width, int height)
    : m_surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height)),
      m_cairo(cairo_create(m_surface.get())) {}

picture::picture(const std::string& png_file)
    : m_surface(cairo_image_surface_create_from_png(png_file.c_str())), m_cairo(cairo_create(m_surface.get())) {}

int picture::width() const {
    return cairo_image_surface_get_width(m_surface.get());
}

int picture::height() const {
    return cairo_image_surface_get_height(m_surface.get());
}

uint32_t* picture::row(int y) const {
    cairo_surface_flush(m_surface.get());
    return reinterpret_cast<uint32_t*>(cairo_image_surface_get_data(m_surface.get()) +
                                       y * cairo_image_surface_get_stride(m_surface.get()));
}

uint32_t picture::at(int x, int y) const {
    return row(y)[x];
}

void picture::fill(int x1, int y1, int x2, int y2, uint32_t color) {
    for (int y = std::max(y1, 0); y < std::min(y2, height()); ++y)
        for (int x = std::max(x1, 0); x < std::min(x2, width()); ++x)
            row(y)[x] = color;
    cairo_surface_mark_dirty(m_surface.get());
}

bool picture::save(const std::string& png_file) const {
    return cairo_surface_write_to_png(m_surface.get(), png_file.c_str()) == CAIRO_STATUS_SUCCESS;
}

std::string picture::difference_to(const picture& other) const {
    return difference_to(other, height());
}

std::string picture::difference_to(const picture& other, int end) const {
    if (width() != other.width() || height() != other.height())
        return "The pictures are " + std::to_string(width()) + "x" + std::to_string(height()) + " and " +
               std::to_string(other.width()) + "x" + std::to_string(other.height()) + ".";
    int differing = 0;
    std::string first;
    for (int y = 0; y < end; ++y) {
        if (std::equal(row(y), row(y) + width(), other.row(y)))
            continue;
        for (int x = 0; x < width(); ++x)
            if (at(x, y) != other.at(x, y) && differing++ == 0) {
                char text[80];
                snprintf(text, sizeof text, "(%d, %d) is %08X and %08X", x, y, at(x, y), other.at(x, y));
                first = text;
            }
    }
    return differing == 0 ? "" : std::to_string(differing) + " pixels differ; " + first + ".";
}
