#pragma once
// Photometry text files: one measurement per line (time, value, optional error) with optional
// header lines describing apertures, time standard, unit, filter and the stars measured.
#include <cstdint>
#include <string>
#include <string_view>

#include "data/field.h"
#include "data/series_paths.h"

namespace kurvalux_data {

constexpr uint64_t kMaxPhotometryFileSize = 16777216;  // 16 MB
// Values of 99 or more mark a missing measurement.
constexpr double kMissingValue = 99.0;

// Parses a whole photometry text into the series' points (replacing them) and its file
// meta-data. Returns the number of points stored. A data line with a number of kMaxFileNumber
// or more (or one that overflows) fails the whole text: no points, and `error`, when given,
// names the line and the number.
size_t ParsePhotometry(std::string_view text, CSeriesTreeElem& series,
                       std::string* error = nullptr);

// Resolves the series' file (updating its absolute and relative paths when found), reads it
// and parses it. On failure `error` holds the one-line reason and `path` the file tried.
bool LoadSeriesData(CLocalSeriesTreeElem& series, const PathBases& bases, std::string& error,
                    std::string& path);

}  // namespace kurvalux_data
