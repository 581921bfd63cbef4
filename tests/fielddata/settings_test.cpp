// The settings file: keys, recent files, the filter table and its refusals.
#include "data/settings.h"

#include <gtest/gtest.h>

#include "temp_folder.h"

using namespace kurvalux_data;

namespace {

TEST(Settings, BuiltInFilterTable) {
    const FilterTable table = FilterTable::BuiltIn();
    EXPECT_EQ(table.Size(), 38u);
    struct Case {
        const char* name;
        uint32_t colour;
    } cases[] = {{"B", 0xFFFF0000},      {"Blue", 0xFFFF0000}, {"CLS", 0xFF7F7F7F},
                 {"Halpha", 0xFF00007F}, {"N/A", 0xFF000000},  {"R", 0xFF0050FF},
                 {"SloanG", 0xFFABE306}, {"Z", 0xFF00005F},    {"V", 0xFF00C000}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const CFilterTreeElem* filter = table.Find(c.name);
        ASSERT_NE(filter, nullptr);
        EXPECT_EQ(filter->colour, c.colour);
    }
    EXPECT_EQ(table.Find("TESS"), nullptr);
    EXPECT_EQ(table.Filters().front().name, "B");  // name order
}

TEST(Settings, FilterSections) {
    struct Case {
        const char* name;
        const char* text;
        std::vector<std::pair<std::string, uint32_t>> filters;
    } cases[] = {
        {"empty section gives an empty table", "[KURVALUX]\nXPos=1\n[Filters]\n", {}},
        {"bad hexadecimal gives FF000000",
         "[Filters]\n  Mine  = zz12 \nV=FF00C000\n",
         {{"Mine", 0xFF000000}, {"V", 0xFF00C000}}},
        {"values are cut at 15 characters", "[Filters]\nX=00000000000000AB12\n", {{"X", 0xA}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Settings settings;
        ParseSettings(c.text, settings);
        std::vector<std::pair<std::string, uint32_t>> got;
        for (const auto& f : settings.filters.Filters()) got.emplace_back(f.name, f.colour);
        EXPECT_EQ(got, c.filters);
    }
    Settings without;
    ParseSettings("[KURVALUX]\nXPos=1\n", without);
    EXPECT_EQ(without.filters.Size(), 38u);
}

TEST(Settings, FilterTableOperations) {
    FilterTable table;
    EXPECT_TRUE(table.Add("V", 1));
    EXPECT_TRUE(table.Add("R", 2));
    EXPECT_FALSE(table.Add("V", 3));
    EXPECT_FALSE(table.Rename("R", "V"));  // "Filter exists"
    EXPECT_TRUE(table.Rename("R", "Rc"));
    EXPECT_EQ(table.Find("Rc")->colour, 2u);
    EXPECT_EQ(table.Find("R"), nullptr);
    EXPECT_TRUE(table.SetColour("V", 9));
    EXPECT_EQ(table.Find("V")->colour, 9u);
    EXPECT_TRUE(table.Remove("V"));
    EXPECT_FALSE(table.Remove("V"));
    EXPECT_EQ(table.Size(), 1u);
}

TEST(Settings, KeysRecentFilesAndDefaults) {
    Settings settings;
    const bool found = ParseSettings(
        "[KURVALUX]\r\nXPos=15\r\nMaximized=1\r\nMinimalPeriod=0.25\r\nRootPath=D:\\Photometry\r\n"
        "Width=wide\r\nCheckVersion=0\r\nHTMLExportOptions=7\r\nMinimumErrorMethod=block\r\n"
        "AccurateHeliocentricConversion=1\r\n"
        "[MRUfiles]\r\n0=C:\\a.kvf\r\n5=/home/b.kvf\r\n",
        settings);
    EXPECT_TRUE(found);
    EXPECT_EQ(settings.x_pos, 15);
    EXPECT_TRUE(settings.maximized);
    EXPECT_EQ(settings.minimal_period, 0.25);
    EXPECT_EQ(settings.root_path, "D:\\Photometry");
    EXPECT_EQ(settings.width, Settings{}.width);  // a value that does not parse keeps the default
    EXPECT_EQ(settings.html_export_options, 7);
    EXPECT_EQ(settings.minimum_error_method, "block");
    EXPECT_EQ(Settings{}.minimum_error_method, "case");
    EXPECT_TRUE(settings.accurate_heliocentric);
    EXPECT_FALSE(Settings{}.accurate_heliocentric);
    EXPECT_EQ(settings.recent_files, (std::vector<std::string>{"C:\\a.kvf", "/home/b.kvf"}));
    Settings none;
    EXPECT_FALSE(ParseSettings("[Other]\nXPos=3\n", none));
    EXPECT_EQ(none.x_pos, Settings{}.x_pos);
}

TEST(Settings, SaveLoadRoundTripWithProtectedPassword) {
    TempFolder folder;
    Settings settings;
    settings.web_repository_password = "s3cret=;[x]";
    settings.root_path = "/data/photometry";
    settings.filters.Add("TESS", 0xFF102030);
    for (int i = 0; i < 10; ++i) settings.AddRecentFile("/f" + std::to_string(i) + ".kvf");
    settings.AddRecentFile("/f5.kvf");
    const std::string path = folder.Path() + "sub/kurvalux.ini";
    ASSERT_TRUE(SaveSettings(path, settings));
    const std::string text = folder.Read("sub/kurvalux.ini");
    EXPECT_EQ(text.rfind("[KURVALUX]\r\nXPos=", 0), 0u);
    EXPECT_EQ(text.find("s3cret"), std::string::npos);
    EXPECT_LT(text.find("CheckVersion="), text.find("MinimumErrorMethod=case\r\n"));
    EXPECT_LT(text.find("MinimumErrorMethod="), text.find("[MRUfiles]"));
    EXPECT_LT(text.find("[MRUfiles]"), text.find("[Filters]"));
    EXPECT_NE(text.find("TESS=FF102030\r\n"), std::string::npos);

    Settings loaded;
    ASSERT_TRUE(LoadSettings(path, loaded));
    EXPECT_EQ(loaded.web_repository_password, "s3cret=;[x]");
    EXPECT_EQ(loaded.root_path, "/data/photometry");
    EXPECT_EQ(loaded.recent_files.size(), 8u);
    EXPECT_EQ(loaded.recent_files[0], "/f5.kvf");
    EXPECT_EQ(loaded.recent_files[1], "/f9.kvf");
    EXPECT_EQ(loaded.filters.Find("TESS")->colour, 0xFF102030u);
    EXPECT_EQ(SettingsToText(loaded), text);

    Settings plain;
    ParseSettings("[KURVALUX]\nUseEncryptedPassword=0\nWebRepositoryPassword=open\n", plain);
    EXPECT_EQ(plain.web_repository_password, "open");
}

}  // namespace
