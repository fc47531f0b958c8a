#include "platform/larod/stored_model.h"

#include "platform/larod/descriptor_io.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

namespace korvex::larod {
namespace {

constexpr int unchangeable = F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;

} // namespace

std::unique_ptr<StoredModel> StoredModel::copy(int fd, std::string& why) {
    std::vector<std::byte> bytes;
    if (!read_whole(fd, bytes, why))
        return nullptr;
    Descriptor file(memfd_create("model", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!file || !write_on(file.get(), bytes, why) || fcntl(file.get(), F_ADD_SEALS, unchangeable) != 0) {
        why = std::string("The model cannot be kept in memory: ") + std::strerror(errno) + ".";
        return nullptr;
    }
    return adopt(std::move(file), why);
}

std::unique_ptr<StoredModel> StoredModel::adopt(Descriptor file, std::string& why) {
    const int seals = fcntl(file.get(), F_GET_SEALS);
    if (seals < 0 || (seals & unchangeable) != unchangeable) {
        why = "The model's file could still be changed.";
        return nullptr;
    }
    struct stat status {};
    if (fstat(file.get(), &status) != 0 || status.st_size <= 0) {
        why = "The model's file is empty.";
        return nullptr;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    void* mapped = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.get(), 0);
    if (mapped == MAP_FAILED) {
        why = std::string("The model cannot be mapped: ") + std::strerror(errno) + ".";
        return nullptr;
    }
    std::unique_ptr<StoredModel> model(new StoredModel(std::move(file)));
    model->m_bytes = {static_cast<const std::byte*>(mapped), size};
    return model;
}

StoredModel::~StoredModel() {
    if (!m_bytes.empty())
        munmap(const_cast<std::byte*>(m_bytes.data()), m_bytes.size());
}

bool StoredModel::holds_same_as(const StoredModel& other) const {
    return std::equal(m_bytes.begin(), m_bytes.end(), other.m_bytes.begin(), other.m_bytes.end());
}

} // namespace korvex::larod
