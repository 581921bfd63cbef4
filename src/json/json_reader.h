#pragma once
// The reading primitives of the parser: whitespace, token detection, quoted strings, numbers
// and the words true, false and null, each at the source's current position.
#include <cstdint>
#include <string>
#include <string_view>

#include "json/json.h"

namespace sjson {

// The codes are the token numbers the library has always used; End stands for a detection
// that failed because the text is exhausted.
enum class EToken {
    Unknown = 0,
    String = 1,
    Number = 2,
    RecordOpen = 3,
    RecordClose = 4,
    ArrayOpen = 5,
    ArrayClose = 6,
    True = 7,
    False = 8,
    Null = 9,
    End = 10,
};

struct SNumber {
    bool real = false;    // written with "." or an exponent
    double value = 0;     // the value as the library's own conversion builds it
    int64_t integer = 0;  // for an integer: the exact value, saturated at the 64-bit range
};

class CJSONReader {
public:
    explicit CJSONReader(CJSONSource& source) : source_(source) {}

    // Skips whitespace and names the next token without consuming it.
    EToken Detect();
    // Skips whitespace, then requires and consumes `c`; else leaves `message`.
    bool Expect(char c, std::string_view message);
    // Skips whitespace and consumes a separator: "," or `close`. `message` when neither.
    bool ReadSeparator(char close, std::string_view message, bool& closed);
    // A quoted string of at most `capacity` characters; false when no quote opens it (no
    // message: the caller names what it expected).
    bool ReadQuoted(std::string& text, size_t capacity);
    bool ReadNumber(SNumber& number);
    // Consumes the identifier detected as true, false or null.
    bool SkipIdentifier();

    // Keeps the first message only (cut at kErrorCapacity) and returns false.
    bool Fail(std::string_view message);

private:
    void SkipWhitespace();
    // The identifier at the current position (at most kIdentifierCapacity characters).
    std::string_view PeekIdentifier() const;
    bool AtEnd() const { return source_.position >= source_.text.size(); }
    char Byte() const { return source_.text[source_.position]; }

    CJSONSource& source_;
};

}  // namespace sjson
