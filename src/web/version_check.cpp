#include "web/version_check.h"

namespace kurvalux_web {

uint32_t PackVersion(std::string_view text) {
    uint32_t fields[4] = {0, 0, 0, 0};
    size_t count = 0;
    size_t i = 0;
    auto separator = [](char c) { return c == ' ' || c == '\t' || c == '.'; };
    while (count < 4 && i < text.size()) {
        while (i < text.size() && separator(text[i])) ++i;
        if (i >= text.size()) break;
        const size_t start = i;
        while (i < text.size() && !separator(text[i])) ++i;
        // The field's leading digits, as the C library reads a number; none reads as 0.
        uint32_t value = 0;
        for (size_t k = start; k < i && text[k] >= '0' && text[k] <= '9'; ++k)
            value = value * 10 + uint32_t(text[k] - '0');
        fields[count++] = value;
    }
    return fields[0] * (1u << 24) + fields[1] * (1u << 16) + fields[2] * (1u << 8) + fields[3];
}

const char* ProgramVersion() {
#ifdef KURVALUX_VERSION
    return KURVALUX_VERSION;
#else
    return "unknown";
#endif
}

VersionNotice CompareVersions(std::string_view fetched, std::string_view running,
                              std::string_view download_address) {
    VersionNotice notice;
    // The text as the file holds it, without the line end it was saved with.
    while (!fetched.empty() && (fetched.back() == '\n' || fetched.back() == '\r' ||
                                fetched.back() == ' ' || fetched.back() == '\t'))
        fetched.remove_suffix(1);
    if (!(PackVersion(running) < PackVersion(fetched))) return notice;
    notice.show = true;
    notice.title = "New version of KURVALUX is available";
    notice.text = "Working KURVALUX version is " + std::string(running) + "\r\nVersion " +
                  std::string(fetched) + " is available at\r\n" + std::string(download_address);
    return notice;
}

void CVersionCheck::SetTimeouts(int connect_seconds, int transfer_seconds) {
    connect_timeout_ = connect_seconds > 0 ? connect_seconds : kDefaultConnectTimeout;
    transfer_timeout_ = transfer_seconds > 0 ? transfer_seconds : kDefaultTransferTimeout;
}

bool CVersionCheck::Start() {
    if (Running()) return false;
    Join();
    {
        std::lock_guard lock(text_mutex_);
        text_.clear();
    }
    HttpRequest request;
    request.url = RequestUrl(server_, "", kVersionFilePath);
    request.method = "GET";
    request.headers = {"Connection: close"};
    request.accept = "text/*, */*";
    request.expected_status = 200;
    request.connect_timeout = connect_timeout_;
    request.transfer_timeout = transfer_timeout_;
    request.probe = probe_;
    request.max_body = kVersionTextLimit - 1;
    running_.store(true, std::memory_order_release);
    worker_ = std::thread([this, request = std::move(request)] {
        std::string text;
        int64_t length = -1;
        // Only a complete answer of announced, non-zero length that fits the buffer counts.
        const int result = PerformHttpRequest(request, text, nullptr, &length);
        if (result != kWebOk || length <= 0 || text.empty() || text.size() >= kVersionTextLimit)
            text.clear();
        {
            std::lock_guard lock(text_mutex_);
            text_ = std::move(text);
        }
        running_.store(false, std::memory_order_release);
        if (owner_) owner_->Post(kurvalux_platform::kMsgVersionCheckDone, 0, 0);
    });
    return true;
}

std::string CVersionCheck::Fetched() {
    Join();
    std::lock_guard lock(text_mutex_);
    return text_;
}

}  // namespace kurvalux_web
