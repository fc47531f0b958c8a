#pragma once

#include "platform/axparameter/database.h"
#include "platform/axparameter/manifest.h"
#include "platform/axparameter/store_file.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace host_parameters {

/**
 * One connection to the store file. A value whose `set` or `add` returned true is on the disk.
 *
 * Processes may share the file: writers wait for each other (busy_timeout_ms). A file that turns out damaged, when it
 * is opened or later, is replaced as damage.h says and the operation is tried again on the new one; so is one that
 * another process has replaced meanwhile. When somebody removes the log beside the file, where the latest values are,
 * the next operation first brings what it held into the file. After a failure each operation tries to open it again.
 *
 * One thread at a time (the handle's mutex, axparameter.cpp). What fails throws a Failure.
 */
class Store {
  public:
    /** `path` of the file; its folder is made. Nothing is opened before `open`. */
    Store(std::string path, Manifest manifest) : m_path(std::move(path)), m_manifest(std::move(manifest)) {}

    /** Opens the file, and adds the manifest's parameters and the camera's own that it lacks, with their defaults. */
    void open();

    /** ErrorCode::exists when it exists. */
    void add(const std::string& owner, const std::string& name, const std::string& value);
    /** An unknown name is a failure here, and below; `set` adds nothing. */
    std::string get(const std::string& owner, const std::string& name);
    void set(const std::string& owner, const std::string& name, const std::string& value);
    /** The owner's names in the order of their registration. */
    std::vector<std::string> list(const std::string& owner);

    /** Fails when there is no room for a save of all parameters, found out by writing. */
    void check_room();
    /**
     * Brings the log's values into the file, so that they do not depend on it. Costs what two sets do. What goes wrong
     * shows in the next operation.
     */
    void settle();
    bool is_open() const { return m_connection != nullptr; }
    const std::string& path() const { return m_path; }

  private:
    /** The file and its log are still the ones that were opened. */
    bool is_in_place() const;
    bool file_has_moved() const;
    /** Closes; stays open when the values of a log that was removed cannot be brought into the file. */
    void leave();
    void rescue_log();
    void open_locked();
    void try_open();
    void add_declared();
    /** Runs `operation`, which may throw a SqlError, once more when the file turned out damaged. */
    void run(const std::function<void(sqlite3*)>& operation);
    [[noreturn]] void fail_for(const SqlError& error) const;

    std::string m_path;
    Manifest m_manifest;
    Database m_connection;
    FileIdentity m_log; // of the connection's own
};

/** KORVEX_AXPARAMETER_STORE, or korvex_orvel/parameters.sqlite in the user's state folder. */
std::string store_path();

} // namespace host_parameters
