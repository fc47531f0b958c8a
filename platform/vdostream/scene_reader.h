#pragma once

#include "platform/vdostream/reader.h"

#include <cstdint>
#include <memory>

namespace host_scene {
class street_scene;
}

namespace vdostream {

/** The drawn street, 1280x720 at 25 frames a second. A picture is drawn when a stream asks for it, not before. */
class scene_reader : public reader {
  public:
    scene_reader();
    ~scene_reader() override;

    bool open(std::string& why) override;
    read_result read(std::shared_ptr<picture>& next, std::string& why) override;
    void skip_to(double seconds) override;
    source_properties properties() const override;

  private:
    std::shared_ptr<host_scene::street_scene> m_Scene;
    std::int64_t m_Next = 0;
};

} // namespace vdostream
