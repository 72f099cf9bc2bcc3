#include "app/Main.h"

#include <cstdio>
#include <string_view>

#include "app/LaunchArguments.h"
#include "app/Platform.h"

namespace vigilmoth {
namespace {

void writeStandardError(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

template <class... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};
// Deduction for aggregates is C++20, but Apple's clang before Xcode 16 does not implement it.
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

}  // namespace

bool Main::anotherCopyStaysRunning(const CopyCoordination& coordination) {
    constexpr double kPollInterval = 0.25;
    constexpr double kPatience = 5.0;
    double waited = 0;
    while (true) {
        if (coordination.otherCopies().empty()) return false;
        if (waited >= kPatience) break;
        coordination.sleep(kPollInterval);
        waited += kPollInterval;
    }
    coordination.postShowPreferences();
    auto copies = coordination.otherCopies();
    if (!copies.empty()) coordination.activate(copies.front());
    return true;
}

int Main::main(const std::vector<std::string>& arguments) {
    return std::visit(
        Overloaded{
            [&](const LaunchArguments::Lab&) { return Platform::runLab(arguments) ? 0 : 1; },
            [&](const LaunchArguments::Unknown& unknown) {
                writeStandardError("Unknown argument " + unknown.argument +
                                   ". The app starts without arguments.\n");
                return 1;
            },
            [&](const LaunchArguments::SmokeTest& smoke) {
                return Platform::runSmokeTest(smoke.seconds);
            },
            [&](const LaunchArguments::DisplayProbe& probe) {
                return Platform::runDisplayProbe(probe.seconds);
            },
            [&](const LaunchArguments::App&) {
                if (anotherCopyStaysRunning(Platform::copyCoordination())) {
                    writeStandardError("vigilmoth is already running.\n");
                    return 0;
                }
                return Platform::runApplication();
            },
        },
        LaunchArguments::kind(arguments));
}

}  // namespace vigilmoth
