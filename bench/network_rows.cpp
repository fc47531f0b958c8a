// What a network sees in a video, before anything else looks at it: for every 200 ms of the video that
// KORVEX_VDO_SOURCE names one line for each row of at least 0.25: second, class, score, left, top, right, bottom
// (pixels of 960x540).
//     network_rows MODEL; network_match.py compares two of them.

#include "bench/network_session.h"
#include "platform/vdostream/host_video.h"
#include "vdo-stream.h"
#include "vision/imgconverter.h"

#include <glib-object.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <vector>

namespace {

constexpr unsigned width = 1280;
constexpr unsigned height = 720;
constexpr unsigned input_width = 960;
constexpr unsigned input_height = 540;
constexpr float least_score = 0.25F;
constexpr double step = 0.2;
constexpr std::size_t rows = 50;

VdoStream* video() {
    setenv("KORVEX_VDO_REPLAY", "1", 1);
    VdoMap* settings = vdo_map_new();
    vdo_map_set_uint32(settings, "channel", 1);
    vdo_map_set_uint32(settings, "format", VDO_FORMAT_YUV);
    vdo_map_set_uint32(settings, "width", width);
    vdo_map_set_uint32(settings, "height", height);
    GError* error = nullptr;
    VdoStream* stream = vdo_stream_new(settings, nullptr, &error);
    g_object_unref(settings);
    if (stream == nullptr || vdo_stream_start(stream, &error) == FALSE)
        throw std::runtime_error(error->message);
    return stream;
}

template <std::size_t Count>
std::array<float, Count> values_of(int file) {
    std::array<float, Count> values{};
    if (pread(file, values.data(), sizeof values, 0) != static_cast<ssize_t>(sizeof values))
        throw std::runtime_error("an output is too short");
    return values;
}

void print(const NetworkSession& network, double seconds) {
    const auto boxes = values_of<rows * 4>(network.output(0));
    const auto classes = values_of<rows>(network.output(1));
    const auto scores = values_of<rows>(network.output(2));
    for (std::size_t i = 0; i < rows; ++i) {
        const float* box = boxes.data() + 4 * i;
        if (scores[i] >= least_score)
            std::printf("%.1f %.0f %.4f %.1f %.1f %.1f %.1f\n", seconds, classes[i], scores[i], box[1] * input_width,
                        box[0] * input_height, box[3] * input_width, box[2] * input_height);
    }
}

void run(const char* model) {
    NetworkSession network(model, std::size_t{input_width} * input_height * 3);
    VdoStream* stream = video();
    std::vector<std::uint8_t> picture(std::size_t{input_width} * input_height * 3);
    for (int pass = 0; host_video::replay_advance(pass * step); ++pass) {
        VdoBuffer* buffer = vdo_stream_get_buffer(stream, nullptr);
        const auto* frame = static_cast<const std::uint8_t*>(vdo_buffer_get_data(buffer));
        if (!convertCropScaleU8yuvToRGB(frame, width, height, picture.data(), input_width, input_height) ||
            pwrite(network.picture(), picture.data(), picture.size(), 0) != static_cast<ssize_t>(picture.size()))
            throw std::runtime_error("no picture");
        vdo_stream_buffer_unref(stream, &buffer, nullptr);
        network.run();
        print(network, pass * step);
    }
    g_object_unref(stream);
}

} // namespace

int main(int count, char** arguments) {
    try {
        if (count != 2)
            throw std::runtime_error("it takes a model");
        run(arguments[1]);
        return 0;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "network_rows: %s\n", problem.what());
        return 1;
    }
}
