// The HTTP exchange against a real server in the test process: headers, methods, statuses,
// bodies that arrive in pieces or break off, and servers that refuse or never answer.
#include "web/http_exchange.h"

#include <gtest/gtest.h>

#include <chrono>

#include "web/test_server.h"

namespace kurvalux_web {
namespace {

using kurvalux_test::CTestServer;

HttpRequest Get(const std::string& url, long expected = 200) {
    HttpRequest r;
    r.url = url;
    r.method = "GET";
    r.headers = {"Connection: close"};
    r.accept = "application/json";
    r.expected_status = expected;
    return r;
}

TEST(RequestUrl, JoinsHostBasePathAndApiPath) {
    struct Case {
        const char *host, *base, *api, *url;
    } cases[] = {
        {"example.org", "/kv/", "api/v1/login", "http://example.org/kv/api/v1/login"},
        {"example.org:8080", "", "api/v1/login", "http://example.org:8080/api/v1/login"},
        {"https://example.org/", "/", "api/v1/logout", "https://example.org/api/v1/logout"},
        {"http://127.0.0.1:5000", "/base", "/x", "http://127.0.0.1:5000/base/x"},
    };
    for (const Case& c : cases) EXPECT_EQ(RequestUrl(c.host, c.base, c.api), c.url) << c.host;
    EXPECT_EQ(HostOfUrl("https://user@example.org:8443/x?y"), "example.org");
    EXPECT_EQ(HostOfUrl("http://[::1]:80/"), "[::1]");
    EXPECT_EQ(HostOfUrl("localhost"), "localhost");
}

TEST(HttpExchange, GetCarriesExactlyTheListedHeaders) {
    CTestServer server;
    server.Answer("/api/v1/list_objects", 200, "{\"status\":\"ok\"}");
    std::string body;
    long status = 0;
    EXPECT_EQ(PerformHttpRequest(Get(server.Url() + "/api/v1/list_objects"), body, &status),
              kWebOk);
    EXPECT_EQ(status, 200);
    EXPECT_EQ(body, "{\"status\":\"ok\"}");
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 1u);
    const auto& r = requests[0];
    EXPECT_EQ(r.method, "GET");
    EXPECT_EQ(r.Header("Connection"), "close");
    EXPECT_EQ(r.Header("User-Agent"), "KURVALUX");
    EXPECT_EQ(r.Header("Accept"), "application/json");
    EXPECT_FALSE(r.HasHeader("Authorization"));
    EXPECT_FALSE(r.HasHeader("Content-Type"));
    EXPECT_FALSE(r.HasHeader("Expect"));
    EXPECT_TRUE(r.body.empty());
}

TEST(HttpExchange, PostSendsALargeBodyWithoutAskingToContinue) {
    CTestServer server;
    server.Answer("/p", 200, "{}");
    HttpRequest request = Get(server.Url() + "/p");
    request.method = "POST";
    request.headers.push_back("Content-Type: application/json");
    request.body = "{\"data\":\"" + std::string(100000, 'x') + "\"}";
    std::string body;
    EXPECT_EQ(PerformHttpRequest(request, body), kWebOk);
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].method, "POST");
    EXPECT_EQ(requests[0].body, request.body);
    EXPECT_EQ(requests[0].Header("Content-Type"), "application/json");
    EXPECT_FALSE(requests[0].HasHeader("Expect"));
}

// With a body expected only 200 succeeds; without one only 204 does, and its body is ignored.
TEST(HttpExchange, OnlyTheExpectedStatusSucceeds) {
    CTestServer server;
    server.Answer("/ok", 200, "{\"status\":\"ok\"}");
    server.Answer("/none", 204, "");
    server.Answer("/missing", 404, "{\"status\":\"fail\"}");
    struct Case {
        const char* path;
        long expected;
        int code;
        long status;
    } cases[] = {
        {"/ok", 200, kWebOk, 200},
        {"/ok", 204, kWebBadStatus, 200},
        {"/none", 204, kWebOk, 204},
        {"/none", 200, kWebBadStatus, 204},
        {"/missing", 200, kWebBadStatus, 404},
    };
    for (const Case& c : cases) {
        std::string body = "left over";
        long status = 0;
        EXPECT_EQ(PerformHttpRequest(Get(server.Url() + c.path, c.expected), body, &status), c.code)
            << c.path << " expecting " << c.expected;
        EXPECT_EQ(status, c.status) << c.path;
        EXPECT_EQ(body, c.code == kWebOk && c.expected == 200 ? "{\"status\":\"ok\"}" : "")
            << c.path;
    }
}

TEST(HttpExchange, BodyInManyPiecesIsJoinedInOrder) {
    CTestServer server;
    std::string expected;
    for (int i = 0; i < 200; ++i) expected += std::to_string(i) + ",";
    server.On("/pieces", [](const httplib::Request&, httplib::Response& response) {
        response.set_chunked_content_provider(
            "application/json", [next = 0](size_t, httplib::DataSink& sink) mutable {
                if (next == 200) {
                    sink.done();
                    return true;
                }
                const std::string piece = std::to_string(next++) + ",";
                if (next % 50 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(20));
                return sink.write(piece.data(), piece.size());
            });
    });
    std::string body;
    EXPECT_EQ(PerformHttpRequest(Get(server.Url() + "/pieces"), body), kWebOk);
    EXPECT_EQ(body, expected);
}

TEST(HttpExchange, BodyBrokenOffIsAReadFailure) {
    CTestServer server;
    // 1000 bytes announced, 100 sent, then the connection is closed.
    server.On("/cut", [](const httplib::Request&, httplib::Response& response) {
        response.set_content_provider(
            1000, "application/json", [](size_t offset, size_t, httplib::DataSink& sink) {
                if (offset > 0) return false;
                const std::string part = "{\"status\":\"ok\",\"objects\":[" + std::string(74, ' ');
                return sink.write(part.data(), part.size());
            });
    });
    std::string body;
    long status = 0;
    EXPECT_EQ(PerformHttpRequest(Get(server.Url() + "/cut"), body, &status), kWebReadFailed);
    EXPECT_EQ(status, 200);
    EXPECT_TRUE(body.empty());
}

TEST(HttpExchange, SilentServerEndsInCodeSevenAfterTheTransferTimeOut) {
    CTestServer server;
    server.Silent("/silent", std::chrono::seconds(10));
    HttpRequest request = Get(server.Url() + "/silent");
    request.transfer_timeout = 1;
    std::string body;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(PerformHttpRequest(request, body), kWebBadStatus);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_LT(seconds, 5.0);  // given up near 1 s, far before the server's 10 s
}

TEST(HttpExchange, ConnectionFailuresBeforeAnyByteIsSent) {
    int closed_port = 0;
    {
        CTestServer gone;
        closed_port = gone.Port();
    }
    std::string body;
    // Nobody listens on the port any more: the connection is refused.
    EXPECT_EQ(
        PerformHttpRequest(Get("http://127.0.0.1:" + std::to_string(closed_port) + "/x"), body),
        kWebNoConnection);
    // A scheme other than http and https is not requested at all.
    EXPECT_EQ(PerformHttpRequest(Get("ftp://127.0.0.1/x"), body), kWebNoRequest);

    CTestServer server;
    server.Answer("/x", 200, "{}");
    // HTTPS to a plain HTTP server: the TLS hand-shake fails.
    EXPECT_EQ(PerformHttpRequest(Get("https://" + server.Host() + "/x"), body), kWebNoConnection);
    // Without a usable network nothing is sent.
    HttpRequest offline = Get(server.Url() + "/x");
    offline.probe = [](std::string_view host) { return host != "127.0.0.1"; };
    EXPECT_EQ(PerformHttpRequest(offline, body), kWebNoNetwork);
    EXPECT_TRUE(server.Requests().empty());
}

TEST(HttpExchange, LoopbackHostsAreAlwaysReachable) {
    EXPECT_TRUE(NetworkUsable("localhost"));
    EXPECT_TRUE(NetworkUsable("127.0.0.1"));
    EXPECT_TRUE(NetworkUsable("[::1]"));
}

}  // namespace
}  // namespace kurvalux_web
