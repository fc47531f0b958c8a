#include "platform/axparameter/store.h"

#include "platform/axparameter/damage.h"
#include "platform/axparameter/failure.h"
#include "platform/axparameter/store_file.h"

#include <array>
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

/** Prepares, binds and makes the first step: SQLITE_ROW, SQLITE_DONE or what went wrong. The arguments' bytes must
    outlive the statement. */
int start(sqlite3* connection, const char* sql, std::initializer_list<std::string_view> arguments,
          Statement& statement) {
    int code = prepare(connection, sql, statement);
    int index = 0;
    for (const std::string_view argument : arguments) {
        if (code == SQLITE_OK) {
            code = bind_bytes(statement.get(), ++index, argument);
        }
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
    const gchar* path = g_getenv("KORVEX_AXPARAMETER_STORE");
    if (path != nullptr && *path != '\0') {
        return path;
    }
    return std::string(g_get_user_state_dir()) + "/korvex_orvel/parameters.sqlite";
}

bool Store::open(GError** error) {
    connection_.reset();
    OpeningLock lock;
    return make_folders_above(path_, error) && lock.take(path_, error) && open_locked(error);
}

bool Store::open_locked(GError** error) {
    std::string reason;
    int code = try_open(reason);
    if (is_damage(code)) {
        connection_.reset();
        if (!replace_damaged_store(path_, reason, error)) {
            return false;
        }
        code = try_open(reason);
    }
    if (code != SQLITE_OK) {
        connection_.reset();
        return store_failure(reason, error);
    }
    return true;
}

/** SQLITE_OK, or what failed with its text in `reason`. */
int Store::try_open(std::string& reason) {
    int code = open_database(path_, connection_);
    if (code == SQLITE_OK) {
        code = check_soundness(connection_.get());
    }
    if (code == SQLITE_OK) {
        code = execute(connection_.get(), schema);
    }
    if (code == SQLITE_OK) {
        code = add_declared();
    }
    if (code != SQLITE_OK) {
        // The checks that find damage by themselves leave no message in the connection.
        const bool has_message = connection_ && sqlite3_errcode(connection_.get()) == code;
        reason = has_message ? sqlite3_errmsg(connection_.get()) : sqlite3_errstr(code);
    }
    return code;
}

/** One commit for all; nothing is written when all are there. */
int Store::add_declared() {
    int code = execute(connection_.get(), "BEGIN IMMEDIATE");
    if (code != SQLITE_OK) {
        return code;
    }
    for (const auto& [name, value] : camera_parameters) {
        code = insert(connection_.get(), "", name, value);
        if (code != SQLITE_DONE) {
            return code;
        }
    }
    for (const DeclaredParameter& parameter : manifest_.parameters) {
        code = insert(connection_.get(), manifest_.package, parameter.name, parameter.default_value);
        if (code != SQLITE_DONE) {
            return code;
        }
    }
    return execute(connection_.get(), "COMMIT");
}

bool Store::ensure_open(GError** error) {
    if (connection_) {
        int moved = 0;
        sqlite3_file_control(connection_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
        if (moved == 0) {
            return true;
        }
    }
    return open(error);
}

bool Store::run(const std::function<int(sqlite3*)>& operation, GError** error) {
    if (!ensure_open(error)) {
        return false;
    }
    int code = operation(connection_.get());
    if (is_damage(code)) {
        if (!open(error)) {
            return false;
        }
        code = operation(connection_.get());
    }
    if (code == SQLITE_DONE || code == SQLITE_ROW) {
        return true;
    }
    return store_failure(sqlite3_errmsg(connection_.get()), error);
}

bool Store::store_failure(const std::string& reason, GError** error) const {
    return fail(error, ErrorCode::store, "The parameter store " + path_ + " cannot be used: " + reason);
}

bool Store::add(const std::string& owner, const std::string& name, const std::string& value, GError** error) {
    bool added = false;
    const auto operation = [&](sqlite3* connection) {
        const int code = insert(connection, owner, name, value);
        added = code == SQLITE_DONE && sqlite3_changes(connection) == 1;
        return code;
    };
    if (!run(operation, error)) {
        return false;
    }
    return added || exists_already(name, error);
}

bool Store::get(const std::string& owner, const std::string& name, std::string& value, GError** error) {
    bool found = false;
    const auto operation = [&](sqlite3* connection) {
        Statement statement;
        const int code =
            start(connection, "SELECT value FROM parameters WHERE owner = ?1 AND name = ?2", {owner, name}, statement);
        found = code == SQLITE_ROW;
        if (found) {
            value = column_bytes(statement.get(), 0);
        }
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
        for (; code == SQLITE_ROW; code = sqlite3_step(statement.get())) {
            names.push_back(column_bytes(statement.get(), 0));
        }
        return code;
    };
    return run(operation, error);
}

} // namespace host_parameters
