#include "platform/axoverlay/settings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

namespace {

using namespace host_overlay;

TEST(Settings, UnsetOrEmptyMeansNoServer) {
    unsetenv("KORVEX_OVERLAY_LISTEN");
    EXPECT_FALSE(listen_setting());
    setenv("KORVEX_OVERLAY_LISTEN", "", 1);
    EXPECT_FALSE(listen_setting());
    unsetenv("KORVEX_OVERLAY_LISTEN");
}

TEST(Settings, NumericAddressesOfBothFamiliesAreTaken) {
    for (const auto& [text, family, host] : std::vector<std::tuple<std::string, int, std::string>>{
             {"127.0.0.1:8080", AF_INET, "127.0.0.1"},
             {"0.0.0.0:0", AF_INET, "0.0.0.0"},
             {"[::1]:65535", AF_INET6, "[::1]"},
         }) {
        setenv("KORVEX_OVERLAY_LISTEN", text.c_str(), 1);
        const auto listen = listen_setting();
        ASSERT_TRUE(listen) << text;
        EXPECT_EQ(listen->address.ss_family, family) << text;
        EXPECT_EQ(listen->host, host) << text;
    }
    unsetenv("KORVEX_OVERLAY_LISTEN");
}

TEST(Settings, UnixBeginsThePathOfASocket) {
    for (const std::string path : {"/run/streams.socket", "streams.socket", "a:1", "unix:"}) {
        setenv("KORVEX_OVERLAY_LISTEN", ("unix:" + path).c_str(), 1);
        const auto listen = listen_setting();
        ASSERT_TRUE(listen) << path;
        EXPECT_EQ(listen->path, path);
        EXPECT_EQ(listen->text, "unix:" + path);
    }
    setenv("KORVEX_OVERLAY_LISTEN", "127.0.0.1:1", 1);
    EXPECT_EQ(listen_setting()->path, "");
    unsetenv("KORVEX_OVERLAY_LISTEN");
}

TEST(Settings, AnythingElseIsRefusedWithASentence) {
    for (const std::string text :
         {"8080", ":8080", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1", "127.0.0.1:80 ",
          "localhost:80", "::1:80", "unix:", "unix", "UNIX:/x", "[127.0.0.1]:80", "[]:80", "[:80"}) {
        setenv("KORVEX_OVERLAY_LISTEN", text.c_str(), 1);
        EXPECT_THROW(listen_setting(), std::runtime_error) << text;
    }
    unsetenv("KORVEX_OVERLAY_LISTEN");
}

TEST(Settings, TheJpegQualityIs80UnlessTold) {
    unsetenv("KORVEX_OVERLAY_JPEG_QUALITY");
    EXPECT_EQ(jpeg_quality_setting(), 80);
    setenv("KORVEX_OVERLAY_JPEG_QUALITY", "100", 1);
    EXPECT_EQ(jpeg_quality_setting(), 100);
    for (const std::string text : {"0", "101", "-5", "8x", " 80", "good"}) {
        setenv("KORVEX_OVERLAY_JPEG_QUALITY", text.c_str(), 1);
        EXPECT_THROW(jpeg_quality_setting(), std::runtime_error) << text;
    }
    unsetenv("KORVEX_OVERLAY_JPEG_QUALITY");
}

} // namespace
