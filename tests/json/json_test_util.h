#pragma once
// Shared by the JSON tests: parse a text, and show a tree compactly.
#include <string>
#include <string_view>

#include "json/json.h"

namespace sjson_test {

// The tree as the writer lays it out without separators or line ends, with the indentation
// taken out: TABs occur nowhere else, since the writer escapes them inside strings.
inline std::string Compact(const sjson::CJSON& doc) {
    kurvalux_platform::CTextBuffer out;
    if (!doc.Write(out, 0)) return "<no document>";
    std::string text;
    for (char c : out.Text())
        if (c != '\t') text.push_back(c);
    return text;
}

inline std::string Pretty(const sjson::CJSON& doc) {
    kurvalux_platform::CTextBuffer out;
    doc.Write(out, sjson::kWritePretty);
    return out.Text();
}

struct Parsed {
    bool ok = false;
    std::string error;
    std::string compact;
};

inline Parsed ParseText(std::string_view text, sjson::CJSON& doc) {
    sjson::CJSONSource source(text);
    Parsed parsed;
    parsed.ok = doc.Parse(source);
    parsed.error = source.error;
    parsed.compact = Compact(doc);
    return parsed;
}

inline Parsed ParseText(std::string_view text) {
    sjson::CJSON doc;
    return ParseText(text, doc);
}

}  // namespace sjson_test
