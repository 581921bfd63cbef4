// The command line refuses every word it does not understand (exit status 2, a message that
// names the option and the text, then the usage) and describes every option it does.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "cli_run.h"

namespace {

const std::string kField = std::string(KURVALUX_SOURCE_DIR) + "/examples/demo/demo.kvf";
const std::string kFitMinUsage =
    "usage: kurvalux-cli fit-min FIELD.kvf --object NAME --series K --from JD --to JD "
    "[--start m0,t0,s,A,D,G,C] [--fixed NAMES] [--bootstrap] [--error-method case|block] "
    "[--processors N] [--seed S] "
    "[--root DIR]";
const std::string kStatsUsage = "usage: kurvalux-cli stats FIELD.kvf [--short] [--root DIR]";

std::vector<std::string> FitMin(std::vector<std::string> more) {
    std::vector<std::string> words = {"fit-min", kField, "--object", "WASP-12", "--series", "1"};
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

struct Refusal {
    const char* what;
    std::vector<std::string> words;
    std::string first_line;
    std::string usage;  // the second line
};

TEST(CommandLine, RefusesWhatItDoesNotUnderstand) {
    const std::string digits400 = "1" + std::string(399, '0');
    const std::vector<Refusal> cases = {
        {"unknown option",
         {"stats", kField, "--bogus-flag", "7"},
         "kurvalux-cli stats: unknown option \"--bogus-flag\"",
         kStatsUsage},
        {"misspelt option", FitMin({"--form", "2459482.42", "--to", "2459482.73"}),
         "kurvalux-cli fit-min: unknown option \"--form\" (did you mean --from?)", kFitMinUsage},
        {"misspelt option with =", FitMin({"--to", "1", "--form=2"}),
         "kurvalux-cli fit-min: unknown option \"--form=2\" (did you mean --from?)", kFitMinUsage},
        {"option with one dash",
         {"stats", kField, "-short"},
         "kurvalux-cli stats: unknown option \"-short\" (did you mean --short?)",
         kStatsUsage},
        {"option of another command",
         {"stats", kField, "--object", "WASP-12"},
         "kurvalux-cli stats: unknown option \"--object\"",
         kStatsUsage},
        {"missing value at the end", FitMin({"--from", "1", "--to"}),
         "kurvalux-cli fit-min: option --to needs a value", kFitMinUsage},
        {"missing value before an option", FitMin({"--from", "--to", "2"}),
         "kurvalux-cli fit-min: option --from needs a value", kFitMinUsage},
        {"value given to a flag",
         {"stats", kField, "--short=yes"},
         "kurvalux-cli stats: option --short takes no value, not \"yes\"",
         kStatsUsage},
        {"flag switched off",
         {"stats", kField, "--short=false"},
         "kurvalux-cli stats: option --short takes no value, not \"false\"",
         kStatsUsage},
        {"extra positional",
         {"stats", kField, "other.kvf"},
         "kurvalux-cli stats: unexpected argument \"other.kvf\"",
         kStatsUsage},
        {"third file to save",
         {"save", kField, "a.kvf", "b.kvf"},
         "kurvalux-cli save: unexpected argument \"b.kvf\"",
         "usage: kurvalux-cli save IN.kvf OUT.kvf [--root DIR]"},
        {"exponent", FitMin({"--from", "1e5", "--to", "2"}), "--from needs a number, not \"1e5\"",
         kFitMinUsage},
        {"infinity", FitMin({"--from", "1", "--to", "inf"}), "--to needs a number, not \"inf\"",
         kFitMinUsage},
        {"not a number", FitMin({"--from", "nan", "--to", "2"}),
         "--from needs a number, not \"nan\"", kFitMinUsage},
        {"400 digits", FitMin({"--from", "1", "--to", digits400}),
         "--to needs a number, not \"" + digits400 + "\"", kFitMinUsage},
        {"trailing text", FitMin({"--from", "2459482.42d", "--to", "2"}),
         "--from needs a number, not \"2459482.42d\"", kFitMinUsage},
        {"trailing point", FitMin({"--from", "5.", "--to", "6"}),
         "--from needs a number, not \"5.\"", kFitMinUsage},
        {"blank before", FitMin({"--from", " 5", "--to", "6"}), "--from needs a number, not \" 5\"",
         kFitMinUsage},
        {"empty", FitMin({"--from", "", "--to", "6"}), "--from needs a number, not \"\"",
         kFitMinUsage},
        {"comma",
         {"period-minima", kField, "--object", "WASP-12", "--limit", "0,9"},
         "--limit needs a number, not \"0,9\"",
         "usage: kurvalux-cli period-minima FIELD.kvf --object NAME [--pmin P] [--limit R] "
         "[--secondary-phase S] [--refined] [--threads N] [--root DIR]"},
        {"fraction for a whole number", FitMin({"--series", "1.0", "--from", "1", "--to", "2"}),
         "--series needs a whole number, not \"1.0\"", kFitMinUsage},
        {"two signs", FitMin({"--from", "1", "--to", "2", "--processors", "+-2"}),
         "--processors needs a whole number, not \"+-2\"", kFitMinUsage},
        {"whole number too large", FitMin({"--from", "1", "--to", "2", "--series", "4294967297"}),
         "--series needs a whole number from -2147483648 to 2147483647, not \"4294967297\"",
         kFitMinUsage},
        {"beyond 64 bits", FitMin({"--from", "1", "--to", "2", "--seed", "18446744073709551617"}),
         "--seed needs a whole number from -9223372036854775808 to 9223372036854775807, not "
         "\"18446744073709551617\"",
         kFitMinUsage},
    };
    for (const Refusal& c : cases) {
        const CliRun run = RunCli(c.words);
        EXPECT_EQ(run.status, 2) << c.what;
        EXPECT_EQ(run.ErrLine(0), c.first_line) << c.what;
        EXPECT_EQ(run.ErrLine(1), c.usage) << c.what;
        EXPECT_EQ(run.ErrLine(2), "") << c.what;
        EXPECT_EQ(run.out, "") << c.what;
    }
}

TEST(CommandLine, MissingRequiredOptionsAndUnknownCommands) {
    struct Case {
        std::vector<std::string> words;
        std::string first_line;
    };
    const std::vector<Case> cases = {
        {{"fit-min", kField, "--series", "1", "--from", "1", "--to", "2"}, "--object is required"},
        {{"fit-min", kField, "--object", "WASP-12", "--from", "1", "--to", "2"},
         "fit-min needs --series K --from JD --to JD"},
        {{"periodogram", kField, "--object", "WASP-12", "--pmax", "1", "--step", "0.1"},
         "--pmin is required"},
        {{"stat", kField}, "kurvalux-cli: unknown command \"stat\""},
        {{"help", "stat"}, "kurvalux-cli: unknown command \"stat\""},
        {{"help", "stats", "save"}, "kurvalux-cli help: unexpected argument \"save\""},
        {{}, "usage: kurvalux-cli COMMAND ARGUMENTS"},
    };
    for (const Case& c : cases) {
        const CliRun run = RunCli(c.words);
        EXPECT_EQ(run.status, 2) << c.first_line;
        EXPECT_EQ(run.ErrLine(0), c.first_line);
        EXPECT_EQ(run.out, "");
    }
    // An unknown command is followed by the list of commands.
    const CliRun run = RunCli({"stat", kField});
    EXPECT_EQ(run.ErrLine(1), "usage: kurvalux-cli COMMAND ARGUMENTS");
    EXPECT_NE(run.err.find("\n  stats FIELD.kvf [--short] [--root DIR]\n"), std::string::npos)
        << run.err;
}

// Every subcommand with every option a script may use.
const std::map<std::string, std::vector<std::string>> kOptions = {
    {"chart",
     {"FIELD.kvf", "--object", "--view", "--series", "--from", "--to", "--out", "--width",
      "--height", "--title", "--dpi", "--thumbnail", "--errors", "--unused-minima", "--predicted",
      "--no-fit", "--root"}},
    {"fit-all-minima",
     {"FIELD.kvf", "--object", "--primary", "--secondary-phase", "--secondary",
      "--min-branch-points", "--period", "--series", "--yes", "--save", "--processors", "--seed",
      "--root"}},
    {"fit-min",
     {"FIELD.kvf", "--object", "--series", "--from", "--to", "--start", "--fixed", "--bootstrap",
      "--processors", "--seed", "--root"}},
    {"fit-phase", {"FIELD.kvf", "--object", "--free", "--save", "--root"}},
    {"oc", {"FIELD.kvf", "--object", "--quadratic", "--csv", "--apply", "--root"}},
    {"period-minima",
     {"FIELD.kvf", "--object", "--pmin", "--limit", "--secondary-phase", "--threads", "--root"}},
    {"periodogram",
     {"FIELD.kvf", "--object", "--pmin", "--pmax", "--step", "--double", "--csv", "--harmonics",
      "--threads", "--kernel", "--root"}},
    {"plan",
     {"FIELD.kvf", "--start", "--nights", "--site", "--star-alt", "--sun-alt", "--duration",
      "--objects", "--fit-ephemeris", "--csv", "--ics", "--root"}},
    {"save", {"IN.kvf", "OUT.kvf", "--root"}},
    {"stats", {"FIELD.kvf", "--short", "--root"}},
};

TEST(CommandLine, HelpOfEveryCommandNamesEveryOption) {
    for (const auto& [command, options] : kOptions) {
        const CliRun help = RunCli({"help", command});
        EXPECT_EQ(help.status, 0) << command;
        EXPECT_EQ(help.err, "") << command;
        EXPECT_EQ(help.out.rfind("usage: kurvalux-cli " + command + " ", 0), 0u) << help.out;
        for (const std::string& option : options)
            EXPECT_NE(help.out.find("\n  " + option + " "), std::string::npos)
                << command << " " << option << "\n"
                << help.out;
        // The same text after the command's own --help, whatever else stands beside it.
        const CliRun own = RunCli({command, "--help"});
        EXPECT_EQ(own.status, 0) << command;
        EXPECT_EQ(own.out, help.out) << command;
        const CliRun short_form = RunCli({command, kField, "-h", "--object", "x"});
        EXPECT_EQ(short_form.out, help.out) << command;
    }
}

TEST(CommandLine, HelpListsEveryCommand) {
    const CliRun help = RunCli({"help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind("usage: kurvalux-cli COMMAND ARGUMENTS\n\ncommands:\n", 0), 0u);
    for (const auto& [command, options] : kOptions)
        EXPECT_NE(help.out.find("\n  " + command + " " + options[0] + " "), std::string::npos)
            << command;
    EXPECT_EQ(RunCli({"--help"}).out, help.out);
    // Without any command the list goes to stderr and the run fails.
    const CliRun bare = RunCli({});
    EXPECT_EQ(bare.status, 2);
    EXPECT_EQ(bare.err, help.out);
}

}  // namespace
