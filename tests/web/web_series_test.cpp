// The web series of a repository object, read from the cache when a field loads: cache files
// present, missing, corrupt or too big; the local data of each series (offset, switch, minima)
// attached and written back exactly once; a reload after synchronisation.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "data/field_file.h"
#include "platform/files.h"
#include "web/repository_cache.h"
#include "web/web_series.h"

namespace kurvalux_web {
namespace {

namespace fs = std::filesystem;
using kurvalux_data::CObjectListElem;
using kurvalux_data::CWebSeriesTreeElem;
using kurvalux_data::Field;
using Texts = std::vector<std::string>;

// The series of two contributors of object OBJ1: ann (two nights, one minimum in the cache)
// and bob (one night).
const char* kAnnFile = R"({"token": "OBJ1", "name": "V1 Tst",
  "series": [
    {"file_time": 133000000000000000, "var_aperture": 4, "cmp_aperture": 4.5, "chk_aperture": 5,
     "jd_type": 2, "brightness_unit": "mag", "filter": "V",
     "minima": [{"jd": 2459001.5, "error": 0.0002, "type": "primary"}],
     "data": ["2459001.4 12.5 0.01", "2459001.6 12.6", "not a point", "2459001.5 12.9 0.02"]},
    {"file_time": 133000000000000001, "jd_type": 2, "brightness_unit": "mag", "filter": "R",
     "minima": [], "data": ["2459003.4 11.5 0.01", "2459003.5 11.6 0.01"]}]})";
const char* kBobFile = R"({"token": "OBJ1", "series": [
    {"file_time": 133000000000000002, "jd_type": 2, "brightness_unit": "mag", "filter": "B",
     "minima": [{"jd": 2459002.45, "error": 0.001, "type": "secondary"}],
     "data": ["2459002.4 13.5 0.01", "2459002.5 13.6 0.01"]}]})";

// bob's series carries the observer's offset, switch and own minimum; the second entry is of
// a series the cache does not hold.
const char* kField = R"(kurvalux
	version = 4
	objects = 2
	object
		token = "OBJ1"
		publisher = "ann"
		name = "V1 Tst"
		web_series
			user_id = bob
			file_time = 1d882cb9b208002
			offset = 0.250000
			enabled = FALSE
			minimum
				type = primary
				time = 2459002.460000
				error = 0.000500
				enabled = TRUE
			end_minimum
		end_web_series
		web_series
			user_id = cyd
			file_time = 1d882cb9b208009
			offset = -0.100000
			enabled = TRUE
		end_web_series
	end_object
	object
		name = "Local Only"
	end_object
end_kurvalux
)";

class WebSeriesTest : public ::testing::Test {
protected:
    WebSeriesTest() {
        root = fs::temp_directory_path() /
               ("kurvalux-webseries-" +
                std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::remove_all(root);
        user_folder = CacheUserFolder(root.string(), "u17");
        fs::create_directories(user_folder);
    }
    ~WebSeriesTest() override { fs::remove_all(root); }

    void Put(const std::string& name, const std::string& text) {
        ASSERT_TRUE(kurvalux_platform::WriteWholeFile(user_folder + name, text));
    }
    // Loads `text` with the web series of the cache folder; true when the load succeeded.
    bool Load(const std::string& text, Field& field) {
        kurvalux_data::FieldLoadOptions options;
        options.parallel = false;
        options.web_series = [this](CObjectListElem& object,
                                    kurvalux_platform::CMessageBoxSink& messages) {
            LoadWebSeries(object, user_folder, messages);
        };
        return kurvalux_data::LoadFieldText(text, field, options, boxes).ok;
    }
    Texts BoxLines(size_t i) const {
        const auto& box = boxes.Records().at(i);
        Texts lines{box.title};
        lines.insert(lines.end(), box.lines.begin(), box.lines.end());
        return lines;
    }
    // The web_series blocks of a field text, in order, as one string each.
    static Texts WebBlocks(const std::string& text) {
        Texts blocks;
        for (size_t at = text.find("web_series"); at != std::string::npos;
             at = text.find("\tweb_series", at + 1)) {
            const size_t end = text.find("end_web_series", at);
            blocks.push_back(text.substr(at, end - at));
        }
        return blocks;
    }

    fs::path root;
    std::string user_folder;
    kurvalux_platform::CRecordingMessageBoxSink boxes;
};

TEST_F(WebSeriesTest, CachedSeriesJoinTheObjectInTimeOrderWithTheirLocalData) {
    Put("OBJ1_ann.json", kAnnFile);
    Put("OBJ1_bob.json", kBobFile);
    Put("OBJ2_ann.json", kBobFile);  // another object's file is not read
    Field field;
    ASSERT_TRUE(Load(kField, field));
    // Only the series the cache does not hold is reported; its entry stays.
    ASSERT_EQ(boxes.Records().size(), 1u);
    EXPECT_EQ(BoxLines(0), (Texts{"Error", "Web series not in the repository cache:", "V1 Tst",
                                  "1 series kept until the object is synchronized"}));

    const CObjectListElem& object = *field.objects[0];
    ASSERT_EQ(object.series.size(), 3u);
    struct Expected {
        const char* user;
        uint64_t file_time;
        double first, offset;
        bool enabled;
        size_t points;
        const char* filter;
    };
    const Expected expected[] = {{"ann", 133000000000000000ULL, 2459001.4, 0, true, 3, "V"},
                                 {"bob", 133000000000000002ULL, 2459002.4, 0.25, false, 2, "B"},
                                 {"ann", 133000000000000001ULL, 2459003.4, 0, true, 2, "R"}};
    for (size_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        const auto* web = dynamic_cast<const CWebSeriesTreeElem*>(object.series[i].get());
        ASSERT_NE(web, nullptr);
        EXPECT_EQ(web->user_id, expected[i].user);
        EXPECT_EQ(web->publisher, expected[i].user);
        EXPECT_EQ(web->file_time, expected[i].file_time);
        EXPECT_DOUBLE_EQ(web->FirstTime(), expected[i].first);
        EXPECT_DOUBLE_EQ(web->offset, expected[i].offset);
        EXPECT_EQ(web->enabled, expected[i].enabled);
        EXPECT_EQ(web->Count(), expected[i].points);
        EXPECT_EQ(web->file_meta_data.filter, expected[i].filter);
        EXPECT_FALSE(web->hjd_converted);
    }
    // ann's first night: points in time order, a missing error read as 0, the text skipped.
    const auto& ann = *object.series[0];
    EXPECT_EQ(ann.times, (std::vector<double>{2459001.4, 2459001.5, 2459001.6}));
    EXPECT_EQ(ann.values, (std::vector<double>{12.5, 12.9, 12.6}));
    EXPECT_EQ(ann.errors, (std::vector<double>{0.01, 0.02, 0}));
    EXPECT_DOUBLE_EQ(ann.file_meta_data.cmp_aperture, 4.5);
    ASSERT_EQ(ann.minima.size(), 1u);
    EXPECT_EQ(ann.minima[0].type, kurvalux_data::kMinimumPrimary);
    EXPECT_DOUBLE_EQ(ann.minima[0].time, 2459001.5);
    // bob's minima are the observer's own, not the cached secondary one.
    ASSERT_EQ(object.series[1]->minima.size(), 1u);
    EXPECT_EQ(object.series[1]->minima[0].type, kurvalux_data::kMinimumPrimary);
    EXPECT_DOUBLE_EQ(object.series[1]->minima[0].time, 2459002.46);
    ASSERT_EQ(object.web_series_local_data.size(), 1u);
    EXPECT_EQ(object.web_series_local_data[0]->user_id, "cyd");
    EXPECT_TRUE(field.objects[1]->series.empty());
}

TEST_F(WebSeriesTest, SavingWritesEverySeriesOnceAndReadsBackTheSame) {
    Put("OBJ1_ann.json", kAnnFile);
    Put("OBJ1_bob.json", kBobFile);
    Field field;
    ASSERT_TRUE(Load(kField, field));
    field.objects[0]->series[2]->offset = 0.5;  // the observer levels ann's second night
    const std::string saved = kurvalux_data::FieldToText(field);
    const Texts blocks = WebBlocks(saved);
    ASSERT_EQ(blocks.size(), 4u);  // three loaded series, then the entry without its series
    EXPECT_NE(blocks[0].find("user_id = ann\r\n\t\t\tfile_time = 1d882cb9b208000"),
              std::string::npos);
    EXPECT_NE(blocks[1].find("user_id = bob"), std::string::npos);
    EXPECT_NE(blocks[1].find("enabled = FALSE"), std::string::npos);
    EXPECT_NE(blocks[2].find("offset = 0.500000"), std::string::npos);
    EXPECT_NE(blocks[3].find("user_id = cyd\r\n\t\t\tfile_time = 1d882cb9b208009\r\n\t\t\t"
                             "offset = -0.100000"),
              std::string::npos);

    boxes.Clear();
    Field again;
    ASSERT_TRUE(Load(saved, again));
    EXPECT_EQ(kurvalux_data::FieldToText(again), saved);
    EXPECT_DOUBLE_EQ(again.objects[0]->series[2]->offset, 0.5);
    EXPECT_EQ(again.objects[0]->series[0]->minima.size(), 1u);
}

TEST_F(WebSeriesTest, MissingCacheKeepsEveryEntryAndSaysSo) {
    Field field;
    ASSERT_TRUE(Load(kField, field));
    ASSERT_EQ(boxes.Records().size(), 1u);
    EXPECT_EQ(BoxLines(0), (Texts{"Error", "Web series not in the repository cache:", "V1 Tst",
                                  "2 series kept until the object is synchronized"}));
    EXPECT_TRUE(field.objects[0]->series.empty());
    // The saved field holds both entries exactly as they were read.
    const Texts original = WebBlocks(kField);
    Texts saved = WebBlocks(kurvalux_data::FieldToText(field));
    ASSERT_EQ(saved.size(), 2u);
    for (std::string& block : saved) std::erase(block, '\r');
    EXPECT_EQ(saved, original);

    // No account known: the same, without touching any folder.
    boxes.Clear();
    Field none;
    kurvalux_data::FieldLoadOptions options;
    options.web_series = [](CObjectListElem& object, kurvalux_platform::CMessageBoxSink& m) {
        LoadWebSeries(object, "", m);
    };
    ASSERT_TRUE(kurvalux_data::LoadFieldText(kField, none, options, boxes).ok);
    EXPECT_EQ(boxes.Records().size(), 1u);
    EXPECT_EQ(none.objects[0]->web_series_local_data.size(), 2u);
}

TEST_F(WebSeriesTest, CorruptOrOversizedFilesAreReportedAndTheirEntriesKept) {
    Put("OBJ1_ann.json", kAnnFile);
    Put("OBJ1_bob.json", std::string(kBobFile).substr(0, 60));  // cut off mid-record
    Put("OBJ1_cyd.json", "[1, 2]");
    {
        std::ofstream big(user_folder + "OBJ1_dan.json", std::ios::binary);
        big << std::string(kWebSeriesFileLimit + 1, ' ');
    }
    Field field;
    ASSERT_TRUE(Load(kField, field));
    const std::string bob = user_folder + "OBJ1_bob.json";
    ASSERT_EQ(boxes.Records().size(), 3u);
    EXPECT_EQ(BoxLines(0)[0], "Error");
    EXPECT_EQ(BoxLines(0)[1], "Cannot load web series data:");
    EXPECT_EQ(BoxLines(0)[2], bob);
    EXPECT_FALSE(BoxLines(0)[3].empty());
    EXPECT_EQ(BoxLines(0)[4], kWebSeriesKept);
    EXPECT_EQ(BoxLines(1),
              (Texts{"Error", "Cannot load web series data:", user_folder + "OBJ1_cyd.json",
                     "Cached object record expected", kWebSeriesKept}));
    EXPECT_EQ(BoxLines(2),
              (Texts{"Error", "Cannot load web series data:", user_folder + "OBJ1_dan.json",
                     "File too big (> 16 MB)", kWebSeriesKept}));
    // ann's series are there; bob's entry waits for a readable file and is saved unchanged.
    const CObjectListElem& object = *field.objects[0];
    EXPECT_EQ(object.series.size(), 2u);
    ASSERT_EQ(object.web_series_local_data.size(), 2u);
    EXPECT_EQ(object.web_series_local_data[0]->user_id, "bob");
    EXPECT_DOUBLE_EQ(object.web_series_local_data[0]->offset, 0.25);
    EXPECT_EQ(object.web_series_local_data[0]->minima.size(), 1u);
}

TEST_F(WebSeriesTest, AFileOfExactlySixteenMegabytesIsRead) {
    std::string text = kBobFile;
    text.append(kWebSeriesFileLimit - text.size(), ' ');
    Put("OBJ1_bob.json", text);
    Field field;
    ASSERT_TRUE(Load(kField, field));
    EXPECT_EQ(field.objects[0]->series.size(), 1u);
}

TEST_F(WebSeriesTest, RefusedSeriesAreReportedAndTheirEntryStays) {
    // A series with no readable point, and one whose first time is that of another series.
    Put("OBJ1_ann.json", R"({"series": [{"file_time": 5, "data": ["x y"]},
        {"file_time": 6, "data": ["2459002.4 10.0 0.1"]}]})");
    Put("OBJ1_bob.json", kBobFile);
    Field field;
    ASSERT_TRUE(Load(kField, field));
    const std::string ann = user_folder + "OBJ1_ann.json";
    const std::string bob = user_folder + "OBJ1_bob.json";
    ASSERT_EQ(boxes.Records().size(), 3u);
    EXPECT_EQ(BoxLines(0), (Texts{"Error", "Web series without data points:", ann,
                                  "Series removed from the field"}));
    EXPECT_EQ(BoxLines(1), (Texts{"Error", "Duplicate series data file (same first point time):",
                                  bob, "Series removed from the field"}));
    const CObjectListElem& object = *field.objects[0];
    ASSERT_EQ(object.series.size(), 1u);
    EXPECT_EQ(object.series[0]->file_time, 6u);
    // bob's refused series keeps its entry (with the observer's offset) for the next load.
    EXPECT_EQ(object.web_series_local_data.size(), 2u);
    EXPECT_EQ(object.web_series_local_data[0]->user_id, "bob");
}

TEST_F(WebSeriesTest, ReloadAfterSynchronisationKeepsTheObserversSettings) {
    Put("OBJ1_ann.json", kAnnFile);
    Put("OBJ1_bob.json", kBobFile);
    Field field;
    ASSERT_TRUE(Load(kField, field));
    CObjectListElem& object = *field.objects[0];
    object.series[0]->offset = 0.125;
    object.series[0]->minima.clear();

    UnloadWebSeries(object);
    EXPECT_TRUE(object.series.empty());
    EXPECT_EQ(object.web_series_local_data.size(), 4u);

    // The synchronised cache holds a third night of bob's.
    Put("OBJ1_bob.json", R"({"series": [
        {"file_time": 133000000000000002, "data": ["2459002.4 13.5 0.01"]},
        {"file_time": 7, "data": ["2459004.4 13.5 0.01"]}]})");
    boxes.Clear();
    const WebSeriesLoadResult result = LoadWebSeries(object, user_folder, boxes);
    EXPECT_EQ(result.files, 2);
    EXPECT_EQ(result.added, 4);
    EXPECT_EQ(result.missing, 1);
    ASSERT_EQ(object.series.size(), 4u);
    EXPECT_DOUBLE_EQ(object.series[0]->offset, 0.125);
    EXPECT_TRUE(object.series[0]->minima.empty());
    EXPECT_DOUBLE_EQ(object.series[1]->offset, 0.25);
    EXPECT_FALSE(object.series[1]->enabled);
    EXPECT_DOUBLE_EQ(object.series[3]->FirstTime(), 2459004.4);
}

TEST(WebSeriesNames, ContributorComesFromTheCacheFileName) {
    struct Case {
        const char* name;
        const char* token;
        const char* contributor;
    };
    const Case cases[] = {
        {"OBJ1_ann.json", "OBJ1", "ann"}, {"OBJ1_a_b.json", "OBJ1", "a_b"},
        {"OBJ1_.json", "OBJ1", ""},       {"OBJ12_ann.json", "OBJ1", ""},
        {"OBJ1_ann.bak", "OBJ1", ""},     {"a_b_c.json", "a/b", "c"},
        {"OBJ1_ann.json", "OBJ2", ""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ContributorOfCacheFile(c.name, c.token), c.contributor) << c.name;
}

TEST(WebSeriesDocument, FluxUnitAndKindsOfMembers) {
    std::vector<std::unique_ptr<CWebSeriesTreeElem>> series;
    std::string error;
    ASSERT_TRUE(ReadWebSeriesDocument(
        R"({"series": [{"file_time": "12", "jd_type": 7, "brightness_unit": "flux",
            "var_aperture": "4", "data": ["+2459001.5 1.5e3 0.25", "2459001.6,1.0"]}, 3]})",
        "eve", series, error));
    ASSERT_EQ(series.size(), 1u);
    const auto& s = *series[0];
    EXPECT_EQ(s.file_time, 0u);                                      // a string is not a file time
    EXPECT_EQ(s.file_meta_data.jd_type, kurvalux_data::kJdUnknown);  // 7 is no JD type
    EXPECT_EQ(s.file_meta_data.value_unit, kurvalux_data::kUnitFlux);
    EXPECT_EQ(s.file_meta_data.var_aperture, 0);
    EXPECT_EQ(s.times, (std::vector<double>{2459001.5}));
    EXPECT_EQ(s.values, (std::vector<double>{1500}));

    EXPECT_FALSE(ReadWebSeriesDocument("{\"series\": [", "eve", series, error));
    EXPECT_FALSE(error.empty());
    EXPECT_TRUE(ReadWebSeriesDocument("{\"name\": \"x\"}", "eve", series, error));
    EXPECT_TRUE(series.empty());
}

}  // namespace
}  // namespace kurvalux_web
