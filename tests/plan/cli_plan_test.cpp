// kurvalux-cli oc and plan, run as a user would, on the example field.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "cli/cli_run.h"
#include "plan/demo_field.h"
#include "plan/utc_time_zone.h"

namespace {

// WASP-12 of the example field: four published mid-transit times (Ivshina & Winn 2022) at
// orbits 2259, 2262, 2265 and 2272 of the published ephemeris.
TEST(CliOC, TableAndFit) {
    TempFolder folder;
    const CliRun run = RunCli(
        {"oc", kDemo, "--object", "WASP-12", "--root", kRoot, "--csv", folder.Path() + "oc.csv"});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<std::string> lines = Lines(run.out);
    ASSERT_GE(lines.size(), 16u);
    EXPECT_EQ(lines[0], "object WASP-12");
    EXPECT_EQ(lines[2], "minima 4 fitted 4 undefined 0");
    EXPECT_EQ(lines[3].rfind("M0 2457010.55", 0), 0u) << lines[3];
    EXPECT_EQ(lines[4].rfind("period 1.0913997", 0), 0u) << lines[4];
    EXPECT_EQ(lines[6], "dof 2");
    EXPECT_EQ(lines[8], "weights 1/error^2");
    EXPECT_EQ(lines[9], "errors scaled no");
    EXPECT_EQ(lines[11], "E\ttype\ttime\terror\tO-C\tresidual");
    EXPECT_EQ(lines[12].rfind("2259\tprimary\t2459476.02694\t0.000477\t-0.00097989", 0), 0u)
        << lines[12];
    const std::vector<std::string> csv = Lines(folder.Read("oc.csv"));
    ASSERT_EQ(csv.size(), 5u);
    EXPECT_EQ(csv[0], "cycle,type,time,error,oc,fitted,residual");
    EXPECT_EQ(csv[3].rfind("2265,primary,2459482.57489,0.000519,-0.0015444990", 0), 0u) << csv[3];
}

TEST(CliOC, Refusals) {
    const std::string nsvs =
        std::string(KURVALUX_TEST_DATA_DIR) + "/real/nsvs896797-tess-8minima-typed.kvf";
    CliRun run = RunCli({"oc", nsvs, "--object", "NSVS 896797"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.ErrLine(0), "NSVS 896797 has no ephemeris (M0 and period) to count cycles from");
    run = RunCli({"oc", kDemo, "--root", kRoot});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.ErrLine(0), "--object is required");
}

// --apply on the eight NSVS 896797 minima of the test data, given the list's ephemeris: the
// fitted M0 and period are stored, the saved copy keeps the old ones.
TEST(CliOC, ApplySavesTheFittedEphemeris) {
    TempFolder folder;
    const std::string data = std::string(KURVALUX_TEST_DATA_DIR) + "/real/";
    std::ifstream in(data + "nsvs896797-tess-8minima-typed.kvf", std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), {});
    const std::string m0 = "\t\tm0 = 0\r\n", period = "\t\tperiod = 0\r\n";
    ASSERT_NE(text.find(m0), std::string::npos);
    text.replace(text.find(m0), m0.size(), "\t\tm0 = 2457143.761878\r\n");
    // The object's block names its period twice (the ephemeris and the period box).
    for (int i = 0; i < 2; ++i)
        text.replace(text.find(period), period.size(), "\t\tperiod = 0.312969992\r\n");
    folder.Write("f.kvf", text);
    std::ifstream placeholder(data + "nsvs896797-minima-placeholder.txt", std::ios::binary);
    folder.Write("nsvs896797-minima-placeholder.txt",
                 std::string((std::istreambuf_iterator<char>(placeholder)), {}));
    const std::string field = folder.Path() + "f.kvf";
    CliRun run = RunCli({"oc", field, "--object", "NSVS 896797", "--apply", "--root", "/none"});
    ASSERT_EQ(run.status, 0) << run.err;
    // Eight minima of one night, 3.5 cycles: M0 carried back 5400 cycles is poorly known, but
    // it is what the fit gave, and what is stored.
    const std::vector<std::string> lines = Lines(run.out);
    ASSERT_GE(lines.size(), 5u);
    const std::string fitted_m0 = lines[3].substr(3, lines[3].find(" +-") - 3);
    const std::string fitted_period = lines[4].substr(7, lines[4].find(" +-") - 7);
    EXPECT_EQ(lines.back(), "applied M0 " + fitted_m0 + " period " + fitted_period +
                                " (saved copy M0 2457143.76188 period 0.312969992 kept)");
    // Read back (the field keeps six decimals of the period).
    run = RunCli({"oc", field, "--object", "NSVS 896797", "--root", "/none"});
    ASSERT_EQ(run.status, 0) << run.err;
    double stored_m0 = 0, stored_period = 0;
    ASSERT_EQ(std::sscanf(Lines(run.out)[1].c_str(), "ephemeris M0 %lf period %lf", &stored_m0,
                          &stored_period),
              2);
    EXPECT_NEAR(stored_m0, std::stod(fitted_m0), 1e-5);
    EXPECT_NEAR(stored_period, std::stod(fitted_period), 1e-6);
    run = RunCli({"oc", field, "--object", "NSVS 896797", "--apply", "--quadratic"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.ErrLine(0), "--apply stores a linear ephemeris; leave out --quadratic");
}

class CliPlan : public UtcTimeZoneTest {};

// Ten nights from 2025 October 22.0 UT at 15° E, 50° N: every minimum of the three objects,
// in time order, and the calendar holds exactly the observable ones.
TEST_F(CliPlan, TableAndCalendar) {
    TempFolder folder;
    const std::vector<std::string> common = {"plan",      kDemo,      "--root", kRoot,    "--start",
                                             "2460970.5", "--nights", "10",     "--site", "15,50"};
    std::vector<std::string> words = common;
    words.insert(words.end(), {"--csv", folder.Path() + "plan.csv"});
    CliRun run = RunCli(words);
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "site 15 50 start 2460970.5 nights 10 star-alt 20 sun-alt -12\n"
              "objects 3 minima 102 observable 8\n");
    const std::vector<std::string> csv = Lines(folder.Read("plan.csv"));
    ASSERT_EQ(csv.size(), 103u);
    EXPECT_EQ(csv[0],
              "object,kind,HJD,local time,star altitude,Sun altitude,Moon altitude,"
              "Moon illumination,Moon distance,observable,timing error");
    size_t yes = 0;
    double last = 0;
    for (size_t i = 1; i < csv.size(); ++i) {
        std::vector<std::string> cells;
        std::stringstream stream(csv[i]);
        std::string cell;
        while (std::getline(stream, cell, ',')) cells.push_back(cell);
        ASSERT_GE(cells.size(), 10u) << csv[i];
        EXPECT_TRUE(cells[1] == "primary" || cells[1] == "secondary");
        const double hjd = std::stod(cells[2]);
        EXPECT_GE(hjd, last - 0.01);  // arrival order; the light-time differs per star
        last = hjd;
        yes += cells[9] == "yes";
        // An observable minimum has the star above 20° and the Sun below -12° at its middle.
        if (cells[9] == "yes") {
            EXPECT_GE(std::stod(cells[4]), 20.0) << csv[i];
            EXPECT_LE(std::stod(cells[5]), -12.0) << csv[i];
        }
    }
    EXPECT_EQ(yes, 8u);
    // The example's Algol-type binary at 05h34.5m +22°01' near the meridian on the night of
    // 2025 October 23/24: 90° − 50° + 22.0° = 62.0° at culmination, 61.5° at 6.6° of hour
    // angle.
    EXPECT_EQ(csv[22].rfind("KVX Demo Algol,primary,2460972.58519,2025-10-24 01:58,61.5,", 0), 0u)
        << csv[22];

    words = common;
    words.insert(words.end(), {"--ics", folder.Path() + "plan.ics"});
    run = RunCli(words);
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string ics = folder.Read("plan.ics");
    size_t events = 0;
    for (size_t at = ics.find("BEGIN:VEVENT\r\n"); at != std::string::npos;
         at = ics.find("BEGIN:VEVENT\r\n", at + 1))
        ++events;
    EXPECT_EQ(events, 8u);
    EXPECT_NE(ics.find("SUMMARY:KVX Demo Algol primary minimum\r\n"), std::string::npos);
    EXPECT_EQ(ics.rfind("END:VCALENDAR\r\n"), ics.size() - 15);
}

TEST_F(CliPlan, Refusals) {
    struct Case {
        std::vector<std::string> words;
        int status;
        std::string message;
    };
    const std::vector<Case> cases = {
        {{"--site", "0,50"}, 1, "The observing site is not set (longitude or latitude is 0)"},
        {{"--site", "15"},
         2,
         "--site needs LON,LAT: east longitude and latitude in degrees, e.g. 15.5,49.2"},
        {{"--site", "15,95"},
         2,
         "--site needs LON,LAT: east longitude and latitude in degrees, e.g. 15.5,49.2"},
        {{"--site", "15,50", "--csv", "a", "--ics", "b"},
         2,
         "Give either --csv or --ics, not both"},
        {{"--site", "15,50", "--duration", "0"},
         2,
         "--duration needs a length in days above 0 and at most 1"},
        {{"--site", "15,50", "--objects", "Nobody"}, 1, "No object named Nobody"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> words = {"plan", kDemo, "--root", kRoot};
        words.insert(words.end(), c.words.begin(), c.words.end());
        const CliRun run = RunCli(words);
        EXPECT_EQ(run.status, c.status) << c.message;
        EXPECT_EQ(run.ErrLine(0), c.message);
    }
}

}  // namespace
