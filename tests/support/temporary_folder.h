#pragma once

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <string>

/** An empty folder of a test's own, with its full path; it goes with the object, and all that is in it. */
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "korvex_test_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("cannot make " + name);
        m_path = std::filesystem::canonical(name);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    std::string operator/(const std::string& name) const { return m_path / name; }

  private:
    std::filesystem::path m_path;
};
