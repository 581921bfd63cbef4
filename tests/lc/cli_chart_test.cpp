// kurvalux-cli chart on the example field: every view gives a chart, and bad requests are
// refused with their messages. The example field's Algol has mag0 12.3 and a_pri 0.85 in its
// fit block and a primary minimum at its M0, 2460950.3876543.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct CliRun {
    int code = -1;
    std::string out;
    std::string err;
};

CliRun RunCli(const std::string& arguments) {
    std::filesystem::path err_file = std::filesystem::temp_directory_path() /
                                     ("kurvalux_cli_chart_err_" + std::to_string(getpid()));
    std::string command = std::string("\"") + KURVALUX_CLI_PATH + "\" chart " + arguments +
                          " 2>\"" + err_file.string() + "\"";
    CliRun run;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return run;
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) run.out.append(buffer, n);
    int status = pclose(pipe);
    run.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::ifstream err(err_file);
    std::stringstream text;
    text << err.rdbuf();
    run.err = text.str();
    std::filesystem::remove(err_file);
    return run;
}

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

size_t Count(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

double Value(const std::string& out, const std::string& key) {
    size_t at = out.find("\n" + key + " ");
    if (at == std::string::npos) return std::nan("");
    return std::stod(out.substr(at + key.size() + 2));
}

class CliChart : public ::testing::Test {
protected:
    void SetUp() override {
        folder = std::filesystem::temp_directory_path() /
                 ("kurvalux_cli_chart_" + std::to_string(getpid()));
        std::filesystem::create_directories(folder);
        // No settings of the user's own (filters, root path) may change the charts.
        setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }
    std::string Field() const {
        return std::string("\"") + KURVALUX_SOURCE_DIR + "/examples/demo/demo.kvf\"";
    }
    std::filesystem::path folder;
};

TEST_F(CliChart, EveryViewOfTheExampleField) {
    struct Case {
        const char* view;
        const char* extra;
        const char* name;
    };
    const std::vector<Case> cases = {{"time", "", "Time Series"},
                                     {"compressed", "", "Compressed Series"},
                                     {"phased", "", "Phased Curve"},
                                     {"fit", "", "Phased Curve Fit"},
                                     {"minimum", "--series 1", "Minimum Fit"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.view);
        std::filesystem::path svg = folder / (std::string(c.view) + ".svg");
        CliRun run =
            RunCli(Field() + " --object \"KVX Demo Algol\" --view " + c.view + " " + c.extra +
                   " --out \"" + svg.string() + "\" --width 640 --height 400 --title \"A & B\"");
        ASSERT_EQ(run.code, 0) << run.err;
        EXPECT_EQ(run.out.substr(0, run.out.find('\n')), std::string("view ") + c.name);
        EXPECT_NE(run.out.find("\nsize 640 400\n"), std::string::npos);
        std::string text = ReadFile(svg);
        EXPECT_EQ(text.substr(0, 21), "<?xml version=\"1.0\"?>");
        // The title is painted last, and the document ends without a line break.
        const std::string end = "class=\"title\">A & B</text>\r\n</svg>";
        ASSERT_GT(text.size(), end.size());
        EXPECT_EQ(text.substr(text.size() - end.size()), end);
        EXPECT_GT(Count(text, "<circle "), 100u);  // the points
        if (std::string(c.view) == "fit") {
            EXPECT_EQ(Count(text, "<polyline "), 1u);
            EXPECT_NEAR(Value(run.out, "max_mag"), 12.3, 0.02);
            EXPECT_NEAR(Value(run.out, "min_mag"), 12.3 + 0.85, 0.02);
        }
        if (std::string(c.view) == "minimum") {
            EXPECT_EQ(Count(text, "<polyline "), 1u);
            EXPECT_NEAR(Value(run.out, "minimum_time"), 2460950.3876543, 0.001);
        }
    }
}

// Three days of the example's Algol from 2025 October 22, 0h UT, at 15° E, 50° N: the curve
// spans mag0 to mag0 + a_pri; three nights give 8 Sun-class changes each; the lower plot's
// curves follow the predicted one.
TEST_F(CliChart, PredictionView) {
    std::filesystem::path svg = folder / "prediction.svg";
    CliRun run = RunCli(Field() +
                        " --object \"KVX Demo Algol\" --view prediction --start 2460970.5 "
                        "--days 3 --site 15,50 --out \"" +
                        svg.string() + "\" --width 800 --height 600 --title \"A & B\"");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out.substr(0, run.out.find('\n')), "view prediction");
    EXPECT_NE(run.out.find("\naxis 2460970.5 2460973.5\n"), std::string::npos) << run.out;
    EXPECT_NEAR(Value(run.out, "model"), 12.3, 0.01);
    EXPECT_EQ(Value(run.out, "bands"), 25.0);
    const std::string text = ReadFile(svg);
    EXPECT_GE(Count(text, "<polyline "), 4u);  // the curve in runs, then the two altitudes
    EXPECT_NE(text.find(">Deg</text>"), std::string::npos);
    EXPECT_NE(text.find(">Date</text>"), std::string::npos);
    EXPECT_NE(text.find(">2025-10-2"), std::string::npos);  // a local date on the time axis
    // Without a site: the curve alone.
    run = RunCli(Field() +
                 " --object \"KVX Demo Algol\" --view prediction --start 2460970.5 --days 3 "
                 "--site 15,0 --out \"" +
                 svg.string() + "\"");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_NE(run.out.find("\nbands 0\naltitudes none (no site)\n"), std::string::npos) << run.out;
}

TEST_F(CliChart, RasterFileWhenBuiltWithQt) {
    std::filesystem::path png = folder / "time.png";
    CliRun run = RunCli(Field() + " --object WASP-12 --view phased --out \"" + png.string() +
                        "\" --width 320 --height 200");
    if (run.code != 0) {
        EXPECT_EQ(run.err, "Raster images need the Qt build of kurvalux-cli; use .svg\n");
        return;
    }
    std::string bytes = ReadFile(png);
    ASSERT_GT(bytes.size(), 24u);
    EXPECT_EQ(bytes.substr(1, 3), "PNG");
    // Width and height stand big-endian at bytes 16..23 of the header chunk.
    EXPECT_EQ(bytes.substr(16, 8), std::string("\0\0\x01\x40\0\0\0\xc8", 8));
}

TEST_F(CliChart, Refusals) {
    std::string out = " --out \"" + (folder / "x.svg").string() + "\"";
    struct Case {
        std::string arguments;
        int code;
        std::string err;
    };
    const std::vector<Case> cases = {
        {Field() + " --object \"KVX Demo Algol\" --view side" + out, 2,
         "Unknown view \"side\": time, compressed, phased, fit, minimum, prediction or oc\n"},
        {Field() + " --object \"KVX Demo Algol\" --days 3" + out, 2,
         "--start, --days and --site belong to --view prediction\n"},
        {Field() + " --object \"KVX Demo Algol\" --view prediction --days 0" + out, 2,
         "--days needs a length above 0 and at most 366\n"},
        {Field() + " --object \"KVX Demo Algol\" --view prediction --site 15" + out, 2,
         "--site needs LON,LAT: east longitude and latitude in degrees, e.g. 15.5,49.2\n"},
        {Field() + " --object \"KVX Demo Algol\" --view time", 2,
         "No output file: --out FILE.svg|.png|.jpg|.bmp|.tif\n"},
        {Field() + " --object \"KVX Demo Algol\" --width 0" + out, 2,
         "Image size 0 x 800 is out of range (1 to 30000 pixels)\n"},
        {Field() + " --object \"KVX Demo Algol\" --series 0" + out, 2,
         "Series are counted from 1\n"},
        {Field() + " --object \"KVX Demo Algol\" --series 99" + out, 1,
         "The object has no series 98\n"},
        {Field() + " --object \"KVX Demo Algol\" --view minimum" + out, 1,
         "The minimum chart needs a series of the object\n"},
        {Field() + " --object \"KVX Demo Algol\" --from 5 --to 4" + out, 2,
         "--to must be later than --from\n"},
        {Field() + " --object Nobody" + out, 1, "No object named Nobody\n"},
    };
    for (const Case& c : cases) {
        CliRun run = RunCli(c.arguments);
        EXPECT_EQ(run.code, c.code) << c.arguments;
        EXPECT_EQ(run.err, c.err) << c.arguments;
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "x.svg"));
}

}  // namespace
