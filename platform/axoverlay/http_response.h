#pragma once

#include <microhttpd.h>

#include <string>

namespace host_overlay {

constexpr const char* kJpegType = "image/jpeg";
constexpr const char* kMultipartType = "multipart/x-mixed-replace; boundary=picture";

/** Adds the headers that every answer has; nullptr stays nullptr. */
MHD_Response* typed_response(MHD_Response* response, const char* type);

/** A sentence as plain text. */
MHD_Response* text_response(const std::string& sentence);

} // namespace host_overlay
