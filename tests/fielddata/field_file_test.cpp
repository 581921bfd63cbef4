// Loading and saving field description files: every refusal with its exact box, the
// series-level refusals that let loading go on, and byte-stable round trips.
#include "data/field_file.h"

#include <gtest/gtest.h>

#include "data/heliocentric.h"
#include "data/kvf_blocks.h"

#include <cmath>
#include "temp_folder.h"

using namespace kurvalux_data;
using kurvalux_platform::CRecordingMessageBoxSink;
using kurvalux_platform::MessageBoxRecord;

namespace {

const char* kNight =
    "# JD: HELIOCENTRIC UNIT: MAGNITUDE FILTER: V\n2459000.50 12.10 0.01\n"
    "2459000.51 12.20 0.01\n2459000.52 12.15 0.01\n";

std::string Header(const std::string& body) {
    return "kurvalux\r\n\tversion = 4\r\n\tobjects = 1\r\n" + body;
}

std::string ObjectWithSeries(const std::string& series_blocks) {
    return Header("\tobject\r\n\t\tname = \"Star\"\r\n" + series_blocks +
                  "\tend_object\r\nend_kurvalux\r\n");
}

std::string SeriesBlock(const std::string& relative) {
    return "\t\tseries\r\n\t\t\tabsolute_path = \"C:\\nowhere\\" + relative +
           "\"\r\n\t\t\trelative_path = \"" + relative +
           "\"\r\n\t\t\toffset = 0\r\n\t\t\tenabled = TRUE\r\n\t\tend_series\r\n";
}

struct Loaded {
    bool ok;
    bool removed;
    size_t objects;
    std::vector<MessageBoxRecord> boxes;
};

Loaded Load(const TempFolder& folder, const std::string& text, Field& field) {
    const std::string path = folder.Write("field.kvf", text);
    FieldLoadOptions options;
    options.bases.field_folder = folder.Path();
    CRecordingMessageBoxSink boxes;
    FieldLoadResult result = LoadField(path, field, options, boxes);
    return {result.ok, result.series_removed, field.objects.size(), boxes.Records()};
}

TEST(FieldFile, SyntaxRefusalsKeepNothing) {
    struct Case {
        const char* name;
        std::string text;
        const char* message;
    } cases[] = {
        {"no header keyword", "field\r\n\tversion = 4\r\nend_kurvalux\r\n",
         "Missing \"kurvalux\" keyword"},
        {"no version", "kurvalux\r\n\tobjects = 0\r\nend_kurvalux\r\n",
         "Missing file version information"},
        {"version 0", "kurvalux\r\n\tversion = 0\r\nend_kurvalux\r\n",
         "Missing file version information"},
        {"version 5", "kurvalux\r\n\tversion = 5\r\nend_kurvalux\r\n",
         "File version higher than supported (update KURVALUX)"},
        {"unknown object key",
         Header("\tobject\r\n\t\tcolour = 5\r\n\tend_object\r\nend_kurvalux\r\n"),
         "Unknown keyword: colour"},
        {"colon for equals", Header("\tobject\r\n\t\tm0 : 5\r\n\tend_object\r\nend_kurvalux\r\n"),
         "Expected '=' instead of: :"},
        {"bad boolean",
         Header("\tobject\r\n\t\tuse_export_fit_name = 1\r\n\tend_object\r\nend_kurvalux\r\n"),
         "Expected TRUE or FALSE1"},
        {"eleventh comparison star",
         Header(
             "\tobject\r\n\t\tmeta_data\r\n\t\t\tcmp10\r\n\t\t\tend_cmp10\r\n\t\tend_meta_data\r\n"
             "\tend_object\r\nend_kurvalux\r\n"),
         "Too many comparison stars (> 10)cmp10"},
        {"eleventh check star",
         Header(
             "\tobject\r\n\t\tmeta_data\r\n\t\t\tchk12\r\n\t\t\tend_chk12\r\n\t\tend_meta_data\r\n"
             "\tend_object\r\nend_kurvalux\r\n"),
         "Too many check stars (> 10)chk12"},
        {"bare cmp",
         Header("\tobject\r\n\t\tmeta_data\r\n\t\t\tcmp\r\n\t\tend_meta_data\r\n"
                "\tend_object\r\nend_kurvalux\r\n"),
         "Unknown keyword: cmp"},
        {"wrong end of star block",
         Header("\tobject\r\n\t\tmeta_data\r\n\t\t\tcmp2\r\n\t\t\tend_cmp3\r\n\t\tend_meta_data\r\n"
                "\tend_object\r\nend_kurvalux\r\n"),
         "Unknown keyword: end_cmp3"},
        {"notes allow only lines",
         Header("\tobject\r\n\t\tnotes\r\n\t\t\ttext = \"x\"\r\n\t\tend_notes\r\n\tend_object\r\n"
                "end_kurvalux\r\n"),
         "Unknown keyword: text"},
        {"bad file time",
         Header("\tobject\r\n\t\tweb_series\r\n\t\t\tfile_time = 12G4\r\n\t\tend_web_series\r\n"
                "\tend_object\r\nend_kurvalux\r\n"),
         "Expected hexadecimal number: 12G4"},
        {"value on the last line without line end", Header("\tobject\r\n\t\tm0 = 5"),
         "Unexpected end off KVF file"},
        {"missing end_kurvalux",
         Header("\tobject\r\n\t\tname = \"A\"\r\n\tend_object\r\n\tobject\r\n"),
         "Unexpected end off KVF file"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TempFolder folder;
        Field field;
        field.AddObject().name = "left over";
        Loaded loaded = Load(folder, c.text, field);
        EXPECT_FALSE(loaded.ok);
        EXPECT_EQ(loaded.objects, 0u);
        ASSERT_EQ(loaded.boxes.size(), 1u);
        EXPECT_EQ(loaded.boxes[0].title, "Failed load field description");
        EXPECT_EQ(loaded.boxes[0].lines, (std::vector<std::string>{"Load data failed", c.message}));
    }
}

TEST(FieldFile, MissingFileIsReportedWithItsPath) {
    Field field;
    CRecordingMessageBoxSink boxes;
    EXPECT_FALSE(LoadField("/nonexistent/field.kvf", field, {}, boxes).ok);
    ASSERT_EQ(boxes.Records().size(), 1u);
    EXPECT_EQ(boxes.Records()[0].title, "Failed load field description");
    EXPECT_EQ(boxes.Records()[0].lines,
              (std::vector<std::string>{"Cannot open file", "/nonexistent/field.kvf"}));
}

TEST(FieldFile, RefusedSeriesAreReportedAndLoadingGoesOn) {
    TempFolder folder;
    folder.Write("a.txt", kNight);
    folder.Write("b.txt", kNight);  // same first point time as a.txt
    folder.Write("flux.txt", "# UNIT: FLUX\n2459001.5 1.0 0.01\n");
    folder.Write("empty.txt", "# only a header\n");
    Field field;
    Loaded loaded = Load(
        folder,
        ObjectWithSeries(SeriesBlock("a.txt") + SeriesBlock("missing.txt") + SeriesBlock("b.txt") +
                         SeriesBlock("flux.txt") + SeriesBlock("empty.txt")),
        field);
    ASSERT_TRUE(loaded.ok);
    EXPECT_TRUE(loaded.removed);
    ASSERT_EQ(field.objects.size(), 1u);
    EXPECT_EQ(field.objects[0]->SeriesCount(), 1u);
    // Unreadable files keep their series, unused; real conflicts are still refused.
    ASSERT_EQ(field.objects[0]->unavailable_series.size(), 2u);
    EXPECT_EQ(field.objects[0]->unavailable_series[0].series->relative_path, "missing.txt");
    EXPECT_EQ(field.objects[0]->unavailable_series[0].reason,
              "Cannot open file: " + folder.Path() + "missing.txt");
    EXPECT_EQ(field.objects[0]->unavailable_series[1].reason, "No data points in file");
    ASSERT_EQ(loaded.boxes.size(), 4u);
    for (const auto& box : loaded.boxes) EXPECT_EQ(box.title, "Error");
    // The path named is the last place looked at: beside the field file.
    EXPECT_EQ(loaded.boxes[0].lines,
              (std::vector<std::string>{
                  "Cannot load series photometry data:", folder.Path() + "missing.txt",
                  "Cannot open file: " + folder.Path() + "missing.txt",
                  "Series kept as unavailable until its file is found"}));
    EXPECT_EQ(loaded.boxes[1].lines,
              (std::vector<std::string>{"Duplicate series data file (same first point time):",
                                        folder.Path() + "b.txt", "Series removed from the field"}));
    EXPECT_EQ(loaded.boxes[2].lines[0],
              "Series with different value type (Mag x Flux) than previous series:");
    EXPECT_EQ(loaded.boxes[3].lines,
              (std::vector<std::string>{
                  "Cannot load series photometry data:", folder.Path() + "empty.txt",
                  "No data points in file", "Series kept as unavailable until its file is found"}));
}

TEST(FieldFile, ParallelAndSequentialLoadsAreIdentical) {
    TempFolder folder;
    std::string blocks;
    for (int i = 0; i < 40; ++i) {
        const std::string name = "s" + std::to_string(i) + ".txt";
        // Every fifth file repeats an earlier night, so refusals interleave with additions.
        const int night = i % 5 == 4 ? i - 1 : i;
        folder.Write(name, "# JD: GEOCENTRIC\n" + std::to_string(2459000 + night) +
                               ".5 12.0 0.01\n" + std::to_string(2459000 + night) +
                               ".6 12.1 0.01\n" + std::to_string(2459000 + night) +
                               ".7 12.2 0.01\n");
        blocks += SeriesBlock(name);
    }
    const std::string text = Header(
        "\tobject\r\n\t\tname = \"Star\"\r\n\t\tmeta_data\r\n\t\t\tvar\r\n"
        "\t\t\t\tstar_ra = \"06:30:32.796\"\r\n\t\t\t\tstar_dec = \"+29:40:20.28\"\r\n"
        "\t\t\tend_var\r\n\t\tend_meta_data\r\n" +
        blocks + "\tend_object\r\nend_kurvalux\r\n");
    const std::string path = folder.Write("field.kvf", text);
    std::string texts[2];
    std::vector<MessageBoxRecord> boxes[2];
    for (int parallel = 0; parallel < 2; ++parallel) {
        Field field;
        FieldLoadOptions options;
        options.bases.field_folder = folder.Path();
        options.parallel = parallel == 1;
        CRecordingMessageBoxSink sink;
        ASSERT_TRUE(LoadField(path, field, options, sink).ok);
        EXPECT_EQ(field.objects[0]->SeriesCount(), 32u);
        // Every point converted, as the model's own conversion does it point by point.
        const StarDirection star((6 + 30 / 60.0 + 32.796 / 3600) * M_PI / 12,
                                 (29 + 40 / 60.0 + 20.28 / 3600) * M_PI / 180);
        for (const auto& s : field.objects[0]->series) {
            ASSERT_TRUE(s->hjd_converted);
            const double night = std::floor(s->times[0]);
            EXPECT_EQ(s->times[0], HeliocentricJD(night + 0.5, star));
            EXPECT_EQ(s->times[1], HeliocentricJD(night + 0.6, star));
            EXPECT_EQ(s->times[2], HeliocentricJD(night + 0.7, star));
        }
        texts[parallel] = FieldToText(field);
        boxes[parallel] = sink.Records();
    }
    EXPECT_EQ(texts[0], texts[1]);
    ASSERT_EQ(boxes[0].size(), 8u);
    for (size_t i = 0; i < boxes[0].size(); ++i) EXPECT_EQ(boxes[0][i].lines, boxes[1][i].lines);
}

TEST(FieldFile, DuplicateWebSeriesIsDropped) {
    TempFolder folder;
    const std::string web =
        "\t\tweb_series\r\n\t\t\tuser_id = observer7\r\n"
        "\t\t\tfile_time = 1d9a3b2c4e5f601\r\n\t\t\toffset = 0.25\r\n"
        "\t\t\tenabled = FALSE\r\n\t\tend_web_series\r\n";
    Field field;
    Loaded loaded = Load(folder, ObjectWithSeries(web + web), field);
    ASSERT_TRUE(loaded.ok);
    EXPECT_TRUE(loaded.removed);
    ASSERT_EQ(field.objects[0]->web_series_local_data.size(), 1u);
    EXPECT_EQ(field.objects[0]->web_series_local_data[0]->file_time, 0x1d9a3b2c4e5f601ULL);
    EXPECT_EQ(field.objects[0]->web_series_local_data[0]->offset, 0.25);
    ASSERT_EQ(loaded.boxes.size(), 1u);
    EXPECT_EQ(loaded.boxes[0].lines,
              (std::vector<std::string>{
                  "Duplicate web series (same user and file time):", "observer7 1d9a3b2c4e5f601",
                  "Series removed from the field"}));
}

TEST(FieldFile, OlderKeysRepeatedPeriodAndStarIndices) {
    TempFolder folder;
    Field field;
    Loaded loaded =
        Load(folder,
             Header("\tobject\r\n\t\tcaption = \"Old name\"\r\n\t\talternate_caption=\"Alias\"\r\n"
                    "\t\tperiod = 1.5\r\n\t\tperiod = 2.5\r\n\t\tmeta_data\r\n\t\t\tcmp3\r\n"
                    "\t\t\t\tstar_name = \"C3\"\r\n\t\t\tend_cmp3\r\n\t\t\tCHK0\r\n"),
             field);
    // "CHK0" is not a keyword of the block (keywords are lower case).
    EXPECT_FALSE(loaded.ok);
    EXPECT_EQ(loaded.boxes[0].lines[1], "Unknown keyword: CHK0");

    loaded =
        Load(folder,
             Header("\tobject\r\n\t\tcaption = \"Old name\"\r\n\t\talternate_caption=\"Alias\"\r\n"
                    "\t\tperiod = 1.5\r\n\t\tperiod = 2.5\r\n\t\tmeta_data\r\n\t\t\tcmp3\r\n"
                    "\t\t\t\tstar_name = \"C3\"\r\n\t\t\tend_cmp3\r\n\t\tend_meta_data\r\n"
                    "\t\tfit\r\n\t\t\ta_cos2 = 0.125\r\n\t\t\tmag0 = 11\r\n\t\tend_fit\r\n"
                    "\tend_object\r\nend_kurvalux\r\n"),
             field);
    ASSERT_TRUE(loaded.ok);
    const CObjectListElem& o = *field.objects[0];
    EXPECT_EQ(o.name, "Old name");
    EXPECT_EQ(o.alternate_name, "Alias");
    EXPECT_EQ(o.period, 2.5);
    EXPECT_EQ(o.saved_period, 2.5);
    ASSERT_EQ(o.meta_data.cmp.size(), 4u);
    EXPECT_TRUE(o.meta_data.cmp[0].IsEmpty());
    EXPECT_EQ(o.meta_data.cmp[3].star_name, "C3");
    EXPECT_TRUE(o.has_fit);
    EXPECT_EQ(o.fit[kACos2], 0.125);
    EXPECT_EQ(o.fit[kMag0], 11.0);
    EXPECT_EQ(o.fit[kDPri], 0.1);  // missing keys keep their defaults
}

TEST(FieldFile, TextsAreCutAtTheirCapacity) {
    TempFolder folder;
    Field field;
    const std::string long_name(100, 'n');
    ASSERT_TRUE(Load(folder,
                     Header("\tobject\r\n\t\tname = \"" + long_name + "\"\r\n\t\ttoken = \"" +
                            long_name + "\"\r\n\tend_object\r\nend_kurvalux\r\n"),
                     field)
                    .ok);
    EXPECT_EQ(field.objects[0]->name, std::string(63, 'n'));
    EXPECT_EQ(field.objects[0]->token, std::string(15, 'n'));
}

Field RichField() {
    Field field;
    CObjectListElem& o = field.AddObject();
    o.name = "Quote \"in\" name";
    o.token = "tok123";
    o.comment = "a; comment, with separators";
    o.m0 = 2459000.1234567;
    o.period = 0.7654321;
    o.saved_m0 = o.m0;
    o.saved_period = 0.7654322;
    o.min_magnitude = 13.25;
    o.meta_data.var_aperture = 5.5;
    o.meta_data.jd_type = kJdHeliocentric;
    o.meta_data.value_unit = kUnitMagnitude;
    o.meta_data.filter = "V";
    o.meta_data.var.star_name = "Var";
    o.meta_data.var.star_ra = 1.7;
    o.meta_data.var.star_dec = -0.4;
    o.meta_data.var.catalog_mag = 12.5;
    o.meta_data.chk.resize(2);
    o.meta_data.chk[1].catalog_id = "123-456";
    o.has_fit = true;
    o.fit[kASin3] = 0.003;
    o.fit[kACos1] = -0.02;
    o.export_fit_prefix = "pre";
    o.notes = "first line\r\n\r\nthird \"line\"\r\n";
    auto entry = std::make_unique<CWebSeriesLocalDataTreeElem>();
    entry->user_id = "observer";
    entry->file_time = 0x01DA0000ABCDEF12ULL;
    entry->minima.push_back({kMinimumSecondary, 2459001.25, 0.0003, false});
    o.AddWebSeriesLocalData(std::move(entry));
    field.AddObject().name = "Empty";
    return field;
}

TEST(FieldFile, SaveLoadSaveIsByteIdentical) {
    TempFolder folder;
    const Field field = RichField();
    const std::string first = FieldToText(field);
    Field reloaded;
    ASSERT_TRUE(Load(folder, first, reloaded).ok);
    EXPECT_EQ(FieldToText(reloaded), first);
    EXPECT_EQ(reloaded.objects[0]->name, "Quote \"in\" name");
    EXPECT_EQ(reloaded.objects[0]->notes, "first line\r\n\r\nthird \"line\"\r\n");
    EXPECT_NEAR(reloaded.objects[0]->meta_data.var.star_ra, 1.7, 1e-7);
}

TEST(FieldFile, WrittenTextHasTheDocumentedLayout) {
    Field field;
    CObjectListElem& o = field.AddObject();
    o.name = "Example";
    o.m0 = 2459000.5;
    o.period = 0.7654321;
    o.CompleteSavedEphemeris();
    o.primary_fit_time_range = 0.05;
    o.secondary_fit_time_range = 0.05;
    o.absolute_path = "C:\\Data\\Example";
    o.relative_path = "Example";
    EXPECT_EQ(FieldToText(field),
              "kurvalux\r\n\tversion = 4\r\n\tobjects = 1\r\n\tobject\r\n"
              "\t\tname = \"Example\"\r\n\t\tm0 = 2459000.5000000\r\n\t\tperiod = 0.7654321\r\n"
              "\t\tsaved_m0 = 2459000.5000000\r\n\t\tsaved_period = 0.7654321\r\n"
              "\t\tprimary_fit_time_range = 0.0500000\r\n"
              "\t\tsecondary_fit_time_range = 0.0500000\r\n\t\tperiod = 0.7654321\r\n"
              "\t\tabsolute_path = \"C:\\Data\\Example\"\r\n\t\trelative_path = \"Example\"\r\n"
              "\t\tdir_key = \"\"\r\n\t\tfile_names = \"\"\r\n\t\toffset_amplitude = 0.100000\r\n"
              "\t\tperiod_amplitude = 0.100000\r\n\t\tmeta_data_source = 4\r\n"
              "\t\tuse_export_fit_name = TRUE\r\n\tend_object\r\nend_kurvalux\r\n");
}

TEST(FieldFile, SavingKeepsThePreviousVersionAsBak) {
    TempFolder folder;
    const std::string path = folder.Path() + "field.kvf";
    CRecordingMessageBoxSink boxes;
    Field field;
    field.AddObject().name = "one";
    ASSERT_TRUE(SaveField(path, field, boxes));
    field.objects[0]->name = "two";
    ASSERT_TRUE(SaveField(path, field, boxes));
    field.objects[0]->name = "three";
    ASSERT_TRUE(SaveField(path, field, boxes));
    EXPECT_NE(folder.Read("field.bak").find("\"two\""), std::string::npos);
    EXPECT_NE(folder.Read("field.kvf").find("\"three\""), std::string::npos);
    EXPECT_TRUE(boxes.Records().empty());

    EXPECT_FALSE(SaveField("/nonexistent-folder/x.kvf", field, boxes));
    ASSERT_EQ(boxes.Records().size(), 1u);
    EXPECT_EQ(boxes.Records()[0].title, "Failed save field description");
    EXPECT_EQ(boxes.Records()[0].lines,
              (std::vector<std::string>{"Cannot create file", "/nonexistent-folder/x.kvf"}));
}

TEST(FieldFile, ExampleFieldRoundTripIsStableFromTheSecondSave) {
    TempFolder folder;
    const std::string example = std::string(KURVALUX_SOURCE_DIR) + "/examples/demo/demo.kvf";
    FieldLoadOptions options;
    options.bases.field_folder = std::string(KURVALUX_SOURCE_DIR) + "/examples/demo/";
    CRecordingMessageBoxSink boxes;
    Field field;
    ASSERT_TRUE(LoadField(example, field, options, boxes).ok);
    EXPECT_TRUE(boxes.Records().empty());
    ASSERT_EQ(field.objects.size(), 3u);
    // The geocentric night of the contact binary is converted on load.
    int converted = 0;
    for (const auto& s : field.objects[1]->series) converted += s->hjd_converted;
    EXPECT_EQ(converted, 1);

    ASSERT_TRUE(SaveField(folder.Path() + "one.kvf", field, boxes));
    Field second;
    options.bases.field_folder = folder.Path();
    ASSERT_TRUE(LoadField(folder.Path() + "one.kvf", second, options, boxes).ok);
    ASSERT_TRUE(SaveField(folder.Path() + "two.kvf", second, boxes));
    Field third;
    ASSERT_TRUE(LoadField(folder.Path() + "two.kvf", third, options, boxes).ok);
    ASSERT_TRUE(SaveField(folder.Path() + "three.kvf", third, boxes));
    EXPECT_EQ(folder.Read("two.kvf"), folder.Read("three.kvf"));
    EXPECT_TRUE(boxes.Records().empty());
}

}  // namespace
