// The side texts: fit parameters, object data and series offsets through files and the
// clipboard, the alternate-names list, and the levelling of series, with the exact boxes an
// observer sees when a text is wrong.
#include "data/side_formats.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/field_file.h"
#include "data/series_levelling.h"
#include "temp_folder.h"

using namespace kurvalux_data;
using kurvalux_platform::CRecordingMessageBoxSink;
using kurvalux_platform::MessageAnswer;
using ::testing::DoubleEq;
using ::testing::ElementsAre;

namespace {

// A magnitude series whose points are given; first time decides its integer day.
std::unique_ptr<CSeriesTreeElem> Series(std::vector<double> times, std::vector<double> values,
                                        double offset = 0) {
    auto s = std::make_unique<CSeriesTreeElem>();
    s->file_meta_data.jd_type = kJdHeliocentric;
    s->times = std::move(times);
    s->values = std::move(values);
    s->errors.assign(s->times.size(), 0.01);
    s->offset = offset;
    return s;
}

void Add(CObjectListElem& object, std::unique_ptr<CSeriesTreeElem> series) {
    std::vector<std::string> message;
    ASSERT_TRUE(object.AddSeries(std::move(series), "x", message));
}

std::vector<double> Offsets(const CObjectListElem& object) {
    std::vector<double> offsets;
    for (const auto& s : object.series) offsets.push_back(s->offset);
    return offsets;
}

using Box = std::pair<std::string, std::vector<std::string>>;
std::vector<Box> Boxes(const CRecordingMessageBoxSink& sink) {
    std::vector<Box> boxes;
    for (const auto& r : sink.Records()) boxes.push_back({r.title, r.lines});
    return boxes;
}

TEST(SideFormats, FitTextsWrittenAndReadOnlyWhereGiven) {
    CObjectListElem object;
    object.fit[kMag0] = 12.5;
    object.fit[kSecPhase] = 0.5;
    const std::string text = FitParametersText(object);
    EXPECT_EQ(
        text.substr(0, 76),
        "KurvaluxFitParameters\r\nfit\r\n\tmag0 = 12.500000\r\n\tsec_phase = 0.500000\r\n\ta_pri");

    // A text with only some parameter lines changes only those.
    CObjectListElem target;
    target.fit[kMag0] = 9.0;
    target.fit[kAPri] = 0.7;
    CRecordingMessageBoxSink boxes;
    ASSERT_TRUE(PasteSideText(SideKind::kFitParameters,
                              std::string("KurvaluxFitParameters\r\nfit\r\n\ta_pri = 0.25\r\n"
                                          "\tend_fit\r\n"),
                              target, {}, boxes));
    EXPECT_EQ(target.fit[kMag0], 9.0);
    EXPECT_EQ(target.fit[kAPri], 0.25);
    EXPECT_TRUE(target.has_fit);
    EXPECT_TRUE(boxes.Records().empty());

    // A full text read back gives every parameter again.
    CObjectListElem copy;
    ASSERT_TRUE(PasteSideText(SideKind::kFitParameters, text, copy, {}, boxes));
    EXPECT_EQ(copy.fit, object.fit);

    // A damaged line inside the block: the scanner's message, the object unchanged.
    CObjectListElem kept;
    kept.fit[kAPri] = 0.7;
    EXPECT_FALSE(PasteSideText(SideKind::kFitParameters,
                               std::string("KurvaluxFitParameters\r\nfit\r\n\ta_pri = 0.25\r\n"
                                           "\tb_pri = 1\r\nend_fit\r\n"),
                               kept, {}, boxes));
    EXPECT_EQ(kept.fit[kAPri], 0.7);
    EXPECT_EQ(Boxes(boxes),
              (std::vector<Box>{{"Failed pasting fit paremeters", {"Unknown keyword: b_pri"}}}));
}

TEST(SideFormats, RefusedTextsShowTheirBoxes) {
    struct Case {
        SideKind kind;
        TextOrigin origin;
        std::optional<std::string> text;
        Box box;
    } cases[] = {
        {SideKind::kFitParameters,
         TextOrigin::kClipboard,
         std::nullopt,
         {"Failed pasting fit paremeters", {"No text in clipboard"}}},
        {SideKind::kSeriesOffsets,
         TextOrigin::kClipboard,
         std::nullopt,
         {"Failed pasting series offsets", {"No text in clipboard"}}},
        {SideKind::kFitParameters,
         TextOrigin::kFile,
         "KurvaluxObjectData\r\nobject\r\n",
         {"Failed loading fit parameters",
          {"File does not start with required keyword:", "KurvaluxFitParameters"}}},
        {SideKind::kObjectData,
         TextOrigin::kClipboard,
         "hello",
         {"Failed pasting fit paremeters",
          {"Text does not start with required keyword:", "KurvaluxObjectData"}}},
        {SideKind::kSeriesOffsets,
         TextOrigin::kClipboard,
         "2459000 = 0.1",
         {"Failed pasting series offsets",
          {"Offset list does not start with required keyword:", "KurvaluxSeriesOffsets"}}},
        {SideKind::kSeriesOffsets,
         TextOrigin::kFile,
         "",
         {"Failed loading series offsets",
          {"File does not start with required keyword:", "KurvaluxSeriesOffsets"}}},
        {SideKind::kFitParameters,
         TextOrigin::kFile,
         "KurvaluxFitParameters\r\nobject\r\n",
         {"Failed loading fit parameters", {"Error in file format", "(file is probably damaged)"}}},
        {SideKind::kObjectData,
         TextOrigin::kFile,
         "KurvaluxObjectData\r\n",
         {"Failed loading fit parameters", {"Error in file format", "(file is probably damaged)"}}},
        {SideKind::kObjectData,
         TextOrigin::kClipboard,
         "KurvaluxObjectData\r\nfit\r\n",
         {"Failed pasting fit paremeters",
          {"Error in fit description format", "(fit description is probably damaged)"}}},
        {SideKind::kSeriesOffsets,
         TextOrigin::kClipboard,
         "KurvaluxSeriesOffsets\r\n",
         {"Failed pasting series offsets",
          {"Error in list of offsets", "(text is probably damaged)"}}},
    };
    TempFolder folder;
    for (const Case& c : cases) {
        CObjectListElem object;
        object.name = "Star";
        CRecordingMessageBoxSink boxes;
        bool ok;
        if (c.origin == TextOrigin::kFile) {
            const std::string path = folder.Write("side.txt", *c.text);
            ok = LoadSideFile(c.kind, path, object, {}, boxes);
        } else {
            ok = PasteSideText(c.kind, c.text, object, {}, boxes);
        }
        EXPECT_FALSE(ok) << c.box.second[0];
        EXPECT_EQ(Boxes(boxes), std::vector<Box>{c.box});
        EXPECT_EQ(object.name, "Star");
        EXPECT_FALSE(object.has_fit);
    }
    CObjectListElem object;
    CRecordingMessageBoxSink boxes;
    EXPECT_FALSE(
        LoadSideFile(SideKind::kObjectData, folder.Path() + "none.txt", object, {}, boxes));
    EXPECT_FALSE(
        SaveSideFile(SideKind::kSeriesOffsets, folder.Path() + "no/such/dir/x.txt", object, boxes));
    EXPECT_EQ(Boxes(boxes),
              (std::vector<Box>{{"Failed loading fit parameters",
                                 {"Cannot open file: " + folder.Path() + "none.txt"}},
                                {"Failed save series offsets",
                                 {"Cannot create file", folder.Path() + "no/such/dir/x.txt"}}}));
}

TEST(SideFormats, OffsetsMatchSeriesByTheirIntegerDay) {
    CObjectListElem object;
    Add(object, Series({2459000.6, 2459000.7}, {12.0, 12.1}));
    Add(object, Series({2459001.2, 2459001.3}, {12.3, 12.4}, 0.25));
    Add(object, Series({2459001.5, 2459001.6}, {12.5, 12.6}, -1.125));
    Add(object, Series({2459003.9}, {12.0}, 0.0000004));
    EXPECT_EQ(SeriesOffsetsText(object),
              "KurvaluxSeriesOffsets\r\n2459000 = 0\r\n2459001 = 0.250000\r\n"
              "2459001 = -1.125000\r\n2459003 = 0.000000\r\n");

    // Two series start on day 2459001: the earlier takes every line naming it. A day on which
    // no series starts changes nothing, and the first line that does not parse ends the list.
    CRecordingMessageBoxSink boxes;
    SideReadResult result;
    ASSERT_TRUE(PasteSideText(SideKind::kSeriesOffsets,
                              std::string("KurvaluxSeriesOffsets\r\n2459001 = 0.5\r\n"
                                          "2459001 = 0.75\r\n2459002 = 9\r\n2459000 = -0.1\r\n"
                                          "2459003 : 7\r\n2459003 = 8\r\n"),
                              object, {}, boxes, &result));
    EXPECT_TRUE(boxes.Records().empty());
    EXPECT_THAT(Offsets(object),
                ElementsAre(DoubleEq(-0.1), DoubleEq(0.75), DoubleEq(-1.125), 0.0000004));
    EXPECT_EQ(result.offsets_read, 4);
    EXPECT_EQ(result.offsets_matched, 3);

    // Written and read back through a file: every series gets its own offset again.
    TempFolder folder;
    CObjectListElem other;
    Add(other, Series({2459000.6, 2459000.7}, {12.0, 12.1}, 0.5));
    Add(other, Series({2459004.1, 2459004.2}, {12.0, 12.1}, 0.125));
    ASSERT_TRUE(SaveSideFile(SideKind::kSeriesOffsets, folder.Path() + "o.txt", other, boxes));
    for (auto& s : other.series) s->offset = 0;
    ASSERT_TRUE(LoadSideFile(SideKind::kSeriesOffsets, folder.Path() + "o.txt", other, {}, boxes));
    EXPECT_THAT(Offsets(other), ElementsAre(DoubleEq(0.5), DoubleEq(0.125)));
}

TEST(SideFormats, AlternateNames) {
    Field field;
    for (const char* name : {"V404 Cyg", "Cyg", "TX UMa", "XY Leo"}) field.AddObject().name = name;
    field.objects[3]->alternate_name = "kept";
    // "V404 Cyg" comes first in the field, so the first line is its; "Cyg" matches inside
    // "AbCyg" (the name with its separator is searched anywhere); TX UMa by its TAB; the list
    // ends at the empty line, so XY Leo keeps its name.
    const int applied = ApplyAlternateNames(
        "V404 Cyg   GS 2023+338  \r\nnothing here\r\nAbCyg\tsecond\r\nTX UMa\tHD 93075 \r\n\r\n"
        "XY Leo ignored\r\n",
        field);
    EXPECT_EQ(applied, 3);
    EXPECT_EQ(field.objects[0]->alternate_name, "GS 2023+338");
    EXPECT_EQ(field.objects[1]->alternate_name, "second");
    EXPECT_EQ(field.objects[2]->alternate_name, "HD 93075");
    EXPECT_EQ(field.objects[3]->alternate_name, "kept");

    // An empty second line: only the first applies.
    Field third;
    third.AddObject().name = "A";
    third.AddObject().name = "B";
    EXPECT_EQ(ApplyAlternateNames("A one\n\nB two\n", third), 1);
    EXPECT_EQ(third.objects[0]->alternate_name, "one");
    EXPECT_EQ(third.objects[1]->alternate_name, "");

    CRecordingMessageBoxSink boxes;
    EXPECT_EQ(LoadAlternateNamesFile("/nonexistent/names.txt", third, boxes), -1);
    EXPECT_EQ(Boxes(boxes), (std::vector<Box>{{"Failed loading alternate names",
                                               {"Cannot open file: /nonexistent/names.txt"}}}));
    boxes.QueueAnswer(MessageAnswer::No);
    EXPECT_FALSE(ConfirmAlternateNames(boxes));
    EXPECT_EQ(boxes.Records().back().lines,
              (std::vector<std::string>{"Alternate names of individual objects will be replaced",
                                        "with names following the object name in the loaded file.",
                                        "Do you want to continue?"}));
}

TEST(SideFormats, ObjectDataTravelsWithItsSeries) {
    TempFolder folder;
    folder.Write("n1.txt",
                 "# JD: HELIOCENTRIC UNIT: MAGNITUDE\n2459000.5 12.1 0.01\n2459000.6 12.2 0.01\n");
    folder.Write("n2.txt", "# JD: HELIOCENTRIC UNIT: MAGNITUDE\n2459005.5 12.3 0.01\n");
    const std::string field_text =
        "kurvalux\r\n\tversion = 4\r\n\tobjects = 1\r\n\tobject\r\n\t\tname = \"RZ Cas\"\r\n"
        "\t\tvariability_type = \"EA\"\r\n\t\tm0 = 2459000.55\r\n\t\tperiod = 1.1952\r\n"
        "\t\tseries\r\n\t\t\trelative_path = \"n1.txt\"\r\n\t\t\toffset = 0.5\r\n"
        "\t\tend_series\r\n\t\tseries\r\n\t\t\trelative_path = \"n2.txt\"\r\n"
        "\t\tend_series\r\n\tend_object\r\nend_kurvalux\r\n";
    FieldLoadOptions options;
    options.bases.field_folder = folder.Path();
    CRecordingMessageBoxSink boxes;
    Field field;
    ASSERT_TRUE(LoadFieldText(field_text, field, options, boxes).ok);
    const std::string text = ObjectDataText(*field.objects[0]);
    ASSERT_EQ(text.substr(0, 28), "KurvaluxObjectData\r\nobject\r\n");

    // Read into another object: its keys absent from the text (the comment) stay.
    CObjectListElem target;
    target.comment = "mine";
    target.name = "old";
    SideReadResult result;
    ASSERT_TRUE(PasteSideText(SideKind::kObjectData, text, target, options.bases, boxes, &result));
    EXPECT_TRUE(boxes.Records().empty());
    EXPECT_EQ(target.name, "RZ Cas");
    EXPECT_EQ(target.variability_type, "EA");
    EXPECT_EQ(target.comment, "mine");
    EXPECT_EQ(target.period, 1.1952);
    EXPECT_EQ(target.saved_period, 1.1952);
    ASSERT_EQ(target.SeriesCount(), 2u);
    EXPECT_EQ(target.series[0]->Count(), 2u);
    EXPECT_EQ(target.series[0]->offset, 0.5);
    EXPECT_EQ(result.series.series_added, 2);
    // The same text read again: both series start where the object's already do.
    ASSERT_TRUE(PasteSideText(SideKind::kObjectData, text, target, options.bases, boxes, &result));
    EXPECT_EQ(result.series.series_refused, 2);
    EXPECT_EQ(target.SeriesCount(), 2u);
    // The object text is the field writer's: written again it is byte for byte the same.
    EXPECT_EQ(ObjectDataText(target).substr(0, 60), text.substr(0, 60));

    // A damaged block leaves the object as it was.
    CObjectListElem untouched;
    untouched.name = "old";
    EXPECT_FALSE(PasteSideText(SideKind::kObjectData,
                               std::string("KurvaluxObjectData\r\nobject\r\n\tname = \"new\"\r\n"
                                           "\tperiod = x\r\nend_object\r\n"),
                               untouched, {}, boxes));
    EXPECT_EQ(untouched.name, "old");
    ASSERT_EQ(boxes.Records().size(), 1u);
    EXPECT_EQ(boxes.Records()[0].title, "Failed pasting fit paremeters");
}

TEST(Levelling, EachStatisticBringsSeriesOntoTheEarliest) {
    struct Case {
        LevelStatistic statistic;
        std::vector<double> offsets;
    } cases[] = {
        // anchor (offset 0.1): median 12.2 -> level 12.3; mid-range 12.25 -> 12.35; mean
        // 12.2333... -> 12.3333...
        {LevelStatistic::kMedian, {0.1, 12.3 - 13.05, 0.3, 12.3 - 10.5}},
        {LevelStatistic::kRange, {0.1, 12.35 - 13.1, 0.3, 12.35 - 10.5}},
        {LevelStatistic::kAverage, {0.1, (36.7 / 3 + 0.1) - 13.075, 0.3, (36.7 / 3 + 0.1) - 10.5}},
    };
    for (const Case& c : cases) {
        CObjectListElem object;
        Add(object, Series({1.0, 1.1, 1.2}, {12.1, 12.2, 12.4}, 0.1));
        Add(object, Series({2.0, 2.1, 2.2, 2.3}, {12.9, 13.0, 13.1, 13.3}));
        Add(object, Series({3.0}, {11.0}, 0.3));
        Add(object, Series({4.0, 4.1}, {10.5, 10.5}));
        object.series[2]->enabled = false;  // left alone
        const LevelResult result = LevelSeries(object, c.statistic);
        ASSERT_TRUE(result.ok);
        EXPECT_EQ(result.levelled, 2);
        const std::vector<double> got = Offsets(object);
        for (size_t i = 0; i < got.size(); ++i)
            EXPECT_NEAR(got[i], c.offsets[i], 1e-12) << LevelStatisticName(c.statistic) << i;
    }
}

TEST(Levelling, FluxSeriesGetFactorsAndClearing) {
    CObjectListElem object;
    auto flux = [](std::vector<double> t, std::vector<double> v) {
        auto s = Series(std::move(t), std::move(v));
        s->file_meta_data.value_unit = kUnitFlux;
        return s;
    };
    Add(object, flux({1.0, 1.1}, {2.0, 2.0}));
    Add(object, flux({2.0, 2.1, 2.2}, {0.9, 1.0, 1.5}));
    Add(object, flux({3.0}, {-1.0}));
    ASSERT_TRUE(object.is_flux);
    object.series[0]->offset = 1.5;
    const LevelResult result = LevelSeries(object, LevelStatistic::kMedian);
    ASSERT_TRUE(result.ok);
    EXPECT_EQ(result.reference_level, 3.0);
    EXPECT_EQ(result.levelled, 1);
    EXPECT_EQ(result.skipped_flux_level, 1);
    EXPECT_EQ(Offsets(object), (std::vector<double>{1.5, 3.0, 1.0}));
    EXPECT_EQ(ClearSeriesOffsets(object), 2);
    EXPECT_EQ(Offsets(object), (std::vector<double>{1.0, 1.0, 1.0}));

    CObjectListElem empty;
    const LevelResult none = LevelSeries(empty, LevelStatistic::kAverage);
    EXPECT_FALSE(none.ok);
    EXPECT_EQ(none.message, "The object has no enabled series with points");

    CRecordingMessageBoxSink boxes;
    EXPECT_FALSE(ConfirmLevelSeries(boxes));
    boxes.QueueAnswer(MessageAnswer::Ok);
    EXPECT_TRUE(ConfirmClearSeriesOffsets(boxes));
    EXPECT_EQ(boxes.Records()[0].lines,
              (std::vector<std::string>{"Offsets of selected object series", "will be leveled."}));
    EXPECT_EQ(boxes.Records()[1].lines,
              (std::vector<std::string>{"Offsets of selected object series", "will be cleared."}));
}

}  // namespace
