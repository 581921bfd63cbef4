#include "platform/waiting_poster.h"

#include <chrono>

namespace kurvalux_platform {

void CWaitingPoster::Post(uint32_t message, intptr_t a, intptr_t b) {
    {
        std::lock_guard lock(mutex_);
        queue_.push_back({message, a, b});
    }
    ready_.notify_one();
}

std::optional<PostedMessage> CWaitingPoster::Take(uint64_t timeout_ms) {
    std::unique_lock lock(mutex_);
    if (!ready_.wait_for(lock, std::chrono::milliseconds(timeout_ms),
                         [&] { return !queue_.empty(); }))
        return std::nullopt;
    PostedMessage m = queue_.front();
    queue_.pop_front();
    return m;
}

}  // namespace kurvalux_platform
