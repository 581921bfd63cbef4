#include "json/json_reader.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/text.h"

namespace sjson {
namespace {

bool IsWhitespace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool IsIdentifierStart(char c) {
    return IsLetter(c) || c == '_';
}
bool IsIdentifierChar(char c) {
    return IsLetter(c) || IsDigit(c) || c == '_';
}

// The word compared after case folding: the library has always taken "True" or "nULL" once
// the first letter (which selects the token) is lower case.
bool SameWord(std::string_view identifier, std::string_view word) {
    if (identifier.size() != word.size()) return false;
    for (size_t i = 0; i < word.size(); ++i) {
        char c = identifier[i];
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (c != word[i]) return false;
    }
    return true;
}

// Bytes that end a run of plain string bytes.
bool EndsRun(char c) {
    return c == '"' || c == '\\';
}

char Unescaped(char c) {
    switch (c) {
        case 't':
            return '\t';
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        default:
            return c;  // \" \\ \/ give the byte itself; \b \f \u give the letter
    }
}

// Only the first eleven fraction digits count; later ones are consumed and ignored.
constexpr double kFractionWeights[11] = {1e-1, 1e-2, 1e-3, 1e-4,  1e-5, 1e-6,
                                         1e-7, 1e-8, 1e-9, 1e-10, 1e-11};

// The exponent is applied one power of ten at a time; past this many the value has long become
// zero or infinite, which further steps leave as they are.
constexpr int kExponentCap = 100000;

// Exact integers saturate here: 2^63, the magnitude of the most negative 64-bit integer.
constexpr uint64_t kIntegerMagnitudeCap = uint64_t{1} << 63;

}  // namespace

bool CJSONReader::Fail(std::string_view message) {
    if (source_.error.empty()) kurvalux_platform::AssignCut(source_.error, message, kErrorCapacity);
    return false;
}

void CJSONReader::SkipWhitespace() {
    while (!AtEnd() && IsWhitespace(Byte())) ++source_.position;
}

std::string_view CJSONReader::PeekIdentifier() const {
    const std::string_view text = source_.text;
    const size_t begin = source_.position;
    if (begin >= text.size() || !IsIdentifierStart(text[begin])) return {};
    size_t end = begin + 1;
    while (end < text.size() && end - begin < kIdentifierCapacity && IsIdentifierChar(text[end]))
        ++end;
    return text.substr(begin, end - begin);
}

EToken CJSONReader::Detect() {
    SkipWhitespace();
    if (AtEnd()) return EToken::End;
    const char c = Byte();
    if (IsDigit(c) || c == '+' || c == '-' || c == '.') return EToken::Number;
    switch (c) {
        case '"':
            return EToken::String;
        case '{':
            return EToken::RecordOpen;
        case '}':
            return EToken::RecordClose;
        case '[':
            return EToken::ArrayOpen;
        case ']':
            return EToken::ArrayClose;
        case 't':
            return SameWord(PeekIdentifier(), "true") ? EToken::True : EToken::Unknown;
        case 'f':
            return SameWord(PeekIdentifier(), "false") ? EToken::False : EToken::Unknown;
        case 'n':
            return SameWord(PeekIdentifier(), "null") ? EToken::Null : EToken::Unknown;
        default:
            return EToken::Unknown;
    }
}

bool CJSONReader::Expect(char c, std::string_view message) {
    SkipWhitespace();
    if (AtEnd() || Byte() != c) return Fail(message);
    ++source_.position;
    return true;
}

bool CJSONReader::ReadSeparator(char close, std::string_view message, bool& closed) {
    SkipWhitespace();
    if (AtEnd() || (Byte() != ',' && Byte() != close)) return Fail(message);
    closed = Byte() == close;
    ++source_.position;
    return true;
}

bool CJSONReader::SkipIdentifier() {
    SkipWhitespace();
    const std::string_view identifier = PeekIdentifier();
    if (identifier.empty()) return Fail("Expected identifier");
    source_.position += identifier.size();
    return true;
}

bool CJSONReader::ReadQuoted(std::string& text, size_t capacity) {
    SkipWhitespace();
    if (AtEnd() || Byte() != '"') return false;
    const char* p = source_.text.data() + source_.position + 1;
    const char* const end = source_.text.data() + source_.text.size();
    text.clear();
    // Plain bytes are copied a run at a time; a backslash takes the byte after it. The end of
    // the text ends the string quietly; at the capacity the reading stops where it is.
    for (;;) {
        const size_t room = capacity - text.size();
        const char* const run_end = p + std::min(room, static_cast<size_t>(end - p));
        const char* q = p;
        while (q < run_end && !EndsRun(*q)) ++q;
        text.append(p, q);
        p = q;
        if (p == end) break;
        if (*p == '"') {
            ++p;
            break;
        }
        if (text.size() >= capacity) break;
        if (++p == end) break;  // a backslash as the last byte
        text.push_back(Unescaped(*p++));
    }
    source_.position = static_cast<size_t>(p - source_.text.data());
    return true;
}

bool CJSONReader::ReadNumber(SNumber& number) {
    SkipWhitespace();
    const std::string_view text = source_.text;
    size_t i = source_.position;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
        negative = text[i] == '-';
        ++i;
    }
    if (i >= text.size() || !IsDigit(text[i])) return Fail("Expected number");

    // The value is built digit by digit, as the library has always read numbers. An integer is
    // also kept exactly, so that 64-bit values survive beyond the 53 bits of a double.
    double value = 0;
    uint64_t magnitude = 0;
    for (; i < text.size() && IsDigit(text[i]); ++i) {
        const int digit = text[i] - '0';
        value = value * 10.0 + digit;
        if (magnitude <= (kIntegerMagnitudeCap - static_cast<uint64_t>(digit)) / 10)
            magnitude = magnitude * 10 + static_cast<uint64_t>(digit);
        else
            magnitude = kIntegerMagnitudeCap;
    }
    bool real = false;
    if (i < text.size() && text[i] == '.') {
        real = true;
        if (++i >= text.size()) return Fail("Expected number");
        for (int k = 0; i < text.size() && IsDigit(text[i]); ++i, ++k)
            if (k < 11) value += (text[i] - '0') * kFractionWeights[k];
    }
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        real = true;
        ++i;
        bool divide = false;
        if (i < text.size() && (text[i] == '-' || text[i] == '+')) divide = text[i++] == '-';
        int exponent = 0;
        for (; i < text.size() && IsDigit(text[i]); ++i)
            exponent = std::min(exponent * 10 + (text[i] - '0'), kExponentCap);
        // Ten times per unit of the exponent, eight at a time and then one by one. Zero and
        // infinity stay as they are, so the steps stop there.
        const double factor = 10.0;
        while (exponent >= 8 && value != 0 && !std::isinf(value)) {
            for (int k = 0; k < 8; ++k) value = divide ? value / factor : value * factor;
            exponent -= 8;
        }
        for (; exponent > 0 && value != 0 && !std::isinf(value); --exponent)
            value = divide ? value / factor : value * factor;
    }
    source_.position = i;
    number.real = real;
    number.value = negative ? -value : value;
    if (negative)
        number.integer = static_cast<int64_t>(0 - magnitude);  // 2^63 wraps to the minimum
    else
        number.integer = static_cast<int64_t>(
            std::min<uint64_t>(magnitude, std::numeric_limits<int64_t>::max()));
    return true;
}

}  // namespace sjson
