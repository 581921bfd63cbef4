#pragma once
// kurvalux-cli: batch use of the core. Each cmd_*.cpp registers its subcommands with a static
// CommandRegistrar that lists the options beside the function; the dispatcher in main.cpp
// refuses any word the list does not explain, so a mistyped option never yields a result made
// without it.
#include <climits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "data/field.h"
#include "data/field_file.h"
#include "platform/message_box.h"

namespace kurvalux_cli {

// The words of one command line after the parser has checked them: every option named here
// was declared by the command, and every number and whole number option holds a valid one.
class Args {
public:
    std::vector<std::string> positional;
    std::map<std::string, std::string> options;  // without the leading "--"
    std::vector<std::string> flags;

    bool Flag(const std::string& name) const;
    bool Has(const std::string& name) const { return options.count(name) != 0; }
    std::string Get(const std::string& name, const std::string& fallback = "") const;
    // Parses a number option; prints a message and returns nullopt when it is not one.
    std::optional<double> Number(const std::string& name) const;
    std::optional<long> Integer(const std::string& name) const;
};

using CommandFunction = int (*)(const Args& args);

enum class OptionKind { kPositional, kFlag, kText, kNumber, kInteger };

// One word a command understands: a positional argument, a flag, or an option with a value.
struct OptionSpec {
    OptionKind kind = OptionKind::kText;
    std::string name;        // without "--"; a positional's name is the one shown in the usage
    std::string value_name;  // what the value is, in the usage and help: JD, NAME, a|b|c
    std::string help;
    long min = INT_MIN, max = INT_MAX;  // the range of a whole number
    bool required = false;
    std::string missing_message;  // printed when a required option is absent
};

OptionSpec Positional(std::string name, std::string help);
OptionSpec Flag(std::string name, std::string help);
OptionSpec Text(std::string name, std::string value_name, std::string help);
// Read like the numbers of the photometry files (see ReadNumber).
OptionSpec Number(std::string name, std::string value_name, std::string help);
OptionSpec Integer(std::string name, std::string value_name, std::string help, long min = INT_MIN,
                   long max = INT_MAX);
// The command does not run without it; the message defaults to "--NAME is required".
OptionSpec Required(OptionSpec spec, std::string missing_message = "");

// The arguments shared by every subcommand that reads a field.
OptionSpec FieldArgument();
OptionSpec RootOption();
OptionSpec ObjectOption();

struct CommandRegistrar {
    CommandRegistrar(const char* name, const char* summary, CommandFunction function,
                     std::vector<OptionSpec> options);
};

// A number with the syntax of the photometry files (optional sign, digits, optional fraction
// of which 11 digits count, no exponent), built the same way, so that a time typed on the
// command line is the very double a file holding the same text gives. The whole text must be
// the number and the result finite.
bool ReadNumber(const std::string& text, double& value);
// A plain decimal whole number (optional sign and digits only) from min to max.
bool ReadInteger(const std::string& text, long min, long max, long& value);

// The message boxes of a command-line run: printed to stderr, answered by default (or
// affirmatively after SetAffirmative(true), e.g. for a --yes flag).
kurvalux_platform::CStreamMessageBoxSink& Messages();

// Loads the field named by args.positional[0] with --root (default: the settings file's
// root directory). Prints "Cannot load field: PATH" and returns false when it fails.
bool LoadFieldArgument(const Args& args, kurvalux_data::Field& field);

// Where the series files of the field named by args.positional[0] are looked for (--root, or
// the settings file's root directory; the program's folder; the field's folder).
kurvalux_data::PathBases FieldPathBases(const Args& args);

// Finds --object NAME; prints "No object named NAME" and returns null when absent.
kurvalux_data::CObjectListElem* FindObjectArgument(const Args& args, kurvalux_data::Field& field);
// Loads the field and finds the --object, which must have M0 and a period to count cycles
// from; null after saying why on stderr.
kurvalux_data::CObjectListElem* LoadObjectWithEphemeris(const Args& args,
                                                        kurvalux_data::Field& field);

// Saves the field back to args.positional[0]; prints a message on failure.
bool SaveFieldArgument(const Args& args, const kurvalux_data::Field& field);

// Numbers for machines: shortest round-trip text, at least 10 significant digits.
std::string FormatNumber(double value);

}  // namespace kurvalux_cli
