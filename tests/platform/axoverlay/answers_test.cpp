#include "platform/axoverlay/host_answers.h"
#include "tests/platform/axoverlay/http_client.h"
#include "tests/platform/axoverlay/test_video.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace {

using http_client::request;

class AnswersTest : public test_video::OverlayApplication {
  protected:
    ~AnswersTest() override {
        host_overlay::set_answers({});
        host_overlay::set_header("X-Said", "");
    }
};

TEST_F(AnswersTest, OthersAreAskedBeforeThePictures) {
    start();
    host_overlay::set_answers([](const std::string& path, const host_overlay::QueryArguments& query) {
        std::optional<host_overlay::Answer> answer;
        if (path == "/stream/list.json") {
            answer = {.type = "application/json", .body = "[" + (query.empty() ? "" : query[0].second) + "]"};
        } else if (path == "/stream/wrong") {
            answer = {.status = 400, .body = "That is wrong.\n"};
        } else if (path == "/stream/thrown") {
            throw std::runtime_error("the store is gone");
        }
        return answer;
    });
    auto reply = request(address(), "GET", "/stream/list.json?day=4");
    EXPECT_EQ(reply.head.status, 200);
    EXPECT_EQ(reply.head.headers["content-type"], "application/json");
    EXPECT_EQ(reply.head.headers["cross-origin-resource-policy"], "same-origin");
    EXPECT_EQ(reply.body, "[4]");
    EXPECT_EQ(request(address(), "HEAD", "/stream/list.json").body, "");
    reply = request(address(), "GET", "/stream/wrong");
    EXPECT_EQ(reply.head.status, 400);
    EXPECT_EQ(reply.body, "That is wrong.\n");
    reply = request(address(), "GET", "/stream/thrown");
    EXPECT_EQ(reply.head.status, 503);
    EXPECT_EQ(reply.body, "the store is gone\n");
    EXPECT_EQ(request(address(), "GET", "/stream/other").head.status, 404);
    host_overlay::set_answers({});
    EXPECT_EQ(request(address(), "GET", "/stream/list.json").head.status, 404);
}

TEST_F(AnswersTest, AFileIsSentWholeAndOneThatIsGoneIsToldOf) {
    const TemporaryFolder own;
    const std::string folder = own.path();
    const std::string path = folder + "/still.jpg";
    const std::string content(300000, 'j');
    std::ofstream(path) << content;
    std::filesystem::create_symlink(path, folder + "/link.jpg");
    start();
    host_overlay::set_answers([&folder](const std::string& asked, const host_overlay::QueryArguments&) {
        const std::string name = asked.substr(asked.rfind('/') + 1);
        return std::optional(host_overlay::Answer{
            .type = "image/jpeg", .file = folder + "/" + name, .filename = name == "still.jpg" ? "kept.jpg" : ""});
    });
    auto reply = request(address(), "GET", "/stream/still.jpg");
    EXPECT_EQ(reply.head.status, 200);
    EXPECT_EQ(reply.head.headers["content-disposition"], "attachment; filename=\"kept.jpg\"");
    EXPECT_EQ(reply.body, content);
    for (const char* other : {"gone.jpg", "link.jpg", ""}) {
        reply = request(address(), "GET", std::string("/stream/") + other);
        EXPECT_EQ(reply.head.status, 404) << other;
        EXPECT_EQ(reply.body, "It is not there, or not there any more.\n") << other;
    }
}

TEST_F(AnswersTest, EveryAnswerHasTheHeaderUntilItIsTakenAway) {
    start();
    redraw({});
    host_overlay::set_header("X-Said", "lost");
    EXPECT_EQ(request(address(), "HEAD", "/stream/320x240.mjpg").head.headers["x-said"], "lost");
    EXPECT_EQ(request(address(), "GET", "/stream/nothing").head.headers["x-said"], "lost");
    host_overlay::set_header("X-Said", "");
    EXPECT_EQ(request(address(), "GET", "/stream/nothing").head.headers.count("x-said"), 0U);
}

} // namespace
