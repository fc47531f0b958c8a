// Property: whatever bytes a client sends on its connection, the next one's good request gets its answer.

#include "app/app_main.h"
#include "fuzz/fuzz.h"
#include "tests/web/running_service.h"

#include <algorithm>
#include <limits>
#include <map>
#include <numeric>
#include <optional>
#include <vector>

namespace {

running_service& service() {
    static auto& instance =
        *new running_service(own_folder() / "service.socket"); // its thread serves until the process ends
    return instance;
}

/** Where the bytes of a list of names and values stand; it may come in several records. */
using positions = std::vector<size_t>;

/** The lengths of a name or of a value: a byte, or four of which the first has its highest bit set. */
struct stated_length {
    uint64_t value;
    size_t first; // where it stands

    static std::optional<stated_length> read(const std::string& bytes, const positions& list, size_t& next) {
        const auto take = [&] { return static_cast<unsigned char>(bytes[list[next++]]); };
        if (next >= list.size())
            return std::nullopt;
        stated_length length{0, list[next]};
        length.value = take();
        if (length.value < 0x80)
            return length;
        if (list.size() - next < 3)
            return std::nullopt;
        length.value &= 0x7F;
        for (int i = 0; i < 3; ++i)
            length.value = length.value << 8 | take();
        return length;
    }

    /** Below a quarter of what an int holds. */
    void cut(std::string& bytes) {
        if (value < 0x80)
            return;
        bytes[first] = static_cast<char>(static_cast<unsigned char>(bytes[first]) & 0x9F);
        value &= 0x1FFFFFFF;
    }
};

void cut_impossible_lengths(std::string& bytes, const positions& list) {
    for (size_t next = 0; next < list.size();) {
        auto name = stated_length::read(bytes, list, next);
        auto value = stated_length::read(bytes, list, next);
        if (!name || !value)
            return;
        if (name->value + value->value + 2 > std::numeric_limits<int>::max()) {
            name->cut(bytes);
            value->cut(bytes);
        }
        next += std::min<uint64_t>(name->value + value->value, list.size());
    }
}

/**
 * libfcgi takes memory for a name and its value as long as they are said to be, before they have come, and ends the
 * process when it gets none: always when both lengths add up to more than an int. That is its own defect, with nothing
 * of the application before it. These lengths are made smaller, and nothing else is changed.
 */
std::string without_impossible_lengths(std::string bytes) {
    constexpr size_t header_size = 8;
    constexpr int params = 4;
    constexpr int get_values = 9; // a list in one record
    const auto byte_at = [&bytes](size_t position) { return static_cast<unsigned char>(bytes[position]); };
    std::map<int, positions> lists; // by their request; an empty record ends them
    for (size_t header = 0; header + header_size <= bytes.size();) {
        const int type = byte_at(header + 1);
        const int request = byte_at(header + 2) * 256 + byte_at(header + 3);
        const size_t length = byte_at(header + 4) * 256U + byte_at(header + 5);
        positions content(std::min(length, bytes.size() - header - header_size));
        std::iota(content.begin(), content.end(), header + header_size);
        if (type == get_values)
            cut_impossible_lengths(bytes, content);
        if (type == params) {
            positions& list = lists[request];
            list.insert(list.end(), content.begin(), content.end());
            cut_impossible_lengths(bytes, list);
            if (length == 0)
                list.clear();
        }
        header += header_size + length + byte_at(header + 6);
    }
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
