// Load on the repository server: a real kurvalux-repo on a loopback port, 32 clients each on
// its own keep-alive connection mixing list (2 %), get (73 %) and publish (25 %), bounded in
// count and time. Reports requests per second, latency percentiles, and the publishes counted
// afterwards in the database: every acknowledged one must be there exactly once. Runs on
// SQLite, then on PostgreSQL inside a throw-away pg_virtualenv cluster when one can be made.
#include <fcntl.h>
#include <httplib.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "json/json.h"
#include "server/core/store.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kClients = 32;
constexpr int kRequests = 20000;  // in all
constexpr int kSeconds = 30;      // at most
constexpr int kSeedObjects = 100;

std::string Record(const std::string& name, int points) {
    std::string record = "{\"name\":\"" + name +
                         "\",\"var_type\":\"EA\",\"m0\":2460950.38765430,\"period\":0.76543210,"
                         "\"series\":[{\"filter\":\"V\",\"data\":[";
    for (int i = 0; i < points; ++i) {
        if (i) record += ",";
        record += "\"2460950." + std::to_string(100000 + i) + " 12.30000000 0.00500000\"";
    }
    return record + "]}]}";
}

int Run(const std::vector<std::string>& words) {
    std::string command;
    for (const std::string& w : words) command += "'" + w + "' ";
    return std::system((command + ">/dev/null").c_str());
}

struct Server {
    pid_t pid = -1;
    int port = 0;
    std::string err;
    bool Start(const std::string& db, const std::string& folder) {
        err = folder + "/stderr";
        std::vector<std::string> words = {KURVALUX_REPO_PATH,
                                          "serve",
                                          "--listen",
                                          "127.0.0.1:0",
                                          "--db",
                                          db,
                                          "--access-log",
                                          "/dev/null",
                                          "--threads",
                                          "40",
                                          "--db-connections",
                                          "16"};
        std::vector<char*> argv;
        for (auto& w : words) argv.push_back(w.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                         0644);
        if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) return false;
        posix_spawn_file_actions_destroy(&actions);
        for (int i = 0; i < 2000; ++i) {
            std::ifstream in(err);
            std::string text((std::istreambuf_iterator<char>(in)), {});
            const size_t at = text.find("://127.0.0.1:");
            if (at != std::string::npos && text.find('\n', at) != std::string::npos) {
                port = std::atoi(text.c_str() + at + 13);
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
    void Stop() {
        if (pid <= 0) return;
        kill(pid, SIGTERM);
        int status = 0;
        waitpid(pid, &status, 0);
        pid = -1;
    }
};

std::string TokenOf(const std::string& body, const char* key, size_t length) {
    const std::string k = std::string("\"") + key + "\":\"";
    const size_t at = body.find(k);
    return at == std::string::npos ? "" : body.substr(at + k.size(), length);
}

// One run against the database `db`; false when something was lost or duplicated.
bool Measure(const std::string& engine, const std::string& db, const std::string& folder) {
    for (int c = 0; c < kClients; ++c)
        if (Run({KURVALUX_REPO_PATH, "user", "add", "bench" + std::to_string(c), "--password",
                 "bench-password", "--access", "modify", "--db", db}) != 0) {
            std::fprintf(stderr, "cannot create the bench accounts on %s\n", db.c_str());
            return false;
        }
    Server server;
    if (!server.Start(db, folder)) {
        std::fprintf(stderr, "the server did not start\n");
        return false;
    }
    const std::string host = "127.0.0.1";
    std::vector<std::string> sessions(kClients);
    std::vector<std::string> objects;
    for (int c = 0; c < kClients; ++c) {
        httplib::Client client(host, server.port);
        auto a = client.Post(
            "/api/v1/login",
            "{\"user\":\"bench" + std::to_string(c) + "\",\"password\":\"bench-password\"}",
            "application/json");
        sessions[size_t(c)] = a ? TokenOf(a->body, "user_token", 48) : "";
    }
    {
        httplib::Client client(host, server.port);
        httplib::Headers h{{"Authorization", "Bearer " + sessions[0]}};
        for (int i = 0; i < kSeedObjects; ++i) {
            auto a = client.Post("/api/v1/publish_object", h,
                                 Record("seed-" + std::to_string(i), 200), "application/json");
            if (a) objects.push_back(TokenOf(a->body, "token", 12));
        }
    }

    std::atomic<int> issued{0};
    std::atomic<int> failures{0};
    std::mutex mutex;
    std::vector<double> latencies;
    std::map<std::string, int> acknowledged;  // publish name -> acknowledgements
    std::map<std::string, int> failure_kinds;
    const auto start = Clock::now();
    const auto deadline = start + std::chrono::seconds(kSeconds);
    std::vector<std::thread> clients;
    for (int c = 0; c < kClients; ++c)
        clients.emplace_back([&, c] {
            httplib::Client client(host, server.port);
            client.set_keep_alive(true);
            client.set_tcp_nodelay(true);  // as the desktop's HTTP library does by default
            httplib::Headers h{{"Authorization", "Bearer " + sessions[size_t(c)]}};
            std::mt19937 random(unsigned(c) * 7919u + 1u);
            std::vector<double> mine;
            std::vector<std::string> published;
            int sequence = 0;
            while (issued.fetch_add(1) < kRequests && Clock::now() < deadline) {
                const int pick = int(random() % 100);
                const auto t0 = Clock::now();
                bool ok = false;
                std::string failure;  // what went wrong, so that a failed run says why
                auto check = [&failure](const char* what, const httplib::Result& a, bool good) {
                    if (!good)
                        failure = std::string(what) + ": " +
                                  (a ? std::to_string(a->status) + " " + a->body.substr(0, 120)
                                     : "no answer (" + httplib::to_string(a.error()) + ")");
                    return good;
                };
                if (pick < 2) {
                    auto a = client.Get("/api/v1/list_objects", h);
                    ok =
                        check("list", a,
                              a && a->status == 200 && a->body.rfind("{\"status\":\"ok\"", 0) == 0);
                } else if (pick < 75) {
                    const std::string& token = objects[random() % objects.size()];
                    auto a = client.Post("/api/v1/get_object_data", h,
                                         "{\"token\":\"" + token + "\"}", "application/json");
                    ok =
                        check("get", a,
                              a && a->status == 200 && a->body.find("\"ok\"") != std::string::npos);
                } else {
                    const std::string name =
                        "load-" + std::to_string(c) + "-" + std::to_string(sequence++);
                    auto a = client.Post("/api/v1/publish_object", h, Record(name, 50),
                                         "application/json");
                    ok =
                        check("publish", a,
                              a && a->status == 200 && a->body.find("\"ok\"") != std::string::npos);
                    if (ok) published.push_back(name);
                }
                mine.push_back(
                    std::chrono::duration<double, std::milli>(Clock::now() - t0).count());
                if (!ok) {
                    failures.fetch_add(1);
                    std::lock_guard lock(mutex);
                    ++failure_kinds[failure];
                }
            }
            std::lock_guard lock(mutex);
            latencies.insert(latencies.end(), mine.begin(), mine.end());
            for (const std::string& name : published) ++acknowledged[name];
        });
    for (auto& t : clients) t.join();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    server.Stop();

    // Count in the database what the clients were told was published.
    std::map<std::string, int> stored;
    auto store = kurvalux_server::OpenStore(db, 1);
    {
        kurvalux_server::CConnection connection(*store);
        kurvalux_server::CTransaction transaction(connection, false);
        for (const auto& row : connection->ListObjects()) {
            sjson::CJSON summary;
            sjson::CJSONSource source(row.summary);
            std::string name;
            if (summary.Parse(source) && summary.GetString("name", name) &&
                name.rfind("load-", 0) == 0)
                ++stored[name];
        }
        transaction.Commit();
    }
    int lost = 0, duplicated = 0, unacknowledged = 0;
    for (const auto& [name, count] : acknowledged) {
        auto it = stored.find(name);
        if (it == stored.end()) ++lost;
    }
    for (const auto& [name, count] : stored) {
        if (count > 1) duplicated += count - 1;
        if (!acknowledged.count(name)) ++unacknowledged;
    }
    std::sort(latencies.begin(), latencies.end());
    auto percentile = [&latencies](double p) {
        return latencies.empty() ? 0.0 : latencies[size_t(p * double(latencies.size() - 1))];
    };
    std::printf(
        "%-10s %d clients: %zu requests in %.2f s = %.0f requests/s; latency p50 %.2f ms, "
        "p99 %.2f ms, max %.2f ms; failed %d\n",
        engine.c_str(), kClients, latencies.size(), seconds, double(latencies.size()) / seconds,
        percentile(0.50), percentile(0.99), latencies.empty() ? 0.0 : latencies.back(),
        failures.load());
    for (const auto& [kind, count] : failure_kinds)
        std::printf("%-10s failed %d x %s\n", engine.c_str(), count, kind.c_str());
    std::printf(
        "%-10s publishes acknowledged %zu, in the database %zu: lost %d, duplicated %d, "
        "unacknowledged but stored %d\n",
        engine.c_str(), acknowledged.size(), stored.size(), lost, duplicated, unacknowledged);
    return lost == 0 && duplicated == 0 && failures.load() == 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("kurvalux-bench-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    bool ok = true;
    if (argc > 1 && std::string(argv[1]) == "--postgresql") {
        // Inside pg_virtualenv: the cluster's address is in the PG* variables.
        const char* port = std::getenv("PGPORT");
        const std::string db = std::string("postgresql://") + std::getenv("PGUSER") + ":" +
                               std::getenv("PGPASSWORD") + "@" + std::getenv("PGHOST") + ":" +
                               (port ? port : "5432") + "/postgres";
        ok = Measure("postgresql", db, folder.string());
    } else {
        ok = Measure("sqlite", "sqlite:" + (folder / "bench.sqlite").string(), folder.string());
        if (std::system("command -v pg_virtualenv >/dev/null 2>&1") == 0) {
            const std::string self = std::filesystem::canonical("/proc/self/exe").string();
            const int rc = std::system(("pg_virtualenv '" + self +
                                        "' --postgresql 2>&1 | "
                                        "grep -v -e '^Creating new' -e '^Dropping cluster'")
                                           .c_str());
            ok = ok && rc == 0;
        } else {
            std::printf("postgresql: not measured (pg_virtualenv is not installed)\n");
        }
    }
    std::filesystem::remove_all(folder);
    return ok ? 0 : 1;
}
