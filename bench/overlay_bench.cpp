// What the render callback costs beside the cairo calls that it cannot do without: 12 findings on a stream of
// 1920x1080.

#include "app/app_main.h"
#include "output/overlay_manager.h"

#include <benchmark/benchmark.h>

#include <array>
#include <memory>

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kFindings = 12;
constexpr int kOverlay = 1;

struct canvas_deleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
};

/** A cleared picture for each redraw, as the overlay service makes it; clearing is not measured. */
class canvas {
  public:
    cairo_t* begin() {
        m_cairo.reset(cairo_create(m_surface.get()));
        cairo_set_operator(m_cairo.get(), CAIRO_OPERATOR_CLEAR);
        cairo_paint(m_cairo.get());
        cairo_set_operator(m_cairo.get(), CAIRO_OPERATOR_OVER);
        return m_cairo.get();
    }

  private:
    std::unique_ptr<cairo_surface_t, canvas_deleter> m_surface{
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kWidth, kHeight)};
    std::unique_ptr<cairo_t, canvas_deleter> m_cairo;
};

/** A grid of cars, so that the analysed 960x540 and the stream differ by a factor of about two. */
one_find finding(int number) {
    one_find made;
    made.detect = {.X = 20 + (number % 4) * 230,
                   .Y = 20 + (number / 4) * 170,
                   .W = 140,
                   .H = 90,
                   .ClassId = 2,
                   .Confidence = 0.9F};
    made.footing = static_cast<footings>(1 + number % 4);
    made.seconds = 7 * number;
    return made;
}

void prepare(bool filled) {
    g_StreamWidth = 960;
    g_StreamHeight = 540;
    OverlayManager::m_OverlayID = kOverlay;
    SetOverlayStreamResolution(filled ? 0 : kWidth, filled ? 0 : kHeight);
    SetAnonymizedStreamResolution(filled ? kWidth : 0, filled ? kHeight : 0);
    g_findings.clear();
    for (int i = 0; i < kFindings; ++i)
        g_findings.push_back(finding(i));
}

void render_callback(benchmark::State& state) {
    prepare(state.range(0) != 0);
    axoverlay_stream_data stream{1, 1, kWidth, kHeight, 0, FALSE, AXOVERLAY_STREAM_H264};
    canvas picture;
    for (auto _ : state) {
        state.PauseTiming();
        cairo_t* cairo = picture.begin();
        state.ResumeTiming();
        OverlayManager::renderCallback(cairo, kOverlay, &stream, AXOVERLAY_TOP_LEFT, 0, 0, kWidth, kHeight,
                                       &g_OverlayInfo);
    }
}

// The same pictures by bare calls: places, colours and texts are worked out beforehand.

struct bare_rectangle {
    int x1, y1, x2, y2;
};

struct bare_finding {
    std::array<bare_rectangle, 3> rectangles;
    int count;
    double green;
    const uint32_t* tile;
    int cross_x, cross_y;
    std::string label;
    std::string time;
    int label_x, label_top;
    int time_x, time_top;
};

bare_finding bare(const one_find& from) {
    const float scale = 1079.0F / 539.0F;
    const float offset = (959.0F - 1919.0F / scale) / 2;
    const int x = static_cast<int>((static_cast<float>(from.detect.X) - offset) * scale);
    const int y = static_cast<int>(static_cast<float>(from.detect.Y) * scale);
    const int w = static_cast<int>(static_cast<float>(from.detect.W) * scale);
    const int h = static_cast<int>(static_cast<float>(from.detect.H) * scale);
    bare_finding made{};
    made.count = from.footing <= in_AOI1_lengthily ? 1 : from.footing - 1;
    for (int i = 0; i < made.count; ++i)
        made.rectangles[static_cast<size_t>(i)] = {x - 10 * i, y - 10 * i, x + w + 10 * i, y + h + 10 * i};
    made.green = from.footing == in_AOI1_briefly ? 1 : 0;
    made.tile = from.footing == in_AOI1_briefly ? yellowCheckerboardPatternData : redCheckerboardPatternData;
    made.cross_x = x + w / 2;
    made.cross_y = y + h / 2;
    made.label = location_controller_larod::ClassIDToLabel(from.detect.ClassId);
    made.time = OverlayManager::secondsToTimeText(from.seconds);
    made.label_x = x + 2;
    made.label_top = y + 5;
    made.time_x = x + w / 2;
    made.time_top = y + h + 10 + 5 * (made.count - 1);
    return made;
}

void text(cairo_t* cairo, const std::string& what, double x, double y) {
    cairo_move_to(cairo, x, y);
    cairo_set_source_rgba(cairo, 1, 1, 1, 1);
    cairo_text_path(cairo, what.c_str());
    cairo_fill_preserve(cairo);
    cairo_set_source_rgba(cairo, 0, 0, 0, 1);
    cairo_set_line_width(cairo, 1);
    cairo_stroke(cairo);
}

void draw(cairo_t* cairo, const bare_finding& what, bool filled) {
    for (int i = 0; i < what.count; ++i) {
        const bare_rectangle& place = what.rectangles[static_cast<size_t>(i)];
        cairo_set_source_rgba(cairo, 1, what.green, 0, 1);
        cairo_set_operator(cairo, CAIRO_OPERATOR_SOURCE);
        cairo_set_line_width(cairo, 5);
        cairo_move_to(cairo, place.x1, place.y1);
        cairo_line_to(cairo, place.x2, place.y1);
        cairo_line_to(cairo, place.x2, place.y2);
        cairo_line_to(cairo, place.x1, place.y2);
        cairo_line_to(cairo, place.x1, place.y1);
        if (!filled) {
            cairo_stroke(cairo);
            continue;
        }
        cairo_stroke_preserve(cairo);
        auto* pixels = reinterpret_cast<unsigned char*>(const_cast<uint32_t*>(what.tile));
        cairo_surface_t* surface = cairo_image_surface_create_for_data(pixels, CAIRO_FORMAT_ARGB32, 8, 8, 32);
        cairo_pattern_t* pattern = cairo_pattern_create_for_surface(surface);
        cairo_surface_destroy(surface);
        cairo_pattern_set_extend(pattern, CAIRO_EXTEND_REPEAT);
        cairo_pattern_set_filter(pattern, CAIRO_FILTER_NEAREST);
        cairo_set_source(cairo, pattern);
        cairo_fill(cairo);
        cairo_pattern_destroy(pattern);
    }
    cairo_set_source_rgba(cairo, 1, 1, 1, 1);
    cairo_set_operator(cairo, CAIRO_OPERATOR_SOURCE);
    cairo_set_line_width(cairo, 5);
    cairo_move_to(cairo, what.cross_x, what.cross_y - 5);
    cairo_line_to(cairo, what.cross_x, what.cross_y + 5);
    cairo_stroke(cairo);
    cairo_move_to(cairo, what.cross_x - 5, what.cross_y);
    cairo_line_to(cairo, what.cross_x + 5, what.cross_y);
    cairo_stroke(cairo);
    cairo_text_extents_t size;
    cairo_text_extents(cairo, what.label.c_str(), &size);
    text(cairo, what.label, what.label_x, what.label_top + size.height);
    cairo_text_extents(cairo, what.time.c_str(), &size);
    text(cairo, what.time, what.time_x - size.width / 2, what.time_top + size.height);
}

void bare_cairo(benchmark::State& state) {
    const bool filled = state.range(0) != 0;
    std::array<bare_finding, kFindings> findings;
    for (int i = 0; i < kFindings; ++i)
        findings[static_cast<size_t>(i)] = bare(finding(i));
    canvas picture;
    for (auto _ : state) {
        state.PauseTiming();
        cairo_t* cairo = picture.begin();
        state.ResumeTiming();
        cairo_set_antialias(cairo, CAIRO_ANTIALIAS_BEST);
        cairo_select_font_face(cairo, "Arial", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
        cairo_set_font_size(cairo, 32);
        for (const bare_finding& each : findings)
            draw(cairo, each, filled);
    }
}

} // namespace

BENCHMARK(render_callback)->ArgName("filled")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(bare_cairo)->ArgName("filled")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
