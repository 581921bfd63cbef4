// The report commands of the window: the table export through its options dialog, Ctrl+K
// and the observation sheet window.
#include <QClipboard>
#include <QGuiApplication>
#include <QTableWidget>

#include "app/commands.h"
#include "app/form_dialog.h"
#include "app/kurvalux_pane.h"
#include "app/sheet_window.h"
#include "window_fixture.h"

namespace kurvalux_app {
namespace {

TEST_F(WindowTest, CsvExportThroughItsOptionsDialogRemembersTheChoice) {
    ASSERT_TRUE(OpenTestField());
    file_answers_.push_back(Path("field.csv"));
    scripts_.push_back([](QDialog& dialog) {
        auto& form = dynamic_cast<CFormDialog&>(dialog);
        form.SetChecked("Include observing table", true);
        return static_cast<int>(QDialog::Accepted);
    });
    ASSERT_TRUE(window_->Dispatch(kCmdExportCsv));
    EXPECT_EQ(dialog_titles_.back(), "Export Field into CSV Options");
    QFile file(QString::fromStdString(Path("field.csv")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll().toStdString(),
              "sep=;\r\n"
              "name;alt_name;var_type;M0;period;max_mag;min_mag;2020-05-30;2020-06-02\r\n"
              "Test Binary;;;2459000.5000000;0.7400000;;;x;x\r\n"
              "Empty Star;;;;;;; ; \r\n");
    EXPECT_EQ(window_->GetSettings().csv_export_options, 8);
    EXPECT_TRUE(Boxes().empty());
}

TEST_F(WindowTest, CopyInfoFillsTheClipboardAndTheSheetSelectsObjects) {
    ASSERT_TRUE(OpenTestField());
    window_->GetSettings().copy_data_mask = "%OBJ_NAME%%CRLF%%M0% %PERIOD% [%RA%]";
    window_->Pane()->SelectObject(0);
    ASSERT_TRUE(window_->Dispatch(kCmdCopyObjectInfo));
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(),
              "Test Binary\r\n2459000.500000 0.740000 []");

    window_->ShowObservationSheet();
    auto* sheet = window_->findChild<CSheetWindow*>();
    ASSERT_NE(sheet, nullptr);
    QTableWidget* table = sheet->Table();
    ASSERT_EQ(table->rowCount(), 2);
    ASSERT_EQ(table->columnCount(), 19);
    EXPECT_EQ(table->horizontalHeaderItem(17)->text().toStdString(), "2020-05-30");
    EXPECT_EQ(table->item(1, 0)->text().toStdString(), "Empty Star");
    EXPECT_FALSE(table->item(0, 17)->text().isEmpty());
    EXPECT_TRUE(table->item(1, 17)->text().isEmpty());
    emit table->cellDoubleClicked(1, 3);
    EXPECT_EQ(window_->Pane()->CurrentObjectIndex(), 1);
}

}  // namespace
}  // namespace kurvalux_app
