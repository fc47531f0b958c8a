#include "tests/platform/axparameter/store_fixture.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>

namespace {

using AxParameter = StoreFixture;

struct Failure {
    int code = 0;
    std::string message;
};

/** Runs a call that must fail and gives its error. */
template <typename Call>
Failure failure_of(Call&& call) {
    g_autoptr(GError) error = nullptr;
    EXPECT_FALSE(call(&error));
    EXPECT_NE(error, nullptr);
    return error != nullptr ? Failure{error->code, error->message} : Failure{};
}

std::vector<std::string> names_of(const ParameterHandle& handle) {
    GList* list = ax_parameter_list(handle.get(), nullptr);
    std::vector<std::string> names;
    for (const GList* entry = list; entry != nullptr; entry = entry->next)
        names.emplace_back(static_cast<const gchar*>(entry->data));
    g_list_free_full(list, g_free);
    return names;
}

TEST_F(AxParameter, AFirstUseGivesEveryDeclaredDefault) {
    const struct {
        const char* name;
        const char* value;
    } declared[] = {
        {"HStream", "720"},
        {"WStream", "1280"},
        {"MinNumberOfPeopleForTrigger", "1"},
        {"Sensitivity", "0.350000"},
        {"MaxDisappeared", "15"},
        {"MainLoopTime", "200"},
        {"DetectionControlPoints", "4"},
        {"Alert1Active", "true"},
        {"Alert2Active", "true"},
        {"Alert3Active", "true"},
        {"Alert1ThreshSeconds", "5"},
        {"Alert2ThreshSeconds", "10"},
        {"Alert3ThreshSeconds", "15"},
        {"Exclusion1Active", "false"},
        {"Exclusion2Active", "false"},
        {"Exclusion3Active", "false"},
        {"DetectionOverlaysOn", "true"},
        {"AnonOverlaysOn", "false"},
        {"SelectedDetectionOverlay", "1280x720"},
        {"SelectedAnonOverlay", "640x360"},
        {"DetectPersons", "true"},
        {"DetectCars", "true"},
        {"DetectMotorcycles", "true"},
        {"DetectBicycles", "true"},
        {"DetectAirplanes", "true"},
        {"DetectBuses", "true"},
        {"DetectTrains", "true"},
        {"DetectTrucks", "true"},
        {"DetectBoats", "true"},
        {"EulaAccepted", "false"},
        {"root.Image.I0.Appearance.Rotation", "0"},
    };
    const auto handle = open();
    for (const auto& [name, value] : declared)
        EXPECT_EQ(value_of(handle, name), value) << name;
}

TEST_F(AxParameter, TheListHasTheSeventyDeclaredNamesAndNotTheCamerasOwn) {
    const auto names = names_of(open());
    ASSERT_EQ(names.size(), 70U);
    EXPECT_EQ(names.front(), "HStream");
    EXPECT_EQ(names[7], "Detection10x");
    EXPECT_EQ(names.back(), "EulaAccepted");
}

TEST_F(AxParameter, ADeclaredParameterCannotBeAddedAgain) {
    const auto handle = open();
    for (const std::string& name : names_of(handle)) {
        const auto add = [&](GError** error) {
            return ax_parameter_add(handle.get(), name.c_str(), "0", nullptr, error) == TRUE;
        };
        EXPECT_EQ(failure_of(add).code, 13) << name;
    }
    EXPECT_EQ(value_of(handle, "MainLoopTime"), "200");
}

TEST_F(AxParameter, AnAddedParameterHasItsInitialValueAndEndsTheList) {
    const auto handle = open();
    g_autoptr(GError) error = nullptr;
    ASSERT_TRUE(ax_parameter_add(handle.get(), "Fresh", "first", "string", &error));
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(value_of(handle, "Fresh"), "first");
    EXPECT_EQ(names_of(handle).back(), "Fresh");
    EXPECT_FALSE(ax_parameter_add(handle.get(), "Fresh", "second", nullptr, nullptr));
    EXPECT_EQ(value_of(open(), "Fresh"), "first");
}

TEST_F(AxParameter, TheCamerasOwnParametersCanBeReadAndSetButNotAdded) {
    const auto handle = open();
    EXPECT_TRUE(set(handle, "root.Image.I0.Appearance.Rotation", "90"));
    EXPECT_EQ(value_of(open("another"), "root.Image.I0.Appearance.Rotation"), "90");
    const auto add = [&](const char* name) {
        return failure_of(
            [&](GError** error) { return ax_parameter_add(handle.get(), name, "0", nullptr, error) == TRUE; });
    };
    EXPECT_EQ(add("root.Image.I0.Appearance.Rotation").code, 13);
    EXPECT_EQ(add("root.Other").message, "\"root.Other\" would be a parameter of the camera's own; none can be added.");
}

TEST_F(AxParameter, ANameBelongsToTheHandlesGroup) {
    const auto one = open();
    const auto other = open("another");
    ASSERT_TRUE(ax_parameter_add(other.get(), "MainLoopTime", "7", nullptr, nullptr));
    EXPECT_EQ(value_of(one, "MainLoopTime"), "200");
    EXPECT_EQ(value_of(other, "MainLoopTime"), "7");
    EXPECT_EQ(names_of(other), std::vector<std::string>{"MainLoopTime"});
}

TEST_F(AxParameter, ValuesOfAnyBytesComeBackAsTheyWereSet) {
    const std::string values[] = {"",
                                  " ",
                                  "true",
                                  "0.500000",
                                  "4294967295",
                                  "\xff\xfe\x80 not UTF-8",
                                  "Zürich \xE2\x98\x83",
                                  "'; DROP TABLE parameters; --",
                                  "line\nline\ttab",
                                  std::string(1 << 20, 'x')};
    for (const std::string& value : values) {
        const auto handle = open();
        ASSERT_TRUE(set(handle, "SelectedAnonOverlay", value));
        EXPECT_EQ(value_of(handle, "SelectedAnonOverlay"), value);
        EXPECT_EQ(value_of(open(), "SelectedAnonOverlay"), value);
    }
}

TEST_F(AxParameter, NamesOfAnyBytesAreTakenAsTheyAre) {
    const auto handle = open();
    for (const char* name : {"\xff\x80", "with blank", "mainlooptime", "a.b.c", "Ünïcode"}) {
        ASSERT_TRUE(ax_parameter_add(handle.get(), name, name, nullptr, nullptr)) << name;
        EXPECT_EQ(value_of(handle, name), name);
    }
    EXPECT_EQ(value_of(handle, "MainLoopTime"), "200");
}

TEST_F(AxParameter, AnUnsynchronisedSetIsKeptAllTheSame) {
    ASSERT_TRUE(ax_parameter_set(open().get(), "MaxDisappeared", "31", FALSE, nullptr));
    EXPECT_EQ(value_of(open(), "MaxDisappeared"), "31");
}

TEST_F(AxParameter, WrongArgumentsAreErrors) {
    const auto handle = open();
    AXParameter* const raw = handle.get();
    gchar* value = nullptr;
    const struct {
        const char* what;
        std::function<bool(GError**)> call;
        const char* message;
    } cases[] = {
        {"no application", [](GError** e) { return ax_parameter_new(nullptr, e) != nullptr; },
         "An application's name must not be empty."},
        {"empty application", [](GError** e) { return ax_parameter_new("", e) != nullptr; },
         "An application's name must not be empty."},
        {"get without name", [&](GError** e) { return ax_parameter_get(raw, nullptr, &value, e) == TRUE; },
         "A parameter's name must not be empty."},
        {"set with empty name", [&](GError** e) { return ax_parameter_set(raw, "", "1", TRUE, e) == TRUE; },
         "A parameter's name must not be empty."},
        {"add with empty name", [&](GError** e) { return ax_parameter_add(raw, "", "1", nullptr, e) == TRUE; },
         "A parameter's name must not be empty."},
        {"get of an unknown name", [&](GError** e) { return ax_parameter_get(raw, "Nothing", &value, e) == TRUE; },
         "There is no parameter \"Nothing\"."},
        {"set of an unknown name", [&](GError** e) { return ax_parameter_set(raw, "Nothing", "1", TRUE, e) == TRUE; },
         "There is no parameter \"Nothing\"."},
        {"name in another case", [&](GError** e) { return ax_parameter_get(raw, "hstream", &value, e) == TRUE; },
         "There is no parameter \"hstream\"."},
        {"get to nowhere", [&](GError** e) { return ax_parameter_get(raw, "HStream", nullptr, e) == TRUE; },
         "There is no place for the value."},
        {"set of nothing", [&](GError** e) { return ax_parameter_set(raw, "HStream", nullptr, TRUE, e) == TRUE; },
         "No value was given for the parameter \"HStream\"."},
        {"add of nothing", [&](GError** e) { return ax_parameter_add(raw, "New", nullptr, nullptr, e) == TRUE; },
         "No value was given for the parameter \"New\"."},
    };
    for (const auto& [what, call, message] : cases) {
        EXPECT_EQ(failure_of(call).message, message) << what;
        EXPECT_FALSE(call(nullptr)) << what << " without a place for the error";
    }
    EXPECT_EQ(value, nullptr);
}

void expect_refused(AXParameter* handle) {
    gchar* value = nullptr;
    const char* const message = "The parameter handle is not open: it was released, or never made.";
    EXPECT_EQ(failure_of([&](GError** e) { return ax_parameter_get(handle, "HStream", &value, e) == TRUE; }).message,
              message);
    EXPECT_EQ(failure_of([&](GError** e) { return ax_parameter_set(handle, "HStream", "1", TRUE, e) == TRUE; }).message,
              message);
    EXPECT_EQ(failure_of([&](GError** e) { return ax_parameter_add(handle, "X", "1", nullptr, e) == TRUE; }).message,
              message);
    EXPECT_EQ(failure_of([&](GError** e) { return ax_parameter_list(handle, e) != nullptr; }).message, message);
    EXPECT_EQ(value, nullptr);
    ax_parameter_free(handle);
}

TEST_F(AxParameter, AReleasedHandleIsRefusedAndReleasingItAgainIsHarmless) {
    AXParameter* const handle = open().release();
    ax_parameter_free(handle);
    expect_refused(handle);
    EXPECT_EQ(value_of(open(), "HStream"), "720");
}

TEST_F(AxParameter, ReleasedHandlesNeverComeToMeanALaterOne) {
    std::vector<AXParameter*> released;
    for (int i = 0; i < 20; ++i)
        released.push_back(open().get());
    const auto live = open();
    for (AXParameter* handle : released) {
        EXPECT_NE(handle, live.get());
        expect_refused(handle);
    }
    EXPECT_EQ(value_of(live, "HStream"), "720");
}

TEST_F(AxParameter, NoHandleAndStrayPointersAreRefused) {
    int stray = 0;
    expect_refused(nullptr);
    expect_refused(reinterpret_cast<AXParameter*>(&stray));
    expect_refused(reinterpret_cast<AXParameter*>(std::uintptr_t{0x13}));
}

TEST_F(AxParameter, ThreadsShareOneHandle) {
    const auto handle = open();
    const char* const names[] = {"DetectCars", "DetectBuses", "DetectBoats", "DetectTrucks"};
    std::vector<std::thread> threads;
    for (const char* name : names) {
        threads.emplace_back([&handle, name] {
            for (int i = 0; i < 20; ++i) {
                const std::string value = std::to_string(i);
                EXPECT_TRUE(set(handle, name, value));
                EXPECT_EQ(value_of(handle, name), value);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const char* name : names)
        EXPECT_EQ(value_of(handle, name), "19");
}

TEST_F(AxParameter, AHandleMayBeReleasedWhileOtherThreadsUseIt) {
    AXParameter* const handle = open().release();
    std::atomic<int> saved = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            g_autoptr(GError) error = nullptr;
            while (ax_parameter_set(handle, "HStream", "1", TRUE, &error) == TRUE)
                ++saved;
            EXPECT_NE(error, nullptr);
        });
    }
    while (saved < 10)
        std::this_thread::yield();
    ax_parameter_free(handle);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(value_of(open(), "HStream"), "1");
}

} // namespace
