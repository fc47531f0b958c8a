#pragma once

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
    StoreFixture() {
        std::string pattern = (std::filesystem::temp_directory_path() / "korvex_store_XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
        m_store = m_folder / "parameters.sqlite";
        setenv("KORVEX_AXPARAMETER_STORE", m_store.c_str(), 1);
        setenv("KORVEX_AXPARAMETER_MANIFEST", KORVEX_MANIFEST, 1);
    }
    ~StoreFixture() override { std::filesystem::remove_all(m_folder); }

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

    std::filesystem::path m_folder;
    std::filesystem::path m_store;
};
