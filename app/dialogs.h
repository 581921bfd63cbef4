#pragma once
// The dialogs of the main window that are more than a form: the filter table editor, the list
// of minima and the progress of a frequency analysis.
#include <QDialog>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "data/field.h"
#include "data/settings.h"
#include "platform/message_box.h"
#include "platform/posting.h"
#include "time/time_standards.h"

class QListWidget;
class QTableWidget;
class QProgressBar;
class QLabel;

namespace kurvalux_app {

// Colour of the filter table as its hexadecimal text ("FF0050FF": top byte, blue, green, red).
QString ColourHex(uint32_t colour);
bool ParseColourHex(const QString& text, uint32_t& colour);

// "Edit filter name and color assignments": the table with "Add filter", "Edit filetr" and
// "Delete filter". Works on a copy; the caller takes Table() when the dialog is accepted.
class CFilterTableDialog : public QDialog {
    Q_OBJECT
public:
    // `run` runs the nested "Define filter name and color" dialog (a modal loop, or a script).
    CFilterTableDialog(const kurvalux_data::FilterTable& table,
                       kurvalux_platform::CMessageBoxSink& messages,
                       std::function<int(QDialog&)> run, QWidget* parent = nullptr);
    const kurvalux_data::FilterTable& Table() const { return table_; }
    QListWidget* List() { return list_; }

public slots:
    void AddFilter();
    void EditFilter();
    void DeleteFilter();

private:
    void Fill(const std::string& select);
    // The name/colour dialog; false when cancelled or refused.
    bool Define(std::string& name, uint32_t& colour, const std::string& own_name);

    kurvalux_data::FilterTable table_;
    kurvalux_platform::CMessageBoxSink& messages_;
    std::function<int(QDialog&)> run_;
    QListWidget* list_;
};

// "List of minima": every minimum of the object with its series, type, time as stored and the
// standard of that time, the same instant in BJD_TDB (for transit and timing work), error,
// cycle and O-C against the object's ephemeris. "Copy" puts the table on the clipboard as
// tab-separated text with a header row.
class CMinimaListDialog : public QDialog {
    Q_OBJECT
public:
    CMinimaListDialog(const kurvalux_data::CObjectListElem& object,
                      const std::optional<kurvalux_time::Site>& site, QWidget* parent = nullptr);
    QTableWidget* Table() { return table_; }
    // The table as the clipboard gets it.
    QString TableText() const;

private:
    QTableWidget* table_;
};

// "Frequency analysis": "Processing:" with a bar meter and Cancel. The workers' posted
// messages arrive through Poster(): 4924 (a = worker, b = periods that worker has done) moves
// the bar, 4925 (a = worker) says a worker has finished.
class CFrequencyProgressDialog : public QDialog {
    Q_OBJECT
public:
    explicit CFrequencyProgressDialog(QWidget* parent = nullptr, uint64_t total = 0);
    void SetProgress(uint64_t done, uint64_t total);
    kurvalux_platform::CPoster* Poster() { return poster_.get(); }
    uint64_t Done() const;
    unsigned WorkersEnded() const { return ended_; }
    bool Cancelled() const { return cancelled_; }
    QProgressBar* Bar() { return bar_; }

public slots:
    // Cancel, Escape or closing the dialog: the workers stop.
    void reject() override;

private:
    void Posted(uint32_t message, intptr_t a, intptr_t b);

    QProgressBar* bar_;
    bool cancelled_ = false;
    uint64_t total_ = 0;
    std::vector<uint64_t> done_;  // per worker
    unsigned ended_ = 0;
    std::unique_ptr<kurvalux_platform::CPoster> poster_;
};

}  // namespace kurvalux_app
