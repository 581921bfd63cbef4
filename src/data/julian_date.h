#pragma once
// The Julian Dates the program treats as times of observation. Times come from photometry
// files, where a typing slip or an overflowed number gives values no observation can have;
// counting nights of such a time, or writing its calendar date, would convert a double far
// outside the range of any integer type. Outside this range a time is reported as out of
// range instead.
namespace kurvalux_data {

// JD 0 (4713 BC, the origin of the count) to JD 5373484.5 (AD 10000 January 1, 0h UT): every
// date with a year of at most four digits.
constexpr double kEarliestJulianDate = 0.0;
constexpr double kLatestJulianDate = 5373484.5;

// False also for NaN and the infinities.
constexpr bool IsJulianDateInRange(double jd) {
    return jd >= kEarliestJulianDate && jd < kLatestJulianDate;
}

}  // namespace kurvalux_data
