#pragma once

#include "platform/larod/failure.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace korvex::larod::test {

/** Of a function that is to throw a Failure with such a sentence. */
template <typename Sentence>
auto fails_with(const Sentence& sentence) {
    return testing::Throws<Failure>(testing::Field(&Failure::sentence, sentence));
}

inline std::vector<std::byte> read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("Cannot read " + path + "; model/make.sh makes the default model and the engine.");
    const std::vector<char> chars((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::vector<std::byte> bytes(chars.size());
    if (!chars.empty())
        std::memcpy(bytes.data(), chars.data(), chars.size());
    return bytes;
}

/** The path of a model that make_test_models.py writes. */
inline std::string test_model(const std::string& name) {
    return std::string(KORVEX_TEST_MODELS) + "/" + name + ".tflite";
}

inline std::string default_model(const std::string& size = "960_540") {
    return std::string(KORVEX_MODEL_DIR) + "/detect_" + size + ".tflite";
}

inline std::vector<float> floats(const std::vector<std::byte>& bytes) {
    std::vector<float> numbers(bytes.size() / sizeof(float));
    std::memcpy(numbers.data(), bytes.data(), numbers.size() * sizeof(float));
    return numbers;
}

/** A file in memory with these bytes; the caller closes it. */
inline int memory_file(const std::vector<std::byte>& bytes) {
    const int fd = memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (pwrite(fd, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        throw std::runtime_error("a file in memory cannot be written");
    return fd;
}

} // namespace korvex::larod::test
