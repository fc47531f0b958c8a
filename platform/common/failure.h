#pragma once

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

namespace platform {

/**
 * What failed: thrown where it is noticed, and made the C interface's error at its entry point. `code` is one of the
 * library's own. Without a virtual function: UBSan looks at those with system calls that a sandbox refuses.
 */
struct Failure {
    template <typename Code>
    Failure(Code number, std::string text) : code(static_cast<int>(number)), sentence(std::move(text)) {}

    int code;
    std::string sentence;
};

/** "Cannot read the input: No such file or directory.", for what the system has just refused. */
template <typename Code>
Failure refused_by_system(Code code, const std::string& what) {
    return {code, what + ": " + std::strerror(errno) + "."};
}

template <typename Code>
void need(bool is_so, Code code, const char* otherwise) {
    if (!is_so)
        throw Failure(code, otherwise);
}

} // namespace platform
