// The user's data survives: series whose photometry files are missing are kept and written
// back byte for byte, can be found again below a folder, and numbers that could not be
// written back (out of range, overflowing, too long for their decimals) are refused where
// they enter or written so that they read back to the same text.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <future>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "data/field_file.h"
#include "data/field_statistics.h"
#include "data/keyword_scanner.h"
#include "data/missing_files.h"
#include "data/photometry.h"
#include "data/settings.h"
#include "platform/files.h"
#include "platform/text.h"
#include "temp_folder.h"

using namespace kurvalux_data;
using kurvalux_platform::CRecordingMessageBoxSink;

namespace {

std::string Night(int night, double mag) {
    const std::string jd = std::to_string(2459000 + night);
    return "# JD: HELIOCENTRIC UNIT: MAGNITUDE FILTER: V\n" + jd + ".50 " + std::to_string(mag) +
           " 0.01\n" + jd + ".51 " + std::to_string(mag + 0.1) + " 0.01\n" + jd + ".52 " +
           std::to_string(mag) + " 0.01\n";
}

std::string SeriesBlock(const std::string& relative, const std::string& extra = "") {
    return "\t\tseries\r\n\t\t\tabsolute_path = \"C:\\nowhere\\" + relative +
           "\"\r\n\t\t\trelative_path = \"" + relative +
           "\"\r\n\t\t\toffset = 0.25\r\n\t\t\tenabled = FALSE\r\n" + extra + "\t\tend_series\r\n";
}

const char* kMinimumBlock =
    "\t\t\tminimum\r\n\t\t\t\ttype = primary\r\n\t\t\t\ttime = 2459002.51\r\n"
    "\t\t\t\terror = 0.0004\r\n\t\t\t\tenabled = TRUE\r\n\t\t\tend_minimum\r\n";

FieldLoadResult LoadIn(const TempFolder& folder, const std::string& path, Field& field,
                       CRecordingMessageBoxSink& boxes) {
    FieldLoadOptions options;
    options.bases.field_folder = folder.Path();
    return LoadField(path, field, options, boxes);
}

// A field of one object with four nights; saved once with every file present, so that the
// text is the program's own.
struct FourNights {
    TempFolder folder;
    std::string path;
    std::string saved;
    FourNights() {
        for (int night = 1; night <= 4; ++night)
            folder.Write("n" + std::to_string(night) + ".txt", Night(night, 12.0 + night));
        const std::string text =
            "kurvalux\r\n\tversion = 4\r\n\tobjects = 1\r\n\tobject\r\n\t\tname = \"Star\"\r\n" +
            SeriesBlock("n1.txt") + SeriesBlock("n2.txt") + SeriesBlock("n3.txt", kMinimumBlock) +
            SeriesBlock("n4.txt") + "\tend_object\r\nend_kurvalux\r\n";
        path = folder.Write("field.kvf", text);
        Field field;
        CRecordingMessageBoxSink boxes;
        EXPECT_TRUE(LoadIn(folder, path, field, boxes).ok);
        saved = FieldToText(field);
        folder.Write("field.kvf", saved);
    }
};

TEST(UnavailableSeries, MissingFilesAreKeptAndWrittenBackByteForByte) {
    // First, inner (with a minimum) and last series missing: each goes back to its place.
    const std::vector<std::vector<std::string>> missing_sets = {
        {"n1.txt"}, {"n3.txt"}, {"n4.txt"}, {"n1.txt", "n2.txt", "n3.txt", "n4.txt"}};
    for (const auto& missing : missing_sets) {
        FourNights field_files;
        for (const std::string& name : missing)
            std::filesystem::remove(field_files.folder.Path() + name);
        SCOPED_TRACE(missing.front() + " and " + std::to_string(missing.size() - 1) + " more");
        Field field;
        CRecordingMessageBoxSink boxes;
        const FieldLoadResult result = LoadIn(field_files.folder, field_files.path, field, boxes);
        ASSERT_TRUE(result.ok);
        EXPECT_FALSE(result.series_removed);  // nothing changed: the field is not modified
        EXPECT_EQ(result.series_unavailable, static_cast<int>(missing.size()));
        EXPECT_EQ(field.objects[0]->series.size(), 4 - missing.size());
        EXPECT_EQ(boxes.Records().size(), missing.size());
        EXPECT_EQ(FieldToText(field), field_files.saved);
    }
}

TEST(UnavailableSeries, CountedApartInTheStatistics) {
    FourNights field_files;
    std::filesystem::remove(field_files.folder.Path() + "n3.txt");
    Field field;
    CRecordingMessageBoxSink boxes;
    ASSERT_TRUE(LoadIn(field_files.folder, field_files.path, field, boxes).ok);
    EXPECT_EQ(FieldStatisticsLines(ComputeFieldStatistics(field, false)),
              (std::vector<std::string>{"Field contains:", "1 objects", "3 series", "0 minima",
                                        "9 points", "3 nights", "1 obs. hours",
                                        "1 unavailable series (1 minima)"}));
}

TEST(UnavailableSeries, LocatedBelowAFolderAndReadAgain) {
    FourNights field_files;
    const TempFolder& folder = field_files.folder;
    // n3 moved two folders down, n4 gone for good, and an unrelated file of another name.
    folder.Write("moved/deeper/n3.txt", folder.Read("n3.txt"));
    folder.Write("moved/other.txt", Night(9, 10.0));
    std::filesystem::remove(folder.Path() + "n3.txt");
    std::filesystem::remove(folder.Path() + "n4.txt");
    Field field;
    CRecordingMessageBoxSink boxes;
    ASSERT_TRUE(LoadIn(folder, field_files.path, field, boxes).ok);
    ASSERT_EQ(UnavailableSeriesCount(field), 2u);

    PathBases bases;
    bases.field_folder = folder.Path();
    const LocateResult result = LocateMissingFiles(field, folder.Path() + "moved", bases);
    EXPECT_EQ(result.Lines(),
              (std::vector<std::string>{"1 series found again", "1 series still unavailable"}));
    const CObjectListElem& star = *field.objects[0];
    ASSERT_EQ(star.series.size(), 3u);
    ASSERT_EQ(UnavailableSeriesCount(field), 1u);
    // Back in time order, with its own settings and minimum, and its paths updated.
    const auto& found = static_cast<const CLocalSeriesTreeElem&>(*star.series[2]);
    EXPECT_EQ(found.FirstTime(), 2459003.50);
    EXPECT_EQ(found.offset, 0.25);
    EXPECT_FALSE(found.enabled);
    ASSERT_EQ(found.minima.size(), 1u);
    EXPECT_EQ(found.minima[0].time, 2459002.51);
    EXPECT_EQ(found.absolute_path, folder.Path() + "moved/deeper/n3.txt");
    EXPECT_EQ(found.relative_path, "moved/deeper/n3.txt");
}

TEST(UnavailableSeries, AFileFoundButRefusedStaysUnavailable) {
    FourNights field_files;
    const TempFolder& folder = field_files.folder;
    // The file found under n4's name holds the night of n1: a duplicate, refused.
    folder.Write("moved/n4.txt", Night(1, 14.0));
    std::filesystem::remove(folder.Path() + "n4.txt");
    Field field;
    CRecordingMessageBoxSink boxes;
    ASSERT_TRUE(LoadIn(folder, field_files.path, field, boxes).ok);
    const LocateResult result = LocateMissingFiles(field, folder.Path() + "moved", PathBases{});
    EXPECT_EQ(result.found, 0);
    EXPECT_EQ(result.Lines(), (std::vector<std::string>{
                                  "0 series found again", "1 series still unavailable",
                                  "Star: " + folder.Path() + "moved/n4.txt" +
                                      " (Duplicate series data file (same first point time):)"}));
    ASSERT_EQ(field.objects[0]->unavailable_series.size(), 1u);
    // Its block is untouched: the field still saves as it was read.
    EXPECT_EQ(FieldToText(field), field_files.saved);
}

// ---- Numbers that could not be written back

TEST(FileNumbers, RefusedWhereTheyEnter) {
    const std::string huge = "1" + std::string(400, '0');
    struct Case {
        std::string text;
        std::string message;
    } cases[] = {
        {"m0 = " + huge, "Number out of range: " + huge.substr(0, 58)},
        {"m0 = -1000000000000000.5", "Number out of range: -1000000000000000.5"},
        {"m0 = 1000000000000000", "Number out of range: 1000000000000000"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text.substr(0, 30));
        CKeywordScanner scanner(c.text);
        std::string word;
        double value = 0;
        ASSERT_TRUE(scanner.ReadIdentifier(word) && scanner.ExpectEquals());
        EXPECT_FALSE(scanner.ReadNumber(value));
        EXPECT_EQ(scanner.Error(), c.message);
    }
    CKeywordScanner largest("-999999999999999");
    double value = 0;
    EXPECT_TRUE(largest.ReadNumber(value));
    EXPECT_EQ(value, -999999999999999.0);
}

TEST(FileNumbers, PhotometryWithARunAwayNumberIsRefusedNamingIt) {
    const std::string huge = "2459000" + std::string(400, '1');
    struct Case {
        std::string text;
        std::string error;
    } cases[] = {
        {"# JD: HELIOCENTRIC\n2459000.5 12.0 0.01\n" + huge + ".5 12.1 0.01\n",
         "Number out of range in line 3: " + huge.substr(0, 48)},
        {"2459000.5 12.0 0.01\n2459000.6 " + huge + " 0.01\n",
         "Number out of range in line 2: " + huge.substr(0, 48)},
        {"\r\n\r\n2459000.5 12.0 1000000000000000\n",
         "Number out of range in line 3: 1000000000000000"},
    };
    for (const Case& c : cases) {
        CLocalSeriesTreeElem series;
        std::string error;
        EXPECT_EQ(ParsePhotometry(c.text, series, &error), 0u);
        EXPECT_EQ(series.Count(), 0u);
        EXPECT_EQ(error, c.error);
    }
}

TEST(FileNumbers, WrittenSoThatTheyReadBackToTheSameText) {
    struct Case {
        double value;
        int decimals;
        const char* text;
    } cases[] = {
        {2460950.38765, 7, "2460950.3876500"},
        {246095305876.43, 7, "246095305876.43"},   // 12 integer digits leave room for 2
        {9999999.99999999, 7, "10000000.000000"},  // the carry takes a decimal away
        {-0.0000001, 6, "0"},
        {1e300, 6, "999999999999999"},
        {-std::numeric_limits<double>::infinity(), 6, "-999999999999999"},
        {std::numeric_limits<double>::quiet_NaN(), 6, "0"},
        {0.1, 6, "0.100000"},
    };
    for (const Case& c : cases) EXPECT_EQ(FormatFileNumber(c.value, c.decimals), c.text);

    // Over every magnitude a file may hold: write, read digit by digit, write again.
    std::mt19937_64 random(20261123);
    std::uniform_real_distribution<double> exponent(-8.0, 15.0), mantissa(-1.0, 1.0);
    for (int i = 0; i < 20000; ++i) {
        const double value = mantissa(random) * std::pow(10.0, exponent(random));
        for (int decimals : {3, 6, 7}) {
            const std::string text = FormatFileNumber(value, decimals);
            CKeywordScanner scanner(text);
            double back = 0;
            ASSERT_TRUE(scanner.ReadNumber(back)) << text;
            ASSERT_EQ(FormatFileNumber(back, decimals), text) << value;
        }
    }
}

// ---- The inputs that broke round trips under fuzzing

std::string ReadData(const std::string& name) {
    std::string text;
    EXPECT_EQ(kurvalux_platform::ReadWholeFile(std::string(KURVALUX_TEST_DATA_DIR) + "/" + name,
                                               1 << 20, text),
              kurvalux_platform::ReadStatus::Ok);
    return text;
}

// Loads a field kept under tests/data, saves it, and checks that the saved text loads and
// saves again to itself; returns the first save.
std::string SavedStably(const std::string& name) {
    Field field, again;
    CRecordingMessageBoxSink boxes;
    FieldLoadOptions options;
    options.parallel = false;
    EXPECT_TRUE(LoadFieldText(ReadData(name), field, options, boxes).ok);
    const std::string saved = FieldToText(field);
    EXPECT_TRUE(LoadFieldText(saved, again, options, boxes).ok);
    EXPECT_EQ(FieldToText(again), saved);
    return saved;
}

TEST(RoundTrips, FieldWithALongIntegerPartIsStableFromTheFirstSave) {
    const std::string saved = SavedStably("repro/field-roundtrip-drift.kvf");
    EXPECT_NE(saved.find("m0 = 246095305876.43\r\n"), std::string::npos);
}

TEST(RoundTrips, SettingsWithControlBytesInRecentFiles) {
    Settings settings, again;
    ParseSettings(ReadData("repro/settings-roundtrip-drift.ini"), settings);
    const std::string text = SettingsToText(settings);
    ParseSettings(text, again);
    EXPECT_EQ(SettingsToText(again), text);
    // An entry with control bytes is no path anyone opened.
    EXPECT_TRUE(again.recent_files.empty());

    // A cut that ends on blanks is trimmed at once, not on the next reading.
    Settings cut;
    ParseSettings("[MRUfiles]\r\n0=" + std::string(120, 'a') + "       bcd\r\n", cut);
    ASSERT_EQ(cut.recent_files.size(), 1u);
    EXPECT_EQ(cut.recent_files[0], std::string(120, 'a'));
}

TEST(RoundTrips, APositionOutsideTheSkyIsNotKept) {
    const std::string saved = SavedStably("repro/field-position-out-of-sky.kvf");
    // The variable's declination is kept, its impossible right ascension is not.
    EXPECT_EQ(saved.find("star_ra"), std::string::npos);
    EXPECT_NE(saved.find("star_dec = \"+22:00:52.20\"\r\n"), std::string::npos);
}

TEST(Positions, ReadOnlyWithinTheSkyAndWrittenToReadBackTheSame) {
    using kurvalux_platform::FormatDecSexagesimal;
    using kurvalux_platform::FormatRaSexagesimal;
    using kurvalux_platform::ParseDecSexagesimal;
    using kurvalux_platform::ParseRaSexagesimal;
    double v = -1;
    EXPECT_TRUE(ParseRaSexagesimal("24:00:00", v));
    EXPECT_EQ(v, 24.0);
    EXPECT_TRUE(ParseRaSexagesimal("05:75", v));  // minutes past 59 carry, as typed
    EXPECT_EQ(v, 6.25);
    EXPECT_FALSE(ParseRaSexagesimal("24:00:01", v));
    EXPECT_FALSE(ParseRaSexagesimal("-00:00:01", v));
    EXPECT_FALSE(ParseRaSexagesimal("05:34:" + std::string(60, '5'), v));
    EXPECT_TRUE(ParseDecSexagesimal("-90:00:00", v));
    EXPECT_EQ(v, -90.0);
    EXPECT_FALSE(ParseDecSexagesimal("+90:00:00.01", v));
    EXPECT_FALSE(ParseDecSexagesimal("-91", v));

    // A value that rounds to zero is written without a minus sign, which is how it reads back.
    EXPECT_EQ(FormatDecSexagesimal(-1e-9), "+00:00:00.00");
    EXPECT_EQ(FormatRaSexagesimal(-1e-9), "00:00:00.000");
    EXPECT_EQ(FormatDecSexagesimal(-1e-4), "-00:00:20.63");
    // Rounding up to a full day of right ascension reads back to itself.
    EXPECT_EQ(FormatRaSexagesimal((24.0 - 1e-7) * M_PI / 12.0), "24:00:00.000");
    ASSERT_TRUE(ParseRaSexagesimal("24:00:00.000", v));
    EXPECT_EQ(FormatRaSexagesimal(v * M_PI / 12.0), "24:00:00.000");
}

// ---- Files that are not files

TEST(NotRegularFiles, AFifoIsRefusedInsteadOfBlocking) {
    TempFolder folder;
    const std::string fifo = folder.Path() + "pipe.kvf";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    auto reading = std::async(std::launch::async, [&] {
        Field field;
        CRecordingMessageBoxSink boxes;
        const bool ok = LoadField(fifo, field, {}, boxes).ok;
        return std::pair{ok, boxes.Records()};
    });
    if (reading.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
        // Unblock the reader so that the test can end, then fail.
        const int writer = open(fifo.c_str(), O_WRONLY | O_NONBLOCK);
        if (writer >= 0) close(writer);
        FAIL() << "reading a FIFO blocked";
    }
    const auto [ok, boxes] = reading.get();
    EXPECT_FALSE(ok);
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].lines, (std::vector<std::string>{"Cannot open file", fifo}));

    std::string text;
    EXPECT_EQ(kurvalux_platform::ReadWholeFile(folder.Path(), 1 << 20, text),
              kurvalux_platform::ReadStatus::CannotOpen);  // a folder
}

}  // namespace
