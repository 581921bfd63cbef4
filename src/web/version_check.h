#pragma once
// The check for a newer release: a worker fetches the short text file that names the newest
// version, and the front end compares it with the program's own version and, when it is
// newer, shows a notification (a tray balloon on the desktop). Every failure is silent.
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "platform/posting.h"
#include "web/http_exchange.h"

namespace kurvalux_web {

// Defaults of the settings "VersionServer" and "DownloadAddress".
constexpr const char* kDefaultVersionServer = "https://www.kurvalux.org";
constexpr const char* kDefaultDownloadAddress = "https://www.kurvalux.org/download/";
constexpr const char* kVersionFilePath = "/versions/kurvalux.txt";
// The version file is read only when it holds 1 to kVersionTextLimit - 1 bytes.
constexpr size_t kVersionTextLimit = 256;
constexpr int kVersionBalloonMilliseconds = 25000;

// The first four fields of a version text (split at blanks and dots) packed one byte each, the
// first in the top byte: field1 × 2^24 + field2 × 2^16 + field3 × 2^8 + field4. A missing or
// unreadable field counts as 0. A field above 255 carries into the field before it, as the
// packing always has ("1.2.3.256" packs as "1.2.4.0").
uint32_t PackVersion(std::string_view text);

// The program's own version, from the build ("unknown" packs as 0).
const char* ProgramVersion();

struct VersionNotice {
    bool show = false;
    std::string title;
    std::string text;  // lines separated by CR LF
};

// What the front end shows for the fetched text: nothing unless it is newer than `running`.
VersionNotice CompareVersions(std::string_view fetched, std::string_view running,
                              std::string_view download_address);

class CVersionCheck {
public:
    explicit CVersionCheck(kurvalux_platform::CPoster* owner) : owner_(owner) {}
    ~CVersionCheck() { Join(); }

    void SetServer(const std::string& server) { server_ = server; }
    void SetTimeouts(int connect_seconds, int transfer_seconds);
    void SetNetworkProbe(NetworkProbe probe) { probe_ = std::move(probe); }

    // Starts the worker, which posts message 4928 with both arguments 0 when it ends. Returns
    // at once: the check never delays start-up. False while a check runs.
    bool Start();
    bool Running() const { return running_.load(std::memory_order_acquire); }
    void Join() {
        if (worker_.joinable()) worker_.join();
    }
    // After message 4928: the fetched text, empty when anything failed.
    std::string Fetched();

private:
    kurvalux_platform::CPoster* owner_;
    std::string server_ = kDefaultVersionServer;
    int connect_timeout_ = kDefaultConnectTimeout;
    int transfer_timeout_ = kDefaultTransferTimeout;
    NetworkProbe probe_;
    std::atomic<bool> running_{false};
    std::thread worker_;
    std::mutex text_mutex_;
    std::string text_;
};

}  // namespace kurvalux_web
