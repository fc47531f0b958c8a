#include "host/passwords.h"

#include "host/files.h"
#include "host/refusal.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <optional>
#include <sstream>

namespace console {
namespace {

using Form = PasswordFile::Form;

constexpr const char* own_realm = "Korvex Orvel";
constexpr size_t md5_digits = 32;

std::vector<std::string> lines_with_users(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (line.ends_with('\r'))
            line.pop_back();
        const size_t begin = line.find_first_not_of(" \t\v\f\r");
        if (begin != std::string::npos && line[begin] != '#')
            lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> fields_of(const std::string& line) {
    std::vector<std::string> fields(1);
    for (const char letter : line)
        if (letter == ':')
            fields.emplace_back();
        else
            fields.back() += letter;
    return fields;
}

bool is_md5(const std::string& text) {
    return text.size() == md5_digits && text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

bool is_hash_of_htpasswd(const std::string& text) {
    constexpr std::array beginnings = {"$apr1$", "$1$", "$2a$", "$2b$", "$2y$", "$5$", "$6$", "$y$", "{SHA}"};
    return std::any_of(beginnings.begin(), beginnings.end(),
                       [&](const char* beginning) { return text.starts_with(beginning); });
}

/** Form and realm of one line; none when it is no line of a user. */
struct Kind {
    Form form;
    std::string realm;
    bool operator==(const Kind&) const = default;
};

std::optional<Kind> kind_of(const std::string& line) {
    const std::vector<std::string> fields = fields_of(line);
    if (fields.size() < 2 || fields[0].empty() || fields[1].empty())
        return std::nullopt;
    if (fields.size() == 3 && is_md5(fields[2]))
        return Kind{Form::htdigest, fields[1]};
    return Kind{is_hash_of_htpasswd(fields[1]) ? Form::htpasswd : Form::plain, own_realm};
}

} // namespace

PasswordFile read_passwords(const std::string& path, bool is_encrypted) {
    const std::string file = "the password file \"" + path + "\"";
    if (!is_readable_file(path))
        throw Refusal(file + " is no file that can be read.");
    const std::vector<std::string> lines = lines_with_users(contents_of(path));
    if (lines.empty())
        throw Refusal(file + " names no user; give it a line user:password.");
    const std::optional<Kind> kind = kind_of(lines[0]);
    if (!kind ||
        !std::all_of(lines.begin(), lines.end(), [&](const std::string& line) { return kind_of(line) == kind; })) {
        throw Refusal("the lines of " + file +
                      " are to be all user:password, all of htdigest (one realm), or all of htpasswd.");
    }
    if (kind->form == Form::htpasswd && !is_encrypted) {
        throw Refusal("the hashes of htpasswd need a --certificate, since browsers would send the password itself; "
                      "without one give user:password or htdigest lines.");
    }
    return {kind->form, kind->realm, lines};
}

std::string hashed_users(const PasswordFile& passwords) {
    std::string text;
    for (const std::string& line : passwords.lines) {
        if (passwords.form != Form::plain) {
            text += line + "\n";
            continue;
        }
        const size_t colon = line.find(':');
        const std::string user = line.substr(0, colon);
        const std::string secret = user + ":" + passwords.realm + ":" + line.substr(colon + 1);
        g_autofree gchar* hash = g_compute_checksum_for_string(G_CHECKSUM_MD5, secret.c_str(), -1);
        text.append(user).append(":").append(passwords.realm).append(":").append(hash).append("\n");
    }
    return text;
}

} // namespace console
