// kurvalux-cli COMMAND ARGUMENTS: picks the subcommand, checks its words against the
// options it declares, and runs it. Exit status 2 for a command line that is not understood.
#include <cstdio>
#include <string>
#include <vector>

#include "cli/command_line.h"
#include "platform/system.h"

namespace kurvalux_cli {
namespace {

void PrintCommandList(std::FILE* out) {
    std::fprintf(out, "usage: kurvalux-cli COMMAND ARGUMENTS\n\ncommands:\n");
    for (const auto& [name, command] : Commands())
        std::fprintf(out, "  %s %s\n", name.c_str(), UsageLine(command).c_str());
    std::fprintf(out,
                 "\n\"kurvalux-cli help COMMAND\" or \"kurvalux-cli COMMAND --help\" describes "
                 "every option of one command.\n");
}

const Command* FindCommand(const std::string& name) {
    auto it = Commands().find(name);
    if (it != Commands().end()) return &it->second;
    std::fprintf(stderr, "kurvalux-cli: unknown command \"%s\"\n", name.c_str());
    PrintCommandList(stderr);
    return nullptr;
}

// "help" alone lists the commands; "help COMMAND" describes one.
int Help(const std::vector<std::string>& words) {
    if (words.empty()) {
        PrintCommandList(stdout);
        return 0;
    }
    if (words.size() > 1) {
        std::fprintf(stderr, "kurvalux-cli help: unexpected argument \"%s\"\n", words[1].c_str());
        std::fprintf(stderr, "usage: kurvalux-cli help [COMMAND]\n");
        return 2;
    }
    const Command* command = FindCommand(words[0]);
    if (!command) return 2;
    std::fputs(HelpText(*command).c_str(), stdout);
    return 0;
}

}  // namespace
}  // namespace kurvalux_cli

int main(int argc, char** argv) {
    using namespace kurvalux_cli;
    kurvalux_platform::InitProgramFolder(argc > 0 ? argv[0] : nullptr);
    if (argc < 2) {
        PrintCommandList(stderr);
        return 2;
    }
    const std::string name = argv[1];
    const std::vector<std::string> words(argv + 2, argv + argc);
    if (name == "help" || name == "--help" || name == "-h") return Help(words);
    const Command* command = FindCommand(name);
    if (!command) return 2;
    Args args;
    switch (ParseCommandLine(*command, words, args)) {
        case ParseOutcome::kHelpShown:
            return 0;
        case ParseOutcome::kRefused:
            return 2;
        case ParseOutcome::kRun:
            break;
    }
    return command->function(args);
}
