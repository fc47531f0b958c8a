#include "larod.h"

#include "platform/larod/service_link.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

using namespace korvex::larod;

struct larodConnection {
    explicit larodConnection(std::shared_ptr<ServiceLink> link) : service(std::move(link)) {}
    larodConnection(const larodConnection&) = delete;
    larodConnection& operator=(const larodConnection&) = delete;
    /** Other connections may go on with the service. */
    ~larodConnection() {
        for (const auto& model : models)
            service->unload(*model);
    }

    bool holds(const std::shared_ptr<Model>& model) const {
        return std::find(models.begin(), models.end(), model) != models.end();
    }

    const std::shared_ptr<ServiceLink> service;
    bool has_chip = false;
    /** The models that the service holds for this connection. */
    std::vector<std::shared_ptr<Model>> models;
};

struct larodModel {
    std::shared_ptr<Model> held;
};

struct larodTensor {
    std::shared_ptr<Binding> binding;
};

struct larodInferenceRequest : Request {
    using Request::Request;
};

namespace {

/** What the interface's record points into; it is handed out as its base. */
struct ErrorRecord : larodError {
    ErrorRecord(Code number, std::string sentence) : larodError{}, text(std::move(sentence)) {
        code = static_cast<int>(number);
        msg = text.c_str();
    }
    std::string text;
};

/** Stores a new record in *error unless `error` is null. */
void set_error(larodError** error, Code code, const std::string& text) noexcept {
    if (error == nullptr)
        return;
    try {
        *error = new ErrorRecord(code, text);
    } catch (const std::bad_alloc&) {
        *error = nullptr;
    }
}

/** Runs an entry point's body; what it throws becomes the error and a result of false or null. */
template <typename Body>
auto guarded(larodError** error, Body body) noexcept -> decltype(body()) {
    try {
        return body();
    } catch (const Failure& failure) {
        set_error(error, static_cast<Code>(failure.code), failure.sentence);
    } catch (const std::exception& problem) {
        set_error(error, Code::memory, std::string("The request could not be carried out: ") + problem.what());
    }
    return {};
}

[[noreturn]] void refuse(const std::string& why) {
    throw Failure(Code::argument, why);
}

void need(bool is_there, const char* otherwise) {
    platform::need(is_there, Code::argument, otherwise);
}

/** The places of a model's inputs or outputs among its tensors. */
struct Range {
    Range(const Model& model, bool inputs)
        : first(inputs ? 0 : model.inputs), count(inputs ? model.inputs : model.tensors.size() - model.inputs) {}

    const std::size_t first;
    const std::size_t count;
};

larodTensor** make_tensors(const larodModel* model, bool inputs, size_t* count, larodError** error) {
    return guarded(error, [&] {
        need(model != nullptr && count != nullptr, "Tensors need a model and a place for their number.");
        const Range range(*model->held, inputs);
        std::vector<std::unique_ptr<larodTensor>> made;
        for (std::size_t i = 0; i < range.count; ++i)
            made.push_back(
                std::make_unique<larodTensor>(larodTensor{std::make_shared<Binding>(model->held, range.first + i)}));
        auto list = std::make_unique<larodTensor*[]>(std::max<std::size_t>(range.count, 1));
        std::ranges::transform(made, list.get(), &std::unique_ptr<larodTensor>::release);
        *count = range.count;
        return list.release();
    });
}

/** Adds tensors to a request, in the model's order, which must be the model's. */
void collect(larodTensor** tensors, size_t count, bool inputs, Request& request) {
    const std::string kind = inputs ? "input" : "output";
    const Range range(*request.model, inputs);
    if (tensors == nullptr || count != range.count)
        refuse("The model needs " + std::to_string(range.count) + " " + kind + " tensors; " +
               std::to_string(tensors == nullptr ? 0 : count) + " are given.");
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = "The " + kind + " tensor " + std::to_string(i);
        if (tensors[i] == nullptr)
            refuse(name + " is missing.");
        const auto& binding = tensors[i]->binding;
        if (binding->owner != request.model || binding->index != range.first + i)
            refuse(name + " does not belong to the model there.");
        request.tensors.push_back(binding);
    }
}

} // namespace

extern "C" {

bool larodConnect(larodConnection** conn, larodError** error) {
    return guarded(error, [&] {
        need(conn != nullptr, "There is no place for the connection.");
        *conn = std::make_unique<larodConnection>(ServiceLink::acquire()).release();
        return true;
    });
}

bool larodDisconnect(larodConnection** conn, larodError** error) {
    return guarded(error, [&] {
        need(conn != nullptr && *conn != nullptr, "There is no connection to close.");
        delete std::exchange(*conn, nullptr);
        return true;
    });
}

bool larodSetChip(larodConnection* conn, const larodChip chip, larodError** error) {
    return guarded(error, [&] {
        need(conn != nullptr, "There is no connection.");
        if (chip != LAROD_CHIP_TFLITE_CPU && chip != LAROD_CHIP_TFLITE_ARTPEC8DLPU)
            refuse("This host has no chip " + std::to_string(static_cast<int>(chip)) + "; 2 and 12 are there.");
        return conn->has_chip = true;
    });
}

larodModel* larodLoadModel(larodConnection* conn, const int fd, const larodAccess access, const char* name,
                           larodError** error) {
    return guarded(error, [&] {
        need(conn != nullptr, "There is no connection.");
        need(conn->has_chip, "No chip has been selected.");
        need(access == LAROD_ACCESS_PRIVATE || access == LAROD_ACCESS_PUBLIC,
             "The model's access is neither private nor public.");
        need(name != nullptr, "The model has no name.");
        auto handle = std::make_unique<larodModel>(larodModel{std::make_shared<Model>(fd)});
        conn->service->load(*handle->held);
        conn->models.push_back(handle->held);
        return handle.release();
    });
}

bool larodDeleteModel(larodConnection* conn, larodModel* model, larodError** error) {
    return guarded(error, [&] {
        need(conn != nullptr && model != nullptr, "There is no connection or no model.");
        need(conn->holds(model->held), "The connection does not hold the model.");
        conn->service->unload(*model->held);
        std::erase(conn->models, model->held);
        return true;
    });
}

void larodDestroyModel(larodModel** model) {
    if (model != nullptr)
        delete std::exchange(*model, nullptr);
}

larodTensor** larodCreateModelInputs(const larodModel* model, size_t* num_tensors, larodError** error) {
    return make_tensors(model, true, num_tensors, error);
}

larodTensor** larodCreateModelOutputs(const larodModel* model, size_t* num_tensors, larodError** error) {
    return make_tensors(model, false, num_tensors, error);
}

bool larodSetTensorFd(larodTensor* tensor, const int fd, larodError** error) {
    return guarded(error, [&] {
        need(tensor != nullptr, "There is no tensor.");
        if (fd < 0)
            refuse("The descriptor " + std::to_string(fd) + " is invalid.");
        tensor->binding->bind_to(fd);
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
            tensor->binding->bind_to(-1);
    }
}

larodInferenceRequest* larodCreateInferenceRequest(const larodModel* model, larodTensor** inputs, size_t num_inputs,
                                                   larodTensor** outputs, size_t num_outputs, larodError** error) {
    return guarded(error, [&] {
        need(model != nullptr, "There is no model.");
        auto request = std::make_unique<larodInferenceRequest>(model->held);
        collect(inputs, num_inputs, true, *request);
        collect(outputs, num_outputs, false, *request);
        return request.release();
    });
}

bool larodRunInference(larodConnection* conn, const larodInferenceRequest* request, larodError** error) {
    return guarded(error, [&] {
        need(conn != nullptr && request != nullptr, "There is no connection or no request.");
        need(conn->holds(request->model), "The connection does not hold the request's model any more.");
        conn->service->run(*request);
        return true;
    });
}

void larodDestroyJobRequest(larodInferenceRequest** request) {
    if (request != nullptr)
        delete std::exchange(*request, nullptr);
}

void larodClearError(larodError** error) {
    if (error != nullptr)
        delete static_cast<ErrorRecord*>(std::exchange(*error, nullptr));
}

} // extern "C"
