#pragma once

#include <array>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vigilmoth {

// What the command line asks for, decided before anything else exists.
namespace LaunchArguments {

struct SmokeTest {
    double seconds = 0;
    bool operator==(const SmokeTest&) const = default;
};
struct DisplayProbe {
    double seconds = 0;
    bool operator==(const DisplayProbe&) const = default;
};
struct Unknown {
    std::string argument;
    bool operator==(const Unknown&) const = default;
};
struct Lab {
    bool operator==(const Lab&) const = default;
};
struct App {
    bool operator==(const App&) const = default;
};

using Kind = std::variant<SmokeTest, DisplayProbe, Unknown, Lab, App>;

// The options macOS itself passes to an application.
inline constexpr std::array<std::string_view, 3> systemOptionPrefixes = {"-psn_", "-NS", "-Apple"};

// `arguments` is the whole argument vector; its first element (the executable) is never examined.
Kind kind(const std::vector<std::string>& arguments);

}  // namespace LaunchArguments
}  // namespace vigilmoth
