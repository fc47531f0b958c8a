#pragma once

#include "platform/common/descriptor.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>

namespace korvex::larod {

using platform::Descriptor;

/**
 * A model's bytes in a file in memory that nobody can change any more, so that whoever has its descriptor may map it.
 * The mapping lives as long as the object.
 */
class StoredModel {
  public:
    /** Copies the file from its start, or reads a pipe to its end. Null with a sentence in `why`. */
    static std::unique_ptr<StoredModel> copy(int fd, std::string& why);
    /** Takes over what another process has copied; null with a sentence when it could still be changed. */
    static std::unique_ptr<StoredModel> adopt(Descriptor file, std::string& why);
    ~StoredModel();
    StoredModel(const StoredModel&) = delete;
    StoredModel& operator=(const StoredModel&) = delete;

    int file() const { return m_file.get(); }
    std::span<const std::byte> bytes() const { return m_bytes; }
    bool holds_same_as(const StoredModel& other) const;

  private:
    explicit StoredModel(Descriptor file) : m_file(std::move(file)) {}

    Descriptor m_file;
    std::span<const std::byte> m_bytes;
};

} // namespace korvex::larod
