#include "app/LaunchArguments.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace vigilmoth::LaunchArguments {
namespace {

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

// A decimal floating-point number in the C locale, the whole string and nothing else.
// Leading white space is refused although strtod would skip it.
std::optional<double> decimalNumber(const std::string& text) {
    if (text.empty()) return std::nullopt;
    switch (text.front()) {
        case ' ':
        case '\t':
        case '\n':
        case '\v':
        case '\f':
        case '\r':
        case '\0':
            return std::nullopt;
        default:
            break;
    }
    if (text.find('\0') != std::string::npos) return std::nullopt;
    char* end = nullptr;
    double value = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || *end != '\0') return std::nullopt;
    return value;
}

// The timed switches take the first occurrence and look only at the word after it.
std::optional<Kind> timedSwitch(const std::vector<std::string>& args, std::string_view name,
                                double lowest, double highest, bool smoke) {
    auto found = std::find(args.begin(), args.end(), name);
    if (found == args.end()) return std::nullopt;
    Unknown refused{std::string(name)};
    if (std::next(found) == args.end()) return refused;
    auto value = decimalNumber(*std::next(found));
    // NaN fails both comparisons and so is refused with the rest.
    if (!value || !(*value >= lowest && *value <= highest)) return refused;
    if (smoke) return SmokeTest{*value};
    return DisplayProbe{*value};
}

bool isSystemOption(std::string_view argument) {
    return std::any_of(systemOptionPrefixes.begin(), systemOptionPrefixes.end(),
                       [&](std::string_view prefix) { return startsWith(argument, prefix); });
}

}  // namespace

Kind kind(const std::vector<std::string>& arguments) {
    std::vector<std::string> args;
    if (!arguments.empty()) args.assign(arguments.begin() + 1, arguments.end());

    if (std::any_of(args.begin(), args.end(),
                    [](const std::string& argument) { return startsWith(argument, "--lab-"); })) {
        return Lab{};
    }
    if (auto smoke = timedSwitch(args, "--smoke-test", 6, 120, true)) return *smoke;
    if (auto probe = timedSwitch(args, "--display-probe", 1, 3600, false)) return *probe;

    size_t i = 0;
    while (i < args.size()) {
        if (!isSystemOption(args[i])) return Unknown{args[i]};
        if (i + 1 >= args.size()) break;
        i += startsWith(args[i + 1], "-") ? 1 : 2;
    }
    return App{};
}

}  // namespace vigilmoth::LaunchArguments
