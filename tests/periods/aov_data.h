#pragma once
// Readers of the multiharmonic AoV reference set in tests/data/mhaov (see its README): the
// 2000-point data set and the tables of reference values.
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace kurvalux_test {

struct PointTable {
    std::vector<double> times, values, errors;
};

// Rows of numbers; lines starting with '#' are skipped.
inline std::vector<std::vector<double>> ReadNumberRows(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::vector<double>> rows;
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        std::vector<double> row;
        for (double x; fields >> x;) row.push_back(x);
        if (!row.empty()) rows.push_back(row);
    }
    return rows;
}

inline std::string MhaovPath(const std::string& name) {
    return std::string(KURVALUX_TEST_DATA_DIR) + "/mhaov/" + name;
}

inline PointTable ReadMhaovDataset() {
    PointTable table;
    for (const auto& row : ReadNumberRows(MhaovPath("dataset_eb0p3731.txt"))) {
        table.times.push_back(row.at(0));
        table.values.push_back(row.at(1));
        table.errors.push_back(row.at(2));
    }
    return table;
}

}  // namespace kurvalux_test
