#pragma once

#include "platform/vdostream/geometry.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace vdostream {

/** One stream frame's bytes. Shared by every stream of that geometry, so whoever holds them only reads. */
using frame_bytes = std::shared_ptr<std::uint8_t[]>;

/**
 * One picture of a source, in the source's own size. Nothing is converted, or drawn, before a stream asks; then once
 * for each geometry, however many streams of it there are. Any thread.
 */
class picture {
  public:
    virtual ~picture() = default;

    /** The picture as a frame of that geometry; null when it cannot be converted or memory is short. */
    frame_bytes in_geometry(const geometry& shape);

    /** Counts the source's pictures from 1, across loops and reopenings. Set before the picture is published. */
    std::uint64_t sequence = 0;
    /** Running time of the source, 0 at its first picture, always growing. Set before the picture is published. */
    double seconds = 0.0;

  protected:
    /** The pixels, valid as long as the picture; false when there are none. Called with the lock held, until it works.
     */
    virtual bool native(nv12_view& view) = 0;

  private:
    std::mutex m_Lock;
    std::vector<std::pair<geometry, frame_bytes>> m_Converted;
};

} // namespace vdostream
