// The user's data in the window: a field whose photometry files are partly missing (one report
// instead of a box per series, the offer to look for the files, the greyed series in the
// tree, a save that keeps them, their removal on request), and objects added on a folder
// that holds no photometry.
#include <QDialog>
#include <QDir>
#include <QTreeWidget>

#include "app/commands.h"
#include "app/form_dialog.h"
#include "app/kurvalux_pane.h"
#include "data/field_file.h"
#include "platform/files.h"
#include "window_fixture.h"

namespace kurvalux_app {
namespace {

using kurvalux_platform::MessageAnswer;
using kurvalux_platform::MessageButtons;

class UnavailableSeriesTest : public WindowTest {
protected:
    // Moves night2.txt of the test field one folder down, out of the field's reach.
    void MoveSecondNight() {
        ASSERT_TRUE(QDir(folder_.path()).mkpath("moved/away"));
        ASSERT_TRUE(QFile::rename(folder_.filePath("night2.txt"),
                                  folder_.filePath("moved/away/night2.txt")));
    }
    std::string Missing() const { return Path("night2.txt"); }
};

TEST_F(UnavailableSeriesTest, OneReportAfterLoadingThenTheFilesAreLookedFor) {
    MoveSecondNight();
    boxes_.QueueAnswer(MessageAnswer::Yes);
    file_answers_.push_back(Path("moved"));
    ASSERT_TRUE(OpenTestField());
    ASSERT_EQ(Boxes().size(), 2u);
    EXPECT_EQ(Boxes()[0].title, "Field Loaded with Problems");
    EXPECT_EQ(Boxes()[0].buttons, MessageButtons::YesNo);
    EXPECT_EQ(Boxes()[0].lines,
              (std::vector<std::string>{
                  "Cannot load series photometry data: " + Missing() + " " +
                      ("Cannot open file: " + Missing()).substr(0, 79) +
                      " Series kept as unavailable until its file is found",
                  "1 series are kept unavailable: not drawn, not fitted, saved unchanged.",
                  "Locate their files now?"}));
    EXPECT_EQ(file_requests_.back().request, FileRequest::kFolder);
    EXPECT_EQ(BoxTexts()[1],
              "Locate Missing Files: 1 series found again | 0 series still unavailable");
    const auto& star = *window_->GetField().objects[0];
    ASSERT_EQ(star.series.size(), 2u);
    EXPECT_TRUE(star.unavailable_series.empty());
    EXPECT_TRUE(window_->Modified());  // the series has a new path to save
}

TEST_F(UnavailableSeriesTest, GreyedInTheTreeKeptOnSaveAndRemovedOnRequest) {
    const std::string original = folder_.filePath("test.kvf").toStdString();
    MoveSecondNight();
    boxes_.QueueAnswer(MessageAnswer::No);
    ASSERT_TRUE(OpenTestField());
    EXPECT_FALSE(window_->Modified());
    EXPECT_TRUE(file_requests_.empty());

    window_->Pane()->SelectObject(0);
    QTreeWidget* tree = window_->Pane()->SeriesTree();
    ASSERT_EQ(tree->topLevelItemCount(), 2);
    QTreeWidgetItem* greyed = tree->topLevelItem(1);
    EXPECT_EQ(greyed->text(0).toStdString(), "unavailable");
    EXPECT_EQ(greyed->text(5).toStdString(), Missing());
    EXPECT_FALSE(greyed->flags() & Qt::ItemIsEnabled);
    EXPECT_EQ(greyed->toolTip(0).toStdString(), "Unavailable: Cannot open file: " + Missing());

    // Saved, the field still lists the night; nothing was lost.
    const std::string copy = Path("copy.kvf");
    ASSERT_TRUE(window_->SaveFieldTo(copy));
    std::string saved;
    ASSERT_EQ(kurvalux_platform::ReadWholeFile(copy, 1 << 20, saved),
              kurvalux_platform::ReadStatus::Ok);
    EXPECT_NE(saved.find("relative_path = \"night2.txt\""), std::string::npos);

    boxes_.Clear();
    boxes_.QueueAnswer(MessageAnswer::Yes);
    ASSERT_TRUE(window_->Dispatch(kCmdRemoveUnavailableSeries));
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{
                              "Remove Unavailable Series: Do you want to remove the 1 unavailable "
                              "series of Test Binary | with their 0 minima from the field?"}));
    EXPECT_TRUE(window_->GetField().objects[0]->unavailable_series.empty());
    EXPECT_TRUE(window_->Modified());
    EXPECT_EQ(tree->topLevelItemCount(), 1);

    // Nothing left to remove or to look for.
    boxes_.Clear();
    ASSERT_TRUE(window_->Dispatch(kCmdRemoveUnavailableSeries));
    ASSERT_TRUE(window_->Dispatch(kCmdLocateMissingFiles));
    EXPECT_EQ(BoxTexts(),
              (std::vector<std::string>{
                  "Remove Unavailable Series: The object Test Binary has no unavailable series.",
                  "Locate Missing Files: Every series of the field has its photometry file."}));
}

TEST_F(WindowTest, AddObjectSaysWhenTheFolderHoldsNoPhotometry) {
    ASSERT_TRUE(QDir(folder_.path()).mkpath("empty"));
    ASSERT_TRUE(QFile::copy(folder_.filePath("night1.txt"), folder_.filePath("star/n1.txt")) ||
                (QDir(folder_.path()).mkpath("star") &&
                 QFile::copy(folder_.filePath("night1.txt"), folder_.filePath("star/n1.txt"))));
    auto form = [](std::string folder) {
        return [folder](QDialog& dialog) {
            auto& form = static_cast<CFormDialog&>(dialog);
            form.SetBoxText("Object name:", "New Star");
            form.SetBoxText("Photometry folder:", QString::fromStdString(folder));
            return static_cast<int>(QDialog::Accepted);
        };
    };
    // A folder that does not exist, one without photometry, then a good one: the form comes
    // back after each refusal, and only the last gives an object.
    const std::string gone = Path("no-such-folder"), empty = Path("empty");
    scripts_.push_back(form(gone));
    scripts_.push_back(form(empty));
    scripts_.push_back(form(Path("star")));
    ASSERT_TRUE(window_->Dispatch(kCmdAddObject));
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{
                              "Add Object: The photometry folder does not exist: | " + gone,
                              "Add Object: No photometry file in the folder: | " + empty +
                                  " | (file names \"*.txt\", folder key \"\")"}));
    EXPECT_EQ(dialog_titles_.size(), 3u);
    ASSERT_EQ(window_->GetField().objects.size(), 1u);
    EXPECT_EQ(window_->GetField().objects[0]->series.size(), 1u);

    // Cancel after a refusal adds nothing.
    boxes_.Clear();
    scripts_.push_back(form(empty));
    ASSERT_TRUE(window_->Dispatch(kCmdAddObject));
    EXPECT_EQ(BoxTexts().size(), 1u);
    EXPECT_EQ(window_->GetField().objects.size(), 1u);
}

}  // namespace
}  // namespace kurvalux_app
