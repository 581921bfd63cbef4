// Minima in a chosen standard: a minimum stored on a geocentric series that the field
// converted by its short formula goes back to the very JD_UTC it was timed at, then to
// BJD_TDB by ERFA; a series without a known standard gives nothing.
#include "time/minimum_times.h"

#include <gtest/gtest.h>

#include "data/heliocentric.h"

using namespace kurvalux_time;
using namespace kurvalux_data;

namespace {

TEST(MinimumTimes, FromEachStoredStandard) {
    const double ra = 1.2, dec = 0.7;
    CObjectListElem object;
    object.meta_data.var.star_ra = ra;
    object.meta_data.var.star_dec = dec;
    const double jd_utc = 2459000.40000;
    auto add = [&](uint32_t jd_type, double first, double minimum) {
        auto s = std::make_unique<CSeriesTreeElem>();
        s->file_meta_data.jd_type = jd_type;
        s->times = {first, first + 0.2};
        s->values = {12, 12};
        s->errors = {0, 0};
        s->minima.push_back({kMinimumPrimary, minimum, 0.0001, true});
        std::vector<std::string> message;
        ASSERT_TRUE(object.AddSeries(std::move(s), "x", message));
    };
    // Geocentric: converted on adding, the minimum (timed after) stored as HJD by the formula.
    add(kJdGeocentric, 2459000.3, 0);
    object.series[0]->minima[0].time = HeliocentricJD(jd_utc, StarDirection(ra, dec));
    add(kJdHeliocentric, 2459001.3, 2459001.4);
    add(kJdUnknown, 2459002.3, 2459002.4);  // converted too: coordinates known
    ASSERT_TRUE(object.series[0]->hjd_converted);
    ASSERT_TRUE(object.series[2]->hjd_converted);

    const auto utc = MinimumTimes(object, TimeStandard::kJdUtc, std::nullopt);
    ASSERT_EQ(utc.size(), 3u);
    EXPECT_NEAR(*utc[0].converted, jd_utc, 1e-9);
    EXPECT_TRUE(utc[0].short_formula);
    EXPECT_EQ(utc[1].stored, TimeStandard::kHjdUtc);
    EXPECT_FALSE(utc[1].short_formula);
    // An ERFA-grade HJD back to JD_UTC.
    EXPECT_NEAR(*utc[1].converted,
                *ConvertTime(2459001.4, TimeStandard::kHjdUtc, TimeStandard::kJdUtc, {ra, dec},
                             std::nullopt),
                1e-9);

    const auto bjd = MinimumTimes(object, TimeStandard::kBjdTdb, std::nullopt);
    EXPECT_NEAR(
        *bjd[0].converted,
        *ConvertTime(jd_utc, TimeStandard::kJdUtc, TimeStandard::kBjdTdb, {ra, dec}, std::nullopt),
        1e-9);
    // BJD_TDB runs ahead of HJD_UTC by about 69 s (2020: 37 leap seconds + 32.184 s).
    EXPECT_NEAR((*bjd[1].converted - 2459001.4) * 86400, 69.2, 4.5);

    // Without coordinates nothing converts; a series of unknown standard never does.
    CObjectListElem blind;
    auto s = std::make_unique<CSeriesTreeElem>();
    s->times = {2459000.3};
    s->values = {12};
    s->errors = {0};
    s->minima.push_back({kMinimumSecondary, 2459000.35, 0, true});
    std::vector<std::string> message;
    ASSERT_TRUE(blind.AddSeries(std::move(s), "x", message));
    const auto none = MinimumTimes(blind, TimeStandard::kHjdUtc, std::nullopt);
    ASSERT_EQ(none.size(), 1u);
    EXPECT_FALSE(none[0].stored);
    EXPECT_FALSE(none[0].converted);
}

}  // namespace
