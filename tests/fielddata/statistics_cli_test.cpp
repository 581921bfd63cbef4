// Field statistics, and the command line run end to end on the example field.
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>

#include <sys/wait.h>

#include <gtest/gtest.h>

#include "data/field_statistics.h"
#include "temp_folder.h"

using namespace kurvalux_data;

namespace {

void AddNight(CObjectListElem& o, std::vector<double> times, int minima) {
    auto s = std::make_unique<CLocalSeriesTreeElem>();
    s->times = times;
    s->values.assign(times.size(), 10.0);
    s->errors.assign(times.size(), 0.0);
    s->file_meta_data.jd_type = kJdHeliocentric;
    s->minima.resize(minima);
    std::vector<std::string> message;
    ASSERT_TRUE(o.AddSeries(std::move(s), "f", message));
}

TEST(FieldStatistics, AllSeriesAndSingleNights) {
    Field field;
    CObjectListElem& a = field.AddObject();
    AddNight(a, {2459000.30, 2459000.40, 2459000.55}, 2);  // 0.25 d
    AddNight(a, {2459001.30, 2459001.3208333}, 0);         // 0.0208333 d = 0.5 h
    CObjectListElem& b = field.AddObject();
    AddNight(b, {2459000.35, 2459000.45}, 1);  // same night as the first
    AddNight(b, {2458000.0, 2458100.0}, 0);    // a survey of 100 days
    field.AddObject();

    const FieldStatistics all = ComputeFieldStatistics(field, false);
    EXPECT_EQ(FieldStatisticsLines(all),
              (std::vector<std::string>{"Field contains:", "3 objects", "4 series", "3 minima",
                                        "9 points", "4 nights", "2409 obs. hours"}));
    const FieldStatistics short_only = ComputeFieldStatistics(field, true);
    EXPECT_EQ(FieldStatisticsLines(short_only),
              (std::vector<std::string>{"Field contains:", "3 objects", "3 series", "3 minima",
                                        "7 points", "2 nights", "9 obs. hours"}));
}

TEST(FieldStatistics, TimesOutOfRangeAreNamedAndLeftOutOfNightsAndHours) {
    // One good night of 0.25 d, then a series with a broken time. Its points and minima
    // count; its nights and hours cannot and are left out, and a last line says so.
    const double inf = std::numeric_limits<double>::infinity();
    const std::vector<std::string> broken = {"Field contains:",
                                             "1 objects",
                                             "2 series",
                                             "1 minima",
                                             "5 points",
                                             "1 nights",
                                             "6 obs. hours",
                                             "1 series with times out of range, "
                                             "not counted in nights and hours"};
    const std::vector<std::string> good_only = {"Field contains:", "1 objects", "1 series",
                                                "0 minima",        "3 points",  "1 nights",
                                                "6 obs. hours"};
    const struct {
        const char* name;
        std::vector<double> times;
        std::vector<std::string> all, short_only;
    } cases[] = {
        // Spans of more than a day, or of no defined length, are not short.
        {"a time of 1e300", {2459001.3, 1e300}, broken, good_only},
        {"an overflowed time", {2459001.3, inf}, broken, good_only},
        {"a negative time", {-1e300, 2459001.3}, broken, good_only},
        {"a time not a number", {2459001.3, std::nan("")}, broken, good_only},
        // Half a day that ends with the year 10000, and the same half day before it.
        {"the year 10000", {5373484.0, 5373484.5}, broken, broken},
        {"the last day before it",
         {5373483.5, 5373484.0},
         {"Field contains:", "1 objects", "2 series", "1 minima", "5 points", "3 nights",
          "18 obs. hours"},
         {"Field contains:", "1 objects", "2 series", "1 minima", "5 points", "3 nights",
          "18 obs. hours"}},
    };
    for (const auto& c : cases) {
        Field field;
        CObjectListElem& a = field.AddObject();
        AddNight(a, {2459000.30, 2459000.40, 2459000.55}, 0);
        AddNight(a, c.times, 1);
        EXPECT_EQ(FieldStatisticsLines(ComputeFieldStatistics(field, false)), c.all) << c.name;
        EXPECT_EQ(FieldStatisticsLines(ComputeFieldStatistics(field, true)), c.short_only)
            << c.name;
    }
}

std::pair<int, std::string> RunCli(const std::string& arguments) {
    std::string output;
    FILE* pipe = popen((std::string(KURVALUX_CLI_PATH) + " " + arguments + " 2>&1").c_str(), "r");
    std::array<char, 4096> buffer;
    while (size_t n = fread(buffer.data(), 1, buffer.size(), pipe)) output.append(buffer.data(), n);
    const int status = pclose(pipe);
    return {WEXITSTATUS(status), output};
}

TEST(CommandLine, StatsOfTheExampleField) {
    const std::string example = std::string(KURVALUX_SOURCE_DIR) + "/examples/demo/demo.kvf";
    auto [status, output] = RunCli("stats " + example + " --root ''");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(output,
              "Field contains:\n3 objects\n11 series\n9 minima\n3184 points\n11 nights\n"
              "76 obs. hours\n");
}

TEST(CommandLine, RefusedSeriesGoToStderrAndTheRunGoesOn) {
    TempFolder folder;
    folder.Write("a.txt", "1 2\n1.1 2\n");
    const std::string field = folder.Write(
        "f.kvf",
        "kurvalux\r\n\tversion = 4\r\n\tobject\r\n\t\tname = \"S\"\r\n\t\tseries\r\n"
        "\t\t\trelative_path = \"a.txt\"\r\n\t\tend_series\r\n\t\tseries\r\n"
        "\t\t\trelative_path = \"gone.txt\"\r\n\t\tend_series\r\n\tend_object\r\nend_kurvalux\r\n");
    auto [status, output] = RunCli("stats " + field + " --root ''");
    EXPECT_EQ(status, 0);
    // Without a root directory the relative path is tried in the program's folder, and last
    // beside the field file, which is the path named.
    const std::string tried = folder.Path() + "gone.txt";
    EXPECT_EQ(output,
              "Error: Cannot load series photometry data: " + tried + " " +
                  ("Cannot open file: " + tried).substr(0, 79) +  // one line of at most 79
                  " Series kept as unavailable until its file is found\n"
                  "Field contains:\n1 objects\n1 series\n0 minima\n2 points\n1 nights\n2 obs. "
                  "hours\n1 unavailable series (0 minima)\n");

    auto [bad_status, bad_output] = RunCli("stats " + folder.Path() + "absent.kvf --root ''");
    EXPECT_NE(bad_status, 0);
    EXPECT_EQ(bad_output, "Failed load field description: Cannot open file " + folder.Path() +
                              "absent.kvf\nCannot load field: " + folder.Path() + "absent.kvf\n");
}

TEST(CommandLine, StatsOfAFieldWithAbsurdTimes) {
    // An extra run of digits typed into a time. Fifteen digits still read as a number, but
    // not as a Julian Date: the series is counted, its nights and hours cannot be. Three
    // hundred digits are refused by the reader, and the series is kept as unavailable.
    TempFolder folder;
    folder.Write("a.txt", "2459000.3 10\n2459000.5 10\n");
    folder.Write("b.txt", "2459001.3 10\n1" + std::string(14, '0') + " 10\n");
    folder.Write("c.txt", "2459001.3 10\n1" + std::string(299, '0') + " 10\n");
    const auto field_with = [&](const std::string& second) {
        return folder.Write(
            "f.kvf",
            "kurvalux\r\n\tversion = 4\r\n\tobject\r\n\t\tname = \"S\"\r\n\t\tseries\r\n"
            "\t\t\trelative_path = \"a.txt\"\r\n\t\tend_series\r\n\t\tseries\r\n"
            "\t\t\trelative_path = \"" +
                second + "\"\r\n\t\tend_series\r\n\tend_object\r\nend_kurvalux\r\n");
    };

    auto [status, output] = RunCli("stats " + field_with("b.txt") + " --root ''");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(output,
              "Field contains:\n1 objects\n2 series\n0 minima\n4 points\n1 nights\n"
              "5 obs. hours\n1 series with times out of range, not counted in nights and hours\n");

    auto [refused_status, refused_output] = RunCli("stats " + field_with("c.txt") + " --root ''");
    EXPECT_EQ(refused_status, 0);
    const std::string path = folder.Path() + "c.txt";
    EXPECT_EQ(refused_output,
              "Error: Cannot load series photometry data: " + path + " " +
                  ("Number out of range in line 2: 1" + std::string(299, '0')).substr(0, 79) +
                  " Series kept as unavailable until its file is found\n"
                  "Field contains:\n1 objects\n1 series\n0 minima\n2 points\n1 nights\n5 obs. "
                  "hours\n1 unavailable series (0 minima)\n");
}

TEST(CommandLine, SaveRoundTrip) {
    TempFolder folder;
    const std::string example = std::string(KURVALUX_SOURCE_DIR) + "/examples/demo/demo.kvf";
    ASSERT_EQ(RunCli("save " + example + " " + folder.Path() + "a.kvf --root ''").first, 0);
    ASSERT_EQ(RunCli("save " + folder.Path() + "a.kvf " + folder.Path() + "b.kvf --root ''").first,
              0);
    ASSERT_EQ(RunCli("save " + folder.Path() + "b.kvf " + folder.Path() + "c.kvf --root ''").first,
              0);
    EXPECT_EQ(folder.Read("b.kvf"), folder.Read("c.kvf"));
    EXPECT_NE(folder.Read("b.kvf").find("name = \"WASP-12\""), std::string::npos);
}

}  // namespace
