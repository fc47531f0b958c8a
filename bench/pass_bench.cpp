// pass_bench [FINDINGS]: what a pass costs beside the network, at 1280x720 with one viewer of the 1280x720 stream, on
// the built-in scene in its own pace: medians over 300 passes, of the whole and of its steps, with 1 to 12 findings
// (3). Run it with bench/in_camera. Status 1 when the median is 3 ms or more.

#include "app/app_main.h"
#include "bench/viewer.h"
#include "platform/axevent/host_events.h"
#include "platform/axoverlay/host_streams.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int passes = 300;
/** Longer than a frame of the scene is shown, so that no pass waits for one; short of the application's 200 ms. */
constexpr std::chrono::milliseconds pause{100};
constexpr double most_ms = 3.0;
constexpr int most_findings = 12;

int findings = 3;

/** The wall's time, and the processor's for this thread: on a busy machine only the second says something. */
struct Moment {
    std::chrono::steady_clock::time_point wall = std::chrono::steady_clock::now();
    double processor_ms = thread_ms();

    static double thread_ms() {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }
};

class Step {
  public:
    explicit Step(const char* name) : m_name(name) {}

    template <typename Work>
    void time(const Work& work) {
        const Moment before;
        work();
        const Moment after;
        m_wall.push_back(std::chrono::duration<double, std::milli>(after.wall - before.wall).count());
        m_processor.push_back(after.processor_ms - before.processor_ms);
    }

    double wall_median() { return median(m_wall); }
    void print() { std::printf("%-34s %9.3f %14.3f\n", m_name, median(m_wall), median(m_processor)); }

  private:
    static double median(std::vector<double>& values) {
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        return *middle;
    }

    const char* m_name;
    std::vector<double> m_wall;
    std::vector<double> m_processor;
};

void start() {
    setenv("KORVEX_VDO_SOURCE", "scene", 1);
    setenv("KORVEX_OVERLAY_LISTEN", "127.0.0.1:0", 1);
    init_signals();
    init_parameter_controller();
    g_ConfigParams.b_EulaAccepted = true;
    init_ai();
    init_overlay_manager();
    host_events::set_listener([](const host_events::Occurrence&) {});
    init_event_manager();
    init_logic(g_ConfigParams.i_MaxDisappeared);
    if (g_LocationController.m_OutputScores == nullptr || g_StreamWidth != 1280 || g_StreamHeight != 720) {
        g_Logger.flush();
        throw std::runtime_error("the detector is not set up:\n" + g_Logger.getPlainLogContents());
    }
}

void measure() {
    const bench::Viewer viewer(host_overlay::listen_address(), "/stream/1280x720.mjpg");
    do_one_analysis();
    viewer.wait_for_pictures();

    Step whole("the whole pass");
    Step look("frame, conversion, decoding");
    Step think("identities, area, dwell, alerts");
    Step draw("overlay on the watched stream");
    for (int pass = 0; pass < passes; ++pass) {
        std::this_thread::sleep_for(pause);
        whole.time([] { do_one_analysis(); });
        std::this_thread::sleep_for(pause);
        look.time([] {
            g_LocationController.larod_prepare_data_and_do_ai();
            DetectionProcessing::get_detections();
        });
        think.time([] {
            DetectionProcessing::monitor_AOI();
            DetectionProcessing::examine_and_update_findings();
            DetectionProcessing::manage_events();
        });
        draw.time([] { g_overlayManager->renderFindings(); });
    }
    std::printf("%d findings, one viewer, 1280x720; medians of %d passes without the network\n", findings, passes);
    std::printf("%-34s %9s %14s\n", "", "wall ms", "processor ms");
    for (Step* step : {&look, &think, &draw, &whole})
        step->print();
    if (whole.wall_median() >= most_ms) {
        throw std::runtime_error("the whole pass takes " + std::to_string(most_ms) +
                                 " ms or more; is the machine quiet?");
    }
}

} // namespace

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker's own names
bool __wrap_larodRunInference(larodConnection* conn, const larodInferenceRequest* request, larodError** error);

/** In the network's place: cars, buses and vans side by side, the first one in the middle of the area. */
bool __wrap_larodRunInference(larodConnection*, const larodInferenceRequest*, larodError**) {
    constexpr std::array<float, 3> classes = {2.0F, 5.0F, 7.0F};
    location_controller_larod& detector = g_LocationController;
    for (int row = 0; row < detector.m_MaxResults; ++row) {
        const bool middle = row == 0;
        const float left = middle ? 0.4F : 0.01F + 0.08F * static_cast<float>(row);
        const float top = middle ? 0.6F : 0.1F + 0.2F * static_cast<float>(row % 2);
        const std::array<float, 4> edges = {top, left, top + (middle ? 0.15F : 0.1F), left + (middle ? 0.2F : 0.07F)};
        std::copy(edges.begin(), edges.end(), detector.m_OutputLocations + row * 4);
        detector.m_OutputClasses[row] = classes[static_cast<std::size_t>(row) % classes.size()];
        detector.m_OutputScores[row] = row < findings ? 0.7F : 0.0F;
    }
    return true;
}
// NOLINTEND(bugprone-reserved-identifier)
}

int main(int argc, char** argv) {
    findings = argc > 1 ? std::atoi(argv[1]) : findings;
    if (argc > 2 || findings < 1 || findings > most_findings) {
        std::fputs("Usage: pass_bench [FINDINGS], 1 to 12\n", stderr);
        return 2;
    }
    try {
        start();
        measure();
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "pass_bench: %s\n", problem.what());
        return 1;
    }
    return 0;
}
