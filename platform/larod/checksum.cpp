#include "platform/larod/checksum.h"

#include "platform/common/handle.h"

#include <glib.h>

#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

namespace korvex::larod {

namespace {

/** Empty when there is none. */
std::string noted_checksum(const std::filesystem::path& file) {
    std::ifstream notes(file.parent_path() / "model.sha256");
    std::string checksum;
    std::string name;
    while (notes >> checksum >> name) {
        if (name == file.filename())
            return checksum;
    }
    return {};
}

std::string checksum_of(const std::filesystem::path& file) {
    const platform::Handle<GChecksum, g_checksum_free> sum(g_checksum_new(G_CHECKSUM_SHA256));
    std::ifstream bytes(file, std::ios::binary);
    std::vector<char> block(1 << 16);
    while (bytes.read(block.data(), static_cast<std::streamsize>(block.size())) || bytes.gcount() > 0)
        g_checksum_update(sum.get(), reinterpret_cast<const guchar*>(block.data()),
                          static_cast<gssize>(bytes.gcount()));
    return g_checksum_get_string(sum.get());
}

} // namespace

std::string why_file_is_damaged(const std::string& path) {
    std::error_code unknown;
    const std::filesystem::path file = std::filesystem::canonical(path, unknown);
    const std::string noted = unknown ? "" : noted_checksum(file);
    if (noted.empty() || noted == checksum_of(file))
        return {};
    return "The file " + file.string() + " is damaged: it is not what was made. model/make.sh makes it anew.";
}

} // namespace korvex::larod
