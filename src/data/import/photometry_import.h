#pragma once
// Importers of the photometry files observers already have: the AAVSO Extended Format, the
// measurement tables of image-photometry suites, the AAVSO exoplanet report, plain columns
// of numbers and the light-curve FITS files of the TESS and Kepler missions. Each is recognised by
// its content, never by its file name. A file is read whole before anything is added: a file that
// cannot be read is refused with a message naming the line or column, rows that carry no usable
// measurement are skipped and counted per reason.
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "data/field.h"
#include "time/time_standards.h"

namespace kurvalux_data {

enum class ImportFormat { kAavsoExtended, kMeasurementTable, kAavsoExoplanet, kColumns, kFits };
const char* ImportFormatName(ImportFormat format);

// How the times of a plain-columns file are counted.
enum class TimeKind { kJd, kMjd, kHjd, kBjdTdb, kBtjd, kBkjd };
// "jd", "mjd", "hjd", "bjd_tdb", "btjd", "bkjd".
std::optional<TimeKind> ParseTimeKind(const std::string& text);

struct ImportOptions {
    std::string star;                   // AAVSO Extended: only this star (any letter case)
    std::string filter;                 // AAVSO reports: only this filter; the other
                                        // formats: the series' filter name
    std::string column;                 // measurement tables: target column, "T1" unless set;
                                        // FITS: flux column, PDCSAP_FLUX (else SAP_FLUX)
    std::string time_column;            // measurement tables: time column by its header name
    std::optional<TimeKind> time_kind;  // plain columns: how times are counted (JD unless set)
};

// One series read from a file: full JDs in `standard`, before any conversion.
struct ImportedSeries {
    std::string star;
    std::string filter;
    uint32_t unit = kUnitMagnitude;
    kurvalux_time::TimeStandard standard = kurvalux_time::TimeStandard::kJdUtc;
    std::vector<double> times, values, errors;
    std::vector<std::string> comparison, check;  // star names, as the file gives them
    double ra = kUnknownRa, dec = kUnknownDec;   // radians, when the file gives them
};

struct ImportResult {
    bool ok = false;
    std::string message;  // why the file is refused
    ImportFormat format = ImportFormat::kColumns;
    std::vector<ImportedSeries> series;  // one per star and filter, in file order
    std::map<std::string, int> skipped;  // rows left out, counted per reason
};

// The AAVSO Extended Format holds many stars: keeps the series of `star` when given (the
// reader already did), else of the star named like the object (any letter case), else of the
// only star; the others are counted as skipped. False, with the stars listed in `message`,
// when there is no such star.
bool ChooseImportedStar(ImportResult& result, const std::string& object_name, bool star_given,
                        std::string& message);

// Reads a whole file's text (a FITS file's bytes are handed on to ImportFitsBytes).
ImportResult ImportPhotometryText(std::string_view text, const ImportOptions& options);
// A FITS file (it starts with the primary header's "SIMPLE  =" card) is read by cfitsio, any
// other as text.
ImportResult ImportPhotometryFile(const std::string& path, const ImportOptions& options);

// ---- TESS and Kepler light curves (fits_import.cpp) ----

bool LooksLikeFits(std::string_view head);
// The light-curve table (EXTNAME LIGHTCURVE, else the first binary table with a TIME column):
// TIME plus BJDREFI + BJDREFF as BJD_TDB; PDCSAP_FLUX (else SAP_FLUX, or `options.column`)
// with its _ERR column, divided by the median flux of the kept cadences; cadences with a
// QUALITY flag or without a time or flux skipped per reason. The star is OBJECT (else
// "TIC n", "KIC n", "EPIC n"), its position RA_OBJ/DEC_OBJ, the filter TESS or Kepler.
ImportResult ImportFitsFile(const std::string& path, const ImportOptions& options);
ImportResult ImportFitsBytes(std::string_view bytes, const ImportOptions& options);

// ---- adding an imported series to an object ----

struct AddImportOptions {
    std::string source_name;  // the file imported, named in the written file's header
    std::string folder;       // where the photometry file is written (with a separator)
    std::optional<kurvalux_time::Site> site;
};

struct AddedSeries {
    bool ok = false;
    std::string message;
    std::string path;       // the photometry file written
    std::string converted;  // "BJD_TDB to HJD_UTC" when times were converted, else empty
    const CSeriesTreeElem* series = nullptr;
};

// The program's own photometry text for the series, on the field's time axis: BJD_TDB times
// become HJD_UTC (through JD_UTC by ERFA, then the field's own heliocentric formula, so that
// they share one axis with geocentric series converted on load) and a header comment says
// so. Needs the star's position for that (`ra`, `dec` of the series, else of the object).
bool ImportedPhotometryText(const ImportedSeries& series, const CObjectListElem& object,
                            const AddImportOptions& options, std::string& text,
                            std::string& converted, std::string& message);

// Writes the text beside the object's other files (a new file name, never over another file),
// reads it back as a field load would and adds the series to the object. Nothing is added
// when any step fails; a written file whose series is refused is removed again.
AddedSeries AddImportedSeries(const ImportedSeries& series, CObjectListElem& object,
                              const AddImportOptions& options);

}  // namespace kurvalux_data

namespace kurvalux_data {

// Splits a series where consecutive times are more than `hours` apart (a space-telescope
// sector into its orbits, a survey into nights); 0 or less keeps it whole.
std::vector<ImportedSeries> SplitAtGaps(const ImportedSeries& series, double hours);
// A TESS sector is observed in two spacecraft orbits with a gap of about a day between them
// (the data downlink at perigee): splits at the largest gap when it is longer than `hours`,
// else keeps the series whole.
std::vector<ImportedSeries> SplitAtOrbitGap(const ImportedSeries& series, double hours = 12);

// The folder the object's imported files go to: that of its first local series whose file
// was found, else `fallback` (the field file's folder). Ends with a separator.
std::string ImportFolder(const CObjectListElem& object, const std::string& fallback);

}  // namespace kurvalux_data
