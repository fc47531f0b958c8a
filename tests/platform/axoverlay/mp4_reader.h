#pragma once

#include <string>
#include <vector>

/** What FFmpeg finds in a video file. */
struct Mp4Content {
    std::string codec;
    int width = 0;
    int height = 0;
    std::vector<double> seconds; // when each picture is shown
    std::vector<int> luma;       // of each picture's pixel (8, 8)
};

/** Empty when it is no video. */
Mp4Content read_mp4(const std::string& path);
