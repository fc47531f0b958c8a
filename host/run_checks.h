#pragma once

#include "host/run_options.h"

namespace console {

/** What the options say together and about this machine. Gives them with the full paths of the files that they name,
    and with the video's address where that stands in a file or after --replay. Throws Refusal with a sentence about the
    first thing that is wrong; nothing was made or changed then. */
RunOptions checked(RunOptions options);

/** Whether the video is an rtsp:// address. */
bool is_network_address(const std::string& source);

} // namespace console
