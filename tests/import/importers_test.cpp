// Importers on real files of other programs (tests/data/formats, provenance in its README):
// point counts, first and last rows, meta-data, every refusal with its message, and the
// written photometry file read back onto the field's time axis.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>

#include "data/heliocentric.h"
#include "data/import/photometry_import.h"
#include "fielddata/temp_folder.h"

using namespace kurvalux_data;
using kurvalux_time::TimeStandard;

namespace {

std::string Sample(const std::string& name) {
    return std::string(KURVALUX_TEST_DATA_DIR) + "/formats/" + name;
}

std::string Read(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

struct Row {
    double t, v, e;
};
void ExpectRow(const ImportedSeries& s, size_t i, Row row) {
    EXPECT_DOUBLE_EQ(s.times.at(i), row.t) << i;
    EXPECT_DOUBLE_EQ(s.values.at(i), row.v) << i;
    EXPECT_DOUBLE_EQ(s.errors.at(i), row.e) << i;
}

TEST(Importers, AavsoExtendedOneSeriesPerStarAndFilter) {
    ImportOptions options;
    const ImportResult all =
        ImportPhotometryFile(Sample("aavso-extended-dera-20170504.txt"), options);
    ASSERT_TRUE(all.ok) << all.message;
    EXPECT_EQ(all.format, ImportFormat::kAavsoExtended);
    size_t points = 0;
    for (const ImportedSeries& s : all.series) points += s.times.size();
    EXPECT_EQ(points, 226u);  // every row, blank-padded magnitudes included
    EXPECT_TRUE(all.skipped.empty());
    // AM GEM in I: " 8.158" read as a number.
    EXPECT_EQ(all.series[1].star, "AM GEM");
    EXPECT_EQ(all.series[1].filter, "I");
    ExpectRow(all.series[1], 0, {2457878.66171, 8.158, 0.023});

    options.star = "V1023 Her";
    const ImportResult one =
        ImportPhotometryFile(Sample("aavso-extended-dera-20170504.txt"), options);
    ASSERT_TRUE(one.ok);
    ASSERT_EQ(one.series.size(), 2u);
    EXPECT_EQ(one.skipped, (std::map<std::string, int>{{"another star", 128}}));
    const ImportedSeries& i = one.series[0];
    const ImportedSeries& v = one.series[1];
    EXPECT_EQ(i.filter, "I");
    EXPECT_EQ(i.times.size(), 8u);
    ExpectRow(i, 0, {2457878.71672, 10.905, 0.032});
    ExpectRow(i, 7, {2457878.84615, 10.941, 0.037});
    EXPECT_EQ(v.filter, "V");
    EXPECT_EQ(v.times.size(), 90u);
    ExpectRow(v, 0, {2457878.71815, 12.032, 0.009});
    ExpectRow(v, 89, {2457878.85423, 12.068, 0.009});
    EXPECT_EQ(v.star, "V1023 HER");
    EXPECT_EQ(v.standard, TimeStandard::kJdUtc);
    EXPECT_EQ(v.unit, kUnitMagnitude);
    EXPECT_EQ(v.comparison, std::vector<std::string>{"ENSEMBLE"});
    EXPECT_EQ(v.check, std::vector<std::string>{"130"});

    options.filter = "v";
    const ImportResult filtered =
        ImportPhotometryFile(Sample("aavso-extended-dera-20170504.txt"), options);
    EXPECT_EQ(filtered.series.size(), 1u);
    EXPECT_EQ(filtered.skipped,
              (std::map<std::string, int>{{"another filter", 8}, {"another star", 128}}));
}

TEST(Importers, ExoplanetReportAndMeasurementTable) {
    const ImportResult exo =
        ImportPhotometryFile(Sample("exotic-aavso-exoplanet-wasp77ab-2458417.txt"), {});
    ASSERT_TRUE(exo.ok) << exo.message;
    EXPECT_EQ(exo.format, ImportFormat::kAavsoExoplanet);
    ASSERT_EQ(exo.series.size(), 1u);
    const ImportedSeries& e = exo.series[0];
    EXPECT_EQ(e.times.size(), 221u);
    EXPECT_EQ(e.star, "WASP-77 A");
    EXPECT_EQ(e.filter, "I");
    EXPECT_EQ(e.unit, kUnitFlux);
    EXPECT_EQ(e.standard, TimeStandard::kBjdTdb);
    ExpectRow(e, 0, {2458417.62469223, 1.0011084079742432, 0.0016373000107705593});
    ExpectRow(e, 220, {2458417.94413537, 0.9992489814758301, 0.0016403000336140394});

    const std::string table = Sample("aij-measurements-wasp135b-20200423.xls");
    const ImportResult aij = ImportPhotometryFile(table, {});
    ASSERT_TRUE(aij.ok) << aij.message;
    EXPECT_EQ(aij.format, ImportFormat::kMeasurementTable);
    const ImportedSeries& a = aij.series.at(0);
    EXPECT_EQ(a.times.size(), 288u);
    EXPECT_EQ(a.standard, TimeStandard::kBjdTdb);
    EXPECT_EQ(a.unit, kUnitFlux);
    ExpectRow(a, 0, {2458962.777871, 0.046438, 0.000164});
    ExpectRow(a, 287, {2458962.942684, 0.045779, 0.000129});
    EXPECT_NEAR(a.ra * 12 / M_PI, 17.816526, 1e-12);
    EXPECT_NEAR(a.dec * 180 / M_PI, 29.877389, 1e-12);

    ImportOptions options;
    options.time_column = "J.D.-2400000";
    const ImportResult raw = ImportPhotometryFile(table, options);
    ASSERT_TRUE(raw.ok) << raw.message;
    EXPECT_EQ(raw.series[0].standard, TimeStandard::kJdUtc);
    ExpectRow(raw.series[0], 0, {2458962.774988, 0.046438, 0.000164});
    // Sky-subtracted counts run to 10^5: the photometry format reads 99 or more as a missing
    // measurement, so such a column cannot be imported and says why.
    options.column = "Source-Sky_T1";
    const ImportResult counts = ImportPhotometryFile(table, options);
    EXPECT_FALSE(counts.ok);
    EXPECT_EQ(counts.message, "No measurement to import");
    EXPECT_EQ(counts.skipped,
              (std::map<std::string, int>{{"flux 99 or more (read as missing)", 288}}));
}

TEST(Importers, PlainColumns) {
    const ImportResult three =
        ImportPhotometryFile(Sample("threecol-tab-eclipsingbinaries-test_B.txt"), {});
    ASSERT_TRUE(three.ok) << three.message;
    EXPECT_EQ(three.format, ImportFormat::kColumns);
    const ImportedSeries& s = three.series.at(0);
    EXPECT_EQ(s.times.size(), 769u);
    ExpectRow(s, 0, {2458379.568521, 11.151862, 0.00268});
    ExpectRow(s, 6, {2458379.5806279997, 11.193944, 0.0034170000000000003});
    ExpectRow(s, 768, {2458410.910172, 11.39959, 0.0041270000000000005});
    std::vector<size_t> nights;
    for (const ImportedSeries& part : SplitAtGaps(s, 12)) nights.push_back(part.times.size());
    EXPECT_EQ(nights, (std::vector<size_t>{127, 208, 210, 224}));

    // Separators, a header row, missing values and the time kinds.
    struct Case {
        const char* text;
        TimeKind kind;
        double first_time;
        TimeStandard standard;
        uint32_t unit;
        size_t points;
    } cases[] = {
        {"time;mag;err\n59000.25;12.5;0.01\n59000.5;NaN;0.01\n", TimeKind::kMjd, 2459000.75,
         TimeStandard::kJdUtc, kUnitMagnitude, 1},
        {"2459000.1, 12.5\n2459000.2, 12.6\n", TimeKind::kHjd, 2459000.1, TimeStandard::kHjdUtc,
         kUnitMagnitude, 2},
        {"# TESS\n1500.5 1.0002 0.0003\n1500.6 0.9990 0.0003\n", TimeKind::kBtjd, 2458500.5,
         TimeStandard::kBjdTdb, kUnitFlux, 2},
        {"130.25\t1.01\n", TimeKind::kBkjd, 2454963.25, TimeStandard::kBjdTdb, kUnitFlux, 1},
    };
    for (const Case& c : cases) {
        ImportOptions options;
        options.time_kind = c.kind;
        const ImportResult r = ImportPhotometryText(c.text, options);
        ASSERT_TRUE(r.ok) << c.text << r.message;
        EXPECT_DOUBLE_EQ(r.series[0].times[0], c.first_time) << c.text;
        EXPECT_EQ(r.series[0].standard, c.standard) << c.text;
        EXPECT_EQ(r.series[0].unit, c.unit) << c.text;
        EXPECT_EQ(r.series[0].times.size(), c.points) << c.text;
    }
}

TEST(Importers, MalformedFilesRefusedWithTheirMessage) {
    const std::string extended = "#TYPE=EXTENDED\n#DELIM=,\n#DATE=JD\n";
    const std::string exoplanet = "#TYPE=EXOPLANET\n#DATE_TYPE=BJD_TDB\n#DATE,DIFF,ERR\n";
    struct Case {
        std::string text;
        const char* message;
    } cases[] = {
        {extended + "RZ CAS,2457878.5,10.1,0.01,V\nRZ CAS,24578x78.6,10.1,0.01,V\n",
         "Line 5: the date \"24578x78.6\" is not a number"},
        {extended + "RZ CAS,2457878.5,ten,0.01,V\n", "Line 4: the MAG \"ten\" is not a number"},
        {extended + "RZ CAS,2457878.5,<14.0,0.01,V\n", "No measurement to import"},
        {"#TYPE=EXTENDED\n#DATE=GPS\nA,1,2,3,V\n",
         "Unknown date type \"GPS\" (JD, HJD, BJD or EXCEL)"},
        {"#TYPE=VISUAL\n", "Line 1: report type \"VISUAL\" is not EXTENDED or EXOPLANET"},
        {exoplanet + "2458417.6,1.001,0.001\n2458417.7,1.0o1,0.001\n",
         "Line 5: the DIFF \"1.0o1\" is not a number"},
        {"#TYPE=EXOPLANET\n#DATE,FLUX,ERR\n1,2,3\n", "The column line has no DIFF column"},
        {" \tLabel\tJ.D.-2400000\trel_flux_T1\n1\ta.fits\t58962.7\t0.04\n",
         "No time column named \"BJD_TDB\""},
        {" \tLabel\tBJD_TDB\trel_flux_T1\n1\ta.fits\t2458962.7\t0.04\n2\tb.fits\tlate\t0.04\n",
         "Line 3: BJD_TDB \"late\" is not a number"},
        {" \tLabel\tBJD_TDB\trel_flux_C2\n1\ta.fits\t2458962.7\t0.04\n",
         "No column named \"rel_flux_T1\""},
        {"time mag\n2459000.1 12.5\n2459000.2 12.6 0.01 7\n",
         "Line 3: not 2 or 3 columns of numbers: \"2459000.2 12.6 0.01 7\""},
        {"2459000.1 12.5\n2459000.2 twelve\n",
         "Line 2: not 2 or 3 columns of numbers: \"2459000.2 twelve\""},
        {"", "The file is empty"},
    };
    for (const Case& c : cases) {
        ImportOptions options;
        if (c.text.find("J.D.-2400000") != std::string::npos) options.time_column = "BJD_TDB";
        const ImportResult r = ImportPhotometryText(c.text, options);
        EXPECT_FALSE(r.ok) << c.text;
        EXPECT_TRUE(r.series.empty());
        EXPECT_EQ(r.message, c.message) << c.text;
    }
}

TEST(Importers, WrittenFileReadsBackOnTheHeliocentricAxis) {
    TempFolder folder;
    const ImportResult aij =
        ImportPhotometryFile(Sample("aij-measurements-wasp135b-20200423.xls"), {});
    ASSERT_TRUE(aij.ok);
    const ImportedSeries& a = aij.series[0];
    CObjectListElem object;
    object.name = "WASP-135";
    AddImportOptions options;
    options.source_name = "aij-measurements-wasp135b-20200423.xls";
    options.folder = folder.Path();
    const AddedSeries added = AddImportedSeries(a, object, options);
    ASSERT_TRUE(added.ok) << added.message;
    EXPECT_EQ(added.path, folder.Path() + "aij-measurements-wasp135b-20200423.txt");
    EXPECT_EQ(added.converted, "BJD_TDB to HJD_UTC");
    const std::string text = Read(added.path);
    const std::string head =
        "# Imported from aij-measurements-wasp135b-20200423.xls\r\n# Times converted from "
        "BJD_TDB to HJD_UTC (UTC and the barycentre by ERFA, the Sun by the field's "
        "heliocentric formula)\r\nJD: HELIOCENTRIC\r\nUNIT: FLUX\r\nVAR NAME: \"WASP-135\" RA: ";
    EXPECT_EQ(text.substr(0, head.size()), head);
    ASSERT_EQ(object.SeriesCount(), 1u);
    const CSeriesTreeElem& s = *object.series[0];
    EXPECT_EQ(s.Count(), 288u);
    EXPECT_EQ(s.file_meta_data.jd_type, kJdHeliocentric);
    EXPECT_EQ(s.file_meta_data.value_unit, kUnitFlux);
    EXPECT_TRUE(object.is_flux);
    EXPECT_NEAR(s.values[0], 0.046438, 1e-12);
    // Each time is the field formula's HJD of the JD_UTC that ERFA gives for the BJD_TDB.
    const StarDirection direction(a.ra, a.dec);
    for (size_t i : {size_t(0), size_t(143), size_t(287)}) {
        const double utc = *kurvalux_time::ConvertTime(
            a.times[i], TimeStandard::kBjdTdb, TimeStandard::kJdUtc, {a.ra, a.dec}, std::nullopt);
        EXPECT_NEAR(s.times[i], HeliocentricJD(utc, direction), 1e-8) << i;
    }
    // The table's own HJD_UTC column (ERFA-grade) lies within the short formula's ±11 s.
    ImportOptions hjd;
    hjd.time_column = "HJD_UTC";
    const ImportResult own =
        ImportPhotometryFile(Sample("aij-measurements-wasp135b-20200423.xls"), hjd);
    EXPECT_NEAR(s.times[0], own.series[0].times[0], 11.0 / 86400);
    const double accurate = *kurvalux_time::ConvertTime(
        a.times[0], TimeStandard::kBjdTdb, TimeStandard::kHjdUtc, {a.ra, a.dec}, std::nullopt);
    EXPECT_NEAR(accurate, own.series[0].times[0], 0.5 / 86400);

    // The same series again: refused as a duplicate, and its file not left behind.
    const AddedSeries again = AddImportedSeries(a, object, options);
    EXPECT_FALSE(again.ok);
    EXPECT_EQ(again.message, "Duplicate series data file (same first point time):");
    EXPECT_FALSE(std::ifstream(folder.Path() + "aij-measurements-wasp135b-20200423_2.txt").good());
    EXPECT_EQ(object.SeriesCount(), 1u);

    // BJD_TDB without any coordinates cannot be put on the axis.
    ImportedSeries blind = a;
    blind.ra = kUnknownRa;
    blind.dec = kUnknownDec;
    CObjectListElem nowhere;
    const AddedSeries refused = AddImportedSeries(blind, nowhere, options);
    EXPECT_FALSE(refused.ok);
    EXPECT_EQ(refused.message,
              "BJD_TDB times need the star's coordinates to be put on the field's heliocentric "
              "axis: give the object its R.A. and Dec. first");
}

}  // namespace
