// kurvalux-cli period-minima and periodogram end to end, on the NSVS 896797 minima fields and
// the mhaov reference field.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "fielddata/temp_folder.h"

namespace {

struct CliRun {
    int status = -1;
    std::string out, err;
};

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

CliRun RunCli(const std::string& arguments) {
    TempFolder folder;  // the streams are caught in files that go with the folder
    const std::string base = folder.Path() + "cli";
    const std::string command = std::string("\"") + KURVALUX_CLI_PATH + "\" " + arguments + " >" +
                                base + ".out 2>" + base + ".err";
    CliRun run;
    const int raw = std::system(command.c_str());
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = ReadFile(base + ".out");
    run.err = ReadFile(base + ".err");
    return run;
}

std::vector<std::vector<std::string>> Rows(const std::string& text) {
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> fields;
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, '\t');) fields.push_back(cell);
        rows.push_back(fields);
    }
    return rows;
}

const std::string kData = KURVALUX_TEST_DATA_DIR;
const std::string kNsvs = " --object \"NSVS 896797\"";

TEST(CliPeriodMinima, FindsTheCatalogueKeyFirstForTypedAndUndefinedMinima) {
    for (const char* field : {"typed", "undefined"}) {
        const CliRun run = RunCli("period-minima \"" + kData + "/real/nsvs896797-tess-8minima-" +
                                  field + ".kvf\"" + kNsvs);
        ASSERT_EQ(run.status, 0) << run.err;
        const auto rows = Rows(run.out);
        ASSERT_GE(rows.size(), 2u);
        EXPECT_EQ(rows[0], (std::vector<std::string>{"period", "R", "key"}));
        ASSERT_EQ(rows[1].size(), 3u);
        EXPECT_EQ(rows[1][2], "313") << field;
        EXPECT_NEAR(std::stod(rows[1][0]), 0.312969992, 2e-4);
        EXPECT_GT(std::stod(rows[1][1]), 0.99999);
        // Numbers for machines: at least ten significant digits.
        EXPECT_GE(rows[1][0].size(), 12u) << rows[1][0];
        EXPECT_EQ(run.err,
                  "Possible periods were found: All found periods fitting defined minima were "
                  "added as items of period combo-box \"P:\"\n");
    }
}

TEST(CliPeriodMinima, RefinedColumnsFitThePeriodToTheMinima) {
    const CliRun run = RunCli("period-minima \"" + kData +
                              "/real/nsvs896797-tess-8minima-typed.kvf\"" + kNsvs + " --refined");
    ASSERT_EQ(run.status, 0) << run.err;
    const auto rows = Rows(run.out);
    ASSERT_GE(rows.size(), 2u);
    EXPECT_EQ(rows[0], (std::vector<std::string>{"period", "R", "key", "refined", "error"}));
    ASSERT_EQ(rows[1].size(), 5u);
    EXPECT_EQ(rows[1][2], "313");
    // Eight minima over 3.5 cycles: the fit's error is about 1.6e-4 d, and the period of the
    // whole seven-year list (0.312969992 d) lies within it.
    const double refined = std::stod(rows[1][3]), error = std::stod(rows[1][4]);
    EXPECT_GT(error, 0);
    EXPECT_LT(error, 5e-4);
    EXPECT_LT(std::fabs(refined - 0.312969992), error) << refined << " +- " << error;
}

TEST(CliPeriodMinima, ReportsWhenNothingFitsAndRefusesBadNumbers) {
    const std::string field = "\"" + kData + "/real/nsvs896797-tess-8minima-typed.kvf\"";
    const CliRun strict = RunCli("period-minima " + field + kNsvs + " --limit 1.0");
    EXPECT_EQ(strict.status, 1);
    EXPECT_EQ(strict.out, "period\tR\tkey\n");
    EXPECT_NE(strict.err.find("Cannot find period: No period fits defined minima. Try to:"),
              std::string::npos)
        << strict.err;
    const CliRun bad = RunCli("period-minima " + field + kNsvs + " --pmin fast");
    EXPECT_EQ(bad.status, 2);
    // The refusal is followed by the command's usage.
    EXPECT_EQ(bad.err.substr(0, bad.err.find('\n') + 1), "--pmin needs a number, not \"fast\"\n");
    const CliRun missing = RunCli("period-minima " + field + " --object Nobody");
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "No object named Nobody\n");
}

TEST(CliPeriodogram, ReferenceGridTopThreeDoublingAndCsv) {
    const std::string base = "periodogram \"" + kData +
                             "/mhaov/eb0p3731.kvf\" --object \"EB 0.3731\" --pmin 0.1 --pmax 1.0 "
                             "--step 0.00001";
    TempFolder folder;
    const std::string csv = folder.Path() + "periodogram.csv";
    const CliRun run = RunCli(base + " --csv \"" + csv + "\"");
    ASSERT_EQ(run.status, 0) << run.err;
    const auto rows = Rows(run.out);
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(rows[0], (std::vector<std::string>{"period", "response", "theta", "k"}));
    const char* expected_k[] = {"8655", "8654", "8656"};
    const double expected_theta[] = {3.204656320434e+03, 3.201035474828e+03, 3.193896027501e+03};
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(rows[i + 1].size(), 4u);
        EXPECT_EQ(rows[i + 1][3], expected_k[i]);
        EXPECT_NEAR(std::stod(rows[i + 1][2]), expected_theta[i], 1e-9 * expected_theta[i]);
    }
    EXPECT_EQ(rows[1][0], "0.18655");
    const std::string table = ReadFile(csv);
    EXPECT_EQ(table.rfind("period,response,theta\n0.1,", 0), 0u) << table.substr(0, 60);
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 90002);

    const CliRun doubled = RunCli(base + " --double");
    ASSERT_EQ(doubled.status, 0) << doubled.err;
    const auto doubled_rows = Rows(doubled.out);
    ASSERT_EQ(doubled_rows.size(), 4u);
    EXPECT_EQ(doubled_rows[1][0], "0.3731");
    EXPECT_EQ(doubled_rows[1][3], "8655");
}

TEST(CliPeriodogram, RefusesIncompleteOrEmptyGrids) {
    const std::string base =
        "periodogram \"" + kData + "/mhaov/eb0p3731.kvf\" --object \"EB 0.3731\"";
    const CliRun missing = RunCli(base + " --pmin 0.1 --pmax 1.0");
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.err, "--step is required\n");
    const CliRun empty = RunCli(base + " --pmin 0.5 --pmax 0.4 --step 0.001");
    EXPECT_EQ(empty.status, 1);
    EXPECT_EQ(empty.err, "Cannot find period: Frequency analysis failed\n");
    const CliRun kernel = RunCli(base + " --pmin 0.1 --pmax 0.2 --step 0.01 --kernel sse");
    EXPECT_EQ(kernel.status, 2);
    EXPECT_EQ(kernel.err, "--kernel is one of auto, scalar, avx2, avx512\n");
}

}  // namespace
