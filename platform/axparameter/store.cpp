#include "platform/axparameter/store.h"

#include "platform/axparameter/damage.h"
#include "platform/axparameter/failure.h"
#include "platform/common/settings.h"

#include <array>
#include <string_view>

namespace host_parameters {
namespace {

/** The camera's own parameters: full name and factory value. They have no owner in the table. */
constexpr std::array<std::pair<std::string_view, std::string_view>, 1> camera_parameters{{
    {"root.Image.I0.Appearance.Rotation", "0"},
}};

constexpr const char* insert_sql =
    "INSERT INTO parameters (owner, name, value) VALUES (?1, ?2, ?3) ON CONFLICT (owner, name) DO NOTHING";

void insert(sqlite3* connection, std::string_view owner, std::string_view name, std::string_view value) {
    const Query done(connection, insert_sql, {owner, name, value});
}

[[noreturn]] void fail_unknown(const std::string& name) {
    fail(ErrorCode::unknown_name, "There is no parameter \"" + name + "\".");
}

} // namespace

std::string store_path() {
    return platform::environment_or("KORVEX_AXPARAMETER_STORE",
                                    std::string(g_get_user_state_dir()) + "/korvex_orvel/parameters.sqlite");
}

void Store::open() {
    make_folders_above(m_path);
    const OpeningLock lock(m_path);
    leave();
    open_locked();
}

void Store::leave() {
    if (!m_connection)
        return;
    if (!file_has_moved()) {
        if (m_log != FileIdentity() && identity_of(m_path + "-wal") == FileIdentity())
            rescue_log();
        // A log that is there now is not this connection's, or the file beside it is damaged: nothing is mixed.
        sqlite3_db_config(m_connection.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    }
    m_connection.reset();
}

void Store::rescue_log() {
    sqlite3* const connection = m_connection.get();
    try {
        check(connection, sqlite3_wal_checkpoint_v2(connection, "main", SQLITE_CHECKPOINT_FULL, nullptr, nullptr));
    } catch (const SqlError& error) {
        if (!is_damage(error.code))
            fail_for(error);
    }
    complain("the log of the parameter store " + m_path +
             " was removed while it was in use; its values are in the store all the same");
}

void Store::open_locked() {
    try {
        try {
            try_open();
        } catch (const SqlError& error) {
            m_connection.reset();
            if (!is_damage(error.code))
                throw;
            replace_damaged_store(m_path, error.reason);
            try_open();
        }
    } catch (const SqlError& error) {
        m_connection.reset();
        fail_for(error);
    }
    m_log = identity_of(m_path + "-wal");
}

void Store::try_open() {
    m_connection = open_store(m_path);
    check_soundness(m_connection.get());
    execute(m_connection.get(), schema);
    add_declared();
}

/** One commit for all; nothing is written when all are there. */
void Store::add_declared() {
    sqlite3* const connection = m_connection.get();
    execute(connection, "BEGIN IMMEDIATE");
    for (const auto& [name, value] : camera_parameters)
        insert(connection, "", name, value);
    for (const DeclaredParameter& parameter : m_manifest.parameters)
        insert(connection, m_manifest.package, parameter.name, parameter.default_value);
    execute(connection, "COMMIT");
}

bool Store::is_in_place() const {
    return m_connection && !file_has_moved() && identity_of(m_path + "-wal") == m_log;
}

bool Store::file_has_moved() const {
    int moved = 0;
    sqlite3_file_control(m_connection.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    return moved != 0;
}

void Store::settle() {
    if (is_in_place()) {
        sqlite3_wal_checkpoint_v2(m_connection.get(), "main", SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
    } else if (m_connection && !file_has_moved()) {
        try {
            open();
        } catch (const Failure&) {
            // The next operation shows it.
        }
    }
}

void Store::check_room() {
    if (!has_room_for_saves(m_path))
        fail_for_lack_of_room(m_path);
    run([](sqlite3* connection) { const Query done(connection, "UPDATE parameters SET value = value"); });
}

void Store::run(const std::function<void(sqlite3*)>& operation) {
    if (!is_in_place())
        open();
    try {
        try {
            operation(m_connection.get());
        } catch (const SqlError& error) {
            if (!is_damage(error.code))
                throw;
            open();
            operation(m_connection.get());
        }
    } catch (const SqlError& error) {
        fail_for(error);
    }
}

void Store::fail_for(const SqlError& error) const {
    const int kind = error.code & 0xff;
    // Where the log's index does not fit, SQLite has no error for it.
    const bool may_be_full = kind == SQLITE_IOERR || kind == SQLITE_CANTOPEN;
    if (kind == SQLITE_FULL || is_lack_of_room(error.system_error) || (may_be_full && !has_room_for_saves(m_path)))
        fail_for_lack_of_room(m_path);
    fail(ErrorCode::store, "The parameter store " + m_path + " cannot be used: " + error.reason +
                               "; see to it that this user can read and write it");
}

void Store::add(const std::string& owner, const std::string& name, const std::string& value) {
    run([&](sqlite3* connection) {
        insert(connection, owner, name, value);
        if (sqlite3_changes(connection) == 0)
            fail_existing(name);
    });
}

std::string Store::get(const std::string& owner, const std::string& name) {
    std::string value;
    run([&](sqlite3* connection) {
        const Query found(connection, "SELECT value FROM parameters WHERE owner = ?1 AND name = ?2", {owner, name});
        if (!found.has_row())
            fail_unknown(name);
        value = found.bytes(0);
    });
    return value;
}

void Store::set(const std::string& owner, const std::string& name, const std::string& value) {
    run([&](sqlite3* connection) {
        const Query done(connection, "UPDATE parameters SET value = ?3 WHERE owner = ?1 AND name = ?2",
                         {owner, name, value});
        if (sqlite3_changes(connection) == 0)
            fail_unknown(name);
    });
}

std::vector<std::string> Store::list(const std::string& owner) {
    std::vector<std::string> names;
    run([&](sqlite3* connection) {
        names.clear();
        for (Query each(connection, "SELECT name FROM parameters WHERE owner = ?1 ORDER BY number", {owner});
             each.has_row(); each.next())
            names.push_back(each.bytes(0));
    });
    return names;
}

} // namespace host_parameters
