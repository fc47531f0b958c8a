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

class scene_picture : public picture {
  public:
    explicit scene_picture(std::shared_ptr<host_scene::street_scene> scene) : m_Scene(std::move(scene)) {}

  protected:
    bool native(nv12_view& view) override {
        if (m_Pixels.empty()) {
            m_Pixels.resize(std::size_t{width} * height * 3 / 2);
            m_Scene->draw_nv12(seconds, m_Pixels.data());
        }
        view = {m_Pixels.data(), width, m_Pixels.data() + std::ptrdiff_t{width} * height, width, width, height};
        return true;
    }

  private:
    const std::shared_ptr<host_scene::street_scene> m_Scene;
    std::vector<std::uint8_t> m_Pixels;
};

} // namespace

scene_reader::scene_reader() = default;
scene_reader::~scene_reader() = default;

bool scene_reader::open(std::string& /*why*/) {
    m_Scene = std::make_shared<host_scene::street_scene>(width, height);
    m_Next = 0;
    return true;
}

read_result scene_reader::read(std::shared_ptr<picture>& next, std::string& /*why*/) {
    next = std::make_shared<scene_picture>(m_Scene);
    next->seconds = static_cast<double>(m_Next++) / fps;
    return read_result::picture;
}

void scene_reader::skip_to(double seconds) {
    // Far beyond any run; it keeps the frame's number an integer.
    constexpr double latest = 1e12;
    m_Next = std::max(m_Next, static_cast<std::int64_t>(std::floor(std::min(seconds, latest) * fps + 1e-4)));
}

source_properties scene_reader::properties() const {
    return {width, height, fps};
}

} // namespace vdostream
