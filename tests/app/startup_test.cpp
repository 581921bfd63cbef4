// The command line of the application, and the window placement kept in the settings file.
#include <QApplication>
#include <QScreen>

#include "app/kurvalux_pane.h"
#include "app/startup.h"
#include "tests/app/window_fixture.h"

namespace kurvalux_app {
namespace {

TEST(StartupOptions, Arguments) {
    struct Case {
        std::vector<std::string> args;
        bool ok;
        std::string field, screenshots, error;
        int show_command;
        bool measure;
    } cases[] = {
        {{}, true, "", "", "", 1, false},
        {{"demo.kvf"}, true, "demo.kvf", "", "", 1, false},
        {{"--screenshots", "out", "f.kvf"}, true, "f.kvf", "out", "", 1, false},
        {{"f.kvf", "--show-command", "2", "--measure-startup"}, true, "f.kvf", "", "", 2, true},
        {{"--show-command", "x"}, false, "", "", "--show-command needs a number", 1, false},
        {{"--screenshots"}, false, "", "", "--screenshots needs a value", 1, false},
        {{"--bogus"}, false, "", "", "Unknown option --bogus", 1, false},
        {{"a.kvf", "b.kvf"}, false, "", "", "Only one field file can be opened", 1, false},
    };
    for (const Case& c : cases) {
        std::vector<std::string> storage = {"kurvalux"};
        storage.insert(storage.end(), c.args.begin(), c.args.end());
        std::vector<char*> argv;
        for (std::string& s : storage) argv.push_back(s.data());
        StartupOptions options;
        std::string error;
        bool ok = ParseStartupOptions(static_cast<int>(argv.size()), argv.data(), options, error);
        EXPECT_EQ(ok, c.ok) << storage.size();
        EXPECT_EQ(error, c.error);
        if (!ok) continue;
        EXPECT_EQ(options.field, c.field);
        EXPECT_EQ(options.screenshots, c.screenshots);
        EXPECT_EQ(options.show_command, c.show_command);
        EXPECT_EQ(options.measure_startup, c.measure);
    }
}

TEST_F(WindowTest, PlacementAndSplittersAreKeptAcrossRuns) {
    QRect available = QApplication::primaryScreen()->availableGeometry();
    QRect wanted(available.x() + 30, available.y() + 20, std::min(700, available.width() - 40),
                 std::min(500, available.height() - 40));
    window_->setGeometry(wanted);
    window_->show();
    window_->Pane()->SetSplitterPositions({260, 180, 150});
    std::array<int, 3> splitters = window_->Pane()->SplitterPositions();
    boxes_.QueueAnswer(kurvalux_platform::MessageAnswer::Yes);
    ASSERT_TRUE(window_->close());

    kurvalux_data::Settings stored;
    ASSERT_TRUE(kurvalux_data::LoadSettings(Path("kurvalux.ini"), stored));
    EXPECT_EQ(stored.width, window_->geometry().width());
    EXPECT_EQ(stored.depth, window_->geometry().height());
    EXPECT_EQ(stored.splitter1, splitters[0]);
    EXPECT_EQ(stored.splitter2, splitters[1]);
    EXPECT_EQ(stored.splitter3, splitters[2]);
    EXPECT_FALSE(stored.maximized);

    ShellOptions options;
    options.settings_path = Path("kurvalux.ini");
    options.messages = &boxes_;
    CKurvalux again(options);
    again.RestorePlacement();
    // A placement wider or higher than the screen is brought down to the screen's size.
    EXPECT_EQ(again.geometry().width(), std::min(stored.width, available.width()));
    EXPECT_EQ(again.geometry().height(), std::min(stored.depth, available.height()));
    again.show();
    EXPECT_EQ(again.Pane()->SplitterPositions()[0], splitters[0]);
}

}  // namespace
}  // namespace kurvalux_app

namespace kurvalux_app {
namespace {

// At 200 % a 1920 x 1080 screen offers 960 x 540 logical pixels: the window, with every tab
// and the meta-data of an object shown, must fit without clipping.
TEST_F(WindowTest, TheWindowFitsAFullHdScreenAtDoubleScaling) {
    ASSERT_TRUE(OpenTestField());
    window_->show();
    for (int tab = 0; tab < kTabCount; ++tab) {
        window_->Pane()->ShowTab(static_cast<ChartTab>(tab));
        QSize minimum = window_->minimumSizeHint();
        EXPECT_LE(minimum.width(), 960) << "tab " << tab;
        EXPECT_LE(minimum.height(), 540) << "tab " << tab;
    }
}

}  // namespace
}  // namespace kurvalux_app
