// The request layer of CWebInterface: starting the worker, the worker's exchange, and the
// completion on the front end's thread (transport failure boxes, parsing, handler dispatch).
#include "web/web_interface.h"

#include "platform/text.h"

namespace kurvalux_web {

using kurvalux_platform::MessageButtons;
using kurvalux_platform::MessageIcon;

CWebInterface::CWebInterface(kurvalux_platform::CPoster* owner,
                             kurvalux_platform::CMessageBoxSink& boxes)
    : owner_(owner), boxes_(boxes) {
    document_.Reset(false);
}

CWebInterface::~CWebInterface() {
    Join();
}

void CWebInterface::SetServer(const std::string& host, const std::string& base_path) {
    host_ = kurvalux_platform::Cut(host, kHostCapacity);
    base_path_ = kurvalux_platform::Cut(base_path, kHostCapacity);
}

void CWebInterface::SetTimeouts(int connect_seconds, int transfer_seconds) {
    connect_timeout_ = connect_seconds > 0 ? connect_seconds : kDefaultConnectTimeout;
    transfer_timeout_ = transfer_seconds > 0 ? transfer_seconds : kDefaultTransferTimeout;
}

void CWebInterface::Join() {
    if (worker_.joinable()) worker_.join();
}

bool CWebInterface::StartRequest(uint32_t operation, const std::string& api_path,
                                 bool expect_body) {
    if (Running()) return false;
    // The previous worker has cleared its flag and is at most posting its message.
    Join();

    body_.clear();
    const sjson::CJSONNode* root = document_.Root();
    if (root && root->ChildCount() > 0) {
        kurvalux_platform::CTextBuffer text;
        document_.Write(text, 0);
        body_ = text.Release();
    }
    operation_ = operation;
    api_path_ = kurvalux_platform::Cut(api_path, kHostCapacity);
    expect_body_ = expect_body;

    // The worker gets its own copy of everything it needs: the front end may prepare the
    // next request while this one runs without the two threads sharing a byte.
    HttpRequest request;
    request.url = RequestUrl(host_, base_path_, api_path_);
    request.method = body_.empty() ? "GET" : "POST";
    request.headers.push_back("Connection: close");
    if (!session_.user_token.empty())
        request.headers.push_back("Authorization: Bearer " + session_.user_token);
    if (!body_.empty()) request.headers.push_back("Content-Type: application/json");
    request.body = body_;
    request.accept = "application/json";
    request.expected_status = expect_body ? 200 : 204;
    request.connect_timeout = connect_timeout_;
    request.transfer_timeout = transfer_timeout_;
    request.probe = probe_;

    running_.store(true, std::memory_order_release);
    worker_ =
        std::thread([this, request = std::move(request)]() mutable { Work(std::move(request)); });
    return true;
}

void CWebInterface::Work(HttpRequest request) {
    Finished done;
    done.result = PerformHttpRequest(request, done.body);
    const int result = done.result;
    {
        std::lock_guard lock(finished_mutex_);
        finished_ = std::move(done);
    }
    running_.store(false, std::memory_order_release);
    if (owner_) owner_->Post(kurvalux_platform::kMsgRepositoryDone, result, 0);
}

void CWebInterface::FailureBox(const std::string& title, const std::string& first,
                               const std::string& second) {
    std::vector<std::string> lines{first};
    if (!second.empty()) lines.push_back(second);
    boxes_.Show(title, lines, MessageIcon::Error, MessageButtons::Ok);
}

void CWebInterface::Complete(int result) {
    Join();
    {
        std::lock_guard lock(finished_mutex_);
        response_ = std::move(finished_.body);
        finished_.body.clear();
    }
    if (result >= kWebNoNetwork && result <= kWebNoConnection) {
        boxes_.Show("Cannot Reach Web Repository",
                    {"Repository access requires Internet connection."}, MessageIcon::Error,
                    MessageButtons::Ok);
        return;
    }
    if (result >= kWebNoRequest && result <= kWebReadFailed) {
        boxes_.Show("Cannot Reach Web Repository",
                    {"Repository server not accessible.", "Try again later."}, MessageIcon::Error,
                    MessageButtons::Ok);
        return;
    }
    if (result != kWebOk) return;

    document_.Reset(false);
    if (expect_body_) {
        sjson::CJSONSource source(response_);
        if (!document_.Parse(source)) {
            const uint32_t operation = operation_;
            operation_ = kOpNone;
            boxes_.Show("Web Repository Communication Error", {source.error}, MessageIcon::Error,
                        MessageButtons::Ok);
            if (operation == kOpListObjects)
                Notify(kNotifyObjectGroup, kNotifyListFailed);
            else if (operation == kOpPublish || operation == kOpContribute ||
                     operation == kOpUnpublish)
                Notify(kNotifyObjectGroup, kNotifyPublishFailed);
            else if (operation == kOpGetObjectData)
                Notify(kNotifyObjectGroup, kNotifyObjectDataFailed);
            else
                Notify(kNotifySessionGroup, kNotifySession);
            return;
        }
    }
    RunHandler();
}

}  // namespace kurvalux_web
