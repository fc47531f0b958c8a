#include "platform/larod/model_fit.h"

#include "platform/common/handle.h"
#include "platform/larod/service_link.h"
#include "platform/larod/service_settings.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace korvex::larod {
namespace {

/** Empty when there is none. */
std::string noted_checksum(const std::filesystem::path& file) {
    std::ifstream notes(file.parent_path() / "model.sha256");
    std::string checksum;
    std::string name;
    while (notes >> checksum >> name) {
        if (name == file.filename())
            return checksum;
    }
    return {};
}

std::string checksum_of(const std::filesystem::path& file) {
    const platform::Handle<GChecksum, g_checksum_free> sum(g_checksum_new(G_CHECKSUM_SHA256));
    std::ifstream bytes(file, std::ios::binary);
    std::vector<char> block(1 << 16);
    while (bytes.read(block.data(), static_cast<std::streamsize>(block.size())) || bytes.gcount() > 0)
        g_checksum_update(sum.get(), reinterpret_cast<const guchar*>(block.data()),
                          static_cast<gssize>(bytes.gcount()));
    return g_checksum_get_string(sum.get());
}

/**
 * Whether a file is still what was made: its SHA-256 beside the one that `model.sha256` in the file's own folder (links
 * are followed) has for its name, in the form of sha256sum. Gives a sentence when it is not, and an empty string when
 * it is or when no checksum is there: another model than the default one has none.
 */
std::string why_file_is_damaged(const std::string& path) {
    std::error_code unknown;
    const std::filesystem::path file = std::filesystem::canonical(path, unknown);
    const std::string noted = unknown ? "" : noted_checksum(file);
    if (noted.empty() || noted == checksum_of(file))
        return {};
    return "The file " + file.string() + " is damaged: it is not what was made. model/make.sh makes it anew.";
}

TensorInfo picture(int width, int height) {
    return {uint8_type, 4, {1, height, width, 3}};
}

/** What the application cannot use of the tensors, or an empty string. */
std::string misfit(const HeldModel& model, int width, int height) {
    const TensorInfo needed = picture(width, height);
    if (model.inputs.size() != 1)
        return "The model has " + std::to_string(model.inputs.size()) + " inputs; needed is one, " + described(needed) +
               ".";
    if (model.inputs[0] != needed)
        return "The model's input is " + described(model.inputs[0]) + "; needed is " + described(needed) +
               ", an RGB picture of " + std::to_string(width) + "x" + std::to_string(height) + ".";
    const std::string wanted = "; needed are four of float32: boxes, classes, scores, number of objects.";
    if (model.outputs.size() != 4)
        return "The model has " + std::to_string(model.outputs.size()) + " outputs" + wanted;
    for (std::size_t i = 0; i < model.outputs.size(); ++i) {
        if (model.outputs[i].type != float32_type)
            return "The model's output " + std::to_string(i) + " is " + described(model.outputs[i]) + wanted;
    }
    return {};
}

/** Runs it once over a black picture. */
bool run_once(ServiceLink& service, const std::shared_ptr<HeldModel>& model, off_t picture_bytes, Failure& failure) {
    HeldRequest request;
    request.model = model;
    std::vector<Descriptor> files;
    const auto add = [&](bool is_input, std::size_t index) {
        const auto binding = std::make_shared<Binding>(model, index, is_input);
        files.emplace_back(memfd_create("tensor", MFD_CLOEXEC));
        binding->bind_to(files.back().get());
        request.tensors.push_back(binding);
    };
    add(true, 0);
    for (std::size_t i = 0; i < model->outputs.size(); ++i)
        add(false, i);
    if (ftruncate(files[0].get(), picture_bytes) != 0) {
        failure.sentence = std::string("There is no memory for a picture: ") + std::strerror(errno) + ".";
        return false;
    }
    return service.run(request, failure);
}

} // namespace

std::string why_model_does_not_fit(const std::string& path, int width, int height) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file)
        return std::string("Cannot open the file: ") + std::strerror(errno) + ".";
    std::string why;
    const auto model = std::make_shared<HeldModel>();
    model->bytes = StoredModel::copy(file.get(), why);
    if (model->bytes == nullptr)
        return why;
    for (const std::string& checked : {path, engine_location()}) {
        why = why_file_is_damaged(checked);
        if (!why.empty())
            return why;
    }
    Failure failure;
    const auto service = ServiceLink::acquire(failure);
    if (service == nullptr || !service->load(*model, failure))
        return failure.sentence;
    why = misfit(*model, width, height);
    if (why.empty() && !run_once(*service, model, off_t{3} * width * height, failure))
        return failure.sentence;
    return why;
}

} // namespace korvex::larod
