#pragma once
// Start-up of the desktop application, in the order the program has always started: the GUI
// toolkit, the random seed, the processor count, the program folder, the settings, the main
// window with its menus, tool bar and icon, the saved placement and the show command; then
// the event loop. Also the two developer modes: --measure-startup prints how long the window
// took to appear populated, --screenshots DIR saves an image of every tab and main dialog.
#include <string>

namespace kurvalux_app {

struct StartupOptions {
    std::string field;             // a field file to open
    std::string screenshots;       // folder for the screenshots, or empty
    bool measure_startup = false;  // print the start-up time and quit
    std::string settings_path;     // empty: the user's settings file
    int show_command = 1;          // 2 and 6 minimise, 3 maximises (as the Windows show commands)
    std::string benchmark_points;  // "N": repaint figure of an N-point time series, then quit
};

// Parses the arguments after Qt has taken its own; false (with `error`) on a bad one.
bool ParseStartupOptions(int argc, char** argv, StartupOptions& options, std::string& error);

// Runs the application; returns the process exit code.
int RunApplication(int argc, char** argv);

}  // namespace kurvalux_app
