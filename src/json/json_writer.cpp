// The writer: one element per line, the line indented by its depth in TABs and followed by ","
// when the element is not its parent's last. A record member is its quoted name, ":" (": "
// with the separator flag) and its value; a container's opening bracket ends that line and
// its closing bracket stands on a line of its own.
//
// Whatever is written reads back to a tree that writes the very same text again: string
// values are cut only where a whole escape fits, and reals are written so that the reader's
// digit-by-digit conversion lands on a value with the same text (FormatReal).
#include <algorithm>
#include <charconv>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "json/json.h"
#include "json/json_reader.h"
#include "platform/text.h"

namespace sjson {
namespace {

using kurvalux_platform::CTextBuffer;

constexpr int kRealDecimals = 8;
// Below this magnitude the reader builds every integer part exactly (2^53).
constexpr double kExactIntegersBelow = 9007199254740992.0;
// Bits kept of a larger real (see FormatReal).
constexpr int kSignificantBits = 42;

// Bytes written as a backslash and a letter (or the byte itself).
bool Escaped(char c) {
    return c == '"' || c == '\\' || c == '\t' || c == '\n' || c == '\r';
}

char EscapeLetter(char c) {
    switch (c) {
        case '\t':
            return 't';
        case '\n':
            return 'n';
        case '\r':
            return 'r';
        default:
            return c;
    }
}

size_t EscapedLength(std::string_view text) {
    return text.size() + static_cast<size_t>(std::count_if(text.begin(), text.end(), Escaped));
}

// `text` in quotes, escaped, its escaped content cut at `limit` characters where a whole
// escape still fits.
void AppendQuoted(CTextBuffer& out, std::string_view text, size_t limit) {
    out.AppendRaw("\"");
    const char* p = text.data();
    const char* const end = p + text.size();
    size_t used = 0;
    while (p < end) {
        const char* const run_end = p + std::min(limit - used, static_cast<size_t>(end - p));
        const char* q = p;
        while (q < run_end && !Escaped(*q)) ++q;
        out.AppendRaw(std::string_view(p, static_cast<size_t>(q - p)));
        used += static_cast<size_t>(q - p);
        p = q;
        if (p == end || used + 2 > limit) break;
        const char escape[2] = {'\\', EscapeLetter(*p++)};
        out.AppendRaw(std::string_view(escape, 2));
        used += 2;
    }
    out.AppendRaw("\"");
}

// Rounds `value` to a multiple of the power of two that keeps kSignificantBits bits.
double RoundToGrid(double value) {
    int exponent = 0;
    std::frexp(value, &exponent);  // |value| < 2^exponent
    const int grid = exponent - kSignificantBits;
    const double units = std::ldexp(value, -grid);
    const double rounded = std::ldexp(std::nearbyint(units), grid);
    // Rounding up past the largest double would give infinity: round towards zero instead.
    return std::isinf(rounded) ? std::ldexp(std::trunc(units), grid) : rounded;
}

// The value the reader makes of a real's text.
double ReadBack(const std::string& text) {
    CJSONSource source(text);
    SNumber number;
    CJSONReader(source).ReadNumber(number);
    return number.value;
}

// Eight decimals; "0" for a value that rounds to zero, since that is how it reads back.
std::string FixedText(double value) {
    std::string text = kurvalux_platform::FormatFixed(value, kRealDecimals);
    if (text.find_first_not_of("-0.") == std::string::npos) return "0";
    return text;
}

bool ReadsBackToItself(const std::string& text) {
    return FixedText(ReadBack(text)) == text;
}

// A generous estimate of the written size, reserved before writing: memory reserved but never
// written costs nothing, while growing a large buffer copies it and touches fresh pages again.
size_t EstimatedSize(const CJSONNode& root, size_t indent) {
    constexpr size_t kLineExtra = 8;    // brackets, quotes, separator, comma, CR LF
    constexpr size_t kNumberText = 24;  // a real below 10^15 with its eight decimals
    size_t total = 0;
    std::vector<std::pair<const CJSONNode*, size_t>> containers{{&root, indent}};
    while (!containers.empty()) {
        const auto [container, depth] = containers.back();
        containers.pop_back();
        total += 2 * (depth + kLineExtra) + 2 * NameOf(*container).size();
        for (const std::unique_ptr<CJSONNode>& child : container->ChildNodes()) {
            if (child->IsContainer()) {
                containers.emplace_back(child.get(), depth + 1);
                continue;
            }
            total += depth + 1 + kLineExtra + 2 * NameOf(*child).size();
            if (child->Kind() == EKind::String)
                total += std::min(2 * child->Text().size(), kValueCapacity);
            else
                total += kNumberText;
        }
    }
    return total;
}

class CTreeWriter {
public:
    CTreeWriter(CTextBuffer& out, unsigned flags)
        : out_(out), separator_((flags & kWriteSeparator) != 0) {
        out_.line_end = (flags & kWriteLineEnds) != 0;
    }

    void Write(const CJSONNode& root) {
        struct Frame {
            const CJSONNode* node;
            size_t next;
        };
        const int base = out_.indent;
        std::vector<Frame> open;
        Open(root);
        open.push_back({&root, 0});
        while (!open.empty()) {
            Frame& frame = open.back();
            out_.indent = base + static_cast<int>(open.size());
            const size_t count = frame.node->ChildCount();
            if (frame.next < count) {
                const CJSONNode& child = *frame.node->Child(frame.next++);
                const bool last = frame.next == count;
                if (child.IsContainer()) {
                    Open(child);
                    open.push_back({&child, 0});
                } else {
                    Scalar(child, last);
                }
                continue;
            }
            const CJSONNode& node = *frame.node;
            open.pop_back();
            out_.indent = base + static_cast<int>(open.size());
            Close(node, !open.empty() && open.back().next < open.back().node->ChildCount());
        }
        out_.indent = base;
    }

private:
    // The indentation and, for a record member, its quoted name and separator. Returns the
    // characters the value may take on a member's line.
    size_t BeginLine(const CJSONNode& node) {
        out_.Reserve(static_cast<size_t>(std::max(out_.indent, 0)) + kValueCapacity +
                     2 * kNameCapacity + 16);
        out_.AppendIndent();
        if (!node.HasName()) return kValueCapacity + 2;
        const std::string_view name = NameOf(node);
        AppendQuoted(out_, name, static_cast<size_t>(-1));
        out_.AppendRaw(separator_ ? ": " : ":");
        return kLineCapacity - (EscapedLength(name) + 2 + (separator_ ? 2 : 1));
    }

    void EndLine(bool comma) {
        if (comma) out_.AppendRaw(",");
        out_.AppendLineEnd();
    }

    void Open(const CJSONNode& node) {
        BeginLine(node);
        out_.AppendRaw(node.Kind() == EKind::Record ? "{" : "[");
        EndLine(false);
    }

    void Close(const CJSONNode& node, bool comma) {
        out_.AppendIndent();
        out_.AppendRaw(node.Kind() == EKind::Record ? "}" : "]");
        EndLine(comma);
    }

    void Scalar(const CJSONNode& node, bool last) {
        const size_t room = BeginLine(node);
        switch (node.Kind()) {
            case EKind::Boolean:
                out_.AppendRaw(node.Boolean() ? "true" : "false");
                break;
            case EKind::Integer: {
                char digits[24];
                const auto result = std::to_chars(digits, digits + sizeof digits, node.Integer());
                out_.AppendRaw(std::string_view(digits, static_cast<size_t>(result.ptr - digits)));
                break;
            }
            case EKind::Real:
                out_.AppendRaw(FormatReal(node.Real()));
                break;
            case EKind::String:
                AppendQuoted(out_, node.Text(), std::min(kValueCapacity, room - 2));
                break;
            default:
                out_.AppendRaw("null");
                break;
        }
        EndLine(!last);
    }

    CTextBuffer& out_;
    bool separator_;
};

}  // namespace

std::string FormatReal(double value) {
    // JSON has no text for infinity or not-a-number; they are written null, as JSON writers
    // conventionally do.
    if (!std::isfinite(value)) return "null";
    // The reader builds a value digit by digit, each step rounding once, so the value read from
    // a text may differ from the value written in the last bits; the text written must be one
    // that the value read writes again.
    std::string text = FixedText(value);
    if (std::fabs(value) < kExactIntegersBelow) {
        // Almost always the eight decimals of the value itself read back to themselves (always
        // below 2^23, where the rounding stays under half a unit of the eighth decimal).
        // Otherwise the nearest multiple of 1/256, 1/128, ... 1 that does: an integer here
        // always does, since integer parts are read exactly.
        if (ReadsBackToItself(text)) return text;
        for (int bits = kRealDecimals; bits >= 0; --bits) {
            text = FixedText(std::ldexp(std::nearbyint(std::ldexp(value, bits)), -bits));
            if (bits == 0 || ReadsBackToItself(text)) return text;
        }
    }
    // Beyond 2^53 even integer parts are read with rounding. A value that reads back exactly
    // is written as it is; otherwise its point on a grid of kSignificantBits bits, whose points
    // lie far enough apart that whatever the reader makes of a point's text rounds back to that
    // point; and where the reader lands exactly on a value of its own, that value is written
    // instead. Each branch writes a text that reads back to a value taking the same branch to
    // the same text.
    if (ReadBack(text) == value) return text;
    const double point = RoundToGrid(value);
    text = FixedText(point);
    const double read = ReadBack(text);
    if (read == point) return text;
    std::string read_text = FixedText(read);
    return ReadBack(read_text) == read ? read_text : text;
}

bool CJSON::Write(CTextBuffer& output, unsigned flags) const {
    if (!root_) return false;
    output.Reserve(EstimatedSize(*root_, static_cast<size_t>(std::max(output.indent, 0))));
    CTreeWriter(output, flags).Write(*root_);
    return true;
}

}  // namespace sjson
