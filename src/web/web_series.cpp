#include "web/web_series.h"

#include <algorithm>
#include <charconv>

#include "json/json.h"
#include "platform/files.h"
#include "web/repository_cache.h"
#include "web/web_objects.h"

namespace kurvalux_web {

using kurvalux_data::CMinimaListElem;
using kurvalux_data::CObjectListElem;
using kurvalux_data::CWebSeriesLocalDataTreeElem;
using kurvalux_data::CWebSeriesTreeElem;
using sjson::CJSONNode;
using sjson::EKind;

namespace {

// Reads the next blank-separated number of a "data" string.
bool NextNumber(std::string_view& text, double& value) {
    size_t start = text.find_first_not_of(" \t");
    if (start == std::string_view::npos) return false;
    text.remove_prefix(start);
    const char* first = text.data();
    if (*first == '+') ++first;
    auto r = std::from_chars(first, text.data() + text.size(), value);
    if (r.ec != std::errc()) return false;
    text.remove_prefix(static_cast<size_t>(r.ptr - text.data()));
    return text.empty() || text.front() == ' ' || text.front() == '\t';
}

uint32_t MinimumType(const std::string& word) {
    if (word == "primary") return kurvalux_data::kMinimumPrimary;
    if (word == "secondary") return kurvalux_data::kMinimumSecondary;
    return kurvalux_data::kMinimumUndefined;
}

std::unique_ptr<CWebSeriesTreeElem> ReadSeries(const CJSONNode& record,
                                               const std::string& contributor) {
    auto series = std::make_unique<CWebSeriesTreeElem>();
    series->user_id = contributor.substr(0, kurvalux_data::kUserIdCapacity);
    series->publisher = contributor.substr(0, kurvalux_data::kPublisherCapacity);
    if (const CJSONNode* t = MemberOf(record, "file_time"); t && t->Kind() == EKind::Integer)
        series->file_time = static_cast<uint64_t>(t->Integer());
    kurvalux_data::CMetaData& meta = series->file_meta_data;
    sjson::NumberAsReal(MemberOf(record, "var_aperture"), meta.var_aperture);
    sjson::NumberAsReal(MemberOf(record, "cmp_aperture"), meta.cmp_aperture);
    sjson::NumberAsReal(MemberOf(record, "chk_aperture"), meta.chk_aperture);
    if (const CJSONNode* t = MemberOf(record, "jd_type");
        t && t->Kind() == EKind::Integer && t->Integer() >= 0 && t->Integer() <= 2)
        meta.jd_type = static_cast<uint32_t>(t->Integer());
    std::string unit;
    if (StringMember(record, "brightness_unit", unit, 15))
        meta.value_unit = unit == "flux" ? kurvalux_data::kUnitFlux : kurvalux_data::kUnitMagnitude;
    StringMember(record, "filter", meta.filter, kurvalux_data::kFilterCapacity);

    if (const CJSONNode* minima = MemberOf(record, "minima");
        minima && minima->Kind() == EKind::Array)
        for (const auto& m : minima->ChildNodes()) {
            CMinimaListElem minimum;
            if (!sjson::NumberAsReal(MemberOf(*m, "jd"), minimum.time)) continue;
            sjson::NumberAsReal(MemberOf(*m, "error"), minimum.error);
            std::string type;
            StringMember(*m, "type", type, 15);
            minimum.type = MinimumType(type);
            series->minima.push_back(minimum);
        }

    if (const CJSONNode* data = MemberOf(record, "data"); data && data->Kind() == EKind::Array)
        for (const auto& point : data->ChildNodes()) {
            if (point->Kind() != EKind::String) continue;
            std::string_view text = point->Text();
            double time = 0, value = 0, error = 0;
            if (!NextNumber(text, time) || !NextNumber(text, value)) continue;
            if (!NextNumber(text, error)) error = 0;
            series->times.push_back(time);
            series->values.push_back(value);
            series->errors.push_back(error);
        }
    // Points in time order, as a photometry file is read; a series keeps its own order only
    // where times repeat.
    if (!std::is_sorted(series->times.begin(), series->times.end())) {
        std::vector<size_t> order(series->times.size());
        for (size_t i = 0; i < order.size(); ++i) order[i] = i;
        std::stable_sort(order.begin(), order.end(),
                         [&](size_t a, size_t b) { return series->times[a] < series->times[b]; });
        std::vector<double> t, v, e;
        for (size_t i : order) {
            t.push_back(series->times[i]);
            v.push_back(series->values[i]);
            e.push_back(series->errors[i]);
        }
        series->times = std::move(t);
        series->values = std::move(v);
        series->errors = std::move(e);
    }
    return series;
}

// The local-data entry of `series`, or the end of the list.
auto FindLocalData(CObjectListElem& object, const CWebSeriesTreeElem& series) {
    return std::find_if(object.web_series_local_data.begin(), object.web_series_local_data.end(),
                        [&](const std::unique_ptr<CWebSeriesLocalDataTreeElem>& e) {
                            return e->user_id == series.user_id && e->file_time == series.file_time;
                        });
}

}  // namespace

std::string ContributorOfCacheFile(const std::string& file_name, const std::string& token) {
    const std::string prefix = CacheNameComponent(token) + "_";
    const std::string suffix = ".json";
    if (file_name.size() <= prefix.size() + suffix.size()) return {};
    if (file_name.compare(0, prefix.size(), prefix) != 0) return {};
    if (file_name.compare(file_name.size() - suffix.size(), suffix.size(), suffix) != 0) return {};
    return file_name.substr(prefix.size(), file_name.size() - prefix.size() - suffix.size());
}

bool ReadWebSeriesDocument(const std::string& text, const std::string& contributor,
                           std::vector<std::unique_ptr<CWebSeriesTreeElem>>& series,
                           std::string& error) {
    series.clear();
    sjson::CJSON document;
    sjson::CJSONSource source(text);
    if (!document.Parse(source)) {
        error = source.error.empty() ? "Cannot read JSON value" : source.error;
        return false;
    }
    const CJSONNode* root = document.Root();
    if (!root || root->Kind() != EKind::Record) {
        error = "Cached object record expected";
        return false;
    }
    const CJSONNode* list = MemberOf(*root, "series");
    if (!list || list->Kind() != EKind::Array) return true;
    for (const auto& record : list->ChildNodes())
        if (record->Kind() == EKind::Record) series.push_back(ReadSeries(*record, contributor));
    return true;
}

WebSeriesLoadResult LoadWebSeries(CObjectListElem& object, const std::string& user_folder,
                                  kurvalux_platform::CMessageBoxSink& messages) {
    WebSeriesLoadResult result;
    if (object.token.empty()) return result;
    std::vector<std::string> names;
    if (!user_folder.empty())
        names = kurvalux_platform::ListFolder(user_folder,
                                              CacheNameComponent(object.token) + "_*.json");
    for (const std::string& name : names) {
        const std::string contributor = ContributorOfCacheFile(name, object.token);
        if (contributor.empty()) continue;
        ++result.files;
        const std::string path = user_folder + name;
        std::string text;
        const auto status = kurvalux_platform::ReadWholeFile(path, kWebSeriesFileLimit, text);
        std::string error;
        std::vector<std::unique_ptr<CWebSeriesTreeElem>> read;
        if (status == kurvalux_platform::ReadStatus::TooBig)
            error = "File too big (> 16 MB)";
        else if (status != kurvalux_platform::ReadStatus::Ok)
            error = "Cannot open file";
        else
            ReadWebSeriesDocument(text, contributor, read, error);
        if (!error.empty()) {
            ++result.unreadable;
            messages.Error("Error", {"Cannot load web series data:", path, error, kWebSeriesKept});
            continue;
        }
        for (auto& series : read) {
            if (series->Count() == 0) {
                ++result.refused;
                messages.Error("Error", {"Web series without data points:", path,
                                         "Series removed from the field"});
                continue;
            }
            // The user's settings of the series, kept in the field, take over from the cache.
            auto entry = FindLocalData(object, *series);
            if (entry != object.web_series_local_data.end()) {
                series->offset = (*entry)->offset;
                series->enabled = (*entry)->enabled;
                series->meta_data = (*entry)->meta_data;
                series->minima = (*entry)->minima;
            }
            std::vector<std::string> refusal;
            if (!object.AddSeries(std::move(series), path, refusal)) {
                ++result.refused;
                messages.Error("Error", refusal);
                continue;
            }
            // The series writes its entry from now on; an entry of a refused series stays.
            if (entry != object.web_series_local_data.end())
                object.web_series_local_data.erase(entry);
            ++result.added;
        }
    }
    result.missing = static_cast<int>(object.web_series_local_data.size());
    if (result.missing > 0 && result.unreadable == 0)
        messages.Error("Error", {"Web series not in the repository cache:", object.name,
                                 std::to_string(result.missing) +
                                     " series kept until the object is synchronized"});
    return result;
}

void UnloadWebSeries(CObjectListElem& object) {
    auto& series = object.series;
    for (auto it = series.begin(); it != series.end();) {
        const auto* web = dynamic_cast<const CWebSeriesTreeElem*>(it->get());
        if (!web) {
            ++it;
            continue;
        }
        auto entry = std::make_unique<CWebSeriesLocalDataTreeElem>();
        entry->user_id = web->user_id;
        entry->file_time = web->file_time;
        entry->offset = web->offset;
        entry->enabled = web->enabled;
        entry->meta_data = web->meta_data;
        entry->minima = web->minima;
        object.AddWebSeriesLocalData(std::move(entry));
        it = series.erase(it);
    }
}

}  // namespace kurvalux_web
