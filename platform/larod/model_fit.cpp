#include "platform/larod/model_fit.h"

#include "platform/larod/checksum.h"
#include "platform/larod/descriptor_io.h"
#include "platform/larod/engine_location.h"
#include "platform/larod/interpreter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace korvex::larod {

namespace {

std::string type_name(tflite::Type type) {
    switch (type) {
    case tflite::Type::float32:
        return "float32";
    case tflite::Type::int32:
        return "int32";
    case tflite::Type::uint8:
        return "uint8";
    case tflite::Type::int64:
        return "int64";
    case tflite::Type::int8:
        return "int8";
    default:
        return "type " + std::to_string(static_cast<int>(type));
    }
}

std::string described(const TensorView& tensor) {
    std::string text = type_name(tensor.type) + " [";
    for (std::size_t axis = 0; axis < tensor.shape.size(); ++axis)
        text += (axis == 0 ? "" : ", ") + std::to_string(tensor.shape[axis]);
    return text + "]";
}

bool read_file(const std::string& path, std::vector<std::byte>& bytes, std::string& why) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        why = std::string("Cannot open the file: ") + std::strerror(errno) + ".";
        return false;
    }
    const bool read = read_whole(fd, bytes, why);
    close(fd);
    return read;
}

} // namespace

std::string why_model_does_not_fit(const std::string& path, int width, int height) {
    std::string why;
    std::vector<std::byte> bytes;
    if (!read_file(path, bytes, why))
        return why;
    for (const std::string& file : {path, engine_location()}) {
        why = why_file_is_damaged(file);
        if (!why.empty())
            return why;
    }
    const auto library = tflite::TfliteLibrary::open(engine_location(), why);
    if (library == nullptr)
        return why;
    const auto model = Interpreter::load(library, std::move(bytes), why);
    if (model == nullptr)
        return why;

    const TensorView needed{tflite::Type::uint8, {1, height, width, 3}, 0, nullptr};
    if (model->input_count() != 1)
        return "The model has " + std::to_string(model->input_count()) + " inputs; needed is one, " +
               described(needed) + ".";
    const TensorView input = model->input(0);
    if (input.type != needed.type || input.shape != needed.shape)
        return "The model's input is " + described(input) + "; needed is " + described(needed) +
               ", an RGB picture of " + std::to_string(width) + "x" + std::to_string(height) + ".";
    const std::string wanted = "; needed are four of float32: boxes, classes, scores, number of objects.";
    if (model->output_count() != 4)
        return "The model has " + std::to_string(model->output_count()) + " outputs" + wanted;
    for (std::size_t i = 0; i < model->output_count(); ++i) {
        const TensorView output = model->output(i);
        if (output.type != tflite::Type::float32)
            return "The model's output " + std::to_string(i) + " is " + described(output) + wanted;
    }
    return {};
}

} // namespace korvex::larod
