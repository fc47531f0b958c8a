#pragma once

#include <string>

namespace vdostream {

/**
 * What the camera sees: "scene", a file's path, an RTSP URL or a V4L2 device. It is the first line of the file that
 * KORVEX_VDO_SOURCE_FILE names, so that a password in a URL need be on no command line and in no environment; without
 * that variable it is KORVEX_VDO_SOURCE, and without either "scene". Throws a Failure when the file gives none.
 */
std::string source_name();

/** Without the password that an RTSP URL may carry. */
std::string printable(const std::string& name);

} // namespace vdostream
