// The night planner: a minimum on a night worked out by hand, the observability rule at its
// edges, the window extremes, timing errors, field objects, and the exported texts.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "analysis/model.h"
#include "data/heliocentric.h"
#include "plan/night_planner.h"
#include "plan/plan_export.h"
#include "time/solar_system.h"

namespace {

using namespace kurvalux_plan;
using kurvalux_time::Equatorial;
using kurvalux_time::Site;

constexpr double kDegree = 3.14159265358979323846 / 180.0;

// The place and instant of J. Meeus, Astronomical Algorithms, example 13.b: a star at R.A.
// 23h09m16.641s, Dec. −6°43'11.61", seen from the US Naval Observatory (77°03'56" W,
// 38°55'17" N) on 1987 April 10 at 19:21:00 UT stands 15.1249° high.
const Equatorial kStar = {(23 + 9 / 60.0 + 16.641 / 3600) * 15 * kDegree,
                          -(6 + 43 / 60.0 + 11.61 / 3600) * kDegree};
const Site kUsno = {-(77 + 3 / 60.0 + 56 / 3600.0), 38 + 55 / 60.0 + 17 / 3600.0};
constexpr double kInstant = 2446895.5 + (19 + 21 / 60.0) / 24;

PlannerObject BinaryAtExampleInstant() {
    PlannerObject object;
    object.name = "Test binary";
    object.position = kStar;
    // A primary minimum whose light reaches the Earth at the instant of the example.
    object.m0 =
        kurvalux_data::HeliocentricJD(kInstant, kurvalux_data::StarDirection(kStar.ra, kStar.dec));
    object.period = 1.5;
    return object;
}

PlannerOptions NightOf1987April10() {
    PlannerOptions options;
    options.start = 2446896.0;  // 1987 April 10, 12h UT: one day, holding one minimum only
    options.nights = 1;
    options.site = kUsno;
    return options;
}

// One primary at the example's instant (the secondaries at ±0.75 d fall outside the day).
TEST(NightPlanner, MinimumOnAWorkedNight) {
    const std::vector<PlannerObject> objects = {BinaryAtExampleInstant()};
    const std::vector<PlannedMinimum> minima = PlanMinima(objects, NightOf1987April10());
    ASSERT_EQ(minima.size(), 1u);
    const PlannedMinimum& m = minima[0];
    EXPECT_EQ(m.kind, MinimumKind::kPrimary);
    EXPECT_EQ(m.hjd, objects[0].m0);
    EXPECT_NEAR(m.jd, kInstant, 1e-7);  // the heliocentric correction undone to 10 ms
    EXPECT_NEAR(m.star_altitude, 15.1249, 0.005);
    EXPECT_EQ(m.half_window, 0.05);  // half the default duration of 0.1 d
    EXPECT_LT(m.timing_error, 0);
    // 14:21 local time in Washington: the Sun is high (ERFA's full place to 1').
    const kurvalux_time::SunMoonState sky = kurvalux_time::ComputeSunMoon(kInstant);
    const kurvalux_time::SunMoonView view =
        kurvalux_time::ViewFromSite(sky, kInstant, kUsno, &kStar);
    EXPECT_NEAR(m.sun_altitude, view.sun_altitude, 1.0 / 60);
    EXPECT_GT(m.sun_altitude, 40.0);
    EXPECT_NEAR(m.moon_altitude, view.moon_altitude, 5.0 / 3600);
    EXPECT_NEAR(m.moon_illumination, view.moon_illumination, 1e-4);
    EXPECT_NEAR(m.moon_distance, view.moon_distance, 5.0 / 3600);
    // The star is setting in the west-south-west: lowest at the window's end.
    EXPECT_DOUBLE_EQ(m.lowest_star_altitude,
                     kurvalux_time::AltitudeDegrees(kStar, kInstant + 0.05, kUsno));
    EXPECT_LT(m.lowest_star_altitude, m.star_altitude - 5);
    EXPECT_FALSE(m.observable);
}

// The prediction pane's criteria over the window: the star at or above its limit; the Sun at
// or below its limit when both criteria are used, strictly below when the Sun's is alone.
TEST(NightPlanner, ObservableAtTheEdgesOfTheCriteria) {
    const std::vector<PlannerObject> objects = {BinaryAtExampleInstant()};
    const PlannedMinimum reference = PlanMinima(objects, NightOf1987April10()).at(0);
    const double star = reference.lowest_star_altitude, sun = reference.highest_sun_altitude;
    struct Case {
        bool star_criterion, sun_criterion;
        double star_alt, sun_alt;
        bool observable;
    };
    const Case cases[] = {
        {true, false, star, 0, true},
        {true, false, std::nextafter(star, 90.0), 0, false},
        {false, true, 0, sun, false},  // the Sun alone: strictly below
        {false, true, 0, std::nextafter(sun, 90.0), true},
        {true, true, star, sun, true},  // both: at the limit is good enough
        {true, true, star, std::nextafter(sun, -90.0), false},
        {true, true, std::nextafter(star, 90.0), sun, false},
        {false, false, 90, -90, true},
    };
    for (const Case& c : cases) {
        PlannerOptions options = NightOf1987April10();
        options.star_criterion = c.star_criterion;
        options.sun_criterion = c.sun_criterion;
        options.star_alt = c.star_alt;
        options.sun_alt = c.sun_alt;
        const std::vector<PlannedMinimum> minima = PlanMinima(objects, options);
        ASSERT_EQ(minima.size(), 1u);
        EXPECT_EQ(minima[0].observable, c.observable)
            << c.star_criterion << c.sun_criterion << " " << c.star_alt << " " << c.sun_alt;
    }
}

// A circumpolar star at Dec. 80° from latitude 50° is lowest at its lower culmination,
// 50 + 80 − 90 = 40°, which a whole day of window must find. The Sun's highest altitude over a
// day (on the June solstice and in September) is checked against a search every 5 seconds.
TEST(NightPlanner, ExtremesInsideTheWindow) {
    const Site site = {15.0, 50.0};
    const Equatorial polar = {2.0, 80 * kDegree};
    EXPECT_NEAR(LowestAltitude(polar, 2461000.1, 2461001.1, site), 40.0, 1e-6);
    const double t0 = 2461000.3, t1 = 2461000.31;
    EXPECT_EQ(LowestAltitude(polar, t0, t1, site),
              std::min(kurvalux_time::AltitudeDegrees(polar, t0, site),
                       kurvalux_time::AltitudeDegrees(polar, t1, site)));
    for (double start : {2461212.0, 2461300.7}) {
        double highest = -90;
        for (double t = start; t <= start + 1; t += 5.0 / 86400)
            highest = std::max(highest, kurvalux_time::AltitudeDegrees(
                                            kurvalux_time::LowPrecisionSun(t), t, site));
        // Near an equinox the declination changes by 0.4° a day and the highest point lies a
        // few seconds from the meridian: 0.1" lower there.
        EXPECT_NEAR(HighestSunAltitude(start, start + 1, site), highest, 1e-4) << start;
    }
    // 08:00 to 10:00 UT on the solstice, before the Sun culminates at 15° E: highest at the
    // end of the window.
    const double morning = 2461212.0 - 4 / 24.0;
    EXPECT_EQ(HighestSunAltitude(morning, morning + 2 / 24.0, site),
              kurvalux_time::AltitudeDegrees(kurvalux_time::LowPrecisionSun(morning + 2 / 24.0),
                                             morning + 2 / 24.0, site));
}

// Three primaries worked by hand (see the ephemeris fit's tests): P = 1.995 d, M0 =
// 2460000.005, covariance 150e-6 · [[5/6, -1/2], [-1/2, 1/2]]. Cycle 3 falls at 2460005.99
// with variance 150e-6 · (1/3 + (3 − 1)²/2) = 350e-6 d².
TEST(NightPlanner, TimingErrorFromTheFittedEphemeris) {
    std::vector<kurvalux_data::CMinimaListElem> minima(3);
    const double times[3] = {2460000.0, 2460002.01, 2460003.99};
    for (int i = 0; i < 3; ++i) minima[i] = {kurvalux_data::kMinimumPrimary, times[i], 0.001, true};
    std::vector<kurvalux_analysis::OCEntry> table =
        kurvalux_analysis::MakeOCTable(minima, 2460000.0, 2.0);
    PlannerObject object;
    object.name = "Fitted";
    object.position = {1.0, 0.5};
    object.fit = kurvalux_analysis::FitEphemeris(table, 2460000.0, 2.0, {});
    ASSERT_TRUE(object.fit.ok);
    object.has_fit = true;
    object.m0 = object.fit.m0;
    object.period = object.fit.period;
    PlannerOptions options;
    options.start = 2460005.5;
    options.nights = 1;
    options.site = {15, 50};
    const std::vector<PlannedMinimum> planned = PlanMinima({object}, options);
    ASSERT_EQ(planned.size(), 1u);
    EXPECT_NEAR(planned[0].hjd, 2460005.99, 1e-8);
    // The times near 2.46e6 d hold about 5e-10 d, so the 0.005 d residuals carry a relative
    // 1e-7 and the error a few parts in 1e8.
    EXPECT_NEAR(planned[0].timing_error, std::sqrt(350e-6), 2e-9);
}

// Half an eclipse: where the profile has fallen to 1 % of its depth. For g = 1 that is
// acosh(1 + ln 100) = 2.4087827 widths.
TEST(NightPlanner, HalfEclipseFromTheModelProfile) {
    EXPECT_NEAR(HalfEclipsePhase(0.7, 0.05, 1.0), 0.05 * 2.408782669, 1e-9);
    EXPECT_EQ(HalfEclipsePhase(0.0, 0.05, 1.0), 0.0);
    EXPECT_EQ(HalfEclipsePhase(0.7, 0.0, 1.0), 0.0);
    for (double g : {0.5, 1.0, 2.5, 7.0}) {
        kurvalux_data::LightCurveParameters p = kurvalux_data::kDefaultLightCurveParameters;
        p[kurvalux_data::kMag0] = 0;
        p[kurvalux_data::kAPri] = 1;
        p[kurvalux_data::kDPri] = 0.04;
        p[kurvalux_data::kGPri] = g;
        p[kurvalux_data::kCPri] = 0;
        p[kurvalux_data::kASec] = 0;
        const double half = HalfEclipsePhase(1, 0.04, g);
        EXPECT_NEAR(kurvalux_analysis::EvaluateLightCurve(p, half), 0.01, 1e-12) << g;
        EXPECT_NEAR(kurvalux_analysis::EvaluateLightCurve(p, 1 - half), 0.01, 1e-12) << g;
    }
}

TEST(NightPlanner, FieldObjects) {
    kurvalux_data::CObjectListElem object;
    object.name = "V1";
    PlannerObject planned;
    std::string why;
    EXPECT_FALSE(MakePlannerObject(object, false, planned, why));
    EXPECT_EQ(why, "no ephemeris");
    object.m0 = 2460000.1;
    object.period = 0.8;
    EXPECT_FALSE(MakePlannerObject(object, false, planned, why));
    EXPECT_EQ(why, "no coordinates");
    object.meta_data.var.star_ra = 1.5;
    object.meta_data.var.star_dec = 0.3;
    ASSERT_TRUE(MakePlannerObject(object, false, planned, why));
    EXPECT_EQ(planned.name, "V1");
    EXPECT_EQ(planned.sec_phase, 0.5);
    EXPECT_EQ(planned.half_primary, 0.0);  // no model: the planner's default duration
    EXPECT_EQ(planned.position.ra, 1.5);
    EXPECT_FALSE(planned.has_fit);
    object.fit[kurvalux_data::kSecPhase] = 0.56;
    object.fit[kurvalux_data::kDPri] = 0.03;
    object.fit[kurvalux_data::kASec] = 0;
    ASSERT_TRUE(MakePlannerObject(object, false, planned, why));
    EXPECT_EQ(planned.sec_phase, 0.56);
    EXPECT_DOUBLE_EQ(planned.half_primary, HalfEclipsePhase(0.5, 0.03, 1.0) * 0.8);
    EXPECT_EQ(planned.half_secondary, 0.0);
    object.fit[kurvalux_data::kSecPhase] = 0;
    ASSERT_TRUE(MakePlannerObject(object, false, planned, why));
    EXPECT_EQ(planned.sec_phase, 0.5);
    // With fewer than two typed minima the stored ephemeris stays.
    ASSERT_TRUE(MakePlannerObject(object, true, planned, why));
    EXPECT_FALSE(planned.has_fit);
    EXPECT_EQ(planned.m0, 2460000.1);
}

// Secondaries at the object's phase; minima of several objects in time order.
TEST(NightPlanner, SecondariesAndOrder) {
    PlannerObject a = BinaryAtExampleInstant();
    a.sec_phase = 0.3;
    PlannerObject b = a;
    b.name = "Second";
    b.m0 = a.m0 + 0.1;
    PlannerOptions options = NightOf1987April10();
    options.start = 2446896.0 - 1.5;
    options.nights = 3;
    const std::vector<PlannedMinimum> minima = PlanMinima({a, b}, options);
    ASSERT_EQ(minima.size(), 8u);
    for (size_t i = 1; i < minima.size(); ++i) EXPECT_LE(minima[i - 1].jd, minima[i].jd);
    const double expected[8] = {a.m0 - 1.5, b.m0 - 1.5, a.m0 - 1.05, b.m0 - 1.05,
                                a.m0,       b.m0,       a.m0 + 0.45, b.m0 + 0.45};
    for (size_t i = 0; i < 8; ++i) {
        EXPECT_NEAR(minima[i].hjd, expected[i], 1e-9) << i;
        EXPECT_EQ(minima[i].object, i % 2) << i;
        EXPECT_EQ(minima[i].kind, i / 2 % 2 ? MinimumKind::kSecondary : MinimumKind::kPrimary);
    }
    options.threads = 2;
    const std::vector<PlannedMinimum> parallel = PlanMinima({a, b}, options);
    ASSERT_EQ(parallel.size(), minima.size());
    for (size_t i = 0; i < minima.size(); ++i) EXPECT_EQ(parallel[i].hjd, minima[i].hjd);
}

// A period that would put a million cycles into the span plans nothing; a short one every
// minimum: 2 days / 0.015625 d = 128 cycles, none near the span's ends (the example's instant
// lies 19.6 cycles after the start).
TEST(NightPlanner, ShortPeriods) {
    PlannerObject object = BinaryAtExampleInstant();
    object.period = 1.0 / 1000000;  // two million cycles
    PlannerOptions options = NightOf1987April10();
    options.nights = 2;
    EXPECT_TRUE(PlanMinima({object}, options).empty());
    object.period = 0.015625;
    EXPECT_EQ(PlanMinima({object}, options).size(), 2u * 128u);
}

class PlanTexts : public ::testing::Test {
protected:
    void SetUp() override {
        const char* tz = std::getenv("TZ");
        had_tz_ = tz != nullptr;
        if (tz) old_tz_ = tz;
        setenv("TZ", "CET-1", 1);
        tzset();
    }
    void TearDown() override {
        if (had_tz_)
            setenv("TZ", old_tz_.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    bool had_tz_ = false;
    std::string old_tz_;
};

std::vector<PlannedMinimum> TwoMinima() {
    PlannedMinimum a;
    a.object = 0;
    a.kind = MinimumKind::kPrimary;
    a.hjd = 2461000.12345678;
    a.jd = 2461000.125;  // 2025-11-20 15:00 UT, 16:00 CET
    a.half_window = 1.0 / 24;
    a.star_altitude = 45.04;
    a.sun_altitude = -20.26;
    a.moon_altitude = -3.04;
    a.moon_illumination = 0.514;
    a.moon_distance = 101.24;
    a.observable = true;
    a.timing_error = 0.000412;
    PlannedMinimum b = a;
    b.object = 1;
    b.kind = MinimumKind::kSecondary;
    b.observable = false;
    b.timing_error = -1;
    return {a, b};
}

TEST_F(PlanTexts, CsvTable) {
    std::vector<PlannerObject> objects(2);
    objects[0].name = "V1023 Her";
    objects[1].name = "Comma, \"quoted\"";
    EXPECT_EQ(PlanCsv(objects, TwoMinima()),
              "object,kind,HJD,local time,star altitude,Sun altitude,Moon altitude,"
              "Moon illumination,Moon distance,observable,timing error\n"
              "V1023 Her,primary,2461000.12346,2025-11-20 16:00,45.0,-20.3,-3.0,0.51,101.2,"
              "yes,0.00041\n"
              "\"Comma, \"\"quoted\"\"\",secondary,2461000.12346,2025-11-20 16:00,45.0,-20.3,"
              "-3.0,0.51,101.2,no,\n");
}

TEST_F(PlanTexts, CalendarEvents) {
    std::vector<PlannerObject> objects(2);
    objects[0].name = "V1023 Her; A";
    objects[1].name = "B";
    EXPECT_EQ(ICalendarTime(2461000.125), "20251120T150000Z");
    EXPECT_EQ(PlanICalendar(objects, TwoMinima(), 2461000.0),
              "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//KURVALUX//Night planner//EN\r\n"
              "CALSCALE:GREGORIAN\r\n"
              "BEGIN:VEVENT\r\n"
              "UID:V1023-Her--A-primary-2461000.12346@kurvalux\r\n"
              "DTSTAMP:20251120T120000Z\r\n"
              "DTSTART:20251120T140000Z\r\n"
              "DTEND:20251120T160000Z\r\n"
              "SUMMARY:V1023 Her\\; A primary minimum\r\n"
              // Folded at 75 octets: the first line holds 75, each following one a space
              // and 74.
              "DESCRIPTION:HJD 2461000.12346\\, star altitude 45.0 deg\\, Sun altitude -20.3\r\n"
              "  deg\\, Moon altitude -3.0 deg\\, illuminated 51 %\\, 101.2 deg from the star\r\n"
              " \\, timing error 0.6 min\r\n"
              "END:VEVENT\r\n"
              "END:VCALENDAR\r\n");
}

}  // namespace
