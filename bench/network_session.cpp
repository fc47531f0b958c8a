#include "bench/network_session.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>

namespace {

void need(bool done, const std::string& what, const larodError* error = nullptr) {
    if (!done)
        throw std::runtime_error(what + ": " + (error != nullptr ? error->msg : "failed"));
}

/** An anonymous file; the picture is a coloured ramp until it is given another. */
int file_of(std::size_t bytes) {
    const int fd = memfd_create("tensor", MFD_CLOEXEC);
    need(fd >= 0, "memfd_create");
    std::vector<unsigned char> content(bytes);
    for (std::size_t i = 0; i < bytes; ++i)
        content[i] = static_cast<unsigned char>(i / 3 % 256);
    need(pwrite(fd, content.data(), bytes, 0) == static_cast<ssize_t>(bytes), "pwrite");
    return fd;
}

} // namespace

NetworkSession::NetworkSession(const std::string& model, std::size_t picture_bytes) {
    const int model_file = open(model.c_str(), O_RDONLY | O_CLOEXEC);
    need(model_file >= 0, "open " + model + " (model/make.sh makes it)");
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

NetworkSession::~NetworkSession() {
    larodDestroyJobRequest(&m_request);
    larodDestroyTensors(&m_inputs, m_input_count);
    larodDestroyTensors(&m_outputs, m_output_count);
    larodDeleteModel(m_connection, m_model, nullptr);
    larodDestroyModel(&m_model);
    larodDisconnect(&m_connection, nullptr);
    for (const int fd : m_files)
        close(fd);
}

void NetworkSession::run() {
    for (const int fd : m_files)
        lseek(fd, 0, SEEK_SET);
    need(larodRunInference(m_connection, m_request, &m_error), "larodRunInference", m_error);
}

void NetworkSession::bind(larodTensor* tensor, std::size_t bytes) {
    m_files.push_back(file_of(bytes));
    need(larodSetTensorFd(tensor, m_files.back(), &m_error), "larodSetTensorFd", m_error);
}
