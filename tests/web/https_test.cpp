// HTTPS with the certificate checks on: a server whose certificate no authority signed is not
// talked to.
#include <gtest/gtest.h>
#include <httplib.h>

#include <cstdlib>
#include <thread>

#include "fielddata/temp_folder.h"
#include "web/http_exchange.h"

namespace kurvalux_web {
namespace {

TEST(Https, SelfSignedCertificateIsRefused) {
    TempFolder folder;
    const std::string key = folder.Path() + "key.pem", cert = folder.Path() + "cert.pem";
    const std::string command =
        "openssl req -x509 -newkey rsa:2048 -nodes -days 1 -subj /CN=127.0.0.1 "
        "-keyout '" +
        key + "' -out '" + cert + "' >/dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    httplib::SSLServer server(cert.c_str(), key.c_str());
    ASSERT_TRUE(server.is_valid());
    server.Get("/x", [](const httplib::Request&, httplib::Response& r) {
        r.set_content("{}", "application/json");
    });
    const int port = server.bind_to_any_port("127.0.0.1");
    std::thread thread([&] { server.listen_after_bind(); });
    while (!server.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));

    HttpRequest request;
    request.url = "https://127.0.0.1:" + std::to_string(port) + "/x";
    request.method = "GET";
    request.expected_status = 200;
    std::string body;
    long status = -1;
    EXPECT_EQ(PerformHttpRequest(request, body, &status), kWebNoConnection);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(body.empty());
    server.stop();
    thread.join();
}

}  // namespace
}  // namespace kurvalux_web
