#include "host/state_folder.h"

#include "host/files.h"
#include "host/refusal.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <filesystem>
#include <initializer_list>
#include <vector>

namespace console {
namespace {

namespace fs = std::filesystem;

constexpr mode_t rights_of_others = 077;
constexpr mode_t rights_of_owner = 07700; // with the three bits before them

struct stat status_of(const fs::path& path) {
    struct stat status {};
    lstat(path.c_str(), &status);
    return status;
}

/** Whether something in it belongs to another user. What the web server was given, in html/, is made anew. */
bool holds_what_others_made(const fs::path& folder) {
    std::error_code problem;
    fs::recursive_directory_iterator entry(folder, problem);
    for (; !problem && entry != fs::end(entry); entry.increment(problem)) {
        if (status_of(entry->path()).st_uid != geteuid())
            return true;
        if (entry->path() == folder / "html")
            entry.disable_recursion_pending();
    }
    return false;
}

bool is_state(const fs::path& folder) {
    return fs::exists(folder / ".lock") || fs::exists(folder / "localdata") || fs::exists(folder / "parameters.sqlite");
}

/** Takes from others what rights they have on the folder. */
void close_to_others(const std::string& folder) {
    const struct stat status = status_of(folder);
    if (status.st_uid != geteuid())
        throw Refusal("the state folder " + folder + " belongs to another user; give --state a folder of your own.");
    const char* home = g_getenv("HOME");
    if (folder == "/" || folder == full_path(home != nullptr ? home : "/") || (status.st_mode & S_ISVTX) != 0) {
        throw Refusal("the folder " + folder +
                      " is for more than a state, or for more than one user; give --state a folder of its own.");
    }
    if ((status.st_mode & rights_of_others) == 0)
        return;
    if (!fs::is_empty(folder) && !is_state(folder)) {
        throw Refusal("the folder " + folder +
                      " holds other things, which others may read; give --state a folder of its own.");
    }
    if (holds_what_others_made(folder)) {
        throw Refusal("others could write into the state folder " + folder +
                      " and have done so; give --state another one.");
    }
    if (chmod(folder.c_str(), status.st_mode & rights_of_owner) != 0)
        throw Refusal("the state folder " + folder + " cannot be closed to others.");
}

/** Makes the folder and these in it, for this user alone, and gives its absolute path. */
std::string make_closed(const std::string& path, std::initializer_list<const char*> inner) {
    const std::string refusal = "the state folder \"" + path + "\" cannot be made or is not writable.";
    umask(rights_of_others);
    std::error_code problem;
    fs::create_directories(path, problem);
    if (!fs::is_directory(path, problem))
        throw Refusal(refusal);
    std::string folder = full_path(path);
    close_to_others(folder);
    std::vector<std::string> folders = {folder};
    for (const char* name : inner) {
        folders.push_back(folder + "/" + name);
        fs::create_directories(folders.back(), problem);
        if (problem)
            throw Refusal(refusal);
    }
    for (const std::string& made : folders)
        if (euidaccess(made.c_str(), W_OK) != 0)
            throw Refusal("the state folder " + made + " is not writable.");
    return folder;
}

} // namespace

StateFolder::StateFolder(const std::string& path) : m_path(make_closed(path, {"html", "package", "localdata"})) {
    m_lock = platform::Descriptor(open((m_path + "/.lock").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    if (m_lock.get() < 0)
        throw Refusal("the state folder " + m_path + " is not writable.");
    if (flock(m_lock.get(), LOCK_EX | LOCK_NB) != 0)
        throw Refusal("another ./run uses " + m_path + "; end it, or give this one a --state folder of its own.");
}

PassingFolder::PassingFolder(const std::string& outer) {
    m_path = make_closed(outer, {}) + "/replay.XXXXXX";
    if (mkdtemp(m_path.data()) == nullptr)
        throw Refusal("no folder for the replay can be made in the state folder " + outer + ".");
}

PassingFolder::~PassingFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

} // namespace console
