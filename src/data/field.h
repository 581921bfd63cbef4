#pragma once
// The Field: the program's one document. An ordered list of objects (stars), each with its
// photometry series, the minima timed on them, meta-data, an ephemeris and the parameters of
// the light-curve model. Unset values are sentinels, not flags.
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "data/light_curve_parameters.h"

namespace kurvalux_data {

// Capacities of the fixed-size texts, in bytes (longer input is cut, never refused).
constexpr size_t kNameCapacity = 63;
constexpr size_t kAlternateNameCapacity = 63;
constexpr size_t kVariabilityTypeCapacity = 31;
constexpr size_t kCommentCapacity = 255;
constexpr size_t kTokenCapacity = 15;
constexpr size_t kPublisherCapacity = 63;
constexpr size_t kFilterCapacity = 15;
constexpr size_t kPathCapacity = 259;
constexpr size_t kNotesLineCapacity = 1023;
constexpr size_t kStarNameCapacity = 31;
constexpr size_t kCatalogCapacity = 15;
constexpr size_t kCatalogIdCapacity = 31;
constexpr size_t kUserIdCapacity = 63;

constexpr double kUnknownRa = -1.0;
constexpr double kUnknownDec = 91.0;
constexpr double kUndefinedMagnitude = 100.0;
constexpr size_t kMaxReferenceStars = 10;  // comparison and check stars each

enum JdType : uint32_t { kJdUnknown = 0, kJdGeocentric = 1, kJdHeliocentric = 2 };
enum ValueUnit : uint32_t { kUnitUnknown = 0, kUnitMagnitude = 1, kUnitFlux = 2 };
enum MinimumType : uint32_t { kMinimumUndefined = 0, kMinimumPrimary = 1, kMinimumSecondary = 2 };

// One star: the variable, a comparison or a check star. Positions in radians, catalogue
// position in degrees.
struct CStarRecord {
    std::string star_name;  // 31
    double star_ra = kUnknownRa;
    double star_dec = kUnknownDec;
    std::string catalog;     // 15
    std::string catalog_id;  // 31
    double catalog_ra = kUnknownRa;
    double catalog_dec = kUnknownDec;
    double catalog_mag = kUndefinedMagnitude;
    double catalog_bv = kUndefinedMagnitude;
    double catalog_jk = kUndefinedMagnitude;

    bool HasPosition() const { return star_ra != kUnknownRa && star_dec != kUnknownDec; }
    bool IsEmpty() const;
    bool operator==(const CStarRecord&) const = default;
};

class CMetaData {
public:
    virtual ~CMetaData() = default;
    double var_aperture = 0;
    double cmp_aperture = 0;
    double chk_aperture = 0;
    uint32_t jd_type = kJdUnknown;
    uint32_t value_unit = kUnitUnknown;
    std::string filter;  // 15
    CStarRecord var;
    std::vector<CStarRecord> cmp;  // at most 10
    std::vector<CStarRecord> chk;  // at most 10

    bool IsEmpty() const;
    bool operator==(const CMetaData&) const = default;
};

// The upper layer (a series' own meta-data from the field file) laid over the lower one (its
// photometry file's header): a nonzero aperture, a known JD type or unit, a set text and a
// known coordinate of the upper layer win.
CMetaData MergeMetaData(const CMetaData& upper, const CMetaData& lower);

struct CMinimaListElem {
    uint32_t type = kMinimumUndefined;
    double time = 0;
    double error = 0;
    bool enabled = true;
    bool operator==(const CMinimaListElem&) const = default;
};
using CMinimaList = std::vector<CMinimaListElem>;

class CKeywordScanner;
class CKeywordWriter;

class CSeriesTreeElem {
public:
    // 1 when this series' first time is greater than the other's, 0 when equal, -1 when less.
    virtual int Compare(const CSeriesTreeElem& other) const;
    virtual ~CSeriesTreeElem() = default;
    virtual void Write(CKeywordWriter& writer) const;
    virtual bool Read(CKeywordScanner& scanner);
    virtual bool IsLocal() const { return false; }

    size_t Count() const { return times.size(); }
    double FirstTime() const { return times.empty() ? 0.0 : times.front(); }
    double LastTime() const { return times.empty() ? 0.0 : times.back(); }
    // Own meta-data over the file's.
    CMetaData EffectiveMetaData() const { return MergeMetaData(meta_data, file_meta_data); }
    // Own unit, else the file's, else magnitude.
    uint32_t EffectiveValueUnit() const;
    // The value as charts and fits see it: magnitude + offset, or flux times the factor.
    double AdjustedValue(size_t i, bool is_flux) const {
        return is_flux ? values[i] * offset : values[i] + offset;
    }

    CMetaData meta_data;         // edited by the user, kept in the field file
    CMetaData file_meta_data;    // from the photometry file's header
    std::vector<double> times;   // JD
    std::vector<double> values;  // magnitude or flux
    std::vector<double> errors;
    uint64_t file_time = 0;  // last-write time of the source, Windows file time
    double offset = 0;       // magnitude offset or flux factor
    CMinimaList minima;
    bool enabled = true;
    bool hjd_converted = false;
    bool hjd_accurate = false;  // converted by the accurate method rather than the short formula
};

class CLocalSeriesTreeElem : public CSeriesTreeElem {
public:
    void Write(CKeywordWriter& writer) const override;
    bool Read(CKeywordScanner& scanner) override;
    bool IsLocal() const override { return true; }
    std::string absolute_path;  // 259
    std::string relative_path;  // 259
};

// A series whose points came from the web repository's cache.
class CWebSeriesTreeElem : public CSeriesTreeElem {
public:
    void Write(CKeywordWriter& writer) const override;
    std::string user_id;    // 63
    std::string publisher;  // 63
};

// What the Field keeps locally about one web series.
class CWebSeriesLocalDataTreeElem {
public:
    virtual ~CWebSeriesLocalDataTreeElem() = default;
    // By user id as text, then by file time.
    int Compare(const CWebSeriesLocalDataTreeElem& other) const;
    std::string user_id;  // 63
    uint64_t file_time = 0;
    double offset = 0;
    bool enabled = true;
    CMetaData meta_data;
    CMinimaList minima;
};

// A trial period with its score (period searches) and its key, the period in thousandths of
// a day.
struct CPeriodListElem {
    double period = 0;
    int64_t key = 0;
    double coherence = 0;
    // The search from minima also fits the period to the minima with the cycle counts of the
    // key's best trial period; 0 when not refined. Choosing the entry takes this period.
    double refined = 0;
    double refined_error = 0;
    // The period that choosing this entry puts into "P:".
    double Chosen() const { return refined > 0 ? refined : period; }
};

// One assignment of primary (1) / secondary (0) flags to the minima of a period search.
struct CVariantListElem {
    std::vector<uint8_t> flags;
};

struct CPathListElem {
    std::string path;
};

// Converts the times [first, last) of a series from geocentric to heliocentric JD.
void ConvertToHeliocentric(CSeriesTreeElem& series, double ra, double dec, size_t first,
                           size_t last);

// A series whose photometry file could not be read when the field was loaded (moved,
// renamed, on a drive that is not mounted). Nothing is drawn or fitted from it, but its block
// (paths, offset, switch, meta-data and the minima timed on it) is kept as it was read and
// written back unchanged until the user removes it or its file is found again.
struct CUnavailableSeries {
    std::unique_ptr<CLocalSeriesTreeElem> series;
    std::string path;    // the path tried last
    std::string reason;  // why it could not be read
    // Where it stood among the object's series: the first time of the series before it in the
    // field file, -infinity when it came first. The writer puts it back in that place.
    double after_time = -HUGE_VAL;
};

uint64_t NextObjectSerial();

class CObjectListElem {
public:
    CObjectListElem() = default;
    virtual ~CObjectListElem() = default;
    CObjectListElem(const CObjectListElem&) = delete;
    CObjectListElem& operator=(const CObjectListElem&) = delete;

    // Unique for the life of the process: work that finishes later (a repository request, a
    // catalogue lookup) finds its object again by this, never by an address that a deleted
    // object's successor may reuse.
    const uint64_t serial = NextObjectSerial();

    std::string token;             // 15
    std::string publisher;         // 63
    std::string name;              // 63
    std::string alternate_name;    // 63
    std::string comment;           // 255
    std::string variability_type;  // 31
    double min_magnitude = kUndefinedMagnitude;
    double max_magnitude = kUndefinedMagnitude;
    CMetaData meta_data;
    uint32_t meta_data_source = 4;
    double m0 = 0;
    double period = 0;
    double saved_m0 = 0;
    double saved_period = 0;
    double primary_fit_time_range = 0;
    double secondary_fit_time_range = 0;
    std::string absolute_path;  // 259
    std::string relative_path;  // 259
    std::string dir_key;        // 259
    std::string file_names;     // 259
    double offset_amplitude = 0.1;
    double period_amplitude = 0.1;
    LightCurveParameters fit = kDefaultLightCurveParameters;
    bool has_fit = false;
    bool use_export_fit_name = true;
    std::string export_fit_name;
    std::string export_fit_prefix;
    std::string export_fit_postfix;
    std::string notes;  // lines separated by CR LF
    bool is_flux = false;

    // Local and web series together, ordered by the time of their first point.
    std::vector<std::unique_ptr<CSeriesTreeElem>> series;
    // Ordered by user id and file time.
    std::vector<std::unique_ptr<CWebSeriesLocalDataTreeElem>> web_series_local_data;
    // Candidate periods offered by the "P:" box; best first.
    std::vector<CPeriodListElem> periods;
    // Series kept from the field file whose photometry cannot be read now, in file order.
    std::vector<CUnavailableSeries> unavailable_series;

    size_t SeriesCount() const { return series.size(); }

    // Adds a loaded series by the rules of the model: a duplicate first point time or a value
    // type different from the object's is refused (the series is destroyed and `message`
    // receives the box lines, `path` naming the file); a flux series gets factor 1.0 instead of
    // a non-positive offset; geocentric times are converted to heliocentric ones where the
    // object's coordinates are known.
    bool AddSeries(std::unique_ptr<CSeriesTreeElem> series, const std::string& path,
                   std::vector<std::string>& message);
    // The same, but a heliocentric conversion it decides on converts only the first and the
    // last time at once (they order the series and measure its span) and leaves the rest to
    // the caller, which can spread it over threads: `deferred` names the series and the star.
    struct DeferredConversion {
        CSeriesTreeElem* series = nullptr;
        double ra = 0, dec = 0;
    };
    bool AddSeries(std::unique_ptr<CSeriesTreeElem> series, const std::string& path,
                   std::vector<std::string>& message, DeferredConversion* deferred);
    // Inserts a web-series local-data entry; refuses one with the same user id and file time.
    bool AddWebSeriesLocalData(std::unique_ptr<CWebSeriesLocalDataTreeElem> entry);

    // The series whose meta-data describes the object, or null.
    const CSeriesTreeElem* ReferenceSeries() const;
    // The object's coordinates in radians; false (and RA -1, Dec 91) when unknown.
    bool Coordinates(double& ra, double& dec) const;
    // After reading: a zero saved_m0 takes m0, a zero saved_period a nonzero period.
    void CompleteSavedEphemeris();
};

class Field {
public:
    std::vector<std::unique_ptr<CObjectListElem>> objects;

    CObjectListElem& AddObject();
    void Clear() { objects.clear(); }
    CObjectListElem* FindObject(const std::string& name);
};

}  // namespace kurvalux_data
