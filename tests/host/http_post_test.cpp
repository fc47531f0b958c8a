#include "host/http_post.h"
#include "tests/host/fake_hook.h"

#include <gmock/gmock.h>

#include <chrono>
#include <future>

namespace {

using console::HttpPost;
using console::PostResult;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

TEST(HttpPost, WhatIsPostedArrivesAsJson) {
    FakeHook hook;
    HttpPost post(hook.url(), "");
    EXPECT_TRUE(post.post(R"({"level": 1})").taken);
    EXPECT_TRUE(post.post(R"({"level": 2})").taken);
    const auto requests = hook.requests(2);
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_THAT(requests[0], StartsWith("POST /alerts HTTP/1.1\r\n"));
    EXPECT_THAT(requests[0], HasSubstr("\r\nContent-Type: application/json\r\n"));
    EXPECT_THAT(requests[0], EndsWith("\r\n\r\n{\"level\": 1}"));
    EXPECT_THAT(requests[1], EndsWith("\r\n\r\n{\"level\": 2}"));
}

TEST(HttpPost, AnythingBut2xxIsARefusal) {
    FakeHook hook;
    HttpPost post(hook.url(), "");
    for (const int status : {301, 404, 500}) {
        hook.answer(status);
        const PostResult result = post.post("{}");
        EXPECT_FALSE(result.taken);
        EXPECT_FALSE(result.distrusted);
        EXPECT_EQ(result.problem, "it answers with status " + std::to_string(status));
    }
    hook.answer(200);
    EXPECT_TRUE(post.post("{}").taken);
}

TEST(HttpPost, SaysWhyThereIsNobody) {
    std::string url;
    {
        const FakeHook gone;
        url = gone.url();
    }
    const PostResult result = HttpPost(url, "").post("{}");
    EXPECT_FALSE(result.taken);
    EXPECT_THAT(result.problem, StartsWith("Failed to connect to 127.0.0.1 port "));
}

TEST(HttpPost, SpeaksNothingButHttp) {
    EXPECT_THAT(HttpPost("file:///etc/passwd", "").post("{}").problem, HasSubstr("not supported"));
}

TEST(HttpPost, IsBrokenOffAtOnce) {
    FakeHook hook;
    hook.answer(0);
    HttpPost post(hook.url(), "");
    auto result = std::async(std::launch::async, [&] { return post.post("{}"); });
    ASSERT_EQ(hook.requests(1).size(), 1U);
    const auto begin = std::chrono::steady_clock::now();
    post.stop();
    EXPECT_FALSE(result.get().taken);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(300));
    EXPECT_FALSE(post.post("{}").taken);
}

} // namespace
