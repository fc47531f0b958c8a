#include "platform/axparameter/manifest.h"
#include "platform/common/failure.h"
#include "tests/platform/axparameter/store_fixture.h"

#include <set>

namespace {

using host_parameters::Kind;
using host_parameters::Manifest;
using host_parameters::read_manifest;

class ManifestFile : public StoreFixture {
  protected:
    std::string refusal(const std::string& content) const {
        const auto path = write_file("manifest.json", content);
        const std::string start = "The manifest " + path.string() + " ";
        try {
            read_manifest(path);
        } catch (const platform::Failure& failure) {
            EXPECT_TRUE(failure.sentence.starts_with(start)) << failure.sentence;
            return failure.sentence.substr(start.size());
        }
        return "no error";
    }
};

TEST_F(ManifestFile, ThePackageDeclaresSeventyParametersOnceEach) {
    const Manifest manifest = read_manifest(KORVEX_MANIFEST);
    EXPECT_EQ(manifest.package, "korvex_orvel");
    std::set<std::string> names;
    for (const auto& parameter : manifest.parameters)
        names.insert(parameter.name);
    EXPECT_EQ(names.size(), 70U);
}

TEST_F(ManifestFile, TheDeclaredZonesAndAreaLieInTheDeclaredPicture) {
    const Manifest manifest = read_manifest(KORVEX_MANIFEST);
    int coordinates = 0;
    for (const auto& parameter : manifest.parameters) {
        const bool point = parameter.name.starts_with("Detection1") || parameter.name.starts_with("Exclusion");
        if (!point || parameter.kind != Kind::integer)
            continue;
        const int value = std::stoi(parameter.default_value);
        EXPECT_GE(value, 0) << parameter.name;
        EXPECT_LT(value, parameter.name.ends_with("x") ? 1280 : 720) << parameter.name;
        ++coordinates;
    }
    EXPECT_EQ(coordinates, 16 + 3 * 8);
}

TEST_F(ManifestFile, FilesOfAnotherShapeAreRefusedWithTheReason) {
    EXPECT_EQ(refusal("[]"), "holds no JSON object.");
    EXPECT_EQ(refusal(""), "holds no JSON object.");
    EXPECT_EQ(refusal("{}"), "names no \"package\".");
    EXPECT_EQ(refusal(R"({"package": 1})"), "names no \"package\".");
    EXPECT_EQ(refusal(R"({"package": "p"})"), "has no array \"parameters\".");
    EXPECT_EQ(refusal(R"({"package": "p", "parameters": {}})"), "has no array \"parameters\".");
    const std::string entry =
        "has an entry 0 in \"parameters\" that lacks a \"name\", a \"default\" text or a known \"kind\".";
    EXPECT_EQ(refusal(R"({"package": "p", "parameters": [1]})"), entry);
    EXPECT_EQ(refusal(R"({"package": "p", "parameters": [{"name": "", "default": "", "kind": "text"}]})"), entry);
    EXPECT_EQ(refusal(R"({"package": "p", "parameters": [{"name": "A", "kind": "text"}]})"), entry);
    EXPECT_EQ(refusal(R"({"package": "p", "parameters": [{"name": "A", "default": 1, "kind": "text"}]})"), entry);
    EXPECT_EQ(refusal(R"({"package": "p", "parameters": [{"name": "A", "default": "1", "kind": "int"}]})"), entry);
    const std::string twice = R"({"name": "A", "default": "1", "kind": "integer"})";
    EXPECT_EQ(refusal(R"({"package": "p", "parameters": [)" + twice + "," + twice + "]}"), "declares \"A\" twice.");
    EXPECT_EQ(refusal("{ not json").rfind("cannot be read: ", 0), 0U);
}

TEST_F(ManifestFile, AMissingFileIsAnErrorThatNamesIt) {
    setenv("KORVEX_AXPARAMETER_MANIFEST", (m_folder / "none.json").c_str(), 1);
    g_autoptr(GError) error = nullptr;
    EXPECT_EQ(ax_parameter_new("korvex_orvel", &error), nullptr);
    ASSERT_NE(error, nullptr);
    EXPECT_NE(std::string(error->message).find("none.json cannot be read"), std::string::npos) << error->message;
    EXPECT_FALSE(std::filesystem::exists(m_store));
}

TEST_F(ManifestFile, WithoutTheVariableTheSourceTreesManifestIsRead) {
    unsetenv("KORVEX_AXPARAMETER_MANIFEST");
    EXPECT_EQ(host_parameters::manifest_path(), KORVEX_MANIFEST);
    setenv("KORVEX_AXPARAMETER_MANIFEST", "", 1);
    EXPECT_EQ(host_parameters::manifest_path(), KORVEX_MANIFEST);
}

TEST_F(ManifestFile, ParametersDeclaredLaterAreAddedAndPresentValuesKept) {
    const std::string first = R"({"name": "Old", "default": "1", "kind": "integer"})";
    const std::string changed = R"({"name": "Old", "default": "5", "kind": "integer"})";
    const std::string later = R"({"name": "New", "default": "2", "kind": "integer"})";
    const auto use = [&](const std::string& parameters) {
        const auto path = write_file("m.json", R"({"package": "korvex_orvel", "parameters": [)" + parameters + "]}");
        setenv("KORVEX_AXPARAMETER_MANIFEST", path.c_str(), 1);
        return open();
    };
    ASSERT_TRUE(set(use(first), "Old", "77"));
    const auto handle = use(changed + "," + later);
    EXPECT_EQ(value_of(handle, "Old"), "77");
    EXPECT_EQ(value_of(handle, "New"), "2");
    EXPECT_EQ(value_of(use(later), "Old"), "77");
}

} // namespace
