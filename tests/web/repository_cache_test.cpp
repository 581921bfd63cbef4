// The object data answer and the local cache: folders, file names, ".bak" rotation, the trace
// on the debug output, and the answers that are refused before anything is written.
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/files.h"
#include "platform/system.h"
#include "web/repository_cache.h"
#include "web/web_fixture.h"

namespace kurvalux_web {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

const char* kList = R"({"status":"ok","objects":[
    {"token":"OBJ1","publisher":"ann","contributors":["bob","cyd"]},
    {"token":"OBJ2","publisher":"dan","contributors":[]}]})";

std::string ObjectAnswer(const std::string& token, const std::string& name) {
    return R"({"status":"ok","objects":[{"token":")" + token + R"(","name":")" + name +
           R"(","extra":1,"m0":2459000.25,"period":2,"mag0":"not a number","a_sin1":0.01,
           "notes":["first",7,"second"],"series":[{"file_time":133000000000000000,"jd_type":2,
           "brightness_unit":"mag","filter":"V","minima":[{"jd":2459001.5,"error":0.0002,
           "type":"primary"}],"data":["2459001.4 12.5 0.01","2459001.6 12.6 0.01"]}]}]})";
}

class RepositoryCacheTest : public kurvalux_test::WebClientTest {
protected:
    RepositoryCacheTest() {
        folder =
            fs::temp_directory_path() /
            ("kurvalux-cache-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
             "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder);
        fs::create_directories(folder);
        web.SetCacheFolder(folder.string());
        kurvalux_platform::SetDebugSink([this](std::string_view text) {
            std::lock_guard lock(trace_mutex);
            trace.append(text);
        });
        server.On("/api/v1/get_object_data", [this](const httplib::Request&, httplib::Response& r) {
            r.set_content(answer, "application/json");
        });
    }
    ~RepositoryCacheTest() override {
        kurvalux_platform::SetDebugSink({});
        fs::remove_all(folder);
    }
    void SetUp() override {
        LogIn();
        server.Answer("/api/v1/list_objects", 200, kList);
        ASSERT_TRUE(web.ListObjects());
        ASSERT_EQ(Finish(), 0);
        notified.clear();
    }
    std::string Fetch(const std::string& token, int contributor, bool backup) {
        trace.clear();
        EXPECT_TRUE(web.GetObjectData(token, contributor, backup));
        EXPECT_EQ(Finish(), 0);
        std::lock_guard lock(trace_mutex);
        return trace;
    }
    std::vector<std::string> UserFiles() {
        std::vector<std::string> names;
        const fs::path user = folder / "KURVALUX Web Repository Cache" / "u17";
        if (fs::exists(user))
            for (const auto& e : fs::directory_iterator(user))
                names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    static std::string Read(const fs::path& path) {
        std::string text;
        kurvalux_platform::ReadWholeFile(path.string(), 1 << 20, text);
        return text;
    }

    fs::path folder;
    std::string answer;
    std::mutex trace_mutex;
    std::string trace;
};

TEST_F(RepositoryCacheTest, FirstAnswerCreatesBothFoldersAndTheFile) {
    answer = ObjectAnswer("OBJ1", "V1023 Her");
    const std::string log = Fetch("OBJ1", -1, false);
    EXPECT_TRUE(boxes.Records().empty());
    const std::string root = folder.string() + "/KURVALUX Web Repository Cache/";
    const std::string file = root + "u17/OBJ1_ann.json";
    EXPECT_EQ(log,
              "ReceiveGetObjectData ENTER\n"
              "  Creating global directory = " +
                  root +
                  "\n"
                  "  Creating directory for the user = " +
                  root +
                  "u17/\n"
                  "  Data File Path = " +
                  file +
                  "\n"
                  "ReceiveGetObjectData EXIT OK\n");
    EXPECT_EQ(web.CacheFilePath(), file);
    EXPECT_EQ(UserFiles(), (std::vector<std::string>{"OBJ1_ann.json"}));
    // The request names the object and the publisher whose data it wants.
    EXPECT_EQ(kurvalux_test::WithoutTabs(server.Requests().back().body),
              "{\"token\":\"OBJ1\",\"user_id\":\"ann\"}");
    // Only the record's keys of the expected kinds, in the record's order, written pretty.
    EXPECT_EQ(Read(file),
              "{\r\n"
              "\t\"token\": \"OBJ1\",\r\n"
              "\t\"name\": \"V1023 Her\",\r\n"
              "\t\"m0\": 2459000.25000000,\r\n"
              "\t\"period\": 2.00000000,\r\n"
              "\t\"a_sin1\": 0.01000000,\r\n"
              "\t\"notes\": [\r\n"
              "\t\t\"first\",\r\n"
              "\t\t\"second\"\r\n"
              "\t],\r\n"
              "\t\"series\": [\r\n"
              "\t\t{\r\n"
              "\t\t\t\"file_time\": 133000000000000000,\r\n"
              "\t\t\t\"jd_type\": 2,\r\n"
              "\t\t\t\"brightness_unit\": \"mag\",\r\n"
              "\t\t\t\"filter\": \"V\",\r\n"
              "\t\t\t\"minima\": [\r\n"
              "\t\t\t\t{\r\n"
              "\t\t\t\t\t\"jd\": 2459001.50000000,\r\n"
              "\t\t\t\t\t\"error\": 0.00020000,\r\n"
              "\t\t\t\t\t\"type\": \"primary\"\r\n"
              "\t\t\t\t}\r\n"
              "\t\t\t],\r\n"
              "\t\t\t\"data\": [\r\n"
              "\t\t\t\t\"2459001.4 12.5 0.01\",\r\n"
              "\t\t\t\t\"2459001.6 12.6 0.01\"\r\n"
              "\t\t\t]\r\n"
              "\t\t}\r\n"
              "\t]\r\n"
              "}\r\n");
    EXPECT_EQ(
        notified,
        (std::vector<std::pair<uint32_t, uint32_t>>{{kNotifyObjectGroup, kNotifyObjectDataDone}}));
}

TEST_F(RepositoryCacheTest, SynchronisationKeepsExactlyOneBackupPerFile) {
    answer = ObjectAnswer("OBJ1", "first");
    Fetch("OBJ1", -1, false);
    Fetch("OBJ1", 1, false);  // cyd's contribution
    answer = ObjectAnswer("OBJ2", "other");
    Fetch("OBJ2", -1, false);
    answer = ObjectAnswer("OBJ1", "second");
    const std::string dir = (folder / "KURVALUX Web Repository Cache" / "u17").string() + "/";
    std::string log = Fetch("OBJ1", -1, true);
    EXPECT_EQ(log,
              "ReceiveGetObjectData ENTER\n"
              "  Directory exists Path = " +
                  dir +
                  "\n"
                  "  Renaming: " +
                  dir +
                  "OBJ1_ann.json\n"
                  "        To: " +
                  dir +
                  "OBJ1_ann.bak\n"
                  "  Renaming: " +
                  dir +
                  "OBJ1_cyd.json\n"
                  "        To: " +
                  dir +
                  "OBJ1_cyd.bak\n"
                  "  Data File Path = " +
                  dir +
                  "OBJ1_ann.json\n"
                  "ReceiveGetObjectData EXIT OK\n");
    EXPECT_EQ(UserFiles(), (std::vector<std::string>{"OBJ1_ann.bak", "OBJ1_ann.json",
                                                     "OBJ1_cyd.bak", "OBJ2_dan.json"}));
    answer = ObjectAnswer("OBJ1", "third");
    log = Fetch("OBJ1", -1, true);
    EXPECT_NE(
        log.find("  Deleting: " + dir + "OBJ1_ann.bak\n  Renaming: " + dir + "OBJ1_ann.json\n"),
        std::string::npos);
    EXPECT_EQ(UserFiles(), (std::vector<std::string>{"OBJ1_ann.bak", "OBJ1_ann.json",
                                                     "OBJ1_cyd.bak", "OBJ2_dan.json"}));
    EXPECT_NE(Read(dir + "OBJ1_ann.bak").find("\"second\""), std::string::npos);
    EXPECT_NE(Read(dir + "OBJ1_ann.json").find("\"third\""), std::string::npos);
    // The flag is one-shot: the next plain fetch renames nothing.
    log = Fetch("OBJ1", -1, false);
    EXPECT_EQ(log.find("Renaming"), std::string::npos);
}

// Answers refused before anything is touched on disk.
TEST_F(RepositoryCacheTest, RefusedAnswersWriteNothing) {
    struct Case {
        std::string answer;
        int contributor;
        std::string failure;
    } cases[] = {
        {ObjectAnswer("OBJ1", "x"), 2, "ContributorIndex overflow"},
        {R"({"status":"ok","objects":[{"name":"no token"}]})", -1,
         "Reposnes does not contain ObjectToken record"},
        {R"({"status":"ok","objects":[]})", -1, "Web Repository is empty."},
        {R"({"status":"ok","objects":{"token":"OBJ1"}})", -1, "Web Repository is empty."},
    };
    for (const Case& c : cases) {
        answer = c.answer;
        const std::string log = Fetch("OBJ1", c.contributor, true);
        EXPECT_EQ(OnlyBox(), (Texts{"Web Repository Communication Error",
                                    "Internal Error: ReceiveGetObjectData", c.failure}));
        EXPECT_EQ(log, "ReceiveGetObjectData ENTER\nReceiveGetObjectData EXIT FAIL\n");
        EXPECT_FALSE(fs::exists(folder / "KURVALUX Web Repository Cache")) << c.failure;
    }
    EXPECT_EQ(notified.size(), std::size(cases));
    for (const auto& n : notified)
        EXPECT_EQ(n, std::make_pair(kNotifyObjectGroup, kNotifyObjectDataFailed));

    answer = R"({"status":"fail","error":"No such object"})";
    Fetch("OBJ9", -1, false);
    EXPECT_EQ(OnlyBox(),
              (Texts{"Web Repository Communication Error", "Request failed:", "No such object"}));
}

TEST_F(RepositoryCacheTest, EmptyObjectListIsRefused) {
    web.ObjectList().clear();
    answer = ObjectAnswer("OBJ1", "x");
    Fetch("OBJ1", -1, false);
    EXPECT_EQ(OnlyBox(), (Texts{"Web Repository Communication Error",
                                "Internal Error: ReceiveGetObjectData", "WebObjectList empty"}));
    EXPECT_TRUE(UserFiles().empty());
}

TEST_F(RepositoryCacheTest, FailedWriteKeepsTheOldFile) {
    answer = ObjectAnswer("OBJ1", "old");
    Fetch("OBJ1", -1, false);
    const fs::path file = folder / "KURVALUX Web Repository Cache" / "u17" / "OBJ1_ann.json";
    // A folder in the way of the temporary file: the new file cannot be created.
    fs::create_directory(file.string() + ".tmp~");
    answer = ObjectAnswer("OBJ1", "new");
    const std::string log = Fetch("OBJ1", -1, false);
    EXPECT_NE(log.find("  FIO.Create failed\nReceiveGetObjectData EXIT FAIL\n"), std::string::npos);
    EXPECT_EQ(OnlyBox(), (Texts{"Web Repository Communication Error",
                                "Internal Error: ReceiveGetObjectData", "Cannot create file"}));
    EXPECT_NE(Read(file).find("\"old\""), std::string::npos);
}

TEST_F(RepositoryCacheTest, NamesFromTheServerStayInsideTheCache) {
    EXPECT_EQ(CacheNameComponent("../x"), ".._x");
    EXPECT_EQ(CacheNameComponent(".."), "_");
    EXPECT_EQ(CacheNameComponent("C:\\y"), "C__y");
    CWebObjectListElem hostile;
    hostile.token = "../../E";
    hostile.publisher = "../p";
    web.ObjectList().push_back(hostile);
    answer = ObjectAnswer("../../E", "x");
    Fetch("../../E", -1, false);
    EXPECT_TRUE(boxes.Records().empty());
    EXPECT_EQ(UserFiles(), (std::vector<std::string>{".._.._E_.._p.json"}));
}

}  // namespace
}  // namespace kurvalux_web
