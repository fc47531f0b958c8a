#pragma once

#include "platform/larod/engine_location.h"
#include "platform/larod/interpreter.h"

#include <cstddef>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace korvex::larod::test {

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

inline std::shared_ptr<const tflite::TfliteLibrary> engine() {
    std::string why;
    auto library = tflite::TfliteLibrary::open(engine_location(), why);
    if (library == nullptr)
        throw std::runtime_error(why);
    return library;
}

inline std::shared_ptr<Interpreter> load(const std::string& path) {
    std::string why;
    auto interpreter = Interpreter::load(engine(), read_file(path), why);
    if (interpreter == nullptr)
        throw std::runtime_error(path + ": " + why);
    return interpreter;
}

inline std::vector<float> floats(const std::vector<std::byte>& bytes) {
    std::vector<float> numbers(bytes.size() / sizeof(float));
    std::memcpy(numbers.data(), bytes.data(), numbers.size() * sizeof(float));
    return numbers;
}

inline std::vector<float> floats(const TensorView& tensor) {
    const auto* data = static_cast<const std::byte*>(tensor.data);
    return floats(std::vector<std::byte>(data, data + tensor.bytes));
}

/** Fills the first input; gives false with the reason when the model does not run. */
inline bool run_on(Interpreter& interpreter, const std::vector<std::byte>& picture, std::string& why) {
    const TensorView input = interpreter.input(0);
    if (input.bytes != picture.size())
        throw std::runtime_error("the picture has another size than the model's input");
    std::memcpy(input.data, picture.data(), picture.size());
    return interpreter.run(why);
}

} // namespace korvex::larod::test
