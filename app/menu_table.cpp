#include "app/menu_table.h"

#include "app/commands.h"
#include "platform/text.h"

namespace kurvalux_app {

namespace {

CMenuEntry Menu(const char* text) {
    return {MenuRow::kMenu, text, "", 0, false, true};
}
CMenuEntry End() {
    return {MenuRow::kEnd, "", "", 0, false, true};
}
CMenuEntry Sep() {
    return {MenuRow::kSeparator, "", "", 0, false, true};
}
CMenuEntry Item(const char* text, int command, const char* shortcut = "") {
    return {MenuRow::kItem, text, shortcut, command, false, true};
}
CMenuEntry Check(const char* text, int command, bool available = true) {
    return {MenuRow::kItem, text, "", command, true, available};
}

std::vector<CMenuEntry> BuildTable() {
    return {
        Menu("Field"),
        {MenuRow::kRecentFiles, "", "", kCmdRecentFileFirst, false, true},
        Item("New Field", kCmdNewField, "Ctrl+N"),
        Item("Load Field...", kCmdLoadField, "Ctrl+O"),
        Item("Save Field", kCmdSaveField, "Ctrl+S"),
        Item("Save Field As...", kCmdSaveFieldAs),
        Sep(),
        Item("(Re)Scan Entire Field...", kCmdScanEntireField),
        Item("Locate Missing Files...", kCmdLocateMissingFiles),
        Sep(),
        Item("Load Alternate Names...", kCmdLoadAlternateNames),
        Sep(),
        Item("Export Field into CSV...", kCmdExportCsv),
        Item("Export Field into HTML...", kCmdExportHtml),
        Sep(),
        Item("Export Minima of All Objects", kCmdExportAllMinima),
        Sep(),
        Menu("Statistics"),
        Item("Include All Series...", kCmdStatisticsAll),
        Item("Only Series <1d (Exclude Surveys)...", kCmdStatisticsShort),
        End(),
        Sep(),
        Menu("Web Repository..."),
        Item("Login to Repository", kCmdWebLogin),
        Item("Change Password...", kCmdWebChangePassword),
        Item("Logout from Repository", kCmdWebLogout),
        Sep(),
        Item("Synchronize Field with Repository", kCmdWebSynchronizeField),
        Sep(),
        Item("Define Web Repository...", kCmdWebDefine),
        End(),
        Sep(),
        Item("Query VSX for all objects...", kCmdVsxAllObjects),
        Sep(),
        Item("Define Filter Color Assignment...", kCmdFilterColours),
        Sep(),
        Item("Define Root Directory...", kCmdRootDirectory),
        End(),

        Menu("Objects"),
        Item("Add Object...", kCmdAddObject, "Ctrl+A"),
        Item("Insert Object...", kCmdInsertObject, "Ctrl+I"),
        Item("Remove Object", kCmdRemoveObject),
        Item("Rename Object...", kCmdRenameObject, "F2"),
        Menu("Sort Objects"),
        Item("By Name", kCmdSortByName),
        Item("By R.A.", kCmdSortByRa),
        Item("By Dec.", kCmdSortByDec),
        End(),
        Sep(),
        Menu("Web Rrepository"),
        Item("Add Objects from Repository...", kCmdWebAddObjects),
        Item("Insert Objects from Repository...", kCmdWebInsertObjects),
        Sep(),
        Item("Synchronize Object with Repository", kCmdWebSynchronizeObject),
        Sep(),
        Item("Publish Object in Repository", kCmdWebPublish),
        Item("Unpublish Object in Repository", kCmdWebUnpublish),
        End(),
        Sep(),
        Item("Query VSX for selected object...", kCmdVsxSelectedObject, "Ctrl+Q"),
        Sep(),
        Menu("Fit Parameters"),
        Item("Save Fit Parameters...", kCmdSaveFitParameters),
        Item("Load Fit Parameters...", kCmdLoadFitParameters),
        Sep(),
        Item("Copy Fit Parameters...", kCmdCopyFitParameters),
        Item("Paste Fit Parameters...", kCmdPasteFitParameters),
        End(),
        Menu("Object Data"),
        Item("Save Object Data...", kCmdSaveObjectData),
        Item("Load Object Data...", kCmdLoadObjectData),
        Sep(),
        Item("Copy Object Data...", kCmdCopyObjectData),
        Item("Paste Object Data...", kCmdPasteObjectData),
        End(),
        Menu("Export"),
        Item("Time Series...", kCmdExportTimeSeries, "Ctrl+E"),
        Item("Phased Series...", kCmdExportPhasedSeries),
        Item("Phased Time Series...", kCmdExportPhasedTimeSeries),
        Item("Time Series minus Fit...", kCmdExportTimeSeriesMinusFit),
        Sep(),
        Item("Individual Series minus Fit...", kCmdExportIndividualMinusFit, "Ctrl+F"),
        Sep(),
        Item("Minima List", kCmdExportMinimaList),
        Sep(),
        Item("ETV Data", kCmdExportEtv),
        End(),
        Menu("Save Graph"),
        Item("As Bitmap...", kCmdSaveGraphBitmap),
        Item("As SVG...", kCmdSaveGraphSvg),
        End(),
        Sep(),
        Item("Copy Object Info", kCmdCopyObjectInfo, "Ctrl+K"),
        Item("Define Copy Info Mask...", kCmdDefineCopyInfoMask),
        Sep(),
        Check("Automatically accept M0, P changes", kCmdAutoAcceptM0Period),
        Check("Accurate heliocentric conversion", kCmdAccurateHeliocentric),
        End(),

        Menu("Series"),
        Item("Select all series", kCmdSelectAllSeries),
        Item("Deselect all series", kCmdDeselectAllSeries),
        Item("Select series by filter...", kCmdSelectSeriesByFilter),
        Item("Select series by contributor...", kCmdSelectSeriesByContributor),
        Sep(),
        Item("(Re)Scan File Series...", kCmdScanFileSeries, "Ctrl+R"),
        Item("Remove Unavailable Series...", kCmdRemoveUnavailableSeries),
        Item("Import Photometry...", kCmdImportPhotometry),
        Sep(),
        Item("Level series by Median", kCmdLevelByMedian),
        Item("Level series by Range", kCmdLevelByRange),
        Item("Level series by Average", kCmdLevelByAverage),
        Sep(),
        Menu("Series Offsets"),
        Item("Save series offsets...", kCmdSaveSeriesOffsets),
        Item("Load series offsets...", kCmdLoadSeriesOffsets),
        Sep(),
        Item("Copy series offsets...", kCmdCopySeriesOffsets),
        Item("Paste series offsets...", kCmdPasteSeriesOffsets),
        Sep(),
        Item("Clear all series offsets...", kCmdClearSeriesOffsets),
        End(),
        Sep(),
        Check("Show standard deviation", kCmdShowDeviation),
        Check("Show \"now\" line in phased curve", kCmdShowNowLine),
        Check("Show date/time line in phased curve", kCmdShowTimeLine),
        End(),

        Menu("Minima"),
        Item("List of minima", kCmdListOfMinima),
        Sep(),
        Item("Select all minima", kCmdSelectAllMinima),
        Item("Deselect all minima", kCmdDeselectAllMinima),
        Sep(),
        Item("Minimum parameters...", kCmdMinimumParameters),
        Item("Remove minimum...", kCmdRemoveMinimum),
        Sep(),
        Check("Show minima instances", kCmdShowMinima),
        End(),

        Menu("Periods"),
        Item("Find Periods from Minima instances...", kCmdPeriodsFromMinima),
        Item("Find Periods by Frequency Analysis...", kCmdPeriodsByFrequency),
        End(),

        Menu("Help"),
        Item("User's Guide...", kCmdUsersGuide),
        Item("About", kCmdAbout),
        Check("Check Version on Start", kCmdCheckVersion),
        End(),
    };
}

}  // namespace

const std::vector<CMenuEntry>& MenuTable() {
    static const std::vector<CMenuEntry> table = BuildTable();
    return table;
}

const std::vector<CToolButton>& ToolBarTable() {
    static const std::vector<CToolButton> buttons = {
        {"New Field", kCmdNewField, "document-new"},
        {"Load Field...", kCmdLoadField, "document-open"},
        {"Save Field", kCmdSaveField, "document-save"},
        {"Zoom in", kCmdZoomIn, "zoom-in"},
        {"Zoom out", kCmdZoomOut, "zoom-out"},
        {"Clear zoom", kCmdClearZoom, "zoom-original"},
    };
    return buttons;
}

const CMenuEntry* FindMenuEntry(int command) {
    for (const CMenuEntry& entry : MenuTable())
        if (entry.row == MenuRow::kItem && entry.command == command) return &entry;
    return nullptr;
}

bool CommandAvailable(int command) {
    if (command >= kCmdRecentFileFirst && command <= kCmdRecentFileLast) return true;
    if (command == kCmdZoomIn || command == kCmdZoomOut || command == kCmdClearZoom) return true;
    const CMenuEntry* entry = FindMenuEntry(command);
    return entry && entry->available;
}

std::string RecentFileMenuText(const std::string& path) {
    return kurvalux_platform::Cut(path, kRecentFileMenuTextCapacity);
}

std::vector<std::string> MenuOutline(const std::vector<std::string>& recent_files) {
    std::vector<std::string> lines;
    std::string indent;
    for (const CMenuEntry& entry : MenuTable()) {
        switch (entry.row) {
            case MenuRow::kMenu:
                lines.push_back(indent + entry.text);
                indent += "  ";
                break;
            case MenuRow::kEnd:
                indent.resize(indent.size() - 2);
                break;
            case MenuRow::kSeparator:
                lines.push_back(indent + "---");
                break;
            case MenuRow::kRecentFiles:
                for (size_t i = 0; i < recent_files.size(); ++i)
                    lines.push_back(indent + RecentFileMenuText(recent_files[i]) + "\t\t" +
                                    std::to_string(kCmdRecentFileFirst + i));
                if (!recent_files.empty()) lines.push_back(indent + "---");
                break;
            case MenuRow::kItem: {
                std::string line = indent;
                if (entry.check) line += "[ ] ";
                line += entry.text;
                line += "\t";
                line += entry.shortcut;
                line += "\t" + std::to_string(entry.command);
                lines.push_back(line);
                break;
            }
        }
    }
    return lines;
}

}  // namespace kurvalux_app
