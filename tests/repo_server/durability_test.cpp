// The server's life: a SIGTERM lets the request under way finish, a kill in the middle of
// publishing loses nothing that was acknowledged and leaves no half object, and HTTPS.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>

#include "repo_server/repo_fixture.h"

namespace kurvalux_test {
namespace {

// A record with `points` data strings.
std::string Record(const std::string& name, int points) {
    std::string record = "{\"name\":\"" + name + "\",\"series\":[{\"filter\":\"V\",\"data\":[";
    for (int i = 0; i < points; ++i) {
        if (i) record += ",";
        record += "\"2460950." + std::to_string(100000 + i) + " 12.30000000 0.00500000\"";
    }
    return record + "]}]}";
}

int Connect(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

TEST_F(RepoTest, SigtermLetsTheRequestUnderWayFinish) {
    StartClub();
    const std::string token = RawLogin("ann");
    const std::string body = Record("Half sent at the stop", 2000);
    const std::string head =
        "POST /kv/api/v1/publish_object HTTP/1.1\r\nHost: x\r\n"
        "Authorization: Bearer " +
        token +
        "\r\nContent-Type: application/json\r\nConnection: close\r\n"
        "Content-Length: " +
        std::to_string(body.size()) + "\r\n\r\n";
    const int fd = Connect(server.Port());
    ASSERT_GE(fd, 0);
    const std::string first = head + body.substr(0, body.size() / 2);
    ASSERT_EQ(send(fd, first.data(), first.size(), 0), ssize_t(first.size()));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    server.Signal(SIGTERM);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    // The server no longer takes connections but still reads and answers this request.
    EXPECT_LT(Connect(server.Port()), 0);
    const std::string rest = body.substr(body.size() / 2);
    ASSERT_EQ(send(fd, rest.data(), rest.size(), 0), ssize_t(rest.size()));
    std::string answer;
    char buffer[4096];
    for (ssize_t n; (n = recv(fd, buffer, sizeof buffer, 0)) > 0;) answer.append(buffer, size_t(n));
    close(fd);
    EXPECT_EQ(answer.substr(0, 15), "HTTP/1.1 200 OK");
    EXPECT_NE(answer.find("\"status\":\"ok\",\t\"token\":\""), std::string::npos) << answer;
    EXPECT_EQ(server.Stop(), 0);
    EXPECT_NE(server.Stderr().find("SIGTERM received, finishing the requests under way\n"
                                   "kurvalux-repo: stopped\n"),
              std::string::npos)
        << server.Stderr();

    // After a restart the object is there.
    ASSERT_TRUE(server.Start(kCheapHash));
    auto list = Raw("GET", "/kv/api/v1/list_objects", "", RawLogin("cy"));
    ASSERT_TRUE(list);
    EXPECT_NE(list->body.find("\"name\":\"Half sent at the stop\""), std::string::npos);
}

TEST_F(RepoTest, AKillDuringPublishingLosesNothingAcknowledged) {
    StartClub();
    const std::string token = RawLogin("ann");
    std::mutex mutex;
    std::set<std::string> acknowledged;
    std::atomic<bool> stop{false};
    std::vector<std::thread> publishers;
    for (int t = 0; t < 4; ++t)
        publishers.emplace_back([&, t] {
            httplib::Client client(server.Host());
            httplib::Headers headers{{"Authorization", "Bearer " + token}};
            for (int i = 0; !stop.load(); ++i) {
                const std::string name = "kill-" + std::to_string(t) + "-" + std::to_string(i);
                auto answer = client.Post("/kv/api/v1/publish_object", headers, Record(name, 3000),
                                          "application/json");
                if (!answer) break;
                if (answer->status == 200 && answer->body.find("\"ok\"") != std::string::npos) {
                    std::lock_guard lock(mutex);
                    acknowledged.insert(name);
                }
            }
        });
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    server.Kill();
    stop.store(true);
    for (auto& thread : publishers) thread.join();
    ASSERT_FALSE(acknowledged.empty());

    ASSERT_TRUE(server.Start(kCheapHash));
    const std::string reader = RawLogin("cy");
    auto list = Raw("GET", "/kv/api/v1/list_objects", "", reader);
    ASSERT_TRUE(list);
    // Every acknowledged publish is there; whatever else is there is whole.
    std::set<std::string> stored;
    for (size_t at = 0; (at = list->body.find("\"token\":\"", at)) != std::string::npos;) {
        const std::string object = list->body.substr(at + 9, 12);
        at += 9;
        const size_t name_at = list->body.find("\"name\":\"", at);
        const std::string name =
            list->body.substr(name_at + 8, list->body.find('"', name_at + 8) - name_at - 8);
        EXPECT_TRUE(stored.insert(name).second) << "stored twice: " << name;
        auto data = Raw("POST", "/kv/api/v1/get_object_data",
                        R"({"token":")" + object + R"(","user_id":"ann"})", reader);
        ASSERT_TRUE(data);
        size_t points = 0;
        for (size_t p = 0; (p = data->body.find(" 12.30000000 ", p)) != std::string::npos; ++p)
            ++points;
        EXPECT_EQ(points, 3000u) << name;
    }
    for (const std::string& name : acknowledged) EXPECT_EQ(stored.count(name), 1u) << name;
    EXPECT_LE(stored.size(), acknowledged.size() + 4);  // at most one in flight per publisher
}

TEST_F(RepoTest, ServesHttps) {
    TempFolder keys;
    const std::string key = keys.Path() + "key.pem", cert = keys.Path() + "cert.pem";
    const std::string command =
        "openssl req -x509 -newkey rsa:2048 -nodes -days 1 "
        "-subj /CN=127.0.0.1 -keyout '" +
        key + "' -out '" + cert + "' >/dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0);
    StartClub({"--tls-cert", cert, "--tls-key", key});
    EXPECT_NE(server.Stderr().find("on https://127.0.0.1:"), std::string::npos);
    httplib::SSLClient client("127.0.0.1", server.Port());
    client.set_ca_cert_path(cert.c_str());
    client.enable_server_certificate_verification(true);
    auto answer = client.Post("/kv/api/v1/login", R"({"user":"cy","password":"cy-secret-9"})",
                              "application/json");
    ASSERT_TRUE(answer) << httplib::to_string(answer.error());
    EXPECT_NE(answer->body.find("\"access\":\"view\""), std::string::npos);
    // Plain HTTP on the HTTPS port gets nothing.
    httplib::Client plain(server.Host());
    EXPECT_FALSE(plain.Get("/kv/health"));
}

}  // namespace
}  // namespace kurvalux_test
