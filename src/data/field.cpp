#include "data/field.h"

#include <algorithm>
#include <atomic>

#include "data/heliocentric.h"

namespace kurvalux_data {

uint64_t NextObjectSerial() {
    static std::atomic<uint64_t> next{1};
    return next.fetch_add(1, std::memory_order_relaxed);
}

bool CStarRecord::IsEmpty() const {
    return *this == CStarRecord{};
}

bool CMetaData::IsEmpty() const {
    return var_aperture == 0 && cmp_aperture == 0 && chk_aperture == 0 && jd_type == kJdUnknown &&
           value_unit == kUnitUnknown && filter.empty() && var.IsEmpty() && cmp.empty() &&
           chk.empty();
}

namespace {

void MergeStar(CStarRecord& out, const CStarRecord& upper) {
    if (!upper.star_name.empty()) out.star_name = upper.star_name;
    if (upper.star_ra != kUnknownRa) out.star_ra = upper.star_ra;
    if (upper.star_dec != kUnknownDec) out.star_dec = upper.star_dec;
    if (!upper.catalog.empty()) out.catalog = upper.catalog;
    if (!upper.catalog_id.empty()) out.catalog_id = upper.catalog_id;
    if (upper.catalog_ra != kUnknownRa) out.catalog_ra = upper.catalog_ra;
    if (upper.catalog_dec != kUnknownDec) out.catalog_dec = upper.catalog_dec;
    if (upper.catalog_mag != kUndefinedMagnitude) out.catalog_mag = upper.catalog_mag;
    if (upper.catalog_bv != kUndefinedMagnitude) out.catalog_bv = upper.catalog_bv;
    if (upper.catalog_jk != kUndefinedMagnitude) out.catalog_jk = upper.catalog_jk;
}

void MergeStars(std::vector<CStarRecord>& out, const std::vector<CStarRecord>& upper) {
    if (out.size() < upper.size()) out.resize(upper.size());
    for (size_t i = 0; i < upper.size(); ++i) MergeStar(out[i], upper[i]);
}

}  // namespace

CMetaData MergeMetaData(const CMetaData& upper, const CMetaData& lower) {
    CMetaData out = lower;
    if (upper.var_aperture != 0) out.var_aperture = upper.var_aperture;
    if (upper.cmp_aperture != 0) out.cmp_aperture = upper.cmp_aperture;
    if (upper.chk_aperture != 0) out.chk_aperture = upper.chk_aperture;
    if (upper.jd_type != kJdUnknown) out.jd_type = upper.jd_type;
    if (upper.value_unit != kUnitUnknown) out.value_unit = upper.value_unit;
    if (!upper.filter.empty()) out.filter = upper.filter;
    MergeStar(out.var, upper.var);
    MergeStars(out.cmp, upper.cmp);
    MergeStars(out.chk, upper.chk);
    return out;
}

int CSeriesTreeElem::Compare(const CSeriesTreeElem& other) const {
    const double a = FirstTime(), b = other.FirstTime();
    return a > b ? 1 : (a == b ? 0 : -1);
}

uint32_t CSeriesTreeElem::EffectiveValueUnit() const {
    if (meta_data.value_unit != kUnitUnknown) return meta_data.value_unit;
    if (file_meta_data.value_unit != kUnitUnknown) return file_meta_data.value_unit;
    return kUnitMagnitude;
}

int CWebSeriesLocalDataTreeElem::Compare(const CWebSeriesLocalDataTreeElem& other) const {
    int c = user_id.compare(other.user_id);
    if (c != 0) return c > 0 ? 1 : -1;
    return file_time > other.file_time ? 1 : (file_time == other.file_time ? 0 : -1);
}

void ConvertToHeliocentric(CSeriesTreeElem& series, double ra, double dec, size_t first,
                           size_t last) {
    const bool accurate = CurrentHeliocentricMethod() == HeliocentricMethod::kAccurate;
    series.hjd_accurate = accurate;
    const StarDirection star(ra, dec);
    for (size_t i = first; i < last && i < series.times.size(); ++i)
        series.times[i] = accurate ? AccurateHeliocentricJD(series.times[i], ra, dec)
                                   : HeliocentricJD(series.times[i], star);
}

bool CObjectListElem::AddSeries(std::unique_ptr<CSeriesTreeElem> added, const std::string& path,
                                std::vector<std::string>& message) {
    return AddSeries(std::move(added), path, message, nullptr);
}

bool CObjectListElem::AddSeries(std::unique_ptr<CSeriesTreeElem> added, const std::string& path,
                                std::vector<std::string>& message, DeferredConversion* deferred) {
    if (deferred) *deferred = {};
    message.clear();
    auto position = std::lower_bound(series.begin(), series.end(), added.get(),
                                     [](const std::unique_ptr<CSeriesTreeElem>& a,
                                        const CSeriesTreeElem* b) { return a->Compare(*b) < 0; });
    if (position != series.end() && (*position)->Compare(*added) == 0) {
        message = {"Duplicate series data file (same first point time):", path,
                   "Series removed from the field"};
        return false;
    }
    const bool flux = added->EffectiveValueUnit() == kUnitFlux;
    if (!series.empty() && flux != is_flux) {
        message = {"Series with different value type (Mag x Flux) than previous series:", path,
                   "Series removed from the field"};
        return false;
    }
    if (series.empty()) is_flux = flux;
    if (is_flux && added->offset <= 0) added->offset = 1.0;

    added->hjd_converted = false;
    added->hjd_accurate = false;
    const uint32_t jd_type = added->file_meta_data.jd_type;
    double ra = kUnknownRa, dec = kUnknownDec;
    if ((jd_type == kJdUnknown || (jd_type == kJdGeocentric && added->Count() > 0)) &&
        Coordinates(ra, dec)) {
        const size_t n = added->times.size();
        if (deferred && n > 2) {
            ConvertToHeliocentric(*added, ra, dec, 0, 1);
            ConvertToHeliocentric(*added, ra, dec, n - 1, n);
            *deferred = {added.get(), ra, dec};
        } else {
            ConvertToHeliocentric(*added, ra, dec, 0, n);
        }
        added->hjd_converted = true;
    }
    // The conversion moves the first time by up to ~8 minutes: find the place again.
    position = std::lower_bound(series.begin(), series.end(), added.get(),
                                [](const std::unique_ptr<CSeriesTreeElem>& a,
                                   const CSeriesTreeElem* b) { return a->Compare(*b) < 0; });
    if (position != series.end() && (*position)->Compare(*added) == 0) {
        message = {"Duplicate series data file (same first point time):", path,
                   "Series removed from the field"};
        if (deferred) *deferred = {};
        return false;
    }
    series.insert(position, std::move(added));
    return true;
}

bool CObjectListElem::AddWebSeriesLocalData(std::unique_ptr<CWebSeriesLocalDataTreeElem> entry) {
    auto position =
        std::lower_bound(web_series_local_data.begin(), web_series_local_data.end(), entry.get(),
                         [](const std::unique_ptr<CWebSeriesLocalDataTreeElem>& a,
                            const CWebSeriesLocalDataTreeElem* b) { return a->Compare(*b) < 0; });
    if (position != web_series_local_data.end() && (*position)->Compare(*entry) == 0) return false;
    web_series_local_data.insert(position, std::move(entry));
    return true;
}

const CSeriesTreeElem* CObjectListElem::ReferenceSeries() const {
    if (series.empty() || meta_data_source == 0) return nullptr;
    // The earliest series that satisfies the first matching preference, in time order.
    auto first = [this](auto predicate) -> const CSeriesTreeElem* {
        for (const auto& s : series)
            if (predicate(*s)) return s.get();
        return nullptr;
    };
    auto is_local = [](const CSeriesTreeElem& s) { return s.IsLocal(); };
    auto is_web = [](const CSeriesTreeElem& s) { return !s.IsLocal(); };
    auto is_short = [](const CSeriesTreeElem& s) { return s.LastTime() - s.FirstTime() < 1.0; };
    const CSeriesTreeElem* chosen = nullptr;
    switch (meta_data_source) {
        case 1:  // local series first, whatever their span
            chosen = first(is_local);
            break;
        case 2:  // web series first
            chosen = first(is_web);
            break;
        case 3:  // single nights first, local or web
            chosen = first(is_short);
            break;
        default:  // 4: a local single night, then any local series, then a web single night
            chosen = first([&](const CSeriesTreeElem& s) { return is_local(s) && is_short(s); });
            if (!chosen) chosen = first(is_local);
            if (!chosen) chosen = first([&](const CSeriesTreeElem& s) { return is_short(s); });
            break;
    }
    return chosen ? chosen : series.front().get();
}

bool CObjectListElem::Coordinates(double& ra, double& dec) const {
    // The reference series describes the star as observed; when neither its own meta-data nor
    // its file names a position, the position entered for the object still holds.
    const CStarRecord* star = &meta_data.var;
    if (const CSeriesTreeElem* reference = ReferenceSeries()) {
        if (reference->meta_data.var.HasPosition())
            star = &reference->meta_data.var;
        else if (reference->file_meta_data.var.HasPosition())
            star = &reference->file_meta_data.var;
    }
    ra = star->star_ra;
    dec = star->star_dec;
    return star->HasPosition();
}

void CObjectListElem::CompleteSavedEphemeris() {
    if (saved_m0 == 0) saved_m0 = m0;
    if (saved_period == 0 && period != 0) saved_period = period;
}

CObjectListElem& Field::AddObject() {
    objects.push_back(std::make_unique<CObjectListElem>());
    return *objects.back();
}

CObjectListElem* Field::FindObject(const std::string& name) {
    for (auto& object : objects)
        if (object->name == name) return object.get();
    return nullptr;
}

}  // namespace kurvalux_data
