// kurvalux-cli side, level, import and times end to end: the printed report and the field
// saved with --save.
#include <gtest/gtest.h>

#include "cli/cli_run.h"

namespace {

const char* kField =
    "kurvalux\r\n\tversion = 4\r\n\tobjects = 1\r\n\tobject\r\n\t\tname = \"NSVS 896797\"\r\n"
    "\t\tseries\r\n\t\t\trelative_path = \"a.txt\"\r\n\t\tend_series\r\n"
    "\t\tseries\r\n\t\t\trelative_path = \"b.txt\"\r\n\t\t\toffset = 0.2\r\n\t\tend_series\r\n"
    "\tend_object\r\nend_kurvalux\r\n";

TEST(IoCommands, SideLevelAndImport) {
    TempFolder folder;
    folder.Write("a.txt", "JD: HELIOCENTRIC\n2459000.5 12.0 0.01\n2459000.6 12.4 0.01\n");
    folder.Write("b.txt", "JD: HELIOCENTRIC\n2459003.5 13.0 0.01\n2459003.6 13.2 0.01\n");
    const std::string field = folder.Write("f.kvf", kField);
    const std::string offsets = folder.Path() + "offsets.txt";

    CliRun run = RunCli({"side", "save-offsets", field, "--object", "NSVS 896797", offsets});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(folder.Read("offsets.txt"),
              "KurvaluxSeriesOffsets\r\n2459000 = 0\r\n2459003 = 0.200000\r\n");

    run = RunCli({"level", field, "--object", "NSVS 896797", "--by", "median", "--save"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "levelled by median onto the series starting 2459000.5, level 12.2 (magnitude, "
              "offsets)\nseries levelled 1\nfirst time\tenabled\tlevel\toffset\n"
              "2459000.5\tyes\t12.2\t0\n2459003.5\tyes\t13.1\t-0.9\nfield saved\n");

    // The saved offsets come back from the text written before levelling.
    run = RunCli({"side", "load-offsets", field, "--object", "NSVS 896797", offsets});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "loaded KurvaluxSeriesOffsets into NSVS 896797\noffset lines 2 matched 2\n"
              "2459000.5\t0\n2459003.5\t0.2\nfield not saved (add --save to keep the change)\n");

    run = RunCli({"side", "load-fit", field, "--object", "NSVS 896797", offsets});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err,
              "Failed loading fit parameters: File does not start with required keyword: "
              "KurvaluxFitParameters\n");

    folder.Write("names.txt", "NSVS 896797 V1234 Cep\r\n");
    run = RunCli({"side", "load-altnames", field, folder.Path() + "names.txt"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "alternate names applied 1\nNSVS 896797\tV1234 Cep\nfield not saved (add --save "
              "to keep the change)\n");

    folder.Write("night.csv",
                 "time,mag,err\n2459010.25,12.5,0.01\n2459010.5,NaN,0.01\n"
                 "2459010.75,12.7,0.02\n");
    run = RunCli({"import", folder.Path() + "night.csv", "--field", field, "--object",
                  "NSVS 896797", "--time-kind", "hjd", "--save"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "format plain columns\nseries NSVS 896797 filter - points 2 first "
              "2459010.25 last 2459010.75 standard HJD_UTC file " +
                  folder.Path() + "night.txt\nskipped 1: no measurement (NaN)\nfield saved\n");
    EXPECT_NE(folder.Read("f.kvf").find("night.txt"), std::string::npos);

    run = RunCli({"import", folder.Path() + "night.csv", "--field", field, "--object",
                  "NSVS 896797", "--time-kind", "tai"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "--time-kind takes jd, mjd, hjd, bjd_tdb, btjd or bkjd\n");
}

}  // namespace
