#include "platform/axoverlay/stream_request.h"

#include "platform/axoverlay/resolutions.h"
#include "platform/common/settings.h"

#include <string_view>

namespace host_overlay {
namespace {

constexpr std::string_view stream_folder = "/stream/";
constexpr std::string_view motion_suffix = ".mjpg";
constexpr std::string_view picture_suffix = ".jpg";

StreamRequest refused(unsigned status, std::string sentence) {
    return {status, std::move(sentence), {}, false};
}

bool read_rotation(const std::string& text, int& rotation) {
    const auto degrees = platform::parse_number(text, 0, 270);
    rotation = static_cast<int>(degrees.value_or(0));
    return degrees && rotation % 90 == 0;
}

bool read_switch(const std::string& text, bool& on) {
    on = text == "1";
    return on || text == "0";
}

/** The sentence to refuse with, or nothing. */
std::string read_query(const QueryArguments& query, Geometry& geometry) {
    for (const auto& [key, value] : query) {
        if (key == "rotation") {
            if (!read_rotation(value, geometry.rotation))
                return "The rotation must be 0, 90, 180 or 270.";
        } else if (key == "mirror") {
            if (!read_switch(value, geometry.mirrored))
                return "The value of mirror must be 0 or 1.";
        } else {
            return "The query may hold rotation (0, 90, 180, 270) and mirror (0, 1) only.";
        }
    }
    return "";
}

} // namespace

StreamRequest parse_stream_request(const std::string& path, const QueryArguments& query,
                                   const std::vector<VdoResolution>& offered) {
    StreamRequest request;
    std::string_view name = path;
    const std::string_view suffix = name.ends_with(motion_suffix) ? motion_suffix : picture_suffix;
    if (!name.starts_with(stream_folder) || !name.ends_with(suffix))
        return refused(404, "There is nothing here; the camera's video is at /stream/WIDTHxHEIGHT.mjpg and "
                            "/stream/WIDTHxHEIGHT.jpg, in these sizes: " +
                                list_text(offered) + ".");
    name.remove_prefix(stream_folder.size());
    name.remove_suffix(suffix.size());
    request.motion = suffix == motion_suffix;
    const auto size = platform::parse_size(name);
    if (!size)
        return refused(400, "The size must be two numbers joined by an x, like 1280x720.");
    request.geometry.width = size->width;
    request.geometry.height = size->height;
    if (!offers(offered, size->width, size->height))
        return refused(404, "The camera has no video of that size; it offers " + list_text(offered) + ".");
    if (std::string why = read_query(query, request.geometry); !why.empty())
        return refused(400, std::move(why));
    return request;
}

} // namespace host_overlay
