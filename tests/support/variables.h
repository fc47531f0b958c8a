#pragma once

#include <cstdlib>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <utility>

/** Sets variables of the environment, or with no value unsets them, and puts the old values back at its end. */
class Variables {
  public:
    using Value = std::optional<std::string>;

    Variables(const std::string& name, const Value& value) { keep_and_set(name, value); }
    Variables(std::initializer_list<std::pair<std::string, Value>> values) {
        for (const auto& [name, value] : values)
            keep_and_set(name, value);
    }
    ~Variables() {
        for (const auto& [name, value] : m_before)
            set(name, value);
    }
    Variables(const Variables&) = delete;
    Variables& operator=(const Variables&) = delete;

  private:
    static void set(const std::string& name, const Value& value) {
        if (value)
            setenv(name.c_str(), value->c_str(), 1);
        else
            unsetenv(name.c_str());
    }
    void keep_and_set(const std::string& name, const Value& value) {
        const char* before = std::getenv(name.c_str());
        m_before.emplace(name, before != nullptr ? Value(before) : std::nullopt);
        set(name, value);
    }

    std::map<std::string, Value> m_before;
};
