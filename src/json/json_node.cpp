#include "json/json_node.h"

#include <utility>

#include "platform/text.h"

namespace sjson {

std::string_view KindName(EKind kind) {
    switch (kind) {
        case EKind::Null:
            return "null";
        case EKind::Boolean:
            return "boolean";
        case EKind::Integer:
            return "integer";
        case EKind::Real:
            return "real";
        case EKind::String:
            return "string";
        case EKind::Record:
            return "record";
        case EKind::Array:
            return "array";
    }
    return "";
}

CJSONNode::~CJSONNode() {
    ReleaseChildren();
}

void CJSONNode::ReleaseChildren() {
    if (children_.empty()) return;
    // Each node taken off the pending list hands its own children over before it is freed, so
    // that no destructor below ever has children to free.
    Children pending = std::move(children_);
    children_.clear();
    while (!pending.empty()) {
        std::unique_ptr<CJSONNode> node = std::move(pending.back());
        pending.pop_back();
        for (std::unique_ptr<CJSONNode>& child : node->children_)
            pending.push_back(std::move(child));
        node->children_.clear();
    }
}

void CJSONNode::Clear() {
    ReleaseChildren();
    children_.shrink_to_fit();
    std::string().swap(text_);
    scalar_ = {};
    kind_ = EKind::Null;
}

void CJSONNode::SetBoolean(bool value) {
    Clear();
    kind_ = EKind::Boolean;
    scalar_.boolean = value;
}

void CJSONNode::SetInteger(int64_t value) {
    Clear();
    kind_ = EKind::Integer;
    scalar_.integer = value;
}

void CJSONNode::SetReal(double value) {
    Clear();
    kind_ = EKind::Real;
    scalar_.real = value;
}

void CJSONNode::SetString(std::string_view text) {
    if (kind_ != EKind::String) Clear();
    kind_ = EKind::String;
    text_.assign(text);
}

std::string& CJSONNode::MakeString() {
    SetString({});
    return text_;
}

void CJSONNode::SetContainer(EKind kind) {
    Clear();
    kind_ = kind;
}

CJSONNode* CJSONNode::Append(std::unique_ptr<CJSONNode> child) {
    child->parent_ = this;
    children_.push_back(std::move(child));
    return children_.back().get();
}

bool CJSONNode::Remove(size_t index) {
    if (index >= children_.size()) return false;
    std::unique_ptr<CJSONNode> child = std::move(children_[index]);
    children_.erase(children_.begin() + static_cast<std::ptrdiff_t>(index));
    child->parent_ = nullptr;
    return true;
}

size_t CJSONNode::Find(std::string_view name) const {
    for (size_t i = 0; i < children_.size(); ++i)
        if (children_[i]->HasName() && NameOf(*children_[i]) == name) return i;
    return npos;
}

CJSONNamedNode::CJSONNamedNode(std::string_view name) {
    SetName(name);
}

void CJSONNamedNode::SetName(std::string_view name) {
    kurvalux_platform::AssignCut(name_, name, kNameCapacity);
}

std::string_view NameOf(const CJSONNode& node) {
    if (!node.HasName()) return {};
    return static_cast<const CJSONNamedNode&>(node).Name();
}

}  // namespace sjson
