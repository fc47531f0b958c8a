#include "platform/larod/stored_model.h"

#include "platform/larod/descriptor_io.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

namespace korvex::larod {
namespace {

constexpr int unchangeable = F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;

} // namespace

StoredModel StoredModel::copy(int fd) {
    const auto bytes = read_whole(fd);
    Descriptor file(memfd_create("model", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!file || write(file.get(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()) ||
        fcntl(file.get(), F_ADD_SEALS, unchangeable) != 0)
        throw refused_by_system(Code::descriptor, "The model cannot be kept in memory");
    return {std::move(file), Code::descriptor};
}

StoredModel StoredModel::adopt(Descriptor file) {
    const int seals = fcntl(file.get(), F_GET_SEALS);
    if (seals < 0 || (seals & unchangeable) != unchangeable)
        throw Failure(Code::model, "The model's file could still be changed.");
    return {std::move(file), Code::model};
}

StoredModel::StoredModel(Descriptor file, Code code) : m_file(std::move(file)) {
    struct stat status {};
    if (fstat(m_file.get(), &status) != 0 || status.st_size <= 0)
        throw Failure{code, "The model's file is empty."};
    const auto size = static_cast<std::size_t>(status.st_size);
    void* mapped = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, m_file.get(), 0);
    if (mapped == MAP_FAILED)
        throw refused_by_system(code, "The model cannot be mapped");
    m_bytes = {static_cast<const std::byte*>(mapped), Unmap{size}};
}

bool StoredModel::holds_same_as(const StoredModel& other) const {
    return std::ranges::equal(bytes(), other.bytes());
}

} // namespace korvex::larod
