#pragma once
// The dispatcher's view of the registered subcommands: their usage lines and help texts,
// and the checking parse of one command line into Args.
#include <map>
#include <string>
#include <vector>

#include "cli/cli.h"

namespace kurvalux_cli {

struct Command {
    std::string name;
    std::string summary;
    CommandFunction function = nullptr;
    std::vector<OptionSpec> options;
};

// Every subcommand, by name.
const std::map<std::string, Command>& Commands();

// "FIELD.kvf --object NAME [--short] ...": the command's arguments in declaration order,
// optional ones in brackets.
std::string UsageLine(const Command& command);

// The full help of one command: summary, usage and every argument with its description.
std::string HelpText(const Command& command);

enum class ParseOutcome { kRun, kHelpShown, kRefused };

// Parses the words after the command name. A refusal is printed to stderr (a one-line message
// naming the option and the text, then the usage); --help prints the help to stdout.
ParseOutcome ParseCommandLine(const Command& command, const std::vector<std::string>& words,
                              Args& args);

// Edit distance with transpositions, for suggesting the option a mistyped one was meant to be.
size_t SpellingDistance(const std::string& a, const std::string& b);

}  // namespace kurvalux_cli
