// The catalogue look-up: the query box, real catalogue answers, the matching rules, and the
// whole command against a test server standing in for the catalogue.
#include "web/vsx_lookup.h"

#include <gtest/gtest.h>

#include <numbers>

#include "platform/files.h"
#include "platform/waiting_poster.h"
#include "web/test_server.h"

namespace kurvalux_web {
namespace {

using Texts = std::vector<std::string>;
constexpr double kRad = std::numbers::pi / 180;

std::string ReadData(const std::string& name) {
    std::string text;
    EXPECT_EQ(kurvalux_platform::ReadWholeFile(std::string(KURVALUX_TEST_DATA_DIR) + "/vsx/" + name,
                                               1 << 20, text),
              kurvalux_platform::ReadStatus::Ok)
        << name;
    return text;
}

kurvalux_data::CObjectListElem& AddObject(kurvalux_data::Field& field, const std::string& name,
                                          double ra_degrees, double dec_degrees) {
    kurvalux_data::CObjectListElem& object = field.AddObject();
    object.name = name;
    if (ra_degrees >= 0) {
        object.meta_data.var.star_ra = ra_degrees * kRad;
        object.meta_data.var.star_dec = dec_degrees * kRad;
    }
    return object;
}

TEST(VsxBox, SpansTheObjectsWithKnownCoordinates) {
    kurvalux_data::Field field;
    AddObject(field, "unknown", -1, 0);
    EXPECT_FALSE(ComputeVsxBox(field, nullptr).Set());
    EXPECT_EQ(VsxQueryPath(ComputeVsxBox(field, nullptr)), "");
    AddObject(field, "a", 196.5, 18.25);
    auto& b = AddObject(field, "b", 195.75, 18.5);
    AddObject(field, "c", 197.0, 17.75);
    EXPECT_EQ(VsxQueryPath(ComputeVsxBox(field, nullptr)),
              "/vsx/index.php?view=api.list&fromra=195.7500000&tora=197.0000000"
              "&fromdec=17.7500000&todec=18.5000000&format=json");
    // One object alone: a box of no size; the match tolerance is the only slack.
    EXPECT_EQ(VsxQueryPath(ComputeVsxBox(field, &b)),
              "/vsx/index.php?view=api.list&fromra=195.7500000&tora=195.7500000"
              "&fromdec=18.5000000&todec=18.5000000&format=json");
    kurvalux_data::Field polar;
    AddObject(polar, "near the pole", 12.0, 89.9999);
    EXPECT_EQ(VsxQueryPath(ComputeVsxBox(polar, nullptr)),
              "/vsx/index.php?view=api.list&fromra=12.0000000&tora=12.0000000"
              "&fromdec=89.9999000&todec=89.9999000&format=json");
}

TEST(VsxAnswer, RealAnswersAreRead) {
    std::vector<CVsxStar> stars = ParseVsxAnswer(ReadData("vsx-list-sample-1.json"));
    ASSERT_EQ(stars.size(), 22u);
    EXPECT_EQ(stars[0].name, "Y Com");
    EXPECT_EQ(stars[0].type, "SRB");
    EXPECT_EQ(stars[0].period, 95.0);  // "95:" – an uncertain period
    EXPECT_EQ(stars[0].epoch, 2452994.0);
    EXPECT_DOUBLE_EQ(stars[0].ra, 196.64292 * kRad);
    EXPECT_DOUBLE_EQ(stars[0].dec, 18.97247 * kRad);
    EXPECT_EQ(stars[1].period, 0.5466892);
    EXPECT_EQ(stars[1].epoch, 2453469.8819);
    // A record with no type, period or epoch.
    auto bare = std::find_if(stars.begin(), stars.end(),
                             [](const CVsxStar& s) { return s.name == "CSS_J130246.9+182141"; });
    ASSERT_NE(bare, stars.end());
    EXPECT_EQ(bare->type, "");
    EXPECT_EQ(bare->period, 0.0);

    stars = ParseVsxAnswer(ReadData("vsx-list-1row.json"));
    ASSERT_EQ(stars.size(), 1u);
    EXPECT_EQ(stars[0].name, "ASASSN-V J185256.94+581259.1");
    EXPECT_EQ(stars[0].period, 5.09843);
    EXPECT_EQ(stars[0].epoch, 2457991.86);
    stars = ParseVsxAnswer(ReadData("vsx-list-1row-noepoch.json"));
    ASSERT_EQ(stars.size(), 1u);
    EXPECT_EQ(stars[0].epoch, 0.0);
    EXPECT_EQ(stars[0].period, 0.306243);
    EXPECT_TRUE(ParseVsxAnswer(ReadData("vsx-list-empty.json")).empty());
}

TEST(VsxAnswer, NumbersOrStringsRecordOrArray) {
    const auto stars = ParseVsxAnswer(
        R"({"VSXObjects":{"VSXObject":{"Name":"X","RA2000":10.5,"Declination2000":-5,"Period":"1.25","Epoch":2450000}}})");
    ASSERT_EQ(stars.size(), 1u);
    EXPECT_DOUBLE_EQ(stars[0].ra, 10.5 * kRad);
    EXPECT_DOUBLE_EQ(stars[0].dec, -5 * kRad);
    EXPECT_EQ(stars[0].period, 1.25);
    EXPECT_EQ(stars[0].epoch, 2450000.0);
    // Unreadable answers and stars without a position give nothing.
    for (const char* text :
         {"", "<html>challenge</html>", "{\"VSXObjects\":{\"VSXObject\":[{\"Name\":\"Y\"}]}}",
          "{\"VSXObjects\":{\"VSXObject\":[{\"RA2000\":\"?\",\"Declination2000\":\"1\"}]}}",
          "{\"VSXObjects\":{\"VSXObject\":[[[[[[[[[[[[[[[[[[[[[[[[[["})
        EXPECT_TRUE(ParseVsxAnswer(text).empty()) << text;
}

TEST(VsxMatch, FirstObjectTakesTheStarAndTheRulesOfEachField) {
    kurvalux_data::Field field;
    const double ra = 196.64292, dec = 18.97247;                                 // Y Com
    auto& first = AddObject(field, "first", ra + 2.0 / 3600, dec - 2.0 / 3600);  // 2" off
    auto& second = AddObject(field, "second", ra, dec);  // exactly on it, but later in the list
    auto& far = AddObject(field, "far", ra + 4.0 / 3600, dec);  // 4" off in R.A.
    first.alternate_name = "GSC 1";
    first.variability_type = "SRB";
    first.period = 90;
    std::vector<CVsxStar> stars = ParseVsxAnswer(ReadData("vsx-list-sample-1.json"));
    const VsxMatchResult result = MatchVsxStars(field, nullptr, stars);
    EXPECT_EQ(result.stars, 22u);
    EXPECT_EQ(result.matched, 1u);
    EXPECT_EQ(stars.size(), 21u);
    EXPECT_EQ(first.alternate_name, "GSC 1 [Y Com]");
    EXPECT_EQ(first.variability_type, "SRB");  // holds the type already
    EXPECT_EQ(first.period, 90.0);             // never overwritten
    EXPECT_EQ(first.m0, 2452994.0);            // was unset
    EXPECT_EQ(second.alternate_name, "");
    EXPECT_EQ(far.alternate_name, "");

    // A second look-up changes nothing more: the name is there already.
    stars = ParseVsxAnswer(ReadData("vsx-list-sample-1.json"));
    first.variability_type = "EA";
    MatchVsxStars(field, &first, stars);
    EXPECT_EQ(first.alternate_name, "GSC 1 [Y Com]");
    EXPECT_EQ(first.variability_type, "EA [SRB]");
    EXPECT_EQ(second.alternate_name, "");  // only the chosen object is matched

    // Appended names are cut at the capacity.
    first.alternate_name = std::string(60, 'x');
    stars = ParseVsxAnswer(ReadData("vsx-list-sample-1.json"));
    MatchVsxStars(field, &first, stars);
    EXPECT_EQ(first.alternate_name, std::string(60, 'x') + " [Y");
}

class VsxLookupTest : public ::testing::Test {
protected:
    VsxLookupTest() : lookup(&poster, boxes) { lookup.SetServer(server.Url()); }
    Texts Run(kurvalux_data::Field& field, kurvalux_data::CObjectListElem* only = nullptr) {
        boxes.Clear();
        if (lookup.Start(field, only)) {
            auto message = poster.Take(20000);
            EXPECT_TRUE(message.has_value());
            if (message) {
                EXPECT_EQ(message->number, kurvalux_platform::kMsgCatalogueDone);
                lookup.Complete(int(message->a), field, only);
            }
        }
        Texts texts;
        EXPECT_EQ(boxes.Records().size(), 1u);
        if (!boxes.Records().empty()) {
            texts.push_back(boxes.Records().back().title);
            for (const auto& l : boxes.Records().back().lines) texts.push_back(l);
        }
        return texts;
    }
    kurvalux_test::CTestServer server;
    kurvalux_platform::CWaitingPoster poster;
    kurvalux_platform::CRecordingMessageBoxSink boxes;
    CVsxLookup lookup;
};

TEST_F(VsxLookupTest, MatchesTheCataloguesAnswer) {
    server.Answer("/vsx/index.php", 200, ReadData("vsx-list-sample-1.json"));
    kurvalux_data::Field field;
    AddObject(field, "Z", 197.07607, 18.54055);
    AddObject(field, "GP", 196.42667, 18.01772);
    AddObject(field, "nothing", 196.0, 18.2);
    EXPECT_EQ(Run(field), (Texts{"VSX query completed", "22 stars from this field found in VSX.",
                                 "2 stars from VSX matched and marked."}));
    EXPECT_EQ(field.objects[0]->alternate_name, "Z Com");
    EXPECT_EQ(field.objects[0]->variability_type, "RRAB");
    EXPECT_EQ(field.objects[0]->period, 0.5466892);
    EXPECT_EQ(field.objects[1]->variability_type, "IBWD");
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].target,
              "/vsx/index.php?view=api.list&fromra=196.0000000&tora=197.0760700"
              "&fromdec=18.0177200&todec=18.5405500&format=json");
    EXPECT_EQ(requests[0].Header("Accept"), "application/json, text/html, text/*, */*");
    EXPECT_EQ(requests[0].Header("Connection"), "close");
}

TEST_F(VsxLookupTest, BoxesForEachOutcome) {
    kurvalux_data::Field field;
    AddObject(field, "no position", -1, 0);
    EXPECT_EQ(Run(field), (Texts{"Cannot lookup stars in VSX",
                                 "Unknown coordinates of object within the field."}));
    EXPECT_FALSE(lookup.Running());
    AddObject(field, "A", 10, 10);
    server.Answer("/vsx/index.php", 200, ReadData("vsx-list-empty.json"));
    EXPECT_EQ(Run(field),
              (Texts{"VSX query completed", "There is no star in VSX within this field."}));
    lookup.SetServer(server.Url() + "/elsewhere");  // answered 404
    EXPECT_EQ(Run(field), (Texts{"Cannot lookup stars in VSX", "VSX server not accessible.",
                                 "Try again later."}));
    lookup.SetNetworkProbe([](std::string_view) { return false; });
    EXPECT_EQ(Run(field),
              (Texts{"Cannot lookup stars in VSX", "VSX lookup requires Internet connection."}));
    EXPECT_EQ(field.objects[1]->alternate_name, "");
}

}  // namespace
}  // namespace kurvalux_web
