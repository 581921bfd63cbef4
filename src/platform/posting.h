#pragma once
// Workers never touch the user interface: they post a numbered message with two arguments,
// and the front end delivers it on its own thread (a queued Qt event, or a condition variable
// on the command line).
#include <cstdint>

namespace kurvalux_platform {

constexpr uint32_t kMsgFrequencyProgress = 4924;  // a = worker id, b = periods done
constexpr uint32_t kMsgFrequencyDone = 4925;      // a = worker id
constexpr uint32_t kMsgCatalogueDone = 4926;
constexpr uint32_t kMsgRepositoryDone = 4927;
constexpr uint32_t kMsgVersionCheckDone = 4928;

class CPoster {
public:
    virtual ~CPoster() = default;
    virtual void Post(uint32_t message, intptr_t a, intptr_t b) = 0;
};

}  // namespace kurvalux_platform
