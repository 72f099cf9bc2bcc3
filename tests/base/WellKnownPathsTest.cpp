// Show that vigilmoth's folders follow each platform's conventions, XDG's fallbacks included,
// and that the runtime folder falls back to a private temporary folder.
#include "base/WellKnownPaths.h"

#include <gtest/gtest.h>

#include <sstream>

#include "base/Golden.h"

namespace vigilmoth {
namespace {

TEST(WellKnownPathsTest, FoldersFollowThePlatformAndXdg) {
    testing::expectEachLineReads("base/well-known-paths.txt", [](const std::string& line) {
        std::istringstream words(line);
        std::string platform, data, runtime, config;
        words >> platform >> data >> runtime >> config;
        auto value = [](const std::string& word) -> std::optional<std::string> {
            if (word == "-") return std::nullopt;
            return word == "''" ? "" : word;
        };
        const PathEnvironment environment{.home = "/home/ada",
                                          .xdgDataHome = value(data),
                                          .xdgConfigHome = value(config),
                                          .xdgRuntimeDir = value(runtime),
                                          .userID = 1000};
        return WellKnownPaths::applicationSupport(
                   environment, platform == "macos" ? HostPlatform::macos : HostPlatform::linux) +
               ", " + WellKnownPaths::runtime(environment) + ", " +
               WellKnownPaths::configuration(environment) + ", " +
               WellKnownPaths::autostartEntry(environment);
    });
}

}  // namespace
}  // namespace vigilmoth
