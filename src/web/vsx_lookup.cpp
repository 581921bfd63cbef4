#include "web/vsx_lookup.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "json/json.h"
#include "platform/text.h"
#include "web/web_objects.h"

namespace kurvalux_web {

using kurvalux_data::CObjectListElem;
using kurvalux_platform::MessageButtons;
using kurvalux_platform::MessageIcon;
using sjson::CJSONNode;
using sjson::EKind;

namespace {

constexpr double kDegreesPerRadian = 57.29577951308232;

// A catalogue number: a JSON number, or a string that starts with one ("0.5466892", "95:").
bool VsxNumber(const CJSONNode& record, std::string_view name, double& value) {
    const CJSONNode* node = MemberOf(record, name);
    if (!node) return false;
    if (node->Kind() == EKind::Real)
        value = node->Real();
    else if (node->Kind() == EKind::Integer)
        value = double(node->Integer());
    else if (node->Kind() == EKind::String) {
        std::string_view text = node->Text();
        while (!text.empty() && (text.front() == ' ' || text.front() == '+')) text.remove_prefix(1);
        auto r = std::from_chars(text.data(), text.data() + text.size(), value);
        if (r.ec != std::errc() || r.ptr == text.data()) return false;
    } else {
        return false;
    }
    return std::isfinite(value);
}

void ReadStar(const CJSONNode& record, std::vector<CVsxStar>& stars) {
    if (record.Kind() != EKind::Record) return;
    CVsxStar star;
    double ra = 0, dec = 0;
    if (!VsxNumber(record, "RA2000", ra) || !VsxNumber(record, "Declination2000", dec)) return;
    star.ra = ra / kDegreesPerRadian;
    star.dec = dec / kDegreesPerRadian;
    StringMember(record, "Name", star.name, kVsxNameCapacity);
    StringMember(record, "VariabilityType", star.type, kVsxTypeCapacity);
    VsxNumber(record, "Period", star.period);
    VsxNumber(record, "Epoch", star.epoch);
    stars.push_back(std::move(star));
}

// `text` with " [", `addition` and "]" appended unless it holds `addition` already;
// `addition` itself when `text` is empty. Cut at `capacity`.
void AddName(std::string& text, const std::string& addition, size_t capacity) {
    if (addition.empty()) return;
    if (text.empty())
        text = kurvalux_platform::Cut(addition, capacity);
    else if (text.find(addition) == std::string::npos)
        text = kurvalux_platform::Cut(text + " [" + addition + "]", capacity);
}

}  // namespace

VsxBox ComputeVsxBox(const kurvalux_data::Field& field, const CObjectListElem* only) {
    VsxBox box;
    bool first = true;
    for (const auto& object : field.objects) {
        if (only && object.get() != only) continue;
        double ra = 0, dec = 0;
        if (!object->Coordinates(ra, dec)) continue;
        if (first) {
            box = {ra, ra, dec, dec};
            first = false;
            continue;
        }
        box.ra_min = std::min(box.ra_min, ra);
        box.ra_max = std::max(box.ra_max, ra);
        box.dec_min = std::min(box.dec_min, dec);
        box.dec_max = std::max(box.dec_max, dec);
    }
    return box;
}

std::string VsxQueryPath(const VsxBox& box) {
    if (!box.Set()) return {};
    double ra_min = box.ra_min * kDegreesPerRadian, ra_max = box.ra_max * kDegreesPerRadian;
    double dec_min = box.dec_min * kDegreesPerRadian, dec_max = box.dec_max * kDegreesPerRadian;
    if (ra_max > 360) {
        ra_min -= 360;
        ra_max -= 360;
    }
    dec_min = std::max(dec_min, -90.0);
    dec_max = std::min(dec_max, 90.0);
    char path[256];
    std::snprintf(path, sizeof path,
                  "/vsx/index.php?view=api.list&fromra=%.7f&tora=%.7f&fromdec=%.7f&todec=%.7f"
                  "&format=json",
                  ra_min, ra_max, dec_min, dec_max);
    return path;
}

std::vector<CVsxStar> ParseVsxAnswer(std::string_view text) {
    std::vector<CVsxStar> stars;
    sjson::CJSON document;
    sjson::CJSONSource source(text);
    if (!document.Parse(source) || !document.Root()) return stars;
    const CJSONNode* objects = MemberOf(*document.Root(), "VSXObjects");
    if (!objects || objects->Kind() != EKind::Record) return stars;  // [] when nothing was found
    const CJSONNode* list = MemberOf(*objects, "VSXObject");
    if (!list) return stars;
    if (list->Kind() == EKind::Array)
        for (const auto& element : list->ChildNodes()) ReadStar(*element, stars);
    else
        ReadStar(*list, stars);
    return stars;
}

// For each object with a position, the first remaining star within the box:
//   alternate name: the star's name, or " [name]" appended unless it is there already;
//   period and epoch (m0): the star's, only where the object has none (0);
//   variability type: the star's, or " [type]" appended unless it is there already.
VsxMatchResult MatchVsxStars(kurvalux_data::Field& field, CObjectListElem* only,
                             std::vector<CVsxStar>& stars) {
    VsxMatchResult result;
    result.stars = stars.size();
    for (const auto& object : field.objects) {
        if (only && object.get() != only) continue;
        double ra = 0, dec = 0;
        if (!object->Coordinates(ra, dec)) continue;
        for (auto star = stars.begin(); star != stars.end(); ++star) {
            if (std::fabs(star->ra - ra) > kVsxMatchTolerance ||
                std::fabs(star->dec - dec) > kVsxMatchTolerance)
                continue;
            AddName(object->alternate_name, star->name, kurvalux_data::kAlternateNameCapacity);
            if (object->period == 0) object->period = star->period;
            if (object->m0 == 0) object->m0 = star->epoch;
            AddName(object->variability_type, star->type, kurvalux_data::kVariabilityTypeCapacity);
            stars.erase(star);
            ++result.matched;
            break;
        }
    }
    return result;
}

void CVsxLookup::SetTimeouts(int connect_seconds, int transfer_seconds) {
    connect_timeout_ = connect_seconds > 0 ? connect_seconds : kDefaultConnectTimeout;
    transfer_timeout_ = transfer_seconds > 0 ? transfer_seconds : kDefaultTransferTimeout;
}

void CVsxLookup::Fail(const std::vector<std::string>& lines) {
    boxes_.Show("Cannot lookup stars in VSX", lines, MessageIcon::Error, MessageButtons::Ok);
}

bool CVsxLookup::Start(const kurvalux_data::Field& field, const CObjectListElem* only) {
    if (Running()) return false;
    Join();
    const VsxBox box = ComputeVsxBox(field, only);
    if (!box.Set()) {
        Fail({"Unknown coordinates of object within the field."});
        return false;
    }
    path_ = VsxQueryPath(box);
    HttpRequest request;
    request.url = RequestUrl(server_, "", path_);
    request.method = "GET";
    request.headers = {"Connection: close"};
    request.accept = "application/json, text/html, text/*, */*";
    request.expected_status = 200;
    request.connect_timeout = connect_timeout_;
    request.transfer_timeout = transfer_timeout_;
    request.probe = probe_;
    running_.store(true, std::memory_order_release);
    worker_ = std::thread([this, request = std::move(request)] {
        std::string answer;
        const int result = PerformHttpRequest(request, answer);
        {
            std::lock_guard lock(answer_mutex_);
            answer_ = std::move(answer);
        }
        running_.store(false, std::memory_order_release);
        if (owner_) owner_->Post(kurvalux_platform::kMsgCatalogueDone, result, 0);
    });
    return true;
}

size_t CVsxLookup::Complete(int result, kurvalux_data::Field& field, CObjectListElem* only) {
    Join();
    std::string answer;
    {
        std::lock_guard lock(answer_mutex_);
        answer.swap(answer_);
    }
    if (result == kWebNoBox) {
        Fail({"Unknown coordinates of object within the field."});
        return 0;
    }
    if (result >= kWebNoNetwork && result <= kWebNoConnection) {
        Fail({"VSX lookup requires Internet connection."});
        return 0;
    }
    if (result >= kWebNoRequest && result <= kWebReadFailed) {
        Fail({"VSX server not accessible.", "Try again later."});
        return 0;
    }
    if (result != kWebOk) return 0;
    std::vector<CVsxStar> stars = ParseVsxAnswer(answer);
    if (stars.empty()) {
        boxes_.Show("VSX query completed", {"There is no star in VSX within this field."},
                    MessageIcon::Information, MessageButtons::Ok);
        return 0;
    }
    const VsxMatchResult match = MatchVsxStars(field, only, stars);
    boxes_.Show("VSX query completed",
                {std::to_string(match.stars) + " stars from this field found in VSX.",
                 std::to_string(match.matched) + " stars from VSX matched and marked."},
                MessageIcon::Information, MessageButtons::Ok);
    return match.matched;
}

}  // namespace kurvalux_web
