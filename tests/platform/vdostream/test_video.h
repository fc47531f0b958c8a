#pragma once

#include "platform/vdostream/error.h"
#include "platform/vdostream/picture.h"
#include "platform/vdostream/reader.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/variables.h"
#include "vdo-stream.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/** What the tests of the video library share. */
namespace test_video {

using ::TemporaryFolder;
using environment = Variables;

struct video_file {
    std::string path;
    int width = 64;
    int height = 48;
    int frames = 5;
    int fps = 25;
    /** FFmpeg's name of the encoder; "ffv1" loses nothing. */
    std::string codec = "ffv1";
    /** What the file says of how the camera was held, if anything: a display matrix. */
    std::optional<std::array<std::int32_t, 9>> matrix = std::nullopt;
};
/**
 * Luma of pixel (x, y) of frame `index` in every such file: tells frames apart and grows to the right and downwards.
 */
std::uint8_t luma_at(int index, int x, int y);
void write_video(const video_file& wanted);
std::vector<char> read_file(const std::string& path);
void write_file(const std::string& path, const std::vector<char>& bytes);

/** A picture of one grey. */
class GreyPicture : public vdostream::Picture {
  public:
    explicit GreyPicture(std::uint8_t grey) : m_pixels(64 * 48 * 3 / 2, grey) {}
    /** How often somebody converted it. */
    std::atomic<int> conversions = 0;

  protected:
    bool native(vdostream::Nv12View& view) override {
        ++conversions;
        view = {m_pixels.data(), 64, m_pixels.data() + 64 * 48, 64, 64, 48};
        return true;
    }

  private:
    std::vector<std::uint8_t> m_pixels;
};

enum class ReadResult { picture, end, lost };

/** Whether a source or reader opens; why not. */
template <typename Openable>
bool opens(Openable& openable, std::string& why) {
    try {
        openable.open();
        return true;
    } catch (const vdostream::Failure& failure) {
        why = failure.sentence;
        return false;
    }
}

/** A reader whose every answer the test gives. The functions run on the reading thread. */
class ScriptedReader : public vdostream::Reader {
  public:
    std::function<bool(std::string&)> on_open = [](std::string&) { return true; };
    std::function<ReadResult(std::shared_ptr<vdostream::Picture>&, std::string&)> on_read;
    bool live = false;
    double fps = 100.0;
    /** For the functions above to look at. */
    std::atomic<bool> is_to_be_lost = false;

    void open() override {
        std::string why;
        if (!on_open(why))
            throw vdostream::Failure(vdostream::Code::no_source, why);
    }
    std::shared_ptr<vdostream::Picture> read() override {
        std::shared_ptr<vdostream::Picture> next;
        std::string why;
        const ReadResult result = on_read(next, why);
        if (result == ReadResult::lost)
            throw vdostream::Failure(vdostream::Code::no_source, why);
        return result == ReadResult::picture ? next : nullptr;
    }
    vdostream::SourceProperties properties() const override { return {64, 48, fps}; }
    bool is_live() const override { return live; }
    bool is_cancelled() const { return cancelled(); }
};

/** A stream as the application makes it; a null one with `message` when that failed. */
VdoStream* new_stream(const std::map<std::string, guint32>& settings, std::string* message = nullptr);
/** Takes a GError's message and frees it; "" for none. */
std::string take_message(GError*& error);

} // namespace test_video
