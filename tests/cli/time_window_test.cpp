// A time typed on the command line is the same double as the same text in a photometry file:
// a fit window that starts exactly at a point's time, written with all the digits the file
// has, includes that point.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "cli_run.h"
#include "data/number_syntax.h"

namespace {

// As the photometry reader builds it: digit by digit.
double FileValue(const std::string& text) {
    const char* p = text.data();
    double value = 0;
    EXPECT_TRUE(kurvalux_data::ParseDecimalNumber(p, p + text.size(), value));
    return value;
}

// 40 points of a minimum, 0.002 d apart; the first time as a reduction program writes it.
class TimeWindow : public testing::Test {
protected:
    void SetUp() override {
        std::string lines = "# JD: HELIOCENTRIC UNIT: MAGNITUDE\n";
        char line[96];
        for (int k = 0; k < kPoints; ++k) {
            const double t = 2459482.42 + 0.002 * k;
            const double dt = (t - 2459482.459) / 0.012;
            const double noise = (k % 3 - 1) * 0.0015;
            std::snprintf(line, sizeof line, "%s\t%.5f\t0.002\n", Time(k).c_str(),
                          12.0 + 0.3 * std::exp(-dt * dt) + noise);
            lines += line;
        }
        folder_.Write("minimum.txt", lines);
        field_ = folder_.Write(
            "minimum.kvf",
            "kurvalux\r\n\tversion = 4\r\n\tobject\r\n\t\tname = \"EB\"\r\n\t\tseries\r\n"
            "\t\t\trelative_path = \"minimum.txt\"\r\n\t\tend_series\r\n\tend_object\r\n"
            "end_kurvalux\r\n");
    }

    static std::string Time(int k) {
        if (k == 0) return kFirst;
        char text[32];
        std::snprintf(text, sizeof text, "%.10f", 2459482.42 + 0.002 * k);
        return text;
    }

    // fit-min from `start` (the option's words) to the last point.
    CliRun Fit(const std::vector<std::string>& start) const {
        std::vector<std::string> words = {
            "fit-min", field_,     "--root", "",     "--object",
            "EB",      "--series", "1",      "--to", Time(kPoints - 1)};
        words.insert(words.end(), start.begin(), start.end());
        return RunCli(words);
    }

    static constexpr int kPoints = 40;
    static constexpr const char* kFirst = "2459482.4200011574";
    TempFolder folder_;
    std::string field_;
};

TEST_F(TimeWindow, StartingExactlyAtAPointIncludesIt) {
    // The correctly rounded value of the text lies above the one the file gives, so a reader
    // other than the file's would start the window just after the first point.
    ASSERT_GT(std::strtod(kFirst, nullptr), FileValue(kFirst));

    const CliRun at_first = Fit({"--from", kFirst});
    ASSERT_EQ(at_first.status, 0) << at_first.err;
    EXPECT_EQ(at_first.out.substr(0, at_first.out.find('\n')), "points 40");
    EXPECT_EQ(Fit({"--from=" + std::string(kFirst)}).out, at_first.out);

    const CliRun at_second = Fit({"--from", Time(1)});
    ASSERT_EQ(at_second.status, 0) << at_second.err;
    EXPECT_EQ(at_second.out.substr(0, at_second.out.find('\n')), "points 39");
}

}  // namespace
