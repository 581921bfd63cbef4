#pragma once
// CJSON: a JSON document with a cursor for walking and building it, a parser that reports the
// first error in words, and a writer that lays the tree out one element per line.
//
// Text is handled as 8-bit bytes throughout: strings are copied byte for byte (invalid UTF-8
// included) and the only escapes are \t, \n and \r; a backslash before any other byte stands
// for that byte, so there is no \u escape. Converting to and from other encodings is the
// business of the caller (json/text_conversion.h).
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "json/json_node.h"
#include "platform/text_buffer.h"

namespace sjson {

// The text being parsed, the position reached, and the first error's message (at most
// kErrorCapacity characters; empty when the parse failed at a value it could not read).
struct CJSONSource {
    explicit CJSONSource(std::string_view text = {}) : text(text) {}
    std::string_view text;
    size_t position = 0;
    std::string error;
};

// Writing flags: ": " instead of ":" between a member's name and its value, and CR LF after
// every line (the buffer's own line-end switch is set from it).
enum : unsigned {
    kWriteSeparator = 1,
    kWriteLineEnds = 2,
    kWritePretty = kWriteSeparator | kWriteLineEnds,
};

// The text a real is written as: fixed point with 8 decimals ("0" for a value that rounds to
// zero, "null" for infinity and not-a-number); see json_writer.cpp for the digits.
std::string FormatReal(double value);

class CJSON {
public:
    CJSON() = default;
    CJSON(CJSON&&) noexcept = default;
    CJSON& operator=(CJSON&&) noexcept = default;
    virtual ~CJSON();

    // Creates the root, or empties it, as an array or a record; the cursor goes to the root.
    virtual void Reset(bool array);

    // Builds the document from the text. The top level must be a record or an array; text
    // after it is not examined. On failure the source holds the message and the tree built so
    // far is kept (callers discard it). The cursor is back on the root either way.
    // Containers nest at most kMaxDepth levels ("JSON nested deeper than 256 levels"). A number
    // without "." or exponent is an integer, exact over 64 bits and saturating beyond; any
    // other is a real built digit by digit (eleven fraction digits, the exponent applied one
    // power of ten at a time).
    bool Parse(CJSONSource& source);
    // Appends the tree to `output`, one element per line indented by `output.indent` plus its
    // depth in TABs, and sets the buffer's line-end switch from `flags` (see json_writer.cpp).
    // False when there is no document.
    bool Write(kurvalux_platform::CTextBuffer& output, unsigned flags) const;

    CJSONNode* Root() const { return root_.get(); }
    CJSONNode* Current() const { return current_; }
    void Rewind() { current_ = root_.get(); }

    // Moves the cursor into the array element at `index` or the record member `name`, which
    // must be a container of `kind` (EKind::Record or EKind::Array).
    bool EnterElement(size_t index, EKind kind);
    bool EnterMember(std::string_view name, EKind kind);
    // Back to the parent; false at the root.
    bool Leave();

    // Typed reads of the current record's members and the current array's elements: false
    // when the member is missing or of another kind. A string is cut at `capacity`. A real
    // read takes an integer too: a real that is exactly zero is written "0" and so reads back
    // as an integer. A boolean read of another kind also leaves "Expected true or false" as
    // the document's message.
    bool GetString(std::string_view name, std::string& value,
                   size_t capacity = kValueCapacity) const;
    bool GetInteger(std::string_view name, int64_t& value) const;
    bool GetReal(std::string_view name, double& value) const;
    bool GetBoolean(std::string_view name, bool& value);
    bool GetStringAt(size_t index, std::string& value, size_t capacity = kValueCapacity) const;
    bool GetIntegerAt(size_t index, int64_t& value) const;
    bool GetRealAt(size_t index, double& value) const;
    bool GetBooleanAt(size_t index, bool& value);
    // The cursor node's member `name` or element `index`, whatever its kind; null if none.
    CJSONNode* Member(std::string_view name) const;
    CJSONNode* Element(size_t index) const;

    // Members of the current record (false when the cursor is not on a record). The name is
    // cut at kNameCapacity. AddRecord and AddArray move the cursor into the new container.
    bool AddString(std::string_view name, std::string_view value);
    bool AddInteger(std::string_view name, int64_t value);
    bool AddReal(std::string_view name, double value);
    bool AddBoolean(std::string_view name, bool value);
    bool AddNull(std::string_view name);
    bool AddRecord(std::string_view name);
    bool AddArray(std::string_view name);
    // Elements of the current array (false when the cursor is not on an array).
    bool AppendString(std::string_view value);
    bool AppendInteger(int64_t value);
    bool AppendReal(double value);
    bool AppendBoolean(bool value);
    bool AppendNull();
    bool AppendRecord();
    bool AppendArray();

    // Unlinks and frees the array element at `index`, or the first member named `name`.
    bool DeleteElement(size_t index);
    bool DeleteMember(std::string_view name);

    // The message of the last failed boolean read.
    const std::string& Error() const { return error_; }

private:
    CJSONNode* CurrentOf(EKind kind) const;
    CJSONNode* AddMember(std::string_view name);
    CJSONNode* AddElement();
    bool ReadBoolean(const CJSONNode* node, bool& value);

    std::unique_ptr<CJSONNode> root_;
    CJSONNode* current_ = nullptr;
    std::string error_;
};

// A node's number as a real: a real, or an integer converted (answers write whole values of
// real fields without a fraction). False for any other kind or no node.
bool NumberAsReal(const CJSONNode* node, double& value);

}  // namespace sjson
