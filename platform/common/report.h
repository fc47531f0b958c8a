#pragma once

#include <cstdio>
#include <string>

namespace platform {

/** One line on stderr: what a library has to say itself, since no caller can be told. `who` is its name there. */
inline void report(const char* who, const std::string& sentence) {
    std::fprintf(stderr, "%s: %s\n", who, sentence.c_str());
}

} // namespace platform
