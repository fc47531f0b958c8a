// Property: a request with any URI gets the answer that a plain decoder of the query says.

#include "app/app_main.h"
#include "fuzz/fuzz.h"
#include "tests/web/running_service.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

namespace {

/** Digits of a hexadecimal number only. */
int hex_value(char c) {
    constexpr std::string_view digits = "0123456789abcdef";
    const char lower = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    const size_t found = digits.find(lower);
    return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

/** A C text ends at the first zero byte. */
std::string up_to_zero(const std::string& text) {
    return text.substr(0, text.find('\0'));
}

std::string decode(const std::string& text) {
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && hex_value(text[i + 1]) >= 0 && hex_value(text[i + 2]) >= 0) {
            plain += static_cast<char>(16 * hex_value(text[i + 1]) + hex_value(text[i + 2]));
            i += 2;
        } else {
            plain += text[i] == '+' ? ' ' : text[i];
        }
    }
    return up_to_zero(plain);
}

std::string answer_to(const std::string& action) {
    const std::string plain = "Content-Type: text/plain\r\n";
    const std::string ok = "Status: 200 OK\r\n";
    if (action == "get_status_string")
        return ok + plain + plain + "\r\nRunning";
    if (action == "get_execution_time")
        return ok + plain + "\r\n12";
    if (action == "get_is_portrait")
        return ok + plain + "\r\n0";
    if (action == "get_status_code")
        return ok + plain + "\r\n200";
    if (action == "clear_logfile")
        return ok + plain + "\r\nLog file cleared.";
    return ok + "\r\n";
}

/** Nothing for an action that answers with the log or the settings: those are not the same from call to call. */
std::optional<std::string> expected_answer(const std::string& uri) {
    const std::string without_fragment = uri.substr(0, uri.find('#'));
    const size_t mark = without_fragment.find('?');
    if (mark == std::string::npos)
        return "Failed to parse query";
    std::string answer;
    std::string rest = without_fragment.substr(mark + 1) + "&";
    for (size_t end = rest.find('&'); end != std::string::npos; end = rest.find('&')) {
        const std::string item = rest.substr(0, end);
        rest.erase(0, end + 1);
        const size_t equals = item.find('=');
        if (item.empty() || decode(item.substr(0, equals)) != "action")
            continue;
        const std::string action = equals == std::string::npos ? "" : decode(item.substr(equals + 1));
        if (action.starts_with("get_logfile") || action == "get_all_parameters")
            return std::nullopt;
        answer += answer_to(action);
    }
    return answer;
}

/** A path and a query of harmless characters: must be read, whatever else is refused. */
bool is_simple(const std::string& uri) {
    return uri.starts_with("/") && !uri.starts_with("//") && std::all_of(uri.begin(), uri.end(), [](char c) {
               return strchr("abcdefghijklmnopqrstuvwxyz0123456789_/?=&+", c) != nullptr;
           });
}

running_service& service() {
    static auto& instance =
        *new running_service(own_folder() / "service.socket"); // its thread serves until the process ends
    return instance;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string uri = up_to_zero(text_of(data, size));
    const std::optional<std::string> expected = expected_answer(uri);
    if (!expected)
        return 0;
    silence_log();
    g_StatusCode = 200;
    g_ExecutionTime = 12;
    const std::string answer = service().get(uri);
    if (answer == "Failed to parse URI") {
        require(!is_simple(uri), "a simple URI is read");
        return 0;
    }
    if (answer != *expected)
        fprintf(stderr, "URI: %s\nexpected: %s\nanswer: %s\n", uri.c_str(), expected->c_str(), answer.c_str());
    require(answer == *expected, "the answer is the one for the query's items");
    return 0;
}
