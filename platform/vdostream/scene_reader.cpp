#include "platform/vdostream/scene_reader.h"

#include "platform/street/street_scene.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace vdostream {
namespace {

constexpr double fps = host_scene::frames_a_second;
constexpr int width = host_scene::design_width;
constexpr int height = host_scene::design_height;

class ScenePicture : public Picture {
  public:
    explicit ScenePicture(std::shared_ptr<host_scene::StreetScene> scene) : m_scene(std::move(scene)) {}

  protected:
    bool native(Nv12View& view) override {
        if (m_pixels.empty()) {
            m_pixels.resize(std::size_t{width} * height * 3 / 2);
            m_scene->draw_nv12(seconds, m_pixels.data());
        }
        view = {m_pixels.data(), width, m_pixels.data() + std::ptrdiff_t{width} * height, width, width, height};
        return true;
    }

  private:
    const std::shared_ptr<host_scene::StreetScene> m_scene;
    std::vector<std::uint8_t> m_pixels;
};

} // namespace

SceneReader::SceneReader() = default;
SceneReader::~SceneReader() = default;

void SceneReader::open() {
    m_scene = std::make_shared<host_scene::StreetScene>(width, height);
    m_next = 0;
}

std::shared_ptr<Picture> SceneReader::read() {
    auto next = std::make_shared<ScenePicture>(m_scene);
    next->seconds = static_cast<double>(m_next++) / fps;
    return next;
}

void SceneReader::skip_to(double seconds) {
    // Far beyond any run; it keeps the frame's number an integer.
    constexpr double latest = 1e12;
    m_next = std::max(m_next, static_cast<std::int64_t>(std::floor(std::min(seconds, latest) * fps + 1e-4)));
}

SourceProperties SceneReader::properties() const {
    return {width, height, fps};
}

} // namespace vdostream
