// Option declarations, the readers of number and whole-number texts, and Args' accessors.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "cli/cli.h"
#include "data/number_syntax.h"

namespace kurvalux_cli {

bool ReadNumber(const std::string& text, double& value) {
    const char* p = text.data();
    const char* end = p + text.size();
    double number = 0;
    // A finite check of our own: a 400-digit number builds up to infinity.
    if (!kurvalux_data::ParseDecimalNumber(p, end, number) || p != end || !std::isfinite(number))
        return false;
    value = number;
    return true;
}

bool ReadInteger(const std::string& text, long min, long max, long& value) {
    // from_chars takes a leading "-" but not "+"; a "+" may stand only before a digit.
    const char* p = text.data();
    const char* end = p + text.size();
    if (p < end && *p == '+') ++p;
    if (p == end || !(kurvalux_data::IsDecimalDigit(*p) || (*p == '-' && p == text.data())))
        return false;
    long number = 0;
    const auto result = std::from_chars(p, end, number);
    if (result.ec != std::errc() || result.ptr != end || number < min || number > max) return false;
    value = number;
    return true;
}

bool Args::Flag(const std::string& name) const {
    return std::find(flags.begin(), flags.end(), name) != flags.end();
}

std::string Args::Get(const std::string& name, const std::string& fallback) const {
    auto it = options.find(name);
    return it == options.end() ? fallback : it->second;
}

std::optional<double> Args::Number(const std::string& name) const {
    const std::string text = Get(name);
    double value = 0;
    if (!ReadNumber(text, value)) {
        std::fprintf(stderr, "--%s needs a number, not \"%s\"\n", name.c_str(), text.c_str());
        return std::nullopt;
    }
    return value;
}

std::optional<long> Args::Integer(const std::string& name) const {
    const std::string text = Get(name);
    long value = 0;
    if (!ReadInteger(text, LONG_MIN, LONG_MAX, value)) {
        std::fprintf(stderr, "--%s needs a whole number, not \"%s\"\n", name.c_str(), text.c_str());
        return std::nullopt;
    }
    return value;
}

OptionSpec Positional(std::string name, std::string help) {
    OptionSpec spec;
    spec.kind = OptionKind::kPositional;
    spec.name = std::move(name);
    spec.help = std::move(help);
    return spec;
}

OptionSpec Flag(std::string name, std::string help) {
    OptionSpec spec;
    spec.kind = OptionKind::kFlag;
    spec.name = std::move(name);
    spec.help = std::move(help);
    return spec;
}

OptionSpec Text(std::string name, std::string value_name, std::string help) {
    OptionSpec spec;
    spec.kind = OptionKind::kText;
    spec.name = std::move(name);
    spec.value_name = std::move(value_name);
    spec.help = std::move(help);
    return spec;
}

OptionSpec Number(std::string name, std::string value_name, std::string help) {
    OptionSpec spec = Text(std::move(name), std::move(value_name), std::move(help));
    spec.kind = OptionKind::kNumber;
    return spec;
}

OptionSpec Integer(std::string name, std::string value_name, std::string help, long min, long max) {
    OptionSpec spec = Text(std::move(name), std::move(value_name), std::move(help));
    spec.kind = OptionKind::kInteger;
    spec.min = min;
    spec.max = max;
    return spec;
}

OptionSpec Required(OptionSpec spec, std::string missing_message) {
    spec.required = true;
    spec.missing_message =
        missing_message.empty() ? "--" + spec.name + " is required" : std::move(missing_message);
    return spec;
}

OptionSpec FieldArgument() {
    return Positional("FIELD.kvf", "the field description file");
}

OptionSpec RootOption() {
    return Text("root", "DIR",
                "root directory of the photometry files (default: RootPath of the settings)");
}

OptionSpec ObjectOption() {
    return Required(Text("object", "NAME", "the object, by its name in the field"));
}

}  // namespace kurvalux_cli
