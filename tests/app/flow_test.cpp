// Work flows through the window: load a field, time a minimum and add it, save, and read the
// saved file back; the refusals of the minimum fit view; the period searches and the filter
// table through their dialogs.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QTimer>
#include <QtTest/QTest>
#include <cmath>

#include "app/commands.h"
#include "app/dialogs.h"
#include "app/form_dialog.h"
#include "app/kurvalux_pane.h"
#include "app/minimum_view.h"
#include "app/phase_fit_view.h"
#include "data/field_file.h"
#include "platform/text.h"
#include "tests/app/window_fixture.h"

namespace kurvalux_app {
namespace {

using kurvalux_platform::MessageAnswer;

TEST_F(WindowTest, LoadFitMinimumAddSaveAndReadBack) {
    ASSERT_TRUE(OpenTestField());
    CKurvaluxPane& pane = *window_->Pane();
    pane.SelectSeries(0);
    pane.ShowTab(kTabMinimum);
    CMinimumView& view = *pane.MinimumView();
    // The window starts as the whole series.
    EXPECT_DOUBLE_EQ(view.LimitFrom(), 2459000.44);
    EXPECT_DOUBLE_EQ(view.LimitTo(), 2459000.56);
    view.SetLimits(2459000.45, 2459000.55);
    view.FitMinimum();
    ASSERT_TRUE(view.Fitted()) << (BoxTexts().empty() ? "" : BoxTexts().front());
    // The synthetic eclipse is centred on 2459000.50000 and its noise pattern is symmetric.
    const double fitted = view.LastFit().time_of_minimum;
    EXPECT_NEAR(fitted, 2459000.5, 2e-4);
    EXPECT_EQ(view.ParameterBox(kurvalux_analysis::kMinTime)->text().toStdString(),
              CMinimumView::BoxText(fitted).toStdString());
    EXPECT_FALSE(window_->Modified());

    view.ErrorBox()->setText("0.00012");
    view.SetMinimumType(kurvalux_data::kMinimumPrimary);
    view.AddMinimum();
    const kurvalux_data::CMinimaList& minima = window_->GetField().objects[0]->series[0]->minima;
    ASSERT_EQ(minima.size(), 1u);
    EXPECT_EQ(minima[0].type, kurvalux_data::kMinimumPrimary);
    EXPECT_EQ(minima[0].time, fitted);
    EXPECT_EQ(minima[0].error, 0.00012);
    EXPECT_TRUE(minima[0].enabled);
    EXPECT_EQ(Title().back(), '*');
    // The new minimum is selected in the series tree.
    int series = -1, index = -1;
    ASSERT_TRUE(pane.CurrentMinimum(series, index));
    EXPECT_EQ(series, 0);
    EXPECT_EQ(index, 0);

    ASSERT_TRUE(window_->Dispatch(kCmdSaveField));
    EXPECT_NE(Title().back(), '*');
    kurvalux_data::Field reread;
    kurvalux_data::FieldLoadOptions options;
    options.bases.field_folder = folder_.path().toStdString();
    kurvalux_platform::CRecordingMessageBoxSink quiet;
    ASSERT_TRUE(kurvalux_data::LoadField(Path("test.kvf"), reread, options, quiet).ok);
    ASSERT_EQ(reread.objects[0]->series[0]->minima.size(), 1u);
    const kurvalux_data::CMinimaListElem& back = reread.objects[0]->series[0]->minima[0];
    EXPECT_EQ(back.type, kurvalux_data::kMinimumPrimary);
    // The file keeps six decimals.
    EXPECT_NEAR(back.time, fitted, 5.1e-7);
    EXPECT_NEAR(back.error, 0.00012, 5.1e-7);
    EXPECT_TRUE(quiet.Records().empty());
}

TEST_F(WindowTest, MinimumViewWalksThePredictedMinimaAndTheSeries) {
    ASSERT_TRUE(OpenTestField());
    CKurvaluxPane& pane = *window_->Pane();
    pane.ShowTab(kTabMinimum);
    CMinimumView& view = *pane.MinimumView();
    // M0 2459000.5, P 0.74, fit time range 0.12 d: from the primary of the first night the
    // next predicted minimum is the secondary half a period on, then the next primary.
    struct Step {
        void (CMinimumView::*move)();
        double centre;
    } steps[] = {{&CMinimumView::NextMinimum, 2459000.87},
                 {&CMinimumView::NextMinimum, 2459001.24},
                 {&CMinimumView::PreviousMinimum, 2459000.87},
                 {&CMinimumView::PreviousMinimum, 2459000.5}};
    for (const Step& step : steps) {
        (view.*step.move)();
        EXPECT_NEAR(view.LimitFrom(), step.centre - 0.06, 1e-9);
        EXPECT_NEAR(view.LimitTo(), step.centre + 0.06, 1e-9);
    }
    view.NextSeries();
    EXPECT_EQ(pane.CurrentSeriesIndex(), 1);
    // Another series starts with its whole span as the window.
    EXPECT_DOUBLE_EQ(view.LimitFrom(), 2459003.40);
    view.NextSeries();
    EXPECT_EQ(pane.CurrentSeriesIndex(), 1);
    view.PreviousSeries();
    EXPECT_EQ(pane.CurrentSeriesIndex(), 0);
}

TEST_F(WindowTest, AnotherFieldStartsTheViewsAfresh) {
    ASSERT_TRUE(OpenTestField());
    CKurvaluxPane& pane = *window_->Pane();
    pane.ShowTab(kTabMinimum);
    pane.SelectSeries(1);
    CMinimumView& view = *pane.MinimumView();
    view.SetLimits(2459003.41, 2459003.51);
    view.FitMinimum();
    ASSERT_TRUE(view.Fitted());
    ASSERT_TRUE(OpenTestField());
    EXPECT_EQ(pane.CurrentObjectIndex(), 0);
    EXPECT_EQ(pane.CurrentSeriesIndex(), 0);
    EXPECT_FALSE(view.Fitted());
    EXPECT_DOUBLE_EQ(view.LimitFrom(), 2459000.44);
    // Removing the object shows the next one with its own first series.
    pane.SelectObject(0);
    boxes_.QueueAnswer(MessageAnswer::Yes);
    ASSERT_TRUE(window_->Dispatch(kCmdRemoveObject));
    EXPECT_EQ(window_->GetField().objects[0]->name, "Empty Star");
    EXPECT_EQ(pane.CurrentSeriesIndex(), -1);
    EXPECT_EQ(window_->CurrentStatusTexts().series, "0/0 series");
}

TEST_F(WindowTest, MinimumViewRefusals) {
    ASSERT_TRUE(OpenTestField());
    CKurvaluxPane& pane = *window_->Pane();
    pane.ShowTab(kTabMinimum);
    CMinimumView& view = *pane.MinimumView();
    struct Step {
        std::function<void()> action;
        std::string box;
    } steps[] = {
        {[&] { view.EstimateError(); },
         "Cannot Estimate Error: Minimum must be properly fitted | prior to error estimation."},
        {[&] { view.AddMinimum(); },
         "Cannot add minimum: Minimum must be properly fitted | prior to adding it to the series."},
        {[&] { view.MinimumToM0(); },
         "Cannot set M0: Minimum must be properly fitted | prior to taking it as M0."},
        // Six points (0.440 ... 0.445) in the window.
        {[&] {
             view.SetLimits(2459000.4399, 2459000.4455);
             view.FitMinimum();
         },
         "Cannot perform minimum fit: At last 7 points needed for fit. | Series contains too "
         "little points."},
    };
    for (const Step& step : steps) {
        boxes_.Clear();
        step.action();
        ASSERT_EQ(BoxTexts().size(), 1u) << step.box;
        EXPECT_EQ(BoxTexts()[0], step.box);
    }
    EXPECT_FALSE(window_->Modified());
    EXPECT_TRUE(window_->GetField().objects[0]->series[0]->minima.empty());
}

TEST_F(WindowTest, MinimumToM0AsksUnlessChangesAreAcceptedAutomatically) {
    ASSERT_TRUE(OpenTestField());
    CKurvaluxPane& pane = *window_->Pane();
    pane.ShowTab(kTabMinimum);
    CMinimumView& view = *pane.MinimumView();
    view.SetLimits(2459000.45, 2459000.55);
    view.FitMinimum();
    ASSERT_TRUE(view.Fitted());
    kurvalux_data::CObjectListElem& object = *window_->GetField().objects[0];
    boxes_.QueueAnswer(MessageAnswer::No);
    view.MinimumToM0();
    EXPECT_EQ(object.m0, 2459000.5);
    ASSERT_EQ(Boxes().size(), 1u);
    EXPECT_EQ(Boxes()[0].title, "Min->M0");
    window_->GetSettings().auto_accept_m0_period = true;
    view.MinimumToM0();
    EXPECT_EQ(object.m0, view.LastFit().time_of_minimum);
    EXPECT_EQ(Boxes().size(), 1u);
    EXPECT_TRUE(window_->Modified());
}

TEST_F(WindowTest, EstimatedErrorFillsTheBoxUnlessFrozen) {
    ASSERT_TRUE(OpenTestField());
    CKurvaluxPane& pane = *window_->Pane();
    pane.ShowTab(kTabMinimum);
    CMinimumView& view = *pane.MinimumView();
    view.SetLimits(2459000.45, 2459000.55);
    view.FitMinimum();
    ASSERT_TRUE(view.Fitted());
    view.EstimateError();
    bool ok = false;
    double error = view.ErrorBox()->text().toDouble(&ok);
    ASSERT_TRUE(ok) << view.ErrorBox()->text().toStdString();
    // 101 points of 2 mmag noise on a 0.5 mag deep eclipse: the minimum is timed to well
    // under a minute, and a bootstrap never finds exactly no spread.
    EXPECT_GT(error, 0.0);
    EXPECT_LT(error, 5e-4);
    view.FreezeError()->setChecked(true);
    view.ErrorBox()->setText("0.1");
    view.EstimateError();
    EXPECT_EQ(view.ErrorBox()->text().toStdString(), "0.1");
}

TEST_F(WindowTest, FitAllMinimaWalksTheSelectedSeriesAndAsksForEachMinimum) {
    ASSERT_TRUE(OpenTestField());
    CKurvaluxPane& pane = *window_->Pane();
    pane.ShowTab(kTabMinimum);
    CMinimumView& view = *pane.MinimumView();
    kurvalux_data::CObjectListElem& object = *window_->GetField().objects[0];

    ASSERT_TRUE(window_->Dispatch(kCmdDeselectAllSeries));
    view.FitAllMinima();
    EXPECT_EQ(BoxTexts(),
              (std::vector<std::string>{"Cannot find minima: No series selected to find minima"}));
    EXPECT_TRUE(dialog_titles_.empty());

    ASSERT_TRUE(window_->Dispatch(kCmdSelectAllSeries));
    window_->SetModified(false);
    boxes_.Clear();
    // M0 2459000.5 and P 0.74 put a primary minimum in each night: 2459003.46 is four cycles on.
    scripts_.push_back([](QDialog& d) {
        auto& form = static_cast<CFormDialog&>(d);
        EXPECT_EQ(form.Text("Period:"), "0.74");
        EXPECT_EQ(form.Text("Time around Primary:"), "0.12");
        form.SetBoxText("Time around Primary:", "0.1");
        return static_cast<int>(QDialog::Accepted);
    });
    boxes_.QueueAnswer(MessageAnswer::Yes);
    boxes_.QueueAnswer(MessageAnswer::No);
    view.FitAllMinima();
    EXPECT_EQ(dialog_titles_, (std::vector<std::string>{"Find all minima in series"}));
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{"Found Minimum: Add Primary minimum?",
                                                    "Found Minimum: Add Primary minimum?"}));
    ASSERT_EQ(object.series[0]->minima.size(), 1u);
    EXPECT_EQ(object.series[0]->minima[0].type, kurvalux_data::kMinimumPrimary);
    EXPECT_NEAR(object.series[0]->minima[0].time, 2459000.5, 2e-4);
    EXPECT_TRUE(object.series[1]->minima.empty());
    // The new time around is kept in the object for the next time.
    EXPECT_EQ(object.primary_fit_time_range, 0.1);
    EXPECT_TRUE(window_->Modified());
}

TEST_F(WindowTest, CancelInFitAllMinimaWithNothingAddedLeavesTheFieldUnmodified) {
    // The dialog taken as offered, or with a new time around; either way the first question
    // is cancelled, nothing is added and the field stays as saved. The new time around is
    // offered again next time.
    const struct {
        const char* name;
        const char* time_around;  // null: the box as offered
        double kept;
    } cases[] = {{"as offered", nullptr, 0.12}, {"new time around", "0.1", 0.1}};
    for (const auto& c : cases) {
        ASSERT_TRUE(OpenTestField());
        boxes_.Clear();
        CKurvaluxPane& pane = *window_->Pane();
        pane.ShowTab(kTabMinimum);
        ASSERT_TRUE(window_->Dispatch(kCmdSelectAllSeries));
        window_->SetModified(false);
        scripts_.push_back([&c](QDialog& d) {
            if (c.time_around)
                static_cast<CFormDialog&>(d).SetBoxText("Time around Primary:", c.time_around);
            return static_cast<int>(QDialog::Accepted);
        });
        boxes_.QueueAnswer(MessageAnswer::Cancel);
        pane.MinimumView()->FitAllMinima();
        const kurvalux_data::CObjectListElem& object = *window_->GetField().objects[0];
        EXPECT_EQ(BoxTexts(), (std::vector<std::string>{"Found Minimum: Add Primary minimum?"}))
            << c.name;
        EXPECT_TRUE(object.series[0]->minima.empty()) << c.name;
        EXPECT_TRUE(object.series[1]->minima.empty()) << c.name;
        EXPECT_FALSE(window_->Modified()) << c.name;
        EXPECT_NE(Title().back(), '*') << c.name;
        EXPECT_DOUBLE_EQ(object.primary_fit_time_range, c.kept) << c.name;
    }
}

TEST_F(WindowTest, PhaseFitOnAWorkerReportsAndShowsTheFittedValues) {
    ASSERT_TRUE(OpenTestField());
    CKurvaluxPane& pane = *window_->Pane();
    pane.ShowTab(kTabPhasedFit);
    CPhaseFitView& view = *pane.PhaseFitView();
    // Both nights cover the primary eclipse: base level, depth and width are free.
    for (size_t i = 0; i < kurvalux_data::kLightCurveParameterCount; ++i)
        view.FitSwitch(i)->setChecked(i == kurvalux_data::kMag0 || i == kurvalux_data::kAPri ||
                                      i == kurvalux_data::kDPri);
    // Reset starts from the model's defaults with the base level at the curve's median.
    view.ResetParameters();
    const double start = view.ParameterBox(kurvalux_data::kMag0)->text().toDouble();
    EXPECT_GT(start, 11.998);
    EXPECT_LT(start, 12.502);
    view.FitParameters();
    ASSERT_EQ(Boxes().size(), 1u);
    EXPECT_EQ(Boxes()[0].title, "Phase curve fitting OK");
    ASSERT_EQ(Boxes()[0].lines.size(), 3u) << BoxTexts()[0];
    EXPECT_EQ(Boxes()[0].lines[0], "Number of data points: 242");
    kurvalux_data::LightCurveParameters fitted{};
    ASSERT_TRUE(view.BoxValues(fitted, false));
    EXPECT_NEAR(fitted[kurvalux_data::kMag0], 12.0, 0.01);
    EXPECT_NE(fitted[kurvalux_data::kAPri], 0.5);
    // Nothing reaches the object until the values are accepted.
    EXPECT_FALSE(window_->GetField().objects[0]->has_fit);
    EXPECT_FALSE(window_->Modified());
}

TEST_F(WindowTest, PhaseFitReportsTheFittersRefusalAndAcceptsIntoTheObject) {
    ASSERT_TRUE(OpenTestField());
    CKurvaluxPane& pane = *window_->Pane();
    pane.ShowTab(kTabPhasedFit);
    CPhaseFitView& view = *pane.PhaseFitView();
    // No free parameter: the fitter's refusal in the failure box.
    for (size_t i = 0; i < kurvalux_data::kLightCurveParameterCount; ++i)
        view.FitSwitch(i)->setChecked(false);
    view.FitParameters();
    ASSERT_EQ(Boxes().size(), 1u);
    EXPECT_EQ(Boxes()[0].title, "Phase curve fitting failed");
    EXPECT_FALSE(window_->Modified());

    view.ParameterBox(kurvalux_data::kMag0)->setText("12.01");
    view.AcceptParameters();
    kurvalux_data::CObjectListElem& object = *window_->GetField().objects[0];
    EXPECT_TRUE(object.has_fit);
    EXPECT_EQ(object.fit[kurvalux_data::kMag0], 12.01);
    EXPECT_TRUE(window_->Modified());
    // With a model drawn its magnitude range can go to the object's description.
    view.CopyMagnitudes();
    EXPECT_NE(object.max_magnitude, kurvalux_data::kUndefinedMagnitude);
    EXPECT_LT(object.max_magnitude, object.min_magnitude);
    EXPECT_EQ(view.MaxMagText().toStdString(),
              kurvalux_platform::FormatFixed(object.max_magnitude, 3));
}

TEST_F(WindowTest, PeriodsFromMinimaNeedThreeMinima) {
    ASSERT_TRUE(OpenTestField());
    ASSERT_TRUE(window_->Dispatch(kCmdPeriodsFromMinima));
    EXPECT_EQ(
        BoxTexts(),
        (std::vector<std::string>{"Cannot find period: At last 3 minima needed to find period"}));
    EXPECT_TRUE(dialog_titles_.empty());
}

TEST_F(WindowTest, PeriodsFromMinimaFillThePeriodBox) {
    ASSERT_TRUE(OpenTestField());
    kurvalux_data::CObjectListElem& object = *window_->GetField().objects[0];
    const double current = object.period;
    // Three primary minima 10 and 20 days apart.
    object.series[0]->minima = {{kurvalux_data::kMinimumPrimary, 2459000.5, 0, true}};
    object.series[1]->minima = {{kurvalux_data::kMinimumPrimary, 2459010.5, 0, true},
                                {kurvalux_data::kMinimumPrimary, 2459020.5, 0, true}};
    scripts_.push_back([](QDialog& d) {
        auto& form = static_cast<CFormDialog&>(d);
        EXPECT_EQ(form.Text("Minimal period [d]:"), "0.1");
        EXPECT_EQ(form.Text("Phase difference limit:"), "0.999");
        EXPECT_EQ(form.Text("Secondary minimum phase:"), "0.5");
        form.SetBoxText("Minimal period [d]:", "2");
        return static_cast<int>(QDialog::Accepted);
    });
    ASSERT_TRUE(window_->Dispatch(kCmdPeriodsFromMinima));
    EXPECT_EQ(dialog_titles_, (std::vector<std::string>{"Find periods from minima instances"}));
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{
                              "Possible periods were found: All found periods fitting defined "
                              "minima | were added as items of period combo-box \"P:\""}));
    // The current period first, then every period that divides 10 d down to the minimal 2 d:
    // all line the minima up exactly (R = 1), so they keep the order the search scores them
    // in, longest period first.
    QComboBox* box = window_->Pane()->PeriodBox();
    ASSERT_EQ(box->count(), 6);
    std::vector<std::string> items;
    for (int i = 0; i < box->count(); ++i) items.push_back(box->itemText(i).toStdString());
    EXPECT_EQ(items, (std::vector<std::string>{"0.7400000", "10.0000000", "5.0000000", "3.3333333",
                                               "2.5000000", "2.0000000"}));
    // The dialog offers the values of its last use.
    scripts_.push_back([](QDialog& d) {
        EXPECT_EQ(static_cast<CFormDialog&>(d).Text("Minimal period [d]:"), "2");
        return static_cast<int>(QDialog::Rejected);
    });
    ASSERT_TRUE(window_->Dispatch(kCmdPeriodsFromMinima));
    EXPECT_EQ(object.period, current);
}

TEST_F(WindowTest, ChoosingAPeriodAsksAndNoKeepsTheCurrentOne) {
    // The user picks the second period of the "P:" box with the arrow key while editing it;
    // the question takes the focus from the box. No keeps the period, Yes takes the new one.
    const struct {
        MessageAnswer answer;
        double period;
        const char* shown;
        bool modified;
    } cases[] = {{MessageAnswer::No, 0.74, "0.7400000", false},
                 {MessageAnswer::Yes, 1.48, "1.4800000", true}};
    for (const auto& c : cases) {
        ASSERT_TRUE(OpenTestField());
        boxes_.Clear();
        kurvalux_data::CObjectListElem& object = *window_->GetField().objects[0];
        object.period = 0.74;
        object.periods = {{0.74, 740, 0}, {1.48, 1480, 1}};
        window_->Pane()->RefreshObject();
        window_->show();
        QApplication::setActiveWindow(window_.get());
        QComboBox* box = window_->Pane()->PeriodBox();
        box->lineEdit()->setFocus();
        ASSERT_TRUE(box->lineEdit()->hasFocus());
        window_->SetModified(false);

        boxes_.QueueAnswer(c.answer);
        QTest::keyClick(box->lineEdit(), Qt::Key_Down);
        EXPECT_EQ(BoxTexts(), (std::vector<std::string>{
                                  "Change of period: Do you want to change the period of the "
                                  "object | to 1.4800000?"}));
        // Leaving the box afterwards changes nothing more.
        box->lineEdit()->clearFocus();
        EXPECT_EQ(object.period, c.period);
        EXPECT_EQ(box->currentText().toStdString(), c.shown);
        EXPECT_EQ(window_->Modified(), c.modified);
        EXPECT_EQ(BoxTexts().size(), 1u);
    }
}

TEST_F(WindowTest, FrequencyAnalysisOffersThreePeriods) {
    ASSERT_TRUE(OpenTestField());
    window_->GetSettings().auto_accept_m0_period = true;
    // A period from an earlier search stays in the list; the new ones follow it.
    window_->GetField().objects[0]->periods = {{5.0, 5000, 1.0}};
    const double current = window_->GetField().objects[0]->period;
    scripts_.push_back([](QDialog& d) {
        auto& form = static_cast<CFormDialog&>(d);
        form.SetBoxText("Minimal period [d]:", "0.5");
        form.SetBoxText("Maximal period [d]:", "1.5");
        form.SetBoxText("Resolution [d]:", "0.001");
        // The count follows the three boxes.
        EXPECT_EQ(form.Text("Number of steps:"), "1000");
        return static_cast<int>(QDialog::Accepted);
    });
    ASSERT_TRUE(window_->Dispatch(kCmdPeriodsByFrequency));
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{
                              "Possible periods were found: Three periods with highest response | "
                              "were added as items of period combo-box \"P:\""}));
    const kurvalux_data::CObjectListElem& object = *window_->GetField().objects[0];
    ASSERT_EQ(object.periods.size(), 5u);
    EXPECT_EQ(object.periods[0].period, current);
    EXPECT_EQ(object.periods[1].period, 5.0);
    // Accepted automatically: the best period found (not the earlier one) is now the object's.
    EXPECT_EQ(object.period, object.periods[2].period);
    QComboBox* box = window_->Pane()->PeriodBox();
    ASSERT_EQ(box->count(), 5);
    EXPECT_EQ(box->itemText(1).toStdString(), "5.0000000");
    EXPECT_NE(object.period, current);
    EXPECT_TRUE(window_->Modified());
}

TEST_F(WindowTest, ACancelledFrequencyAnalysisAddsNothing) {
    ASSERT_TRUE(OpenTestField());
    kurvalux_data::CObjectListElem& object = *window_->GetField().objects[0];
    object.periods = {{5.0, 5000, 1.0}};
    scripts_.push_back([](QDialog& d) {
        auto& form = static_cast<CFormDialog&>(d);
        form.SetBoxText("Minimal period [d]:", "0.1");
        form.SetBoxText("Maximal period [d]:", "20");
        form.SetBoxText("Resolution [d]:", "0.00001");
        // Cancel is pressed as soon as the progress dialog answers.
        QTimer::singleShot(0, [] {
            for (QWidget* w : QApplication::topLevelWidgets())
                if (auto* progress = qobject_cast<CFrequencyProgressDialog*>(w))
                    if (progress->isVisible()) progress->reject();
        });
        return static_cast<int>(QDialog::Accepted);
    });
    ASSERT_TRUE(window_->Dispatch(kCmdPeriodsByFrequency));
    EXPECT_EQ(BoxTexts(),
              (std::vector<std::string>{"Cannot find period: Frequency analysis failed"}));
    ASSERT_EQ(object.periods.size(), 1u);
    EXPECT_EQ(object.periods[0].period, 5.0);
    EXPECT_FALSE(window_->Modified());
}

TEST_F(WindowTest, FilterTableRefusesADuplicateNameAndKeepsANewFilter) {
    // The outer dialog adds two filters; the first name is taken, the second is new.
    std::deque<std::function<int(QDialog&)>> inner;
    auto define = [](const char* name, const char* colour) {
        return [=](QDialog& d) {
            auto& form = static_cast<CFormDialog&>(d);
            EXPECT_EQ(d.windowTitle().toStdString(), "Define filter name and color");
            form.SetBoxText("Filter name:", name);
            form.SetBoxText("Filter color:", colour);
            return static_cast<int>(QDialog::Accepted);
        };
    };
    scripts_.push_back([&](QDialog& d) {
        auto& table = static_cast<CFilterTableDialog&>(d);
        EXPECT_EQ(d.windowTitle().toStdString(), "Edit filter name and color assignments");
        scripts_.push_front(define("Hbeta", "FF00FF00"));
        scripts_.push_front(define("V", "FF123456"));
        table.AddFilter();
        return static_cast<int>(QDialog::Accepted);
    });
    ASSERT_TRUE(window_->Dispatch(kCmdFilterColours));
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{
                              "Filter exists: Found filter of the name: | V | Choose another "
                              "unique name."}));
    const kurvalux_data::FilterTable& filters = window_->GetSettings().filters;
    ASSERT_NE(filters.Find("Hbeta"), nullptr);
    EXPECT_EQ(filters.Find("Hbeta")->colour, 0xFF00FF00u);
    EXPECT_EQ(filters.Find("V")->colour, 0xFF00C000u);
    kurvalux_data::Settings stored;
    ASSERT_TRUE(kurvalux_data::LoadSettings(Path("kurvalux.ini"), stored));
    ASSERT_NE(stored.filters.Find("Hbeta"), nullptr);
}

TEST(ColourHex, TextsOfTheFilterColours) {
    struct Case {
        const char* text;
        bool ok;
        uint32_t colour;
    } cases[] = {{"FF0050FF", true, 0xFF0050FFu},
                 {"ff00c000", true, 0xFF00C000u},
                 {" 7F ", true, 0x7Fu},
                 {"GG", false, 0},
                 {"", false, 0},
                 {"1FFFFFFFF", false, 0}};
    for (const Case& c : cases) {
        uint32_t colour = 0;
        EXPECT_EQ(ParseColourHex(c.text, colour), c.ok) << c.text;
        if (c.ok) {
            EXPECT_EQ(colour, c.colour) << c.text;
        }
    }
    EXPECT_EQ(ColourHex(0xFF0050FFu).toStdString(), "FF0050FF");
    EXPECT_EQ(ColourHex(0x7Fu).toStdString(), "0000007F");
}

}  // namespace
}  // namespace kurvalux_app
