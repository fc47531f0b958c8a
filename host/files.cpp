#include "host/files.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace console {

namespace fs = std::filesystem;

bool is_readable_file(const std::string& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored) && euidaccess(path.c_str(), R_OK) == 0;
}

bool can_write(const std::string& path) {
    std::error_code ignored;
    if (fs::exists(path, ignored))
        return !fs::is_directory(path, ignored) && euidaccess(path.c_str(), W_OK) == 0;
    const fs::path folder = fs::absolute(path, ignored).parent_path();
    return fs::is_directory(folder, ignored) && euidaccess(folder.c_str(), W_OK) == 0;
}

std::string full_path(const std::string& path) {
    std::error_code ignored;
    const fs::path absolute = fs::absolute(path, ignored);
    const fs::path full = fs::weakly_canonical(absolute, ignored);
    return full.empty() ? absolute.string() : full.string();
}

std::string contents_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string first_line(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

} // namespace console
