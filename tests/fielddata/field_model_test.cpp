// The Field model's rules for adding series, coordinates, meta-data layering and the
// heliocentric correction.
#include <cmath>
#include <memory>

#include <gtest/gtest.h>

#include "data/field.h"
#include "data/heliocentric.h"
#include "time/time_standards.h"

using namespace kurvalux_data;

namespace {

std::unique_ptr<CSeriesTreeElem> MakeSeries(std::vector<double> times, uint32_t unit = kUnitUnknown,
                                            uint32_t jd_type = kJdHeliocentric, double offset = 0) {
    auto s = std::make_unique<CLocalSeriesTreeElem>();
    s->times = times;
    s->values.assign(times.size(), 12.0);
    s->errors.assign(times.size(), 0.01);
    s->file_meta_data.value_unit = unit;
    s->file_meta_data.jd_type = jd_type;
    s->offset = offset;
    return s;
}

const double kRa = 1.4, kDec = 0.38;  // radians

TEST(FieldModel, SeriesAreKeptInOrderOfTheirFirstPoint) {
    CObjectListElem object;
    std::vector<std::string> message;
    for (double first : {2459003.5, 2459001.5, 2459002.5})
        ASSERT_TRUE(object.AddSeries(MakeSeries({first, first + 0.1}), "f", message));
    ASSERT_EQ(object.SeriesCount(), 3u);
    EXPECT_EQ(object.series[0]->FirstTime(), 2459001.5);
    EXPECT_EQ(object.series[1]->FirstTime(), 2459002.5);
    EXPECT_EQ(object.series[2]->FirstTime(), 2459003.5);
}

TEST(FieldModel, AddSeriesRefusals) {
    struct Case {
        const char* name;
        uint32_t first_unit, second_unit;
        double second_time;
        bool accepted;
        std::vector<std::string> message;
    } cases[] = {
        {"same first time, other data",
         kUnitMagnitude,
         kUnitMagnitude,
         100.0,
         false,
         {"Duplicate series data file (same first point time):", "b.txt",
          "Series removed from the field"}},
        {"flux after magnitude",
         kUnitMagnitude,
         kUnitFlux,
         200.0,
         false,
         {"Series with different value type (Mag x Flux) than previous series:", "b.txt",
          "Series removed from the field"}},
        {"magnitude after flux",
         kUnitFlux,
         kUnitMagnitude,
         200.0,
         false,
         {"Series with different value type (Mag x Flux) than previous series:", "b.txt",
          "Series removed from the field"}},
        {"no unit anywhere counts as magnitude", kUnitMagnitude, kUnitUnknown, 200.0, true, {}},
        {"flux after flux", kUnitFlux, kUnitFlux, 200.0, true, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CObjectListElem object;
        std::vector<std::string> message;
        ASSERT_TRUE(object.AddSeries(MakeSeries({100.0, 100.2}, c.first_unit), "a.txt", message));
        auto second = MakeSeries({c.second_time, c.second_time + 0.5}, c.second_unit);
        second->values[0] = 5.0;
        EXPECT_EQ(object.AddSeries(std::move(second), "b.txt", message), c.accepted);
        EXPECT_EQ(message, c.message);
        EXPECT_EQ(object.SeriesCount(), c.accepted ? 2u : 1u);
    }
}

TEST(FieldModel, FluxSeriesGetFactorOneInsteadOfNonPositiveOffset) {
    struct Case {
        uint32_t unit;
        double offset, expected;
    } cases[] = {{kUnitFlux, 0.0, 1.0},
                 {kUnitFlux, -2.0, 1.0},
                 {kUnitFlux, 0.5, 0.5},
                 {kUnitMagnitude, 0.0, 0.0},
                 {kUnitMagnitude, -0.3, -0.3}};
    for (const Case& c : cases) {
        CObjectListElem object;
        std::vector<std::string> message;
        ASSERT_TRUE(object.AddSeries(MakeSeries({1.0, 1.1}, c.unit, kJdHeliocentric, c.offset), "f",
                                     message));
        EXPECT_EQ(object.series[0]->offset, c.expected);
        EXPECT_EQ(object.is_flux, c.unit == kUnitFlux);
    }
}

TEST(FieldModel, GeocentricTimesConvertOnlyWithKnownCoordinates) {
    struct Case {
        const char* name;
        uint32_t jd_type;
        bool coordinates;
        bool converted;
    } cases[] = {
        {"geocentric with coordinates", kJdGeocentric, true, true},
        {"unknown type with coordinates", kJdUnknown, true, true},
        {"heliocentric never changes", kJdHeliocentric, true, false},
        {"no coordinates", kJdGeocentric, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CObjectListElem object;
        if (c.coordinates) {
            object.meta_data.var.star_ra = kRa;
            object.meta_data.var.star_dec = kDec;
        }
        std::vector<std::string> message;
        ASSERT_TRUE(object.AddSeries(MakeSeries({2459000.5, 2459000.6}, kUnitMagnitude, c.jd_type),
                                     "f", message));
        const CSeriesTreeElem& s = *object.series[0];
        EXPECT_EQ(s.hjd_converted, c.converted);
        const StarDirection star(kRa, kDec);
        EXPECT_EQ(s.times[1], c.converted ? HeliocentricJD(2459000.6, star) : 2459000.6);
    }
}

TEST(FieldModel, ObjectSerialsAreNeverReused) {
    // Work that finishes later finds its object by serial: a new object at a deleted one's
    // address must not be taken for it.
    uint64_t first = 0;
    {
        auto gone = std::make_unique<CObjectListElem>();
        first = gone->serial;
    }
    auto next = std::make_unique<CObjectListElem>();
    EXPECT_NE(first, 0u);  // 0 means "no object" to the repository commands
    EXPECT_GT(next->serial, first);
}

TEST(FieldModel, TheAccurateMethodConvertsLikeTheTimeStandardsModule) {
    // Chosen by the observer, geocentric series convert by ERFA's Earth instead of the short
    // formula: the same instant as a JD_UTC -> HJD_UTC conversion, to the resolution of one
    // double near JD 2.46 million, and seconds away from what the short formula gives.
    SetHeliocentricMethod(HeliocentricMethod::kAccurate);
    CObjectListElem object;
    object.meta_data.var.star_ra = kRa;
    object.meta_data.var.star_dec = kDec;
    std::vector<std::string> message;
    const std::vector<double> times = {2459000.5, 2459000.6, 2459000.7, 2459000.8};
    ASSERT_TRUE(object.AddSeries(MakeSeries(times, kUnitMagnitude, kJdGeocentric), "f", message));
    SetHeliocentricMethod(HeliocentricMethod::kShortFormula);
    const CSeriesTreeElem& s = *object.series[0];
    EXPECT_TRUE(s.hjd_converted);
    EXPECT_TRUE(s.hjd_accurate);
    const StarDirection star(kRa, kDec);
    for (size_t i = 0; i < times.size(); ++i) {
        const auto expected = kurvalux_time::ConvertTime(
            times[i], kurvalux_time::TimeStandard::kJdUtc, kurvalux_time::TimeStandard::kHjdUtc,
            {kRa, kDec}, std::nullopt);
        ASSERT_TRUE(expected.has_value());
        EXPECT_NEAR(s.times[i], *expected, 1e-9) << i;  // 86 µs
        const double apart = std::fabs(s.times[i] - HeliocentricJD(times[i], star)) * 86400.0;
        EXPECT_GT(apart, 0.01) << i;
        EXPECT_LT(apart, 10.0) << i;
    }

    // Back on the short formula, the next series converts as before and says so.
    CObjectListElem other;
    other.meta_data.var.star_ra = kRa;
    other.meta_data.var.star_dec = kDec;
    ASSERT_TRUE(other.AddSeries(MakeSeries(times, kUnitMagnitude, kJdGeocentric), "f", message));
    EXPECT_FALSE(other.series[0]->hjd_accurate);
    EXPECT_EQ(other.series[0]->times[1], HeliocentricJD(times[1], star));
}

TEST(FieldModel, CoordinatesComeFromTheReferenceSeriesThenItsFileThenTheObject) {
    CObjectListElem object;
    double ra = 0, dec = 0;
    EXPECT_FALSE(object.Coordinates(ra, dec));
    EXPECT_EQ(ra, kUnknownRa);
    EXPECT_EQ(dec, kUnknownDec);

    object.meta_data.var.star_ra = 0.5;
    object.meta_data.var.star_dec = 0.25;
    ASSERT_TRUE(object.Coordinates(ra, dec));
    EXPECT_EQ(ra, 0.5);

    auto series = MakeSeries({10.0, 10.2});
    series->file_meta_data.var.star_ra = 1.5;
    series->file_meta_data.var.star_dec = 0.75;
    std::vector<std::string> message;
    ASSERT_TRUE(object.AddSeries(std::move(series), "f", message));
    ASSERT_TRUE(object.Coordinates(ra, dec));
    EXPECT_EQ(ra, 1.5);  // the file's position of the reference series

    object.series[0]->meta_data.var.star_ra = 2.5;
    object.series[0]->meta_data.var.star_dec = -0.5;
    ASSERT_TRUE(object.Coordinates(ra, dec));
    EXPECT_EQ(ra, 2.5);  // the user's own position wins

    object.meta_data_source = 0;  // no reference series: the object's own position
    ASSERT_TRUE(object.Coordinates(ra, dec));
    EXPECT_EQ(ra, 0.5);
}

TEST(FieldModel, ReferenceSeriesPrefersLocalSingleNights) {
    CObjectListElem object;
    std::vector<std::string> message;
    ASSERT_TRUE(object.AddSeries(MakeSeries({1.0, 30.0}), "survey", message));  // long
    ASSERT_TRUE(object.AddSeries(MakeSeries({40.0, 40.3}), "night", message));
    const CSeriesTreeElem* reference = object.ReferenceSeries();
    ASSERT_NE(reference, nullptr);
    EXPECT_EQ(reference->FirstTime(), 40.0);
    object.meta_data_source = 1;
    EXPECT_EQ(object.ReferenceSeries()->FirstTime(), 1.0);
}

TEST(FieldModel, MergedMetaDataTakesTheUpperLayerWhereSet) {
    CMetaData file, own;
    file.var_aperture = 5;
    file.cmp_aperture = 7;
    file.jd_type = kJdGeocentric;
    file.value_unit = kUnitFlux;
    file.filter = "V";
    file.var.star_name = "file name";
    file.var.star_ra = 1.0;
    file.var.star_dec = 0.5;
    file.cmp.resize(2);
    file.cmp[1].star_name = "cmp";
    own.var_aperture = 6;
    own.jd_type = kJdHeliocentric;
    own.var.star_dec = 0.7;
    own.cmp.resize(1);
    own.cmp[0].catalog = "UCAC4";
    const CMetaData merged = MergeMetaData(own, file);
    EXPECT_EQ(merged.var_aperture, 6);
    EXPECT_EQ(merged.cmp_aperture, 7);
    EXPECT_EQ(merged.jd_type, kJdHeliocentric);
    EXPECT_EQ(merged.value_unit, kUnitFlux);
    EXPECT_EQ(merged.filter, "V");
    EXPECT_EQ(merged.var.star_name, "file name");
    EXPECT_EQ(merged.var.star_ra, 1.0);
    EXPECT_EQ(merged.var.star_dec, 0.7);
    ASSERT_EQ(merged.cmp.size(), 2u);
    EXPECT_EQ(merged.cmp[0].catalog, "UCAC4");
    EXPECT_EQ(merged.cmp[1].star_name, "cmp");
}

TEST(FieldModel, SavedEphemerisIsCompletedAfterReading) {
    CObjectListElem a;
    a.m0 = 2459000.1;
    a.period = 0;
    a.saved_period = 0;
    a.CompleteSavedEphemeris();
    EXPECT_EQ(a.saved_m0, 2459000.1);
    EXPECT_EQ(a.saved_period, 0);
    CObjectListElem b;
    b.period = 2.5;
    b.CompleteSavedEphemeris();
    EXPECT_EQ(b.saved_period, 2.5);
    CObjectListElem c;
    c.period = 2.5;
    c.saved_period = 3.0;
    c.CompleteSavedEphemeris();
    EXPECT_EQ(c.saved_period, 3.0);
}

// An independent computation of the same light-time correction from the low-precision solar
// coordinates of the Astronomical Almanac ("Low precision formulas for the Sun", section C:
// L = 280.460 + 0.9856474 n, g = 357.528 + 0.9856003 n, lambda = L + 1.915 sin g + 0.020 sin 2g,
// R = 1.00014 - 0.01671 cos g - 0.00014 cos 2g, epsilon = 23.439 - 0.0000004 n), projected on the
// star's direction in equatorial coordinates. Our solar theory takes the Sun's distance with
// the apparent longitude where the anomaly would stand, which moves R by up to 2e (3.3 %), so
// the two agree to the light time of 0.034 AU: 0.0002 d.
double AlmanacHeliocentricJD(double jd, double ra, double dec) {
    const double deg = M_PI / 180.0;
    const double n = jd - 2451545.0;
    const double l = 280.460 + 0.9856474 * n;
    const double g = (357.528 + 0.9856003 * n) * deg;
    const double lambda = (l + 1.915 * std::sin(g) + 0.020 * std::sin(2 * g)) * deg;
    const double r = 1.00014 - 0.01671 * std::cos(g) - 0.00014 * std::cos(2 * g);
    const double eps = (23.439 - 0.0000004 * n) * deg;
    const double x = r * std::cos(lambda), y = r * std::cos(eps) * std::sin(lambda),
                 z = r * std::sin(eps) * std::sin(lambda);
    const double dot =
        x * std::cos(dec) * std::cos(ra) + y * std::cos(dec) * std::sin(ra) + z * std::sin(dec);
    return jd - 0.005775518331436995 * dot;
}

TEST(Heliocentric, AgreesWithTheAlmanacSolarCoordinatesOverAYear) {
    const struct {
        double ra_hours, dec_degrees;
    } stars[] = {{6.5091, 29.672}, {13.498, 47.195}, {0.0, 0.0}, {18.0, -60.0}, {21.3, 5.2}};
    double worst = 0;
    for (const auto& star : stars) {
        const double ra = star.ra_hours * M_PI / 12.0, dec = star.dec_degrees * M_PI / 180.0;
        const StarDirection direction(ra, dec);
        for (double jd = 2460676.5; jd < 2460676.5 + 365.0; jd += 7.3) {
            const double ours = HeliocentricJD(jd, direction) - jd;
            const double almanac = AlmanacHeliocentricJD(jd, ra, dec) - jd;
            worst = std::max(worst, std::fabs(ours - almanac));
            EXPECT_LE(std::fabs(ours), 0.0059);
        }
    }
    EXPECT_LT(worst, 0.0002);
    EXPECT_GT(worst, 0.0);  // the two theories are not the same arithmetic
}

TEST(Heliocentric, VanishesTowardsTheEclipticPole) {
    // The north ecliptic pole: RA 18h, Dec 90 - 23.44 degrees; the Earth's orbit lies
    // across the line of sight, so the light-time difference is only the small residue of the
    // pole's motion.
    const StarDirection pole(18.0 * M_PI / 12.0, (90.0 - 23.4393) * M_PI / 180.0);
    for (double jd = 2460000.5; jd < 2460365.5; jd += 30.0)
        EXPECT_NEAR(HeliocentricJD(jd, pole), jd, 2e-6);
}

}  // namespace
