// Tracking, area test, findings and alerts of a pass; what is required is 20 microseconds for 12 detections and tracks.
//     tracking_bench [--benchmark_...]    times it
//     tracking_bench --street             prints the passes of the benchmark "street", for bench/tracking_peer.sh

#include "config/config_params.h"
#include "output/event_manager.h"
#include "scene/area_of_interest.h"
#include "scene/detection_processing.h"
#include "scene/tracker.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <limits>
#include <random>
#include <string_view>
#include <vector>

namespace {

constexpr int kCar = 2;
constexpr size_t kDetections = 12; // as many as the network gives
constexpr size_t kStreetPasses = 10000;

/** Everything switched on: an area of eight points, three zones, three alerts. */
void set_up_scene() {
    g_ConfigParams = {};
    g_ConfigParams.b_DetectCars = true;
    g_ConfigParams.b_Alert1 = g_ConfigParams.b_Alert2 = g_ConfigParams.b_Alert3 = true;
    g_ConfigParams.i_MinNumberOfPeopleForTrigger = 1;
    g_ConfigParams.i_Alert1ThreshSeconds = 5;
    g_ConfigParams.i_Alert2ThreshSeconds = 10;
    g_ConfigParams.i_Alert3ThreshSeconds = 15;
    g_AreaofInterest.set_detection(
        1, {{100, 0}, {1100, 0}, {1280, 100}, {1280, 600}, {1100, 720}, {100, 720}, {0, 600}, {0, 100}});
    for (const int zone : {1, 2, 3}) {
        const int left = 300 * zone;
        g_AreaofInterest.set_exclusion(zone, {{left, 200}, {left + 100, 200}, {left + 100, 400}, {left, 400}});
        g_AreaofInterest.set_exclusion_active(zone, true);
    }
    g_Tracker.m_Objects.clear();
    g_Tracker.m_Disappeared.clear();
    g_Tracker.init(std::numeric_limits<int>::max());
    g_Id2Time.clear();
    if (g_EventManager == nullptr)
        g_EventManager = new EventManager; // as in the application, to the end of the process
}

void pass(const t_detection_list& detections) {
    g_detections = detections;
    DetectionProcessing::monitor_AOI();
    DetectionProcessing::examine_and_update_findings();
    DetectionProcessing::manage_events();
}

detection car_at(int x, int y) {
    return {x, y, 60, 40, kCar, 0.9F};
}

/** Twelve detections of twelve of the objects; the others are out of sight and remembered. */
void tracks(benchmark::State& state) {
    set_up_scene();
    const auto count = static_cast<int>(state.range(0));
    t_detection_list seen;
    for (int i = 0; i < count; ++i) {
        // The ones that are not seen are far below the picture, and so far from every detection.
        const detection car = i < static_cast<int>(kDetections) ? car_at(100 * i, 50 * i) : car_at(i, 5000);
        g_Tracker.register_one(car);
        if (i < static_cast<int>(kDetections))
            seen.push_back(car);
    }
    for (auto _ : state)
        pass(seen);
    if (g_Tracker.m_Objects.size() != static_cast<size_t>(count))
        state.SkipWithError("the number of tracks changed");
}
BENCHMARK(tracks)->Arg(12)->Arg(25)->Arg(50)->Arg(100)->Arg(250)->Arg(500)->Arg(1000)->Unit(benchmark::kMicrosecond);

/** Twelve cars on twelve lanes, each at its own speed, that the detector loses now and then. The same on every call. */
const std::vector<t_detection_list>& street_passes() {
    static const std::vector<t_detection_list> passes = [] {
        std::mt19937 random(1);
        const auto below = [&random](unsigned int limit) { return static_cast<int>(random() % limit); };
        std::vector<t_detection_list> made(kStreetPasses);
        for (size_t i = 0; i < made.size(); ++i)
            for (int lane = 0; lane < static_cast<int>(kDetections); ++lane) {
                const int x = (static_cast<int>(i) * (3 + lane) + 97 * lane) % 1280;
                if (below(50) != 0)
                    made[i].push_back(car_at(x + below(5), 55 * lane + below(5)));
            }
        return made;
    }();
    return passes;
}

void street(benchmark::State& state) {
    const std::vector<t_detection_list>& passes = street_passes();
    set_up_scene();
    g_Tracker.set_max_disappeared(5);
    size_t next = 0;
    for (auto _ : state) {
        pass(passes[next]);
        next = (next + 1) % passes.size();
    }
}
BENCHMARK(street);

/** A pass a line, in the form in which the peer takes them: x and y are a box's middle. */
void print_street() {
    const std::vector<t_detection_list>& passes = street_passes();
    for (size_t i = 0; i < passes.size(); ++i) {
        std::printf("{\"frame\":%zu,\"detections\":[", i);
        const char* separator = "";
        for (const detection& car : passes[i]) {
            const auto [x, y] = car.get_centroid();
            std::printf(R"(%s{"x":%d,"y":%d,"w":%d,"h":%d,"confidence":90,"name":"car"})", separator, x, y, car.W,
                        car.H);
            separator = ",";
        }
        std::puts("]}");
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string_view(argv[1]) == "--street") {
        print_street();
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
