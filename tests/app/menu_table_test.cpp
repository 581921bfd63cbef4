// The command set: the menus as written down by the table, compared line by line with the
// command set of the program (menu order, texts, shortcuts, command numbers, separators and
// check items), the recently used files, and the Qt menus and tool bar built from the table.
#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>
#include <string>
#include <vector>

#include "app/commands.h"
#include "app/main_window.h"
#include "app/menu_table.h"

namespace kurvalux_app {
namespace {

// The command set, transcribed from the program's menu definitions: menu, items with
// "text<TAB>shortcut<TAB>command", "---" for separators, "[ ] " before check items.
const std::vector<std::string> kExpectedMenus = {
    "Field",
    "  New Field\tCtrl+N\t1001",
    "  Load Field...\tCtrl+O\t1002",
    "  Save Field\tCtrl+S\t1003",
    "  Save Field As...\t\t1004",
    "  ---",
    "  (Re)Scan Entire Field...\t\t1071",
    "  Locate Missing Files...\t\t1072",
    "  ---",
    "  Load Alternate Names...\t\t1016",
    "  ---",
    "  Export Field into CSV...\t\t1007",
    "  Export Field into HTML...\t\t1008",
    "  ---",
    "  Export Minima of All Objects\t\t1009",
    "  ---",
    "  Statistics",
    "    Include All Series...\t\t1010",
    "    Only Series <1d (Exclude Surveys)...\t\t1011",
    "  ---",
    "  Web Repository...",
    "    Login to Repository\t\t1020",
    "    Change Password...\t\t1021",
    "    Logout from Repository\t\t1022",
    "    ---",
    "    Synchronize Field with Repository\t\t1023",
    "    ---",
    "    Define Web Repository...\t\t1024",
    "  ---",
    "  Query VSX for all objects...\t\t1090",
    "  ---",
    "  Define Filter Color Assignment...\t\t1006",
    "  ---",
    "  Define Root Directory...\t\t1005",
    "Objects",
    "  Add Object...\tCtrl+A\t1012",
    "  Insert Object...\tCtrl+I\t1013",
    "  Remove Object\t\t1014",
    "  Rename Object...\tF2\t1015",
    "  Sort Objects",
    "    By Name\t\t1017",
    "    By R.A.\t\t1018",
    "    By Dec.\t\t1019",
    "  ---",
    "  Web Rrepository",
    "    Add Objects from Repository...\t\t1025",
    "    Insert Objects from Repository...\t\t1026",
    "    ---",
    "    Synchronize Object with Repository\t\t1029",
    "    ---",
    "    Publish Object in Repository\t\t1027",
    "    Unpublish Object in Repository\t\t1028",
    "  ---",
    "  Query VSX for selected object...\tCtrl+Q\t1091",
    "  ---",
    "  Fit Parameters",
    "    Save Fit Parameters...\t\t1061",
    "    Load Fit Parameters...\t\t1060",
    "    ---",
    "    Copy Fit Parameters...\t\t1063",
    "    Paste Fit Parameters...\t\t1062",
    "  Object Data",
    "    Save Object Data...\t\t1066",
    "    Load Object Data...\t\t1065",
    "    ---",
    "    Copy Object Data...\t\t1068",
    "    Paste Object Data...\t\t1067",
    "  Export",
    "    Time Series...\tCtrl+E\t1040",
    "    Phased Series...\t\t1041",
    "    Phased Time Series...\t\t1042",
    "    Time Series minus Fit...\t\t1043",
    "    ---",
    "    Individual Series minus Fit...\tCtrl+F\t1044",
    "    ---",
    "    Minima List\t\t1045",
    "    ---",
    "    ETV Data\t\t1046",
    "  Save Graph",
    "    As Bitmap...\t\t1047",
    "    As SVG...\t\t1048",
    "  ---",
    "  Copy Object Info\tCtrl+K\t1080",
    "  Define Copy Info Mask...\t\t1081",
    "  ---",
    "  [ ] Automatically accept M0, P changes\t\t1085",
    "  [ ] Accurate heliocentric conversion\t\t1086",
    "Series",
    "  Select all series\t\t1130",
    "  Deselect all series\t\t1131",
    "  Select series by filter...\t\t1132",
    "  Select series by contributor...\t\t1133",
    "  ---",
    "  (Re)Scan File Series...\tCtrl+R\t1070",
    "  Remove Unavailable Series...\t\t1073",
    "  Import Photometry...\t\t1074",
    "  ---",
    "  Level series by Median\t\t1055",
    "  Level series by Range\t\t1056",
    "  Level series by Average\t\t1057",
    "  ---",
    "  Series Offsets",
    "    Save series offsets...\t\t1051",
    "    Load series offsets...\t\t1050",
    "    ---",
    "    Copy series offsets...\t\t1053",
    "    Paste series offsets...\t\t1052",
    "    ---",
    "    Clear all series offsets...\t\t1054",
    "  ---",
    "  [ ] Show standard deviation\t\t1141",
    "  [ ] Show \"now\" line in phased curve\t\t1142",
    "  [ ] Show date/time line in phased curve\t\t1143",
    "Minima",
    "  List of minima\t\t1100",
    "  ---",
    "  Select all minima\t\t1150",
    "  Deselect all minima\t\t1151",
    "  ---",
    "  Minimum parameters...\t\t1101",
    "  Remove minimum...\t\t1102",
    "  ---",
    "  [ ] Show minima instances\t\t1140",
    "Periods",
    "  Find Periods from Minima instances...\t\t1110",
    "  Find Periods by Frequency Analysis...\t\t1111",
    "Help",
    "  User's Guide...\t\t1190",
    "  About\t\t1191",
    "  [ ] Check Version on Start\t\t1192",
};

TEST(MenuTable, EveryRowMatchesTheCommandSet) {
    const std::vector<std::string> outline = MenuOutline({});
    ASSERT_EQ(outline.size(), kExpectedMenus.size());
    for (size_t i = 0; i < outline.size(); ++i)
        EXPECT_EQ(outline[i], kExpectedMenus[i]) << "row " << i;
}

TEST(MenuTable, RecentFilesOpenTheFieldMenuWithTheirSeparator) {
    struct Case {
        std::vector<std::string> files;
        std::vector<std::string> first_rows;
    };
    const std::string long_path = "/data/" + std::string(90, 'x') + ".kvf";
    const std::vector<Case> cases = {
        {{}, {"Field", "  New Field\tCtrl+N\t1001"}},
        {{"/a/one.kvf"}, {"Field", "  /a/one.kvf\t\t60000", "  ---", "  New Field\tCtrl+N\t1001"}},
        {{"/a/one.kvf", "C:\\b\\two.kvf"},
         {"Field", "  /a/one.kvf\t\t60000", "  C:\\b\\two.kvf\t\t60001", "  ---",
          "  New Field\tCtrl+N\t1001"}},
        {{long_path}, {"Field", "  " + long_path.substr(0, 79) + "\t\t60000", "  ---"}},
    };
    for (const Case& c : cases) {
        std::vector<std::string> outline = MenuOutline(c.files);
        ASSERT_GE(outline.size(), c.first_rows.size());
        for (size_t i = 0; i < c.first_rows.size(); ++i)
            EXPECT_EQ(outline[i], c.first_rows[i]) << c.files.size() << " files, row " << i;
    }
}

TEST(MenuTable, EveryCommandOfTheMenusIsAvailable) {
    const std::vector<int> wired = {
        1001, 1002, 1003, 1004, 1071, 1010, 1011, 1006,  1005,  1012, 1013, 1014, 1015, 1017, 1018,
        1019, 1047, 1048, 1085, 1130, 1131, 1132, 1133,  1070,  1141, 1142, 1143, 1100, 1150, 1151,
        1101, 1102, 1140, 1110, 1111, 1190, 1191, 60000, 60007, 1072, 1073, 1020, 1021, 1022, 1023,
        1024, 1025, 1026, 1027, 1028, 1029, 1090, 1091,  1192,  1007, 1008, 1009, 1040, 1041, 1042,
        1043, 1044, 1045, 1046, 1080, 1081, 1016, 1060,  1061,  1062, 1063, 1065, 1066, 1067, 1068,
        1050, 1051, 1052, 1053, 1054, 1055, 1056, 1057,  1074,  1086};
    for (int c : wired) EXPECT_TRUE(CommandAvailable(c)) << c;
    EXPECT_FALSE(CommandAvailable(4242));
}

// The outline of the menus Qt shows, in the table's format.
void Outline(const QMenu* menu, const std::string& indent, std::vector<std::string>& lines) {
    for (QAction* action : menu->actions()) {
        if (action->isSeparator()) {
            lines.push_back(indent + "---");
        } else if (action->menu()) {
            lines.push_back(indent + action->text().toStdString());
            Outline(action->menu(), indent + "  ", lines);
        } else {
            std::string line = indent + (action->isCheckable() ? "[ ] " : "") +
                               action->text().toStdString() + "\t" +
                               action->shortcut().toString().toStdString() + "\t" +
                               std::to_string(action->data().toInt());
            lines.push_back(line);
        }
    }
}

TEST(MenuTable, TheWindowBuildsItsMenusAndToolBarFromTheTable) {
    ShellOptions options;
    options.save_settings = false;
    CKurvalux window(options);
    std::vector<std::string> lines;
    for (QAction* top : window.menuBar()->actions()) {
        lines.push_back(top->text().toStdString());
        Outline(top->menu(), "  ", lines);
    }
    EXPECT_EQ(lines, MenuOutline(window.GetSettings().recent_files));

    QToolBar* bar = window.findChild<QToolBar*>("Tools");
    ASSERT_NE(bar, nullptr);
    std::vector<std::string> tips;
    for (QAction* a : bar->actions()) tips.push_back(a->toolTip().toStdString());
    EXPECT_EQ(tips, (std::vector<std::string>{"New Field", "Load Field...", "Save Field", "Zoom in",
                                              "Zoom out", "Clear zoom"}));
    // Without a repository session the commands on shared objects are greyed.
    EXPECT_FALSE(window.Action(kCmdWebPublish)->isEnabled());
    EXPECT_TRUE(window.Action(kCmdLoadAlternateNames)->isEnabled());
    EXPECT_TRUE(window.Action(kCmdSaveFieldAs)->isEnabled());
}

}  // namespace
}  // namespace kurvalux_app
