#include "data/photometry.h"

#include <algorithm>
#include <cmath>

#include "data/number_syntax.h"
#include "platform/files.h"
#include "platform/text.h"

namespace kurvalux_data {
namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}
bool IsLineEnd(char c) {
    return c == '\r' || c == '\n';
}
bool IsWordEnd(char c) {
    return static_cast<unsigned char>(c) < 33 || c == ',' || c == ';';
}
bool IsHeaderLetter(char c) {
    return (c >= 'A' && c <= 'X') || (c >= 'a' && c <= 'x');
}

// A cursor over one header line.
class LineCursor {
public:
    LineCursor(const char* p, const char* end) : p_(p), end_(end) {}
    bool AtEnd() {
        SkipSeparators();
        return p_ >= end_;
    }
    void SkipSeparators() {
        while (p_ < end_ && (IsBlank(*p_) || *p_ == ',' || *p_ == ';')) ++p_;
    }
    // The next word (at most 63 characters kept), upper-cased.
    std::string UpperWord() { return kurvalux_platform::ToUpperAscii(Word(63)); }
    // The next word as written; a value in double quotes may hold blanks.
    std::string Word(size_t capacity) {
        SkipSeparators();
        const char* begin = p_;
        if (p_ < end_ && *p_ == '"') {
            ++begin;
            ++p_;
            while (p_ < end_ && *p_ != '"') ++p_;
            std::string word(begin, std::min<size_t>(p_ - begin, capacity));
            if (p_ < end_) ++p_;
            return word;
        }
        while (p_ < end_ && !IsWordEnd(*p_)) ++p_;
        if (p_ == begin && p_ < end_) {  // a stray control character: step over it
            ++p_;
            return {};
        }
        return std::string(begin, std::min<size_t>(p_ - begin, capacity));
    }
    // A decimal number of the keyword syntax; leaves the cursor unmoved when there is none.
    bool Number(double& value) {
        SkipSeparators();
        const char* q = p_;
        if (!ParseDecimalNumber(q, end_, value) || (q < end_ && !IsWordEnd(*q) && *q != ':'))
            return false;
        p_ = q;
        return true;
    }
    // Up to three numeric fields separated by ":" or blanks, with an optional sign ahead:
    // "12:34:56.7", "12 34 56.7", "-05:06:07".
    bool Sexagesimal(double& value, bool (*parse)(std::string_view, double&)) {
        SkipSeparators();
        const char* begin = p_;
        const char* q = p_;
        if (q < end_ && (*q == '+' || *q == '-')) ++q;
        int fields = 0;
        while (fields < 3) {
            while (q < end_ && (IsBlank(*q) || (fields > 0 && *q == ':'))) ++q;
            const char* start = q;
            double ignored;
            if (!ParseDecimalNumber(q, end_, ignored) || (*start == '+' || *start == '-')) {
                q = start;
                break;
            }
            if (q < end_ && !IsWordEnd(*q) && *q != ':') return false;
            ++fields;
            p_ = q;
        }
        if (fields == 0) {
            p_ = begin;
            return false;
        }
        return parse(std::string_view(begin, p_ - begin), value);
    }
    // Leaves the rest of a word that did not parse as a value.
    void SkipWord() {
        SkipSeparators();
        while (p_ < end_ && !IsWordEnd(*p_)) ++p_;
    }

private:
    const char* p_;
    const char* end_;
};

CStarRecord& StarSlot(std::vector<CStarRecord>& stars, size_t index) {
    if (stars.size() <= index) stars.resize(index + 1);
    return stars[index];
}

// "VAR", "CMP<n>" or "CHK<n>": the star record that the rest of the line describes.
CStarRecord* StarRecordFor(const std::string& word, CMetaData& meta) {
    if (word == "VAR") return &meta.var;
    if (word.size() < 4 || (word.compare(0, 3, "CMP") != 0 && word.compare(0, 3, "CHK") != 0))
        return nullptr;
    size_t index = 0;
    for (size_t i = 3; i < word.size(); ++i) {
        if (!IsDecimalDigit(word[i])) return nullptr;
        index = index * 10 + static_cast<size_t>(word[i] - '0');
        if (index >= kMaxReferenceStars) return nullptr;
    }
    return &StarSlot(word[1] == 'M' ? meta.cmp : meta.chk, index);
}

void ReadStarPairs(LineCursor& line, CStarRecord& star) {
    while (!line.AtEnd()) {
        const std::string key = line.UpperWord();
        double value = 0;
        if (key == "NAME:") {
            star.star_name = line.Word(kStarNameCapacity);
        } else if (key == "RA:") {
            if (line.Sexagesimal(value, kurvalux_platform::ParseRaSexagesimal)) star.star_ra = value * M_PI / 12.0;
        } else if (key == "DEC:") {
            if (line.Sexagesimal(value, kurvalux_platform::ParseDecSexagesimal)) star.star_dec = value * M_PI / 180.0;
        } else if (key == "CATALOG:") {
            star.catalog = line.Word(kCatalogCapacity);
        } else if (key == "CATALOGID:") {
            star.catalog_id = line.Word(kCatalogIdCapacity);
        } else if (key == "CATALOGRA:") {
            if (line.Number(value)) star.catalog_ra = value;
        } else if (key == "CATALOGDEC:") {
            if (line.Number(value)) star.catalog_dec = value;
        } else if (key == "CATALOGMAG:") {
            if (line.Number(value)) star.catalog_mag = value;
        } else if (key == "CATALOGB-V:") {
            if (line.Number(value)) star.catalog_bv = value;
        } else if (key == "CATALOGJ-K:") {
            if (line.Number(value)) star.catalog_jk = value;
        }
    }
}

void ReadHeaderPairs(LineCursor& line, CMetaData& meta, std::string first) {
    for (std::string key = std::move(first);; key = line.UpperWord()) {
        double value = 0;
        if (key == "VARAPERTURE:" || key == "APERTURE:") {
            if (line.Number(value) && value >= 0) meta.var_aperture = value;
        } else if (key == "CMPAPERTURE:") {
            if (line.Number(value) && value >= 0) meta.cmp_aperture = value;
        } else if (key == "CHKAPERTURE:") {
            if (line.Number(value) && value >= 0) meta.chk_aperture = value;
        } else if (key == "JD:") {
            const std::string word = line.UpperWord();
            if (word == "HELIOCENTRIC")
                meta.jd_type = kJdHeliocentric;
            else if (word == "GEOCENTRIC")
                meta.jd_type = kJdGeocentric;
        } else if (key == "UNIT:") {
            const std::string word = line.UpperWord();
            if (word == "MAGNITUDE")
                meta.value_unit = kUnitMagnitude;
            else if (word == "FLUX")
                meta.value_unit = kUnitFlux;
        } else if (key == "FILTER:") {
            meta.filter = line.Word(kFilterCapacity);
        }
        if (line.AtEnd()) return;
    }
}

void ReadHeaderLine(const char* p, const char* end, CMetaData& meta) {
    while (p < end && !IsHeaderLetter(*p)) ++p;  // any comment prefix
    if (p >= end) return;
    LineCursor line(p, end);
    std::string first = line.UpperWord();
    if (CStarRecord* star = StarRecordFor(first, meta)) {
        ReadStarPairs(line, *star);
        return;
    }
    ReadHeaderPairs(line, meta, std::move(first));
}

enum class DataLine { Data, NotData, OutOfRange };

// Reads "time value [error]" at p. A line whose numbers stand where data stands but one of
// them is out of range is reported with that number's position in `bad`.
inline DataLine ReadDataLine(const char* p, const char* end, double& t, double& v, double& e,
                             const char*& bad) {
    while (p < end && IsBlank(*p)) ++p;
    bad = p;
    NumberParse parsed = ParseDecimalNumberChecked(p, end, t);
    if (parsed == NumberParse::NotANumber) return DataLine::NotData;
    if (p >= end || !IsBlank(*p)) return DataLine::NotData;
    while (p < end && IsBlank(*p)) ++p;
    const char* value_start = p;
    const NumberParse value = ParseDecimalNumberChecked(p, end, v);
    if (value == NumberParse::NotANumber) return DataLine::NotData;
    if (parsed == NumberParse::OutOfRange) return DataLine::OutOfRange;
    if (value == NumberParse::OutOfRange) {
        bad = value_start;
        return DataLine::OutOfRange;
    }
    e = 0;
    if (p < end && IsBlank(*p)) {
        while (p < end && IsBlank(*p)) ++p;
        const char* error_start = p;
        parsed = ParseDecimalNumberChecked(p, end, e);
        if (parsed == NumberParse::OutOfRange) {
            bad = error_start;
            return DataLine::OutOfRange;
        }
        if (parsed == NumberParse::NotANumber) e = 0;
    }
    return DataLine::Data;
}

// "Number out of range in line 12: 24599999999999999999…", at most 79 characters.
std::string OutOfRangeMessage(size_t line, const char* bad, const char* end) {
    const char* q = bad;
    while (q < end && !IsBlank(*q)) ++q;
    std::string message = "Number out of range in line " + std::to_string(line) + ": ";
    message.append(bad, q);
    return kurvalux_platform::Cut(message, 79);
}

}  // namespace

size_t ParsePhotometry(std::string_view text, CSeriesTreeElem& series, std::string* error) {
    series.times.clear();
    series.values.clear();
    series.errors.clear();
    series.file_meta_data = CMetaData{};
    // Rows are about 30 bytes; one reservation saves the repeated growth.
    const size_t estimate = text.size() / 28 + 16;
    series.times.reserve(estimate);
    series.values.reserve(estimate);
    series.errors.reserve(estimate);

    const char* p = text.data();
    const char* const end = p + text.size();
    const char* line_start = p;
    size_t line = 1;
    while (p < end) {
        while (p < end && IsLineEnd(*p)) ++p;
        if (p >= end) break;
        const char* line_end = p;
        while (line_end < end && !IsLineEnd(*line_end)) ++line_end;
        double t = 0, v = 0, e = 0;
        const char* bad = nullptr;
        switch (ReadDataLine(p, line_end, t, v, e, bad)) {
            case DataLine::Data:
                if (v < kMissingValue) {
                    series.times.push_back(t);
                    series.values.push_back(v);
                    series.errors.push_back(e);
                }
                break;
            case DataLine::NotData:
                ReadHeaderLine(p, line_end, series.file_meta_data);
                break;
            case DataLine::OutOfRange: {
                // A run-away time or value cannot be plotted, fitted or written back: the
                // file is refused with the line to correct rather than read without it.
                if (error) {
                    line += static_cast<size_t>(std::count(line_start, p, '\n'));
                    *error = OutOfRangeMessage(line, bad, line_end);
                }
                series.times.clear();
                series.values.clear();
                series.errors.clear();
                return 0;
            }
        }
        p = line_end;
    }
    return series.times.size();
}

bool LoadSeriesData(CLocalSeriesTreeElem& series, const PathBases& bases, std::string& error,
                    std::string& path) {
    const ResolvedPath resolved =
        ResolveSeriesPath(series.absolute_path, series.relative_path, bases);
    path = resolved.path;
    if (!resolved.found) {
        error = kurvalux_platform::Cut("Cannot open file: " + resolved.path, 79);
        return false;
    }
    std::string text;
    switch (kurvalux_platform::ReadWholeFile(resolved.path, kMaxPhotometryFileSize, text)) {
        case kurvalux_platform::ReadStatus::CannotOpen:
            error = kurvalux_platform::Cut("Cannot open file: " + resolved.path, 79);
            return false;
        case kurvalux_platform::ReadStatus::TooBig:
            error = "File too big (> 16 MB)";
            return false;
        case kurvalux_platform::ReadStatus::Ok:
            break;
    }
    kurvalux_platform::AssignCut(series.absolute_path, resolved.absolute, kPathCapacity);
    kurvalux_platform::AssignCut(series.relative_path, resolved.relative, kPathCapacity);
    series.file_time = kurvalux_platform::LastWriteFileTime(resolved.path);
    std::string parse_error;
    if (ParsePhotometry(text, series, &parse_error) == 0) {
        error = parse_error.empty() ? "No data points in file" : parse_error;
        return false;
    }
    return true;
}

}  // namespace kurvalux_data
