// The ephemeris charts from the command line: chart --view oc and plan --svg / --png, run as a
// user would on the example field.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "cli/cli_run.h"
#include "plan/demo_field.h"
#include "plan/utc_time_zone.h"

namespace {

size_t Count(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

class CliCharts : public UtcTimeZoneTest {};

// WASP-12's four published transit times against the field's ephemeris: orbits 2259 to 2272,
// all primaries, so the cycle axis runs from 2259 − 0.65 to 2272 + 0.65.
TEST_F(CliCharts, OCDiagram) {
    TempFolder folder;
    const std::string out = folder.Path() + "oc.svg";
    CliRun run = RunCli({"chart", kDemo, "--root", kRoot, "--object", "WASP-12", "--view", "oc",
                         "--out", out, "--width", "640", "--height", "400", "--errors"});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<std::string> lines = Lines(run.out);
    ASSERT_EQ(lines.size(), 7u) << run.out;
    EXPECT_EQ(lines[0], "view O-C");
    EXPECT_EQ(lines[1], "file " + out);
    EXPECT_EQ(lines[2], "size 640 400");
    EXPECT_EQ(lines[3], "minima 4 fitted 4 undefined 0");
    EXPECT_EQ(lines[4].rfind("fit linear period 1.0913997", 0), 0u) << lines[4];
    EXPECT_EQ(lines[5], "visible_x 2258.35 2272.65");
    const std::string svg = folder.Read("oc.svg");
    EXPECT_EQ(svg.rfind("<?xml", 0), 0u);
    EXPECT_NE(svg.find(">Linear fit<"), std::string::npos);
    EXPECT_NE(svg.find(">O-C d<"), std::string::npos);

    // In minutes against time, with the quadratic term.
    run = RunCli({"chart", kDemo, "--root", kRoot, "--object", "WASP-12", "--view", "oc", "--out",
                  out, "--axis", "time", "--minutes", "--quadratic"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(Lines(run.out)[4].rfind("fit quadratic period ", 0), 0u) << run.out;
    const std::string minutes = folder.Read("oc.svg");
    EXPECT_NE(minutes.find(">O-C min<"), std::string::npos);
    EXPECT_NE(minutes.find(">Quadratic fit<"), std::string::npos);
    EXPECT_NE(minutes.find(">HJD<"), std::string::npos);

    struct Case {
        std::vector<std::string> words;
        int status;
        std::string message;
    };
    const std::vector<Case> cases = {
        {{"--object", "WASP-12", "--view", "oc", "--axis", "phase"},
         2,
         "Unknown axis \"phase\": cycle or time"},
        {{"--object", "WASP-12", "--view", "time", "--minutes"},
         2,
         "--axis, --minutes and --quadratic belong to --view oc"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> words = {"chart", kDemo, "--root", kRoot, "--out", out};
        words.insert(words.end(), c.words.begin(), c.words.end());
        run = RunCli(words);
        EXPECT_EQ(run.status, c.status) << c.message;
        EXPECT_EQ(run.ErrLine(0), c.message);
    }
}

// Three nights of the example field from 15° E, 50° N: the summary lines stay those of plan
// without a chart, with one line per chart written.
TEST_F(CliCharts, NightChart) {
    TempFolder folder;
    const std::vector<std::string> common = {"plan",      kDemo,      "--root", kRoot,    "--start",
                                             "2460970.5", "--nights", "3",      "--site", "15,50"};
    const CliRun plain = RunCli(common);
    ASSERT_EQ(plain.status, 0) << plain.err;
    std::vector<std::string> words = common;
    words.insert(words.end(), {"--svg", folder.Path() + "nights.svg", "--png",
                               folder.Path() + "nights.png", "--width", "900", "--height", "300"});
#ifndef KURVALUX_CLI_HAS_IMG
    // A build without Qt refuses the PNG and writes nothing; the SVG alone still works.
    const CliRun no_png = RunCli(words);
    EXPECT_EQ(no_png.status, 1);
    EXPECT_EQ(no_png.err, "PNG images need the Qt build of kurvalux-cli; use --svg\n");
    EXPECT_FALSE(std::filesystem::exists(folder.Path() + "nights.svg"));
    words.erase(words.begin() + 12, words.begin() + 14);  // "--png" and its file
#endif
    const CliRun run = RunCli(words);
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<std::string> plain_lines = Lines(plain.out), lines = Lines(run.out);
    size_t charts = 1;
#ifdef KURVALUX_CLI_HAS_IMG
    EXPECT_EQ(lines.at(2), "chart " + folder.Path() + "nights.png 900 300");
    charts = 2;
#endif
    ASSERT_EQ(lines.size(), plain_lines.size() + charts);
    EXPECT_EQ(lines[0], plain_lines[0]);
    EXPECT_EQ(lines[1], plain_lines[1]);
    EXPECT_EQ(lines[1 + charts], "chart " + folder.Path() + "nights.svg 900 300");
    for (size_t i = 2; i < plain_lines.size(); ++i) EXPECT_EQ(lines[i + charts], plain_lines[i]);

    const std::string svg = folder.Read("nights.svg");
    EXPECT_EQ(Count(svg, ">2025-10-2"), 3u);  // one date per night
    EXPECT_NE(svg.find(">Local time<"), std::string::npos);
    EXPECT_NE(svg.find(">KVX Demo Algol<"), std::string::npos);
#ifdef KURVALUX_CLI_HAS_IMG
    const std::string png = folder.Read("nights.png");
    ASSERT_GT(png.size(), 24u);
    EXPECT_EQ(png.substr(1, 3), "PNG");
    // Width and height in the IHDR chunk, big-endian.
    auto be32 = [&](size_t at) {
        return (unsigned char)png[at] << 24 | (unsigned char)png[at + 1] << 16 |
               (unsigned char)png[at + 2] << 8 | (unsigned char)png[at + 3];
    };
    EXPECT_EQ(be32(16), 900);
    EXPECT_EQ(be32(20), 300);
#endif

    words = common;
    words.insert(words.end(), {"--width", "900"});
    const CliRun refused = RunCli(words);
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.ErrLine(0), "--width and --height belong to --png and --svg");
}

}  // namespace
