// The document and its cursor.
#include "json/json.h"

#include "platform/text.h"

namespace sjson {

CJSON::~CJSON() = default;

void CJSON::Reset(bool array) {
    if (root_)
        root_->Clear();
    else
        root_ = std::make_unique<CJSONNode>();
    if (array)
        root_->SetArray();
    else
        root_->SetRecord();
    current_ = root_.get();
}

CJSONNode* CJSON::CurrentOf(EKind kind) const {
    return current_ && current_->Kind() == kind ? current_ : nullptr;
}

CJSONNode* CJSON::Member(std::string_view name) const {
    const CJSONNode* record = CurrentOf(EKind::Record);
    if (!record) return nullptr;
    return record->Child(record->Find(name));
}

CJSONNode* CJSON::Element(size_t index) const {
    const CJSONNode* array = CurrentOf(EKind::Array);
    return array ? array->Child(index) : nullptr;
}

bool CJSON::EnterElement(size_t index, EKind kind) {
    CJSONNode* node = Element(index);
    if (!node || node->Kind() != kind || !node->IsContainer()) return false;
    current_ = node;
    return true;
}

bool CJSON::EnterMember(std::string_view name, EKind kind) {
    CJSONNode* node = Member(name);
    if (!node || node->Kind() != kind || !node->IsContainer()) return false;
    current_ = node;
    return true;
}

bool CJSON::Leave() {
    if (!current_ || !current_->Parent()) return false;
    current_ = current_->Parent();
    return true;
}

namespace {

bool ReadString(const CJSONNode* node, std::string& value, size_t capacity) {
    if (!node || node->Kind() != EKind::String) return false;
    kurvalux_platform::AssignCut(value, node->Text(), capacity);
    return true;
}

bool ReadInteger(const CJSONNode* node, int64_t& value) {
    if (!node || node->Kind() != EKind::Integer) return false;
    value = node->Integer();
    return true;
}

}  // namespace

bool CJSON::ReadBoolean(const CJSONNode* node, bool& value) {
    if (!node) return false;
    if (node->Kind() != EKind::Boolean) {
        error_ = "Expected true or false";
        return false;
    }
    value = node->Boolean();
    return true;
}

bool CJSON::GetString(std::string_view name, std::string& value, size_t capacity) const {
    return ReadString(Member(name), value, capacity);
}
bool CJSON::GetInteger(std::string_view name, int64_t& value) const {
    return ReadInteger(Member(name), value);
}
bool CJSON::GetReal(std::string_view name, double& value) const {
    return NumberAsReal(Member(name), value);
}
bool CJSON::GetBoolean(std::string_view name, bool& value) {
    return ReadBoolean(Member(name), value);
}
bool CJSON::GetStringAt(size_t index, std::string& value, size_t capacity) const {
    return ReadString(Element(index), value, capacity);
}
bool CJSON::GetIntegerAt(size_t index, int64_t& value) const {
    return ReadInteger(Element(index), value);
}
bool CJSON::GetRealAt(size_t index, double& value) const {
    return NumberAsReal(Element(index), value);
}
bool CJSON::GetBooleanAt(size_t index, bool& value) {
    return ReadBoolean(Element(index), value);
}

CJSONNode* CJSON::AddMember(std::string_view name) {
    CJSONNode* record = CurrentOf(EKind::Record);
    if (!record) return nullptr;
    return record->Append(std::make_unique<CJSONNamedNode>(name));
}

CJSONNode* CJSON::AddElement() {
    CJSONNode* array = CurrentOf(EKind::Array);
    if (!array) return nullptr;
    return array->Append(std::make_unique<CJSONNode>());
}

bool CJSON::AddString(std::string_view name, std::string_view value) {
    CJSONNode* node = AddMember(name);
    if (node) node->SetString(value);
    return node != nullptr;
}
bool CJSON::AddInteger(std::string_view name, int64_t value) {
    CJSONNode* node = AddMember(name);
    if (node) node->SetInteger(value);
    return node != nullptr;
}
bool CJSON::AddReal(std::string_view name, double value) {
    CJSONNode* node = AddMember(name);
    if (node) node->SetReal(value);
    return node != nullptr;
}
bool CJSON::AddBoolean(std::string_view name, bool value) {
    CJSONNode* node = AddMember(name);
    if (node) node->SetBoolean(value);
    return node != nullptr;
}
bool CJSON::AddNull(std::string_view name) {
    return AddMember(name) != nullptr;
}
bool CJSON::AddRecord(std::string_view name) {
    CJSONNode* node = AddMember(name);
    if (!node) return false;
    node->SetRecord();
    current_ = node;
    return true;
}
bool CJSON::AddArray(std::string_view name) {
    CJSONNode* node = AddMember(name);
    if (!node) return false;
    node->SetArray();
    current_ = node;
    return true;
}

bool CJSON::AppendString(std::string_view value) {
    CJSONNode* node = AddElement();
    if (node) node->SetString(value);
    return node != nullptr;
}
bool CJSON::AppendInteger(int64_t value) {
    CJSONNode* node = AddElement();
    if (node) node->SetInteger(value);
    return node != nullptr;
}
bool CJSON::AppendReal(double value) {
    CJSONNode* node = AddElement();
    if (node) node->SetReal(value);
    return node != nullptr;
}
bool CJSON::AppendBoolean(bool value) {
    CJSONNode* node = AddElement();
    if (node) node->SetBoolean(value);
    return node != nullptr;
}
bool CJSON::AppendNull() {
    return AddElement() != nullptr;
}
bool CJSON::AppendRecord() {
    CJSONNode* node = AddElement();
    if (!node) return false;
    node->SetRecord();
    current_ = node;
    return true;
}
bool CJSON::AppendArray() {
    CJSONNode* node = AddElement();
    if (!node) return false;
    node->SetArray();
    current_ = node;
    return true;
}

bool CJSON::DeleteElement(size_t index) {
    CJSONNode* array = CurrentOf(EKind::Array);
    return array && array->Remove(index);
}

bool CJSON::DeleteMember(std::string_view name) {
    CJSONNode* record = CurrentOf(EKind::Record);
    return record && record->Remove(record->Find(name));
}

bool NumberAsReal(const CJSONNode* node, double& value) {
    if (!node) return false;
    if (node->Kind() == EKind::Real) {
        value = node->Real();
        return true;
    }
    if (node->Kind() == EKind::Integer) {
        value = static_cast<double>(node->Integer());
        return true;
    }
    return false;
}

}  // namespace sjson
