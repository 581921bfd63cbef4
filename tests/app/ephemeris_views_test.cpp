// The ephemeris workflow on the desktop, on the example field: the "O−C" tab with its fit and
// "Apply ephemeris", the "Prediction" tab from the present, the site dialog, and the planner
// window with its filters, sorting, double click and export. The clock is fixed at 2025
// October 22, 0h UT and the time zone is UTC, so the texts are exact.
//
// With KURVALUX_SCREENSHOTS set to a folder, the tabs and the planner are also grabbed there
// as PNG images.
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QTableWidget>
#include <QTreeWidget>
#include <cstdlib>
#include <ctime>

#include "app/commands.h"
#include "app/kurvalux_pane.h"
#include "app/oc_view.h"
#include "app/planner_view.h"
#include "app/prediction_view.h"
#include "app/site_dialog.h"
#include "lc/oc_pane.h"
#include "lc/prediction_pane.h"
#include "plan/night_chart.h"
#include "tests/app/window_fixture.h"

namespace kurvalux_app {
namespace {

constexpr double kNow = 2460970.5;  // 2025-10-22 00:00 UT

class EphemerisViews : public WindowTest {
protected:
    void SetUp() override {
        const char* tz = std::getenv("TZ");
        had_tz_ = tz != nullptr;
        if (tz) old_tz_ = tz;
        setenv("TZ", "UTC0", 1);
        tzset();
        WindowTest::SetUp();
        window_->GetSettings().root_path = KURVALUX_SOURCE_DIR "/examples/demo";
        ASSERT_TRUE(window_->OpenField(KURVALUX_SOURCE_DIR "/examples/demo/demo.kvf"));
        window_->resize(1200, 800);
        Prediction().clock = [] { return kNow; };
    }
    void TearDown() override {
        window_.reset();
        if (had_tz_)
            setenv("TZ", old_tz_.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    CKurvaluxPane& Pane() { return *window_->Pane(); }
    kurvalux_pre::CPredictionPane& Prediction() { return *Pane().Prediction(); }
    int IndexOf(const std::string& name) {
        const auto& objects = window_->GetField().objects;
        for (size_t i = 0; i < objects.size(); ++i)
            if (objects[i]->name == name) return static_cast<int>(i);
        return -1;
    }
    void Grab(QWidget* widget, const char* name) {
        const char* folder = std::getenv("KURVALUX_SCREENSHOTS");
        if (!folder) return;
        widget->show();
        QApplication::processEvents();
        widget->grab().save(QString(folder) + "/" + name + ".png");
    }
    bool had_tz_ = false;
    std::string old_tz_;
};

TEST_F(EphemerisViews, TabsAreNamed) {
    QTabWidget* tabs = Pane().Tabs();
    ASSERT_EQ(tabs->count(), kTabCount);
    EXPECT_EQ(tabs->tabText(kTabOC).toStdString(), "O−C");
    EXPECT_EQ(tabs->tabText(kTabPrediction).toStdString(), "Prediction");
}

// WASP-12's four transits against the field's ephemeris (the same as kurvalux-cli oc gives).
TEST_F(EphemerisViews, OCTabFitsAndApplies) {
    Pane().SelectObject(IndexOf("WASP-12"));
    Pane().ShowTab(kTabOC);
    COCView& view = *Pane().OCView();
    ASSERT_TRUE(view.Fit().ok);
    const QStringList lines = view.Results()->text().split('\n');
    ASSERT_GE(lines.size(), 3);
    EXPECT_TRUE(lines[0].startsWith("M0 = 2457010.5")) << lines[0].toStdString();
    EXPECT_EQ(lines[1].toStdString(), "P = 1.09139975 ± 0.00004762 d");
    EXPECT_EQ(lines[2].toStdString(), "χ²/dof = 0.263 (4 minima, 2 dof)");
    QTreeWidget* residuals = view.Residuals();
    ASSERT_EQ(residuals->topLevelItemCount(), 4);
    const QTreeWidgetItem* first = residuals->topLevelItem(0);
    EXPECT_EQ(first->text(0).toStdString(), "2259.0");
    EXPECT_EQ(first->text(1).toStdString(), "primary");
    EXPECT_EQ(first->text(2).toStdString(), "2459476.02694");
    EXPECT_EQ(first->text(3).toStdString(), "0.00048");
    EXPECT_EQ(first->text(4).toStdString(), "-0.00098");
    EXPECT_EQ(residuals->headerItem()->text(4).toStdString(), "O−C (d)");
    auto* chart = dynamic_cast<kurvalux_lc::COCPane*>(view.Canvas()->Pane());
    ASSERT_NE(chart, nullptr);
    EXPECT_EQ(chart->CaptionBelow(), "E");
    EXPECT_TRUE(chart->HasFit());
    EXPECT_TRUE(view.ApplyButton()->isEnabled());

    // Minutes against time: the list and the axes follow.
    view.UnitBox()->setCurrentIndex(1);
    view.AxisBox()->setCurrentIndex(1);
    EXPECT_EQ(residuals->headerItem()->text(4).toStdString(), "O−C (min)");
    EXPECT_EQ(residuals->topLevelItem(0)->text(4).toStdString(), "-1.41");
    chart = dynamic_cast<kurvalux_lc::COCPane*>(view.Canvas()->Pane());
    ASSERT_NE(chart, nullptr);
    EXPECT_EQ(chart->CaptionAbove(), "O-C min");
    EXPECT_EQ(chart->CaptionBelow(), "HJD");
    Grab(window_.get(), "oc_tab");

    // A quadratic fit cannot be applied (its M0 and P hold for cycle 0 only).
    view.FitBox()->setCurrentIndex(1);
    EXPECT_EQ(view.Fit().parameters, 3u);
    EXPECT_TRUE(view.Results()->text().contains("dP/dt = "));
    EXPECT_FALSE(view.ApplyButton()->isEnabled());
    view.FitBox()->setCurrentIndex(0);

    // Apply: the fitted M0 and period become the object's, the saved copy stays, the field is
    // modified and the ephemeris bar shows the new M0.
    const kurvalux_analysis::EphemerisFitResult fit = view.Fit();
    kurvalux_data::CObjectListElem& object = *Pane().CurrentObject();
    const double saved_m0 = object.saved_m0, saved_period = object.saved_period;
    EXPECT_FALSE(window_->Modified());
    view.ApplyButton()->click();
    EXPECT_TRUE(window_->Modified());
    EXPECT_DOUBLE_EQ(object.m0, fit.m0);
    EXPECT_DOUBLE_EQ(object.period, fit.period);
    EXPECT_DOUBLE_EQ(object.saved_m0, saved_m0);
    EXPECT_DOUBLE_EQ(object.saved_period, saved_period);
    EXPECT_TRUE(Pane().M0Box()->text().startsWith("2457010.5"))
        << Pane().M0Box()->text().toStdString();
    // Against its own fit the ephemeris fits again with no change.
    EXPECT_NEAR(view.Fit().m0, fit.m0, 1e-8);
    EXPECT_NEAR(view.Fit().period, fit.period, 1e-11);
}

TEST_F(EphemerisViews, OCTabWithoutEphemeris) {
    window_->GetField().objects[static_cast<size_t>(IndexOf("WASP-12"))]->period = 0;
    Pane().SelectObject(IndexOf("WASP-12"));
    Pane().ShowTab(kTabOC);
    EXPECT_EQ(Pane().OCView()->Canvas()->Message().toStdString(),
              "WASP-12 has no ephemeris (M0 and period) to count cycles from");
    EXPECT_FALSE(Pane().OCView()->ApplyButton()->isEnabled());
    EXPECT_EQ(Pane().OCView()->Residuals()->topLevelItemCount(), 0);
}

TEST_F(EphemerisViews, PredictionFromNowAndFromANight) {
    kurvalux_data::Settings& settings = window_->GetSettings();
    settings.prediction_days = 3;
    settings.show_now = true;
    Pane().SelectObject(IndexOf("KVX Demo Algol"));
    Pane().ShowTab(kTabPrediction);
    EXPECT_EQ(Prediction().AxisLabel()->text().toStdString(),
              "From 2025-10-22 00:00 to 2025-10-25 00:00 (now)");
    auto* chart = dynamic_cast<kurvalux_lc::CPredictionPane*>(Prediction().Canvas()->Pane());
    ASSERT_NE(chart, nullptr);
    EXPECT_EQ(chart->Title(), "KVX Demo Algol");
    EXPECT_TRUE(chart->HasCurve());
    EXPECT_TRUE(chart->HasStarAltitude());
    // The now line sits at the left end of the axis; the predicted minima follow the
    // ephemeris, every period from M0 (and half a period later for the secondaries).
    const kurvalux_data::CObjectListElem& algol = *Pane().CurrentObject();
    size_t predicted = 0, now_lines = 0;
    for (const auto& marker : chart->Markers()) {
        if (marker.kind == kurvalux_lc::kMarkerNight) {
            ++now_lines;
            EXPECT_DOUBLE_EQ(marker.time, kNow);
        } else {
            ++predicted;
            const double cycles = (marker.time - algol.m0) / algol.period;
            EXPECT_NEAR(cycles * 2, std::round(cycles * 2), 1e-6);
        }
    }
    EXPECT_EQ(now_lines, 1u);
    // Three days hold at least floor(3 / P) primaries and as many secondaries.
    EXPECT_GE(predicted, 2 * size_t(std::floor(3 / algol.period)));
    EXPECT_LE(predicted, 2 * size_t(std::floor(3 / algol.period) + 1));
    Grab(window_.get(), "prediction_tab");

    Prediction().ShowFrom(kNow + 1.5);
    EXPECT_FALSE(Prediction().FollowsNow());
    EXPECT_EQ(Prediction().AxisLabel()->text().toStdString(),
              "From 2025-10-23 12:00 to 2025-10-26 12:00");
    Prediction().findChild<QPushButton*>("PredictionNow")->click();
    EXPECT_TRUE(Prediction().FollowsNow());
    EXPECT_DOUBLE_EQ(Prediction().AxisStart(), kNow);
}

TEST_F(EphemerisViews, SiteDialogChecksAndStores) {
    std::vector<std::string> problems;
    scripts_.push_back([&problems](QDialog& dialog) {
        auto box = [&](const char* name) { return dialog.findChild<QLineEdit*>(name); };
        box("Latitude")->setText("95");
        dialog.accept();
        problems.push_back(static_cast<CSiteDialog&>(dialog).ProblemLabel()->text().toStdString());
        box("Latitude")->setText("49.2");
        box("PredictionDays")->setText("0");
        dialog.accept();
        problems.push_back(static_cast<CSiteDialog&>(dialog).ProblemLabel()->text().toStdString());
        box("StarAlt")->setText("abc");
        box("PredictionDays")->setText("5");
        dialog.accept();
        problems.push_back(static_cast<CSiteDialog&>(dialog).ProblemLabel()->text().toStdString());
        box("StarAlt")->setText("25");
        box("Longitude")->setText("16.6");
        box("SunAlt")->setText("-15");
        dialog.findChild<QCheckBox*>("ShowNow")->setChecked(true);
        dialog.findChild<QCheckBox*>("ShowSunAlt")->setChecked(false);
        dialog.accept();
        return dialog.result();
    });
    EXPECT_TRUE(Prediction().EditSite());
    EXPECT_EQ(dialog_titles_.back(), "Observing Site");
    ASSERT_EQ(problems.size(), 3u);
    EXPECT_EQ(problems[0], "Latitude must lie between -90 and 90");
    EXPECT_EQ(problems[1], "The prediction length must lie above 0 and at most 366");
    EXPECT_EQ(problems[2], "The star's altitude needs a number");
    const kurvalux_data::Settings& s = window_->GetSettings();
    EXPECT_DOUBLE_EQ(s.longitude, 16.6);
    EXPECT_DOUBLE_EQ(s.latitude, 49.2);
    EXPECT_DOUBLE_EQ(s.star_alt, 25);
    EXPECT_DOUBLE_EQ(s.sun_alt, -15);
    EXPECT_DOUBLE_EQ(s.prediction_days, 5);
    EXPECT_TRUE(s.show_now);
    EXPECT_FALSE(s.show_sun_alt);
    EXPECT_TRUE(s.show_star_alt);
    // The menu's check mark follows the switch set in the dialog.
    ASSERT_NE(window_->Action(kCmdShowNowLine), nullptr);
    EXPECT_TRUE(window_->Action(kCmdShowNowLine)->isChecked());

    // Cancel changes nothing.
    EXPECT_FALSE(Prediction().EditSite());
    EXPECT_DOUBLE_EQ(window_->GetSettings().longitude, 16.6);
}

// Ten nights from 15° E, 50° N with the default limits (the star above 20°, the Sun below
// −12°): 102 minima of the three objects, 8 observable, as kurvalux-cli plan finds.
TEST_F(EphemerisViews, PlannerFiltersSortsAndOpens) {
    kurvalux_data::Settings& settings = window_->GetSettings();
    settings.longitude = 15;
    settings.latitude = 50;
    CPlannerWindow& planner = *Prediction().Planner();
    planner.Nights()->setValue(10);
    planner.MinimumAltitude()->setValue(-90);
    planner.Replan();
    EXPECT_EQ(planner.Minima().size(), 102u);
    EXPECT_EQ(planner.Summary()->text().toStdString(),
              "102 minima of 3 objects, 8 observable, 102 shown");
    QTableWidget* table = planner.Table();
    EXPECT_EQ(table->rowCount(), 102);
    EXPECT_EQ(table->horizontalHeaderItem(4)->text().toStdString(), "Star alt.");
    auto* night = dynamic_cast<kurvalux_plan::CNightChartPane*>(planner.Chart()->Pane());
    ASSERT_NE(night, nullptr);
    night->SetRect({0, 0, 1000, 400});
    night->LayoutAll();
    EXPECT_EQ(night->Rows().size(), 10u);
    EXPECT_EQ(night->Events().size(), 102u);

    planner.OnlyObservable()->setChecked(true);
    EXPECT_EQ(table->rowCount(), 8);
    for (int r = 0; r < table->rowCount(); ++r) {
        EXPECT_EQ(table->item(r, 9)->text().toStdString(), "yes");
        EXPECT_GE(table->item(r, 4)->text().toDouble(), 20.0);
    }
    planner.OnlyObservable()->setChecked(false);
    planner.OnlyPrimaries()->setChecked(true);
    for (int r = 0; r < table->rowCount(); ++r)
        EXPECT_EQ(table->item(r, 1)->text().toStdString(), "primary");
    planner.OnlyPrimaries()->setChecked(false);
    planner.MinimumAltitude()->setValue(30);
    for (int r = 0; r < table->rowCount(); ++r)
        EXPECT_GE(table->item(r, 4)->data(Qt::UserRole).toDouble(), 30.0);
    EXPECT_LT(table->rowCount(), 102);

    // Sorting by the star's altitude is by number: 9.5 before 61.5 (a text sort would not).
    planner.MinimumAltitude()->setValue(-90);
    table->sortByColumn(4, Qt::AscendingOrder);
    for (int r = 1; r < table->rowCount(); ++r)
        EXPECT_LE(table->item(r - 1, 4)->data(Qt::UserRole).toDouble(),
                  table->item(r, 4)->data(Qt::UserRole).toDouble());
    Grab(&planner, "planner");

    // A double click on the highest minimum: its object is selected and the prediction tab
    // shows its night from the local noon before.
    const int last = table->rowCount() - 1;
    const std::string name = table->item(last, 0)->text().toStdString();
    const size_t index = table->item(last, 0)->data(Qt::UserRole + 1).toULongLong();
    emit table->cellDoubleClicked(last, 0);
    EXPECT_EQ(Pane().CurrentObject()->name, name);
    EXPECT_EQ(Pane().Tabs()->currentIndex(), kTabPrediction);
    EXPECT_FALSE(Prediction().FollowsNow());
    EXPECT_DOUBLE_EQ(Prediction().AxisStart(),
                     kurvalux_plan::LocalNoonBefore(planner.Minima()[index].jd));

    // Export: an SVG document of the chart.
    const std::string svg = Path("nights.svg"), png = Path("nights.png");
    EXPECT_TRUE(planner.ExportSvg(svg));
    QFile file(QString::fromStdString(svg));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    EXPECT_TRUE(text.startsWith("<?xml"));
    EXPECT_TRUE(text.contains(">Local time<"));
    EXPECT_TRUE(text.contains(">2025-10-21<"));
    EXPECT_TRUE(planner.ExportPng(png));
    QImage image(QString::fromStdString(png));
    EXPECT_EQ(image.width(), static_cast<int>(settings.export_image_width));
    EXPECT_EQ(image.height(), static_cast<int>(settings.export_image_depth));
}

TEST_F(EphemerisViews, PlannerWithoutSite) {
    window_->GetSettings().latitude = 0;
    CPlannerWindow& planner = *Prediction().Planner();
    planner.Replan();
    EXPECT_TRUE(planner.Minima().empty());
    EXPECT_EQ(planner.Summary()->text().toStdString(),
              "The observing site is not set (longitude or latitude is 0)");
    EXPECT_EQ(planner.Table()->rowCount(), 0);
}

}  // namespace
}  // namespace kurvalux_app
