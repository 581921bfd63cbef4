// The version check: packing of version texts, the notification text, and the fetch against a
// test server standing in for the release server.
#include "web/version_check.h"

#include <gtest/gtest.h>

#include "platform/waiting_poster.h"
#include "web/test_server.h"

namespace kurvalux_web {
namespace {

TEST(PackVersion, FourFieldsOneByteEach) {
    struct Case {
        const char* text;
        uint32_t packed;
    } cases[] = {
        {"1.2.3.4", 0x01020304},
        {"1.2.3", 0x01020300},
        {"", 0},
        {"unknown", 0},
        {"2 0 1 7", 0x02000107},
        {"1.2.3.4\r\n", 0x01020304},
        {"1.x.3.4", 0x01000304},
        {"0.1.0", 0x00010000},
        {"1..2", 0x01020000},
        {"1.2.3.4.5", 0x01020304},
        {"1.2.3.256", 0x01020400},  // carries into the third field
        {"300.0.0.0", 0x2C000000},  // 300 × 2^24 wraps round 2^32
    };
    for (const Case& c : cases) EXPECT_EQ(PackVersion(c.text), c.packed) << c.text;
}

TEST(CompareVersions, OnlyANewerVersionIsShown) {
    const VersionNotice notice = CompareVersions("1.2.3.4\r\n", "1.2.3.3", "https://d.example/");
    EXPECT_TRUE(notice.show);
    EXPECT_EQ(notice.title, "New version of KURVALUX is available");
    EXPECT_EQ(notice.text,
              "Working KURVALUX version is 1.2.3.3\r\nVersion 1.2.3.4 is available at\r\n"
              "https://d.example/");
    EXPECT_FALSE(CompareVersions("1.2.3.4", "1.2.3.4", "x").show);
    EXPECT_FALSE(CompareVersions("1.2.3.3", "1.2.3.4", "x").show);
    EXPECT_FALSE(CompareVersions("", "0.1.0", "x").show);  // a failed fetch packs as 0
    EXPECT_TRUE(CompareVersions("0.0.0.1", "unknown", "x").show);
}

class VersionCheckTest : public ::testing::Test {
protected:
    VersionCheckTest() : check(&poster) { check.SetServer(server.Url()); }
    std::string Fetch() {
        EXPECT_TRUE(check.Start());
        auto message = poster.Take(20000);
        EXPECT_TRUE(message.has_value());
        if (message) {
            EXPECT_EQ(message->number, kurvalux_platform::kMsgVersionCheckDone);
            EXPECT_EQ(message->a, 0);
            EXPECT_EQ(message->b, 0);
        }
        return check.Fetched();
    }
    kurvalux_test::CTestServer server;
    kurvalux_platform::CWaitingPoster poster;
    CVersionCheck check;
};

TEST_F(VersionCheckTest, FetchesTheVersionFile) {
    std::string answer = "1.2.3.4\r\n";
    server.On("/versions/kurvalux.txt", [&answer](const httplib::Request&, httplib::Response& r) {
        r.set_content(answer, "text/plain");
    });
    EXPECT_EQ(Fetch(), "1.2.3.4\r\n");
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].method, "GET");
    EXPECT_EQ(requests[0].Header("Accept"), "text/*, */*");
    EXPECT_EQ(requests[0].Header("Connection"), "close");
    // 255 bytes fit the buffer; 256 and more are not read.
    answer = std::string(255, '9');
    EXPECT_EQ(Fetch(), answer);
    answer = std::string(256, '9');
    EXPECT_EQ(Fetch(), "");
    answer = std::string(100000, '9');
    EXPECT_EQ(Fetch(), "");
    answer = "";
    EXPECT_EQ(Fetch(), "");
}

TEST_F(VersionCheckTest, EveryFailureLeavesTheTextEmpty) {
    // No announced length (a chunked answer).
    server.On("/versions/kurvalux.txt", [](const httplib::Request&, httplib::Response& r) {
        r.set_chunked_content_provider("text/plain", [](size_t, httplib::DataSink& sink) {
            sink.write("9.9.9.9", 7);
            sink.done();
            return true;
        });
    });
    EXPECT_EQ(Fetch(), "");
    check.SetServer(server.Url() + "/gone");  // 404
    EXPECT_EQ(Fetch(), "");
    check.SetNetworkProbe([](std::string_view) { return false; });
    EXPECT_EQ(Fetch(), "");
}

TEST_F(VersionCheckTest, StartReturnsWhileTheServerIsSilent) {
    server.Silent("/versions/kurvalux.txt", std::chrono::milliseconds(300));
    ASSERT_TRUE(check.Start());
    EXPECT_TRUE(check.Running());
    EXPECT_FALSE(check.Start());  // one check at a time
    ASSERT_TRUE(poster.Take(20000).has_value());
    EXPECT_FALSE(check.Running());
    EXPECT_EQ(check.Fetched(), "{\"status\":\"ok\"}");
}

}  // namespace
}  // namespace kurvalux_web
