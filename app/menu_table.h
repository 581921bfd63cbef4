#pragma once
// The menus and the tool bar of the main window as one table of rows. The Qt menu bar, the
// shortcuts, the check items and the tests are all built from these rows, so the command set
// is written down exactly once.
#include <string>
#include <vector>

namespace kurvalux_app {

enum class MenuRow {
    kMenu,         // opens a menu of the bar, or a submenu inside the current menu
    kEnd,          // closes the innermost open menu
    kItem,         // a command
    kSeparator,    // a line between groups
    kRecentFiles,  // the recently used field files, then a separator when there are any
};

struct CMenuEntry {
    MenuRow row = MenuRow::kItem;
    const char* text = "";
    const char* shortcut = "";  // shown right-aligned; the key binding is made from it
    int command = 0;
    bool check = false;     // a check item that mirrors a setting
    bool available = true;  // false: the command's feature is not in this build (greyed)
};

// Menu bar, "Field" ... "Help", with their submenus, in order.
const std::vector<CMenuEntry>& MenuTable();

// Tool bar buttons in order; the text is the button's tool tip.
struct CToolButton {
    const char* text;
    int command;
    const char* icon;  // a freedesktop theme icon name
};
const std::vector<CToolButton>& ToolBarTable();

// The row of a command in the table, or null.
const CMenuEntry* FindMenuEntry(int command);
// Whether a command of the table (or a recent file) is carried out by this build.
bool CommandAvailable(int command);

// A recently used file as its menu item shows it: the path cut to 79 characters.
std::string RecentFileMenuText(const std::string& path);
constexpr size_t kRecentFileMenuTextCapacity = 79;

// The menu as plain lines, one per row: "Field", "  New Field\tCtrl+N\t1001", "  ---",
// submenus indented further, check items marked "[ ] ". Used by tests and for
// documentation of the command set.
std::vector<std::string> MenuOutline(const std::vector<std::string>& recent_files);

}  // namespace kurvalux_app
