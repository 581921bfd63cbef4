// The calls of the repository's interface and the handlers of their answers. Every answer is a
// record with "status" ("ok" or "fail", and "error" with the reason on failure); the handlers
// show what went wrong in a box and notify the owner either way, so that its menus and lists
// follow the session.
#include "data/field.h"
#include "data/password_cipher.h"
#include "web/web_interface.h"

namespace kurvalux_web {

using kurvalux_platform::MessageButtons;
using kurvalux_platform::MessageIcon;

namespace {
constexpr const char* kCommunicationError = "Web Repository Communication Error";
constexpr const char* kCommandProcessed = "Web Repository command processed.";
}  // namespace

// ---- the calls ----

void CWebInterface::AddPassword(const std::string& password) {
    // With the cipher switch on the password never travels in clear; the server holds the
    // same key and deciphers it.
    if (encrypted_password_)
        document_.AddString("encrypted_password", kurvalux_data::EncipherPassword(password));
    else
        document_.AddString("password", password);
}

bool CWebInterface::Login(const std::string& user, const std::string& password) {
    if (Running()) return false;
    document_.Reset(false);
    document_.AddString("user", user);
    AddPassword(password);
    return StartRequest(kOpLogin, "api/v1/login", true);
}

bool CWebInterface::Logout() {
    if (Running()) return false;
    document_.Reset(false);
    return StartRequest(kOpLogout, "api/v1/logout", false);
}

bool CWebInterface::ChangePassword(const std::string& password) {
    if (Running()) return false;
    document_.Reset(false);
    AddPassword(password);
    return StartRequest(kOpChangePassword, "api/v1/change_password", true);
}

bool CWebInterface::ListObjects() {
    if (Running()) return false;
    document_.Reset(false);
    return StartRequest(kOpListObjects, "api/v1/list_objects", true);
}

bool CWebInterface::GetObjectData(const std::string& token, int contributor, bool backup) {
    if (Running()) return false;
    // The contributions asked for are those of the publisher (contributor -1) or of the named
    // contributor of the object's list entry; without one the session's own user is asked for.
    std::string user_id = session_.user_id;
    for (const CWebObjectListElem& entry : object_list_) {
        if (entry.token != token) continue;
        if (contributor < 0)
            user_id = entry.publisher;
        else if (size_t(contributor) < entry.contributors.size())
            user_id = entry.contributors[size_t(contributor)];
        break;
    }
    document_.Reset(false);
    document_.AddString("token", token.substr(0, kObjectTokenCapacity));
    document_.AddString("user_id", user_id);
    object_token_ = token.substr(0, kObjectTokenCapacity);
    contributor_index_ = contributor;
    backup_ = backup;
    return StartRequest(kOpGetObjectData, "api/v1/get_object_data", true);
}

bool CWebInterface::SendObjectRecord(const kurvalux_data::CObjectListElem& object,
                                     uint32_t operation, const char* api_path) {
    if (Running()) return false;
    document_.Reset(false);
    AddObjectRecord(object, document_);
    object_token_ = object.token.substr(0, kObjectTokenCapacity);
    return StartRequest(operation, api_path, true);
}

bool CWebInterface::Publish(const kurvalux_data::CObjectListElem& object) {
    return SendObjectRecord(object, kOpPublish, "api/v1/publish_object");
}

bool CWebInterface::Contribute(const kurvalux_data::CObjectListElem& object) {
    return SendObjectRecord(object, kOpContribute, "api/v1/contribute_object");
}

bool CWebInterface::Unpublish(const std::string& token) {
    if (Running()) return false;
    document_.Reset(false);
    document_.AddString("token", token.substr(0, kObjectTokenCapacity));
    object_token_ = token.substr(0, kObjectTokenCapacity);
    return StartRequest(kOpUnpublish, "api/v1/unpublish_object", true);
}

// ---- the handlers ----

bool CWebInterface::CheckStatus(const std::string& failure_title) {
    std::string status;
    if (!document_.GetString("status", status, kStatusCapacity)) {
        FailureBox(failure_title, "Missing keyword:", "status");
        return false;
    }
    if (status == "fail") {
        std::string error;
        if (!document_.GetString("error", error)) error = "Reason not provided by the server.";
        FailureBox(failure_title, "Request failed:", error);
        return false;
    }
    if (status == "ok") return true;
    // Only the lower-case word counts: "OK" is a server speaking another protocol.
    FailureBox(failure_title, "Unknown keyword: ", status);
    return false;
}

void CWebInterface::RunHandler() {
    const uint32_t operation = operation_;
    operation_ = kOpNone;
    switch (operation) {
        case kOpLogin:
            HandleLogin();
            break;
        case kOpLogout:
            ClearSession();
            Notify(kNotifySessionGroup, kNotifySession);
            break;
        case kOpChangePassword:
            CheckStatus("Change Repository Password Failed");
            Notify(kNotifySessionGroup, kNotifySession);
            break;
        case kOpListObjects:
            HandleListObjects();
            break;
        case kOpPublish:
        case kOpContribute:
            if (CheckStatus(kCommunicationError)) {
                std::string token;
                if (document_.GetString("token", token, kObjectTokenCapacity))
                    object_token_ = token;
                boxes_.Show(kCommandProcessed, {"Object published to repository."},
                            MessageIcon::Information, MessageButtons::Ok);
                Notify(kNotifyObjectGroup, kNotifyPublishDone);
            } else {
                Notify(kNotifyObjectGroup, kNotifyPublishFailed);
            }
            break;
        case kOpUnpublish:
            if (CheckStatus(kCommunicationError)) {
                boxes_.Show(kCommandProcessed, {"Object removed from repository."},
                            MessageIcon::Information, MessageButtons::Ok);
                Notify(kNotifyObjectGroup, kNotifyPublishDone);
            } else {
                Notify(kNotifyObjectGroup, kNotifyPublishFailed);
            }
            break;
        case kOpGetObjectData:
            HandleObjectData();
            break;
        default:
            break;
    }
}

void CWebInterface::HandleLogin() {
    bool ok = false;
    std::string status;
    if (document_.GetString("status", status, kStatusCapacity) && status == "fail") {
        std::string error;
        if (!document_.GetString("error", error)) error = "Reason not provided by the server.";
        boxes_.Show("Repository Login Failed", {error}, MessageIcon::Error, MessageButtons::Ok);
    } else if (CheckStatus(kCommunicationError)) {
        struct Key {
            const char* name;
            std::string* value;
            size_t capacity;
        };
        WebSession session;
        const Key keys[] = {{"user_token", &session.user_token, kUserTokenCapacity},
                            {"user_id", &session.user_id, kUserIdCapacity},
                            {"user_name", &session.user_name, kUserNameCapacity},
                            {"access", &session.access, kAccessCapacity}};
        ok = true;
        for (const Key& key : keys) {
            if (!document_.GetString(key.name, *key.value, key.capacity) || key.value->empty()) {
                FailureBox(kCommunicationError, "Missing keyword:", key.name);
                ok = false;
                break;
            }
        }
        if (ok) session_ = session;
    }
    if (!ok) ClearSession();
    Notify(kNotifySessionGroup, kNotifySession);
}

void CWebInterface::HandleListObjects() {
    if (!CheckStatus(kCommunicationError)) {
        Notify(kNotifyObjectGroup, kNotifyListFailed);
        return;
    }
    const sjson::CJSONNode* objects = document_.Member(kObjectsKey);
    if (!objects || objects->Kind() != sjson::EKind::Array || objects->ChildCount() == 0) {
        boxes_.Show(kCommunicationError, {"Web Repository is empty."}, MessageIcon::Error,
                    MessageButtons::Ok);
        Notify(kNotifyObjectGroup, kNotifyListFailed);
        return;
    }
    object_list_.clear();
    for (const auto& element : objects->ChildNodes())
        if (element->Kind() == sjson::EKind::Record)
            object_list_.push_back(ReadObjectSummary(*element));
    Notify(kNotifyObjectGroup, kNotifyListDone);
}

}  // namespace kurvalux_web
