// A club's day with its repository, through the program's command line against a real
// kurvalux-repo: login, publish, contribute, list, get, synchronise with ".bak" rotation,
// unpublish and logout, each observer with the rights of its access word.
#include <gtest/gtest.h>

#include "platform/files.h"
#include "platform/message_box.h"
#include "repo_server/repo_fixture.h"
#include "web/web_objects.h"

namespace kurvalux_test {
namespace {

constexpr const char* kProcessed = "Web Repository command processed.\n";
constexpr const char* kRefused = "Web Repository Communication Error\nRequest failed:\n";

// The token printed by publish or contribute ("token X" on the last line).
std::string PrintedToken(const std::string& out) {
    const size_t at = out.rfind("token ");
    if (at == std::string::npos) return "";
    std::string token = out.substr(at + 6);
    if (!token.empty() && token.back() == '\n') token.pop_back();
    return token;
}

// The cache file the program writes for `object` as published under `token`: its own object
// record, as the program's client sends it, read back into a cache record.
std::string ExpectedCacheText(const std::string& field_path, const std::string& name) {
    kurvalux_data::Field field;
    kurvalux_data::FieldLoadOptions options;
    options.bases.field_folder = std::filesystem::path(field_path).parent_path().string() + "/";
    kurvalux_platform::CRecordingMessageBoxSink boxes;
    EXPECT_TRUE(kurvalux_data::LoadField(field_path, field, options, boxes).ok);
    const kurvalux_data::CObjectListElem* object = field.FindObject(name);
    EXPECT_NE(object, nullptr);
    if (!object) return "";
    sjson::CJSON sent, cached;
    sent.Reset(false);
    kurvalux_web::AddObjectRecord(*object, sent);
    // Through the text the wire carries, as the server reads it.
    kurvalux_platform::CTextBuffer wire;
    sent.Write(wire, 0);
    sjson::CJSON received;
    sjson::CJSONSource source(wire.Text());
    EXPECT_TRUE(received.Parse(source));
    cached.Reset(false);
    kurvalux_web::CopyObjectRecord(*received.Root(), cached);
    kurvalux_platform::CTextBuffer text;
    cached.Write(text, sjson::kWritePretty);
    return text.Text();
}

TEST_F(RepoTest, PublishContributeGetSynchroniseUnpublish) {
    StartClub();
    const std::string field = DemoField();
    const std::string object = "KVX Demo Algol";

    CliRun run = Login("ann");
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(run.out, "user_id ann\nuser_name ann\naccess modify\n");
    run = Cli("ann", {"repo", "list"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "Web Repository Communication Error\nWeb Repository is empty.\n");

    // Publishing gives the object its token; --save keeps it in the field.
    run = Cli("ann", {"repo", "publish", field, "--object", object, "--save"});
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    const std::string token = PrintedToken(run.out);
    ASSERT_EQ(token.size(), 12u) << run.out;
    EXPECT_EQ(run.out,
              std::string(kProcessed) + "Object published to repository.\ntoken " + token + "\n");
    // Publishing again (the field now carries the token) updates the same object.
    run = Cli("ann", {"repo", "publish", field, "--object", object});
    EXPECT_EQ(run.status, 0) << run.out;
    EXPECT_EQ(PrintedToken(run.out), token);
    run = Cli("ann", {"repo", "list"});
    EXPECT_EQ(run.out, token + "\tKVX Demo Algol\tann\t\n");

    // bob adds his series to ann's object; publishing it as his own is refused.
    ASSERT_EQ(Login("bob").status, 0);
    run = Cli("bob", {"repo", "contribute", field, "--object", object});
    EXPECT_EQ(run.status, 0) << run.out;
    EXPECT_EQ(run.out,
              std::string(kProcessed) + "Object published to repository.\ntoken " + token + "\n");
    run = Cli("bob", {"repo", "publish", field, "--object", object});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, std::string(kRefused) + "Object " + token +
                           " was published by ann; contribute to it instead.\n");
    run = Cli("ann", {"repo", "contribute", field, "--object", object});
    EXPECT_EQ(run.out, std::string(kRefused) + "You published object " + token +
                           "; publish it again to update it.\n");
    run = Cli("bob", {"repo", "list"});
    EXPECT_EQ(run.out, token + "\tKVX Demo Algol\tann\tbob\n");

    // cy (view) gets the publisher's data and bob's, into its cache.
    ASSERT_EQ(Login("cy").status, 0);
    run = Cli("cy", {"repo", "get", token});
    ASSERT_EQ(run.status, 0) << run.out;
    EXPECT_EQ(run.out, "cache " + Home("cy").Path() + "KURVALUX/KURVALUX Web Repository Cache/cy/" +
                           token + "_ann.json\n");
    const std::string expected = ExpectedCacheText(field, object);
    EXPECT_EQ(CacheFile("cy", token + "_ann.json"), expected);
    EXPECT_NE(expected.find("\"data\": ["), std::string::npos);
    run = Cli("cy", {"repo", "get", token, "--contributor", "1"});
    ASSERT_EQ(run.status, 0) << run.out;
    EXPECT_EQ(CacheFile("cy", token + "_bob.json"), expected);
    // Beyond the list's contributors the program asks for its own user's contribution,
    // which the repository does not have.
    run = Cli("cy", {"repo", "get", token, "--contributor", "2"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, std::string(kRefused) + "No contribution of cy to object " + token + ".\n");

    // Synchronising keeps the previous files as .bak, exactly one per file.
    for (int round = 0; round < 2; ++round) {
        run = Cli("cy", {"repo", "get", token, "--sync"});
        ASSERT_EQ(run.status, 0) << run.out;
        EXPECT_EQ(CacheFile("cy", token + "_ann.bak"), expected);
        EXPECT_EQ(CacheFile("cy", token + "_bob.bak"), expected);
        EXPECT_EQ(CacheFile("cy", token + "_ann.json"), expected);
        EXPECT_FALSE(CacheHas("cy", token + "_bob.json"));
        const auto files = kurvalux_platform::ListFolder(
            Home("cy").Path() + "KURVALUX/KURVALUX Web Repository Cache/cy/", "*");
        EXPECT_EQ(files.size(), 3u);
    }

    // Rights: cy may not publish or unpublish, bob may not unpublish ann's object, root may.
    run = Cli("cy", {"repo", "publish", field, "--object", object});
    EXPECT_EQ(run.out, std::string(kRefused) + "Access \"view\" may not publish objects.\n");
    run = Cli("cy", {"repo", "unpublish", token});
    EXPECT_EQ(run.out, std::string(kRefused) + "Access \"view\" may not unpublish objects.\n");
    run = Cli("bob", {"repo", "unpublish", token});
    EXPECT_EQ(run.out, std::string(kRefused) + "Only the publisher of object " + token +
                           " (ann) or an administrator may unpublish it.\n");
    ASSERT_EQ(Login("root").status, 0);
    run = Cli("root", {"repo", "unpublish", token});
    EXPECT_EQ(run.status, 0) << run.out;
    EXPECT_EQ(run.out, std::string(kProcessed) + "Object removed from repository.\n");
    run = Cli("cy", {"repo", "list"});
    EXPECT_EQ(run.out, "Web Repository Communication Error\nWeb Repository is empty.\n");
    run = Cli("ann", {"repo", "contribute", field, "--object", object});
    EXPECT_EQ(run.out, std::string(kRefused) + "No object " + token + " in the repository.\n");

    // Logging out revokes the token on the server, not only in the program.
    const std::string session = Home("cy").Read("KURVALUX/repository-session.ini");
    const size_t at = session.find("UserToken=");
    ASSERT_NE(at, std::string::npos);
    const std::string cy_token = session.substr(at + 10, 48);
    run = Cli("cy", {"repo", "logout"});
    EXPECT_EQ(run.status, 0) << run.out;
    auto answer = Raw("GET", "/kv/api/v1/list_objects", "", cy_token);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->body,
              "{\t\"status\":\"fail\",\t\"error\":\"The session is unknown or was ended; log in "
              "again.\"}");
}

TEST_F(RepoTest, WrongPasswordsAndUnknownUsersAreRefusedAlike) {
    StartClub();
    for (const std::string user : {"ann", "nobody"}) {
        const CliRun run = Cli(user, {"repo", "login", "--server", server.Url(), "--user", user,
                                      "--password", "not-the-password"});
        EXPECT_EQ(run.status, 1) << user;
        EXPECT_EQ(run.out, "Repository Login Failed\nWrong user name or password.\n") << user;
        EXPECT_EQ(Home(user).Read("KURVALUX/repository-session.ini"), "");
    }
    // "none" logs in (and only that).
    CliRun run = Login("dee");
    EXPECT_EQ(run.status, 0) << run.out;
    EXPECT_EQ(run.out, "user_id dee\nuser_name dee\naccess none\n");
    run = Cli("dee", {"repo", "list"});
    EXPECT_EQ(run.out, std::string(kRefused) + "Access \"none\" may not list objects.\n");
    EXPECT_EQ(Cli("dee", {"repo", "logout"}).status, 0);
}

}  // namespace
}  // namespace kurvalux_test
