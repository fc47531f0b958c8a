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

void make_folder(const std::filesystem::path& folder) {
    if (folder.empty() || access(folder.c_str(), F_OK) == 0)
        return;
    const std::filesystem::path parent = folder.parent_path();
    make_folder(parent);
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        fail(ErrorCode::store,
             "The folder " + folder.string() + " of the parameter store cannot be made: " + g_strerror(errno));
    // A folder whose entry is lost with the power would take the synchronised store along.
    const Descriptor above(open(parent.empty() ? "." : parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    fsync(above.get());
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

void fail_for_lack_of_room(const std::string& path) {
    fail(ErrorCode::store, "The parameter store " + path + " cannot be written: there is no room in " +
                               folder_of(path) + " for the settings, so make some");
}

void make_folders_above(const std::string& path) {
    make_folder(std::filesystem::path(path).parent_path());
}

OpeningLock::OpeningLock(const std::string& path) {
    const std::string name = path + ".lock";
    m_file = Descriptor(open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!m_file) {
        if (is_lack_of_room(errno))
            fail_for_lack_of_room(path);
        fail(ErrorCode::store, "The parameter store cannot be opened: " + name + ": " + g_strerror(errno));
    }
    const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(busy_timeout_ms);
    while (flock(m_file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (std::chrono::steady_clock::now() > limit)
            fail(ErrorCode::store,
                 "The parameter store " + path + " is being opened by another process that does not finish.");
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

} // namespace host_parameters
