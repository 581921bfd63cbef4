// The checking parse of one subcommand's words. CLI11 splits the words along the options the
// command declared; whatever it cannot place (an unknown option, a word too many) and every
// value that is not of the declared kind is refused here, with a message that names the
// option and the text, so that no result is ever made without an option the user typed.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>

#include "cli/command_line.h"

namespace kurvalux_cli {
namespace {

std::map<std::string, Command>& Registry() {
    static std::map<std::string, Command> registry;
    return registry;
}

// CLI11's help, led by our usage line (instead of its "[OPTIONS]" summary) and the summary.
class HelpFormatter : public CLI::Formatter {
public:
    explicit HelpFormatter(std::string usage) : usage_(std::move(usage)) {}
    std::string make_description(const CLI::App*) const override { return ""; }
    std::string make_usage(const CLI::App* app, std::string) const override {
        return "usage: " + usage_ + "\n\n" + app->get_description() + "\n";
    }

private:
    std::string usage_;
};

// The command's declarations as a CLI11 application; `declared` receives the CLI11 option of
// each declaration, in the same order.
std::unique_ptr<CLI::App> MakeApp(const Command& command, std::vector<CLI::Option*>& declared) {
    auto app = std::make_unique<CLI::App>(command.summary, "kurvalux-cli " + command.name);
    app->allow_extras();  // refused by ParseCommandLine with its own messages
    app->set_help_flag("-h,--help", "print this help");
    app->formatter(
        std::make_shared<HelpFormatter>("kurvalux-cli " + command.name + " " + UsageLine(command)));
    for (const OptionSpec& spec : command.options) {
        CLI::Option* option = nullptr;
        switch (spec.kind) {
            case OptionKind::kPositional:
                option = app->add_option(spec.name)->type_name("");
                break;
            case OptionKind::kFlag:
                // "--save=false" would otherwise count as the flag given.
                option = app->add_flag("--" + spec.name)->disable_flag_override();
                break;
            default:
                // Given twice, the last one counts (as scripts that append an option expect).
                option = app->add_option("--" + spec.name)
                             ->type_name(spec.value_name)
                             ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
                break;
        }
        option->description(spec.help);
        declared.push_back(option);
    }
    return app;
}

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

ParseOutcome Refuse(const Command& command, const std::string& message) {
    std::fprintf(stderr, "%s\nusage: kurvalux-cli %s %s\n", message.c_str(), command.name.c_str(),
                 UsageLine(command).c_str());
    return ParseOutcome::kRefused;
}

const OptionSpec* FindOption(const Command& command, const std::string& name) {
    for (const OptionSpec& spec : command.options)
        if (spec.kind != OptionKind::kPositional && spec.name == name) return &spec;
    return nullptr;
}

// "--from --to 5" gives --from the value "--to": a value that is one of the command's own
// options means the value was left out.
bool IsOptionWord(const Command& command, const std::string& word) {
    if (word == "-h" || word == "--help") return true;
    return word.rfind("--", 0) == 0 && FindOption(command, word.substr(2, word.find('=') - 2));
}

std::string UnknownOption(const Command& command, const std::string& word) {
    std::string message = "kurvalux-cli " + command.name + ": unknown option " + Quoted(word);
    const size_t start = std::min(word.find_first_not_of('-'), word.size());
    const size_t equals = std::min(word.find('=', start), word.size());
    const std::string name = word.substr(start, equals - start);
    const OptionSpec* best = nullptr;
    size_t best_distance = 3;
    for (const OptionSpec& spec : command.options) {
        if (spec.kind == OptionKind::kPositional) continue;
        const size_t distance = SpellingDistance(name, spec.name);
        if (distance < best_distance && 3 * distance <= name.size()) {
            best = &spec;
            best_distance = distance;
        }
    }
    if (best) message += " (did you mean --" + best->name + "?)";
    return message;
}

// CLI11 reports a missing value or a value given to a flag without naming the word; find it.
std::string MismatchMessage(const Command& command, const std::vector<std::string>& words,
                            const std::string& fallback) {
    const std::string prefix = "kurvalux-cli " + command.name + ": ";
    for (const std::string& word : words) {
        const size_t equals = word.find('=');
        if (word.rfind("--", 0) != 0 || equals == std::string::npos) continue;
        const OptionSpec* spec = FindOption(command, word.substr(2, equals - 2));
        if (spec && spec->kind == OptionKind::kFlag)
            return prefix + "option --" + spec->name + " takes no value, not " +
                   Quoted(word.substr(equals + 1));
    }
    const OptionSpec* last = words.empty() || words.back().rfind("--", 0) != 0
                                 ? nullptr
                                 : FindOption(command, words.back().substr(2));
    if (last && last->kind != OptionKind::kFlag)
        return prefix + "option " + words.back() + " needs a value";
    return prefix + fallback;
}

// Empty when `value` is of the option's kind; else the refusal.
std::string ValueProblem(const OptionSpec& spec, const std::string& value) {
    const std::string option = "--" + spec.name;
    if (spec.kind == OptionKind::kNumber) {
        double number;
        if (!ReadNumber(value, number)) return option + " needs a number, not " + Quoted(value);
    } else if (spec.kind == OptionKind::kInteger) {
        // An optional sign and digits: anything else is no whole number, however large.
        const size_t digits = value.find_first_not_of("+-") == 1 ? 1 : 0;
        long number;
        if (value.size() == digits ||
            value.find_first_not_of("0123456789", digits) != std::string::npos)
            return option + " needs a whole number, not " + Quoted(value);
        if (!ReadInteger(value, spec.min, spec.max, number))
            return option + " needs a whole number from " + std::to_string(spec.min) + " to " +
                   std::to_string(spec.max) + ", not " + Quoted(value);
    }
    return "";
}

}  // namespace

CommandRegistrar::CommandRegistrar(const char* name, const char* summary, CommandFunction function,
                                   std::vector<OptionSpec> options) {
    Registry()[name] = Command{name, summary, function, std::move(options)};
}

const std::map<std::string, Command>& Commands() {
    return Registry();
}

std::string UsageLine(const Command& command) {
    std::string line;
    for (const OptionSpec& spec : command.options) {
        std::string word = spec.kind == OptionKind::kPositional ? spec.name : "--" + spec.name;
        if (spec.kind != OptionKind::kPositional && spec.kind != OptionKind::kFlag)
            word += " " + spec.value_name;
        if (!line.empty()) line += ' ';
        line += spec.required || spec.kind == OptionKind::kPositional ? word : "[" + word + "]";
    }
    return line;
}

std::string HelpText(const Command& command) {
    std::vector<CLI::Option*> declared;
    return MakeApp(command, declared)->help();
}

ParseOutcome ParseCommandLine(const Command& command, const std::vector<std::string>& words,
                              Args& args) {
    std::vector<CLI::Option*> declared;
    std::unique_ptr<CLI::App> app = MakeApp(command, declared);
    std::vector<std::string> reversed(words.rbegin(), words.rend());  // CLI11 pops from the back
    try {
        app->parse(reversed);
    } catch (const CLI::CallForHelp&) {
        std::fputs(app->help().c_str(), stdout);
        return ParseOutcome::kHelpShown;
    } catch (const CLI::ArgumentMismatch& error) {
        return Refuse(command, MismatchMessage(command, words, error.what()));
    } catch (const CLI::ParseError& error) {
        return Refuse(command, "kurvalux-cli " + command.name + ": " + error.what());
    }

    // First, so that the word a missing value leaves over is not reported instead.
    for (size_t k = 0; k < command.options.size(); ++k) {
        const OptionSpec& spec = command.options[k];
        const CLI::Option& option = *declared[k];
        if (spec.kind != OptionKind::kPositional && spec.kind != OptionKind::kFlag &&
            option.count() > 0 && IsOptionWord(command, option.results().back()))
            return Refuse(command, "kurvalux-cli " + command.name + ": option --" + spec.name +
                                       " needs a value");
    }
    for (const std::string& word : app->remaining()) {
        if (word == "--") continue;  // the end of the options, as a word of its own
        double number;
        if (word.size() > 1 && word[0] == '-' && !ReadNumber(word, number))
            return Refuse(command, UnknownOption(command, word));
        return Refuse(command,
                      "kurvalux-cli " + command.name + ": unexpected argument " + Quoted(word));
    }

    for (size_t k = 0; k < command.options.size(); ++k) {
        const OptionSpec& spec = command.options[k];
        const CLI::Option& option = *declared[k];
        if (option.count() == 0) {
            if (spec.required) {
                std::fprintf(stderr, "%s\n", spec.missing_message.c_str());
                return ParseOutcome::kRefused;
            }
            continue;
        }
        const std::string value = option.results().back();
        if (spec.kind == OptionKind::kFlag) {
            args.flags.push_back(spec.name);
        } else if (spec.kind == OptionKind::kPositional) {
            args.positional.push_back(value);
        } else {
            const std::string problem = ValueProblem(spec, value);
            if (!problem.empty()) return Refuse(command, problem);
            args.options[spec.name] = value;
        }
    }
    return ParseOutcome::kRun;
}

size_t SpellingDistance(const std::string& a, const std::string& b) {
    // Optimal string alignment: insertions, deletions, substitutions and swaps of neighbours.
    std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
    for (size_t j = 0; j <= b.size(); ++j) d[0][j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t cost = a[i - 1] == b[j - 1] ? 0 : 1;
            d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + cost});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
        }
    }
    return d[a.size()][b.size()];
}

}  // namespace kurvalux_cli
