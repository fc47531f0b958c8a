#include "tests/doubles/recording_larod.h"

#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <set>
#include <string>
#include <utility>

struct larodConnection {};
struct larodModel {
    size_t inputs;
    size_t outputs;
};
struct larodTensor {
    std::string name;
    int fd = -1;
};
struct larodInferenceRequest {
    std::vector<larodTensor*> inputs;
    std::vector<larodTensor*> outputs;
};

namespace {

struct service {
    size_t inputs = 1;
    size_t outputs = 4;
    std::array<std::vector<float>, 4> results;
    std::function<void()> during;
    std::vector<uint8_t> last_input;
    std::set<const void*> live;
};

service& the_service() {
    static auto& instance = *new service; // outlives the process-wide objects, which still call at their end
    return instance;
}

call_recorder& recorder() {
    return recording_larod::recorder();
}

void set_larod_error(larodError** error, int code, const std::string& message) {
    if (error == nullptr)
        return;
    auto record = std::make_unique<larodError>(larodError{code, g_strdup(message.c_str())});
    *error = record.release();
    recorder().born("larodError");
}

bool fails(const std::string& line, larodError** error) {
    const auto refusal = recorder().call(line);
    if (refusal && refusal->with_record)
        set_larod_error(error, refusal->code, refusal->message);
    return refusal.has_value();
}

template <typename Object>
Object* enter(const char* kind, std::unique_ptr<Object> object) {
    recorder().born(kind);
    the_service().live.insert(object.get());
    return object.release();
}

bool is_live(const char* function, const void* object) {
    if (the_service().live.contains(object))
        return true;
    recorder().misuse(std::string(function) + ": not a live object");
    return false;
}

/** Destroys *object when it is alive and sets it to null. */
template <typename Object>
void leave(const char* function, const char* kind, Object** object) {
    if (*object != nullptr && is_live(function, *object)) {
        the_service().live.erase(*object);
        recorder().died(kind);
        delete *object;
    }
    *object = nullptr;
}

larodTensor** create_tensors(const std::string& name, size_t count, size_t* num_tensors) {
    auto tensors = std::make_unique<larodTensor*[]>(count);
    for (size_t i = 0; i < count; ++i)
        tensors[i] = new larodTensor{name + std::to_string(i)};
    *num_tensors = count;
    the_service().live.insert(tensors.get());
    recorder().born("larodTensors");
    return tensors.release();
}

std::vector<uint8_t> read_from_position(int fd) {
    const off_t position = lseek(fd, 0, SEEK_CUR);
    struct stat status {};
    if (position < 0 || fstat(fd, &status) != 0 || status.st_size <= position)
        return {};
    std::vector<uint8_t> bytes(static_cast<size_t>(status.st_size - position));
    const ssize_t got = pread(fd, bytes.data(), bytes.size(), position);
    bytes.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return bytes;
}

} // namespace

call_recorder& recording_larod::recorder() {
    static auto& instance = *new call_recorder; // outlives the process-wide objects, which still call at their end
    return instance;
}

void recording_larod::reset() {
    recorder().reset();
    the_service() = {.results = {}, .during = {}, .last_input = {}, .live = std::move(the_service().live)};
}

void recording_larod::set_tensor_counts(size_t inputs, size_t outputs) {
    the_service().inputs = inputs;
    the_service().outputs = outputs;
}

void recording_larod::set_outputs(const std::array<std::vector<float>, 4>& outputs) {
    the_service().results = outputs;
}

void recording_larod::on_inference(std::function<void()> what) {
    the_service().during = std::move(what);
}

std::vector<uint8_t> recording_larod::last_input() {
    return the_service().last_input;
}

bool larodConnect(larodConnection** conn, larodError** error) {
    if (fails("larodConnect", error))
        return false;
    *conn = enter("larodConnection", std::make_unique<larodConnection>());
    return true;
}

bool larodDisconnect(larodConnection** conn, larodError** error) {
    if (fails("larodDisconnect", error))
        return false;
    leave("larodDisconnect", "larodConnection", conn);
    return true;
}

bool larodSetChip(larodConnection* conn, const larodChip chip, larodError** error) {
    return !fails(call_line("larodSetChip", static_cast<int>(chip)), error) && is_live("larodSetChip", conn);
}

larodModel* larodLoadModel(larodConnection* conn, const int fd, const larodAccess access, const char* name,
                           larodError** error) {
    if (fails(call_line("larodLoadModel", fd, static_cast<int>(access), name), error) ||
        !is_live("larodLoadModel", conn))
        return nullptr;
    return enter("larodModel", std::make_unique<larodModel>(larodModel{the_service().inputs, the_service().outputs}));
}

bool larodDeleteModel(larodConnection* conn, larodModel* model, larodError** error) {
    return !fails("larodDeleteModel", error) && is_live("larodDeleteModel", conn) && is_live("larodDeleteModel", model);
}

void larodDestroyModel(larodModel** model) {
    recorder().call("larodDestroyModel");
    leave("larodDestroyModel", "larodModel", model);
}

larodTensor** larodCreateModelInputs(const larodModel* model, size_t* num_tensors, larodError** error) {
    if (fails("larodCreateModelInputs", error) || !is_live("larodCreateModelInputs", model))
        return nullptr;
    return create_tensors("input", model->inputs, num_tensors);
}

larodTensor** larodCreateModelOutputs(const larodModel* model, size_t* num_tensors, larodError** error) {
    if (fails("larodCreateModelOutputs", error) || !is_live("larodCreateModelOutputs", model))
        return nullptr;
    return create_tensors("output", model->outputs, num_tensors);
}

bool larodSetTensorFd(larodTensor* tensor, const int fd, larodError** error) {
    if (fails(call_line("larodSetTensorFd", tensor->name, fd), error))
        return false;
    tensor->fd = fd;
    return true;
}

void larodDestroyTensors(larodTensor*** tensors, size_t num_tensors) {
    const bool empty = *tensors == nullptr || num_tensors == 0;
    recorder().call(
        call_line("larodDestroyTensors", empty ? "none" : (**tensors)->name.substr(0, (**tensors)->name.size() - 1)));
    if (*tensors != nullptr && is_live("larodDestroyTensors", *tensors)) {
        the_service().live.erase(*tensors);
        recorder().died("larodTensors");
        for (size_t i = 0; i < num_tensors; ++i)
            delete (*tensors)[i];
        delete[] * tensors;
    }
    *tensors = nullptr;
}

larodInferenceRequest* larodCreateInferenceRequest(const larodModel* model, larodTensor** inputs, size_t num_inputs,
                                                   larodTensor** outputs, size_t num_outputs, larodError** error) {
    if (fails(call_line("larodCreateInferenceRequest", num_inputs, num_outputs), error) ||
        !is_live("larodCreateInferenceRequest", model))
        return nullptr;
    return enter("larodInferenceRequest", std::make_unique<larodInferenceRequest>(larodInferenceRequest{
                                              {inputs, inputs + num_inputs}, {outputs, outputs + num_outputs}}));
}

bool larodRunInference(larodConnection* conn, const larodInferenceRequest* request, larodError** error) {
    if (fails("larodRunInference", error))
        return false;
    if (conn == nullptr || request == nullptr) {
        set_larod_error(error, 2, conn == nullptr ? "no connection" : "no request");
        return false;
    }
    if (!is_live("larodRunInference", conn) || !is_live("larodRunInference", request))
        return false;
    if (the_service().during)
        the_service().during();
    the_service().last_input = read_from_position(request->inputs.at(0)->fd);
    for (size_t i = 0; i < request->outputs.size() && i < the_service().results.size(); ++i) {
        const std::vector<float>& rows = the_service().results.at(i);
        if (!rows.empty() && write(request->outputs[i]->fd, rows.data(), rows.size() * sizeof(float)) < 0) {
            set_larod_error(error, 3, "cannot write output " + std::to_string(i));
            return false;
        }
    }
    return true;
}

void larodDestroyJobRequest(larodInferenceRequest** request) {
    recorder().call("larodDestroyJobRequest");
    leave("larodDestroyJobRequest", "larodInferenceRequest", request);
}

void larodClearError(larodError** error) {
    if (error == nullptr || *error == nullptr)
        return;
    g_free(const_cast<char*>((*error)->msg));
    delete *error;
    *error = nullptr;
    recorder().died("larodError");
}
