// The repository calls through CWebInterface against a test server: what each call sends, and
// what the program shows for each kind of answer.
#include <gtest/gtest.h>

#include "data/field.h"
#include "data/password_cipher.h"
#include "json/json.h"
#include "web/web_fixture.h"

namespace kurvalux_web {
namespace {

using kurvalux_test::WebClientTest;
using Texts = std::vector<std::string>;

const Texts kNotAccessible = {"Cannot Reach Web Repository", "Repository server not accessible.",
                              "Try again later."};

TEST_F(WebClientTest, LoginSendsTheEncipheredPasswordAndKeepsTheSession) {
    LogIn();
    EXPECT_EQ(web.Session().user_token, "T0K3N");
    EXPECT_EQ(web.Session().user_id, "u17");
    EXPECT_EQ(web.Session().user_name, "Ann Observer");
    EXPECT_EQ(web.Session().access, "modify");
    EXPECT_TRUE(boxes.Records().empty());
    auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].method, "POST");
    EXPECT_EQ(requests[0].path, "/api/v1/login");
    EXPECT_EQ(kurvalux_test::WithoutTabs(requests[0].body),
              "{\"user\":\"ann\",\"encrypted_password\":\"" +
                  kurvalux_data::EncipherPassword("secret") + "\"}");
    // A first login goes without a token; every later call carries it.
    EXPECT_FALSE(requests[0].HasHeader("Authorization"));
    EXPECT_EQ(requests[0].Header("Content-Type"), "application/json");

    server.Answer("/api/v1/list_objects", 200, R"({"status":"ok","objects":[{"token":"A1"}]})");
    ASSERT_TRUE(web.ListObjects());
    EXPECT_EQ(Finish(), 0);
    requests = server.Requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[1].method, "GET");
    EXPECT_EQ(requests[1].Header("Authorization"), "Bearer T0K3N");
    EXPECT_FALSE(requests[1].HasHeader("Content-Type"));
}

TEST_F(WebClientTest, PasswordGoesInClearOnlyWithTheCipherSwitchOff) {
    server.Answer("/api/v1/login", 200, R"({"status":"fail","error":"Unknown user"})");
    web.SetEncryptedPassword(false);
    ASSERT_TRUE(web.Login("ann", "p\"w"));
    EXPECT_EQ(Finish(), 0);
    EXPECT_EQ(kurvalux_test::WithoutTabs(server.Requests().at(0).body),
              "{\"user\":\"ann\",\"password\":\"p\\\"w\"}");
}

// The answers a login can get, and the box and session each leaves behind.
TEST_F(WebClientTest, LoginAnswers) {
    struct Case {
        const char* answer;
        Texts box;
    } cases[] = {
        {R"({"status":"fail","error":"Wrong password"})",
         {"Repository Login Failed", "Wrong password"}},
        {R"({"status":"fail"})", {"Repository Login Failed", "Reason not provided by the server."}},
        {R"({"status":"ok"})",
         {"Web Repository Communication Error", "Missing keyword:", "user_token"}},
        {R"({"status":"ok","user_token":"t","user_id":""})",
         {"Web Repository Communication Error", "Missing keyword:", "user_id"}},
        {R"({"status":"ok","user_token":"t","user_id":"u","user_name":"N"})",
         {"Web Repository Communication Error", "Missing keyword:", "access"}},
        {R"({"status":"OK","user_token":"t","user_id":"u","user_name":"N","access":"view"})",
         {"Web Repository Communication Error", "Unknown keyword: ", "OK"}},
        {R"({"user_token":"t"})",
         {"Web Repository Communication Error", "Missing keyword:", "status"}},
        {"", {"Web Repository Communication Error", "No JSON data"}},
    };
    std::string answer;
    server.On("/api/v1/login", [&answer](const httplib::Request&, httplib::Response& response) {
        response.status = 200;
        response.set_content(answer, "application/json");
    });
    for (const Case& c : cases) {
        // Each failure ends a session held before.
        web.RestoreSession({"old", "u0", "Old", "view"});
        answer = c.answer;
        ASSERT_TRUE(web.Login("ann", "x"));
        EXPECT_EQ(Finish(), 0);
        EXPECT_EQ(OnlyBox(), c.box) << c.answer;
        if (std::string(c.answer).empty()) continue;  // a parse failure runs no handler
        EXPECT_FALSE(web.Session().Active()) << c.answer;
        EXPECT_EQ(web.Session().user_id, "") << c.answer;
    }
}

TEST_F(WebClientTest, LogoutNeeds204) {
    LogIn();
    server.Answer("/api/v1/logout", 200, R"({"status":"ok"})");
    ASSERT_TRUE(web.Logout());
    EXPECT_EQ(Finish(), kWebBadStatus);
    EXPECT_EQ(OnlyBox(), kNotAccessible);
    EXPECT_TRUE(web.Session().Active());
    EXPECT_TRUE(notified.empty());
}

TEST_F(WebClientTest, LogoutWith204EndsTheSession) {
    LogIn();
    server.Answer("/api/v1/logout", 204, "");
    ASSERT_TRUE(web.Logout());
    EXPECT_EQ(Finish(), kWebOk);
    EXPECT_TRUE(boxes.Records().empty());
    EXPECT_FALSE(web.Session().Active());
    EXPECT_EQ(server.Requests().back().method, "GET");
    EXPECT_EQ(server.Requests().back().Header("Authorization"), "Bearer T0K3N");
    ASSERT_EQ(notified.size(), 1u);
    EXPECT_EQ(notified[0], std::make_pair(kNotifySessionGroup, kNotifySession));
}

TEST_F(WebClientTest, FailureAnswersOfPublishAndUnpublish) {
    LogIn();
    kurvalux_data::CObjectListElem object;
    object.name = "V1023 Her";
    struct Case {
        const char* answer;
        Texts box;
    } cases[] = {
        {R"({"status":"fail"})",
         {"Web Repository Communication Error",
          "Request failed:", "Reason not provided by the server."}},
        {R"({"status":"fail","error":"Object exists"})",
         {"Web Repository Communication Error", "Request failed:", "Object exists"}},
        {R"({"status":"OK"})", {"Web Repository Communication Error", "Unknown keyword: ", "OK"}},
        {R"([{"status":"ok"}])",
         {"Web Repository Communication Error", "Missing keyword:", "status"}},
    };
    std::string answer;
    auto answer_with = [&answer](const httplib::Request&, httplib::Response& response) {
        response.set_content(answer, "application/json");
    };
    server.On("/api/v1/publish_object", answer_with);
    server.On("/api/v1/unpublish_object", answer_with);
    for (const Case& c : cases) {
        answer = c.answer;
        ASSERT_TRUE(web.Publish(object));
        EXPECT_EQ(Finish(), 0);
        EXPECT_EQ(OnlyBox(), c.box) << c.answer;
        ASSERT_TRUE(web.Unpublish("A1"));
        EXPECT_EQ(Finish(), 0);
        EXPECT_EQ(OnlyBox(), c.box) << c.answer;
        EXPECT_EQ(web.Operation(), kOpNone);
    }
    EXPECT_EQ(notified.size(), 2 * std::size(cases));
    for (const auto& n : notified)
        EXPECT_EQ(n, std::make_pair(kNotifyObjectGroup, kNotifyPublishFailed));
}

TEST_F(WebClientTest, SuccessBoxesOfPublishContributeAndUnpublish) {
    LogIn();
    server.Answer("/api/v1/publish_object", 200, R"({"status":"ok","token":"NEW7"})");
    server.Answer("/api/v1/contribute_object", 200, R"({"status":"ok"})");
    server.Answer("/api/v1/unpublish_object", 200, R"({"status":"ok"})");
    kurvalux_data::CObjectListElem object;
    object.name = "V1023 Her";
    ASSERT_TRUE(web.Publish(object));
    EXPECT_EQ(Finish(), 0);
    EXPECT_EQ(OnlyBox(),
              (Texts{"Web Repository command processed.", "Object published to repository."}));
    EXPECT_EQ(web.ObjectToken(), "NEW7");
    ASSERT_TRUE(web.Contribute(object));
    EXPECT_EQ(Finish(), 0);
    EXPECT_EQ(OnlyBox(),
              (Texts{"Web Repository command processed.", "Object published to repository."}));
    ASSERT_TRUE(web.Unpublish("NEW7"));
    EXPECT_EQ(Finish(), 0);
    EXPECT_EQ(OnlyBox(),
              (Texts{"Web Repository command processed.", "Object removed from repository."}));
    EXPECT_EQ(kurvalux_test::WithoutTabs(server.Requests().back().body), "{\"token\":\"NEW7\"}");
    ASSERT_EQ(notified.size(), 3u);
    EXPECT_EQ(notified[0], std::make_pair(kNotifyObjectGroup, kNotifyPublishDone));
}

TEST_F(WebClientTest, ChangePasswordFailureHasItsOwnTitle) {
    LogIn();
    server.Answer("/api/v1/change_password", 200, R"({"status":"fail","error":"Too short"})");
    ASSERT_TRUE(web.ChangePassword("n3w"));
    EXPECT_EQ(Finish(), 0);
    EXPECT_EQ(OnlyBox(),
              (Texts{"Change Repository Password Failed", "Request failed:", "Too short"}));
    EXPECT_EQ(kurvalux_test::WithoutTabs(server.Requests().back().body),
              "{\"encrypted_password\":\"" + kurvalux_data::EncipherPassword("n3w") + "\"}");
}

TEST_F(WebClientTest, ObjectListIsReadIntoSummaries) {
    LogIn();
    server.Answer("/api/v1/list_objects", 200, R"({"status":"ok","objects":[
        {"token":"A1","publisher":"ann","contributors":["bob","cyd"],"name":"V1023 Her",
         "alt_name":"GSC 1","comment":"c","var_type":"EA","m0":2459000.5,"period":1,
         "ra":262.5,"dec":12.58,"catalog":"VSX","catalog_id":"12345","catalog_mag":11.52},
        {"token":"0123456789ABCDEFGH","publisher":"bob"}]})");
    ASSERT_TRUE(web.ListObjects());
    EXPECT_EQ(Finish(), 0);
    EXPECT_TRUE(boxes.Records().empty());
    const auto& list = web.ObjectList();
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].token, "A1");
    EXPECT_EQ(list[0].contributors, (std::vector<std::string>{"bob", "cyd"}));
    EXPECT_EQ(list[0].name, "V1023 Her");
    EXPECT_EQ(list[0].var_type, "EA");
    EXPECT_EQ(list[0].m0, 2459000.5);
    EXPECT_EQ(list[0].period, 1.0);  // an integer where a real is expected
    EXPECT_EQ(list[0].catalog_mag, 11.52);
    EXPECT_TRUE(std::isnan(list[0].catalog_ra));
    EXPECT_EQ(list[1].token, "0123456789ABCDE");  // cut at 15 characters
    EXPECT_TRUE(list[1].contributors.empty());
    EXPECT_EQ(notified,
              (std::vector<std::pair<uint32_t, uint32_t>>{{kNotifyObjectGroup, kNotifyListDone}}));
}

// Answers that break the list: each shows one box, keeps the previous list and reports 5002.
TEST_F(WebClientTest, BrokenListAnswers) {
    LogIn();
    std::string deep(100000, '[');
    struct Case {
        std::string answer;
        Texts box;
    } cases[] = {
        {R"({"status":"ok","objects":[]})",
         {"Web Repository Communication Error", "Web Repository is empty."}},
        {R"({"status":"ok"})", {"Web Repository Communication Error", "Web Repository is empty."}},
        {"", {"Web Repository Communication Error", "No JSON data"}},
        {deep, {"Web Repository Communication Error", "JSON nested deeper than 256 levels"}},
        {"{\"status\":\"ok\",\"objects\":[{\"token\":\"A",
         {"Web Repository Communication Error", "Expected , or }"}},
    };
    std::string answer;
    server.On("/api/v1/list_objects",
              [&answer](const httplib::Request&, httplib::Response& response) {
                  response.set_content(answer, "application/json");
              });
    answer = R"({"status":"ok","objects":[{"token":"KEEP"}]})";
    ASSERT_TRUE(web.ListObjects());
    EXPECT_EQ(Finish(), 0);
    notified.clear();
    for (const Case& c : cases) {
        answer = c.answer;
        ASSERT_TRUE(web.ListObjects());
        EXPECT_EQ(Finish(), 0);
        const Texts box = OnlyBox();
        EXPECT_EQ(box, c.box) << c.answer.substr(0, 40);
        ASSERT_EQ(web.ObjectList().size(), 1u);
        EXPECT_EQ(web.ObjectList()[0].token, "KEEP");
    }
    EXPECT_EQ(notified.size(), std::size(cases));
    for (const auto& n : notified)
        EXPECT_EQ(n, std::make_pair(kNotifyObjectGroup, kNotifyListFailed));
}

// A hostile list: bytes that are not UTF-8, a name longer than its capacity, members of the
// wrong kinds. Texts are cut at their capacities, wrong kinds are left out.
TEST_F(WebClientTest, HostileListAnswerIsReadSafely) {
    LogIn();
    std::string answer;
    server.On("/api/v1/list_objects", [&answer](const httplib::Request&, httplib::Response& r) {
        r.set_content(answer, "application/json");
    });
    answer = "{\"status\":\"ok\",\"objects\":[{\"token\":\"\xff\xfe\xc3\",\"name\":\"" +
             std::string(4000, 'n') +
             "\",\"publisher\":7,\"contributors\":[1,\"ok\",{\"a\":1}],"
             "\"m0\":\"2459000\",\"period\":[1]},17,\"text\"]}";
    ASSERT_TRUE(web.ListObjects());
    EXPECT_EQ(Finish(), 0);
    EXPECT_TRUE(boxes.Records().empty());
    ASSERT_EQ(web.ObjectList().size(), 1u);
    const CWebObjectListElem& e = web.ObjectList()[0];
    EXPECT_EQ(e.token, "\xff\xfe\xc3");
    EXPECT_EQ(e.name, std::string(63, 'n'));
    EXPECT_EQ(e.publisher, "");
    EXPECT_EQ(e.contributors, (std::vector<std::string>{"ok"}));
    EXPECT_TRUE(std::isnan(e.m0));
    EXPECT_TRUE(std::isnan(e.period));

    // A 10 MB string: the reader stops at a value's 4095 bytes, so the parse fails right after
    // them; the answer is refused whole and the list kept.
    answer = "{\"status\":\"ok\",\"objects\":[{\"token\":\"B\",\"name\":\"" +
             std::string(10 << 20, 'n') + "\"}]}";
    ASSERT_TRUE(web.ListObjects());
    EXPECT_EQ(Finish(), 0);
    EXPECT_EQ(OnlyBox(), (Texts{"Web Repository Communication Error", "Expected , or }"}));
    ASSERT_EQ(web.ObjectList().size(), 1u);
    EXPECT_EQ(web.ObjectList()[0].token, "\xff\xfe\xc3");
}

TEST_F(WebClientTest, TransportFailureBoxes) {
    server.Silent("/api/v1/list_objects", std::chrono::seconds(10));
    web.SetTimeouts(5, 1);
    ASSERT_TRUE(web.ListObjects());
    EXPECT_EQ(Finish(), kWebBadStatus);
    EXPECT_EQ(OnlyBox(), kNotAccessible);

    web.SetNetworkProbe([](std::string_view) { return false; });
    ASSERT_TRUE(web.ListObjects());
    EXPECT_EQ(Finish(), kWebNoNetwork);
    EXPECT_EQ(OnlyBox(), (Texts{"Cannot Reach Web Repository",
                                "Repository access requires Internet connection."}));
    EXPECT_EQ(server.Requests().size(), 1u);
}

// While a request runs a second one starts nothing: one request reaches the server, and the
// answer is handled as the first call's.
TEST_F(WebClientTest, SecondStartWhileRunningDoesNothing) {
    server.Silent("/api/v1/list_objects", std::chrono::milliseconds(300));
    server.Answer("/api/v1/login", 200, R"({"status":"ok"})");
    ASSERT_TRUE(web.ListObjects());
    EXPECT_TRUE(web.Running());
    EXPECT_FALSE(web.Login("ann", "x"));
    EXPECT_FALSE(web.ListObjects());
    EXPECT_EQ(Finish(), 0);
    EXPECT_FALSE(web.Running());
    EXPECT_FALSE(poster.Take(200).has_value());
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].path, "/api/v1/list_objects");
    // {"status":"ok"} without objects: the list handler ran, not the login's.
    EXPECT_EQ(OnlyBox(), (Texts{"Web Repository Communication Error", "Web Repository is empty."}));
}

}  // namespace
}  // namespace kurvalux_web
