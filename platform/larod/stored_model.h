#pragma once

#include "platform/common/descriptor.h"
#include "platform/larod/failure.h"

#include <sys/mman.h>

#include <cstddef>
#include <memory>
#include <span>

namespace korvex::larod {

using platform::Descriptor;

/**
 * A model's bytes in a file in memory that nobody can change any more, so that whoever has its descriptor may map it.
 * The mapping lives as long as the object. Both ways to make one throw a Failure.
 */
class StoredModel {
  public:
    /** Copies the file from its start, or reads a pipe to its end. */
    static StoredModel copy(int fd);
    /** Takes over what another process has copied, when it can not be changed any more. */
    static StoredModel adopt(Descriptor file);

    int file() const { return m_file.get(); }
    std::span<const std::byte> bytes() const { return {m_bytes.get(), m_bytes.get_deleter().size}; }
    bool holds_same_as(const StoredModel& other) const;

  private:
    struct Unmap {
        std::size_t size;
        void operator()(const std::byte* bytes) const { munmap(const_cast<std::byte*>(bytes), size); }
    };

    /** `code` is of the failure when the file cannot be mapped. */
    StoredModel(Descriptor file, Code code);

    Descriptor m_file;
    std::unique_ptr<const std::byte[], Unmap> m_bytes;
};

} // namespace korvex::larod
