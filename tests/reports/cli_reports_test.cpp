// The report commands of kurvalux-cli, run as a user runs them.
#include <gtest/gtest.h>

#include "cli/cli_run.h"
#include "fielddata/temp_folder.h"

namespace {

struct CliField {
    TempFolder folder;
    std::string field;
    CliField() {
        for (const char* name : {"test.kvf", "night1.txt", "night2.txt"}) {
            std::ifstream in(std::string(KURVALUX_TEST_DATA_DIR) + "/app/" + name,
                             std::ios::binary);
            folder.Write(name, std::string(std::istreambuf_iterator<char>(in), {}));
        }
        field = folder.Path() + "test.kvf";
    }
};

TEST(CliReports, SheetAndCopyInfoOnStandardOutput) {
    setenv("TZ", "UTC", 1);
    CliField f;
    const CliRun sheet = RunCli({"sheet", f.field});
    ASSERT_EQ(sheet.status, 0) << sheet.err;
    EXPECT_EQ(sheet.out,
              "Name\tAlternate name\tType\tComment\tM0\tPeriod\tMax. Mag\tMin. Mag\tR.A.\tDec.\t"
              "Catalog\tCat. Id\tCat. R.A.\tCat. Dec.\tCat. Mag\tCat. B-V\tCat. J-K\t2020-05-30\t"
              "2020-06-02\n"
              "Test Binary\t\t\t\t2459000.5000000\t0.7400000\t\t\t\t\t\t\t\t\t\t\t\tx\tx\n"
              "Empty Star\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\n");
    const CliRun info = RunCli({"copy-info", f.field, "--object", "Test Binary", "--mask",
                                "%FIELD%/%OBJ_NAME%/%OBJ_NAME%%CRLF%P=%PERIOD% [%DEC_HUMAN%]"});
    ASSERT_EQ(info.status, 0) << info.err;
    EXPECT_EQ(info.out, "test/Test Binary/Test Binary\r\nP=0.740000 []");
}

TEST(CliReports, ExportsWriteTheirFilesAndRefuseWhatDoesNotBelong) {
    CliField f;
    const CliRun csv =
        RunCli({"export", "csv", f.field, "--out", f.folder.Path() + "t.csv", "--var"});
    ASSERT_EQ(csv.status, 0) << csv.err;
    EXPECT_EQ(f.folder.Read("t.csv").substr(0, 7), "sep=;\r\n");
    const CliRun series = RunCli({"export", "series", f.field, "--object", "Test Binary", "--kind",
                                  "phased", "--out", f.folder.Path() + "p.txt"});
    ASSERT_EQ(series.status, 0) << series.err;
    EXPECT_EQ(f.folder.Read("p.txt").substr(0, 48),
              "# Kurvalux export: Test Binary (phased series)\r\n");
    const CliRun phased_without = RunCli({"export", "series", f.field, "--object", "Empty Star",
                                          "--kind", "phased", "--out", f.folder.Path() + "e.txt"});
    EXPECT_EQ(phased_without.status, 1);
    EXPECT_EQ(phased_without.err,
              "Export failed: Cannot export phased light curve if M0 and/or P is not defined\n");
    const CliRun minima = RunCli({"export", "minima", f.field, "--object", "Empty Star", "--out",
                                  f.folder.Path() + "m.txt"});
    EXPECT_EQ(minima.status, 1);
    EXPECT_EQ(minima.err, "Export failed: No minima defined for the selected object.\n");
    const CliRun wrong =
        RunCli({"export", "csv", f.field, "--out", f.folder.Path() + "x.csv", "--prefix", "img/"});
    EXPECT_EQ(wrong.status, 2);
    EXPECT_EQ(wrong.err, "--prefix does not belong to export csv\n");
    const CliRun help = RunCli({"help"});
    for (const char* command : {"  export ", "  sheet ", "  copy-info "})
        EXPECT_NE(help.out.find(command), std::string::npos) << command;
}

}  // namespace
