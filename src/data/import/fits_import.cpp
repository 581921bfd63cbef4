// TESS and Kepler light curves: FITS files whose light-curve binary table holds one row per
// cadence (TIME, the flux columns with their errors, QUALITY), read with cfitsio.
//
// The missions count time as BJD_TDB minus a reference (BJDREFI + BJDREFF: 2457000 for TESS,
// 2454833 for Kepler and K2), already corrected to the solar-system barycentre. Flux is in
// electrons per second, thousands to millions for the stars observers follow; the photometry
// files of this program read a value of 99 or more as missing, and a light curve is compared
// by its shape, so each cadence is divided by the median flux of the kept cadences: the series
// is relative flux around 1. Cadences the pipeline flagged (non-zero QUALITY: momentum dumps,
// scattered light, cosmic rays, ...) and those without a time or a flux are left out and
// counted per reason.
#include <fitsio.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

#include "data/import/photometry_import.h"
#include "data/photometry.h"
#include "platform/files.h"
#include "platform/text.h"

namespace kurvalux_data {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The open file, closed on every way out; cfitsio's stack of error messages is cleared too, so
// that one refused file leaves nothing behind for the next.
class OpenFits {
public:
    OpenFits() = default;
    OpenFits(const OpenFits&) = delete;
    OpenFits& operator=(const OpenFits&) = delete;
    ~OpenFits() {
        int status = 0;
        if (file_) fits_close_file(file_, &status);
        fits_clear_errmsg();
    }
    fitsfile** Out() { return &file_; }
    fitsfile* Get() const { return file_; }

private:
    fitsfile* file_ = nullptr;
};

std::string CfitsioText(int status) {
    char text[FLEN_STATUS] = "";
    fits_get_errstatus(status, text);
    return "cfitsio: " + std::string(text);
}

std::string Upper(std::string_view s) {
    return kurvalux_platform::ToUpperAscii(std::string(s));
}

ImportResult Refuse(ImportResult result, const std::string& message) {
    result.ok = false;
    result.series.clear();
    result.message = kurvalux_platform::Cut(message, 200);
    return result;
}

// The header keys this reader uses. The primary header holds the target (OBJECT, TICID or
// KEPLERID, RA_OBJ, DEC_OBJ, TELESCOP), the light-curve table its time reference; a key
// missing where it belongs is looked for in the other header as well.
struct Header {
    std::optional<std::string> telescope, object, mission, time_system;
    std::optional<long long> tic, kic;
    std::optional<double> ra, dec, reference_integer, reference_fraction;
};

void ReadText(fitsfile* file, const char* key, std::optional<std::string>& out) {
    if (out) return;
    char value[FLEN_VALUE] = "";
    int status = 0;
    if (fits_read_key(file, TSTRING, key, value, nullptr, &status) == 0)
        out = std::string(kurvalux_platform::TrimBlanks(value));
}

void ReadReal(fitsfile* file, const char* key, std::optional<double>& out) {
    if (out) return;
    double value = 0;
    int status = 0;
    if (fits_read_key(file, TDOUBLE, key, &value, nullptr, &status) == 0 && std::isfinite(value))
        out = value;
}

void ReadInteger(fitsfile* file, const char* key, std::optional<long long>& out) {
    if (out) return;
    LONGLONG value = 0;
    int status = 0;
    if (fits_read_key(file, TLONGLONG, key, &value, nullptr, &status) == 0) out = value;
}

void ReadHeader(fitsfile* file, Header& h) {
    ReadText(file, "TELESCOP", h.telescope);
    ReadText(file, "OBJECT", h.object);
    ReadText(file, "MISSION", h.mission);
    ReadText(file, "TIMESYS", h.time_system);
    ReadInteger(file, "TICID", h.tic);
    ReadInteger(file, "KEPLERID", h.kic);
    ReadReal(file, "RA_OBJ", h.ra);
    ReadReal(file, "DEC_OBJ", h.dec);
    ReadReal(file, "BJDREFI", h.reference_integer);
    ReadReal(file, "BJDREFF", h.reference_fraction);
    fits_clear_errmsg();  // the keys not found
}

std::optional<int> ColumnNumber(fitsfile* file, const std::string& name) {
    // cfitsio matches a template: "*", "?" and "#" would pick some other column.
    if (name.empty() || name.find_first_of("*?#") != std::string::npos) return std::nullopt;
    std::string templ = name;
    int number = 0, status = 0;
    if (fits_get_colnum(file, CASEINSEN, templ.data(), &number, &status) != 0) return std::nullopt;
    return number;
}

// Moves to the light-curve table: the binary table named LIGHTCURVE, else the first binary
// table with a TIME column. `where` names it in messages ("HDU 2 (LIGHTCURVE)").
bool MoveToLightCurve(fitsfile* file, std::string& where, std::string& message) {
    std::string name = "LIGHTCURVE";
    int status = 0, number = 0;
    if (fits_movnam_hdu(file, BINARY_TBL, name.data(), 0, &status) == 0) {
        fits_get_hdu_num(file, &number);
        where = "HDU " + std::to_string(number) + " (LIGHTCURVE)";
        return true;
    }
    for (number = 2;; ++number) {
        int type = 0;
        status = 0;
        if (fits_movabs_hdu(file, number, &type, &status) != 0) break;
        if (type != BINARY_TBL || !ColumnNumber(file, "TIME")) continue;
        std::optional<std::string> extension;
        ReadText(file, "EXTNAME", extension);
        where = "HDU " + std::to_string(number);
        if (extension && !extension->empty()) where += " (" + *extension + ")";
        return true;
    }
    message = "No light-curve table: no binary table named LIGHTCURVE or with a TIME column";
    if (status != END_OF_FILE && status != BAD_HDU_NUM)
        message += " (HDU " + std::to_string(number) + ": " + CfitsioText(status) + ")";
    return false;
}

// A whole column in one call, as doubles; cfitsio gives undefined values (IEEE NaN in float
// columns, TNULL in integer ones) as NaN.
bool ReadColumn(fitsfile* file, int column, const std::string& name, LONGLONG rows,
                const std::string& where, std::vector<double>& out, std::string& message) {
    int type = 0, status = 0;
    LONGLONG repeat = 0, width = 0;
    if (fits_get_coltypell(file, column, &type, &repeat, &width, &status) == 0 &&
        (type == TSTRING || type < 0 || repeat != 1)) {
        message = where + ": column " + name + " does not hold one number per row";
        return false;
    }
    out.assign(static_cast<size_t>(rows), kNaN);
    double null_value = kNaN;
    int any_null = 0;
    if (status == 0 && rows > 0)
        fits_read_col(file, TDOUBLE, column, 1, 1, rows, &null_value, out.data(), &any_null,
                      &status);
    if (status != 0) {
        message = where + ": column " + name + " cannot be read (" + CfitsioText(status) + ")";
        return false;
    }
    return true;
}

double Median(std::vector<double> values) {
    const size_t half = values.size() / 2;
    std::nth_element(values.begin(), values.begin() + half, values.end());
    const double upper = values[half];
    if (values.size() % 2) return upper;
    return (*std::max_element(values.begin(), values.begin() + half) + upper) / 2;
}

std::string StarName(const Header& h) {
    if (h.object && !h.object->empty()) return *h.object;
    if (h.tic) return "TIC " + std::to_string(*h.tic);
    // K2 kept Kepler's keyword for its own catalogue (EPIC) numbers.
    if (h.kic)
        return (h.mission && Upper(*h.mission) == "K2" ? "EPIC " : "KIC ") + std::to_string(*h.kic);
    return "";
}

std::string FilterName(const Header& h) {
    if (!h.telescope) return "";
    const std::string u = Upper(*h.telescope);
    if (u == "TESS") return "TESS";
    if (u == "KEPLER") return "Kepler";
    return *h.telescope;
}

// The table's rows must lie within the file: a truncated file, or a damaged NAXIS2, would
// otherwise have every column's buffer sized for rows that are not there.
bool RowsInFile(fitsfile* file, LONGLONG rows, uint64_t file_size) {
    LONGLONG width = 0, head = 0, data = 0, end = 0;
    int status = 0;
    fits_read_key(file, TLONGLONG, "NAXIS1", &width, nullptr, &status);
    fits_get_hduaddrll(file, &head, &data, &end, &status);
    if (status != 0 || width < 0 || data < 0 || static_cast<uint64_t>(data) > file_size)
        return false;
    if (rows == 0) return true;
    return width > 0 && static_cast<uint64_t>(rows) <= (file_size - static_cast<uint64_t>(data)) /
                                                           static_cast<uint64_t>(width);
}

ImportResult ReadLightCurve(fitsfile* file, const ImportOptions& options, uint64_t file_size) {
    ImportResult result;
    result.format = ImportFormat::kFits;
    Header header;
    ReadHeader(file, header);  // the primary header
    std::string where, message;
    if (!MoveToLightCurve(file, where, message)) return Refuse(result, message);
    ReadHeader(file, header);
    if (header.time_system && Upper(*header.time_system) != "TDB")
        return Refuse(result, where + ": TIMESYS is " + *header.time_system +
                                  ", only barycentric TDB times are read");
    if (!header.reference_integer)
        return Refuse(result, where + ": no BJDREFI, the time reference is unknown");
    const double reference = *header.reference_integer + header.reference_fraction.value_or(0.0);

    const std::string flux_name = !options.column.empty()             ? options.column
                                  : ColumnNumber(file, "PDCSAP_FLUX") ? std::string("PDCSAP_FLUX")
                                  : ColumnNumber(file, "SAP_FLUX")    ? std::string("SAP_FLUX")
                                                                      : std::string();
    if (flux_name.empty())
        return Refuse(result, where + ": no flux column (PDCSAP_FLUX or SAP_FLUX)");
    const auto time_column = ColumnNumber(file, "TIME");
    if (!time_column) return Refuse(result, where + ": no TIME column");
    const auto flux_column = ColumnNumber(file, flux_name);
    if (!flux_column) return Refuse(result, where + ": no column named " + flux_name);
    const auto error_column = ColumnNumber(file, flux_name + "_ERR");
    const auto quality_column = ColumnNumber(file, "QUALITY");

    LONGLONG rows = 0;
    int status = 0;
    if (fits_get_num_rowsll(file, &rows, &status) != 0)
        return Refuse(result, where + ": " + CfitsioText(status));
    if (!RowsInFile(file, rows, file_size))
        return Refuse(result, where + ": the file ends within the table's " + std::to_string(rows) +
                                  " rows (truncated)");
    std::vector<double> times, fluxes, errors, quality;
    if (!ReadColumn(file, *time_column, "TIME", rows, where, times, message) ||
        !ReadColumn(file, *flux_column, flux_name, rows, where, fluxes, message) ||
        (error_column &&
         !ReadColumn(file, *error_column, flux_name + "_ERR", rows, where, errors, message)) ||
        (quality_column &&
         !ReadColumn(file, *quality_column, "QUALITY", rows, where, quality, message)))
        return Refuse(result, message);

    ImportedSeries s;
    s.star = StarName(header);
    s.filter = options.filter.empty() ? FilterName(header) : options.filter;
    s.unit = kUnitFlux;
    s.standard = kurvalux_time::TimeStandard::kBjdTdb;
    if (header.ra && header.dec && *header.ra >= 0 && *header.ra < 360 &&
        std::fabs(*header.dec) <= 90) {
        s.ra = *header.ra * M_PI / 180.0;
        s.dec = *header.dec * M_PI / 180.0;
    }
    for (size_t i = 0; i < times.size(); ++i) {
        if (quality_column && quality[i] != 0) {
            ++result.skipped["quality flag set"];
        } else if (!std::isfinite(reference + times[i])) {
            ++result.skipped["no time (NaN)"];
        } else if (!std::isfinite(fluxes[i])) {
            ++result.skipped["no flux (NaN)"];
        } else {
            s.times.push_back(reference + times[i]);
            s.values.push_back(fluxes[i]);
            s.errors.push_back(error_column && std::isfinite(errors[i]) ? errors[i] : 0.0);
        }
    }
    if (s.times.empty())
        return Refuse(result, "No usable cadence in " + where + " (" + std::to_string(rows) +
                                  " rows): none with a time and a flux and no quality flag");
    const double median = Median(s.values);
    if (!(median > 0))
        return Refuse(result, where + ": the median " + flux_name +
                                  " is not positive, the flux cannot be made relative");
    size_t kept = 0;
    for (size_t i = 0; i < s.times.size(); ++i) {
        const double value = s.values[i] / median;
        if (!std::isfinite(value)) {  // beyond the range of numbers, over a tiny median
            ++result.skipped["flux out of range"];
            continue;
        }
        if (value >= kMissingValue) {
            ++result.skipped["flux 99 or more (read as missing)"];
            continue;
        }
        s.times[kept] = s.times[i];
        s.values[kept] = value;
        s.errors[kept] = std::isfinite(s.errors[i] / median) ? s.errors[i] / median : 0.0;
        ++kept;
    }
    if (kept == 0)
        return Refuse(result, "No usable cadence in " + where + ": every flux is out of range");
    s.times.resize(kept);
    s.values.resize(kept);
    s.errors.resize(kept);
    result.series.push_back(std::move(s));
    result.ok = true;
    return result;
}

}  // namespace

bool LooksLikeFits(std::string_view head) {
    return head.substr(0, 9) == "SIMPLE  =";
}

ImportResult ImportFitsFile(const std::string& path, const ImportOptions& options) {
    OpenFits file;
    int status = 0;
    // The disk-file opener: a path with brackets is a name, not cfitsio's filter syntax.
    if (fits_open_diskfile(file.Out(), kurvalux_platform::NativePath(path).c_str(), READONLY,
                           &status) != 0) {
        ImportResult result;
        result.format = ImportFormat::kFits;
        return Refuse(result, "Not a readable FITS file (" + CfitsioText(status) + "): " + path);
    }
    std::error_code error;
    const uintmax_t size = std::filesystem::file_size(kurvalux_platform::NativePath(path), error);
    return ReadLightCurve(file.Get(), options, error ? 0 : static_cast<uint64_t>(size));
}

ImportResult ImportFitsBytes(std::string_view bytes, const ImportOptions& options) {
    // cfitsio reads whole records of 2880 bytes, and its memory driver does not stop at the end
    // of a buffer within the last one: the bytes go into whole records, the rest zero. (A FITS
    // file is whole records; a shorter one is truncated, and told so by its true size.) The
    // records outlive the open file.
    std::vector<char> records((bytes.size() + 2879) / 2880 * 2880, '\0');
    std::copy(bytes.begin(), bytes.end(), records.begin());
    OpenFits file;
    int status = 0;
    void* buffer = records.data();
    size_t size = records.size();
    if (fits_open_memfile(file.Out(), "light curve", READONLY, &buffer, &size, 0, nullptr,
                          &status) != 0) {
        ImportResult result;
        result.format = ImportFormat::kFits;
        return Refuse(result, "Not a readable FITS file (" + CfitsioText(status) + ")");
    }
    return ReadLightCurve(file.Get(), options, bytes.size());
}

}  // namespace kurvalux_data
