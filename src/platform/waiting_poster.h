#pragma once
// A poster for front ends without a window: workers' messages are queued, and the thread that
// started them takes them one by one (the command line, the tests).
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>

#include "platform/posting.h"

namespace kurvalux_platform {

struct PostedMessage {
    uint32_t number = 0;
    intptr_t a = 0, b = 0;
};

class CWaitingPoster : public CPoster {
public:
    void Post(uint32_t message, intptr_t a, intptr_t b) override;
    // The oldest message, waiting at most `timeout_ms` for one; nullopt when none came.
    std::optional<PostedMessage> Take(uint64_t timeout_ms);

private:
    std::mutex mutex_;
    std::condition_variable ready_;
    std::deque<PostedMessage> queue_;
};

}  // namespace kurvalux_platform
