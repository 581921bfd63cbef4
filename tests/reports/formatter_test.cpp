// The sexagesimal texts of the reports and of the field file, case by case.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "platform/sexagesimal.h"
#include "platform/text.h"

namespace {

using kurvalux_platform::FormatDeclination;
using kurvalux_platform::FormatRightAscension;
using kurvalux_platform::SexagesimalSign;
using kurvalux_platform::SexagesimalStyle;

double DegreesToRadians(double d) {
    return d * M_PI / 180.0;
}
double HoursToRadians(double h) {
    return h * M_PI / 12.0;
}
double Dms(double d, double m, double s) {
    return d + m / 60.0 + s / 3600.0;
}

struct DecCase {
    const char* what;
    double degrees;
    const char* spaces;
};

// The report rule: the unit number is the signed integer of the whole degrees.
const DecCase kDeclinations[] = {
    {"between -1 and 0 has no sign", -0.5, "00 30 00.00"},
    {"negative below ten has no leading zero", -5.5, "-5 30 00.00"},
    {"positive below ten gets + and zero", 5.5, "+05 30 00.00"},
    {"exactly zero", 0.0, "00 00 00.00"},
    {"negative of two digits", -Dms(12, 30, 0), "-12 30 00.00"},
    {"seconds with a leading zero", Dms(47, 3, 5.12), "+47 03 05.12"},
    {"seconds from 59.995 up stay 60.00", Dms(10, 20, 59.996), "+10 20 60.00"},
    {"thousandths reaching 60 carry", Dms(10, 20, 59.9996), "+10 21 00.00"},
    {"carry through the minutes", Dms(10, 59, 59.9996), "+11 00 00.00"},
    {"south pole", -90.0, "-90 00 00.00"},
};

TEST(SexagesimalReport, DeclinationSignAndPaddingRules) {
    for (const DecCase& c : kDeclinations)
        EXPECT_EQ(FormatDeclination(DegreesToRadians(c.degrees), SexagesimalStyle::kSpaces),
                  c.spaces)
            << c.what;
}

TEST(SexagesimalReport, TheThreeStylesOfBothCoordinates) {
    const double ra = HoursToRadians(Dms(12, 34, 56.789));
    EXPECT_EQ(FormatRightAscension(ra, SexagesimalStyle::kSpaces), "12 34 56.789");
    EXPECT_EQ(FormatRightAscension(ra, SexagesimalStyle::kColons), "12:34:56.789");
    EXPECT_EQ(FormatRightAscension(ra, SexagesimalStyle::kHuman), "12h 34m 56.789s");
    const double dec = DegreesToRadians(Dms(12, 34, 56.78));
    EXPECT_EQ(FormatDeclination(dec, SexagesimalStyle::kSpaces), "+12 34 56.78");
    EXPECT_EQ(FormatDeclination(dec, SexagesimalStyle::kColons), "+12:34:56.78");
    EXPECT_EQ(FormatDeclination(dec, SexagesimalStyle::kHuman), "+12\xB0 34' 56.78\"");
    EXPECT_EQ(FormatDeclination(DegreesToRadians(-0.25), SexagesimalStyle::kHuman),
              "00\xB0 15' 00.00\"");
}

TEST(SexagesimalReport, RightAscensionPaddingAndCarry) {
    EXPECT_EQ(FormatRightAscension(HoursToRadians(5.5), SexagesimalStyle::kSpaces), "05 30 00.000");
    EXPECT_EQ(FormatRightAscension(0.0, SexagesimalStyle::kColons), "00:00:00.000");
    EXPECT_EQ(FormatRightAscension(HoursToRadians(Dms(23, 59, 59.9996)), SexagesimalStyle::kSpaces),
              "24 00 00.000");
    EXPECT_EQ(FormatRightAscension(HoursToRadians(Dms(1, 2, 3.0004)), SexagesimalStyle::kSpaces),
              "01 02 03.000");
}

// The field file keeps the sign of every declination, so what it writes reads back.
TEST(SexagesimalFieldFile, SignAlwaysWrittenAndReadBack) {
    const struct {
        double degrees;
        const char* text;
    } cases[] = {
        {-0.5, "-00:30:00.00"},
        {-5.5, "-05:30:00.00"},
        {5.5, "+05:30:00.00"},
        {0.0, "+00:00:00.00"},
        {Dms(10, 20, 59.996), "+10:21:00.00"},
    };
    for (const auto& c : cases) {
        const std::string text =
            kurvalux_platform::FormatDecSexagesimal(DegreesToRadians(c.degrees));
        EXPECT_EQ(text, c.text);
        double back = 0;
        ASSERT_TRUE(kurvalux_platform::ParseDecSexagesimal(text, back));
        EXPECT_NEAR(back, c.degrees, 0.5 / 3600 / 100 + 1e-12) << text;
    }
    EXPECT_EQ(FormatDeclination(DegreesToRadians(-0.5), SexagesimalStyle::kSpaces,
                                SexagesimalSign::kExplicit),
              "-00 30 00.00");
}

}  // namespace
