// The chart tabs on the screen: zoom by the tool bar, the wheel and the rubber band, the
// scroll bar of the charts, and a click that picks a point's series.
#include <QScrollBar>
#include <QTest>
#include <cmath>

#include "app/commands.h"
#include "app/kurvalux_pane.h"
#include "tests/app/window_fixture.h"

namespace kurvalux_app {
namespace {

class ChartViewTest : public WindowTest {
protected:
    void SetUp() override {
        WindowTest::SetUp();
        ASSERT_TRUE(OpenTestField());
        window_->resize(1100, 800);
        window_->show();
        window_->Pane()->ShowTab(kTabTime);
        canvas_ = window_->Pane()->Canvas(kTabTime);
        canvas_->Render();
    }
    CChartCanvas* canvas_ = nullptr;
};

TEST_F(ChartViewTest, ToolBarZoomHalvesAndDoublesTheVisibleSpan) {
    const double from = canvas_->DataFrom(), to = canvas_->DataTo();
    ASSERT_EQ(from, 2459000.44);
    ASSERT_EQ(to, 2459003.52);
    EXPECT_FALSE(canvas_->Zoomed());
    ASSERT_TRUE(window_->Dispatch(kCmdZoomIn));
    EXPECT_NEAR(canvas_->VisibleFrom(), from + (to - from) / 4, 1e-9);
    EXPECT_NEAR(canvas_->VisibleTo(), to - (to - from) / 4, 1e-9);
    ASSERT_TRUE(window_->Dispatch(kCmdZoomIn));
    EXPECT_NEAR(canvas_->VisibleTo() - canvas_->VisibleFrom(), (to - from) / 4, 1e-9);
    ASSERT_TRUE(window_->Dispatch(kCmdZoomOut));
    EXPECT_NEAR(canvas_->VisibleTo() - canvas_->VisibleFrom(), (to - from) / 2, 1e-9);
    ASSERT_TRUE(window_->Dispatch(kCmdClearZoom));
    EXPECT_FALSE(canvas_->Zoomed());
    // Zooming out past the data shows all of it.
    ASSERT_TRUE(window_->Dispatch(kCmdZoomOut));
    EXPECT_FALSE(canvas_->Zoomed());
}

TEST_F(ChartViewTest, ScrollBarFollowsTheZoomAndMovesIt) {
    canvas_->ZoomTo(2459001.0, 2459001.5);
    canvas_->Render();
    QScrollBar* bar = qobject_cast<CChartView*>(canvas_->parentWidget())->ScrollBar();
    // s = 5000 / 3.08 d: position (1.0 - 0.44) s + 0.5 and page 0.5 s + 0.5, truncated.
    const double s = 5000 / (2459003.52 - 2459000.44);
    EXPECT_EQ(bar->value(), static_cast<int>((2459001.0 - 2459000.44) * s + 0.5));
    EXPECT_EQ(bar->pageStep(), static_cast<int>(0.5 * s + 0.5));
    EXPECT_EQ(bar->maximum(), 5000 - bar->pageStep());
    EXPECT_EQ(bar->singleStep(), bar->pageStep() / 100);
    bar->setValue(0);
    EXPECT_DOUBLE_EQ(canvas_->VisibleFrom(), 2459000.44);
    EXPECT_NEAR(canvas_->VisibleTo() - canvas_->VisibleFrom(), 0.5, 1e-9);
}

TEST_F(ChartViewTest, RubberBandAndWheelZoomAndAClickPicksTheSeries) {
    const kurvalux_lc::AxisMapping& x = canvas_->Pane()->XMapping();
    const double ratio = canvas_->devicePixelRatioF();
    auto pixel = [&](double t) { return static_cast<int>(std::lround(x.Pixel(t) / ratio)); };
    const int y = canvas_->height() / 2;
    QTest::mousePress(canvas_, Qt::LeftButton, {}, QPoint(pixel(2459000.45), y));
    QTest::mouseMove(canvas_, QPoint(pixel(2459000.55), y));
    QTest::mouseRelease(canvas_, Qt::LeftButton, {}, QPoint(pixel(2459000.55), y));
    ASSERT_TRUE(canvas_->Zoomed());
    // Within a pixel of where the drag began and ended.
    const double pixel_span = (x.upper - x.lower) / x.length * ratio;
    EXPECT_NEAR(canvas_->VisibleFrom(), 2459000.45, pixel_span);
    EXPECT_NEAR(canvas_->VisibleTo(), 2459000.55, pixel_span);

    // The wheel zooms around the pointer: the value under it stays put.
    canvas_->Render();
    const int at = canvas_->width() / 3;
    const double under = canvas_->XAt(at);
    QWheelEvent wheel(QPointF(at, y), canvas_->mapToGlobal(QPointF(at, y)), QPoint(),
                      QPoint(0, 120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(canvas_, &wheel);
    canvas_->Render();
    EXPECT_NEAR(canvas_->XAt(at), under,
                2 * (canvas_->VisibleTo() - canvas_->VisibleFrom()) / canvas_->width());

    // A click on a point of the second night selects that series.
    ASSERT_TRUE(window_->Dispatch(kCmdClearZoom));
    canvas_->Render();
    const auto& plotted = canvas_->Pane()->PlotPoints();
    const auto& points = canvas_->Pane()->Points();
    size_t k = 0;
    while (k < points.size() && points[k].source.series != 1) ++k;
    ASSERT_LT(k, points.size());
    QPoint on(static_cast<int>(std::lround(plotted[k].x / ratio)),
              static_cast<int>(std::lround(plotted[k].y / ratio)));
    EXPECT_EQ(window_->Pane()->CurrentSeriesIndex(), 0);
    QTest::mouseClick(canvas_, Qt::LeftButton, {}, on);
    EXPECT_EQ(window_->Pane()->CurrentSeriesIndex(), 1);
    EXPECT_EQ(window_->CurrentStatusTexts().series, "2/2 series");
}

}  // namespace
}  // namespace kurvalux_app

namespace kurvalux_app {
namespace {

// The example field opens without a box, and every tab of every object draws a chart, or says
// why it cannot (an object without ephemeris has no phased curve).
TEST_F(WindowTest, EveryTabOfTheExampleFieldDraws) {
    ASSERT_TRUE(window_->OpenField(KURVALUX_SOURCE_DIR "/examples/demo/demo.kvf"));
    EXPECT_TRUE(Boxes().empty());
    window_->resize(1100, 800);
    window_->show();
    CKurvaluxPane& pane = *window_->Pane();
    const auto& objects = window_->GetField().objects;
    ASSERT_EQ(objects.size(), 3u);
    for (int o = 0; o < 3; ++o) {
        pane.SelectObject(o);
        const bool ephemeris = objects[o]->m0 != 0 && objects[o]->period != 0;
        for (int tab = 0; tab < kTabCount; ++tab) {
            pane.ShowTab(static_cast<ChartTab>(tab));
            CChartCanvas* canvas = pane.Canvas(static_cast<ChartTab>(tab));
            canvas->Render();
            const bool phased = tab == kTabPhased || tab == kTabPhasedFit;
            if (tab == kTabOC || tab == kTabPrediction) {
                // These draw their own marks, not the points of the series: the O-C diagram
                // one per minimum in use, the prediction its columns.
                EXPECT_TRUE(canvas->HasChart()) << objects[o]->name << " tab " << tab << ": "
                                                << canvas->Message().toStdString();
                continue;
            }
            if (phased && !ephemeris) {
                EXPECT_FALSE(canvas->HasChart());
                EXPECT_EQ(canvas->Message().toStdString(),
                          "Cannot draw phased light curve if M0 and/or P is not defined");
            } else {
                EXPECT_TRUE(canvas->HasChart()) << objects[o]->name << " tab " << tab << ": "
                                                << canvas->Message().toStdString();
                EXPECT_FALSE(canvas->Pane()->PlotPoints().empty());
            }
        }
    }
    EXPECT_TRUE(Boxes().empty());
    EXPECT_FALSE(window_->Modified());
}

}  // namespace
}  // namespace kurvalux_app
