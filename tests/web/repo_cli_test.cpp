// kurvalux-cli repo end to end: the real program against a test server, with its settings
// folder (and so its session and cache) in a temporary folder.
#include <gtest/gtest.h>

#include <cstdlib>

#include "cli/cli_run.h"
#include "data/password_cipher.h"
#include "fielddata/temp_folder.h"
#include "web/test_server.h"

namespace {

using kurvalux_test::CTestServer;

class RepoCliTest : public ::testing::Test {
protected:
    RepoCliTest() {
        const char* old = std::getenv("XDG_CONFIG_HOME");
        if (old) saved_ = old, had_ = true;
        std::string home = config.Path();
        home.pop_back();  // without its trailing "/"
        setenv("XDG_CONFIG_HOME", home.c_str(), 1);
        server.Answer(
            "/kv/api/v1/login", 200,
            R"({"status":"ok","user_token":"TK","user_id":"u9","user_name":"Bo","access":"view"})");
        server.Answer("/kv/api/v1/logout", 204, "");
        server.Answer("/kv/api/v1/list_objects", 200, R"({"status":"ok","objects":[
            {"token":"A1","name":"KVX Demo Algol","publisher":"bo","contributors":["cy","di"]},
            {"token":"B2","name":"WASP-12","publisher":"cy"}]})");
        server.Answer("/kv/api/v1/get_object_data", 200,
                      R"({"status":"ok","objects":[{"token":"A1","name":"KVX Demo Algol"}]})");
        server.Answer("/kv/api/v1/publish_object", 200, R"({"status":"ok","token":"N3W"})");
        server.Answer("/kv/api/v1/unpublish_object", 200, R"({"status":"fail"})");
        server.Answer("/kv/api/v1/change_password", 200, R"({"status":"OK"})");
    }
    ~RepoCliTest() override {
        if (had_)
            setenv("XDG_CONFIG_HOME", saved_.c_str(), 1);
        else
            unsetenv("XDG_CONFIG_HOME");
    }
    std::string Session() { return config.Read("KURVALUX/repository-session.ini"); }

    TempFolder config;
    CTestServer server;
    std::string saved_;
    bool had_ = false;
};

TEST_F(RepoCliTest, SessionLivesFromLoginToLogout) {
    const std::string url = server.Url() + "/kv/";
    CliRun run = RunCli({"repo", "list"});
    EXPECT_EQ(run.status, 2);  // no server anywhere
    run = RunCli({"repo", "list", "--server", url});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err,
              "kurvalux-cli repo: not logged in to the web repository (run \"kurvalux-cli repo "
              "login\" first)\n");

    run = RunCli({"repo", "login", "--server", url, "--user", "bo", "--password", "pw"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "user_id u9\nuser_name Bo\naccess view\n");
    EXPECT_EQ(Session(), "[RepositorySession]\r\nServer=" + url +
                             "\r\nUserToken=TK\r\nUserId=u9\r\nUserName=Bo\r\nAccess=view\r\n");
    EXPECT_NE(server.Requests().back().body.find("\"encrypted_password\":\"" +
                                                 kurvalux_data::EncipherPassword("pw") + "\""),
              std::string::npos);

    // The session names its server: no --server needed from here on.
    run = RunCli({"repo", "list"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "A1\tKVX Demo Algol\tbo\tcy,di\nB2\tWASP-12\tcy\t\n");
    EXPECT_EQ(server.Requests().back().Header("Authorization"), "Bearer TK");

    run = RunCli({"repo", "get", "A1", "--contributor", "2"});
    EXPECT_EQ(run.status, 0) << run.err;
    const std::string file = config.Path() + "KURVALUX/KURVALUX Web Repository Cache/u9/A1_di.json";
    EXPECT_EQ(run.out, "cache " + file + "\n");
    EXPECT_EQ(config.Read("KURVALUX/KURVALUX Web Repository Cache/u9/A1_di.json"),
              "{\r\n\t\"token\": \"A1\",\r\n\t\"name\": \"KVX Demo Algol\"\r\n}\r\n");

    run = RunCli({"repo", "get", "A1", "--contributor", "3"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out,
              "Web Repository Communication Error\nInternal Error: ReceiveGetObjectData\n"
              "ContributorIndex overflow\n");

    run = RunCli({"repo", "unpublish", "A1"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out,
              "Web Repository Communication Error\nRequest failed:\n"
              "Reason not provided by the server.\n");
    run = RunCli({"repo", "passwd", "n3w"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "Change Repository Password Failed\nUnknown keyword: \nOK\n");

    // Another server does not get this session's token.
    CTestServer other;
    run = RunCli({"repo", "list", "--server", other.Url() + "/kv/"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(other.Requests().empty());

    run = RunCli({"repo", "logout"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(Session(), "");
    EXPECT_EQ(server.Requests().back().path, "/kv/api/v1/logout");
}

TEST_F(RepoCliTest, PublishSendsTheFieldsObject) {
    const std::string url = server.Url() + "/kv";
    ASSERT_EQ(RunCli({"repo", "login", "--server", url, "--user", "bo", "--password", "pw"}).status,
              0);
    const std::string field = std::string(KURVALUX_SOURCE_DIR) + "/examples/demo/demo.kvf";
    CliRun run = RunCli({"repo", "publish", field, "--object", "KVX Demo Algol"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "Web Repository command processed.\nObject published to repository.\ntoken N3W\n");
    const std::string body = server.Requests().back().body;
    EXPECT_NE(body.find("\"name\":\"KVX Demo Algol\""), std::string::npos);
    EXPECT_NE(body.find("\"data\":["), std::string::npos);

    run = RunCli({"repo", "publish", field, "--object", "Nobody"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "No object named Nobody\n");
}

TEST_F(RepoCliTest, CommandLinesThatAreNotUnderstood) {
    struct Case {
        std::vector<std::string> words;
        std::string first_error_line;
    } cases[] = {
        {{"repo", "list", "--bogus"}, "kurvalux-cli repo: unknown option \"--bogus\""},
        {{"repo", "fetch"},
         "kurvalux-cli repo: unknown action \"fetch\" (login, logout, list, get, "
         "publish, contribute, unpublish, passwd)"},
        {{"repo", "get"}, "kurvalux-cli repo get: needs its argument"},
        {{"repo", "list", "A1"}, "kurvalux-cli repo list: takes no argument"},
        {{"repo", "get", "A1", "--contributor", "0"}, ""},
    };
    for (const Case& c : cases) {
        const CliRun run = RunCli(c.words);
        EXPECT_EQ(run.status, 2) << c.words[1];
        if (!c.first_error_line.empty()) {
            EXPECT_EQ(run.ErrLine(0), c.first_error_line);
        }
        EXPECT_TRUE(server.Requests().empty());
    }
}

}  // namespace
