// The web commands of the main window against an HTTP server inside the test process: the
// account dialog, login and logout, the password change, objects taken from the repository,
// publishing, synchronising, the status panel's words and colours, the greyed commands, the
// catalogue look-up and the version notice. Completion arrives as posted events, so each test
// waits for the command's signal while the event loop runs.
#include <QAction>
#include <QImage>
#include <QLabel>
#include <QPixmap>
#include <QSignalSpy>
#include <QSystemTrayIcon>
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <numbers>

#include "app/commands.h"
#include "app/form_dialog.h"
#include "app/kurvalux_pane.h"
#include "app/web_commands.h"
#include "app/web_dialogs.h"
#include "platform/files.h"
#include "web/test_server.h"
#include "window_fixture.h"

namespace kurvalux_app {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

const char* kLoginAnswer =
    R"({"status":"ok","user_token":"T0K3N","user_id":"u17","user_name":"Ann Observer","access":"modify"})";
const char* kList = R"({"status":"ok","objects":[
    {"token":"MINE1","publisher":"u17","contributors":[],"name":"My Star"},
    {"token":"IMP1","publisher":"kim","contributors":[],"name":"Old Star"},
    {"token":"OBJ1","publisher":"zoe","contributors":["bob"],"name":"V1 Tst","alt_name":"GSC 1",
     "var_type":"EA","m0":2459000.5,"period":1.25,"ra":150.0,"dec":20.0}]})";

std::string ObjectAnswer(const std::string& series) {
    return R"({"status":"ok","objects":[{"token":"OBJ1","name":"V1 Tst","series":[)" + series +
           "]}]}";
}
std::string Series(int file_time, const std::string& first, const std::string& second) {
    return R"({"file_time":)" + std::to_string(file_time) +
           R"(,"jd_type":2,"brightness_unit":"mag","filter":"V","minima":[],"data":[")" + first +
           R"( 12.5 0.01",")" + second + R"( 12.6 0.01"]})";
}

class WebWindowTest : public WindowTest {
protected:
    void SetUp() override {
        WindowTest::SetUp();
        kurvalux_data::Settings& s = window_->GetSettings();
        s.web_repository_server = server.Host();
        s.web_repository_path = "/";
        s.web_repository_user = "ann";
        s.web_repository_password = "secret";
        s.web_connect_timeout = 5;
        s.web_transfer_timeout = 10;
        Web().ApplySettings();
        server.Answer("/api/v1/login", 200, kLoginAnswer);
        server.Answer("/api/v1/list_objects", 200, kList);
        zoe_series = Series(100, "2459100.4", "2459100.6");
        bob_series = Series(200, "2459101.4", "2459101.6");
        server.On("/api/v1/get_object_data", [this](const httplib::Request& request,
                                                    httplib::Response& response) {
            const bool bob = request.body.find("\"bob\"") != std::string::npos;
            response.set_content(ObjectAnswer(bob ? bob_series : zoe_series), "application/json");
        });
    }
    CWebCommands& Web() { return *window_->Web(); }
    // Dispatches a repository command and waits until it and its follow-ups are handled.
    void RunAndWait(int command) {
        QSignalSpy done(&Web(), &CWebCommands::repositoryDone);
        window_->Dispatch(command);
        ASSERT_TRUE(done.wait(20000)) << "command " << command << " did not finish";
    }
    void LogIn() {
        RunAndWait(kCmdWebLogin);
        ASSERT_TRUE(Web().Interface().Session().Active());
        boxes_.Clear();
    }
    QLabel* Label(const char* name) { return window_->findChild<QLabel*>(name); }
    Texts Paths() {
        Texts paths;
        for (const auto& r : server.Requests()) paths.push_back(r.method + " " + r.path);
        return paths;
    }
    Texts LastBox() {
        Texts lines;
        if (Boxes().empty()) return lines;
        lines.push_back(Boxes().back().title);
        lines.insert(lines.end(), Boxes().back().lines.begin(), Boxes().back().lines.end());
        return lines;
    }
    std::string CacheFolder() { return Path("KURVALUX Web Repository Cache") + "/u17/"; }
    // Takes V1 Tst from the repository into the field (appended as object 2).
    void AddV1Tst() {
        scripts_.push_back([](QDialog& dialog) {
            auto& choice = dynamic_cast<CRepositoryObjectsDialog&>(dialog);
            EXPECT_TRUE(choice.Choose(2));
            return int(QDialog::Accepted);
        });
        RunAndWait(kCmdWebAddObjects);
    }

    kurvalux_test::CTestServer server;
    std::string zoe_series, bob_series;
};

TEST_F(WebWindowTest, WithoutSessionThePanelIsOfflineAndSharedCommandsAreGreyed) {
    EXPECT_EQ(Label("web connection")->text(), "OFFLINE");
    EXPECT_TRUE(Label("web connection")->styleSheet().contains("rgb(191,0,0)"));
    EXPECT_EQ(Label("web state")->text(), "N/A");
    EXPECT_TRUE(Label("web state")->styleSheet().contains("rgb(127,127,127)"));
    EXPECT_EQ(Label("web lines")->text().toStdString(),
              "User: \nName: \nRights: \nServer: " + server.Host() + "/");
    for (int command :
         {kCmdWebChangePassword, kCmdWebLogout, kCmdWebSynchronizeField, kCmdWebAddObjects,
          kCmdWebInsertObjects, kCmdWebPublish, kCmdWebUnpublish, kCmdWebSynchronizeObject})
        EXPECT_FALSE(window_->Action(command)->isEnabled()) << command;
    for (int command : {kCmdWebLogin, kCmdWebDefine, kCmdVsxAllObjects, kCmdVsxSelectedObject})
        EXPECT_TRUE(window_->Action(command)->isEnabled()) << command;

    // The dispatcher refuses a shared-object command all the same, and nothing is sent.
    ASSERT_TRUE(OpenTestField());
    window_->Pane()->SelectObject(0);
    boxes_.Clear();
    window_->Dispatch(kCmdWebPublish);
    EXPECT_EQ(LastBox(), (Texts{"Web Repository Offline", "Login to some web repository prior",
                                "to manipulation with shared objects."}));
    EXPECT_TRUE(server.Requests().empty());
}

TEST_F(WebWindowTest, DefineLoginBusyAndLogoutFollowThePanel) {
    scripts_.push_back([](QDialog& dialog) {
        auto& form = dynamic_cast<CFormDialog&>(dialog);
        EXPECT_EQ(form.Text(kUserLabel), "ann");
        form.SetBoxText(kPathLabel, "/repo/");
        form.SetBoxText(kPasswordLabel, "s3cret");
        form.SetChecked(kCipherLabel, false);
        return int(QDialog::Accepted);
    });
    window_->Dispatch(kCmdWebDefine);
    ASSERT_EQ(dialog_titles_, (Texts{kDefineRepositoryTitle}));
    EXPECT_EQ(window_->GetSettings().web_repository_path, "/repo/");
    EXPECT_FALSE(window_->GetSettings().use_encrypted_password);
    server.Answer("/repo/api/v1/login", 200, kLoginAnswer);

    RunAndWait(kCmdWebLogin);
    ASSERT_EQ(server.Requests().size(), 1u);
    EXPECT_EQ(server.Requests()[0].path, "/repo/api/v1/login");
    // The cipher switch is off: the password travels as typed.
    EXPECT_NE(server.Requests()[0].body.find("\"password\""), std::string::npos);
    EXPECT_NE(server.Requests()[0].body.find("s3cret"), std::string::npos);
    EXPECT_TRUE(Boxes().empty());
    EXPECT_EQ(Label("web connection")->text(), "ONLINE");
    EXPECT_TRUE(Label("web connection")->styleSheet().contains("rgb(0,191,0)"));
    EXPECT_EQ(Label("web state")->text(), "READY");
    EXPECT_TRUE(Label("web state")->styleSheet().contains("rgb(0,191,0)"));
    EXPECT_EQ(Label("web lines")->text().toStdString(),
              "User: u17\nName: Ann Observer\nRights: modify\nServer: " + server.Host() + "/repo/");
    EXPECT_TRUE(window_->Action(kCmdWebPublish)->isEnabled());
    EXPECT_EQ(window_->GetSettings().web_repository_user_id, "u17");
    // What the user sees: the word is drawn in its green.
    window_->show();
    const QImage word = Label("web connection")->grab().toImage();
    int green = 0;
    for (int y = 0; y < word.height(); ++y)
        for (int x = 0; x < word.width(); ++x)
            if (word.pixelColor(x, y) == QColor(0, 191, 0)) ++green;
    EXPECT_GT(green, 5);
    if (const char* shots = std::getenv("KURVALUX_WEB_SHOTS"))
        window_->findChild<QWidget*>("web status")
            ->grab()
            .save(QString(shots) + "/web_status_online.png");

    // While a request runs the state is BUSY in red and the shared commands are greyed.
    server.Silent("/repo/api/v1/logout", std::chrono::milliseconds(300));
    QSignalSpy done(&Web(), &CWebCommands::repositoryDone);
    window_->Dispatch(kCmdWebLogout);
    EXPECT_EQ(Label("web state")->text(), "BUSY");
    EXPECT_TRUE(Label("web state")->styleSheet().contains("rgb(191,0,0)"));
    EXPECT_FALSE(window_->Action(kCmdWebPublish)->isEnabled());
    EXPECT_FALSE(window_->Action(kCmdWebLogin)->isEnabled());
    ASSERT_TRUE(done.wait(20000));
    // The silent server answered 200 with a body where 204 belongs.
    EXPECT_EQ(LastBox(), (Texts{"Cannot Reach Web Repository", "Repository server not accessible.",
                                "Try again later."}));
    EXPECT_TRUE(Web().Interface().Session().Active());

    boxes_.Clear();
    server.Answer("/repo/api/v1/logout", 204, "");
    RunAndWait(kCmdWebLogout);
    EXPECT_TRUE(Boxes().empty());
    EXPECT_EQ(Label("web connection")->text(), "OFFLINE");
    EXPECT_EQ(Label("web lines")->text().toStdString(),
              "User: \nName: \nRights: \nServer: " + server.Host() + "/repo/");
    EXPECT_FALSE(window_->Action(kCmdWebPublish)->isEnabled());
}

TEST_F(WebWindowTest, FailedLoginShowsTheServersReason) {
    server.Answer("/api/v1/login", 200, R"({"status":"fail","error":"Unknown user"})");
    RunAndWait(kCmdWebLogin);
    EXPECT_EQ(LastBox(), (Texts{"Repository Login Failed", "Unknown user"}));
    EXPECT_EQ(Label("web connection")->text(), "OFFLINE");
    // The cipher switch is on by default: no password in clear.
    const std::string body = server.Requests().at(0).body;
    EXPECT_NE(body.find("\"encrypted_password\""), std::string::npos);
    EXPECT_EQ(body.find("secret"), std::string::npos);
}

TEST_F(WebWindowTest, ChangePasswordChecksTheCurrentOneFirst) {
    LogIn();
    auto answer = [](const char* current, const char* fresh, const char* repeat) {
        return [=](QDialog& dialog) {
            auto& form = dynamic_cast<CFormDialog&>(dialog);
            form.SetBoxText(kCurrentPasswordLabel, current);
            form.SetBoxText(kNewPasswordLabel, fresh);
            form.SetBoxText(kRepeatPasswordLabel, repeat);
            return int(QDialog::Accepted);
        };
    };
    scripts_.push_back(answer("wrong", "n3w", "n3w"));
    window_->Dispatch(kCmdWebChangePassword);
    EXPECT_EQ(LastBox(),
              (Texts{"Cannot change repository password", "Current password does not match"}));

    server.Answer("/api/v1/change_password", 200, R"({"status":"fail"})");
    scripts_.push_back(answer("secret", "n3w", "n3w"));
    RunAndWait(kCmdWebChangePassword);
    EXPECT_EQ(LastBox(), (Texts{"Change Repository Password Failed",
                                "Request failed:", "Reason not provided by the server."}));
    EXPECT_EQ(window_->GetSettings().web_repository_password, "secret");

    server.Answer("/api/v1/change_password", 200, R"({"status":"ok"})");
    scripts_.push_back(answer("secret", "n3w", "n3w"));
    const size_t shown = Boxes().size();
    RunAndWait(kCmdWebChangePassword);
    EXPECT_EQ(Boxes().size(), shown);
    EXPECT_EQ(window_->GetSettings().web_repository_password, "n3w");
    Texts paths = Paths();
    EXPECT_EQ(std::count(paths.begin(), paths.end(), "POST /api/v1/change_password"), 2);
    const std::string body = server.Requests().back().body;
    EXPECT_NE(body.find("\"encrypted_password\""), std::string::npos);
    EXPECT_EQ(body.find("n3w"), std::string::npos);
}

TEST_F(WebWindowTest, ObjectsFromTheRepositoryAreGroupedAndTakenWithTheirSeries) {
    ASSERT_TRUE(OpenTestField());
    window_->GetField().objects[1]->token = "IMP1";
    window_->GetField().objects[1]->publisher = "kim";
    LogIn();
    std::vector<std::string> lines;
    scripts_.push_back([&lines](QDialog& dialog) {
        auto& choice = dynamic_cast<CRepositoryObjectsDialog&>(dialog);
        lines = choice.Lines();
        if (const char* shots = std::getenv("KURVALUX_WEB_SHOTS")) {
            choice.show();
            choice.grab().save(QString(shots) + "/add_objects_dialog.png");
        }
        EXPECT_FALSE(choice.Choose(1));  // already in the field
        EXPECT_TRUE(choice.Choose(2));
        return int(QDialog::Accepted);
    });
    RunAndWait(kCmdWebAddObjects);
    EXPECT_EQ(dialog_titles_, (Texts{"Add Object(s) from Web Repository"}));
    EXPECT_EQ(lines, (Texts{"Published:", "    My Star (Publisher: u17; Contributors:)",
                            "Imported:", "    Old Star (Publisher: kim; Contributors:)",
                            "Available:", "    V1 Tst (Publisher: zoe; Contributors: bob)"}));
    EXPECT_EQ(Paths(), (Texts{"POST /api/v1/login", "GET /api/v1/list_objects",
                              "POST /api/v1/get_object_data", "POST /api/v1/get_object_data"}));
    EXPECT_TRUE(Boxes().empty()) << LastBox().at(0);

    auto& field = window_->GetField();
    ASSERT_EQ(field.objects.size(), 3u);
    const auto& object = *field.objects[2];
    EXPECT_EQ(object.name, "V1 Tst");
    EXPECT_EQ(object.token, "OBJ1");
    EXPECT_EQ(object.publisher, "zoe");
    EXPECT_EQ(object.alternate_name, "GSC 1");
    EXPECT_DOUBLE_EQ(object.saved_period, 1.25);
    ASSERT_EQ(object.series.size(), 2u);
    const auto* first =
        dynamic_cast<const kurvalux_data::CWebSeriesTreeElem*>(object.series[0].get());
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->publisher, "zoe");
    EXPECT_DOUBLE_EQ(first->FirstTime(), 2459100.4);
    EXPECT_TRUE(fs::exists(CacheFolder() + "OBJ1_zoe.json"));
    EXPECT_TRUE(fs::exists(CacheFolder() + "OBJ1_bob.json"));
    EXPECT_TRUE(window_->Modified());

    // Select series by contributor: only bob's night stays on.
    window_->Pane()->SelectObject(2);
    scripts_.push_back([](QDialog& dialog) {
        auto& form = dynamic_cast<CFormDialog&>(dialog);
        form.SetChoice("Contributor:", 0);  // "bob", "zoe" in order
        return int(QDialog::Accepted);
    });
    window_->Dispatch(kCmdSelectSeriesByContributor);
    EXPECT_FALSE(object.series[0]->enabled);
    EXPECT_TRUE(object.series[1]->enabled);

    // A saved and reloaded field takes its web series from the cache again.
    ASSERT_TRUE(window_->SaveFieldTo(Path("test.kvf")));
    ASSERT_TRUE(window_->OpenField(Path("test.kvf")));
    const auto& reloaded = *window_->GetField().objects[2];
    ASSERT_EQ(reloaded.series.size(), 2u);
    EXPECT_FALSE(reloaded.series[0]->enabled);
    EXPECT_TRUE(reloaded.web_series_local_data.empty());
}

TEST_F(WebWindowTest, InsertPutsTheObjectBeforeTheCurrentOne) {
    ASSERT_TRUE(OpenTestField());
    LogIn();
    window_->Pane()->SelectObject(1);
    scripts_.push_back([](QDialog& dialog) {
        dynamic_cast<CRepositoryObjectsDialog&>(dialog).Choose(2);
        return int(QDialog::Accepted);
    });
    RunAndWait(kCmdWebInsertObjects);
    auto& objects = window_->GetField().objects;
    ASSERT_EQ(objects.size(), 3u);
    EXPECT_EQ(objects[0]->name, "Test Binary");
    EXPECT_EQ(objects[1]->name, "V1 Tst");
    EXPECT_EQ(objects[2]->name, "Empty Star");
}

TEST_F(WebWindowTest, SynchronisingKeepsBackupsAndTheObserversSettings) {
    ASSERT_TRUE(OpenTestField());
    LogIn();
    window_->Pane()->SelectObject(0);
    window_->Dispatch(kCmdWebSynchronizeObject);
    EXPECT_EQ(LastBox(),
              (Texts{"Cannot synchronize non-shared object", "Selected objec is neither published,",
                     "nor imported. So, it cannot be", "synchronized with repository."}));

    AddV1Tst();
    auto& object = *window_->GetField().objects[2];
    ASSERT_EQ(object.series.size(), 2u);
    object.series[1]->offset = 0.75;  // bob's night
    zoe_series =
        Series(100, "2459100.4", "2459100.6") + "," + Series(101, "2459102.4", "2459102.6");
    window_->Pane()->SelectObject(2);
    RunAndWait(kCmdWebSynchronizeObject);
    ASSERT_EQ(object.series.size(), 3u);
    EXPECT_DOUBLE_EQ(object.series[1]->offset, 0.75);
    EXPECT_DOUBLE_EQ(object.series[2]->FirstTime(), 2459102.4);
    EXPECT_TRUE(fs::exists(CacheFolder() + "OBJ1_zoe.bak"));
    EXPECT_TRUE(fs::exists(CacheFolder() + "OBJ1_bob.bak"));

    // A failed object data answer ends the field synchronisation and leaves the cache alone.
    server.Answer("/api/v1/get_object_data", 200, R"({"status":"ok","objects":[{"name":"x"}]})");
    RunAndWait(kCmdWebSynchronizeField);
    EXPECT_EQ(LastBox(),
              (Texts{"Web Repository Communication Error", "Internal Error: ReceiveGetObjectData",
                     "Reposnes does not contain ObjectToken record"}));
    EXPECT_EQ(object.series.size(), 3u);
    Texts paths = Paths();
    EXPECT_EQ(paths.back(), "POST /api/v1/get_object_data");
    EXPECT_EQ(paths[paths.size() - 2], "GET /api/v1/list_objects");
}

TEST_F(WebWindowTest, PublishContributeAndUnpublish) {
    ASSERT_TRUE(OpenTestField());
    LogIn();
    window_->Pane()->SelectObject(0);
    server.Answer("/api/v1/publish_object", 200, R"({"status":"ok","token":"NEW7"})");
    RunAndWait(kCmdWebPublish);
    EXPECT_EQ(LastBox(),
              (Texts{"Web Repository command processed.", "Object published to repository."}));
    auto& object = *window_->GetField().objects[0];
    EXPECT_EQ(object.token, "NEW7");
    EXPECT_EQ(object.publisher, "u17");
    EXPECT_TRUE(window_->Modified());
    const std::string body = server.Requests().back().body;
    EXPECT_NE(body.find("\"Test Binary\""), std::string::npos);

    window_->Dispatch(kCmdWebPublish);
    EXPECT_EQ(LastBox(),
              (Texts{"Cannot publish object", "Selected object already published in repository",
                     "Object Token, generated upon publishing,",
                     "can be cleard in the Meta Data pane."}));

    // Another observer's object: the own series go as a contribution, without the web series.
    AddV1Tst();
    window_->Pane()->SelectObject(2);
    server.Answer("/api/v1/contribute_object", 200, R"({"status":"ok"})");
    RunAndWait(kCmdWebPublish);
    EXPECT_EQ(server.Requests().back().path, "/api/v1/contribute_object");
    EXPECT_EQ(server.Requests().back().body.find("2459100.4"), std::string::npos);
    EXPECT_EQ(window_->GetField().objects[2]->series.size(), 2u);
    EXPECT_EQ(window_->GetField().objects[2]->token, "OBJ1");

    window_->Pane()->SelectObject(0);
    server.Answer("/api/v1/unpublish_object", 200, R"({"status":"ok"})");
    RunAndWait(kCmdWebUnpublish);
    EXPECT_EQ(LastBox(),
              (Texts{"Web Repository command processed.", "Object removed from repository."}));
    EXPECT_NE(server.Requests().back().body.find("NEW7"), std::string::npos);
    EXPECT_TRUE(object.token.empty());
}

TEST_F(WebWindowTest, TheCatalogueLookUpMarksTheMatchingObject) {
    ASSERT_TRUE(OpenTestField());
    auto& star = window_->GetField().objects[0]->meta_data.var;
    star.star_ra = 150.0 * std::numbers::pi / 180.0;
    star.star_dec = 20.0 * std::numbers::pi / 180.0;
    window_->GetSettings().vsx_server = server.Url();
    Web().ApplySettings();
    server.Answer("/vsx/index.php", 200,
                  R"({"VSXObjects":{"VSXObject":[{"Name":"V0001 Tst","RA2000":"150.00000",
                  "Declination2000":"20.00000","VariabilityType":"EA","Period":"0.74",
                  "Epoch":"2459000.5"}]}})");
    window_->Pane()->SelectObject(0);
    QSignalSpy done(&Web(), &CWebCommands::vsxDone);
    window_->Dispatch(kCmdVsxSelectedObject);
    EXPECT_FALSE(window_->Action(kCmdVsxAllObjects)->isEnabled());
    ASSERT_TRUE(done.wait(20000));
    EXPECT_EQ(LastBox(), (Texts{"VSX query completed", "1 stars from this field found in VSX.",
                                "1 stars from VSX matched and marked."}));
    EXPECT_EQ(window_->GetField().objects[0]->alternate_name, "V0001 Tst");
    EXPECT_TRUE(window_->Modified());
    EXPECT_TRUE(window_->Action(kCmdVsxAllObjects)->isEnabled());
    const std::string target = server.Requests().back().target;
    EXPECT_NE(target.find("fromra=150.0000000&tora=150.0000000"), std::string::npos) << target;

    // The empty star has no coordinates: no request.
    const size_t sent = server.Requests().size();
    window_->Pane()->SelectObject(1);
    window_->Dispatch(kCmdVsxSelectedObject);
    EXPECT_EQ(LastBox(), (Texts{"Cannot lookup stars in VSX",
                                "Unknown coordinates of object within the field."}));
    EXPECT_EQ(server.Requests().size(), sent);
}

TEST_F(WebWindowTest, VersionCheckShowsANoticeOnlyForANewerVersion) {
    window_->GetSettings().version_server = server.Url();
    Web().ApplySettings();
    struct Case {
        const char* answer;
        bool show;
    };
    for (const Case& c : {Case{"255.0.0.0", true}, Case{"0.0.0.1", false}, Case{"", false}}) {
        server.Answer("/versions/kurvalux.txt", 200, c.answer);
        QSignalSpy done(&Web(), &CWebCommands::versionDone);
        Web().StartVersionCheck();
        ASSERT_TRUE(done.wait(20000));
        EXPECT_EQ(Web().LastNotice().show, c.show) << c.answer;
        if (c.show) {
            EXPECT_EQ(Web().LastNotice().title, "New version of KURVALUX is available");
            EXPECT_NE(Web().LastNotice().text.find("Version 255.0.0.0 is available at\r\n"),
                      std::string::npos);
            EXPECT_NE(window_->findChild<QSystemTrayIcon*>("version notice"), nullptr);
        }
    }
    // The check is a setting toggled by its menu item.
    const bool before = window_->GetSettings().check_version;
    window_->Dispatch(kCmdCheckVersion);
    EXPECT_NE(window_->GetSettings().check_version, before);
    EXPECT_EQ(window_->Action(kCmdCheckVersion)->isChecked(), !before);
}

TEST_F(WebWindowTest, AFieldLoadsItsWebSeriesFromTheLastAccountsCache) {
    ASSERT_TRUE(OpenTestField());
    LogIn();
    AddV1Tst();
    ASSERT_TRUE(window_->SaveFieldTo(Path("test.kvf")));
    window_->GetSettings().web_repository_user_id = "u17";
    // A new window, without a session: the field's web series come from u17's cache.
    ShellOptions options;
    options.settings_path = Path("other.ini");
    options.messages = &boxes_;
    CKurvalux other(options);
    other.GetSettings().web_repository_user_id = "u17";
    boxes_.Clear();
    other.GetSettings().web_repository_server = server.Host();
    ASSERT_TRUE(other.OpenField(Path("test.kvf")));
    EXPECT_EQ(other.GetField().objects[2]->series.size(), 2u);
    // Another account's cache holds nothing of it: the series' local data is kept and said so.
    other.GetSettings().web_repository_user_id = "u99";
    ASSERT_TRUE(other.OpenField(Path("test.kvf")));
    EXPECT_TRUE(other.GetField().objects[2]->series.empty());
    EXPECT_EQ(other.GetField().objects[2]->web_series_local_data.size(), 2u);
    EXPECT_EQ(LastBox(), (Texts{"Field Loaded with Problems",
                                "Web series not in the repository cache: V1 Tst 2 series kept "
                                "until the object is synchronized"}));
}

}  // namespace
}  // namespace kurvalux_app
