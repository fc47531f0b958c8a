// Property: whatever bytes a client sends on its connection, the next one's good request gets its answer.

#include "app/app_main.h"
#include "fuzz/fuzz.h"
#include "tests/web/running_service.h"

namespace {

running_service& service() {
    static auto& instance =
        *new running_service(own_folder() / "service.socket"); // its thread serves until the process ends
    return instance;
}

/**
 * libfcgi asserts when the lengths of a parameter's name and value add up to more than an int, which no web server
 * states: the first byte of one of them is at least 191 then. Such bytes are replaced.
 */
std::string without_impossible_lengths(std::string bytes) {
    for (char& byte : bytes)
        if (static_cast<unsigned char>(byte) >= 191)
            byte = static_cast<char>(static_cast<unsigned char>(byte) & 0x3F);
    return bytes;
}

} // namespace

// libfcgi forgets 48 bytes for each broken request for its own values (FCGI_GET_VALUES), which no web server sends.
// What we would leak ourselves fastcgi_service_test counts.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfcgi.so";
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    silence_log();
    g_StatusCode = 200;
    {
        fastcgi_client client(service().socket());
        client.send_bytes(without_impossible_lengths(text_of(data, size)));
        client.end_sending();
        client.receive();
    }
    require(service().get("/?action=get_status_code") == "Status: 200 OK\r\nContent-Type: text/plain\r\n\r\n200",
            "a good request is answered afterwards");
    return 0;
}
