#pragma once
// The end-to-end fixture: a real kurvalux-repo on a loopback port with its own database, the
// accounts of a small observing club, and the program's command line run as each observer
// (each with a settings folder of its own, so with its own session and cache).
#include <gtest/gtest.h>
#include <httplib.h>

#include <filesystem>
#include <map>

#include "data/field_file.h"
#include "repo_server/repo_process.h"

namespace kurvalux_test {

// Test accounts hash with a small Argon2id cost: the suite logs in often on a shared machine.
inline const std::vector<std::string> kCheapHash = {"--argon2-memory", "64", "--argon2-passes",
                                                    "1"};

class RepoTest : public ::testing::Test {
protected:
    RepoTest() : server(database.Url()) {
        const char* old = std::getenv("XDG_CONFIG_HOME");
        if (old) saved_home_ = old, had_home_ = true;
    }
    ~RepoTest() override {
        if (had_home_)
            setenv("XDG_CONFIG_HOME", saved_home_.c_str(), 1);
        else
            unsetenv("XDG_CONFIG_HOME");
    }

    // Starts the server with the club's five accounts.
    void StartClub(const std::vector<std::string>& extra = {}) {
        AddUser("ann", "modify");
        AddUser("bob", "modify");
        AddUser("cy", "view");
        AddUser("dee", "none");
        AddUser("root", "admistration");
        std::vector<std::string> words = kCheapHash;
        words.insert(words.end(), extra.begin(), extra.end());
        ASSERT_TRUE(server.Start(words)) << server.Stderr();
    }

    void AddUser(const std::string& name, const std::string& access) {
        std::vector<std::string> words = {"user",     "add",  name,   "--password",  Password(name),
                                          "--access", access, "--db", database.Url()};
        words.insert(words.end(), kCheapHash.begin(), kCheapHash.end());
        const CliRun run = RunRepo(words);
        ASSERT_EQ(run.status, 0) << run.err;
        ASSERT_EQ(run.out, "user " + name + " added with access " + access + "\n");
    }
    static std::string Password(const std::string& name) { return name + "-secret-9"; }

    // The observer's settings folder (created on first use).
    const TempFolder& Home(const std::string& observer) {
        auto it = homes_.find(observer);
        if (it == homes_.end()) it = homes_.emplace(observer, std::make_unique<TempFolder>()).first;
        return *it->second;
    }
    // kurvalux-cli run as `observer`.
    CliRun Cli(const std::string& observer, const std::vector<std::string>& words) {
        std::string home = Home(observer).Path();
        home.pop_back();
        setenv("XDG_CONFIG_HOME", home.c_str(), 1);
        return RunCli(words);
    }
    CliRun Login(const std::string& observer) {
        return Cli(observer, {"repo", "login", "--server", server.Url(), "--user", observer,
                              "--password", Password(observer)});
    }
    // The cache folder of `observer` logged in as itself.
    std::string CacheFile(const std::string& observer, const std::string& name) {
        return Home(observer).Read("KURVALUX/KURVALUX Web Repository Cache/" + observer + "/" +
                                   name);
    }
    bool CacheHas(const std::string& observer, const std::string& name) {
        return std::filesystem::exists(Home(observer).Path() +
                                       "KURVALUX/KURVALUX Web Repository Cache/" + observer + "/" +
                                       name);
    }

    // A copy of the demonstration field (with its photometry) that the test may change.
    std::string DemoField() {
        std::filesystem::copy(std::string(KURVALUX_SOURCE_DIR) + "/examples/demo",
                              fields_.Path() + "demo", std::filesystem::copy_options::recursive);
        return fields_.Path() + "demo/demo.kvf";
    }

    // A raw HTTP request to the server (for what the program never sends).
    httplib::Result Raw(const std::string& method, const std::string& path,
                        const std::string& body = "", const std::string& token = "") {
        httplib::Client client(server.Host());
        client.set_read_timeout(30, 0);
        httplib::Headers headers;
        if (!token.empty()) headers.emplace("Authorization", "Bearer " + token);
        if (method == "GET") return client.Get(path.c_str(), headers);
        if (method == "PUT") return client.Put(path.c_str(), headers, body, "application/json");
        return client.Post(path.c_str(), headers, body, "application/json");
    }
    // The user token of a login over raw HTTP.
    std::string RawLogin(const std::string& user) {
        auto result = Raw("POST", "/kv/api/v1/login",
                          R"({"user":")" + user + R"(","password":")" + Password(user) + "\"}");
        if (!result || result->status != 200) return "";
        const std::string key = "\"user_token\":\"";
        const size_t at = result->body.find(key);
        if (at == std::string::npos) return "";
        return result->body.substr(at + key.size(), 48);
    }

    CTestDatabase database;
    CRepoServer server;

private:
    std::map<std::string, std::unique_ptr<TempFolder>> homes_;
    TempFolder fields_;
    std::string saved_home_;
    bool had_home_ = false;
};

}  // namespace kurvalux_test
