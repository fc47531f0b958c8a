// korvex_settings FILE PERIOD ROTATION: prints the parameters, NAME=VALUE on a line each, that a settings file from the
// pages holds, for a camera with this period of a pass in milliseconds and this rotation. Status 1 with a sentence
// about a file that is none.

#include "detection/location_controller_larod.h"
#include "host/files.h"
#include "host/settings_file.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

/** The analysed picture, as the application chooses it for the networks that it is made for. */
console::SettingsTarget target_of(int period_ms, const std::string& rotation) {
    constexpr unsigned network_width = 960;
    constexpr unsigned network_height = 540;
    unsigned width = 0;
    unsigned height = network_height;
    if (!g_LocationController.choose_resolution(network_width, network_height, &width, &height))
        throw std::runtime_error("the camera's picture sizes are not known");
    console::SettingsTarget target{static_cast<int>(width), static_cast<int>(height), period_ms};
    if (rotation == "90" || rotation == "270")
        std::swap(target.width, target.height);
    return target;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fputs("Usage: korvex_settings FILE PERIOD ROTATION\n", stderr);
        return 2;
    }
    try {
        const auto target = target_of(std::atoi(argv[2]), argv[3]);
        for (const std::string& parameter : console::parameters_in(console::contents_of(argv[1]), target))
            std::puts(parameter.c_str());
        return 0;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "The settings file \"%s\" cannot be used: %s.\n", argv[1], problem.what());
        return 1;
    }
}
