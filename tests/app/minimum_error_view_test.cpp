// The two errors of the minimum fit view: "Est. Err." fills both boxes, a new fit clears both
// unless frozen, "Add Min." keeps the one chosen under "Keep:", and the choice is remembered in
// the settings file.
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>

#include "app/form_dialog.h"
#include "app/kurvalux_pane.h"
#include "app/minimum_view.h"
#include "tests/app/window_fixture.h"

namespace kurvalux_app {
namespace {

using kurvalux_platform::MessageAnswer;

// The view on the first night's primary minimum, fitted.
CMinimumView& FittedView(CKurvalux& window) {
    CKurvaluxPane& pane = *window.Pane();
    pane.SelectSeries(0);
    pane.ShowTab(kTabMinimum);
    CMinimumView& view = *pane.MinimumView();
    view.SetLimits(2459000.45, 2459000.55);
    view.FitMinimum();
    return view;
}

double BoxValue(QLineEdit* box) {
    return CFormDialog::ParseReal(box->text()).value_or(-1.0);
}

TEST_F(WindowTest, EstimateErrorShowsBothErrorsAndAFitClearsThem) {
    ASSERT_TRUE(OpenTestField());
    CMinimumView& view = FittedView(*window_);
    ASSERT_TRUE(view.Fitted());
    EXPECT_EQ(view.ErrorBox()->text(), "");
    EXPECT_EQ(view.BlockErrorBox()->text(), "");
    view.EstimateError();
    EXPECT_TRUE(BoxTexts().empty()) << BoxTexts().front();
    // Six decimals, a positive error of a fraction of the 0.1-day window in each box.
    for (QLineEdit* box : {view.ErrorBox(), view.BlockErrorBox()}) {
        EXPECT_EQ(box->text(), CMinimumView::BoxText(BoxValue(box)))
            << box->objectName().toStdString();
        EXPECT_GT(BoxValue(box), 0.0);
        EXPECT_LT(BoxValue(box), 0.01);
    }
    // Frozen errors survive a new fit; otherwise both go.
    view.FreezeError()->setChecked(true);
    view.FitMinimum();
    EXPECT_NE(view.ErrorBox()->text(), "");
    EXPECT_NE(view.BlockErrorBox()->text(), "");
    view.FreezeError()->setChecked(false);
    view.FitMinimum();
    EXPECT_EQ(view.ErrorBox()->text(), "");
    EXPECT_EQ(view.BlockErrorBox()->text(), "");
}

TEST_F(WindowTest, AddMinimumKeepsTheChosenErrorAndTheChoiceIsRemembered) {
    ASSERT_TRUE(OpenTestField());
    CMinimumView& view = FittedView(*window_);
    ASSERT_TRUE(view.Fitted());
    // The settings' default keeps the case bootstrap's error.
    EXPECT_EQ(view.KeptError()->currentText(), "Est. Err.");
    view.ErrorBox()->setText("0.000120");
    view.BlockErrorBox()->setText("0.000310");

    struct Step {
        int choice;
        const char* setting;
        double kept;
    } steps[] = {{1, "block", 0.00031}, {0, "case", 0.00012}};
    const kurvalux_data::CMinimaList& minima = window_->GetField().objects[0]->series[0]->minima;
    for (const Step& step : steps) {
        view.KeptError()->setCurrentIndex(step.choice);
        EXPECT_EQ(window_->GetSettings().minimum_error_method, step.setting);
        const size_t before = minima.size();
        view.AddMinimum();
        ASSERT_EQ(minima.size(), before + 1);
        EXPECT_EQ(minima.back().error, step.kept) << step.setting;
    }

    // Kept in the settings file and chosen again by the next window.
    view.KeptError()->setCurrentIndex(1);
    boxes_.QueueAnswer(MessageAnswer::Yes);  // close without saving the field
    ASSERT_TRUE(window_->close());
    kurvalux_data::Settings stored;
    ASSERT_TRUE(kurvalux_data::LoadSettings(Path("kurvalux.ini"), stored));
    EXPECT_EQ(stored.minimum_error_method, "block");
    ShellOptions options;
    options.settings_path = Path("kurvalux.ini");
    options.messages = &boxes_;
    options.save_settings = false;
    CKurvalux again(options);
    ASSERT_TRUE(again.OpenField(Path("test.kvf")));
    CMinimumView& next = FittedView(again);
    EXPECT_EQ(next.KeptError()->currentText(), "Block Err.");
    next.ErrorBox()->setText("0.000120");
    next.BlockErrorBox()->setText("0.000310");
    next.AddMinimum();
    ASSERT_EQ(again.GetField().objects[0]->series[0]->minima.size(), 1u);
    EXPECT_EQ(again.GetField().objects[0]->series[0]->minima[0].error, 0.00031);
}

}  // namespace
}  // namespace kurvalux_app
