#include "platform/axparameter/store_file.h"

#include "platform/axparameter/database.h"
#include "platform/axparameter/failure.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>

namespace host_parameters {
namespace {

using platform::Descriptor;

/** A save sets each of about 70 parameters, and each set takes a page of the log. */
constexpr off_t room_for_saves = 1 << 20;

std::string folder_of(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path();
    return folder.empty() ? "." : folder;
}

bool make_folder(const std::filesystem::path& folder, GError** error) {
    if (folder.empty() || access(folder.c_str(), F_OK) == 0)
        return true;
    const std::filesystem::path parent = folder.parent_path();
    if (!make_folder(parent, error))
        return false;
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        return fail(error, ErrorCode::store,
                    "The folder " + folder.string() + " of the parameter store cannot be made: " + g_strerror(errno));
    // A folder whose entry is lost with the power would take the synchronised store along.
    const Descriptor above(open(parent.empty() ? "." : parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    fsync(above.get());
    return true;
}

} // namespace

FileIdentity identity_of(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? FileIdentity{status.st_dev, status.st_ino} : FileIdentity();
}

bool is_lack_of_room(int system_error) {
    return system_error == ENOSPC || system_error == EDQUOT;
}

bool has_room_for_saves(const std::string& path) {
    // A file without a name: nothing is left of it, whatever happens.
    const Descriptor file(open(folder_of(path).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
    return !is_lack_of_room(file ? posix_fallocate(file.get(), 0, room_for_saves) : errno);
}

bool no_room(const std::string& path, GError** error) {
    return fail(error, ErrorCode::store,
                "The parameter store " + path + " cannot be written: there is no room in " + folder_of(path) +
                    " for the settings, so make some");
}

bool make_folders_above(const std::string& path, GError** error) {
    return make_folder(std::filesystem::path(path).parent_path(), error);
}

bool OpeningLock::take(const std::string& path, GError** error) {
    const std::string name = path + ".lock";
    m_file = Descriptor(open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!m_file) {
        if (is_lack_of_room(errno))
            return no_room(path, error);
        return fail(error, ErrorCode::store,
                    "The parameter store cannot be opened: " + name + ": " + g_strerror(errno));
    }
    const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(busy_timeout_ms);
    while (flock(m_file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (std::chrono::steady_clock::now() > limit)
            return fail(error, ErrorCode::store,
                        "The parameter store " + path + " is being opened by another process that does not finish.");
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace host_parameters
