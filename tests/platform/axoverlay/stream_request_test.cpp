#include "platform/axoverlay/stream_request.h"

#include <gtest/gtest.h>

namespace {

using namespace host_overlay;

const std::vector<VdoResolution> offered_sizes{{1280, 720}, {640, 360}};

TEST(StreamRequest, GoodRequests) {
    struct Case {
        std::string path;
        QueryArguments query;
        Geometry geometry;
        bool motion;
    };
    for (const Case& c : std::vector<Case>{
             {"/stream/1280x720.mjpg", {}, {1280, 720, 0, false}, true},
             {"/stream/640x360.jpg", {}, {640, 360, 0, false}, false},
             {"/stream/640x360.jpg", {{"rotation", "90"}}, {640, 360, 90, false}, false},
             {"/stream/640x360.jpg", {{"mirror", "1"}, {"rotation", "270"}}, {640, 360, 270, true}, false},
             {"/stream/640x360.mjpg", {{"rotation", "180"}, {"mirror", "0"}}, {640, 360, 180, false}, true},
         }) {
        const StreamRequest request = parse_stream_request(c.path, c.query, offered_sizes);
        EXPECT_EQ(request.status, 200U) << c.path;
        EXPECT_TRUE(request.geometry == c.geometry) << c.path;
        EXPECT_EQ(request.motion, c.motion) << c.path;
    }
}

TEST(StreamRequest, Refusals) {
    const std::string nothing = "There is nothing here; the camera's video is at /stream/WIDTHxHEIGHT.mjpg and "
                                "/stream/WIDTHxHEIGHT.jpg, in these sizes: 1280x720, 640x360.";
    const std::string malformed = "The size must be two numbers joined by an x, like 1280x720.";
    const std::string unknown = "The camera has no video of that size; it offers 1280x720, 640x360.";
    const std::string rotation = "The rotation must be 0, 90, 180 or 270.";
    const std::string mirror = "The value of mirror must be 0 or 1.";
    const std::string query = "The query may hold rotation (0, 90, 180, 270) and mirror (0, 1) only.";
    struct Case {
        std::string path;
        QueryArguments query;
        unsigned status;
        std::string sentence;
    };
    for (const Case& c : std::vector<Case>{
             {"/", {}, 404, nothing},
             {"/stream/", {}, 404, nothing},
             {"/stream/640x360", {}, 404, nothing},
             {"/stream/640x360.png", {}, 404, nothing},
             {"/other/640x360.jpg", {}, 404, nothing},
             {"/stream/.jpg", {}, 400, malformed},
             {"/stream/640.jpg", {}, 400, malformed},
             {"/stream/640x.jpg", {}, 400, malformed},
             {"/stream/x360.jpg", {}, 400, malformed},
             {"/stream/640x-360.jpg", {}, 400, malformed},
             {"/stream/640x360x2.jpg", {}, 400, malformed},
             {"/stream/../640x360.jpg", {}, 400, malformed},
             {"/stream/99999999999x360.jpg", {}, 400, malformed},
             {"/stream/640x361.jpg", {}, 404, unknown},
             {"/stream/360x640.mjpg", {}, 404, unknown},
             {"/stream/0x0.mjpg", {}, 404, unknown},
             {"/stream/640x360.jpg", {{"rotation", "45"}}, 400, rotation},
             {"/stream/640x360.jpg", {{"rotation", ""}}, 400, rotation},
             {"/stream/640x360.jpg", {{"rotation", "-90"}}, 400, rotation},
             {"/stream/640x360.jpg", {{"mirror", "2"}}, 400, mirror},
             {"/stream/640x360.jpg", {{"mirror", "yes"}}, 400, mirror},
             {"/stream/640x360.jpg", {{"zoom", "2"}}, 400, query},
         }) {
        const StreamRequest request = parse_stream_request(c.path, c.query, offered_sizes);
        EXPECT_EQ(request.status, c.status) << c.path;
        EXPECT_EQ(request.sentence, c.sentence) << c.path;
    }
}

} // namespace
