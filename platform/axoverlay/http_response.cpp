#include "platform/axoverlay/http_response.h"

namespace host_overlay {

MHD_Response* typed_response(MHD_Response* response, const char* type) {
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

MHD_Response* text_response(const std::string& sentence) {
    std::string line = sentence + "\n";
    return typed_response(MHD_create_response_from_buffer(line.size(), line.data(), MHD_RESPMEM_MUST_COPY),
                          "text/plain; charset=utf-8");
}

} // namespace host_overlay
