#pragma once
// What the panes and views of the main window need from the window that owns the Field: the
// Field itself, the settings, the message-box seam, the modified flag and the way dialogs are
// run (a real modal loop, or a script in tests and screenshots).
#include <functional>

#include "data/field.h"
#include "data/series_paths.h"
#include "data/settings.h"
#include "platform/message_box.h"

class QDialog;

namespace kurvalux_app {

class CShellHost {
public:
    virtual ~CShellHost() = default;
    virtual kurvalux_data::Field& GetField() = 0;
    virtual kurvalux_data::Settings& GetSettings() = 0;
    virtual kurvalux_platform::CMessageBoxSink& Messages() = 0;
    // Marks the field changed; the title and the status bar show it at once.
    virtual void MarkModified() = 0;
    // Runs a modal dialog; QDialog::Accepted or Rejected.
    virtual int RunDialog(QDialog& dialog) = 0;
    // The selection changed: the status texts follow.
    virtual void SelectionChanged() = 0;
    // Where relative series paths are resolved.
    virtual kurvalux_data::PathBases Bases() const = 0;
};

}  // namespace kurvalux_app
