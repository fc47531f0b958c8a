#pragma once

#include "platform/vdostream/picture.h"

#include <ctime>
#include <memory>
#include <mutex>
#include <vector>

namespace vdostream {

/**
 * What a camera shows that gets no picture from its sensor any more: a plain card that says so, and since when. It is
 * drawn when somebody first asks for it, once an outage. Any thread.
 */
class OutageCard {
  public:
    /** Pixels, as large as the source's pictures were. `since`: the time of its last one, told in local time. */
    OutageCard(int width, int height, std::time_t since);

    /** Valid as long as the card. */
    Nv12View pixels();

  private:
    void draw();

    const int m_width; // both even
    const int m_height;
    const std::time_t m_since;
    std::once_flag m_drawn;
    std::vector<std::uint8_t> m_nv12;
};

/** The card as one of the source's pictures. */
std::shared_ptr<Picture> picture_of(std::shared_ptr<OutageCard> card);

} // namespace vdostream
