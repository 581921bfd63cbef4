// The parser. Each container is read by the loop of its kind: a member (or element) node is
// created and linked to its parent before it is filled, so a failed parse leaves it in the
// tree; the loop then requires "," to go on or the closing bracket to end. The loops of all
// levels run in one function that walks down into a nested container and back up by the
// parent links, so no input can exhaust the stack; kMaxDepth bounds the nesting.
#include <memory>
#include <string>

#include "json/json.h"
#include "json/json_reader.h"

namespace sjson {
namespace {

enum class EValue { Failed, Scalar, Container };

// Fills `node` from the value at the reader's position. A nested record or array is only
// opened here (its kind set); the caller reads its content.
EValue ReadValue(CJSONReader& reader, CJSONNode& node) {
    const EToken token = reader.Detect();
    switch (token) {
        case EToken::String:
            if (!reader.ReadQuoted(node.MakeString(), kValueCapacity)) {
                reader.Fail("Expected quoted string");
                return EValue::Failed;
            }
            return EValue::Scalar;
        case EToken::Number: {
            SNumber number;
            if (!reader.ReadNumber(number)) return EValue::Failed;
            if (number.real)
                node.SetReal(number.value);
            else
                node.SetInteger(number.integer);
            return EValue::Scalar;
        }
        case EToken::RecordOpen:
            node.SetRecord();
            return EValue::Container;
        case EToken::ArrayOpen:
            node.SetArray();
            return EValue::Container;
        case EToken::True:
        case EToken::False: {
            if (!reader.SkipIdentifier()) return EValue::Failed;
            node.SetBoolean(token == EToken::True);
            return EValue::Scalar;
        }
        case EToken::Null:
            if (!reader.SkipIdentifier()) return EValue::Failed;
            return EValue::Scalar;
        default:
            // A closing bracket, an unknown word or byte, or the end of the text: the parse
            // fails without a message of its own.
            return EValue::Failed;
    }
}

// Reads the content of `top`, a record or array whose opening bracket is next.
bool ReadContainer(CJSONReader& reader, CJSONNode& top) {
    enum class EStep { Open, Element, Separator, Closed };
    CJSONNode* container = &top;
    size_t depth = 1;
    EStep step = EStep::Open;
    for (;;) {
        const bool record = container->Kind() == EKind::Record;
        switch (step) {
            case EStep::Open: {
                if (!reader.Expect(record ? '{' : '[', record ? "Expected {" : "Expected ["))
                    return false;
                if (reader.Detect() != (record ? EToken::RecordClose : EToken::ArrayClose)) {
                    step = EStep::Element;
                    break;
                }
                if (!reader.Expect(record ? '}' : ']', record ? "Expected }" : "Expected ]"))
                    return false;
                step = EStep::Closed;
                break;
            }
            case EStep::Element: {
                CJSONNode* node;
                if (record) {
                    auto member = std::make_unique<CJSONNamedNode>();
                    CJSONNamedNode& named = *member;
                    node = container->Append(std::move(member));
                    if (!reader.ReadQuoted(named.NameBuffer(), kNameCapacity))
                        return reader.Fail("Expected quoted string");
                    if (!reader.Expect(':', "Expected :")) return false;
                } else {
                    node = container->Append(std::make_unique<CJSONNode>());
                }
                const EValue value = ReadValue(reader, *node);
                if (value == EValue::Failed) return false;
                if (value == EValue::Scalar) {
                    step = EStep::Separator;
                    break;
                }
                if (depth == kMaxDepth)
                    return reader.Fail("JSON nested deeper than " + std::to_string(kMaxDepth) +
                                       " levels");
                ++depth;
                container = node;
                step = EStep::Open;
                break;
            }
            case EStep::Separator: {
                bool closed = false;
                if (!reader.ReadSeparator(record ? '}' : ']',
                                          record ? "Expected , or }" : "Expected , or ]", closed))
                    return false;
                step = closed ? EStep::Closed : EStep::Element;
                break;
            }
            case EStep::Closed:
                if (container == &top) return true;
                container = container->Parent();
                --depth;
                step = EStep::Separator;
                break;
        }
    }
}

}  // namespace

bool CJSON::Parse(CJSONSource& source) {
    // A source's message belongs to its latest parse.
    source.error.clear();
    CJSONReader reader(source);
    bool ok = false;
    if (source.text.empty()) {
        reader.Fail("No JSON data");
    } else {
        const EToken first = reader.Detect();
        if (first == EToken::RecordOpen || first == EToken::ArrayOpen) {
            Reset(first == EToken::ArrayOpen);
            ok = ReadContainer(reader, *root_);
        } else {
            reader.Fail("Top level JSON structure must be Record {} or Array []");
        }
    }
    current_ = root_.get();
    return ok;
}

}  // namespace sjson
