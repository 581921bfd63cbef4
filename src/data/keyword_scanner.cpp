#include "data/keyword_scanner.h"

#include <algorithm>
#include <cmath>

#include "data/number_syntax.h"
#include "platform/text.h"

namespace kurvalux_data {
namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}
bool IsSeparator(char c) {
    return c == ' ' || c == '\t' || c == ',' || c == ';';
}
bool IsTerminator(char c) {
    return static_cast<unsigned char>(c) < 33 || c == ',' || c == ';';
}
bool IsDigit(char c) {
    return IsDecimalDigit(c);
}
bool IsLineEnd(char c) {
    return c == '\r' || c == '\n';
}
bool IsWordStart(char c) {
    return (c >= 'A' && c <= 'X') || (c >= 'a' && c <= 'x') || c == '_';
}
bool IsWordChar(char c) {
    return IsDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

}  // namespace

void CKeywordScanner::SkipBlanks() {
    while (position_ < text_.size() && IsBlank(text_[position_])) ++position_;
}

void CKeywordScanner::SkipSeparators() {
    while (position_ < text_.size() && IsSeparator(text_[position_])) ++position_;
}

void CKeywordScanner::Fail(std::string_view message) {
    error_ = kurvalux_platform::Cut(message, kScannerErrorCapacity);
}

bool CKeywordScanner::FailWithToken(std::string_view literal, size_t start) {
    size_t p = start;
    while (p < text_.size() && IsSeparator(text_[p])) ++p;
    size_t end = p;
    while (end < text_.size() && end - p < 63 && !IsTerminator(text_[end])) ++end;
    std::string message(literal);
    message.append(text_.substr(p, end - p));
    Fail(message);
    return false;
}

bool CKeywordScanner::ReadIdentifier(std::string& word, size_t capacity) {
    const size_t start = position_;
    SkipBlanks();
    if (position_ >= text_.size() || !IsWordStart(text_[position_]))
        return FailWithToken("Expected identifier: ", start);
    const size_t begin = position_;
    while (position_ < text_.size() && IsWordChar(text_[position_])) ++position_;
    word.assign(text_.substr(begin, std::min(position_ - begin, capacity)));
    return true;
}

bool CKeywordScanner::ExpectEquals() {
    const size_t start = position_;
    SkipBlanks();
    if (position_ + 1 >= text_.size() || text_[position_] != '=')
        return FailWithToken("Expected '=' instead of: ", start);
    ++position_;
    return true;
}

bool CKeywordScanner::ReadNumber(double& value) {
    const size_t start = position_;
    SkipBlanks();
    const char* p = text_.data() + position_;
    switch (ParseDecimalNumberChecked(p, text_.data() + text_.size(), value)) {
        case NumberParse::NotANumber:
            return FailWithToken("Expected number: ", start);
        case NumberParse::OutOfRange:
            return FailWithToken("Number out of range: ", start);
        case NumberParse::Ok:
            break;
    }
    position_ = static_cast<size_t>(p - text_.data());
    return true;
}

bool CKeywordScanner::ReadInteger(int32_t& value) {
    const size_t start = position_;
    SkipBlanks();
    bool negative = false;
    if (position_ < text_.size() && (text_[position_] == '+' || text_[position_] == '-'))
        negative = text_[position_++] == '-';
    if (position_ >= text_.size() || !IsDigit(text_[position_]))
        return FailWithToken("Expected number: ", start);
    uint32_t v = 0;
    while (position_ < text_.size() && IsDigit(text_[position_]))
        v = v * 10u + static_cast<uint32_t>(text_[position_++] - '0');
    value = static_cast<int32_t>(negative ? 0u - v : v);
    return true;
}

bool CKeywordScanner::ReadBoolean(bool& value) {
    const size_t start = position_;
    std::string word;
    if (ReadIdentifier(word, 63)) {
        const std::string upper = kurvalux_platform::ToUpperAscii(word);
        if (upper == "TRUE" || upper == "FALSE") {
            value = upper == "TRUE";
            return true;
        }
    }
    return FailWithToken("Expected TRUE or FALSE", start);
}

bool CKeywordScanner::ReadQuotedString(std::string& text, size_t capacity) {
    const size_t start = position_;
    SkipSeparators();
    if (position_ >= text_.size() || text_[position_] != '"')
        return FailWithToken("Expected quoted string: ", start);
    ++position_;
    text.clear();
    while (position_ < text_.size()) {
        char c = text_[position_];
        if (c == '"') {
            if (position_ + 1 < text_.size() && text_[position_ + 1] == '"') {
                position_ += 2;
            } else {
                ++position_;
                return true;
            }
        } else {
            ++position_;
        }
        if (text.size() >= capacity) return true;  // the line advance skips the rest
        text.push_back(c);
    }
    return true;
}

void CKeywordScanner::ReadToken(std::string& token, size_t capacity) {
    SkipSeparators();
    const size_t begin = position_;
    while (position_ < text_.size() && position_ - begin < capacity &&
           !IsTerminator(text_[position_]))
        ++position_;
    token.assign(text_.substr(begin, position_ - begin));
}

bool CKeywordScanner::NextLine() {
    while (position_ < text_.size() && !IsLineEnd(text_[position_])) ++position_;
    if (position_ >= text_.size()) {
        Fail("Unexpected end off KVF file");
        return false;
    }
    while (position_ < text_.size() && IsLineEnd(text_[position_])) ++position_;
    if (position_ >= text_.size()) {
        Fail("Unexpected end off KVF file");
        return false;
    }
    return true;
}

CKeywordWriter::CKeywordWriter() {
    text_.reserve(4096);
}

void CKeywordWriter::Reserve(size_t more) {
    // Grow in whole 4096-byte steps.
    if (text_.capacity() - text_.size() < more)
        text_.reserve((text_.size() + more + 4095) / 4096 * 4096);
}

void CKeywordWriter::Line(std::string_view text) {
    Reserve(static_cast<size_t>(indent_) + text.size() + 2);
    text_.append(static_cast<size_t>(indent_), '\t');
    text_.append(text);
    text_.append("\r\n");
}

void CKeywordWriter::Begin(std::string_view keyword) {
    Line(keyword);
    ++indent_;
}

void CKeywordWriter::End(std::string_view keyword) {
    if (indent_ > 0) --indent_;
    Line(keyword);
}

void CKeywordWriter::Raw(std::string_view key, std::string_view value) {
    std::string line(key);
    line += " = ";
    line += value;
    Line(line);
}

namespace {

// Digits before the point in a fixed-point text ("-12.5" has 2).
int IntegerDigits(const std::string& text) {
    const size_t begin = text[0] == '-' ? 1 : 0;
    const size_t point = text.find('.');
    return static_cast<int>((point == std::string::npos ? text.size() : point) - begin);
}

}  // namespace

std::string FormatFileNumber(double value, int decimals) {
    // The reader adds the fraction digits one by one, each addition rounding once; with at most
    // 14 significant digits written, the error this leaves stays far below half a unit of the
    // last written decimal, so the text written from the value read back is the same text.
    constexpr int kSignificantDigits = 14;
    constexpr double kLargest = 999999999999999.0;  // below kMaxFileNumber, exact in a double
    if (std::isnan(value)) return "0";
    value = std::clamp(value, -kLargest, kLargest);
    std::string text = kurvalux_platform::FormatFixed(value, decimals);
    // Rounding may carry into a longer integer part, which then leaves room for fewer decimals.
    for (int d = decimals; d > 0 && IntegerDigits(text) + d > kSignificantDigits;) {
        d = std::max(0, kSignificantDigits - IntegerDigits(text));
        text = kurvalux_platform::FormatFixed(value, d);
    }
    // A value that rounds to zero reads back as zero, which is written "0".
    if (text.find_first_not_of("-0.") == std::string::npos) return "0";
    return text;
}

void CKeywordWriter::Number(std::string_view key, double value, int decimals) {
    Raw(key, FormatFileNumber(value, decimals));
}

void CKeywordWriter::Integer(std::string_view key, long long value) {
    Raw(key, std::to_string(value));
}

void CKeywordWriter::Boolean(std::string_view key, bool value) {
    Raw(key, value ? "TRUE" : "FALSE");
}

void CKeywordWriter::Quoted(std::string_view key, std::string_view text) {
    Raw(key, QuoteText(text));
}

std::string QuoteText(std::string_view text) {
    constexpr size_t kLimit = 1024;
    std::string quoted = "\"";
    for (char c : text) {
        const size_t need = c == '"' ? 2 : 1;
        if (quoted.size() + need + 1 > kLimit) break;
        quoted.push_back(c);
        if (c == '"') quoted.push_back('"');
    }
    quoted.push_back('"');
    return quoted;
}

}  // namespace kurvalux_data
