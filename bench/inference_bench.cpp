// One inference through the larod interface: the default models with 1 and 2 threads, and one that computes nothing,
// whose time is what the service costs. cpu_ms is the processor time of application, service and worker together; the
// memory of each is what it has touched (RSS), in MB.
//     inference_bench [--benchmark_...]; model/make.sh makes the models first.

#include "bench/network_session.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

/** A process and those that it started, directly or not; the parent first. */
std::vector<std::string> family_of(const std::string& process) {
    std::vector<std::string> family{process};
    for (const auto& thread : fs::directory_iterator("/proc/" + process + "/task")) {
        std::ifstream list(thread.path() / "children");
        for (std::string child; list >> child;) {
            const auto others = family_of(child);
            family.insert(family.end(), others.begin(), others.end());
        }
    }
    return family;
}

double processor_seconds(const std::string& process) {
    std::ifstream stat("/proc/" + process + "/stat");
    std::string line;
    std::getline(stat, line);
    std::istringstream fields(line.substr(line.rfind(')') + 2));
    std::string skipped;
    for (int i = 0; i < 11; ++i)
        fields >> skipped;
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double megabytes(const std::string& process) {
    std::ifstream statm("/proc/" + process + "/statm");
    double pages = 0;
    statm >> pages >> pages;
    return pages * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

double family_seconds() {
    double sum = 0;
    for (const std::string& process : family_of(std::to_string(getpid())))
        sum += processor_seconds(process);
    return sum;
}

void measure(benchmark::State& state, const std::string& model, std::size_t picture_bytes) {
    setenv("KORVEX_LAROD_THREADS", std::to_string(state.range(0)).c_str(), 1);
    NetworkSession session(model, picture_bytes);
    session.run(); // The first run sets the kernels up.
    const double before = family_seconds();
    for (auto _ : state)
        session.run();
    state.counters["cpu_ms"] =
        benchmark::Counter((family_seconds() - before) * 1000, benchmark::Counter::kAvgIterations);
    const auto family = family_of(std::to_string(getpid()));
    if (family.size() != 3)
        throw std::runtime_error("there are more processes than application, service and worker");
    state.counters["app_mb"] = megabytes(family[0]);
    state.counters["service_mb"] = megabytes(family[1]);
    state.counters["worker_mb"] = megabytes(family[2]);
}

constexpr std::size_t default_picture = 960 * 540 * 3;

void accurate(benchmark::State& state) {
    measure(state, KORVEX_MODEL_DIR "/detect_960_540.tflite", default_picture);
}

void fast(benchmark::State& state) {
    measure(state, KORVEX_MODEL_DIR "/fast/detect_960_540.tflite", default_picture);
}

void nothing(benchmark::State& state) {
    measure(state, KORVEX_TEST_MODELS "/outputs_4.tflite", 12);
}

void set_up(benchmark::State& state) {
    for (auto _ : state)
        const NetworkSession session(KORVEX_MODEL_DIR "/detect_960_540.tflite", default_picture);
}

void threads(benchmark::internal::Benchmark* bench) {
    bench->ArgName("threads")->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);
}

BENCHMARK(accurate)->Apply(threads);
BENCHMARK(fast)->Apply(threads);
BENCHMARK(nothing)->ArgName("threads")->Arg(1)->Unit(benchmark::kMicrosecond)->UseRealTime()->Repetitions(5);
BENCHMARK(set_up)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int count, char** arguments) {
    benchmark::Initialize(&count, arguments);
    try {
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "inference_bench: %s\n", problem.what());
        return 1;
    }
    return 0;
}
