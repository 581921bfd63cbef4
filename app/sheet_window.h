#pragma once
// The observation sheet on screen: a window beside the main window with one row per object
// and one column per observing night, sortable by any column; a double-click on a row selects
// that object in the main window.
#include <QWidget>
#include <functional>

#include "data/field.h"
#include "sheet/observation_sheet.h"

class QTableWidget;

namespace kurvalux_app {

class CSheetWindow : public QWidget {
    Q_OBJECT
public:
    // `select` is called with the index of the object (in the Field) of a double-clicked row.
    explicit CSheetWindow(std::function<void(int)> select, QWidget* parent = nullptr);
    // Builds the sheet anew from the Field's objects.
    void Rebuild(const kurvalux_data::Field& field);
    QTableWidget* Table() const { return table_; }
    const kurvalux_sht::CObservationSheet& Sheet() const { return sheet_; }

private:
    QTableWidget* table_;
    kurvalux_sht::CObservationSheet sheet_;
    std::function<void(int)> select_;
};

}  // namespace kurvalux_app
