#pragma once

#include <microhttpd.h>

#include <string>

namespace host_overlay {

constexpr const char* jpeg_type = "image/jpeg";
constexpr const char* event_stream_type = "text/event-stream";
constexpr const char* multipart_type = "multipart/x-mixed-replace; boundary=picture";

/** Adds the headers that every answer has; nullptr stays nullptr. */
inline MHD_Response* typed_response(MHD_Response* response, const char* type) {
    if (response != nullptr) {
        MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, type);
        MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
        MHD_add_response_header(response, MHD_HTTP_HEADER_CONNECTION, "close");
        // A page of another site cannot show the picture, even where the visitor's browser could.
        MHD_add_response_header(response, "Cross-Origin-Resource-Policy", "same-origin");
        MHD_add_response_header(response, "X-Content-Type-Options", "nosniff");
    }
    return response;
}

/** A sentence as plain text. */
inline MHD_Response* text_response(const std::string& sentence) {
    std::string line = sentence + "\n";
    return typed_response(MHD_create_response_from_buffer(line.size(), line.data(), MHD_RESPMEM_MUST_COPY),
                          "text/plain; charset=utf-8");
}

/** Bytes from a function until the connection ends. `release` is called with `source` once it is not read any more. */
inline MHD_Response* streamed_response(MHD_ContentReaderCallback read, std::size_t block, void* source,
                                       MHD_ContentReaderFreeCallback release, const char* type) {
    MHD_Response* response = MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, block, read, source, release);
    // Bytes as they are until the connection ends: simple players do not know the chunked encoding.
    if (response != nullptr)
        MHD_set_response_options(response, MHD_RF_HTTP_1_0_COMPATIBLE_STRICT, MHD_RO_END);
    return typed_response(response, type);
}

} // namespace host_overlay
