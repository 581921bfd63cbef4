// Accounts and sessions against a real kurvalux-repo: what each access word may do through the
// program's own client core, sessions that expire, are revoked by logout, by a new password
// or by the operator, and the change of password.
#include <gtest/gtest.h>

#include <thread>

#include "platform/message_box.h"
#include "platform/waiting_poster.h"
#include "repo_server/repo_fixture.h"
#include "web/web_interface.h"

namespace kurvalux_test {
namespace {

// The program's repository client as the desktop commands use it, for one observer.
struct Observer {
    explicit Observer(const std::string& host) : web(&poster, boxes) {
        web.SetServer(host, "/kv/");
    }
    // Runs the call `started` and gives the boxes it showed, "ok" when none.
    std::string Run(bool started) {
        if (!started) return "not started";
        auto message = poster.Take(30000);
        if (!message) return "no answer";
        web.Complete(int(message->a));
        std::string texts;
        for (const auto& box : boxes.Records()) {
            texts += box.title;
            for (const std::string& line : box.lines) texts += " | " + line;
        }
        boxes.Clear();
        return texts.empty() ? "ok" : texts;
    }
    kurvalux_platform::CWaitingPoster poster;
    kurvalux_platform::CRecordingMessageBoxSink boxes;
    kurvalux_web::CWebInterface web;
};

const std::string kPublished =
    "Web Repository command processed. | Object published to repository.";
const std::string kRemoved = "Web Repository command processed. | Object removed from repository.";
std::string Refused(const std::string& text) {
    return "Web Repository Communication Error | Request failed: | " + text;
}

class SessionTest : public RepoTest {
protected:
    void SetUp() override {
        const std::string path = DemoField();
        kurvalux_data::FieldLoadOptions options;
        options.bases.field_folder = std::filesystem::path(path).parent_path().string() + "/";
        kurvalux_platform::CRecordingMessageBoxSink boxes;
        ASSERT_TRUE(kurvalux_data::LoadField(path, field, options, boxes).ok);
        object = field.FindObject("KVX Demo Algol");
        ASSERT_NE(object, nullptr);
    }
    std::string LogIn(Observer& observer, const std::string& user) {
        return observer.Run(observer.web.Login(user, Password(user)));
    }
    std::string Publish(Observer& observer, const std::string& token) {
        object->token = token;
        return observer.Run(observer.web.Publish(*object));
    }
    std::string Contribute(Observer& observer, const std::string& token) {
        object->token = token;
        return observer.Run(observer.web.Contribute(*object));
    }

    kurvalux_data::Field field;
    kurvalux_data::CObjectListElem* object = nullptr;
};

TEST_F(SessionTest, EachAccessWordGrantsItsCallsOnly) {
    StartClub();
    Observer ann(server.Host());
    ASSERT_EQ(LogIn(ann, "ann"), "ok");
    ASSERT_EQ(Publish(ann, ""), kPublished);
    const std::string shared = ann.web.ObjectToken();
    ASSERT_EQ(shared.size(), 12u);

    struct Expected {
        std::string user, access, list, get, publish, contribute, unpublish_own, unpublish_other;
    };
    const std::string any = "*";  // an own object to unpublish exists only after a publish
    const Expected table[] = {
        {"dee", "none", Refused("Access \"none\" may not list objects."),
         Refused("Access \"none\" may not get object data."),
         Refused("Access \"none\" may not publish objects."),
         Refused("Access \"none\" may not contribute to objects."), any,
         Refused("Access \"none\" may not unpublish objects.")},
        {"cy", "view", "ok", "ok", Refused("Access \"view\" may not publish objects."),
         Refused("Access \"view\" may not contribute to objects."), any,
         Refused("Access \"view\" may not unpublish objects.")},
        {"bob", "modify", "ok", "ok", kPublished, kPublished, kRemoved,
         Refused("Only the publisher of object " + shared +
                 " (ann) or an administrator may unpublish it.")},
        {"root", "admistration", "ok", "ok", kPublished, kPublished, kRemoved, kRemoved},
    };
    for (const Expected& e : table) {
        SCOPED_TRACE(e.user);
        Observer o(server.Host());
        // One observer sends its password in clear, the others through the program's cipher.
        o.web.SetEncryptedPassword(e.user != "cy");
        ASSERT_EQ(LogIn(o, e.user), "ok");
        EXPECT_EQ(o.web.Session().access, e.access);
        EXPECT_EQ(o.web.Session().user_id, e.user);
        EXPECT_EQ(o.Run(o.web.ListObjects()), e.list);
        EXPECT_EQ(o.Run(o.web.GetObjectData(shared, -1, false)), e.get);
        EXPECT_EQ(Publish(o, ""), e.publish);
        const std::string own = o.web.ObjectToken();
        EXPECT_EQ(Contribute(o, shared), e.contribute);
        if (e.unpublish_own != any) {
            EXPECT_EQ(o.Run(o.web.Unpublish(own)), e.unpublish_own);
        }
        EXPECT_EQ(o.Run(o.web.Unpublish(shared)), e.unpublish_other);
        // Every access word may log out.
        EXPECT_EQ(o.Run(o.web.Logout()), "ok");
    }
    // The administrator removed ann's object; the contributions went with it.
    EXPECT_EQ(ann.Run(ann.web.ListObjects()),
              "Web Repository Communication Error | Web Repository is empty.");
}

TEST_F(SessionTest, SessionsExpire) {
    StartClub({"--session-lifetime", "4"});
    const std::string cy = RawLogin("cy");
    auto answer = Raw("GET", "/kv/api/v1/list_objects", "", cy);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->body, "{\"status\":\"ok\",\"objects\":[]}");
    std::this_thread::sleep_for(std::chrono::milliseconds(4500));
    answer = Raw("GET", "/kv/api/v1/list_objects", "", cy);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->body,
              "{\t\"status\":\"fail\",\t\"error\":\"The session has expired; log in again.\"}");
}

TEST_F(SessionTest, SessionsAreRevoked) {
    StartClub();
    const std::string first = RawLogin("ann"), second = RawLogin("ann");
    ASSERT_EQ(first.size(), 48u);
    ASSERT_NE(first, second);
    auto list = [this](const std::string& token) {
        auto answer = Raw("GET", "/kv/api/v1/list_objects", "", token);
        return answer ? answer->body : std::string("no answer");
    };
    const std::string ok_empty = "{\"status\":\"ok\",\"objects\":[]}";
    EXPECT_EQ(list(first), ok_empty);

    // Logout revokes its own session only.
    auto logout = Raw("GET", "/kv/api/v1/logout", "", first);
    ASSERT_TRUE(logout);
    EXPECT_EQ(logout->status, 204);
    EXPECT_EQ(logout->body, "");
    const std::string revoked =
        "{\t\"status\":\"fail\",\t\"error\":\"The session is unknown or was ended; log in "
        "again.\"}";
    EXPECT_EQ(list(first), revoked);
    EXPECT_EQ(list(second), ok_empty);
    EXPECT_EQ(list("0123456789abcdef0123456789abcdef0123456789abcdef"), revoked);
    EXPECT_EQ(list(""),
              "{\t\"status\":\"fail\",\t\"error\":\"Not logged in: this call needs a session "
              "(log in first).\"}");

    // The operator's commands act at once: a new access on the next call, a new password or
    // a removed account ends the sessions.
    const std::string cy = RawLogin("cy"), bob = RawLogin("bob");
    CliRun run = RunRepo({"user", "access", "cy", "--access", "modify", "--db", database.Url()});
    EXPECT_EQ(run.out, "user cy has access modify\n");
    auto published = Raw("POST", "/kv/api/v1/publish_object", R"({"name":"V1143 Cyg"})", cy);
    ASSERT_TRUE(published);
    EXPECT_NE(published->body.find("\"status\":\"ok\""), std::string::npos) << published->body;
    run =
        RunRepo({"user", "passwd", "ann", "--password", "another-secret", "--db", database.Url()});
    EXPECT_EQ(run.out, "password of ann changed\n");
    EXPECT_EQ(list(second), revoked);
    run = RunRepo({"user", "remove", "bob", "--db", database.Url()});
    EXPECT_EQ(run.out, "user bob removed\n");
    EXPECT_EQ(list(bob), revoked);
    run = RunRepo({"user", "list", "--db", database.Url()});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out.substr(0, 13), "ann\tmodify\t20");
    EXPECT_NE(run.out.find("\ncy\tmodify\t"), std::string::npos);
    EXPECT_EQ(run.out.find("bob"), std::string::npos);
}

TEST_F(SessionTest, ChangingThePasswordNeedsTheSessionAndEndsTheOthers) {
    StartClub();
    const std::string elsewhere = RawLogin("ann");
    ASSERT_EQ(Login("ann").status, 0);
    CliRun run = Cli("ann", {"repo", "passwd", "short"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out,
              "Change Repository Password Failed\nRequest failed:\nThe new password is too "
              "short: at least 8 characters.\n");
    run = Cli("ann", {"repo", "passwd", "a-much-better-one"});
    EXPECT_EQ(run.status, 0) << run.out;
    EXPECT_EQ(run.out, "");
    // This session goes on; the one opened elsewhere with the old password is over.
    EXPECT_EQ(Cli("ann", {"repo", "list"}).out,
              "Web Repository Communication Error\nWeb Repository is empty.\n");
    auto answer = Raw("GET", "/kv/api/v1/list_objects", "", elsewhere);
    ASSERT_TRUE(answer);
    EXPECT_NE(answer->body.find("unknown or was ended"), std::string::npos);
    run = Cli("ann", {"repo", "login", "--user", "ann", "--password", Password("ann")});
    EXPECT_EQ(run.out, "Repository Login Failed\nWrong user name or password.\n");
    run = Cli("ann", {"repo", "login", "--server", server.Url(), "--user", "ann", "--password",
                      "a-much-better-one"});
    EXPECT_EQ(run.status, 0) << run.out;

    // A client that sends the current password must send the right one.
    const std::string token = RawLogin("cy");
    answer = Raw("POST", "/kv/api/v1/change_password",
                 R"({"password":"cy-new-secret","current_password":"wrong"})", token);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->body,
              "{\t\"status\":\"fail\",\t\"error\":\"The current password is wrong.\"}");
    // "none" may not even change its password.
    answer = Raw("POST", "/kv/api/v1/change_password", R"({"password":"dee-new-secret"})",
                 RawLogin("dee"));
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->body,
              "{\t\"status\":\"fail\",\t\"error\":\"Access \\\"none\\\" may not "
              "change its password.\"}");
}

}  // namespace
}  // namespace kurvalux_test
