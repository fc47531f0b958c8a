#include "host/options.h"

#include "platform/common/settings.h"

#include <glib.h>

#include <cmath>
#include <stdexcept>

namespace console {
namespace {

constexpr int largest_side = 16384;

bool is_side(int pixels) {
    return pixels > 0 && pixels <= largest_side;
}

void read_size(const std::string& text, Options& options) {
    const auto size = platform::parse_size(text);
    if (!size || !is_side(size->width) || !is_side(size->height))
        throw std::runtime_error("--stream is a size like 1280x720, not \"" + text + "\"");
    options.width = size->width;
    options.height = size->height;
}

} // namespace

Options parse_options(int argc, char** argv, bool replay) {
    g_autofree gchar* record = nullptr;
    g_autofree gchar* stream = nullptr;
    double seconds = HUGE_VAL;
    const GOptionEntry recording[] = {
        {"record", 0, 0, G_OPTION_ARG_FILENAME, &record, "Write the annotated video to an MP4 file", "FILE"},
        {"stream", 0, 0, G_OPTION_ARG_STRING, &stream, "Which of the camera's streams that is (1280x720)", "WxH"},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
    const GOptionEntry replaying[] = {
        {"seconds", 0, 0, G_OPTION_ARG_DOUBLE, &seconds, "End after so many seconds of video", "N"},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
    g_autoptr(GOptionContext) context = g_option_context_new(nullptr);
    g_option_context_add_main_entries(context, recording, nullptr);
    if (replay)
        g_option_context_add_main_entries(context, replaying, nullptr);
    g_autoptr(GError) error = nullptr;
    if (g_option_context_parse(context, &argc, &argv, &error) == FALSE)
        throw std::runtime_error(error->message);
    if (argc > 1)
        throw std::runtime_error(std::string("\"") + argv[1] + "\" is no option; --help lists them");
    if (!(seconds > 0.0))
        throw std::runtime_error("--seconds must be more than 0");
    Options options;
    options.seconds = seconds;
    if (record != nullptr)
        options.record = record;
    if (stream != nullptr)
        read_size(stream, options);
    return options;
}

} // namespace console
