#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "cli/cli.h"
#include "platform/system.h"

namespace kurvalux_cli {
namespace {

struct Command {
    const char* usage;
    CommandFunction function;
    std::vector<std::string> flags;
};

std::map<std::string, Command>& Registry() {
    static std::map<std::string, Command> registry;
    return registry;
}

void PrintUsage(std::FILE* out) {
    std::fprintf(out, "usage: kurvalux-cli COMMAND ARGUMENTS\n\ncommands:\n");
    for (const auto& [name, command] : Registry())
        std::fprintf(out, "  %s %s\n", name.c_str(), command.usage);
}

}  // namespace

CommandRegistrar::CommandRegistrar(const char* name, const char* usage, CommandFunction function,
                                   std::vector<std::string> flags) {
    Registry()[name] = Command{usage, function, std::move(flags)};
}

}  // namespace kurvalux_cli

int main(int argc, char** argv) {
    using namespace kurvalux_cli;
    kurvalux_platform::InitProgramFolder(argc > 0 ? argv[0] : nullptr);
    if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "help")) {
        PrintUsage(argc < 2 ? stderr : stdout);
        return argc < 2 ? 2 : 0;
    }
    auto it = Registry().find(argv[1]);
    if (it == Registry().end()) {
        std::fprintf(stderr, "kurvalux-cli: unknown command \"%s\"\n", argv[1]);
        PrintUsage(stderr);
        return 2;
    }
    const Command& command = it->second;
    Args args;
    for (int i = 2; i < argc; ++i) {
        std::string word = argv[i];
        if (word.rfind("--", 0) == 0 && word.size() > 2) {
            std::string name = word.substr(2);
            bool is_flag =
                std::find(command.flags.begin(), command.flags.end(), name) != command.flags.end();
            if (is_flag) {
                args.flags.push_back(name);
            } else if (i + 1 < argc) {
                args.options[name] = argv[++i];
            } else {
                std::fprintf(stderr, "kurvalux-cli: option --%s needs a value\nusage: %s %s\n",
                             name.c_str(), argv[1], command.usage);
                return 2;
            }
        } else {
            args.positional.push_back(word);
        }
    }
    return command.function(args);
}
