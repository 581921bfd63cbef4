// Series exports read back by the photometry reader, the individual export's file names and
// questions, and the copy-info mask.
#include <gtest/gtest.h>

#include <filesystem>

#include "data/photometry.h"
#include "export/copy_info.h"
#include "export/series_export.h"
#include "fielddata/temp_folder.h"
#include "platform/files.h"
#include "reports/report_fixtures.h"

namespace {

using kurvalux_export::SeriesExportKind;
using kurvalux_export::SeriesExportText;

std::string ReadTestFile(const std::string& name) {
    std::string text;
    EXPECT_EQ(kurvalux_platform::ReadWholeFile(std::string(KURVALUX_TEST_DATA_DIR) + "/" + name,
                                               1 << 24, text),
              kurvalux_platform::ReadStatus::Ok);
    return text;
}

// A real-looking series: the points of tests/data/app/night1.txt and a full description.
void FillSeries(kurvalux_data::CObjectListElem& object) {
    auto series = std::make_unique<kurvalux_data::CLocalSeriesTreeElem>();
    ASSERT_EQ(kurvalux_data::ParsePhotometry(ReadTestFile("app/night1.txt"), *series), 121u);
    auto& meta = series->file_meta_data;
    meta.var_aperture = 5.5;
    meta.cmp_aperture = 6;
    meta.chk_aperture = 6.25;
    meta.var.star_name = "V1 Cyg";
    meta.var.star_ra = (20 + 30 / 60.0 + 15.25 / 3600) * M_PI / 12;
    meta.var.star_dec = -(0 + 30 / 60.0) * M_PI / 180;
    meta.var.catalog = "VSX";
    meta.var.catalog_id = "12345";
    meta.var.catalog_ra = 307.5635417;
    meta.var.catalog_dec = -0.5;
    meta.var.catalog_mag = 11.9;
    meta.var.catalog_bv = 0.45;
    meta.cmp.resize(2);
    meta.cmp[1].star_name = "GSC 2";
    meta.cmp[1].catalog_jk = 0.3;
    meta.chk.push_back(kurvalux_data::CStarRecord{});
    meta.chk[0].star_name = "Check";
    object.series.push_back(std::move(series));
}

TEST(SeriesExport, ATimeSeriesReadsBackWithTheSamePointsAndDescription) {
    kurvalux_data::CObjectListElem object;
    object.name = "V1 Cyg";
    FillSeries(object);
    const auto& original = *object.series[0];
    const std::string text = SeriesExportText(object, {&original}, SeriesExportKind::kTime);
    kurvalux_data::CLocalSeriesTreeElem back;
    ASSERT_EQ(kurvalux_data::ParsePhotometry(text, back), original.Count());
    EXPECT_EQ(back.times, original.times);
    EXPECT_EQ(back.values, original.values);
    EXPECT_EQ(back.errors, original.errors);
    // Positions come back within the written precision; everything else exactly.
    kurvalux_data::CMetaData expected = original.EffectiveMetaData();
    expected.value_unit = kurvalux_data::kUnitMagnitude;
    kurvalux_data::CMetaData read = back.file_meta_data;
    EXPECT_NEAR(read.var.star_ra, expected.var.star_ra, 1e-9);
    EXPECT_NEAR(read.var.star_dec, expected.var.star_dec, 1e-9);
    read.var.star_ra = expected.var.star_ra;
    read.var.star_dec = expected.var.star_dec;
    // The reader adds fraction digits one by one: "0.3" comes back a unit of the last place
    // away (the text written from it is the same, below).
    ASSERT_EQ(read.cmp.size(), 2u);
    EXPECT_NEAR(read.cmp[1].catalog_jk, 0.3, 1e-15);
    read.cmp[1].catalog_jk = expected.cmp[1].catalog_jk;
    EXPECT_EQ(read, expected);
    // And the file written from what was read is the same file.
    object.series[0]->file_meta_data = back.file_meta_data;
    EXPECT_EQ(SeriesExportText(object, {object.series[0].get()}, SeriesExportKind::kTime), text);
    EXPECT_EQ(text.substr(0, text.find("\r\n# VAR ")),
              "# Kurvalux export: V1 Cyg (time series)\r\n"
              "# JD: HELIOCENTRIC\r\n"
              "# UNIT: MAGNITUDE\r\n"
              "# FILTER: \"V\"\r\n"
              "# VARAPERTURE: 5.500000 CMPAPERTURE: 6.000000 CHKAPERTURE: 6.250000");
}

TEST(SeriesExport, PhasedAndFoldedTimesAndTheRefusalWithoutEphemeris) {
    kurvalux_data::CObjectListElem object;
    object.name = "EB";
    auto& s = AddSeries(object, 2459001.24, 1);  // one cycle after M0 = 2459000.5, P = 0.74
    s.offset = 0.1;
    s.minima.clear();
    object.m0 = 2459000.5;
    object.period = 0.74;
    const auto last_line = [&](SeriesExportKind kind) {
        const std::string text = SeriesExportText(object, {&s}, kind);
        const size_t end = text.rfind("\r\n");
        const size_t start = text.rfind("\r\n", end - 1) + 2;
        return text.substr(start, end - start);
    };
    EXPECT_EQ(last_line(SeriesExportKind::kTime), "2459001.2400000 12.100000 0.005000");
    EXPECT_EQ(last_line(SeriesExportKind::kPhased), "1.00000000 12.100000 0.005000");
    EXPECT_EQ(last_line(SeriesExportKind::kPhasedTime).substr(0, 9), "2459001.2");

    object.period = 0;
    TempFolder folder;
    kurvalux_platform::CRecordingMessageBoxSink boxes;
    EXPECT_FALSE(kurvalux_export::ExportSeries(object, SeriesExportKind::kPhased,
                                               folder.Path() + "p.txt", boxes));
    ASSERT_EQ(boxes.Records().size(), 1u);
    EXPECT_EQ(boxes.Records()[0].title, "Export failed");
    EXPECT_EQ(boxes.Records()[0].lines,
              (std::vector<std::string>{"Cannot export phased light curve",
                                        "if M0 and/or P is not defined"}));
    EXPECT_TRUE(kurvalux_export::ExportSeries(object, SeriesExportKind::kTime,
                                              folder.Path() + "t.txt", boxes));
}

TEST(SeriesExport, IndividualTargetNames) {
    kurvalux_export::IndividualExportOptions o;
    o.use_new_name = true;
    o.new_name = "minus.txt";
    EXPECT_EQ(kurvalux_export::IndividualTargetPath("/d/n1/obs.txt", o), "/d/n1/minus.txt");
    o.use_new_name = false;
    o.prefix = "r_";
    o.postfix = "_fit";
    EXPECT_EQ(kurvalux_export::IndividualTargetPath("/d/n1/obs.txt", o), "/d/n1/r_obs_fit.txt");
    EXPECT_EQ(kurvalux_export::IndividualTargetPath("C:\\d\\obs", o), "C:\\d\\r_obs_fit");
}

TEST(SeriesExport, IndividualExportAsksBeforeOverwriting) {
    TempFolder folder;
    kurvalux_data::CObjectListElem object;
    object.m0 = 2459000.5;
    object.period = 0.74;
    auto& s = AddSeries(object, 2459000.4);
    s.absolute_path = folder.Write("obs.txt", "original");
    kurvalux_export::IndividualExportOptions o;
    o.use_new_name = false;
    kurvalux_platform::CRecordingMessageBoxSink boxes;
    boxes.QueueAnswer(kurvalux_platform::MessageAnswer::Ok);  // the overwrite warning
    boxes.QueueAnswer(kurvalux_platform::MessageAnswer::No);  // keep the file
    const auto result = kurvalux_export::ExportIndividualMinusFit(object, o, boxes);
    ASSERT_EQ(boxes.Records().size(), 2u);
    EXPECT_EQ(boxes.Records()[0].title, "File overwrite warning");
    EXPECT_EQ(boxes.Records()[0].lines,
              (std::vector<std::string>{"Leaving both Prefix and Postfix empty",
                                        "causes overwriting of original files."}));
    EXPECT_EQ(
        boxes.Records()[1].lines,
        (std::vector<std::string>{"There is a file on disk:", s.absolute_path, "Overwrite file?"}));
    EXPECT_TRUE(result.written.empty());
    EXPECT_EQ(folder.Read("obs.txt"), "original");

    o.postfix = "_r";
    boxes.Clear();
    const auto second = kurvalux_export::ExportIndividualMinusFit(object, o, boxes);
    EXPECT_TRUE(boxes.Records().empty());
    ASSERT_EQ(second.written, (std::vector<std::string>{folder.Path() + "obs_r.txt"}));
    kurvalux_data::CLocalSeriesTreeElem back;
    EXPECT_EQ(kurvalux_data::ParsePhotometry(folder.Read("obs_r.txt"), back), 3u);
}

// ---- copy-info mask

kurvalux_data::CObjectListElem& MaskObject(kurvalux_data::Field& field) {
    auto& object = AddNamed(field, "V1 Cyg");
    object.alternate_name = "NSVS 9";
    object.variability_type = "EA";
    object.saved_m0 = 2459000.5;
    object.saved_period = 0.74;
    object.max_magnitude = 11.5;
    object.meta_data.var.star_ra = (12 + 34 / 60.0 + 56.789 / 3600) * M_PI / 12;
    object.meta_data.var.star_dec = -(0 + 30 / 60.0) * M_PI / 180;
    return object;
}

TEST(CopyInfo, KeywordsInOrderRepeatedAndLineBreaks) {
    kurvalux_data::Field field;
    const auto& object = MaskObject(field);
    const struct {
        const char* mask;
        const char* result;
    } cases[] = {
        {"no keywords at all", "no keywords at all"},
        {"%OBJ_NAME% = %OBJ_NAME%", "V1 Cyg = V1 Cyg"},
        {"%RA%|%RA_FITS%|%RA_HUMAN%|%RA_DEG%",
         "12 34 56.789|12:34:56.789|12h 34m 56.789s|188.73662083"},
        {"%DEC%|%DEC_FITS%|%DEC_HUMAN%|%DEC_DEG%",
         "00 30 00.00|00:30:00.00|00\xB0 30' 00.00\"|-0.50000000"},
        {"%FIELD%:%ALT_OBJ_NAME%:%VAR_TYPE%%CRLF%%M0% %PERIOD%%CRLF%%MAX_MAG% %MIN_MAG%",
         "Cygnus:NSVS 9:EA\r\n2459000.500000 0.740000\r\n11.500 100.000"},
        {"%CRLF%%CRLF%", "\r\n\r\n"},
        {"%UNKNOWN% %ra%", "%UNKNOWN% %ra%"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(kurvalux_export::SubstituteCopyInfo(c.mask, "Cygnus", object), c.result)
            << c.mask;
}

TEST(CopyInfo, UnknownCoordinatesGiveEmptyTextAndLongResultsAreCut) {
    kurvalux_data::Field field;
    auto& object = MaskObject(field);
    object.meta_data.var.star_ra = kurvalux_data::kUnknownRa;
    object.meta_data.var.star_dec = kurvalux_data::kUnknownDec;
    EXPECT_EQ(
        kurvalux_export::SubstituteCopyInfo(
            "[%RA%%RA_FITS%%RA_HUMAN%%RA_DEG%%DEC%%DEC_FITS%%DEC_HUMAN%%DEC_DEG%]", "F", object),
        "[]");
    // A name holding its own keyword is inserted once, not substituted forever.
    object.name = "%OBJ_NAME%";
    EXPECT_EQ(kurvalux_export::SubstituteCopyInfo("%OBJ_NAME%/%OBJ_NAME%", "F", object),
              "%OBJ_NAME%/%OBJ_NAME%");
    object.name = std::string(60, 'n');
    std::string mask;
    for (int i = 0; i < 50; ++i) mask += "%OBJ_NAME%";
    const std::string result = kurvalux_export::SubstituteCopyInfo(mask, "F", object);
    EXPECT_EQ(result.size(), 2047u);
    EXPECT_EQ(result, std::string(2047, 'n'));
}

TEST(CopyInfo, TheDialogsMeaningLines) {
    const std::string meanings = kurvalux_export::MaskKeywordMeanings();
    size_t lines = 1;
    for (size_t at = 0; (at = meanings.find("\r\n", at)) != std::string::npos; at += 2) ++lines;
    EXPECT_EQ(lines, 17u);
    EXPECT_EQ(meanings.substr(0, 43), "R.A. delimited with spaces (12 34 56.789)\r\n");
    EXPECT_NE(meanings.find("Dec. human readable (+12\xB0 34' 56.78\")\r\n"), std::string::npos);
    EXPECT_NE(meanings.find("Dec. in fraction degrees (12.582441389)"), std::string::npos);
    EXPECT_EQ(meanings.substr(meanings.size() - 11), "End of line");
}

}  // namespace
