// Answers of the web services as a hostile server could send them: whatever parses is read as
// an object list, copied as object records into a cache document and written, and read as a
// catalogue answer; nothing may crash or hang, and every text read stays within its capacity.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "json/json.h"
#include "web/vsx_lookup.h"
#include "web/web_objects.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (const kurvalux_web::CVsxStar& star : kurvalux_web::ParseVsxAnswer(text))
        if (star.name.size() > kurvalux_web::kVsxNameCapacity ||
            star.type.size() > kurvalux_web::kVsxTypeCapacity)
            std::abort();

    sjson::CJSON answer;
    sjson::CJSONSource source(text);
    if (!answer.Parse(source) || !answer.Root()) return 0;
    const sjson::CJSONNode* objects =
        kurvalux_web::MemberOf(*answer.Root(), kurvalux_web::kObjectsKey);
    if (!objects || objects->Kind() != sjson::EKind::Array) return 0;
    for (const auto& element : objects->ChildNodes()) {
        const kurvalux_web::CWebObjectListElem summary = kurvalux_web::ReadObjectSummary(*element);
        if (summary.token.size() > kurvalux_web::kObjectTokenCapacity) std::abort();
        sjson::CJSON copy;
        copy.Reset(false);
        kurvalux_web::CopyObjectRecord(*element, copy);
        kurvalux_platform::CTextBuffer written;
        if (!copy.Write(written, sjson::kWritePretty)) std::abort();
        // The cache file must read back.
        sjson::CJSON again;
        sjson::CJSONSource reread(written.Text());
        if (!again.Parse(reread)) std::abort();
    }
    return 0;
}
