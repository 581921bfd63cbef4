#pragma once
// The example field the plan command line tests run on, and the lines of its output.
#include <sstream>
#include <string>
#include <vector>

inline const std::string kDemo = std::string(KURVALUX_SOURCE_DIR) + "/examples/demo/demo.kvf";
inline const std::string kRoot = std::string(KURVALUX_SOURCE_DIR) + "/examples/demo";

inline std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) lines.push_back(line);
    return lines;
}
