// The main window driven as the user drives it: loading, the title and status texts, the
// modified flag, the questions before the field is replaced or the window closed, the
// dispatcher's refusals, the object commands and the field statistics.
#include <QAction>
#include <QFileInfo>
#include <QImage>
#include <QMenu>
#include <QPushButton>
#include <QTableWidget>
#include <QTreeWidget>

#include "app/commands.h"
#include "app/dialogs.h"
#include "app/form_dialog.h"
#include "app/kurvalux_pane.h"
#include "tests/app/window_fixture.h"
#include "time/time_standards.h"

namespace kurvalux_app {
namespace {

using kurvalux_platform::MessageAnswer;

TEST_F(WindowTest, LoadedFieldShowsItsPathObjectsAndSeries) {
    EXPECT_EQ(Title(), "KURVALUX - ");
    ASSERT_TRUE(OpenTestField());
    EXPECT_TRUE(Boxes().empty()) << BoxTexts().front();
    EXPECT_EQ(Title(), "KURVALUX - " + Path("test.kvf"));
    EXPECT_FALSE(window_->Modified());
    StatusTexts status = window_->CurrentStatusTexts();
    EXPECT_EQ(status.objects, "2 objects");
    EXPECT_EQ(status.series, "1/2 series");
    EXPECT_EQ(status.modified, "");
    EXPECT_EQ(QFileInfo(QString::fromStdString(status.source)).canonicalFilePath(),
              QFileInfo(QString::fromStdString(Path("night1.txt"))).canonicalFilePath());
    EXPECT_EQ(status.time_system, "Series in HJD");
    window_->Pane()->SelectSeries(1);
    EXPECT_EQ(window_->CurrentStatusTexts().series, "2/2 series");
}

TEST_F(WindowTest, EveryEditMarksTheFieldAtOnceAndSavingClearsIt) {
    ASSERT_TRUE(OpenTestField());
    struct Step {
        int command;
        bool enabled_after;
    } steps[] = {{kCmdDeselectAllSeries, false}, {kCmdSelectAllSeries, true}};
    for (const Step& step : steps) {
        window_->SetModified(false);
        ASSERT_TRUE(window_->Dispatch(step.command));
        EXPECT_EQ(Title(), "KURVALUX - " + Path("test.kvf") + "*") << step.command;
        EXPECT_EQ(window_->CurrentStatusTexts().modified, "Modified");
        for (const auto& s : window_->GetField().objects[0]->series)
            EXPECT_EQ(s->enabled, step.enabled_after);
    }
    ASSERT_TRUE(window_->Dispatch(kCmdSaveField));
    EXPECT_EQ(Title(), "KURVALUX - " + Path("test.kvf"));
    EXPECT_TRUE(QFile::exists(QString::fromStdString(Path("test.bak"))));
    // A command that changes nothing leaves the flag alone.
    ASSERT_TRUE(window_->Dispatch(kCmdSelectAllSeries));
    EXPECT_FALSE(window_->Modified());
}

TEST_F(WindowTest, ReplacingAModifiedFieldAsksFirst) {
    struct Case {
        int command;
        MessageAnswer answer;
        const char* second_line;
        size_t objects_after;
        bool saved;
    } cases[] = {
        {kCmdNewField, MessageAnswer::Cancel, "before starting a new one?", 2, false},
        {kCmdNewField, MessageAnswer::No, "before starting a new one?", 0, false},
        {kCmdNewField, MessageAnswer::Yes, "before starting a new one?", 0, true},
        {kCmdRecentFileFirst, MessageAnswer::Cancel, "before opening a new one?", 2, false},
        {kCmdRecentFileFirst, MessageAnswer::No, "before opening a new one?", 2, false},
    };
    for (const Case& c : cases) {
        ASSERT_TRUE(OpenTestField());
        window_->GetField().objects[0]->comment = "edited";
        window_->MarkModified();
        boxes_.Clear();
        boxes_.QueueAnswer(c.answer);
        ASSERT_TRUE(window_->Dispatch(c.command));
        ASSERT_EQ(Boxes().size(), 1u) << c.command;
        EXPECT_EQ(Boxes()[0].title, "Field Description Modified");
        EXPECT_EQ(Boxes()[0].lines,
                  (std::vector<std::string>{"Do you want to save current field description",
                                            c.second_line,
                                            "Choosing [No] will discard current all changes."}));
        EXPECT_EQ(window_->GetField().objects.size(), c.objects_after);
        // The recent file is the field itself: after No it is read again, without the edit.
        if (c.command == kCmdRecentFileFirst && c.answer == MessageAnswer::No) {
            EXPECT_EQ(window_->GetField().objects[0]->comment, "");
        }
        QFile saved(QString::fromStdString(Path("test.kvf")));
        ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
        EXPECT_EQ(saved.readAll().contains("comment = \"edited\""), c.saved) << c.command;
        // Put the field file back for the next case.
        saved.close();
        QFile::remove(QString::fromStdString(Path("test.kvf")));
        QFile::copy(KURVALUX_TEST_DATA_DIR "/app/test.kvf",
                    QString::fromStdString(Path("test.kvf")));
    }
}

TEST_F(WindowTest, LoadFieldOffersTheFieldFilesAndOpensTheChosenOne) {
    window_->MarkModified();
    boxes_.QueueAnswer(MessageAnswer::No);
    file_answers_.push_back(Path("test.kvf"));
    ASSERT_TRUE(window_->Dispatch(kCmdLoadField));
    ASSERT_EQ(file_requests_.size(), 1u);
    EXPECT_EQ(file_requests_[0].request, FileRequest::kOpenField);
    EXPECT_EQ(window_->Path(), Path("test.kvf"));
    EXPECT_EQ(window_->GetField().objects.size(), 2u);
    // The field heads the recently used files, in the settings and in the "Field" menu.
    ASSERT_FALSE(window_->GetSettings().recent_files.empty());
    EXPECT_EQ(window_->GetSettings().recent_files[0], Path("test.kvf"));
    QList<QAction*> items = window_->FieldMenu()->actions();
    ASSERT_GE(items.size(), 3);
    EXPECT_EQ(items[0]->text().toStdString(), Path("test.kvf"));
    EXPECT_EQ(items[0]->data().toInt(), 60000);
    EXPECT_TRUE(items[1]->isSeparator());
    EXPECT_EQ(items[2]->text().toStdString(), "New Field");
}

TEST_F(WindowTest, SaveAsProposesAFieldFileInsteadOfAnOlderXmlOne) {
    ASSERT_TRUE(OpenTestField());
    file_answers_.push_back(Path("copy"));
    ASSERT_TRUE(window_->Dispatch(kCmdSaveFieldAs));
    ASSERT_EQ(file_requests_.size(), 1u);
    EXPECT_EQ(file_requests_[0].request, FileRequest::kSaveField);
    EXPECT_EQ(file_requests_[0].suggested, Path("test.kvf"));
    // A name without extension gets ".kvf".
    EXPECT_EQ(window_->Path(), Path("copy.kvf"));
    EXPECT_TRUE(QFile::exists(QString::fromStdString(Path("copy.kvf"))));
}

TEST_F(WindowTest, ClosingAsksAndOnlyYesCloses) {
    ASSERT_TRUE(OpenTestField());
    window_->show();
    struct Case {
        bool modified;
        MessageAnswer answer;
        bool closes;
        size_t lines;
    } cases[] = {{true, MessageAnswer::No, false, 2},
                 {false, MessageAnswer::No, false, 1},
                 {true, MessageAnswer::Yes, true, 2}};
    for (const Case& c : cases) {
        window_->SetModified(c.modified);
        window_->show();
        boxes_.Clear();
        boxes_.QueueAnswer(c.answer);
        EXPECT_EQ(window_->close(), c.closes);
        ASSERT_EQ(Boxes().size(), 1u);
        EXPECT_EQ(Boxes()[0].title, "Closing of the KURVALUS window");
        EXPECT_EQ(Boxes()[0].lines, CloseQuestion(c.modified));
        EXPECT_EQ(Boxes()[0].lines.size(), c.lines);
        EXPECT_EQ(window_->isVisible(), !c.closes);
    }
}

TEST_F(WindowTest, WebCommandsAreRefusedWithoutASession) {
    ASSERT_TRUE(OpenTestField());
    for (int command : {kCmdWebPublish, kCmdWebUnpublish, kCmdWebSynchronizeObject,
                        kCmdWebSynchronizeField, kCmdWebChangePassword, kCmdWebAddObjects}) {
        boxes_.Clear();
        EXPECT_TRUE(window_->Dispatch(command));
        ASSERT_EQ(Boxes().size(), 1u) << command;
        EXPECT_EQ(Boxes()[0].title, "Web Repository Offline");
        EXPECT_EQ(Boxes()[0].lines,
                  (std::vector<std::string>{"Login to some web repository prior",
                                            "to manipulation with shared objects."}));
    }
    // An unknown command number does nothing at all.
    boxes_.Clear();
    EXPECT_FALSE(window_->Dispatch(4711));
    EXPECT_TRUE(Boxes().empty());
    EXPECT_FALSE(window_->Modified());
}

TEST_F(WindowTest, FieldStatisticsBoxes) {
    ASSERT_TRUE(OpenTestField());
    // Two nights of 121 points 0.12 d long: 0.24 d of observing is 5.76 h, shown as 6.
    const std::vector<std::string> expected = {"Field contains:", "2 objects",  "2 series",
                                               "0 minima",        "242 points", "2 nights",
                                               "6 obs. hours"};
    for (int command : {kCmdStatisticsAll, kCmdStatisticsShort}) {
        boxes_.Clear();
        ASSERT_TRUE(window_->Dispatch(command));
        ASSERT_EQ(Boxes().size(), 1u);
        EXPECT_EQ(Boxes()[0].title, "Statistics of Field");
        EXPECT_EQ(Boxes()[0].lines, expected);
    }
}

TEST_F(WindowTest, ObjectsAreAddedRenamedSortedAndRemoved) {
    ASSERT_TRUE(OpenTestField());
    auto name_script = [](const char* name) {
        return [name](QDialog& dialog) {
            static_cast<CFormDialog&>(dialog).SetBoxText("Object name:", name);
            static_cast<CFormDialog&>(dialog).SetBoxText("Photometry folder:", "");
            return static_cast<int>(QDialog::Accepted);
        };
    };
    // An empty name is refused and the dialog comes again; Cancel ends the command.
    scripts_.push_back(name_script("  "));
    ASSERT_TRUE(window_->Dispatch(kCmdAddObject));
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{"Add Object: The object needs a name."}));
    EXPECT_EQ(window_->GetField().objects.size(), 2u);
    EXPECT_FALSE(window_->Modified());

    scripts_.push_back(name_script("Alpha Star"));
    ASSERT_TRUE(window_->Dispatch(kCmdAddObject));
    ASSERT_EQ(window_->GetField().objects.size(), 3u);
    EXPECT_EQ(window_->GetField().objects[2]->name, "Alpha Star");
    EXPECT_EQ(window_->Pane()->CurrentObjectIndex(), 2);
    EXPECT_TRUE(window_->Modified());

    window_->Pane()->SelectObject(1);
    scripts_.push_back(name_script("Beta Star"));
    ASSERT_TRUE(window_->Dispatch(kCmdInsertObject));
    EXPECT_EQ(window_->GetField().objects[1]->name, "Beta Star");
    EXPECT_EQ(window_->GetField().objects[2]->name, "Empty Star");

    scripts_.push_back(name_script("Zeta Star"));
    ASSERT_TRUE(window_->Dispatch(kCmdRenameObject));
    EXPECT_EQ(window_->GetField().objects[1]->name, "Zeta Star");

    ASSERT_TRUE(window_->Dispatch(kCmdSortByName));
    std::vector<std::string> names;
    for (const auto& o : window_->GetField().objects) names.push_back(o->name);
    EXPECT_EQ(names,
              (std::vector<std::string>{"Alpha Star", "Empty Star", "Test Binary", "Zeta Star"}));
    // The renamed object stays selected after the sort.
    EXPECT_EQ(window_->Pane()->CurrentObjectIndex(), 3);

    boxes_.Clear();
    boxes_.QueueAnswer(MessageAnswer::No);
    ASSERT_TRUE(window_->Dispatch(kCmdRemoveObject));
    EXPECT_EQ(window_->GetField().objects.size(), 4u);
    boxes_.QueueAnswer(MessageAnswer::Yes);
    ASSERT_TRUE(window_->Dispatch(kCmdRemoveObject));
    EXPECT_EQ(window_->GetField().objects.size(), 3u);
    EXPECT_EQ(BoxTexts()[0],
              "Remove Object: Do you want to remove the object | Zeta Star from the field?");
}

TEST_F(WindowTest, RescansReportWhatTheyFound) {
    ASSERT_TRUE(OpenTestField());
    ASSERT_TRUE(window_->Dispatch(kCmdScanFileSeries));
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{
                              "(Re)Scan of series files: 2 series read again | 0 new series "
                              "added | 0 series removed"}));
    EXPECT_FALSE(window_->Modified());
    // A night whose file vanished stays in the field, unavailable; nothing was lost, so the
    // description did not change.
    ASSERT_TRUE(QFile::remove(QString::fromStdString(Path("night2.txt"))));
    boxes_.Clear();
    ASSERT_TRUE(window_->Dispatch(kCmdScanEntireField));
    ASSERT_EQ(BoxTexts().size(), 2u);
    EXPECT_EQ(Boxes()[0].title, "Error");
    EXPECT_EQ(Boxes()[0].lines[0], "Cannot load series photometry data:");
    EXPECT_EQ(BoxTexts()[1],
              "(Re)Scan of series files: 1 series read again | 0 new series "
              "added | 0 series removed | 1 series unavailable");
    EXPECT_EQ(window_->GetField().objects[0]->series.size(), 1u);
    EXPECT_EQ(window_->GetField().objects[0]->unavailable_series.size(), 1u);
    EXPECT_FALSE(window_->Modified());
}

TEST_F(WindowTest, RootDirectoryAndGraphFiles) {
    ASSERT_TRUE(OpenTestField());
    file_answers_.push_back(folder_.path().toStdString());
    ASSERT_TRUE(window_->Dispatch(kCmdRootDirectory));
    EXPECT_EQ(window_->GetSettings().root_path, folder_.path().toStdString());
    kurvalux_data::Settings stored;
    ASSERT_TRUE(kurvalux_data::LoadSettings(Path("kurvalux.ini"), stored));
    EXPECT_EQ(stored.root_path, folder_.path().toStdString());

    window_->show();
    window_->GetSettings().export_image_width = 640;
    window_->GetSettings().export_image_depth = 400;
    file_answers_.push_back(Path("chart.svg"));
    file_answers_.push_back(Path("chart.png"));
    // The SVG is taken at the proposed size with its title; the image at another size and with
    // a title of the user's.
    scripts_.push_back([](QDialog& d) {
        auto& form = static_cast<CFormDialog&>(d);
        EXPECT_EQ(form.Count("Width:"), 640);
        EXPECT_EQ(form.Count("Depth:"), 400);
        EXPECT_TRUE(form.Checked("Include title string"));
        EXPECT_EQ(form.Text("Title:"), "Test Binary");
        form.accept();
        return form.result();
    });
    scripts_.push_back([](QDialog& d) {
        auto& form = static_cast<CFormDialog&>(d);
        form.SetBoxText("Width:", "320");
        form.SetBoxText("Depth:", "200");
        form.SetBoxText("Title:", "Night of 12 May");
        form.accept();
        return form.result();
    });
    ASSERT_TRUE(window_->Dispatch(kCmdSaveGraphSvg));
    ASSERT_TRUE(window_->Dispatch(kCmdSaveGraphBitmap));
    EXPECT_EQ(dialog_titles_, (std::vector<std::string>{"Choose dimensions of exported SVG",
                                                        "Choose dimensions of exported image"}));
    EXPECT_EQ(file_requests_[1].request, FileRequest::kSaveSvg);
    EXPECT_EQ(file_requests_[1].suggested, "Test Binary.svg");
    EXPECT_EQ(file_requests_[2].request, FileRequest::kSaveImage);
    // The second export proposes the folder of the first kind's last use only.
    EXPECT_EQ(file_requests_[2].suggested, "Test Binary.png");
    QFile svg(QString::fromStdString(Path("chart.svg")));
    ASSERT_TRUE(svg.open(QIODevice::ReadOnly));
    QByteArray text = svg.readAll();
    EXPECT_TRUE(text.contains("<svg")) << text.left(200).toStdString();
    EXPECT_TRUE(text.contains("Test Binary"));
    EXPECT_TRUE(text.contains("width=\"640\" height=\"400\""));
    QImage png(QString::fromStdString(Path("chart.png")));
    EXPECT_EQ(png.size(), QSize(320, 200));
    EXPECT_EQ(window_->GetSettings().export_image_width, 320);
    EXPECT_EQ(window_->GetSettings().export_image_depth, 200);
    EXPECT_TRUE(Boxes().empty());
    EXPECT_EQ(window_->GetSettings().last_chart_svg_export_path, folder_.path().toStdString());

    // Without the title string the SVG carries no text of the object's name in its title line.
    file_answers_.push_back(Path("plain.svg"));
    scripts_.push_back([](QDialog& d) {
        auto& form = static_cast<CFormDialog&>(d);
        form.SetChecked("Include title string", false);
        form.accept();
        return form.result();
    });
    ASSERT_TRUE(window_->Dispatch(kCmdSaveGraphSvg));
    QFile plain(QString::fromStdString(Path("plain.svg")));
    ASSERT_TRUE(plain.open(QIODevice::ReadOnly));
    EXPECT_FALSE(plain.readAll().contains(">Test Binary<"));
    EXPECT_TRUE(text.contains(">Test Binary<"));

    // A cancelled size dialog writes nothing; an unknown extension is refused.
    file_answers_.push_back(Path("cancelled.svg"));
    ASSERT_TRUE(window_->Dispatch(kCmdSaveGraphSvg));
    EXPECT_FALSE(QFile::exists(QString::fromStdString(Path("cancelled.svg"))));
    file_answers_.push_back(Path("chart.xyz"));
    scripts_.push_back([](QDialog& d) {
        d.accept();
        return d.result();
    });
    ASSERT_TRUE(window_->Dispatch(kCmdSaveGraphBitmap));
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{
                              "Error: Wrong or missing file name extension, | cannot determine "
                              "target image format. | Image not saved."}));
    EXPECT_FALSE(QFile::exists(QString::fromStdString(Path("chart.xyz"))));
}

TEST_F(WindowTest, SavingAGraphWithoutAChartIsRefused) {
    // No field: no object and so no chart on the current tab.
    ASSERT_TRUE(window_->Dispatch(kCmdSaveGraphBitmap));
    ASSERT_TRUE(window_->Dispatch(kCmdSaveGraphSvg));
    const std::string refusal =
        "Error: The selected Tab does not contain chart | Cannot export chart as image";
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{refusal, refusal}));
    EXPECT_TRUE(file_requests_.empty());
    EXPECT_TRUE(dialog_titles_.empty());
}

TEST_F(WindowTest, ANewObjectTakesThePhotometryOfItsFolder) {
    const std::string folder = folder_.path().toStdString();
    scripts_.push_back([&](QDialog& d) {
        auto& form = static_cast<CFormDialog&>(d);
        form.SetBoxText("Object name:", "Folder Star");
        // "Choose folder..." asks for a folder and fills the box.
        file_answers_.push_back(folder);
        for (QPushButton* button : form.findChildren<QPushButton*>())
            if (button->text() == "Choose folder...") button->click();
        EXPECT_EQ(form.Text("Photometry folder:"), folder);
        form.SetBoxText("File names:", "night?.txt");
        return static_cast<int>(QDialog::Accepted);
    });
    ASSERT_TRUE(window_->Dispatch(kCmdAddObject));
    ASSERT_EQ(window_->GetField().objects.size(), 1u);
    const kurvalux_data::CObjectListElem& object = *window_->GetField().objects[0];
    EXPECT_EQ(object.absolute_path, folder);
    EXPECT_EQ(object.file_names, "night?.txt");
    ASSERT_EQ(object.series.size(), 2u);
    EXPECT_EQ(object.series[0]->FirstTime(), 2459000.44);
    EXPECT_EQ(file_requests_[0].request, FileRequest::kFolder);
    EXPECT_EQ(window_->CurrentStatusTexts().series, "1/2 series");
}

TEST_F(WindowTest, CheckItemsToggleTheirSettings) {
    struct Case {
        int command;
        bool kurvalux_data::Settings::*setting;
        const char* key;
    } cases[] = {
        {kCmdAutoAcceptM0Period, &kurvalux_data::Settings::auto_accept_m0_period,
         "AutoAcceptM0Period"},
        {kCmdShowMinima, &kurvalux_data::Settings::show_minima, "ShowMinima"},
        {kCmdShowDeviation, &kurvalux_data::Settings::show_dev, "ShowDev"},
        {kCmdShowNowLine, &kurvalux_data::Settings::show_now, "ShowNow"},
        {kCmdShowTimeLine, &kurvalux_data::Settings::show_time, "ShowTime"},
        {kCmdAccurateHeliocentric, &kurvalux_data::Settings::accurate_heliocentric,
         "AccurateHeliocentricConversion"},
    };
    for (const Case& c : cases) {
        bool before = window_->GetSettings().*c.setting;
        ASSERT_TRUE(window_->Dispatch(c.command));
        EXPECT_EQ(window_->GetSettings().*c.setting, !before) << c.key;
        EXPECT_EQ(window_->Action(c.command)->isChecked(), !before) << c.key;
        // Written at once to the settings file.
        kurvalux_data::Settings stored;
        ASSERT_TRUE(kurvalux_data::LoadSettings(Path("kurvalux.ini"), stored));
        EXPECT_EQ(stored.*c.setting, !before) << c.key;
    }
}

TEST_F(WindowTest, TheListOfMinimaGivesEachTimeInBjdTdb) {
    ASSERT_TRUE(OpenTestField());
    kurvalux_data::CObjectListElem& object = *window_->GetField().objects[0];
    object.series[0]->minima = {{kurvalux_data::kMinimumPrimary, 2459000.5, 0.0001, true},
                                {kurvalux_data::kMinimumSecondary, 2459000.87, 0.0002, false}};
    const double ra = 1.2, dec = 0.7;
    std::vector<std::vector<std::string>> rows;
    std::string copied_header;
    auto read_table = [&](QDialog& d) {
        auto& dialog = static_cast<CMinimaListDialog&>(d);
        QTableWidget* table = dialog.Table();
        rows.clear();
        for (int r = 0; r < table->rowCount(); ++r) {
            rows.emplace_back();
            for (int c = 0; c < table->columnCount(); ++c)
                rows.back().push_back(table->item(r, c) ? table->item(r, c)->text().toStdString()
                                                        : "");
        }
        copied_header = dialog.TableText().section('\n', 0, 0).toStdString();
        return static_cast<int>(QDialog::Accepted);
    };
    // Without the star's position only the stored time can be given.
    scripts_.push_back(read_table);
    ASSERT_TRUE(window_->Dispatch(kCmdListOfMinima));
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(copied_header, "Series\tType\tTime\tStandard\tBJD_TDB\tError\tCycle\tO-C\tIn use");
    EXPECT_EQ(rows[0], (std::vector<std::string>{"1", "Primary", "2459000.500000", "HJD_UTC", "-",
                                                 "0.000100", "0.0", "0", "yes"}));
    EXPECT_EQ(rows[1][3], "HJD_UTC");
    EXPECT_EQ(rows[1][8], "no");

    object.meta_data.var.star_ra = ra;
    object.meta_data.var.star_dec = dec;
    scripts_.push_back(read_table);
    ASSERT_TRUE(window_->Dispatch(kCmdListOfMinima));
    ASSERT_EQ(rows.size(), 2u);
    const kurvalux_time::Site site{window_->GetSettings().longitude,
                                   window_->GetSettings().latitude, 0.0};
    for (size_t i = 0; i < 2; ++i) {
        const double stored = i == 0 ? 2459000.5 : 2459000.87;
        const auto bjd =
            kurvalux_time::ConvertTime(stored, kurvalux_time::TimeStandard::kHjdUtc,
                                       kurvalux_time::TimeStandard::kBjdTdb, {ra, dec}, site);
        ASSERT_TRUE(bjd.has_value());
        EXPECT_NEAR(std::stod(rows[i][4]), *bjd, 2e-8) << i;
        // HJD_UTC and BJD_TDB differ by the 69.184 s of TT - UTC and the Sun's barycentric
        // wobble (a few seconds at most).
        const double seconds = (std::stod(rows[i][4]) - stored) * 86400.0;
        EXPECT_GT(seconds, 60.0);
        EXPECT_LT(seconds, 78.0);
    }
}

TEST_F(WindowTest, MinimaCommandsWorkOnTheSelectedMinimum) {
    ASSERT_TRUE(OpenTestField());
    kurvalux_data::CObjectListElem& object = *window_->GetField().objects[0];
    object.series[0]->minima = {{kurvalux_data::kMinimumPrimary, 2459000.5, 0.0001, true},
                                {kurvalux_data::kMinimumSecondary, 2459000.87, 0.0002, true}};
    window_->Pane()->RefreshObject();
    // Without a minimum chosen in the tree both commands say so.
    for (int command : {kCmdMinimumParameters, kCmdRemoveMinimum}) {
        boxes_.Clear();
        ASSERT_TRUE(window_->Dispatch(command));
        ASSERT_EQ(Boxes().size(), 1u);
        EXPECT_EQ(Boxes()[0].lines,
                  (std::vector<std::string>{"Select a minimum in the series tree first"}));
    }
    window_->Pane()->SelectMinimum(0, 1);
    scripts_.push_back([](QDialog& d) {
        auto& form = static_cast<CFormDialog&>(d);
        EXPECT_EQ(form.ChoiceText("Type:").toStdString(), "Secondary");
        EXPECT_EQ(form.Text("Time:"), "2459000.870000");
        form.SetChoice("Type:", 0);
        form.SetBoxText("Time:", "2459000.25");
        form.SetChecked("Use minimum", false);
        return static_cast<int>(QDialog::Accepted);
    });
    ASSERT_TRUE(window_->Dispatch(kCmdMinimumParameters));
    // Edited and moved to its place in time order.
    ASSERT_EQ(object.series[0]->minima.size(), 2u);
    EXPECT_EQ(object.series[0]->minima[0],
              (kurvalux_data::CMinimaListElem{kurvalux_data::kMinimumUndefined, 2459000.25, 0.0002,
                                              false}));
    EXPECT_TRUE(window_->Modified());

    ASSERT_TRUE(window_->Dispatch(kCmdSelectAllMinima));
    EXPECT_TRUE(object.series[0]->minima[0].enabled);
    ASSERT_TRUE(window_->Dispatch(kCmdDeselectAllMinima));
    EXPECT_FALSE(object.series[0]->minima[1].enabled);

    window_->Pane()->SelectMinimum(0, 1);
    boxes_.Clear();
    boxes_.QueueAnswer(MessageAnswer::Yes);
    ASSERT_TRUE(window_->Dispatch(kCmdRemoveMinimum));
    EXPECT_EQ(BoxTexts(),
              (std::vector<std::string>{"Remove minimum: Do you want to remove the minimum | "
                                        "2459000.500000 of series 1?"}));
    ASSERT_EQ(object.series[0]->minima.size(), 1u);
    EXPECT_EQ(object.series[0]->minima[0].time, 2459000.25);
}

TEST_F(WindowTest, SeriesSettingsThroughTheirForm) {
    ASSERT_TRUE(OpenTestField());
    scripts_.push_back([](QDialog& d) {
        auto& form = static_cast<CFormDialog&>(d);
        EXPECT_EQ(d.windowTitle().toStdString(), "Series 2");
        EXPECT_EQ(form.Text("Series offset [Mag]:"), "0");
        form.SetBoxText("Series offset [Mag]:", "-0.125");
        form.SetBoxText("Filter:", "Rc");
        form.SetChoice("JD type:", 2);
        return static_cast<int>(QDialog::Accepted);
    });
    window_->Pane()->EditSeries(1);
    const kurvalux_data::CSeriesTreeElem& series = *window_->GetField().objects[0]->series[1];
    EXPECT_EQ(series.offset, -0.125);
    EXPECT_EQ(series.meta_data.filter, "Rc");
    EXPECT_EQ(series.meta_data.jd_type, kurvalux_data::kJdHeliocentric);
    EXPECT_TRUE(series.enabled);
    EXPECT_TRUE(window_->Modified());
    // The tree shows the new offset and the series' own filter over the file's.
    QTreeWidgetItem* item = window_->Pane()->SeriesTree()->topLevelItem(1);
    EXPECT_EQ(item->text(1).toStdString(), "-0.125");
    EXPECT_EQ(item->text(2).toStdString(), "Rc");
    // Cancel changes nothing.
    window_->SetModified(false);
    window_->Pane()->EditSeries(1);
    EXPECT_FALSE(window_->Modified());
}

TEST_F(WindowTest, SeriesSelectionByFilter) {
    ASSERT_TRUE(OpenTestField());
    kurvalux_data::CObjectListElem& object = *window_->GetField().objects[0];
    object.series[1]->meta_data.filter = "R";
    scripts_.push_back([](QDialog& d) {
        auto& form = static_cast<CFormDialog&>(d);
        // The filters of the object's series, in name order.
        EXPECT_EQ(form.ChoiceText("Filter:").toStdString(), "R");
        form.SetChoice("Filter:", 1);
        return static_cast<int>(QDialog::Accepted);
    });
    ASSERT_TRUE(window_->Dispatch(kCmdSelectSeriesByFilter));
    EXPECT_EQ(dialog_titles_, (std::vector<std::string>{"Select series by filter"}));
    EXPECT_TRUE(object.series[0]->enabled);   // V
    EXPECT_FALSE(object.series[1]->enabled);  // R
    EXPECT_TRUE(window_->Modified());
}

}  // namespace
}  // namespace kurvalux_app
