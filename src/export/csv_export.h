#pragma once
// The Field as a semicolon-separated table for spreadsheets: one line per object with its
// summary, optionally the catalogue data of its variable, comparison and check stars, and a
// table of the nights in which it was observed.
#include <string>

#include "data/field.h"
#include "platform/message_box.h"

namespace kurvalux_export {

struct CsvOptions {
    bool var = false;        // "Include VAR meta-data"
    bool cmp = false;        // "Include CMP meta-data"
    bool chk = false;        // "Include CHK meta-data"
    bool observing = false;  // "Include observing table"

    // The bits kept in the settings ("CSVExportOptions"): 1 var, 2 cmp, 4 chk, 8 observing.
    int Bits() const;
    static CsvOptions FromBits(int bits);
};

// At most this many groups of comparison (check) columns are named in the header.
constexpr size_t kMaxStarGroups = 10;

// The whole table, lines ending in CR LF.
std::string CsvText(const kurvalux_data::Field& field, const CsvOptions& options);

// Writes the table; "Cannot create file" / path, titled "Error exporting CSV", when the file
// cannot be written (nothing is left behind then).
bool ExportCsv(const kurvalux_data::Field& field, const std::string& path,
               const CsvOptions& options, kurvalux_platform::CMessageBoxSink& messages);

}  // namespace kurvalux_export
