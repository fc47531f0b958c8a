#pragma once

#include <cairo.h>

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

/** A picture as the overlay service hands it out: ARGB32, premultiplied, cleared to nothing. */
class picture {
  public:
    picture(int width, int height);
    /** Of a file written by `save`; empty, 0 x 0, when it cannot be read. */
    explicit picture(const std::string& png_file);

    cairo_t* cairo() const { return m_cairo.get(); }
    int width() const;
    int height() const;

    uint32_t at(int x, int y) const;
    /** The columns from x1 and rows from y1 up to, and without, x2 and y2. Parts outside the picture are left out. */
    void fill(int x1, int y1, int x2, int y2, uint32_t color);

    bool save(const std::string& png_file) const;

    /** Where two pictures of one size differ first, as a sentence; empty when they do not. */
    std::string difference_to(const picture& other) const;
    /** The same, looking at the rows above `end` only. */
    std::string difference_to(const picture& other, int end) const;

  private:
    struct deleter {
        void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
        void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
    };

    uint32_t* row(int y) const;

    std::unique_ptr<cairo_surface_t, deleter> m_surface;
    std::unique_ptr<cairo_t, deleter> m_cairo;
};
