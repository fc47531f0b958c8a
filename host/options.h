#pragma once

#include <string>

namespace console {

/** What the command line of a console program asks for. */
struct Options {
    double seconds = 0.0; ///< of video, of a replay; infinite when nothing is said
    std::string record;   ///< the MP4 file to write the annotated video to; empty: none
    int width = 1280;     ///< of the stream that is recorded, before rotation
    int height = 720;
};

/** Reads "--seconds N" (of a replay alone), "--record FILE" and "--stream WxH". Throws std::runtime_error with a
    sentence about what does not make sense. */
Options parse_options(int argc, char** argv, bool replay);

} // namespace console
