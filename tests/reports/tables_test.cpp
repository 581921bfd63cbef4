// The semicolon table, the minima, O-C and ETV lists and the observation sheet, checked as
// exact texts.
#include <gtest/gtest.h>

#include <sstream>

#include "export/csv_export.h"
#include "export/minima_export.h"
#include "fielddata/temp_folder.h"
#include "platform/message_box.h"
#include "reports/report_fixtures.h"
#include "sheet/observation_sheet.h"

namespace {

using kurvalux_data::Field;
using kurvalux_export::CsvOptions;
using kurvalux_export::CsvText;

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end; (end = text.find("\r\n", start)) != std::string::npos; start = end + 2)
        lines.push_back(text.substr(start, end - start));
    EXPECT_EQ(start, text.size()) << "text not ended by CR LF";
    return lines;
}

const std::string kPad = "; ; ; ; ; ; ; ; ; ;";
std::string Group(const std::string& name) {
    return ";" + name + ";;;;;;;;;";
}

TEST(CsvTable, HeaderAndObjectFieldsWithoutOptions) {
    Field field;
    auto& a = AddNamed(field, "V1 Cyg");
    a.alternate_name = "NSVS 1";
    a.variability_type = "EA";
    a.m0 = 2459000.5;
    a.period = 0.74;
    a.max_magnitude = 11.5;
    AddNamed(field, "Plain");
    EXPECT_EQ(CsvText(field, {}),
              "sep=;\r\n"
              "name;alt_name;var_type;M0;period;max_mag;min_mag\r\n"
              "V1 Cyg;NSVS 1;EA;2459000.5000000;0.7400000;11.500;\r\n"
              "Plain;;;;;;\r\n");
}

TEST(CsvTable, NoComparisonStarsAnywhereGivesNoColumnsAndNoPadding) {
    Field field;
    AddNamed(field, "A");
    AddNamed(field, "B");
    CsvOptions o;
    o.cmp = true;
    const auto lines = Lines(CsvText(field, o));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1], "name;alt_name;var_type;M0;period;max_mag;min_mag");
    EXPECT_EQ(lines[2], "A;;;;;;");
}

// G_cmp is the widest object's count; fewer stars are padded with one group more than they
// lack, none with exactly G_cmp groups.
TEST(CsvTable, ComparisonPaddingRules) {
    const struct {
        size_t stars;
        size_t groups_after_stars;
    } cases[] = {{3, 0}, {1, 3}, {0, 3}, {2, 2}};
    Field field;
    for (const auto& c : cases) AddNamed(field, "S" + std::to_string(c.stars), c.stars);
    CsvOptions o;
    o.cmp = true;
    const auto lines = Lines(CsvText(field, o));
    ASSERT_EQ(lines.size(), 2u + std::size(cases));
    EXPECT_EQ(lines[1],
              "name;alt_name;var_type;M0;period;max_mag;min_mag"
              ";cmp0_name;cmp0_ra;cmp0_dec;cmp0_catalog;cmp0_catalog_id;cmp0_catalog_ra;"
              "cmp0_catalog_dec;cmp0_catalog_mag;cmp0_catalog_bv;cmp0_catalog_jk"
              ";cmp1_name;cmp1_ra;cmp1_dec;cmp1_catalog;cmp1_catalog_id;cmp1_catalog_ra;"
              "cmp1_catalog_dec;cmp1_catalog_mag;cmp1_catalog_bv;cmp1_catalog_jk"
              ";cmp2_name;cmp2_ra;cmp2_dec;cmp2_catalog;cmp2_catalog_id;cmp2_catalog_ra;"
              "cmp2_catalog_dec;cmp2_catalog_mag;cmp2_catalog_bv;cmp2_catalog_jk");
    for (size_t k = 0; k < std::size(cases); ++k) {
        std::string expected = "S" + std::to_string(cases[k].stars) + ";;;;;;";
        for (size_t i = 0; i < cases[k].stars; ++i) expected += Group("C" + std::to_string(i));
        for (size_t i = 0; i < cases[k].groups_after_stars; ++i) expected += kPad;
        EXPECT_EQ(lines[2 + k], expected) << cases[k].stars << " stars";
    }
}

TEST(CsvTable, ElevenComparisonStarsNameTenGroupsButWriteAllEleven) {
    Field field;
    AddNamed(field, "Crowded", 11);
    AddNamed(field, "Lonely", 1);
    CsvOptions o;
    o.cmp = true;
    o.chk = true;  // no check stars: no chk columns
    const auto lines = Lines(CsvText(field, o));
    EXPECT_EQ(lines[1].substr(lines[1].size() - 16), ";cmp9_catalog_jk");
    EXPECT_EQ(lines[1].find("cmp10"), std::string::npos);
    EXPECT_EQ(lines[1].find("chk"), std::string::npos);
    std::string crowded = "Crowded;;;;;;";
    for (int i = 0; i < 11; ++i) crowded += Group("C" + std::to_string(i));
    EXPECT_EQ(lines[2], crowded);
    std::string lonely = "Lonely;;;;;;" + Group("C0");
    for (int i = 0; i < 10; ++i) lonely += kPad;
    EXPECT_EQ(lines[3], lonely);
}

TEST(CsvTable, VariableStarSummaryAndObservingTable) {
    UseUtc();
    Field field;
    auto& a = AddNamed(field, "A");
    a.meta_data.var.star_name = "GSC 1";
    a.meta_data.var.star_ra = (5.5) * M_PI / 12.0;
    a.meta_data.var.star_dec = -0.5 * M_PI / 180.0;
    a.meta_data.var.catalog = "VSX";
    a.meta_data.var.catalog_id = "123";
    a.meta_data.var.catalog_ra = 82.5;  // degrees
    a.meta_data.var.catalog_dec = 12.25;
    a.meta_data.var.catalog_mag = 11.234;
    a.meta_data.var.catalog_bv = 0.0;
    AddSeries(a, 2459000.4);
    AddSeries(a, 2459002.3);
    auto& b = AddNamed(field, "B");
    AddSeries(b, 2459001.7);
    CsvOptions o;
    o.var = true;
    o.observing = true;
    const auto lines = Lines(CsvText(field, o));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1],
              "name;alt_name;var_type;M0;period;max_mag;min_mag;var_name;var_ra;var_dec;"
              "var_catalog;var_catalog_id;var_catalog_ra;var_catalog_dec;var_catalog_mag;"
              "var_catalog_bv;var_catalog_jk;2020-05-30;2020-05-31;2020-06-01");
    EXPECT_EQ(lines[2],
              "A;;;;;;;GSC 1;05 30 00.000;00 30 00.00;VSX;123;05 30 00.000;+12 15 00.00;11.23;"
              "0.00;;x; ;x");
    EXPECT_EQ(lines[3], "B;;;;;;;;;;;;;;;;; ;x; ");
}

TEST(CsvTable, AFileThatCannotBeCreatedGivesTheBoxAndNothingElse) {
    Field field;
    AddNamed(field, "A");
    TempFolder folder;
    kurvalux_platform::CRecordingMessageBoxSink boxes;
    const std::string path = folder.Path() + "missing/out.csv";
    EXPECT_FALSE(kurvalux_export::ExportCsv(field, path, {}, boxes));
    ASSERT_EQ(boxes.Records().size(), 1u);
    EXPECT_EQ(boxes.Records()[0].title, "Error exporting CSV");
    EXPECT_EQ(boxes.Records()[0].lines, (std::vector<std::string>{"Cannot create file", path}));
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

// ---- minima lists

Field MinimaField() {
    Field field;
    auto& a = AddNamed(field, "EB Star");
    a.alternate_name = "NSVS 42";
    a.saved_m0 = 2459000.5;
    a.saved_period = 0.74;
    auto& s1 = AddSeries(a, 2459000.4);
    s1.file_meta_data.filter = "V";
    s1.file_meta_data.jd_type = kurvalux_data::kJdHeliocentric;
    s1.minima.push_back({kurvalux_data::kMinimumPrimary, 2459000.5012, 0.0004, true});
    s1.minima.push_back({kurvalux_data::kMinimumSecondary, 2459000.5 + 0.74 * 0.5, 0, true});
    s1.minima.push_back({kurvalux_data::kMinimumPrimary, 2459001.3, 0.001, false});  // not used
    auto& s2 = AddSeries(a, 2459003.3);
    s2.hjd_converted = true;
    s2.minima.push_back({kurvalux_data::kMinimumUndefined, 2459003.4597, 0.0003, true});
    auto& s3 = AddSeries(a, 2459005.3);
    s3.file_meta_data.jd_type = kurvalux_data::kJdGeocentric;
    s3.file_meta_data.filter = "R";
    s3.minima.push_back({kurvalux_data::kMinimumSecondary, 2459005.33, 0.002, true});
    AddNamed(field, "No Minima");
    auto& c = AddNamed(field, "Other");
    c.meta_data.filter = "I";
    AddSeries(c, 2459010.2)
        .minima.push_back({kurvalux_data::kMinimumPrimary, 2459010.25, 0.01, true});
    return field;
}

TEST(MinimaLists, AllObjects) {
    const Field field = MinimaField();
    EXPECT_EQ(kurvalux_export::MinimaListText(field),
              "#JD Error Primary/Secondary Filter JD_type\r\n"
              "\r\n"
              "[EB Star (NSVS 42)]\r\n"
              "2459000.501200 0.000400 Primary V HJD\r\n"
              "2459000.870000 0 Secondary V HJD\r\n"
              "2459003.459700 0.000300 Undefined HJD (converted)\r\n"
              "2459005.330000 0.002000 Secondary R GJD\r\n"
              "\r\n"
              "[Other]\r\n"
              "2459010.250000 0.010000 Primary I JD type unknown\r\n");
}

TEST(MinimaLists, OneObjectAndTheObjectWithout) {
    const Field field = MinimaField();
    EXPECT_EQ(kurvalux_export::ObjectMinimaText(*field.objects[2]),
              "#JD Error Primary/Secondary Filter JD_type\r\n"
              "2459010.250000 0.010000 Primary I JD type unknown\r\n");
    TempFolder folder;
    kurvalux_platform::CRecordingMessageBoxSink boxes;
    EXPECT_FALSE(
        kurvalux_export::ExportObjectMinima(*field.objects[1], folder.Path() + "m.txt", boxes));
    ASSERT_EQ(boxes.Records().size(), 1u);
    EXPECT_EQ(boxes.Records()[0].title, "Export failed");
    EXPECT_EQ(boxes.Records()[0].lines,
              (std::vector<std::string>{"No minima defined for", "the selected object."}));
    EXPECT_FALSE(std::filesystem::exists(folder.Path() + "m.txt"));
}

// Reference values: d = T - (M0 [+ P/2]), E = d/P rounded half away from zero, O-C = d - E P.
TEST(MinimaLists, OCListAgainstTheSavedEphemeris) {
    const Field field = MinimaField();
    EXPECT_EQ(kurvalux_export::OCListText(*field.objects[0]),
              "#HJD Difference Error Primary/Secondary\r\n"
              "2459000.501200 0.001200 0.000400 P\r\n"
              "2459000.870000 0 0 S\r\n"                  // exactly M0 + P/2
              "2459003.459700 -0.000300 0.000300\r\n"     // 4 cycles: 2459003.46
              "2459005.330000 0.020000 0.002000 S\r\n");  // 6 cycles after M0 + P/2
}

TEST(MinimaLists, EtvDataInTimeOrderWithHalfCyclesForSecondaries) {
    const Field field = MinimaField();
    EXPECT_EQ(kurvalux_export::EtvText(*field.objects[0]),
              "#Cycle O-C Error Kind\r\n"
              "0.0 0.001200 0.000400 Primary\r\n"
              "0.5 0 0 Secondary\r\n"
              "4.0 -0.000300 0.000300 Undefined\r\n"
              "6.5 0.020000 0.002000 Secondary\r\n");
}

TEST(MinimaLists, ListNumberFormat) {
    EXPECT_EQ(kurvalux_export::ListNumber(0.0), "0");
    EXPECT_EQ(kurvalux_export::ListNumber(-0.0000004), "0.000000");
    EXPECT_EQ(kurvalux_export::ListNumber(2459000.1234565), "2459000.123457");
}

// ---- observation sheet

TEST(ObservationSheet, NightsOfTheJulianDayAndTheirLabels) {
    UseUtc();
    Field field;
    auto& a = AddNamed(field, "A");
    AddSeries(a, 2459000.4);
    AddSeries(a, 2459000.6);  // same night: one mark
    AddSeries(a, 2459001.1);
    auto& b = AddNamed(field, "B");
    AddSeries(b, 2459001.2);
    AddNamed(field, "C");
    kurvalux_sht::CObservationSheet sheet;
    sheet.Build(field);
    ASSERT_EQ(sheet.NightCount(), 2u);
    EXPECT_EQ(sheet.Nights()[0].night, 2459000);
    EXPECT_EQ(sheet.Nights()[1].night, 2459001);
    EXPECT_EQ(sheet.ColumnHeader(17), "2020-05-30");
    EXPECT_EQ(sheet.ColumnHeader(18), "2020-05-31");
    EXPECT_EQ(sheet.Rows()[0].observed, (std::vector<uint8_t>{1, 1}));
    EXPECT_EQ(sheet.Rows()[1].observed, (std::vector<uint8_t>{0, 1}));
    EXPECT_EQ(sheet.Rows()[2].observed, (std::vector<uint8_t>{0, 0}));
    EXPECT_EQ(sheet.Columns().size(), 19u);
    EXPECT_TRUE(sheet.Columns()[18].night);
    EXPECT_EQ(sheet.Columns()[18].width, 70);
}

TEST(ObservationSheet, ASeriesWithoutPointsMarksButNeverCreatesANight) {
    std::vector<kurvalux_sht::SheetInput> inputs(2);
    inputs[0].series = {{2459005.3, 0}, {2459007.2, 0}};  // first times known, no points
    inputs[1].series = {{2459005.8, 12}};
    kurvalux_sht::CObservationSheet sheet;
    sheet.Build(inputs);
    ASSERT_EQ(sheet.NightCount(), 1u);
    EXPECT_EQ(sheet.Nights()[0].night, 2459005);
    EXPECT_EQ(sheet.Rows()[0].observed, (std::vector<uint8_t>{1}));
    EXPECT_EQ(sheet.Rows()[1].observed, (std::vector<uint8_t>{1}));
}

TEST(ObservationSheet, NoSeriesNoNightColumnsAndTheColumnTable) {
    Field field;
    auto& a = AddNamed(field, "A");
    a.comment = std::string(200, 'c');
    a.period = 1.25;
    kurvalux_sht::CObservationSheet sheet;
    sheet.Build(field);
    EXPECT_EQ(sheet.NightCount(), 0u);
    ASSERT_EQ(sheet.Columns().size(), 17u);
    const struct {
        size_t column;
        const char* header;
        int width, limit;
    } expected[] = {{0, "Name", 120, 64},    {3, "Comment", 200, 128}, {4, "M0", 110, 16},
                    {6, "Max. Mag", 50, 16}, {11, "Cat. Id", 80, 64},  {16, "Cat. J-K", 70, 16}};
    for (const auto& e : expected) {
        EXPECT_STREQ(sheet.Columns()[e.column].header, e.header);
        EXPECT_EQ(sheet.Columns()[e.column].width, e.width);
        EXPECT_EQ(sheet.Columns()[e.column].limit, e.limit);
    }
    EXPECT_EQ(sheet.Rows()[0].texts[3].size(), 127u);
    EXPECT_EQ(sheet.Rows()[0].texts[5], "1.2500000");
    EXPECT_EQ(sheet.ToTabText().substr(0, 15), "Name\tAlternate ");
}

}  // namespace
