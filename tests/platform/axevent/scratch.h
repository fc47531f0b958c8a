#pragma once

#include "tests/support/temporary_folder.h"
#include "tests/support/variables.h"

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

inline std::string content(const std::string& path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

inline std::vector<std::string> lines(const std::string& path) {
    std::ifstream file(path);
    std::vector<std::string> all;
    for (std::string line; std::getline(file, line);)
        all.push_back(line);
    return all;
}
