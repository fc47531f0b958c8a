#include "platform/larod/model_fit.h"

#include "platform/common/handle.h"
#include "platform/larod/service_link.h"
#include "platform/larod/service_settings.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/mman.h>

#include <array>
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
 * Throws a Failure when a file is no more what was made: when its SHA-256 is not the one that `model.sha256` in the
 * file's own folder (links are followed) has for its name, in the form of sha256sum. Another model than the default one
 * has none there.
 */
void need_what_was_made(const std::string& path) {
    std::error_code unknown;
    const std::filesystem::path file = std::filesystem::canonical(path, unknown);
    const std::string noted = unknown ? "" : noted_checksum(file);
    if (!noted.empty() && noted != checksum_of(file))
        throw Failure(Code::model, "The file " + file.string() +
                                       " is damaged: it is not what was made. model/make.sh makes it anew.");
}

/** "uint8 [1, 540, 960, 3]" */
std::string described(const TensorInfo& tensor) {
    constexpr std::array names = {"no type", "float32", "int32",     "uint8", "int64",   "string",
                                  "bool",    "int16",   "complex64", "int8",  "float16", "float64"};
    const auto type = static_cast<std::size_t>(tensor.type);
    std::string text = type < names.size() ? names[type] : "type " + std::to_string(tensor.type);
    for (std::uint32_t axis = 0; axis < tensor.dimensions && axis < most_dimensions; ++axis)
        text += (axis == 0 ? " [" : ", ") + std::to_string(tensor.shape[axis]);
    return text + (tensor.dimensions == 0 ? " []" : "]");
}

/** What the application cannot use of the tensors, or an empty string. */
std::string misfit(const Model& model, int width, int height) {
    const TensorInfo needed{uint8_type, 4, {1, height, width, 3}};
    if (model.inputs != 1)
        return "The model has " + std::to_string(model.inputs) + " inputs; needed is one, " + described(needed) + ".";
    if (model.tensors[0] != needed)
        return "The model's input is " + described(model.tensors[0]) + "; needed is " + described(needed) +
               ", an RGB picture of " + std::to_string(width) + "x" + std::to_string(height) + ".";
    const std::string wanted = "; needed are four of float32: boxes, classes, scores, number of objects.";
    const auto outputs = std::span(model.tensors).subspan(1);
    if (outputs.size() != 4)
        return "The model has " + std::to_string(outputs.size()) + " outputs" + wanted;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        if (outputs[i].type != float32_type)
            return "The model's output " + std::to_string(i) + " is " + described(outputs[i]) + wanted;
    }
    return {};
}

/** Runs it once over a black picture. */
void run_once(ServiceLink& service, const std::shared_ptr<Model>& model, off_t picture_bytes) {
    Request request(model);
    std::vector<Descriptor> files;
    for (std::size_t i = 0; i < model->tensors.size(); ++i) {
        files.emplace_back(memfd_create("tensor", MFD_CLOEXEC));
        request.tensors.push_back(std::make_shared<Binding>(model, i));
        request.tensors.back()->bind_to(files.back().get());
    }
    if (ftruncate(files[0].get(), picture_bytes) != 0)
        throw refused_by_system(Code::memory, "There is no memory for a picture");
    service.run(request);
}

} // namespace

std::string why_model_does_not_fit(const std::string& path, int width, int height) {
    try {
        const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        if (!file)
            throw refused_by_system(Code::descriptor, "Cannot open the file");
        const auto model = std::make_shared<Model>(file.get());
        need_what_was_made(path);
        need_what_was_made(engine_location());
        const auto service = ServiceLink::acquire();
        service->load(*model);
        std::string why = misfit(*model, width, height);
        if (why.empty())
            run_once(*service, model, off_t{3} * width * height);
        return why;
    } catch (const Failure& failure) {
        return failure.sentence;
    }
}

} // namespace korvex::larod
