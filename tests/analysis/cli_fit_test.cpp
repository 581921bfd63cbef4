// kurvalux-cli fit-min, fit-all-minima and fit-phase end to end: the real WASP-12 b transit
// against its published mid-time, refusals with their exact texts, and a synthetic binary
// field written to a temporary folder (minima added and saved, phase parameters saved).
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "analysis/model.h"

namespace {

struct CliRun {
    int code = -1;
    std::string out;
    std::map<std::string, std::string> values;  // "key value" lines of stdout
};

CliRun RunCli(const std::string& arguments) {
    CliRun run;
    const std::string command = std::string(KURVALUX_CLI_PATH) + " " + arguments + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return run;
    char buffer[4096];
    while (fgets(buffer, sizeof buffer, pipe)) run.out += buffer;
    const int status = pclose(pipe);
    run.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::istringstream lines(run.out);
    std::string line;
    while (std::getline(lines, line)) {
        const size_t space = line.find(' ');
        if (space != std::string::npos) run.values[line.substr(0, space)] = line.substr(space + 1);
    }
    return run;
}

const std::string kRealField = std::string(KURVALUX_TEST_DATA_DIR) + "/real/wasp12b-e2265.kvf";

TEST(CliFit, Wasp12bTransitAgreesWithThePublishedMidTime) {
    // Published (Ivshina & Winn 2022): T_mid = 2459482.57489 +- 0.0005193 BJD_TDB.
    const CliRun run = RunCli("fit-min " + kRealField +
                              " --object WASP-12 --series 1 --from 2459482.42 --to 2459482.73"
                              " --bootstrap --processors 2 --seed 2265");
    ASSERT_EQ(run.code, 0) << run.out;
    EXPECT_EQ(run.values.at("points"), "216");
    EXPECT_EQ(run.values.at("bootstrap_rounds"), "1000");
    const double t = std::stod(run.values.at("time_of_minimum"));
    const double error = std::stod(run.values.at("error"));
    EXPECT_GT(error, 2e-4);
    EXPECT_LT(error, 1e-3);
    const double combined = std::sqrt(error * error + 0.0005193 * 0.0005193);
    EXPECT_LT(std::fabs(t - 2459482.57489), 2 * combined) << run.out;
    // The seven values and the depth of a 1.6 % transit.
    EXPECT_NEAR(std::stod(run.values.at("A")), 0.0162, 0.001);
    EXPECT_EQ(run.values.at("C"), "0");
}

TEST(CliFit, BlockErrorMethodAddsItsLinesAfterTheCaseBootstrap) {
    const std::string base = "fit-min " + kRealField +
                             " --object WASP-12 --series 1 --from 2459482.42 --to 2459482.73"
                             " --bootstrap --processors 2 --seed 2265";
    const CliRun plain = RunCli(base);
    const CliRun chosen_case = RunCli(base + " --error-method case");
    const CliRun block = RunCli(base + " --error-method block");
    ASSERT_EQ(block.code, 0) << block.out;
    EXPECT_EQ(chosen_case.out, plain.out);
    // Every line of the plain run, unchanged, then the block bootstrap's three.
    ASSERT_EQ(block.out.substr(0, plain.out.size()), plain.out);
    std::istringstream added(block.out.substr(plain.out.size()));
    std::vector<std::string> keys;
    for (std::string line; std::getline(added, line);)
        keys.push_back(line.substr(0, line.find(' ')));
    EXPECT_EQ(keys,
              (std::vector<std::string>{"block_length", "block_bootstrap_fits", "block_error"}));
    EXPECT_GE(std::stoi(block.values.at("block_length")), 3);
    EXPECT_EQ(block.values.at("block_bootstrap_fits"), "1000");
    // Two-minute TESS photometry of a bright star is close to white: the two errors agree
    // within the scatter of their resamplings.
    const double ratio =
        std::stod(block.values.at("block_error")) / std::stod(block.values.at("error"));
    EXPECT_GT(ratio, 0.7);
    EXPECT_LT(ratio, 1.6);

    const CliRun wrong = RunCli(base + " --error-method beta");
    EXPECT_EQ(wrong.code, 2);
    EXPECT_EQ(wrong.out, "--error-method must be case or block, not \"beta\"\n");
}

TEST(CliFit, RefusalsPrintTheirBoxes) {
    CliRun run = RunCli("fit-min " + kRealField +
                        " --object WASP-12 --series 1 --from 2459482.42 --to 2459482.43");
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out,
              "Cannot perform minimum fit: At last 7 points needed for fit. Series contains too "
              "little points.\n");
    run = RunCli("fit-min " + kRealField +
                 " --object WASP-12 --series 1 --from 2459482.42 --to 2459482.73"
                 " --start 0,2459482.57,0,0.02,0.7,1,0");
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out, "Minimum fitting failed: Initial values inconsistent with constraints\n");
    run = RunCli("fit-min " + kRealField + " --object WASP-12 --series 2 --from 1 --to 2");
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.out, "--series must be a number from 1 to 1 (object WASP-12), not \"2\"\n");
    run = RunCli("fit-min " + kRealField +
                 " --object WASP-12 --series 1 --from 2459482.42 --to 2459482.73 --fixed m0,Q");
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.out, "--fixed: unknown parameter \"Q\" (names: m0,t0,s,A,D,G,C)\n");
    run = RunCli("fit-all-minima " + kRealField +
                 " --object WASP-12 --primary 0 --min-branch-points 5");
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out, "Cannot find minima: Primary Time Range udefined\n");
    run = RunCli("fit-all-minima " + kRealField +
                 " --object WASP-12 --primary 0.3 --secondary 0.3 --secondary-phase 0"
                 " --min-branch-points 5");
    EXPECT_EQ(run.out, "Cannot find minima: Secondary phase udefined\n");
}

TEST(CliFit, FixedStartValuesAreKept) {
    const CliRun run = RunCli("fit-min " + kRealField +
                              " --object WASP-12 --series 1 --from 2459482.42 --to 2459482.73"
                              " --start 0,2459482.575,0,0.016,0.08,20,0 --fixed s,G");
    ASSERT_EQ(run.code, 0) << run.out;
    EXPECT_EQ(run.values.at("s"), "0");
    EXPECT_EQ(run.values.at("G"), "20");
    EXPECT_NE(run.values.at("C"), "0");  // freed: --fixed replaces the default
}

// A field with one synthetic binary: two nights, each covering one primary minimum.
class SyntheticField : public testing::Test {
protected:
    void SetUp() override {
        folder_ = std::filesystem::temp_directory_path() /
                  ("kurvalux-cli-fit-" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder_);
        const kurvalux_data::LightCurveParameters p = {12.0, 0.5, 0.7, 0.05,  1.3, 0.0, 0.2, 0.05,
                                                       1.1,  0.0, 0.0, -0.01, 0.0, 0.0, 0.0, 0.0};
        const kurvalux_analysis::CLightCurveModel model(p);
        std::mt19937_64 random(12);
        std::normal_distribution<double> noise(0.0, 0.004);
        const double starts[3] = {2460000.05, 2460003.7, 2460006.75};
        for (int n = 0; n < 3; ++n) {
            std::ofstream out(folder_ / ("night" + std::to_string(n) + ".txt"));
            out << "# JD: HELIOCENTRIC UNIT: MAGNITUDE\n";
            char line[128];
            for (double t = starts[n]; t < starts[n] + 0.5; t += 3.0 / 1440) {
                const double phase = kurvalux_analysis::PhaseOf(t, kM0, kPeriod);
                std::snprintf(line, sizeof line, "%.6f\t%.5f\t0.004\n", t,
                              model.Evaluate(phase) + noise(random));
                out << line;
            }
        }
        std::ofstream field(folder_ / "binary.kvf", std::ios::binary);
        field
            << "kurvalux\r\n\tversion = 4\r\n\tobjects = 1\r\n\tobject\r\n"
            << "\t\tname = \"Synthetic\"\r\n\t\tm0 = 2460000.2\r\n\t\tperiod = 1.234\r\n"
            << "\t\tfit\r\n\t\t\tmag0 = 11.9\r\n\t\t\tsec_phase = 0.5\r\n\t\t\ta_pri = 0.6\r\n"
            << "\t\t\td_pri = 0.06\r\n\t\t\tg_pri = 1\r\n\t\t\tc_pri = 0\r\n\t\t\ta_sec = 0.15\r\n"
            << "\t\t\td_sec = 0.06\r\n\t\t\tg_sec = 1\r\n\t\t\tc_sec = 0\r\n\t\t\ta_sin1 = 0\r\n"
            << "\t\t\ta_sin2 = 0\r\n\t\t\ta_sin3 = 0\r\n\t\t\ta_cos1 = 0\r\n\t\t\ta_cos2 = 0\r\n"
            << "\t\t\ta_cos3 = 0\r\n\t\tend_fit\r\n";
        for (int n = 0; n < 3; ++n)
            field << "\t\tseries\r\n\t\t\trelative_path = \"night" << n
                  << ".txt\"\r\n\t\t\toffset = 0\r\n\t\t\tenabled = TRUE\r\n\t\tend_series\r\n";
        field << "\tend_object\r\nend_kurvalux\r\n";
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    std::string Field() const { return (folder_ / "binary.kvf").string(); }
    static constexpr double kM0 = 2460000.2;
    static constexpr double kPeriod = 1.234;
    std::filesystem::path folder_;
};

TEST_F(SyntheticField, FitAllMinimaAddsAndSaves) {
    // Primaries at 2460000.2 and 2460003.902, a secondary at 2460006.987: one per night.
    CliRun run = RunCli("fit-all-minima " + Field() +
                        " --object Synthetic --primary 0.25 --secondary-phase 0.5 --secondary 0.25"
                        " --min-branch-points 20 --yes --save --processors 2 --seed 3");
    ASSERT_EQ(run.code, 0) << run.out;
    // "minimum series K TYPE TIME error ERROR added" per minimum found.
    std::istringstream lines(run.out);
    std::string line;
    std::vector<std::tuple<int, std::string, double>> found;
    while (std::getline(lines, line)) {
        if (line.rfind("minimum series ", 0) != 0) continue;
        std::istringstream words(line.substr(15));
        int series;
        std::string type;
        double time;
        words >> series >> type >> time;
        found.emplace_back(series, type, time);
    }
    ASSERT_EQ(found.size(), 3u) << run.out;
    const std::tuple<int, std::string, double> expected[3] = {
        {1, "primary", 2460000.2}, {2, "primary", 2460003.902}, {3, "secondary", 2460006.987}};
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(std::get<0>(found[k]), std::get<0>(expected[k]));
        EXPECT_EQ(std::get<1>(found[k]), std::get<1>(expected[k]));
        EXPECT_NEAR(std::get<2>(found[k]), std::get<2>(expected[k]), 1e-3);
    }
    EXPECT_NE(run.out.find("found 3 added 3"), std::string::npos) << run.out;
    std::ifstream saved(Field());
    std::stringstream text;
    text << saved.rdbuf();
    EXPECT_NE(text.str().find("type = secondary"), std::string::npos);
    EXPECT_NE(text.str().find("primary_fit_time_range = 0.25"), std::string::npos);

    // Without --yes every question is answered by Cancel: nothing is added.
    run = RunCli("fit-all-minima " + Field() +
                 " --object Synthetic --primary 0.25 --min-branch-points 20 --processors 1");
    ASSERT_EQ(run.code, 0) << run.out;
    EXPECT_NE(run.out.find("added 0 cancelled"), std::string::npos) << run.out;
}

TEST_F(SyntheticField, FitPhaseStartsFromTheObjectAndSaves) {
    CliRun run = RunCli("fit-phase " + Field() + " --object Synthetic --save");
    ASSERT_EQ(run.code, 0) << run.out;
    EXPECT_NEAR(std::stod(run.values.at("a_pri")), 0.7, 0.01);
    EXPECT_NEAR(std::stod(run.values.at("a_sec")), 0.2, 0.01);
    EXPECT_NEAR(std::stod(run.values.at("mag0")), 12.0, 0.005);
    EXPECT_EQ(run.values.at("c_pri"), "0");
    EXPECT_LT(std::stod(run.values.at("final_chi2")), std::stod(run.values.at("initial_chi2")));
    // Saved: a second fit starts where the first ended.
    run = RunCli("fit-phase " + Field() + " --object Synthetic --free mag0");
    ASSERT_EQ(run.code, 0) << run.out;
    EXPECT_NEAR(std::stod(run.values.at("a_pri")), 0.7, 0.01);
    run = RunCli("fit-phase " + Field() + " --object Synthetic --free mag0,x_pri");
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.out, "--free: unknown parameter \"x_pri\"\n");
}

}  // namespace
