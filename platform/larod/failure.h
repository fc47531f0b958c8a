#pragma once

#include <cerrno>
#include <cstring>
#include <string>

namespace korvex::larod {

/** The codes of the host's errors; the text says the rest. */
enum class Code : int { argument = 1, engine = 2, model = 3, descriptor = 4, inference = 5, memory = 6 };

/**
 * What failed: thrown where it is noticed, and made the interface's error or a message at the edge. Without a virtual
 * function: UBSan looks at those with system calls that a sandbox refuses.
 */
struct Failure {
    Code code = Code::engine;
    std::string sentence;
};

/** "Cannot read the input: No such file or directory.", for what the system has just refused. */
inline Failure refused_by_system(Code code, const std::string& what) {
    return {code, what + ": " + std::strerror(errno) + "."};
}

} // namespace korvex::larod
