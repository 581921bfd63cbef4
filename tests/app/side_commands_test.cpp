// The side-text, levelling and import commands in the window: the dialog titles, the
// questions, the clipboard and what becomes of the field.
#include <QApplication>
#include <QClipboard>

#include "app/commands.h"
#include "app/form_dialog.h"
#include "app/kurvalux_pane.h"
#include "data/heliocentric.h"
#include "import/light_curve_fits.h"
#include "platform/files.h"
#include "time/time_standards.h"
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
    scripts_.push_back([](QDialog&) { return int(QDialog::Accepted); });  // options as offered
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

TEST_F(WindowTest, ImportOptionsChooseTheColumnAndSplitASector) {
    ASSERT_TRUE(OpenTestField());
    // The object without series: flux cannot join the magnitudes of the other.
    window_->Pane()->SelectObject(1);
    auto& object = *window_->GetField().objects[1];
    ASSERT_EQ(object.SeriesCount(), 0u);
    // Two TESS orbits of two-minute cadences, a day and a half apart, one cadence flagged.
    kurvalux_test::LightCurve lc;
    for (int i = 0; i < 40; ++i)
        lc.cadences.push_back({1325.3 + i / 720.0, 1000.0 + i, 2, 1500, 0});
    for (int i = 0; i < 30; ++i)
        lc.cadences.push_back({1327.0 + i / 720.0, 1000.0 - i, 2, 1500, 0});
    lc.cadences[5].quality = 32;
    const std::string sector = Path("sector.fits");
    ASSERT_EQ(kurvalux_test::WriteLightCurve(sector, lc), 0);

    // The options are asked after the file is chosen; cancelled, nothing is imported.
    file_answers_.push_back(sector);
    boxes_.Clear();
    ASSERT_TRUE(window_->Dispatch(kCmdImportPhotometry));
    EXPECT_EQ(dialog_titles_, (std::vector<std::string>{"Import Photometry Options"}));
    EXPECT_TRUE(Boxes().empty());
    EXPECT_EQ(object.SeriesCount(), 0u);
    EXPECT_FALSE(window_->Modified());

    file_answers_.push_back(sector);
    scripts_.push_back([](QDialog& dialog) {
        auto& form = dynamic_cast<CFormDialog&>(dialog);
        EXPECT_EQ(form.ChoiceText("Time kind:").toStdString(), "as the file says");
        EXPECT_EQ(form.Real("Split at gaps longer than (hours):"), 0.0);
        form.SetBoxText("Target column:", " SAP_FLUX ");
        form.SetBoxText("Filter:", "TESS-SAP");
        form.SetBoxText("Split at gaps longer than (hours):", "12");
        return int(QDialog::Accepted);
    });
    ASSERT_TRUE(window_->Dispatch(kCmdImportPhotometry));
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{
                              "Photometry imported: TESS/Kepler light-curve FITS: sector.fits | "
                              "Added 39 points (TIC 150428135 TESS-SAP), times converted BJD_TDB "
                              "to HJD_UTC | Added 30 points (TIC 150428135 TESS-SAP), times "
                              "converted BJD_TDB to HJD_UTC | Skipped 1: quality flag set"}));
    ASSERT_EQ(object.SeriesCount(), 2u);
    const auto& first = *object.series[0];
    const auto& second = *object.series[1];
    EXPECT_EQ(first.Count(), 39u);
    EXPECT_EQ(second.Count(), 30u);
    // The simple-aperture flux is 1500 throughout: relative flux 1, which the PDC flux is not.
    EXPECT_EQ(first.values[0], 1.0);
    EXPECT_EQ(second.values[29], 1.0);
    // On the field's axis: the HJD_UTC of each BJD_TDB, by ERFA and the field's formula.
    const double ra = 97.0962 * M_PI / 180, dec = -65.5787 * M_PI / 180;
    auto hjd = [&](double btjd) {
        const double utc = *kurvalux_time::ConvertTime(
            2457000 + btjd, kurvalux_time::TimeStandard::kBjdTdb,
            kurvalux_time::TimeStandard::kJdUtc, {ra, dec}, std::nullopt);
        return kurvalux_data::HeliocentricJD(utc, kurvalux_data::StarDirection(ra, dec));
    };
    EXPECT_NEAR(first.FirstTime(), hjd(1325.3), 1e-8);
    EXPECT_NEAR(second.LastTime(), hjd(1327.0 + 29 / 720.0), 1e-8);
    EXPECT_TRUE(kurvalux_platform::FileExists(Path("sector_TIC_150428135_TESS-SAP.txt")));
    EXPECT_TRUE(kurvalux_platform::FileExists(Path("sector_TIC_150428135_TESS-SAP_2.txt")));
    EXPECT_TRUE(window_->Modified());
}

}  // namespace
}  // namespace kurvalux_app
