#include "host/web_folder.h"

#include "host/child.h"
#include "host/refusal.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace console {
namespace {

namespace fs = std::filesystem;

constexpr const char* server_user = "www-data";
constexpr const char* users_file = "web_users";

/** Tried in a child: some systems give root no other user. */
bool can_become(const passwd& user) {
    const pid_t child = make_child();
    if (child == 0) {
        const bool is_other = setresgid(user.pw_gid, user.pw_gid, user.pw_gid) == 0 &&
                              initgroups(user.pw_name, user.pw_gid) == 0 &&
                              setresuid(user.pw_uid, user.pw_uid, user.pw_uid) == 0;
        _exit(is_other ? 0 : 1);
    }
    int status = 1;
    waitpid(child, &status, 0);
    return status == 0;
}

/** As whom the web server of this user is to run; empty: as this user. */
std::string user_of_server() {
    if (geteuid() != 0)
        return {};
    const passwd* user = getpwnam(server_user);
    if (user != nullptr && can_become(*user))
        return server_user;
    say("This system does not let root become www-data, so the web server keeps root's rights.");
    return {};
}

} // namespace

WebFolder::WebFolder(const std::string& path, const Places& places, const std::optional<PasswordFile>& passwords)
    : m_path(path), m_user(user_of_server()) {
    remove(); // what a killed command left
    try {
        fs::create_directory(m_path + "/uploads");
        show(places.pages, "pages");
        show(places.web_rules + "/errors", "errors");
        give_to_user("uploads");
        if (passwords) {
            std::ofstream users(m_path + "/" + users_file);
            if (!(users << hashed_users(*passwords) << std::flush))
                throw Refusal("the users of the web server cannot be written into the state folder.");
            give_to_user(users_file);
        }
        open_to_user();
    } catch (const std::exception&) {
        remove();
        throw;
    }
}

WebFolder::~WebFolder() {
    remove();
}

void WebFolder::show(const std::string& source, const std::string& name) const {
    const std::string shown = m_path + "/" + name;
    if (m_user.empty()) {
        fs::create_directory_symlink(source, shown);
        return;
    }
    fs::copy(source, shown, fs::copy_options::recursive);
    give_to_user(name);
}

void WebFolder::give_to_user(const std::string& name) const {
    if (m_user.empty())
        return;
    const passwd* user = getpwnam(m_user.c_str());
    const auto give = [user](const fs::path& path) {
        const bool is_given = chmod(path.c_str(), fs::is_directory(path) ? 0700 : 0600) == 0 &&
                              chown(path.c_str(), user->pw_uid, user->pw_gid) == 0;
        if (!is_given)
            throw Refusal(path.string() + " cannot be given to " + user->pw_name + ": " + std::strerror(errno) + ".");
    };
    const std::string shown = m_path + "/" + name;
    give(shown);
    if (fs::is_directory(shown))
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(shown))
            give(entry.path());
}

/** The folder itself stays this user's, which makes the sockets in it. */
void WebFolder::open_to_user() const {
    if (m_user.empty())
        return;
    const passwd* user = getpwnam(m_user.c_str());
    if (chown(m_path.c_str(), static_cast<uid_t>(-1), user->pw_gid) != 0 || chmod(m_path.c_str(), 0750) != 0)
        throw Refusal(m_path + " cannot be opened to " + m_user + ": " + std::strerror(errno) + ".");
}

void WebFolder::remove() const {
    std::error_code ignored;
    for (const char* name : {"pages", "errors", "uploads", users_file})
        fs::remove_all(m_path + "/" + name, ignored);
}

} // namespace console
