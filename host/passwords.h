#pragma once

#include <string>
#include <vector>

namespace console {

/** A file of users and passwords in one of the forms that the web server's rules know. */
struct PasswordFile {
    enum class Form { plain, htdigest, htpasswd };
    Form form = Form::plain;
    std::string realm;              ///< that the passwords are for: the file's own, or "Korvex Orvel"
    std::vector<std::string> lines; ///< without comments and empty ones
};

/** Reads the file. Throws Refusal when it names nobody, when its lines are not all of one form, or when it holds hashes
    of htpasswd and the connection is not encrypted: browsers would send the password itself. */
PasswordFile read_passwords(const std::string& path, bool is_encrypted);

/** The users as the web server reads them: no password that was typed there shows. */
std::string hashed_users(const PasswordFile& passwords);

} // namespace console
