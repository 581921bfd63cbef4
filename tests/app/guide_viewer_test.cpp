// The user's guide in the application's own window.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <QTextBrowser>
#include <QWidget>
#include <fstream>

#include "app/guide_viewer.h"

namespace kurvalux_app {
namespace {

TEST(GuideWindow, ShowsTheMarkdownRenderedAndRefusesAMissingFile) {
    QTemporaryDir folder;
    const std::string path = folder.filePath("guide.md").toStdString();
    std::ofstream(path) << "# KURVALUX\n\n## Minima\n\nTime a *minimum* with `fit-min`.\n\n"
                           "- one\n- two\n";
    QWidget parent;
    ASSERT_TRUE(ShowGuideWindow(&parent, path));
    auto* browser = parent.findChild<QTextBrowser*>("UsersGuideText");
    ASSERT_NE(browser, nullptr);
    // Rendered, not shown as source: no '#', '*' or back-ticks left in the text.
    EXPECT_EQ(browser->toPlainText().toStdString(),
              "KURVALUX\nMinima\nTime a minimum with fit-min.\none\ntwo");
    EXPECT_EQ(browser->window()->windowTitle().toStdString(), "User's Guide");
    EXPECT_FALSE(browser->window()->isModal());

    EXPECT_FALSE(ShowGuideWindow(&parent, folder.filePath("missing.md").toStdString()));
    EXPECT_EQ(parent.findChildren<QTextBrowser*>().size(), 1);
}

TEST(GuideWindow, TheProgramsOwnGuideRendersWithItsHeadings) {
    QWidget parent;
    ASSERT_TRUE(ShowGuideWindow(&parent, KURVALUX_SOURCE_DIR "/app/users_guide.md"));
    auto* browser = parent.findChild<QTextBrowser*>("UsersGuideText");
    ASSERT_NE(browser, nullptr);
    const QString text = browser->toPlainText();
    EXPECT_TRUE(text.startsWith("KURVALUX")) << text.left(80).toStdString();
    EXPECT_FALSE(text.contains("\n## ")) << "headings left as source";
}

}  // namespace
}  // namespace kurvalux_app
