#pragma once

#include "base/thread_safety.h"
#include "platform/vdostream/geometry.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace vdostream {

/** One stream frame's bytes. Shared by every stream of that geometry, so whoever holds them only reads. */
using FrameBytes = std::shared_ptr<std::uint8_t[]>;

/**
 * One picture of a source, in the source's own size. Nothing is converted, or drawn, before a stream asks; then once
 * for each geometry, however many streams of it there are. Any thread.
 *
 * Nobody waits for another's conversion: the other may be a viewer's thread, which gets a processor only when nothing
 * else wants one. So two that ask for the same geometry at the same time both convert, and the first to end is taken.
 */
class Picture {
  public:
    virtual ~Picture() = default;

    /** The picture as a frame of that geometry; null when it cannot be converted or memory is short. */
    FrameBytes in_geometry(const Geometry& shape);

    /** Draws or decodes now what every geometry is converted from, so that no stream has to wait while another does. */
    void prepare();

    /** Counts the source's pictures from 1, across loops and reopenings. Set before the picture is published. */
    std::uint64_t sequence = 0;
    /** Running time of the source, 0 at its first picture, always growing. Set before the picture is published. */
    double seconds = 0.0;

  protected:
    /**
     * The pixels, valid and unchanged as long as the picture; false when there are none. Called with the lock held;
     * when it has worked it only hands them out.
     */
    virtual bool native(Nv12View& view) REQUIRES(m_lock) = 0;

  private:
    FrameBytes made_in(const Geometry& shape) const REQUIRES(m_lock);

    annotated_mutex m_lock;
    std::vector<std::pair<Geometry, FrameBytes>> m_converted GUARDED_BY(m_lock);
};

} // namespace vdostream
