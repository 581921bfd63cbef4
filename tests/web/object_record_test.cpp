// The object record that publishing sends: keys in the record's order, two harmonic pairs,
// unset reals left out, one "data" string per point.
#include <gtest/gtest.h>

#include <numbers>

#include "data/field.h"
#include "web/web_fixture.h"
#include "web/web_objects.h"

namespace kurvalux_web {
namespace {

using kurvalux_test::WebClientTest;

std::unique_ptr<kurvalux_data::CObjectListElem> SampleObject() {
    using namespace kurvalux_data;
    auto object = std::make_unique<CObjectListElem>();
    object->token = "A1";
    object->name = "V1023 Her";
    object->alternate_name = "GSC 1";
    object->comment = "Algol type";
    object->variability_type = "EA";
    object->saved_m0 = 2459000.125;
    object->saved_period = 0;  // unset: left out
    object->meta_data.var.star_ra = 262.5 * std::numbers::pi / 180;
    object->meta_data.var.star_dec = -12.25 * std::numbers::pi / 180;
    object->meta_data.var.catalog = "VSX";
    object->meta_data.var.catalog_id = "12345";
    // catalogue position unknown and magnitude undefined: left out
    object->fit = {12.5, 0.5, 0.75,  0.05,  1.5,   0.0,   0.25,  0.04,
                   1.0,  0.0, 0.001, 0.002, 0.003, 0.004, 0.005, 0.006};
    object->notes = "first line\r\nsecond line";
    auto series = std::make_unique<CLocalSeriesTreeElem>();
    series->file_time = 133456789012345678ULL;
    series->meta_data.var_aperture = 6;
    series->meta_data.cmp_aperture = 7;
    series->meta_data.chk_aperture = 8;
    series->meta_data.jd_type = kJdHeliocentric;
    series->meta_data.value_unit = kUnitMagnitude;
    series->meta_data.filter = "V";
    series->times = {2459001.4, 2459001.45};
    series->values = {12.51, 12.6};
    series->errors = {0.01, 0.012};
    series->minima.push_back({kMinimumPrimary, 2459001.42, 0.0003, true});
    series->minima.push_back({kMinimumUndefined, 2459001.9, 0, true});
    object->series.push_back(std::move(series));
    return object;
}

TEST(ObjectRecord, DataPointsAreTheShortestFixedPointTexts) {
    EXPECT_EQ(FormatDataPoint(2459001.4, 12.51, 0.01), "2459001.4 12.51 0.01");
    EXPECT_EQ(FormatDataPoint(2459001.123456789, 1.5e-7, 0), "2459001.123456789 0.00000015 0");
    EXPECT_EQ(FormatDataPoint(-0.5, 1e6, 2), "-0.5 1000000 2");
}

TEST_F(WebClientTest, PublishSendsTheObjectRecordInKeyOrder) {
    LogIn();
    server.Answer("/api/v1/publish_object", 200, R"({"status":"ok"})");
    const auto object = SampleObject();
    ASSERT_TRUE(web.Publish(*object));
    EXPECT_EQ(Finish(), 0);
    const auto requests = server.Requests();
    ASSERT_EQ(requests.back().path, "/api/v1/publish_object");
    EXPECT_EQ(
        kurvalux_test::WithoutTabs(requests.back().body),
        "{\"token\":\"A1\",\"name\":\"V1023 Her\",\"alt_name\":\"GSC 1\","
        "\"comment\":\"Algol type\",\"var_type\":\"EA\",\"m0\":2459000.12500000,"
        "\"ra\":262.50000000,\"dec\":-12.25000000,\"catalog\":\"VSX\",\"catalog_id\":\"12345\","
        "\"mag0\":12.50000000,\"sec_phase\":0.50000000,\"a_pri\":0.75000000,"
        "\"d_pri\":0.05000000,\"g_pri\":1.50000000,\"c_pri\":0,\"a_sec\":0.25000000,"
        "\"d_sec\":0.04000000,\"g_sec\":1.00000000,\"c_sec\":0,\"a_sin1\":0.00100000,"
        "\"a_sin2\":0.00300000,\"a_cos1\":0.00200000,\"a_cos2\":0.00400000,"
        "\"notes\":[\"first line\",\"second line\"],"
        "\"series\":[{\"file_time\":133456789012345678,\"var_aperture\":6.00000000,"
        "\"cmp_aperture\":7.00000000,\"chk_aperture\":8.00000000,\"jd_type\":2,"
        "\"brightness_unit\":\"mag\",\"filter\":\"V\",\"minima\":[{\"jd\":2459001.42000000,"
        "\"error\":0.00030000,\"type\":\"primary\"},{\"jd\":2459001.90000000,\"error\":0,"
        "\"type\":\"unknown\"}],\"data\":[\"2459001.4 12.51 0.01\",\"2459001.45 12.6 0.012\"]}]}");
}

TEST_F(WebClientTest, FluxSeriesAndAnUnpublishedObject) {
    LogIn();
    server.Answer("/api/v1/contribute_object", 200, R"({"status":"ok"})");
    auto object = SampleObject();
    object->token.clear();
    object->meta_data.var.catalog_mag = 11.5;
    object->series[0]->meta_data.value_unit = kurvalux_data::kUnitFlux;
    ASSERT_TRUE(web.Contribute(*object));
    EXPECT_EQ(Finish(), 0);
    const std::string body = kurvalux_test::WithoutTabs(server.Requests().back().body);
    EXPECT_EQ(body.rfind("{\"name\":\"V1023 Her\",", 0), 0u);  // no token before the name
    EXPECT_NE(body.find("\"catalog_id\":\"12345\",\"catalog_mag\":11.50000000,\"mag0\""),
              std::string::npos);
    EXPECT_NE(body.find("\"brightness_unit\":\"flux\""), std::string::npos);
    EXPECT_EQ(body.find("a_sin3"), std::string::npos);
    EXPECT_EQ(body.find("a_cos3"), std::string::npos);
}

TEST_F(WebClientTest, OnlyTheObserversOwnSeriesTravel) {
    // A series loaded from the web cache is the repository's already: sending it back would
    // duplicate another observer's data under this observer's name.
    LogIn();
    server.Answer("/api/v1/contribute_object", 200, R"({"status":"ok"})");
    auto object = SampleObject();
    auto web_series = std::make_unique<kurvalux_data::CWebSeriesTreeElem>();
    web_series->user_id = "ann";
    web_series->file_time = 133000000000000001ULL;
    web_series->times = {2459000.4};
    web_series->values = {11.0};
    web_series->errors = {0.02};
    object->series.insert(object->series.begin(), std::move(web_series));
    ASSERT_TRUE(web.Contribute(*object));
    EXPECT_EQ(Finish(), 0);
    const std::string body = kurvalux_test::WithoutTabs(server.Requests().back().body);
    EXPECT_EQ(body.find("133000000000000001"), std::string::npos);
    EXPECT_EQ(body.find("2459000.4 11 0.02"), std::string::npos);
    EXPECT_NE(body.find("\"series\":[{\"file_time\":133456789012345678,"), std::string::npos);
    EXPECT_EQ(object->series.size(), 2u);  // the object itself keeps both
}

}  // namespace
}  // namespace kurvalux_web
