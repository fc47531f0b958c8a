// One inference of the default model through the larod interface, with 1 and 2 threads.
//     inference_bench [--benchmark_...]; model/make.sh makes the model first.

#include "larod.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr std::size_t picture_bytes = 960 * 540 * 3;

void need(bool done, const char* what, larodError* error = nullptr) {
    if (!done)
        throw std::runtime_error(std::string(what) + ": " + (error != nullptr ? error->msg : "failed"));
}

/** An anonymous file; the picture is a coloured ramp, since an inference takes as long whatever it sees. */
int file_of(std::size_t bytes) {
    const int fd = memfd_create("tensor", MFD_CLOEXEC);
    need(fd >= 0, "memfd_create");
    std::vector<unsigned char> content(bytes);
    for (std::size_t i = 0; i < bytes; ++i)
        content[i] = static_cast<unsigned char>(i / 3 % 256);
    need(pwrite(fd, content.data(), bytes, 0) == static_cast<ssize_t>(bytes), "pwrite");
    return fd;
}

/** The set-up that the application makes, and its release. */
class Session {
  public:
    explicit Session(int threads) {
        setenv("KORVEX_LAROD_THREADS", std::to_string(threads).c_str(), 1);
        const int model_file = open(KORVEX_MODEL_DIR "/detect_960_540.tflite", O_RDONLY | O_CLOEXEC);
        need(model_file >= 0, "open " KORVEX_MODEL_DIR "/detect_960_540.tflite (model/make.sh makes it)");
        need(larodConnect(&m_connection, &m_error), "larodConnect", m_error);
        need(larodSetChip(m_connection, LAROD_CHIP_TFLITE_CPU, &m_error), "larodSetChip", m_error);
        m_model = larodLoadModel(m_connection, model_file, LAROD_ACCESS_PUBLIC, "bench", &m_error);
        close(model_file);
        need(m_model != nullptr, "larodLoadModel", m_error);
        m_inputs = larodCreateModelInputs(m_model, &m_input_count, &m_error);
        m_outputs = larodCreateModelOutputs(m_model, &m_output_count, &m_error);
        need(m_inputs != nullptr && m_outputs != nullptr, "larodCreateModel...", m_error);
        need(m_input_count == 1 && m_output_count == 4, "the model's tensors");
        bind(m_inputs[0], picture_bytes);
        for (std::size_t i = 0; i < m_output_count; ++i)
            bind(m_outputs[i], 0);
        m_request = larodCreateInferenceRequest(m_model, m_inputs, m_input_count, m_outputs, m_output_count, &m_error);
        need(m_request != nullptr, "larodCreateInferenceRequest", m_error);
    }

    ~Session() {
        larodDestroyJobRequest(&m_request);
        larodDestroyTensors(&m_inputs, m_input_count);
        larodDestroyTensors(&m_outputs, m_output_count);
        larodDeleteModel(m_connection, m_model, nullptr);
        larodDestroyModel(&m_model);
        larodDisconnect(&m_connection, nullptr);
        for (const int fd : m_files)
            close(fd);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void run() {
        for (const int fd : m_files)
            lseek(fd, 0, SEEK_SET);
        need(larodRunInference(m_connection, m_request, &m_error), "larodRunInference", m_error);
    }

  private:
    void bind(larodTensor* tensor, std::size_t bytes) {
        m_files.push_back(file_of(bytes));
        need(larodSetTensorFd(tensor, m_files.back(), &m_error), "larodSetTensorFd", m_error);
    }

    larodConnection* m_connection = nullptr;
    larodModel* m_model = nullptr;
    larodTensor** m_inputs = nullptr;
    larodTensor** m_outputs = nullptr;
    std::size_t m_input_count = 0;
    std::size_t m_output_count = 0;
    larodInferenceRequest* m_request = nullptr;
    larodError* m_error = nullptr;
    std::vector<int> m_files;
};

void inference(benchmark::State& state) {
    Session session(static_cast<int>(state.range(0)));
    session.run(); // The first run sets the kernels up.
    for (auto _ : state)
        session.run();
}

void set_up(benchmark::State& state) {
    for (auto _ : state)
        const Session session(2);
}

BENCHMARK(inference)->ArgName("threads")->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(7);
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
