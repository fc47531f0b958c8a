#include "platform/street/street_scene.h"

#include "base/thread_safety.h"
#include "platform/street/figures.h"

#include <libyuv.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <random>
#include <utility>

namespace host_scene {
namespace {

/** Rows and columns of the noise tile; a power of two. */
constexpr std::size_t tile_size = 512;

/** Sensor noise to add to luma, in the byte arithmetic of the plane: -1 is 255. Luma's 16..235 leaves room for it. */
std::vector<std::uint8_t> make_noise() {
    std::mt19937 random(7);
    std::vector<std::uint8_t> tile(tile_size * tile_size);
    // The sum of a few small dice is nearly Gaussian, with a standard deviation of about 2 steps of 256.
    std::generate(tile.begin(), tile.end(), [&random] {
        const auto dice = random();
        const int sum = static_cast<int>(dice % 4U + dice / 4U % 4U + dice / 16U % 4U) - 4;
        return static_cast<std::uint8_t>(sum);
    });
    return tile;
}

int class_of(Kind what) {
    constexpr std::array<int, 4> classes = {2, 7, 5, 0}; // in the kinds' order
    return classes[static_cast<std::size_t>(what)];
}

double sane(double seconds) {
    constexpr double latest = 1e9;
    return seconds > 0.0 ? std::min(seconds, latest) : 0.0;
}

} // namespace

struct StreetScene::PictureParts {
    int width;
    int height;
    double scale_x;
    double scale_y;
    CairoSurface background;
    CairoSurface canvas;
    std::map<std::pair<Kind, PaintJob>, VehicleSprites> vehicles GUARDED_BY(lock);
    std::vector<std::uint8_t> noise = make_noise();
    annotated_mutex lock;

    PictureParts(int picture_width, int picture_height)
        : width(picture_width), height(picture_height), scale_x(static_cast<double>(picture_width) / design_width),
          scale_y(static_cast<double>(picture_height) / design_height),
          background(cairo_image_surface_create(CAIRO_FORMAT_RGB24, picture_width, picture_height)),
          canvas(cairo_image_surface_create(CAIRO_FORMAT_RGB24, picture_width, picture_height)) {
        const CairoContext context(cairo_create(background.get()));
        cairo_scale(context.get(), scale_x, scale_y);
        draw_street(context.get());
        cairo_surface_flush(background.get());
    }

    const VehicleSprites& sprites_of(const Actor& vehicle) REQUIRES(lock) {
        const auto key = std::make_pair(vehicle.what, vehicle.paint);
        auto found = vehicles.find(key);
        if (found == vehicles.end())
            found = vehicles.emplace(key, make_vehicle(vehicle.what, vehicle.paint, scale_x, scale_y)).first;
        return found->second;
    }

    const std::uint8_t* draw(double seconds) REQUIRES(lock) {
        std::memcpy(cairo_image_surface_get_data(canvas.get()), cairo_image_surface_get_data(background.get()),
                    static_cast<std::size_t>(stride()) * static_cast<std::size_t>(height));
        cairo_surface_mark_dirty(canvas.get());
        const CairoContext context(cairo_create(canvas.get()));
        cairo_scale(context.get(), scale_x, scale_y);
        for (const Actor& each : actors_at(sane(seconds))) {
            if (each.what == Kind::person)
                paint_person(context.get(), each);
            else
                paint_vehicle(context.get(), sprites_of(each), each);
        }
        cairo_surface_flush(canvas.get());
        return cairo_image_surface_get_data(canvas.get());
    }

    void add_noise(double seconds, std::uint8_t* luma) const {
        // Another corner of the tile for each 25th of a second.
        const auto frame = static_cast<std::uint64_t>(std::llround(sane(seconds) * frames_a_second));
        const std::uint64_t mixed = (frame + 1) * 0x9E3779B97F4A7C15U;
        const std::size_t first_row = mixed >> 40U;
        const std::size_t first_column = mixed >> 52U;
        const auto columns = static_cast<std::size_t>(width);
        for (std::size_t row = 0; row < static_cast<std::size_t>(height); ++row) {
            const std::uint8_t* noise_row = noise.data() + (row + first_row) % tile_size * tile_size;
            std::uint8_t* out = luma + row * columns;
            std::size_t from = first_column % tile_size;
            for (std::size_t column = 0; column < columns; from = 0) {
                const std::size_t run = std::min(columns - column, tile_size - from);
                for (std::size_t i = 0; i < run; ++i)
                    out[column + i] = static_cast<std::uint8_t>(out[column + i] + noise_row[from + i]);
                column += run;
            }
        }
    }

    int stride() const { return cairo_image_surface_get_stride(canvas.get()); }
};

StreetScene::StreetScene(int width, int height) : m_parts(std::make_unique<PictureParts>(width, height)) {}
StreetScene::~StreetScene() = default;

int StreetScene::width() const {
    return m_parts->width;
}
int StreetScene::height() const {
    return m_parts->height;
}

void StreetScene::draw_nv12(double seconds, std::uint8_t* pixels) {
    const annotated_lock guard(m_parts->lock);
    std::uint8_t* chroma = pixels + std::ptrdiff_t{width()} * height();
    libyuv::ARGBToNV12(m_parts->draw(seconds), m_parts->stride(), pixels, width(), chroma, width(), width(), height());
    m_parts->add_noise(seconds, pixels);
}

void StreetScene::draw_rgb(double seconds, std::uint32_t* pixels) {
    const annotated_lock guard(m_parts->lock);
    const std::uint8_t* drawn = m_parts->draw(seconds);
    for (std::ptrdiff_t row = 0; row < height(); ++row)
        std::memcpy(pixels + row * width(), drawn + row * m_parts->stride(),
                    static_cast<std::size_t>(width()) * sizeof *pixels);
}

std::vector<TruthObject> StreetScene::truth(double seconds) const {
    std::vector<TruthObject> objects;
    for (const Actor& each : actors_at(sane(seconds))) {
        const double half = length_of(each.what) * each.scale / 2.0;
        const double left = std::max(each.x - half, 0.0);
        const double right = std::min(each.x + half, static_cast<double>(design_width));
        const double top = each.ground - height_of(each.what) * each.scale;
        objects.push_back({each.id, class_of(each.what), left * m_parts->scale_x, top * m_parts->scale_y,
                           (right - left) * m_parts->scale_x, (each.ground - top) * m_parts->scale_y});
    }
    return objects;
}

} // namespace host_scene
