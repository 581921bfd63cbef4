// The user's guide shown inside the application, for desktops with no program for Markdown.
#pragma once

#include <string>

class QWidget;

namespace kurvalux_app {

// Opens a window with the guide read from path, rendered from its Markdown; false when the
// file cannot be read.
bool ShowGuideWindow(QWidget* parent, const std::string& path);

}  // namespace kurvalux_app
