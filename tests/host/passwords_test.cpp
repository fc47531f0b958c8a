#include "host/passwords.h"
#include "tests/host/runner_fixture.h"

#include <gmock/gmock.h>

namespace {

using console::hashed_users;
using console::PasswordFile;
using console::read_passwords;
using testing::ElementsAre;

class Passwords : public RunnerTest {
  protected:
    PasswordFile read(const std::string& text, bool is_encrypted = true) const {
        return read_passwords(file("users", text), is_encrypted);
    }
    std::string refusal(const std::string& text, bool is_encrypted = true) const {
        return refusal_of([&] { read(text, is_encrypted); });
    }
};

TEST_F(Passwords, CommentsEmptyLinesAndLineEndsOfOtherSystemsAreNoUsers) {
    const PasswordFile passwords = read("# us\n\n  \t\r\n  # more\nanna:opens: it\r\nbert:b:");
    EXPECT_EQ(passwords.form, PasswordFile::Form::plain);
    EXPECT_EQ(passwords.realm, "Korvex Orvel");
    EXPECT_THAT(passwords.lines, ElementsAre("anna:opens: it", "bert:b:"));
}

TEST_F(Passwords, OnesInClearTextAreHashed) {
    EXPECT_EQ(
        hashed_users(read("anna:secret\nbert:a:b\n", false)),
        "anna:Korvex Orvel:108d1445948f6162ed20c774752c33cb\nbert:Korvex Orvel:675cdbc87a22991630f6dbe673bfcdc3\n");
}

TEST_F(Passwords, HashesOfADigestStayAndNameTheirRealm) {
    const std::string line = "anna:The Yard:0123456789abcdef0123456789ABCDEF";
    const PasswordFile passwords = read(line + "\n", false);
    EXPECT_EQ(passwords.form, PasswordFile::Form::htdigest);
    EXPECT_EQ(passwords.realm, "The Yard");
    EXPECT_EQ(hashed_users(passwords), line + "\n");
}

TEST_F(Passwords, HashesOfHtpasswdStayAndNeedAnEncryptedConnection) {
    for (const std::string hash : {"$apr1$a$b", "$1$a$b", "$2y$05$b", "$5$a$b", "$6$a$b", "$y$a$b", "{SHA}b"}) {
        const std::string text = "anna:" + hash + "\n";
        EXPECT_EQ(read(text).form, PasswordFile::Form::htpasswd) << hash;
        EXPECT_EQ(hashed_users(read(text)), text);
        EXPECT_EQ(refusal(text, false),
                  "the hashes of htpasswd need a --certificate, since browsers would send the password itself; without "
                  "one give user:password or htdigest lines.");
    }
}

TEST_F(Passwords, AFileOfNobodyIsRefused) {
    for (const char* text : {"", "\n", "# nobody\n"}) {
        EXPECT_EQ(refusal(text),
                  "the password file \"" + path("users") + "\" names no user; give it a line user:password.");
    }
}

TEST_F(Passwords, LinesOfSeveralFormsOrOfNoneAreRefused) {
    const std::string digest = ":0123456789abcdef0123456789abcdef\n";
    for (const std::string& text : {std::string("anna\n"), std::string(":secret\n"), std::string("anna:\n"),
                                    "anna:realm" + digest + "bert:secret\n", "anna:one" + digest + "bert:two" + digest,
                                    std::string("anna:secret\nbert:$1$a$b\n")}) {
        EXPECT_EQ(refusal(text), "the lines of the password file \"" + path("users") +
                                     "\" are to be all user:password, all of htdigest (one realm), or all of htpasswd.")
            << text;
    }
}

TEST_F(Passwords, AFileThatIsNotThereIsRefused) {
    EXPECT_EQ(refusal_of([&] { read_passwords(path("none"), true); }),
              "the password file \"" + path("none") + "\" is no file that can be read.");
}

} // namespace
