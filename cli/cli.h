#pragma once
// kurvalux-cli: batch use of the core. Each cmd_*.cpp registers one subcommand with a static
// CommandRegistrar; main() parses "--name value" options and flags and dispatches.
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "data/field.h"
#include "data/field_file.h"
#include "platform/message_box.h"

namespace kurvalux_cli {

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

struct CommandRegistrar {
    // `flags` lists the options of this command that take no value.
    CommandRegistrar(const char* name, const char* usage, CommandFunction function,
                     std::vector<std::string> flags = {});
};

// The message boxes of a command-line run: printed to stderr, answered by default (or
// affirmatively after SetAffirmative(true), e.g. for a --yes flag).
kurvalux_platform::CStreamMessageBoxSink& Messages();

// Loads the field named by args.positional[0] with --root (default: the settings file's
// root directory). Prints "Cannot load field: PATH" and returns false when it fails.
bool LoadFieldArgument(const Args& args, kurvalux_data::Field& field);

// Finds --object NAME; prints "No object named NAME" and returns null when absent.
kurvalux_data::CObjectListElem* FindObjectArgument(const Args& args, kurvalux_data::Field& field);

// Saves the field back to args.positional[0]; prints a message on failure.
bool SaveFieldArgument(const Args& args, const kurvalux_data::Field& field);

// Numbers for machines: shortest round-trip text, at least 10 significant digits.
std::string FormatNumber(double value);

}  // namespace kurvalux_cli
