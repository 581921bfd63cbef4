// The repository's answers to what the program never sends (malformed or oversized bodies,
// unknown calls and methods), the object semantics seen over plain HTTP, the health call, the
// optional HTTP refusal statuses, and the access log.
#include <gtest/gtest.h>

#include "repo_server/repo_fixture.h"

namespace kurvalux_test {
namespace {

std::string WithoutTabs(std::string text) {
    std::erase(text, '\t');
    return text;
}

std::string Fail(const std::string& error) {
    return "{\t\"status\":\"fail\",\t\"error\":\"" + error + "\"}";
}

TEST_F(RepoTest, MalformedRequestsGetTheirStatusAndAFailAnswer) {
    StartClub({"--max-body-mb", "1"});
    const std::string token = RawLogin("ann");
    ASSERT_FALSE(token.empty());
    struct Case {
        std::string method, path, body;
        int status;
        std::string answer;
    };
    const Case cases[] = {
        {"POST", "/kv/api/v1/publish_object", "{\"name\":", 400,
         Fail("Malformed JSON at byte 8: unreadable value")},
        {"POST", "/kv/api/v1/publish_object", "[1,2]", 400,
         Fail("The body must be a JSON record.")},
        {"POST", "/kv/api/v1/publish_object", "", 400,
         Fail("The call needs a JSON record as its body.")},
        {"POST", "/kv/api/v1/publish_object", "{\"a\":[[[[[[[[1]]]]]]]]}", 400,
         Fail("JSON nested deeper than 8 levels.")},
        {"POST", "/kv/api/v1/login", R"({"user":"ann","encrypted_password":"XYZ"})", 400,
         Fail("\\\"encrypted_password\\\" is not a password in the program's cipher.")},
        {"POST", "/kv/api/v1/login", R"({"password":"x"})", 400,
         Fail("The login needs \\\"user\\\".")},
        {"POST", "/kv/api/v1/unpublish_object", "{}", 400,
         Fail("Unpublishing needs the object's \\\"token\\\".")},
        {"GET", "/kv/api/v1/login", "", 405, Fail("The call api/v1/login takes POST, not GET.")},
        {"PUT", "/kv/api/v1/login", "{}", 405, Fail("The call api/v1/login takes POST, not PUT.")},
        {"GET", "/kv/api/v1/nothing", "", 404, Fail("No such call: /kv/api/v1/nothing")},
        {"GET", "/api/v1/list_objects", "", 404, Fail("No such call: /api/v1/list_objects")},
        // Texts longer than the program keeps are refused rather than cut.
        {"POST", "/kv/api/v1/publish_object",
         "{\"name\":\"X\",\"comment\":\"" + std::string(256, 'c') + "\"}", 200,
         Fail("\\\"comment\\\" is longer than 255 characters.")},
        {"POST", "/kv/api/v1/publish_object",
         "{\"name\":\"X\",\"series\":[{\"filter\":\"V\"},{\"filter\":\"" + std::string(16, 'f') +
             "\"}]}",
         200, Fail("Series 2: \\\"filter\\\" is longer than 15 characters.")},
        {"POST", "/kv/api/v1/publish_object", "{\"comment\":\"no name\"}", 200,
         Fail("The object record needs a \\\"name\\\".")},
        {"POST", "/kv/api/v1/contribute_object", "{\"name\":\"X\"}", 200,
         Fail("A contribution needs the \\\"token\\\" of a published object.")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.method + " " + c.path + " " + c.body.substr(0, 60));
        auto answer = Raw(c.method, c.path, c.body, token);
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, c.status);
        EXPECT_EQ(answer->body, c.answer);
        EXPECT_EQ(answer->get_header_value("Content-Type"), "application/json");
    }
    // A body over the limit (1 MiB here) is refused before it is read.
    auto answer = Raw("POST", "/kv/api/v1/publish_object",
                      "{\"name\":\"" + std::string(size_t{2} << 20, 'x') + "\"}", token);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 413);
    EXPECT_EQ(answer->body, Fail("The request body is larger than the server accepts."));
    // The server is still there, and nothing was stored.
    answer = Raw("GET", "/kv/api/v1/list_objects", "", token);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->body, "{\"status\":\"ok\",\"objects\":[]}");
}

TEST_F(RepoTest, ContributionsTravelWithThePublishersDescription) {
    StartClub();
    const std::string ann = RawLogin("ann"), bob = RawLogin("bob"), cy = RawLogin("cy");
    auto answer = Raw("POST", "/kv/api/v1/publish_object",
                      R"({"token":"OLD","name":"V566 Oph","alt_name":"HD 163611","comment":"W UMa",
                          "var_type":"EW","m0":2456789.5,"period":0.40964,"unknown":1,
                          "notes":["first line","second"],
                          "series":[{"file_time":7,"filter":"V","brightness_unit":"mag",
                                     "minima":[{"jd":2456789.5,"error":0.0001,"type":"primary"}],
                                     "data":["2456789.40000000 11.20000000 0.00500000"]}]})",
                      ann);
    ASSERT_TRUE(answer);
    const std::string prefix = "{\t\"status\":\"ok\",\t\"token\":\"";
    ASSERT_EQ(answer->body.substr(0, prefix.size()), prefix) << answer->body;
    const std::string token = answer->body.substr(prefix.size(), 12);
    EXPECT_EQ(answer->body, prefix + token + "\"}");
    answer =
        Raw("POST", "/kv/api/v1/contribute_object",
            R"({"token":")" + token +
                R"(","name":"not the publisher's","series":[{"filter":"R","data":["1 2 3"]}]})",
            bob);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->body, prefix + token + "\"}");

    answer = Raw("GET", "/kv/api/v1/list_objects", "", cy);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->body, "{\"status\":\"ok\",\"objects\":[{\"token\":\"" + token +
                                "\",\"publisher\":\"ann\",\"contributors\":[\"bob\"],\"name\":"
                                "\"V566 Oph\",\t\"alt_name\":\"HD 163611\",\t\"comment\":\"W "
                                "UMa\",\t\"var_type\":\"EW\",\t\"m0\":2456789.50000000,\t"
                                "\"period\":0.40964000}]}");
    // The publisher's record, its token the repository's, unknown members dropped, the keys
    // in the record's order (compared without the writer's TAB indentation).
    const std::string published =
        "{\"token\":\"" + token +
        "\",\"name\":\"V566 Oph\",\"alt_name\":\"HD 163611\",\"comment\":\"W UMa\","
        "\"var_type\":\"EW\",\"m0\":2456789.50000000,\"period\":0.40964000,\"notes\":["
        "\"first line\",\"second\"],\"series\":[{\"file_time\":7,\"brightness_unit\":\"mag\","
        "\"filter\":\"V\",\"minima\":[{\"jd\":2456789.50000000,\"error\":0.00010000,"
        "\"type\":\"primary\"}],\"data\":[\"2456789.40000000 11.20000000 0.00500000\"]}]}";
    answer = Raw("POST", "/kv/api/v1/get_object_data",
                 R"({"token":")" + token + R"(","user_id":"ann"})", cy);
    ASSERT_TRUE(answer);
    EXPECT_EQ(WithoutTabs(answer->body), "{\"status\":\"ok\",\"objects\":[" + published + "]}");
    // bob's contribution: ann's description with bob's series.
    answer = Raw("POST", "/kv/api/v1/get_object_data",
                 R"({"token":")" + token + R"(","user_id":"bob"})", cy);
    ASSERT_TRUE(answer);
    const size_t series = published.find(",\"series\":");
    EXPECT_EQ(WithoutTabs(answer->body),
              "{\"status\":\"ok\",\"objects\":[" + published.substr(0, series) +
                  ",\"series\":[{\"filter\":\"R\",\"data\":[\"1 2 3\"]}]}]}");
    answer = Raw("POST", "/kv/api/v1/get_object_data",
                 R"({"token":")" + token + R"(","user_id":"cy"})", cy);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->body, Fail("No contribution of cy to object " + token + "."));
}

TEST_F(RepoTest, HealthAndTheAccessLog) {
    StartClub();
    auto answer = Raw("GET", "/kv/health");
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 200);
    EXPECT_EQ(answer->body,
              "{\t\"status\":\"ok\",\t\"engine\":\"" + TestEngine() + "\",\t\"schema\":1}");
    const std::string health = std::to_string(answer->body.size());
    ASSERT_FALSE(RawLogin("ann").empty());
    answer = Raw("POST", "/kv/api/v1/login", R"({"user":"ann","password":"guess"})");
    ASSERT_TRUE(answer);
    const std::string log = server.AccessLog();
    EXPECT_NE(log.find(" remote=127.0.0.1 method=GET path=/kv/health status=200 in=0 out=" +
                       health + " "),
              std::string::npos)
        << log;
    EXPECT_NE(log.find(" method=POST path=/kv/api/v1/login status=200 in=40 out=136 "),
              std::string::npos)
        << log;
    EXPECT_NE(log.find(" user=ann\n"), std::string::npos) << log;
    EXPECT_NE(log.find(" user=- error=\"Wrong user name or password.\"\n"), std::string::npos)
        << log;
    // Every line starts with its time stamp.
    size_t lines = 0;
    for (size_t at = 0; at < log.size(); at = log.find('\n', at) + 1, ++lines)
        EXPECT_EQ(log.substr(at, 5), "time=");
    EXPECT_EQ(lines, 3u);
}

TEST_F(RepoTest, RefusalsCanCarryTheirHttpStatus) {
    StartClub({"--http-refusal-status"});
    const std::string cy = RawLogin("cy"), ann = RawLogin("ann");
    struct Case {
        std::string path, body, token;
        int status;
        std::string error;
    } cases[] = {
        {"/kv/api/v1/login", R"({"user":"ann","password":"guess"})", "", 401,
         "Wrong user name or password."},
        {"/kv/api/v1/publish_object", R"({"name":"X"})", "", 401,
         "Not logged in: this call needs a session (log in first)."},
        {"/kv/api/v1/publish_object", R"({"name":"X"})", cy, 403,
         "Access \\\"view\\\" may not publish objects."},
        {"/kv/api/v1/get_object_data", R"({"token":"NONE"})", cy, 404,
         "No object NONE in the repository."},
        {"/kv/api/v1/publish_object", R"({"comment":"no name"})", ann, 422,
         "The object record needs a \\\"name\\\"."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path + " " + c.body);
        auto answer = Raw("POST", c.path, c.body, c.token);
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, c.status);
        EXPECT_EQ(answer->body, Fail(c.error));
    }
}

}  // namespace
}  // namespace kurvalux_test
