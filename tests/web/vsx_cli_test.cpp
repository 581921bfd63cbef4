// kurvalux-cli vsx end to end, against a test server standing in for the catalogue.
#include <gtest/gtest.h>

#include "cli/cli_run.h"
#include "platform/files.h"
#include "web/test_server.h"

namespace {

TEST(VsxCli, PrintsTheLookupsBoxAndSavesOnlyWhenAsked) {
    kurvalux_test::CTestServer server;
    std::string answer;
    ASSERT_EQ(kurvalux_platform::ReadWholeFile(
                  std::string(KURVALUX_TEST_DATA_DIR) + "/vsx/vsx-list-1row.json", 1 << 20, answer),
              kurvalux_platform::ReadStatus::Ok);
    server.Answer("/vsx/index.php", 200, answer);
    TempFolder folder;
    // One object on the catalogue star's position (R.A. 18h52m56.94s, Dec. +58°12'59.1").
    const std::string field = folder.Write(
        "f.kvf",
        "kurvalux\r\n\tversion = 4\r\n\tobjects = 1\r\n\tobject\r\n\t\tname = \"V1\"\r\n"
        "\t\tmeta_data\r\n\t\t\tvar\r\n\t\t\t\tstar_ra = \"18:52:56.938\"\r\n"
        "\t\t\t\tstar_dec = \"+58:12:59.08\"\r\n\t\t\tend_var\r\n\t\tend_meta_data\r\n"
        "\tend_object\r\nend_kurvalux\r\n");
    CliRun run = RunCli({"vsx", field, "--host", server.Url()});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "VSX query completed\n1 stars from this field found in VSX.\n"
              "1 stars from VSX matched and marked.\n");
    EXPECT_EQ(folder.Read("f.kvf").find("ASASSN-V"), std::string::npos);  // not saved
    run = RunCli({"vsx", field, "--host", server.Url(), "--save"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(folder.Read("f.kvf").find("ASASSN-V J185256.94+581259.1"), std::string::npos);

    run = RunCli({"vsx", field, "--host", server.Url() + "/none"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out,
              "Cannot lookup stars in VSX\nVSX server not accessible.\nTry again later.\n");
}

}  // namespace
