#pragma once

#include "platform/vdostream/reader.h"

#include <cstdint>
#include <memory>

namespace host_scene {
class StreetScene;
}

namespace vdostream {

/** The drawn street, 1280x720 at 25 frames a second. A picture is drawn when a stream asks for it, not before. */
class SceneReader : public Reader {
  public:
    SceneReader();
    ~SceneReader() override;

    void open() override;
    std::shared_ptr<Picture> read() override;
    void skip_to(double seconds) override;
    SourceProperties properties() const override;

  private:
    std::shared_ptr<host_scene::StreetScene> m_scene;
    std::int64_t m_next = 0;
};

} // namespace vdostream
