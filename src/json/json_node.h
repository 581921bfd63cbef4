#pragma once
// The nodes of a JSON document tree. A node is a scalar (null, boolean, integer, real, string)
// or a container (record, array) that owns its children in order. Every child of a record is
// a CJSONNamedNode; every child of an array is a plain CJSONNode.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace sjson {

// Texts in a document. Member names and string values longer than these are cut on reading
// and on writing; the lines and the messages are bounded likewise.
constexpr size_t kNameCapacity = 63;
constexpr size_t kValueCapacity = 4095;
// The words true, false and null are read as identifiers of at most this length.
constexpr size_t kIdentifierCapacity = 63;
// A record member's line (quoted name, separator and value) on writing.
constexpr size_t kLineCapacity = 1024;
constexpr size_t kErrorCapacity = 127;
// Containers nest at most this deep (the top-level record or array counts as the first
// level). No answer of the services goes beyond a handful; the bound keeps a hostile text from
// making the written document quadratic in size (one TAB per level on every line).
constexpr size_t kMaxDepth = 256;

// The codes are the kinds as the library has always numbered them.
enum class EKind : uint8_t {
    Null = 0,
    Boolean = 1,
    Integer = 2,
    Real = 3,
    String = 4,
    Record = 5,
    Array = 6,
};

// "null", "boolean", "integer", "real", "string", "record", "array".
std::string_view KindName(EKind kind);

class CJSONNode {
public:
    using Children = std::vector<std::unique_ptr<CJSONNode>>;

    CJSONNode() = default;
    CJSONNode(const CJSONNode&) = delete;
    CJSONNode& operator=(const CJSONNode&) = delete;
    virtual ~CJSONNode();

    // Frees every child, or the text of a string node, and makes the node null. Nested
    // children are freed one after another, not by recursion, so no depth exhausts the stack.
    virtual void Clear();
    virtual bool HasName() const { return false; }

    EKind Kind() const { return kind_; }
    bool IsContainer() const { return kind_ == EKind::Record || kind_ == EKind::Array; }
    CJSONNode* Parent() const { return parent_; }

    // The payload; each is meaningful for its own kind only.
    bool Boolean() const { return scalar_.boolean; }
    int64_t Integer() const { return scalar_.integer; }
    double Real() const { return scalar_.real; }
    const std::string& Text() const { return text_; }

    // Each setter first drops the previous payload (children included).
    void SetNull() { Clear(); }
    void SetBoolean(bool value);
    void SetInteger(int64_t value);
    void SetReal(double value);
    void SetString(std::string_view text);
    // Makes the node an empty string and hands its text over to be filled in place.
    std::string& MakeString();
    void SetRecord() { SetContainer(EKind::Record); }
    void SetArray() { SetContainer(EKind::Array); }

    const Children& ChildNodes() const { return children_; }
    size_t ChildCount() const { return children_.size(); }
    CJSONNode* Child(size_t index) const {
        return index < children_.size() ? children_[index].get() : nullptr;
    }
    // Links `child` to this node as its last child and returns it.
    CJSONNode* Append(std::unique_ptr<CJSONNode> child);
    // Unlinks the child at `index` and frees it; false when there is none.
    bool Remove(size_t index);
    // The index of the first child named `name`, or npos.
    size_t Find(std::string_view name) const;

    static constexpr size_t npos = static_cast<size_t>(-1);

private:
    void SetContainer(EKind kind);
    void ReleaseChildren();

    CJSONNode* parent_ = nullptr;
    EKind kind_ = EKind::Null;
    union {
        bool boolean;
        int64_t integer;
        double real;
    } scalar_{};
    std::string text_;
    Children children_;
};

class CJSONNamedNode : public CJSONNode {
public:
    explicit CJSONNamedNode(std::string_view name = {});
    bool HasName() const override { return true; }

    const std::string& Name() const { return name_; }
    // Cut at kNameCapacity.
    void SetName(std::string_view name);
    // For the reader, which fills the name in place.
    std::string& NameBuffer() { return name_; }

private:
    std::string name_;
};

// The name of a record member; empty for an array element.
std::string_view NameOf(const CJSONNode& node);

}  // namespace sjson
