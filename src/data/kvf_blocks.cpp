#include "data/kvf_blocks.h"

#include <algorithm>
#include <cmath>

#include "platform/text.h"

namespace kurvalux_data {

bool CKvfBlockReader::Unknown(const std::string& word) {
    scanner_.Fail("Unknown keyword: " + word);
    return false;
}

bool CKvfBlockReader::Quoted(std::string& out, size_t capacity) {
    return scanner_.ExpectEquals() && scanner_.ReadQuotedString(out, capacity);
}

bool CKvfBlockReader::Number(double& value) {
    return scanner_.ExpectEquals() && scanner_.ReadNumber(value);
}

bool CKvfBlockReader::Boolean(bool& value) {
    return scanner_.ExpectEquals() && scanner_.ReadBoolean(value);
}

bool CKvfBlockReader::Hex(uint64_t& value) {
    if (!scanner_.ExpectEquals()) return false;
    std::string token;
    scanner_.ReadToken(token, 63);
    bool ok = !token.empty() && token.size() <= 16;
    uint64_t v = 0;
    for (char c : token) {
        const int digit = (c >= '0' && c <= '9')   ? c - '0'
                          : (c >= 'a' && c <= 'f') ? c - 'a' + 10
                          : (c >= 'A' && c <= 'F') ? c - 'A' + 10
                                                   : -1;
        if (digit < 0) ok = false;
        v = v * 16 + static_cast<uint64_t>(std::max(digit, 0));
    }
    if (!ok) {
        scanner_.Fail("Expected hexadecimal number: " + token);
        return false;
    }
    value = v;
    return true;
}

bool CKvfBlockReader::ReadNotes(std::string& notes) {
    std::string word, line;
    for (;;) {
        if (!Word(word)) return false;
        if (word == "end_notes") return true;
        if (word != "line") return Unknown(word);
        if (!Quoted(line, kNotesLineCapacity)) return false;
        notes += line;
        notes += "\r\n";
        if (!Next()) return false;
    }
}

bool CKvfBlockReader::ReadFit(LightCurveParameters& fit) {
    std::string word;
    for (;;) {
        if (!Word(word)) return false;
        if (word == "end_fit") return true;
        size_t index = 0;
        while (index < kLightCurveParameterCount && word != kLightCurveParameterKeys[index])
            ++index;
        if (index == kLightCurveParameterCount) return Unknown(word);
        if (!Number(fit[index]) || !Next()) return false;
    }
}

namespace {
// "cmp3" -> 3 for the prefix "cmp"; -1 when the word is not the prefix followed by digits.
long StarIndex(const std::string& word, const char* prefix) {
    if (word.size() <= 3 || word.compare(0, 3, prefix) != 0) return -1;
    long index = 0;
    for (size_t i = 3; i < word.size(); ++i) {
        if (word[i] < '0' || word[i] > '9') return -1;
        index = std::min(index * 10 + (word[i] - '0'), 1000000L);
    }
    return index;
}
}  // namespace

bool CKvfBlockReader::ReadMetaData(CMetaData& meta) {
    std::string word, value;
    for (;;) {
        if (!Word(word)) return false;
        bool ok = true;
        if (word == "end_meta_data") {
            return true;
        } else if (word == "var_aperture") {
            ok = Number(meta.var_aperture);
        } else if (word == "cmp_aperture") {
            ok = Number(meta.cmp_aperture);
        } else if (word == "chk_aperture") {
            ok = Number(meta.chk_aperture);
        } else if (word == "jd_type") {
            if (!scanner_.ExpectEquals() || !Word(value)) return false;
            if (value == "geocentric")
                meta.jd_type = kJdGeocentric;
            else if (value == "heliocentric")
                meta.jd_type = kJdHeliocentric;
            else
                return Unknown(value);
        } else if (word == "value_unit") {
            if (!scanner_.ExpectEquals() || !Word(value)) return false;
            if (value == "magnitude")
                meta.value_unit = kUnitMagnitude;
            else if (value == "flux")
                meta.value_unit = kUnitFlux;
            else
                return Unknown(value);
        } else if (word == "filter") {
            ok = Quoted(meta.filter, kFilterCapacity);
        } else if (word == "var") {
            ok = Next() && ReadStar(meta.var, "end_var");
        } else if (long cmp = StarIndex(word, "cmp"); cmp >= 0) {
            if (cmp >= static_cast<long>(kMaxReferenceStars)) {
                scanner_.Fail("Too many comparison stars (> 10)" + word);
                return false;
            }
            if (meta.cmp.size() <= static_cast<size_t>(cmp)) meta.cmp.resize(cmp + 1);
            ok = Next() && ReadStar(meta.cmp[cmp], "end_" + word);
        } else if (long chk = StarIndex(word, "chk"); chk >= 0) {
            if (chk >= static_cast<long>(kMaxReferenceStars)) {
                scanner_.Fail("Too many check stars (> 10)" + word);
                return false;
            }
            if (meta.chk.size() <= static_cast<size_t>(chk)) meta.chk.resize(chk + 1);
            ok = Next() && ReadStar(meta.chk[chk], "end_" + word);
        } else {
            return Unknown(word);
        }
        if (!ok || !Next()) return false;
    }
}

bool CKvfBlockReader::ReadStar(CStarRecord& star, const std::string& end_keyword) {
    std::string word, text;
    for (;;) {
        if (!Word(word)) return false;
        bool ok = true;
        double value = 0;
        if (word == end_keyword) {
            return true;
        } else if (word == "star_name") {
            ok = Quoted(star.star_name, kStarNameCapacity);
        } else if (word == "star_ra") {
            ok = Quoted(text, kStarNameCapacity);
            if (ok && kurvalux_platform::ParseRaSexagesimal(text, value))
                star.star_ra = value * M_PI / 12.0;
        } else if (word == "star_dec") {
            ok = Quoted(text, kStarNameCapacity);
            if (ok && kurvalux_platform::ParseDecSexagesimal(text, value))
                star.star_dec = value * M_PI / 180.0;
        } else if (word == "catalog") {
            ok = Quoted(star.catalog, kCatalogCapacity);
        } else if (word == "catalog_id") {
            ok = Quoted(star.catalog_id, kCatalogIdCapacity);
        } else if (word == "catalog_ra") {
            ok = Number(star.catalog_ra);
        } else if (word == "catalog_dec") {
            ok = Number(star.catalog_dec);
        } else if (word == "catalog_mag") {
            ok = Number(star.catalog_mag);
        } else if (word == "catalog_bv") {
            ok = Number(star.catalog_bv);
        } else if (word == "catalog_jk") {
            ok = Number(star.catalog_jk);
        } else {
            return Unknown(word);
        }
        if (!ok || !Next()) return false;
    }
}

bool CKvfBlockReader::ReadMinimum(CMinimaListElem& minimum) {
    std::string word, value;
    for (;;) {
        if (!Word(word)) return false;
        bool ok = true;
        if (word == "end_minimum") {
            return true;
        } else if (word == "type") {
            if (!scanner_.ExpectEquals() || !Word(value)) return false;
            if (value == "any")
                minimum.type = kMinimumUndefined;
            else if (value == "primary")
                minimum.type = kMinimumPrimary;
            else if (value == "secondary")
                minimum.type = kMinimumSecondary;
            else
                return Unknown(value);
        } else if (word == "time") {
            ok = Number(minimum.time);
        } else if (word == "error") {
            ok = Number(minimum.error);
        } else if (word == "enabled") {
            ok = Boolean(minimum.enabled);
        } else {
            return Unknown(word);
        }
        if (!ok || !Next()) return false;
    }
}

bool CKvfBlockReader::ReadWebSeries(CWebSeriesLocalDataTreeElem& entry) {
    std::string word;
    for (;;) {
        if (!Word(word)) return false;
        bool ok = true;
        if (word == "end_web_series") {
            return true;
        } else if (word == "user_id") {
            ok = scanner_.ExpectEquals();
            if (ok) scanner_.ReadToken(entry.user_id, kUserIdCapacity);
        } else if (word == "file_time") {
            ok = Hex(entry.file_time);
        } else if (word == "offset") {
            ok = Number(entry.offset);
        } else if (word == "enabled") {
            ok = Boolean(entry.enabled);
        } else if (word == "meta_data") {
            ok = Next() && ReadMetaData(entry.meta_data);
        } else if (word == "minimum") {
            entry.minima.emplace_back();
            ok = Next() && ReadMinimum(entry.minima.back());
        } else {
            return Unknown(word);
        }
        if (!ok || !Next()) return false;
    }
}

// A local series' own block; its photometry is read from its file afterwards.
bool CLocalSeriesTreeElem::Read(CKeywordScanner& scanner) {
    CKvfBlockReader reader(scanner);
    std::string word;
    for (;;) {
        if (!reader.Word(word)) return false;
        bool ok = true;
        if (word == "end_series") {
            return true;
        } else if (word == "absolute_path") {
            ok = reader.Quoted(absolute_path, kPathCapacity);
        } else if (word == "relative_path") {
            ok = reader.Quoted(relative_path, kPathCapacity);
        } else if (word == "offset") {
            ok = reader.Number(offset);
        } else if (word == "enabled") {
            ok = reader.Boolean(enabled);
        } else if (word == "meta_data") {
            ok = reader.Next() && reader.ReadMetaData(meta_data);
        } else if (word == "minimum") {
            minima.emplace_back();
            ok = reader.Next() && reader.ReadMinimum(minima.back());
        } else {
            return reader.Unknown(word);
        }
        if (!ok || !reader.Next()) return false;
    }
}

bool CSeriesTreeElem::Read(CKeywordScanner&) {
    return true;
}
void CSeriesTreeElem::Write(CKeywordWriter&) const {}

// ---------------------------------------------------------------------------------------
// Writing

namespace {

void WriteStar(CKeywordWriter& w, const CStarRecord& star, const std::string& begin,
               const std::string& end) {
    w.Begin(begin);
    if (!star.star_name.empty()) w.Quoted("star_name", star.star_name);
    if (star.star_ra != kUnknownRa)
        w.Quoted("star_ra", kurvalux_platform::FormatRaSexagesimal(star.star_ra));
    if (star.star_dec != kUnknownDec)
        w.Quoted("star_dec", kurvalux_platform::FormatDecSexagesimal(star.star_dec));
    if (!star.catalog.empty()) w.Quoted("catalog", star.catalog);
    if (!star.catalog_id.empty()) w.Quoted("catalog_id", star.catalog_id);
    if (star.catalog_ra != kUnknownRa) w.Number("catalog_ra", star.catalog_ra);
    if (star.catalog_dec != kUnknownDec) w.Number("catalog_dec", star.catalog_dec);
    if (star.catalog_mag != kUndefinedMagnitude) w.Number("catalog_mag", star.catalog_mag);
    if (star.catalog_bv != kUndefinedMagnitude) w.Number("catalog_bv", star.catalog_bv);
    if (star.catalog_jk != kUndefinedMagnitude) w.Number("catalog_jk", star.catalog_jk);
    w.End(end);
}

void WriteNotes(CKeywordWriter& w, const std::string& notes) {
    w.Begin("notes");
    size_t start = 0;
    while (start < notes.size()) {
        size_t end = notes.find("\r\n", start);
        if (end == std::string::npos) end = notes.size();
        w.Quoted("line", std::string_view(notes).substr(start, end - start));
        start = end + 2;
    }
    w.End("end_notes");
}

}  // namespace

void WriteMetaData(CKeywordWriter& w, const CMetaData& meta) {
    w.Begin("meta_data");
    if (meta.var_aperture != 0) w.Number("var_aperture", meta.var_aperture);
    if (meta.cmp_aperture != 0) w.Number("cmp_aperture", meta.cmp_aperture);
    if (meta.chk_aperture != 0) w.Number("chk_aperture", meta.chk_aperture);
    if (meta.jd_type == kJdGeocentric) w.Raw("jd_type", "geocentric");
    if (meta.jd_type == kJdHeliocentric) w.Raw("jd_type", "heliocentric");
    if (meta.value_unit == kUnitMagnitude) w.Raw("value_unit", "magnitude");
    if (meta.value_unit == kUnitFlux) w.Raw("value_unit", "flux");
    if (!meta.filter.empty()) w.Quoted("filter", meta.filter);
    if (!meta.var.IsEmpty()) WriteStar(w, meta.var, "var", "end_var");
    for (size_t i = 0; i < meta.cmp.size(); ++i)
        WriteStar(w, meta.cmp[i], "cmp" + std::to_string(i), "end_cmp" + std::to_string(i));
    for (size_t i = 0; i < meta.chk.size(); ++i)
        WriteStar(w, meta.chk[i], "chk" + std::to_string(i), "end_chk" + std::to_string(i));
    w.End("end_meta_data");
}

void WriteMinimum(CKeywordWriter& w, const CMinimaListElem& minimum) {
    w.Begin("minimum");
    w.Raw("type", minimum.type == kMinimumPrimary     ? "primary"
                  : minimum.type == kMinimumSecondary ? "secondary"
                                                      : "any");
    w.Number("time", minimum.time);
    w.Number("error", minimum.error);
    w.Boolean("enabled", minimum.enabled);
    w.End("end_minimum");
}

void WriteFit(CKeywordWriter& w, const LightCurveParameters& fit) {
    w.Begin("fit");
    for (size_t index : kLightCurveFileOrder) w.Number(kLightCurveParameterKeys[index], fit[index]);
    w.End("end_fit");
}

void WriteWebSeriesLocalData(CKeywordWriter& w, const CWebSeriesLocalDataTreeElem& entry) {
    w.Begin("web_series");
    w.Raw("user_id", entry.user_id);
    w.Raw("file_time", kurvalux_platform::FormatHex(entry.file_time));
    w.Number("offset", entry.offset);
    w.Boolean("enabled", entry.enabled);
    if (!entry.meta_data.IsEmpty()) WriteMetaData(w, entry.meta_data);
    for (const CMinimaListElem& minimum : entry.minima) WriteMinimum(w, minimum);
    w.End("end_web_series");
}

void CLocalSeriesTreeElem::Write(CKeywordWriter& w) const {
    w.Begin("series");
    w.Quoted("absolute_path", absolute_path);
    w.Quoted("relative_path", relative_path);
    w.Number("offset", offset);
    w.Boolean("enabled", enabled);
    WriteMetaData(w, meta_data);
    for (const CMinimaListElem& minimum : minima) WriteMinimum(w, minimum);
    w.End("end_series");
}

// A web series' user data (offset, switch, meta-data, minima) lives in its local-data entry,
// which the object writes after its series; writing it here too would duplicate it.
// A web series writes what the field keeps about it (its points stay in the repository cache);
// the block reads back as its local-data entry.
void CWebSeriesTreeElem::Write(CKeywordWriter& w) const {
    CWebSeriesLocalDataTreeElem entry;
    entry.user_id = user_id;
    entry.file_time = file_time;
    entry.offset = offset;
    entry.enabled = enabled;
    entry.meta_data = meta_data;
    entry.minima = minima;
    WriteWebSeriesLocalData(w, entry);
}

void WriteObject(CKeywordWriter& w, const CObjectListElem& o) {
    w.Begin("object");
    if (!o.token.empty()) w.Quoted("token", o.token);
    if (!o.publisher.empty()) w.Quoted("publisher", o.publisher);
    w.Quoted("name", o.name);
    if (!o.alternate_name.empty()) w.Quoted("alternate_name", o.alternate_name);
    if (!o.variability_type.empty()) w.Quoted("variability_type", o.variability_type);
    if (!o.comment.empty()) w.Quoted("comment", o.comment);
    w.Number("m0", o.m0, 7);
    w.Number("period", o.period, 7);
    w.Number("saved_m0", o.saved_m0, 7);
    w.Number("saved_period", o.saved_period, 7);
    w.Number("primary_fit_time_range", o.primary_fit_time_range, 7);
    w.Number("secondary_fit_time_range", o.secondary_fit_time_range, 7);
    if (o.max_magnitude != kUndefinedMagnitude) w.Number("max_magnitude", o.max_magnitude, 3);
    if (o.min_magnitude != kUndefinedMagnitude) w.Number("min_magnitude", o.min_magnitude, 3);
    // The period stands here a second time; readers take the last one.
    w.Number("period", o.period, 7);
    w.Quoted("absolute_path", o.absolute_path);
    w.Quoted("relative_path", o.relative_path);
    w.Quoted("dir_key", o.dir_key);
    w.Quoted("file_names", o.file_names);
    w.Number("offset_amplitude", o.offset_amplitude);
    w.Number("period_amplitude", o.period_amplitude);
    w.Integer("meta_data_source", o.meta_data_source);
    if (!o.meta_data.IsEmpty()) WriteMetaData(w, o.meta_data);
    if (o.has_fit) WriteFit(w, o.fit);
    w.Boolean("use_export_fit_name", o.use_export_fit_name);
    if (!o.export_fit_name.empty()) w.Quoted("export_fit_name", o.export_fit_name);
    if (!o.export_fit_prefix.empty()) w.Quoted("export_fit_prefix", o.export_fit_prefix);
    if (!o.export_fit_postfix.empty()) w.Quoted("export_fit_postfix", o.export_fit_postfix);
    if (!o.notes.empty()) WriteNotes(w, o.notes);
    // Unavailable series go back where they stood among the others, so that a field saved
    // while some of its files are missing is written as it was read.
    auto unavailable = o.unavailable_series.begin();
    for (const auto& series : o.series) {
        for (; unavailable != o.unavailable_series.end() &&
               unavailable->after_time < series->FirstTime();
             ++unavailable)
            unavailable->series->Write(w);
        series->Write(w);
    }
    for (; unavailable != o.unavailable_series.end(); ++unavailable) unavailable->series->Write(w);
    for (const auto& entry : o.web_series_local_data) WriteWebSeriesLocalData(w, *entry);
    w.End("end_object");
}

}  // namespace kurvalux_data
