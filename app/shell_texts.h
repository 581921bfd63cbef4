#pragma once
// The texts of the main window that follow from its state: title, status bar, the closing
// and replace-field questions, and the repository status panel. Plain functions of the state,
// so that the window and the tests share them.
#include <string>
#include <vector>

#include "data/field.h"
#include "platform/draw_context.h"

namespace kurvalux_app {

constexpr size_t kTitlePathCapacity = 64;

// "KURVALUX - " + the path shortened to at most 64 characters + "*" while modified. A path
// that is too long keeps its end (the file name) after "...".
std::string WindowTitle(const std::string& path, bool modified);
std::string ShortenPath(const std::string& path, size_t capacity);

// The five status texts of the main window.
struct StatusTexts {
    std::string objects;      // "3 objects"
    std::string series;       // "2/5 series" (current series counted from 1; 0 when none)
    std::string modified;     // "Modified" or empty
    std::string source;       // file path, or "Web Repository user: " + publisher
    std::string time_system;  // the time standard of the current series
};
StatusTexts ComputeStatusTexts(const kurvalux_data::Field& field,
                               const kurvalux_data::CObjectListElem* object, int series_index,
                               bool modified);

// The time standard of a series in the status bar.
std::string SeriesTimeText(const kurvalux_data::CObjectListElem& object,
                           const kurvalux_data::CSeriesTreeElem& series);

// The question when the window closes.
constexpr const char* kCloseTitle = "Closing of the KURVALUS window";
std::vector<std::string> CloseQuestion(bool modified);

// Before the field is replaced by a new or a loaded one.
constexpr const char* kFieldModifiedTitle = "Field Description Modified";
std::vector<std::string> ReplaceFieldQuestion(bool new_field);

// The one box that reports what a field load refused or could not read.
constexpr const char* kLoadReportTitle = "Field Loaded with Problems";

// The web repository status panel: connection and state words with their colours, and the
// four account lines.
struct WebStatusPanel {
    std::string connection;
    kurvalux_platform::Colour connection_colour = 0;
    std::string state;
    kurvalux_platform::Colour state_colour = 0;
    std::vector<std::string> lines;
};
struct WebSession {
    bool logged_in = false;
    bool busy = false;
    std::string user_id, user_name, rights, server;
};
WebStatusPanel ComputeWebStatusPanel(const WebSession& session);

// The text of the About box.
std::vector<std::string> AboutLines();

}  // namespace kurvalux_app
