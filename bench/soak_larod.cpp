#include "bench/soak_platform.h"

#include <larod.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <stdexcept>
#include <vector>

// The service's handles.
struct larodConnection {};
struct larodModel {};
struct larodTensor {
    int fd = -1;
};
struct larodInferenceRequest {};

namespace {

constexpr std::size_t rows = 12;

struct Outputs {
    std::array<float, rows * 4> locations{};
    std::array<float, rows> classes{};
    std::array<float, rows> scores{};
};

std::vector<Outputs> recorded;
std::size_t next = 0;
long inference_count = 0;

larodConnection connection;
larodModel model;
larodInferenceRequest request;
std::array<larodTensor, 1> inputs;
std::array<larodTensor, 4> outputs;

template <std::size_t count>
larodTensor** list_of(std::array<larodTensor, count>& tensors, size_t* number) {
    static std::array<larodTensor*, count> list;
    for (std::size_t i = 0; i < count; ++i)
        list[i] = &tensors[i];
    *number = count;
    return list.data();
}

template <typename Values>
bool write_tensor(const larodTensor& tensor, const Values& values) {
    return pwrite(tensor.fd, values.data(), sizeof values, 0) == static_cast<ssize_t>(sizeof values);
}

} // namespace

void soak_platform::load_outputs(const std::string& path) {
    std::ifstream file(path);
    for (std::size_t count = 0; file >> count && count <= rows;) {
        Outputs pass;
        for (std::size_t row = 0; row < count; ++row) {
            file >> pass.classes[row] >> pass.scores[row];
            for (std::size_t edge = 0; edge < 4; ++edge)
                file >> pass.locations[row * 4 + edge];
        }
        recorded.push_back(pass);
    }
    if (recorded.empty() || !file.eof())
        throw std::runtime_error("there are no recorded outputs in " + path);
}

long soak_platform::inferences() {
    return inference_count;
}

bool larodConnect(larodConnection** conn, larodError**) {
    *conn = &connection;
    return true;
}

bool larodDisconnect(larodConnection** conn, larodError**) {
    *conn = nullptr;
    return true;
}

bool larodSetChip(larodConnection*, larodChip, larodError**) {
    return true;
}

larodModel* larodLoadModel(larodConnection*, int, larodAccess, const char*, larodError**) {
    return &model;
}

bool larodDeleteModel(larodConnection*, larodModel*, larodError**) {
    return true;
}

void larodDestroyModel(larodModel** handle) {
    *handle = nullptr;
}

larodTensor** larodCreateModelInputs(const larodModel*, size_t* num_tensors, larodError**) {
    return list_of(inputs, num_tensors);
}

larodTensor** larodCreateModelOutputs(const larodModel*, size_t* num_tensors, larodError**) {
    return list_of(outputs, num_tensors);
}

bool larodSetTensorFd(larodTensor* tensor, int fd, larodError**) {
    tensor->fd = fd;
    return true;
}

void larodDestroyTensors(larodTensor*** tensors, size_t) {
    *tensors = nullptr;
}

larodInferenceRequest* larodCreateInferenceRequest(const larodModel*, larodTensor**, size_t, larodTensor**, size_t,
                                                   larodError**) {
    return &request;
}

bool larodRunInference(larodConnection*, const larodInferenceRequest*, larodError**) {
    const Outputs& pass = recorded[next];
    next = (next + 1) % recorded.size();
    ++inference_count;
    return write_tensor(outputs[0], pass.locations) && write_tensor(outputs[1], pass.classes) &&
           write_tensor(outputs[2], pass.scores);
}

void larodDestroyJobRequest(larodInferenceRequest** handle) {
    *handle = nullptr;
}

void larodClearError(larodError** error) {
    if (error != nullptr)
        *error = nullptr;
}
