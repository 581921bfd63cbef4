#pragma once
// The look-up of a field's stars in the International Variable Star Index (VSX): the sky box
// that the field's objects span, the catalogue's list query for it on a worker thread, the
// answer read into catalogue stars, and the matching that copies catalogue names, types,
// periods and epochs into the objects that lack them.
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "data/field.h"
#include "platform/message_box.h"
#include "platform/posting.h"
#include "web/http_exchange.h"

namespace kurvalux_web {

// Bounds in radians; R.A. -1 and Dec. 91 mark a bound not set.
struct VsxBox {
    double ra_min = kurvalux_data::kUnknownRa, ra_max = kurvalux_data::kUnknownRa;
    double dec_min = kurvalux_data::kUnknownDec, dec_max = kurvalux_data::kUnknownDec;
    bool Set() const {
        return ra_min != kurvalux_data::kUnknownRa && ra_max != kurvalux_data::kUnknownRa &&
               dec_min != kurvalux_data::kUnknownDec && dec_max != kurvalux_data::kUnknownDec;
    }
};

// The span of the objects with known coordinates (all of the field's, or only `only`).
VsxBox ComputeVsxBox(const kurvalux_data::Field& field, const kurvalux_data::CObjectListElem* only);
// "/vsx/index.php?view=api.list&fromra=...&tora=...&fromdec=...&todec=...&format=json", the
// bounds in degrees with 7 decimals; no margin is added. Empty for a box not set.
std::string VsxQueryPath(const VsxBox& box);

constexpr size_t kVsxNameCapacity = 63;
constexpr size_t kVsxTypeCapacity = 15;

struct CVsxStar {
    std::string name;              // 63
    std::string type;              // 15
    double ra = 0, dec = 0;        // radians, J2000
    double epoch = 0, period = 0;  // 0 when the catalogue gives none
};

// Reads the catalogue's answer. Numbers may come as JSON numbers or as strings (a trailing
// uncertainty colon, "95:", is dropped); an empty answer is `{"VSXObjects":[]}`, and a single
// star may come as a record instead of an array. An unreadable answer gives no stars. Stars
// without a readable position are skipped.
std::vector<CVsxStar> ParseVsxAnswer(std::string_view text);

// The square box (in raw R.A. and Dec., no cos Dec factor) within which a star matches an
// object: 3 arc seconds each way.
constexpr double kVsxMatchTolerance = 1.454441043328608e-5;

struct VsxMatchResult {
    size_t stars = 0;    // catalogue stars in the answer
    size_t matched = 0;  // objects that received a star
};

// Matches the stars against the objects (all, or only `only`) in list order; each object takes
// the first star within the box, and a star taken is removed so it marks no second object.
// Updates the objects' alternate name, variability type, period and epoch by the rules in the
// .cpp file.
VsxMatchResult MatchVsxStars(kurvalux_data::Field& field, kurvalux_data::CObjectListElem* only,
                             std::vector<CVsxStar>& stars);

// The command: one look-up worker at a time.
class CVsxLookup {
public:
    CVsxLookup(kurvalux_platform::CPoster* owner, kurvalux_platform::CMessageBoxSink& boxes)
        : owner_(owner), boxes_(boxes) {}
    ~CVsxLookup() { Join(); }

    // `server`: scheme and host of the catalogue ("https://www.aavso.org").
    void SetServer(const std::string& server) { server_ = server; }
    void SetTimeouts(int connect_seconds, int transfer_seconds);
    void SetNetworkProbe(NetworkProbe probe) { probe_ = std::move(probe); }

    // Computes the box and starts the worker, which posts message 4926 with its result code.
    // False when a worker runs already or no object has coordinates (the box is shown then).
    bool Start(const kurvalux_data::Field& field, const kurvalux_data::CObjectListElem* only);
    bool Running() const { return running_.load(std::memory_order_acquire); }
    // Message 4926 arrived: shows the boxes and matches the answer into the field. The number
    // of objects changed (0 on failure).
    size_t Complete(int result, kurvalux_data::Field& field, kurvalux_data::CObjectListElem* only);
    void Join() {
        if (worker_.joinable()) worker_.join();
    }
    const std::string& QueryPath() const { return path_; }

private:
    void Fail(const std::vector<std::string>& lines);

    kurvalux_platform::CPoster* owner_;
    kurvalux_platform::CMessageBoxSink& boxes_;
    std::string server_ = "https://www.aavso.org";
    int connect_timeout_ = kDefaultConnectTimeout;
    int transfer_timeout_ = kDefaultTransferTimeout;
    NetworkProbe probe_;
    std::string path_;
    std::atomic<bool> running_{false};
    std::thread worker_;
    std::mutex answer_mutex_;
    std::string answer_;
};

}  // namespace kurvalux_web
