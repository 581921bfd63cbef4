#pragma once
// Readable, stable names for the rows of table-driven tests. Without a name generator the test
// runner names a row by a dump of its bytes, pointers included, so the names were long and
// changed from run to run.
#include <gtest/gtest.h>

#include <cctype>
#include <string>

// The row's own description ("width 0.6 one ulp above, free") as an identifier
// ("width_0_6_one_ulp_above_free"): letters and digits kept, every other run of characters one
// underscore.
struct RowDescription {
    template <class Info>
    std::string operator()(const Info& info) const {
        std::string name;
        for (const char* c = info.param.name; *c; ++c) {
            if (std::isalnum(static_cast<unsigned char>(*c)))
                name += *c;
            else if (!name.empty() && name.back() != '_')
                name += '_';
        }
        while (!name.empty() && name.back() == '_') name.pop_back();
        return name.empty() ? "Row" + std::to_string(info.index) : name;
    }
};

// For rows without a description: their place in the table, counted from 0.
struct RowNumber {
    template <class Info>
    std::string operator()(const Info& info) const {
        return "Row" + std::to_string(info.index);
    }
};
