#include "larod.h"

#include "platform/larod/service_link.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using korvex::larod::Binding;
using korvex::larod::Code;
using korvex::larod::fail;
using korvex::larod::Failure;
using korvex::larod::HeldModel;
using korvex::larod::HeldRequest;
using korvex::larod::ServiceLink;
using korvex::larod::set_error;
using korvex::larod::StoredModel;

struct larodConnection {
    std::shared_ptr<ServiceLink> service;
    bool has_chip = false;
    /** The models that the service holds for this connection. */
    std::vector<std::shared_ptr<HeldModel>> models;

    larodConnection() = default;
    larodConnection(const larodConnection&) = delete;
    larodConnection& operator=(const larodConnection&) = delete;
    /** Other connections may go on with the service. */
    ~larodConnection() {
        for (const auto& model : models)
            service->unload(*model);
    }

    bool holds(const std::shared_ptr<HeldModel>& model) const {
        return std::find(models.begin(), models.end(), model) != models.end();
    }
};

struct larodModel {
    std::shared_ptr<HeldModel> held;
};

struct larodTensor {
    std::shared_ptr<Binding> binding;
};

struct larodInferenceRequest {
    explicit larodInferenceRequest(std::shared_ptr<HeldModel> model) { held->model = std::move(model); }
    ~larodInferenceRequest() {
        if (const auto link = held->link.lock())
            link->forget(*held);
    }
    larodInferenceRequest(const larodInferenceRequest&) = delete;
    larodInferenceRequest& operator=(const larodInferenceRequest&) = delete;

    const std::unique_ptr<HeldRequest> held = std::make_unique<HeldRequest>();
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
    const std::size_t number = (inputs ? model->held->inputs : model->held->outputs).size();
    std::vector<std::unique_ptr<larodTensor>> made(number);
    for (std::size_t i = 0; i < number; ++i) {
        made[i] = std::make_unique<larodTensor>();
        made[i]->binding = std::make_shared<Binding>(model->held, i, inputs);
    }
    auto list = std::make_unique<larodTensor*[]>(std::max<std::size_t>(number, 1));
    for (std::size_t i = 0; i < number; ++i)
        list[i] = made[i].release();
    *count = number;
    return list.release();
}

/** Adds a request's tensors, in the model's order; false with the error set when they are not the model's. */
bool collect(larodTensor** tensors, size_t count, bool inputs, HeldRequest& request, larodError** error) {
    const std::string kind = inputs ? "input" : "output";
    const std::size_t needed = (inputs ? request.model->inputs : request.model->outputs).size();
    if (tensors == nullptr || count != needed)
        return fail(error, Code::argument,
                    "The model needs " + std::to_string(needed) + " " + kind + " tensors; " +
                        std::to_string(tensors == nullptr ? 0 : count) + " are given.");
    for (std::size_t i = 0; i < count; ++i) {
        if (tensors[i] == nullptr)
            return fail(error, Code::argument, "The " + kind + " tensor " + std::to_string(i) + " is missing.");
        const auto& binding = tensors[i]->binding;
        if (binding->owner != request.model || binding->is_input != inputs || binding->index != i)
            return fail(error, Code::argument,
                        "The " + kind + " tensor " + std::to_string(i) + " does not belong to the model there.");
        request.tensors.push_back(binding);
    }
    return true;
}

} // namespace

extern "C" {

bool larodConnect(larodConnection** conn, larodError** error) {
    return guarded(error, false, [&] {
        if (conn == nullptr)
            return fail(error, Code::argument, "There is no place for the connection.");
        Failure failure;
        auto service = ServiceLink::acquire(failure);
        if (service == nullptr)
            return fail(error, failure.code, failure.sentence);
        auto connection = std::make_unique<larodConnection>();
        connection->service = std::move(service);
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
        std::string why;
        auto model = std::make_shared<HeldModel>();
        model->bytes = StoredModel::copy(fd, why);
        if (model->bytes == nullptr)
            return refuse(Code::descriptor, why);
        Failure failure;
        if (!conn->service->load(*model, failure))
            return refuse(failure.code, failure.sentence);
        auto handle = std::make_unique<larodModel>();
        handle->held = model;
        conn->models.push_back(std::move(model));
        return handle.release();
    });
}

bool larodDeleteModel(larodConnection* conn, larodModel* model, larodError** error) {
    return guarded(error, false, [&] {
        if (conn == nullptr || model == nullptr)
            return fail(error, Code::argument, "There is no connection or no model.");
        if (!conn->holds(model->held))
            return fail(error, Code::argument, "The connection does not hold the model.");
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
    return guarded(error, static_cast<larodInferenceRequest*>(nullptr), [&]() -> larodInferenceRequest* {
        if (model == nullptr) {
            set_error(error, Code::argument, "There is no model.");
            return nullptr;
        }
        auto request = std::make_unique<larodInferenceRequest>(model->held);
        if (!collect(inputs, num_inputs, true, *request->held, error) ||
            !collect(outputs, num_outputs, false, *request->held, error))
            return nullptr;
        return request.release();
    });
}

bool larodRunInference(larodConnection* conn, const larodInferenceRequest* request, larodError** error) {
    return guarded(error, false, [&] {
        if (conn == nullptr || request == nullptr)
            return fail(error, Code::argument, "There is no connection or no request.");
        if (!conn->holds(request->held->model))
            return fail(error, Code::argument, "The connection does not hold the request's model any more.");
        Failure failure;
        return conn->service->run(*request->held, failure) || fail(error, failure.code, failure.sentence);
    });
}

void larodDestroyJobRequest(larodInferenceRequest** request) {
    if (request != nullptr)
        delete std::exchange(*request, nullptr);
}

} // extern "C"
