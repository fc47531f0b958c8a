#include "larod.h"

#include "platform/larod/descriptor_io.h"
#include "platform/larod/engine_location.h"
#include "platform/larod/interpreter.h"
#include "platform/larod/larod_error.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using korvex::larod::Code;
using korvex::larod::fail;
using korvex::larod::Interpreter;
using korvex::larod::set_error;
using korvex::larod::TensorView;
using korvex::tflite::TfliteLibrary;

namespace {

/** What the handles of one tensor and of the requests that use it share. */
struct Binding {
    std::shared_ptr<Interpreter> owner;
    std::size_t index;
    bool is_input;
    /** -1 before a descriptor is bound, and after the tensor has been destroyed. */
    std::atomic<int> fd{-1};
};

using Bindings = std::vector<std::shared_ptr<Binding>>;

} // namespace

struct larodConnection {
    std::shared_ptr<const TfliteLibrary> engine;
    bool has_chip = false;
    /** The models that the service holds for this connection. */
    std::vector<std::shared_ptr<Interpreter>> models;

    bool holds(const std::shared_ptr<Interpreter>& model) const {
        return std::find(models.begin(), models.end(), model) != models.end();
    }
};

struct larodModel {
    std::shared_ptr<Interpreter> interpreter;
};

struct larodTensor {
    std::shared_ptr<Binding> binding;
};

struct larodInferenceRequest {
    std::shared_ptr<Interpreter> model;
    Bindings inputs;
    Bindings outputs;
};

namespace {

/** Runs an entry point's body; no exception leaves the C interface. */
template <typename Result, typename Body>
Result guarded(larodError** error, Result on_failure, Body body) noexcept {
    try {
        return body();
    } catch (const std::exception& problem) {
        set_error(error, Code::memory, std::string("The request could not be carried out: ") + problem.what());
        return on_failure;
    }
}

/** Null with the error set. */
larodTensor** make_tensors(const larodModel* model, bool inputs, size_t* count, larodError** error) {
    if (model == nullptr || count == nullptr) {
        set_error(error, Code::argument, "Tensors need a model and a place for their number.");
        return nullptr;
    }
    const auto& interpreter = model->interpreter;
    const std::size_t number = inputs ? interpreter->input_count() : interpreter->output_count();
    std::vector<std::unique_ptr<larodTensor>> made(number);
    for (std::size_t i = 0; i < number; ++i) {
        made[i] = std::make_unique<larodTensor>();
        made[i]->binding = std::make_shared<Binding>();
        made[i]->binding->owner = interpreter;
        made[i]->binding->index = i;
        made[i]->binding->is_input = inputs;
    }
    auto list = std::make_unique<larodTensor*[]>(std::max<std::size_t>(number, 1));
    for (std::size_t i = 0; i < number; ++i)
        list[i] = made[i].release();
    *count = number;
    return list.release();
}

/** The tensors of a request, in the model's order; false with the error set when they are not the model's. */
bool collect(const std::shared_ptr<Interpreter>& model, larodTensor** tensors, size_t count, bool inputs,
             Bindings& collected, larodError** error) {
    const std::string kind = inputs ? "input" : "output";
    const std::size_t needed = inputs ? model->input_count() : model->output_count();
    if (tensors == nullptr || count != needed)
        return fail(error, Code::argument,
                    "The model needs " + std::to_string(needed) + " " + kind + " tensors; " +
                        std::to_string(tensors == nullptr ? 0 : count) + " are given.");
    for (std::size_t i = 0; i < count; ++i) {
        if (tensors[i] == nullptr)
            return fail(error, Code::argument, "The " + kind + " tensor " + std::to_string(i) + " is missing.");
        const auto& binding = tensors[i]->binding;
        if (binding->owner != model || binding->is_input != inputs || binding->index != i)
            return fail(error, Code::argument,
                        "The " + kind + " tensor " + std::to_string(i) + " does not belong to the model there.");
        collected.push_back(binding);
    }
    return true;
}

bool run_request(const larodInferenceRequest& request, larodError** error) {
    Interpreter& model = *request.model;
    const std::lock_guard lock(model.mutex());
    const auto named = [](const char* kind, std::size_t i, const std::string& why) {
        return std::string(kind) + " tensor " + std::to_string(i) + ": " + why;
    };
    std::string why;
    // Nothing is run, and no file touched, unless every tensor has its descriptor.
    for (const Bindings* bindings : {&request.inputs, &request.outputs}) {
        for (const auto& binding : *bindings) {
            if (binding->fd < 0)
                return fail(error, Code::descriptor,
                            named(binding->is_input ? "Input" : "Output", binding->index, "No descriptor is bound."));
        }
    }
    for (std::size_t i = 0; i < request.inputs.size(); ++i) {
        const TensorView tensor = model.input(i);
        if (!korvex::larod::read_in_place(request.inputs[i]->fd, {static_cast<std::byte*>(tensor.data), tensor.bytes},
                                          why))
            return fail(error, Code::descriptor, named("Input", i, why));
    }
    if (!model.run(why))
        return fail(error, Code::inference, why);
    for (std::size_t i = 0; i < request.outputs.size(); ++i) {
        const TensorView tensor = model.output(i);
        if (!korvex::larod::write_on(request.outputs[i]->fd, {static_cast<const std::byte*>(tensor.data), tensor.bytes},
                                     why))
            return fail(error, Code::descriptor, named("Output", i, why));
    }
    return true;
}

} // namespace

extern "C" {

bool larodConnect(larodConnection** conn, larodError** error) {
    return guarded(error, false, [&] {
        if (conn == nullptr)
            return fail(error, Code::argument, "There is no place for the connection.");
        std::string why;
        auto engine = TfliteLibrary::open(korvex::larod::engine_location(), why);
        if (engine == nullptr)
            return fail(error, Code::engine, why);
        auto connection = std::make_unique<larodConnection>();
        connection->engine = std::move(engine);
        *conn = connection.release();
        return true;
    });
}

bool larodDisconnect(larodConnection** conn, larodError** error) {
    if (conn == nullptr || *conn == nullptr)
        return fail(error, Code::argument, "There is no connection to close.");
    delete std::exchange(*conn, nullptr);
    return true;
}

bool larodSetChip(larodConnection* conn, const larodChip chip, larodError** error) {
    return guarded(error, false, [&] {
        if (conn == nullptr)
            return fail(error, Code::argument, "There is no connection.");
        if (chip != LAROD_CHIP_TFLITE_CPU && chip != LAROD_CHIP_TFLITE_ARTPEC8DLPU)
            return fail(error, Code::argument,
                        "This host has no chip " + std::to_string(static_cast<int>(chip)) + "; 2 and 12 are there.");
        conn->has_chip = true;
        return true;
    });
}

larodModel* larodLoadModel(larodConnection* conn, const int fd, const larodAccess access, const char* name,
                           larodError** error) {
    return guarded(error, static_cast<larodModel*>(nullptr), [&]() -> larodModel* {
        const auto refuse = [&](Code code, const std::string& why) {
            set_error(error, code, why);
            return nullptr;
        };
        if (conn == nullptr)
            return refuse(Code::argument, "There is no connection.");
        if (!conn->has_chip)
            return refuse(Code::argument, "No chip has been selected.");
        if (access != LAROD_ACCESS_PRIVATE && access != LAROD_ACCESS_PUBLIC)
            return refuse(Code::argument, "The model's access is neither private nor public.");
        if (name == nullptr)
            return refuse(Code::argument, "The model has no name.");
        std::vector<std::byte> bytes;
        std::string why;
        if (!korvex::larod::read_whole(fd, bytes, why))
            return refuse(Code::descriptor, why);
        auto handle = std::make_unique<larodModel>();
        handle->interpreter = Interpreter::load(conn->engine, std::move(bytes), why);
        if (handle->interpreter == nullptr)
            return refuse(Code::model, why);
        conn->models.push_back(handle->interpreter);
        return handle.release();
    });
}

bool larodDeleteModel(larodConnection* conn, larodModel* model, larodError** error) {
    return guarded(error, false, [&] {
        if (conn == nullptr || model == nullptr)
            return fail(error, Code::argument, "There is no connection or no model.");
        if (!conn->holds(model->interpreter))
            return fail(error, Code::argument, "The connection does not hold the model.");
        std::erase(conn->models, model->interpreter);
        return true;
    });
}

void larodDestroyModel(larodModel** model) {
    if (model != nullptr)
        delete std::exchange(*model, nullptr);
}

larodTensor** larodCreateModelInputs(const larodModel* model, size_t* num_tensors, larodError** error) {
    return guarded(error, static_cast<larodTensor**>(nullptr),
                   [&] { return make_tensors(model, true, num_tensors, error); });
}

larodTensor** larodCreateModelOutputs(const larodModel* model, size_t* num_tensors, larodError** error) {
    return guarded(error, static_cast<larodTensor**>(nullptr),
                   [&] { return make_tensors(model, false, num_tensors, error); });
}

bool larodSetTensorFd(larodTensor* tensor, const int fd, larodError** error) {
    return guarded(error, false, [&] {
        if (tensor == nullptr)
            return fail(error, Code::argument, "There is no tensor.");
        if (fd < 0)
            return fail(error, Code::argument, "The descriptor " + std::to_string(fd) + " is invalid.");
        tensor->binding->fd = fd;
        return true;
    });
}

void larodDestroyTensors(larodTensor*** tensors, size_t num_tensors) {
    if (tensors == nullptr || *tensors == nullptr)
        return;
    const std::unique_ptr<larodTensor*[]> list(std::exchange(*tensors, nullptr));
    for (std::size_t i = 0; i < num_tensors; ++i) {
        const std::unique_ptr<larodTensor> tensor(list[i]);
        // A request that outlives its tensors must not use a descriptor that its owner takes for free.
        if (tensor != nullptr)
            tensor->binding->fd = -1;
    }
}

larodInferenceRequest* larodCreateInferenceRequest(const larodModel* model, larodTensor** inputs, size_t num_inputs,
                                                   larodTensor** outputs, size_t num_outputs, larodError** error) {
    return guarded(error, static_cast<larodInferenceRequest*>(nullptr), [&]() -> larodInferenceRequest* {
        if (model == nullptr) {
            set_error(error, Code::argument, "There is no model.");
            return nullptr;
        }
        auto request = std::make_unique<larodInferenceRequest>();
        request->model = model->interpreter;
        if (!collect(request->model, inputs, num_inputs, true, request->inputs, error) ||
            !collect(request->model, outputs, num_outputs, false, request->outputs, error))
            return nullptr;
        return request.release();
    });
}

bool larodRunInference(larodConnection* conn, const larodInferenceRequest* request, larodError** error) {
    return guarded(error, false, [&] {
        if (conn == nullptr || request == nullptr)
            return fail(error, Code::argument, "There is no connection or no request.");
        if (!conn->holds(request->model))
            return fail(error, Code::argument, "The connection does not hold the request's model any more.");
        return run_request(*request, error);
    });
}

void larodDestroyJobRequest(larodInferenceRequest** request) {
    if (request != nullptr)
        delete std::exchange(*request, nullptr);
}

} // extern "C"
