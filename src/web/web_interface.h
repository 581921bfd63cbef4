#pragma once
// CWebInterface: the repository client of one main window. It holds the login session, one
// request at a time with its worker thread, the response document, and the last object list.
//
// A command fills the request document through one of the calls below; the worker performs
// the HTTP exchange and posts message 4927 (kMsgRepositoryDone) with its result code to the
// owner; the front end then calls Complete() on its own thread, which shows transport failures,
// parses the answer and runs the operation's handler. Handlers report through the message box
// sink and notify the owner through the notifier (event group and code).
#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "json/json.h"
#include "platform/message_box.h"
#include "platform/posting.h"
#include "web/http_exchange.h"
#include "web/web_objects.h"

namespace kurvalux_data {
class CObjectListElem;
}

namespace kurvalux_web {

// Which handler runs when the answer arrives.
enum EWebOperation : uint32_t {
    kOpNone = 0,
    kOpLogin = 1,
    kOpLogout = 2,
    kOpChangePassword = 3,
    kOpListObjects = 4,
    kOpPublish = 5,
    kOpContribute = 6,
    kOpUnpublish = 7,
    kOpGetObjectData = 8,
};

// Owner notifications: event group and code.
constexpr uint32_t kNotifySessionGroup = 4096;
constexpr uint32_t kNotifyObjectGroup = 8192;
constexpr uint32_t kNotifySession = 5000;
constexpr uint32_t kNotifyListDone = 5001;
constexpr uint32_t kNotifyListFailed = 5002;
constexpr uint32_t kNotifyPublishDone = 5003;
constexpr uint32_t kNotifyPublishFailed = 5004;
constexpr uint32_t kNotifyObjectDataDone = 5009;
constexpr uint32_t kNotifyObjectDataFailed = 5010;

// Text capacities of the session and the request.
constexpr size_t kUserTokenCapacity = 63;
constexpr size_t kUserIdCapacity = 63;
constexpr size_t kUserNameCapacity = 79;
constexpr size_t kAccessCapacity = 31;
constexpr size_t kHostCapacity = 259;
constexpr size_t kStatusCapacity = 63;

struct WebSession {
    std::string user_token, user_id, user_name, access;
    bool Active() const { return !user_token.empty(); }
};

class CWebInterface {
public:
    using Notifier = std::function<void(uint32_t group, uint32_t code)>;

    // `owner` receives message 4927; `boxes` shows every failure and confirmation.
    CWebInterface(kurvalux_platform::CPoster* owner, kurvalux_platform::CMessageBoxSink& boxes);
    ~CWebInterface();
    CWebInterface(const CWebInterface&) = delete;
    CWebInterface& operator=(const CWebInterface&) = delete;

    // ---- settings ----
    // `host` may carry its scheme ("https://...") and port; a bare host name means plain HTTP.
    void SetServer(const std::string& host, const std::string& base_path);
    void SetTimeouts(int connect_seconds, int transfer_seconds);
    // On: login and change password send "encrypted_password" (the settings file's cipher)
    // instead of "password" in clear.
    void SetEncryptedPassword(bool on) { encrypted_password_ = on; }
    // The folder below which the repository cache lives (normally the settings folder).
    void SetCacheFolder(const std::string& folder) { cache_folder_ = folder; }
    void SetNotifier(Notifier notifier) { notifier_ = std::move(notifier); }
    void SetNetworkProbe(NetworkProbe probe) { probe_ = std::move(probe); }

    // ---- session ----
    const WebSession& Session() const { return session_; }
    void RestoreSession(const WebSession& session) { session_ = session; }
    void ClearSession() { session_ = WebSession{}; }

    // ---- the repository calls (false when a request is already running) ----
    bool Login(const std::string& user, const std::string& password);
    bool Logout();
    bool ChangePassword(const std::string& password);
    bool ListObjects();
    // The object data of `token` as published (contributor -1) or as contributed by the
    // contributor at that index of the object's list entry; `backup` keeps the object's
    // previous cache files as ".bak".
    bool GetObjectData(const std::string& token, int contributor, bool backup);
    bool Publish(const kurvalux_data::CObjectListElem& object);
    bool Contribute(const kurvalux_data::CObjectListElem& object);
    bool Unpublish(const std::string& token);

    // ---- the request layer ----
    // Sends the request document (written as the body unless it is an empty record, which
    // makes a GET) to `api_path`. Nothing happens, and false is returned, while a worker runs.
    bool StartRequest(uint32_t operation, const std::string& api_path, bool expect_body);
    bool Running() const { return running_.load(std::memory_order_acquire); }
    // Message 4927 arrived with `result` (front end's thread).
    void Complete(int result);
    // Waits for the running worker, if any, to end (the destructor does too).
    void Join();

    sjson::CJSON& Document() { return document_; }
    uint32_t Operation() const { return operation_; }
    const std::string& Response() const { return response_; }
    const std::vector<CWebObjectListElem>& ObjectList() const { return object_list_; }
    std::vector<CWebObjectListElem>& ObjectList() { return object_list_; }
    // The token of the last object record sent or received; a publish answer may assign it.
    const std::string& ObjectToken() const { return object_token_; }
    // The path of the cache file written by the last successful object data answer.
    const std::string& CacheFilePath() const { return cache_file_path_; }

private:
    struct Finished {
        int result = 0;
        std::string body;
    };

    void Work(HttpRequest request);
    void Notify(uint32_t group, uint32_t code) {
        if (notifier_) notifier_(group, code);
    }
    void FailureBox(const std::string& title, const std::string& first, const std::string& second);
    // The common start of every handler: "status" must be "ok". Shows the failure box and
    // returns false otherwise.
    bool CheckStatus(const std::string& failure_title);
    void RunHandler();
    void HandleLogin();
    void HandleListObjects();
    void HandleObjectData();  // repository_cache.cpp
    bool SendObjectRecord(const kurvalux_data::CObjectListElem& object, uint32_t operation,
                          const char* api_path);
    void AddPassword(const std::string& password);

    kurvalux_platform::CPoster* owner_;
    kurvalux_platform::CMessageBoxSink& boxes_;
    Notifier notifier_;
    NetworkProbe probe_;

    std::string host_, base_path_, api_path_;
    int connect_timeout_ = kDefaultConnectTimeout;
    int transfer_timeout_ = kDefaultTransferTimeout;
    bool encrypted_password_ = true;
    std::string cache_folder_;

    WebSession session_;
    uint32_t operation_ = kOpNone;
    bool expect_body_ = true;
    std::string object_token_;
    int contributor_index_ = -1;
    bool backup_ = false;
    std::string cache_file_path_;

    std::string body_;
    std::string response_;
    sjson::CJSON document_;
    std::vector<CWebObjectListElem> object_list_;

    std::atomic<bool> running_{false};
    std::thread worker_;
    std::mutex finished_mutex_;
    Finished finished_;
};

}  // namespace kurvalux_web
