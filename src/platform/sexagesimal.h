#pragma once
// The one sexagesimal formatter of the program: right ascension in hours and declination in
// degrees, split into whole units, minutes and seconds. The reports (table, page, observation
// sheet, copy-info mask) write the observer's customary forms with their long-established sign
// and padding rules; the field file writes the same split with an explicit sign, so that what
// it writes reads back to the same position.
#include <string>

namespace kurvalux_platform {

enum class SexagesimalStyle {
    kSpaces,  // 12 34 56.789   +12 34 56.78
    kColons,  // 12:34:56.789   +12:34:56.78
    kHuman,   // 12h 34m 56.789s   +12° 34' 56.78"
};

enum class SexagesimalSign {
    // The reports' rule: the unit number is written as the signed integer of the whole units,
    // so a declination between -1° and 0° has no sign at all ("00 30 00.00" for -0.5°), a
    // negative one of less than 10° no leading zero ("-5 30 00.00"), a positive one "+05 ...";
    // seconds are rounded to thousandths before the carry is decided, so a declination whose
    // seconds lie in [59.995, 59.9995) shows "60.00". Readers of these lists expect exactly
    // these texts, so they are kept.
    kReport,
    // The field file's rule: two-digit units with the sign always written for a declination
    // ("+" north, "-" south, also below one degree), the carry decided at the written
    // precision, so the text reads back to the position it came from.
    kExplicit,
};

// The degree sign of the human declination form: the byte 0xB0 of the program's 8-bit
// character set, which is how the texts are kept and written.
inline constexpr char kDegreeSign = '\xB0';

// Right ascension given in radians: hours, minutes, seconds with 3 decimals.
std::string FormatRightAscension(double ra_radians, SexagesimalStyle style,
                                 SexagesimalSign sign = SexagesimalSign::kReport);
// Declination given in radians: signed degrees, minutes, seconds with 2 decimals.
std::string FormatDeclination(double dec_radians, SexagesimalStyle style,
                              SexagesimalSign sign = SexagesimalSign::kReport);

}  // namespace kurvalux_platform
