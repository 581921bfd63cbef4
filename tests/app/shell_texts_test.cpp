// Title, status texts, questions and the repository panel of the main window.
#include <gtest/gtest.h>

#include "app/shell_texts.h"

namespace kurvalux_app {
namespace {

using kurvalux_data::CLocalSeriesTreeElem;
using kurvalux_data::CObjectListElem;
using kurvalux_data::CWebSeriesTreeElem;

TEST(ShellTexts, TitleCarriesThePathAndTheModifiedStar) {
    const std::string sixty_four = "/" + std::string(59, 'p') + ".kvf";
    ASSERT_EQ(sixty_four.size(), 64u);
    const std::string longer = "/home/observer/" + std::string(70, 'f') + "/night.kvf";
    struct Case {
        std::string path;
        bool modified;
        std::string title;
    } cases[] = {
        {"", false, "KURVALUX - "},
        {"/data/field.kvf", false, "KURVALUX - /data/field.kvf"},
        {"/data/field.kvf", true, "KURVALUX - /data/field.kvf*"},
        {sixty_four, false, "KURVALUX - " + sixty_four},
        {"C:\\Fields\\demo.kvf", true, "KURVALUX - C:\\Fields\\demo.kvf*"},
        // Too long: the end of the path (its file name) stays, 64 characters in all.
        {longer, true, "KURVALUX - ..." + longer.substr(longer.size() - 61) + "*"},
    };
    for (const Case& c : cases) EXPECT_EQ(WindowTitle(c.path, c.modified), c.title) << c.path;
    EXPECT_EQ(ShortenPath(longer, 64).size(), 64u);
}

std::unique_ptr<CLocalSeriesTreeElem> Series(double first, const std::string& path) {
    auto s = std::make_unique<CLocalSeriesTreeElem>();
    s->times = {first, first + 0.1};
    s->values = {12.0, 12.1};
    s->errors = {0, 0};
    s->absolute_path = path;
    return s;
}

TEST(ShellTexts, TheTimeStandardOfTheCurrentSeries) {
    CObjectListElem object;
    struct Case {
        uint32_t jd_type;
        bool converted;
        const char* text;
    } cases[] = {
        {kurvalux_data::kJdUnknown, false, "Series JD type unknown (GJD/HJD not specified)"},
        {kurvalux_data::kJdHeliocentric, false, "Series in HJD"},
        {kurvalux_data::kJdUnknown, true, "Series in HJD (converted from GJD by KURVALUX)"},
        {kurvalux_data::kJdGeocentric, true, "Series in HJD (converted from GJD by KURVALUX)"},
        {kurvalux_data::kJdGeocentric, false,
         "Series in GJD, cannot covert to HJD (unknown RA, Dec)"},
    };
    for (const Case& c : cases) {
        auto series = Series(2459000.5, "/x.txt");
        series->file_meta_data.jd_type = c.jd_type;
        series->hjd_converted = c.converted;
        EXPECT_EQ(SeriesTimeText(object, *series), c.text);
    }
}

TEST(ShellTexts, StatusTextsFollowTheSelection) {
    kurvalux_data::Field field;
    CObjectListElem& object = field.AddObject();
    field.AddObject();
    std::vector<std::string> message;
    ASSERT_TRUE(object.AddSeries(Series(2459000.5, "/data/n1.txt"), "/data/n1.txt", message));
    auto web = std::make_unique<CWebSeriesTreeElem>();
    web->times = {2459001.5};
    web->values = {12.0};
    web->errors = {0};
    web->publisher = "Jan Observer";
    web->file_meta_data.jd_type = kurvalux_data::kJdHeliocentric;
    ASSERT_TRUE(object.AddSeries(std::move(web), "web", message));

    StatusTexts none = ComputeStatusTexts(field, nullptr, -1, false);
    EXPECT_EQ(none.objects, "2 objects");
    EXPECT_EQ(none.series, "0/0 series");
    EXPECT_EQ(none.modified, "");
    EXPECT_EQ(none.source, "");
    EXPECT_EQ(none.time_system, "");

    StatusTexts local = ComputeStatusTexts(field, &object, 0, true);
    EXPECT_EQ(local.series, "1/2 series");
    EXPECT_EQ(local.modified, "Modified");
    EXPECT_EQ(local.source, "/data/n1.txt");
    EXPECT_EQ(local.time_system, "Series JD type unknown (GJD/HJD not specified)");

    StatusTexts remote = ComputeStatusTexts(field, &object, 1, false);
    EXPECT_EQ(remote.series, "2/2 series");
    EXPECT_EQ(remote.source, "Web Repository user: Jan Observer");
    EXPECT_EQ(remote.time_system, "Series in HJD");
}

TEST(ShellTexts, QuestionsBeforeClosingAndReplacingTheField) {
    EXPECT_EQ(std::string(kCloseTitle), "Closing of the KURVALUS window");
    EXPECT_EQ(CloseQuestion(false),
              (std::vector<std::string>{"Do you want to close the KURVALUS window?"}));
    EXPECT_EQ(CloseQuestion(true),
              (std::vector<std::string>{"Do you want to close the KURVALUS window?",
                                        "will discard changes of the Field Description."}));
    EXPECT_EQ(std::string(kFieldModifiedTitle), "Field Description Modified");
    EXPECT_EQ(ReplaceFieldQuestion(true),
              (std::vector<std::string>{"Do you want to save current field description",
                                        "before starting a new one?",
                                        "Choosing [No] will discard current all changes."}));
    EXPECT_EQ(ReplaceFieldQuestion(false)[1], "before opening a new one?");
}

TEST(ShellTexts, RepositoryPanelWordsAndColours) {
    using kurvalux_platform::MakeColour;
    struct Case {
        bool logged_in, busy;
        const char* connection;
        kurvalux_platform::Colour connection_colour;
        const char* state;
        kurvalux_platform::Colour state_colour;
    } cases[] = {
        {true, false, "ONLINE", MakeColour(0, 191, 0), "READY", MakeColour(0, 191, 0)},
        {true, true, "ONLINE", MakeColour(0, 191, 0), "BUSY", MakeColour(191, 0, 0)},
        {false, false, "OFFLINE", MakeColour(191, 0, 0), "N/A", MakeColour(127, 127, 127)},
        {false, true, "OFFLINE", MakeColour(191, 0, 0), "N/A", MakeColour(127, 127, 127)},
    };
    for (const Case& c : cases) {
        WebSession session{c.logged_in, c.busy, "u17", "Jan", "publisher", "example.org/kvx"};
        WebStatusPanel panel = ComputeWebStatusPanel(session);
        EXPECT_EQ(panel.connection, c.connection);
        EXPECT_EQ(panel.connection_colour, c.connection_colour);
        EXPECT_EQ(panel.state, c.state);
        EXPECT_EQ(panel.state_colour, c.state_colour);
        EXPECT_EQ(panel.lines,
                  (std::vector<std::string>{"User: u17", "Name: Jan", "Rights: publisher",
                                            "Server: example.org/kvx"}));
    }
}

}  // namespace
}  // namespace kurvalux_app
