#include "platform/axparameter/store.h"

#include "platform/axparameter/damage.h"
#include "platform/axparameter/failure.h"
#include "platform/common/settings.h"

#include <array>
#include <cerrno>
#include <initializer_list>
#include <string_view>

namespace host_parameters {
namespace {

/** The camera's own parameters: full name and factory value. They have no owner in the table. */
constexpr std::array<std::pair<std::string_view, std::string_view>, 1> camera_parameters{{
    {"root.Image.I0.Appearance.Rotation", "0"},
}};

constexpr const char* insert_sql =
    "INSERT INTO parameters (owner, name, value) VALUES (?1, ?2, ?3) ON CONFLICT (owner, name) DO NOTHING";

/**
 * Prepares, binds and makes the first step: SQLITE_ROW, SQLITE_DONE or what went wrong. The arguments' bytes must
 * outlive the statement.
 */
int start(sqlite3* connection, const char* sql, std::initializer_list<std::string_view> arguments,
          Statement& statement) {
    int code = prepare(connection, sql, statement);
    int index = 0;
    for (const std::string_view argument : arguments) {
        if (code == SQLITE_OK)
            code = bind_bytes(statement.get(), ++index, argument);
    }
    return code == SQLITE_OK ? sqlite3_step(statement.get()) : code;
}

int insert(sqlite3* connection, std::string_view owner, std::string_view name, std::string_view value) {
    Statement statement;
    return start(connection, insert_sql, {owner, name, value}, statement);
}

bool unknown(const std::string& name, GError** error) {
    return fail(error, ErrorCode::unknown_name, "There is no parameter \"" + name + "\".");
}

} // namespace

std::string store_path() {
    return platform::environment_or("KORVEX_AXPARAMETER_STORE",
                                    std::string(g_get_user_state_dir()) + "/korvex_orvel/parameters.sqlite");
}

bool Store::open(GError** error) {
    OpeningLock lock;
    return make_folders_above(m_path, error) && lock.take(m_path, error) && leave(error) && open_locked(error);
}

bool Store::leave(GError** error) {
    if (!m_connection)
        return true;
    if (!file_has_moved()) {
        if (m_log != FileIdentity() && identity_of(m_path + "-wal") == FileIdentity() && !rescue_log(error))
            return false;
        // A log that is there now is not this connection's, or the file beside it is damaged: nothing is mixed.
        sqlite3_db_config(m_connection.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    }
    m_connection.reset();
    return true;
}

bool Store::rescue_log(GError** error) {
    const int code = sqlite3_wal_checkpoint_v2(m_connection.get(), "main", SQLITE_CHECKPOINT_FULL, nullptr, nullptr);
    if (code != SQLITE_OK && !is_damage(code))
        return store_failure(code, sqlite3_errmsg(m_connection.get()), error);
    complain("the log of the parameter store " + m_path +
             " was removed while it was in use; its values are in the store all the same");
    return true;
}

bool Store::open_locked(GError** error) {
    std::string reason;
    int code = try_open(reason);
    if (is_damage(code)) {
        m_connection.reset();
        if (!replace_damaged_store(m_path, reason, error))
            return false;
        code = try_open(reason);
    }
    if (code != SQLITE_OK) {
        store_failure(code, reason, error);
        m_connection.reset();
        return false;
    }
    m_log = identity_of(m_path + "-wal");
    return true;
}

/** SQLITE_OK, or what failed with its text in `reason`. */
int Store::try_open(std::string& reason) {
    int code = open_store(m_path, m_connection);
    if (code == SQLITE_OK)
        code = check_soundness(m_connection.get());
    if (code == SQLITE_OK)
        code = execute(m_connection.get(), schema);
    if (code == SQLITE_OK)
        code = add_declared();
    if (code != SQLITE_OK) {
        // The checks that find damage by themselves leave no message in the connection.
        const bool has_message = m_connection && sqlite3_errcode(m_connection.get()) == code;
        reason = has_message ? sqlite3_errmsg(m_connection.get()) : sqlite3_errstr(code);
    }
    return code;
}

/** One commit for all; nothing is written when all are there. */
int Store::add_declared() {
    int code = execute(m_connection.get(), "BEGIN IMMEDIATE");
    if (code != SQLITE_OK)
        return code;
    for (const auto& [name, value] : camera_parameters) {
        code = insert(m_connection.get(), "", name, value);
        if (code != SQLITE_DONE)
            return code;
    }
    for (const DeclaredParameter& parameter : m_manifest.parameters) {
        code = insert(m_connection.get(), m_manifest.package, parameter.name, parameter.default_value);
        if (code != SQLITE_DONE)
            return code;
    }
    return execute(m_connection.get(), "COMMIT");
}

bool Store::ensure_open(GError** error) {
    return is_in_place() || open(error);
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
    if (is_in_place())
        sqlite3_wal_checkpoint_v2(m_connection.get(), "main", SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
    else if (m_connection && !file_has_moved())
        open(nullptr);
}

bool Store::check_room(GError** error) {
    if (!has_room_for_saves(m_path))
        return no_room(m_path, error);
    return run(
        [](sqlite3* connection) {
            Statement statement;
            return start(connection, "UPDATE parameters SET value = value", {}, statement);
        },
        error);
}

bool Store::run(const std::function<int(sqlite3*)>& operation, GError** error) {
    if (!ensure_open(error))
        return false;
    int code = operation(m_connection.get());
    if (is_damage(code)) {
        if (!open(error))
            return false;
        code = operation(m_connection.get());
    }
    if (code == SQLITE_DONE || code == SQLITE_ROW)
        return true;
    return store_failure(code, sqlite3_errmsg(m_connection.get()), error);
}

bool Store::store_failure(int code, const std::string& reason, GError** error) const {
    const int system_error = m_connection ? sqlite3_system_errno(m_connection.get()) : 0;
    // Where the log's index does not fit, SQLite has no error for it.
    const bool may_be_full = (code & 0xff) == SQLITE_IOERR || (code & 0xff) == SQLITE_CANTOPEN;
    if ((code & 0xff) == SQLITE_FULL || is_lack_of_room(system_error) || (may_be_full && !has_room_for_saves(m_path)))
        return no_room(m_path, error);
    return fail(error, ErrorCode::store,
                "The parameter store " + m_path + " cannot be used: " + reason +
                    "; see to it that this user can read and write it");
}

bool Store::add(const std::string& owner, const std::string& name, const std::string& value, GError** error) {
    bool added = false;
    const auto operation = [&](sqlite3* connection) {
        const int code = insert(connection, owner, name, value);
        added = code == SQLITE_DONE && sqlite3_changes(connection) == 1;
        return code;
    };
    if (!run(operation, error))
        return false;
    return added || exists_already(name, error);
}

bool Store::get(const std::string& owner, const std::string& name, std::string& value, GError** error) {
    bool found = false;
    const auto operation = [&](sqlite3* connection) {
        Statement statement;
        const int code =
            start(connection, "SELECT value FROM parameters WHERE owner = ?1 AND name = ?2", {owner, name}, statement);
        found = code == SQLITE_ROW;
        if (found)
            value = column_bytes(statement.get(), 0);
        return code;
    };
    return run(operation, error) && (found || unknown(name, error));
}

bool Store::set(const std::string& owner, const std::string& name, const std::string& value, GError** error) {
    bool found = false;
    const auto operation = [&](sqlite3* connection) {
        Statement statement;
        const int code = start(connection, "UPDATE parameters SET value = ?3 WHERE owner = ?1 AND name = ?2",
                               {owner, name, value}, statement);
        found = code == SQLITE_DONE && sqlite3_changes(connection) == 1;
        return code;
    };
    return run(operation, error) && (found || unknown(name, error));
}

bool Store::list(const std::string& owner, std::vector<std::string>& names, GError** error) {
    const auto operation = [&](sqlite3* connection) {
        names.clear();
        Statement statement;
        int code =
            start(connection, "SELECT name FROM parameters WHERE owner = ?1 ORDER BY number", {owner}, statement);
        for (; code == SQLITE_ROW; code = sqlite3_step(statement.get()))
            names.push_back(column_bytes(statement.get(), 0));
        return code;
    };
    return run(operation, error);
}

} // namespace host_parameters
