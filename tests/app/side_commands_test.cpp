// The side-text, levelling and import commands in the window: the dialog titles, the
// questions, the clipboard and what becomes of the field.
#include <QApplication>
#include <QClipboard>

#include "app/commands.h"
#include "app/kurvalux_pane.h"
#include "platform/files.h"
#include "window_fixture.h"

namespace kurvalux_app {
namespace {

using kurvalux_platform::MessageAnswer;

TEST_F(WindowTest, SeriesOffsetsThroughFilesAndTheClipboard) {
    ASSERT_TRUE(OpenTestField());
    window_->Pane()->SelectObject(0);
    auto& object = *window_->GetField().objects[0];
    ASSERT_EQ(object.SeriesCount(), 2u);
    object.series[1]->offset = 0.25;

    file_answers_.push_back(Path("offsets.txt"));
    ASSERT_TRUE(window_->Dispatch(kCmdSaveSeriesOffsets));
    ASSERT_EQ(file_requests_.size(), 1u);
    EXPECT_EQ(file_requests_[0].request, FileRequest::kSaveSideText);
    EXPECT_EQ(file_requests_[0].suggested, "Save series offsets");
    std::string text;
    ASSERT_EQ(kurvalux_platform::ReadWholeFile(Path("offsets.txt"), 4096, text),
              kurvalux_platform::ReadStatus::Ok);
    EXPECT_EQ(text, "KurvaluxSeriesOffsets\r\n2459000 = 0\r\n2459003 = 0.250000\r\n");

    // Clearing asks first; answered Cancel nothing changes.
    boxes_.QueueAnswer(MessageAnswer::Cancel);
    ASSERT_TRUE(window_->Dispatch(kCmdClearSeriesOffsets));
    EXPECT_EQ(object.series[1]->offset, 0.25);
    boxes_.QueueAnswer(MessageAnswer::Ok);
    ASSERT_TRUE(window_->Dispatch(kCmdClearSeriesOffsets));
    EXPECT_EQ(object.series[1]->offset, 0.0);
    EXPECT_TRUE(window_->Modified());

    // Loading asks, then reads the file back.
    boxes_.Clear();
    boxes_.QueueAnswer(MessageAnswer::Yes);
    file_answers_.push_back(Path("offsets.txt"));
    ASSERT_TRUE(window_->Dispatch(kCmdLoadSeriesOffsets));
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{
                              "Question: Offsets of selected object series | will be replaced "
                              "from chosen file. | Do you want to continue?"}));
    EXPECT_EQ(file_requests_.back().suggested, "Load series offsets");
    EXPECT_DOUBLE_EQ(object.series[1]->offset, 0.25);

    // Copy and paste the fit parameters; an empty clipboard is refused.
    object.fit[0] = 11.5;
    ASSERT_TRUE(window_->Dispatch(kCmdCopyFitParameters));
    EXPECT_EQ(QApplication::clipboard()->text().left(38).toStdString(),
              "KurvaluxFitParameters\r\nfit\r\n\tmag0 = 11");
    auto& second = *window_->GetField().objects[1];
    window_->Pane()->SelectObject(1);
    ASSERT_TRUE(window_->Dispatch(kCmdPasteFitParameters));
    EXPECT_EQ(second.fit[0], 11.5);
    QApplication::clipboard()->clear();
    boxes_.Clear();
    ASSERT_TRUE(window_->Dispatch(kCmdPasteFitParameters));
    EXPECT_EQ(BoxTexts(),
              (std::vector<std::string>{"Failed pasting fit paremeters: No text in clipboard"}));
}

TEST_F(WindowTest, LevelAndImport) {
    ASSERT_TRUE(OpenTestField());
    window_->Pane()->SelectObject(0);
    auto& object = *window_->GetField().objects[0];
    boxes_.QueueAnswer(MessageAnswer::Ok);
    ASSERT_TRUE(window_->Dispatch(kCmdLevelByAverage));
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{"Warning: Offsets of selected object series "
                                                    "| will be leveled."}));
    EXPECT_TRUE(window_->Modified());

    const std::string night = folder_.filePath("night3.csv").toStdString();
    ASSERT_TRUE(kurvalux_platform::WriteWholeFile(
        night, "time,mag\n2459010.25,12.5\n2459010.5,99.9\n2459010.75,12.7\n"));
    file_answers_.push_back(night);
    boxes_.Clear();
    ASSERT_TRUE(window_->Dispatch(kCmdImportPhotometry));
    EXPECT_EQ(file_requests_.back().request, FileRequest::kImport);
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{
                              "Photometry imported: plain columns: night3.csv | Added 2 points | "
                              "Skipped 1: magnitude 99 or more"}));
    ASSERT_EQ(object.SeriesCount(), 3u);
    EXPECT_EQ(object.series[2]->Count(), 2u);
    EXPECT_TRUE(kurvalux_platform::FileExists(Path("night3.txt")));
}

}  // namespace
}  // namespace kurvalux_app
