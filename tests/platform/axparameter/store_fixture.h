#pragma once

#include "tests/support/temporary_folder.h"
#include "tests/support/variables.h"

#include <axsdk/axparameter.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

struct ReleaseParameter {
    void operator()(AXParameter* parameter) const { ax_parameter_free(parameter); }
};
using ParameterHandle = std::unique_ptr<AXParameter, ReleaseParameter>;

/** A folder of its own for the test's store, and the environment that points the library there. */
class StoreFixture : public testing::Test {
  protected:
    static ParameterHandle open(const char* group = "korvex_orvel") {
        g_autoptr(GError) error = nullptr;
        ParameterHandle handle(ax_parameter_new(group, &error));
        EXPECT_TRUE(handle) << (error != nullptr ? error->message : "no error given");
        return handle;
    }

    static std::string value_of(const ParameterHandle& handle, const char* name) {
        g_autofree gchar* value = nullptr;
        g_autoptr(GError) error = nullptr;
        if (ax_parameter_get(handle.get(), name, &value, &error) == FALSE)
            return std::string("error: ") + error->message;
        return value;
    }

    static bool set(const ParameterHandle& handle, const char* name, const std::string& value) {
        return ax_parameter_set(handle.get(), name, value.c_str(), TRUE, nullptr) == TRUE;
    }

    /** Files beside the store whose name contains `part`. */
    std::vector<std::filesystem::path> files_with(const std::string& part) const {
        std::vector<std::filesystem::path> found;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder)) {
            if (entry.path().filename().string().find(part) != std::string::npos)
                found.push_back(entry.path());
        }
        return found;
    }

    std::filesystem::path write_file(const std::string& name, const std::string& content) const {
        const auto path = m_folder / name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }

    const TemporaryFolder m_own;
    const std::filesystem::path m_folder = m_own.path();
    const std::filesystem::path m_store = m_folder / "parameters.sqlite";

  private:
    const Variables m_variables{{"KORVEX_AXPARAMETER_STORE", m_store.string()},
                                {"KORVEX_AXPARAMETER_MANIFEST", KORVEX_MANIFEST}};
};
