#include "fuzz/fuzz.h"

#include "base/logger.h"

#include <stdlib.h>

#include <cstdio>

namespace {

struct temporary_folder {
    temporary_folder() {
        std::string name = (std::filesystem::temp_directory_path() / "korvex_fuzz_XXXXXX").string();
        require(mkdtemp(name.data()) != nullptr, "a temporary folder can be made");
        path = name;
    }
    temporary_folder(const temporary_folder&) = delete;
    temporary_folder& operator=(const temporary_folder&) = delete;
    ~temporary_folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    std::filesystem::path path;
};

} // namespace

void require(bool holds, const char* property) {
    if (holds)
        return;
    fprintf(stderr, "does not hold: %s\n", property);
    abort();
}

std::string text_of(const uint8_t* data, size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

const std::filesystem::path& own_folder() {
    static const temporary_folder folder;
    return folder.path;
}

void silence_log() {
    g_Logger._logfilePath = "/dev/null";
    g_Logger.clear();
}
