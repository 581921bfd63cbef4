#pragma once
// A small scanner over a whole keyword text held in memory, and its writer. The formats are
// line oriented: a keyword alone, or a key, "=" and a value, per line. Each primitive reads one
// item at the current position and either advances past it or leaves a one-line message that
// names the offending token.
#include <cstdint>
#include <string>
#include <string_view>

namespace kurvalux_data {

constexpr size_t kScannerErrorCapacity = 79;
constexpr size_t kKeywordCapacity = 63;

class CKeywordScanner {
public:
    explicit CKeywordScanner(std::string_view text) : text_(text) {}

    // A word: first character "A"-"X", "_", "a"-"x" (no keyword begins with Y or Z), then
    // letters, digits and "_". A longer word than `capacity` is cut.
    bool ReadIdentifier(std::string& word, size_t capacity = kKeywordCapacity);
    bool ExpectEquals();
    // Optional sign, digits, optional "." and digits (only the first 11 count). No exponent.
    // A magnitude of kMaxFileNumber or more is refused as out of range.
    bool ReadNumber(double& value);
    // As ReadNumber without fraction; accumulated in 32 bits, wrapping on overflow.
    bool ReadInteger(int32_t& value);
    // TRUE or FALSE in any letter case.
    bool ReadBoolean(bool& value);
    // A double-quoted text; a doubled quote stands for one.
    bool ReadQuotedString(std::string& text, size_t capacity);
    // An unquoted word up to a control character, blank, "," or ";".
    void ReadToken(std::string& token, size_t capacity);
    // Past the line end and any empty lines; fails at the end of the text.
    bool NextLine();

    const std::string& Error() const { return error_; }
    void Fail(std::string_view message);
    size_t Position() const { return position_; }
    bool AtEnd() const { return position_ >= text_.size(); }

private:
    void SkipBlanks();
    void SkipSeparators();
    // The literal followed by the offending token taken from `start`.
    bool FailWithToken(std::string_view literal, size_t start);

    std::string_view text_;
    size_t position_ = 0;
    std::string error_;
};

// Accumulates a keyword text: TAB indentation per nesting level, CR LF line ends.
class CKeywordWriter {
public:
    CKeywordWriter();
    void Line(std::string_view text);
    void Begin(std::string_view keyword);  // the keyword, then one level deeper
    void End(std::string_view keyword);    // one level up, then the keyword
    void Raw(std::string_view key, std::string_view value);
    // Fixed point with at most `decimals`, and fewer where the integer part is long, so that
    // the text reads back (digit by digit) to a value that writes the same text again. Values
    // the reader would refuse are never written: they are clamped to the largest magnitude it
    // takes, a NaN is written "0". Zero is written "0".
    void Number(std::string_view key, double value, int decimals = 6);
    void Integer(std::string_view key, long long value);
    void Boolean(std::string_view key, bool value);
    void Quoted(std::string_view key, std::string_view text);
    const std::string& Text() const { return text_; }
    std::string Release() { return std::move(text_); }

private:
    void Reserve(size_t more);
    std::string text_;
    int indent_ = 0;
};

// The text CKeywordWriter::Number writes for a value.
std::string FormatFileNumber(double value, int decimals);

// "\"" + text with every quote doubled + "\"", at most 1024 bytes in all.
std::string QuoteText(std::string_view text);

}  // namespace kurvalux_data
