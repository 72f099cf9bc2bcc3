// Show that vigilmoth's folders follow each platform's conventions, XDG's fallbacks included.
#include "base/WellKnownPaths.h"

#include <gtest/gtest.h>

namespace vigilmoth {
namespace {

TEST(WellKnownPathsTest, FoldersFollowThePlatformAndXdg) {
    const std::string home = "/home/ada/.local/share/com.vigilmoth.app";
    const std::tuple<const char*, std::optional<std::string>, HostPlatform, std::string> cases[] = {
        {"macOS ignores XDG", "/data", HostPlatform::macos,
         "/home/ada/Library/Application Support/com.vigilmoth.app"},
        {"Linux default", std::nullopt, HostPlatform::linux, home},
        {"Linux XDG_DATA_HOME", "/data", HostPlatform::linux, "/data/com.vigilmoth.app"},
        {"relative XDG ignored", "data", HostPlatform::linux, home},
        {"empty XDG ignored", "", HostPlatform::linux, home}};
    for (const auto& [name, xdgDataHome, platform, support] : cases) {
        SCOPED_TRACE(name);
        PathEnvironment environment{.home = "/home/ada", .userID = 1000};
        environment.xdgDataHome = xdgDataHome;
        EXPECT_EQ(WellKnownPaths::applicationSupport(environment, platform), support);
    }
}

TEST(WellKnownPathsTest, RuntimeFolderFallsBackToAPrivateTemporaryFolder) {
    PathEnvironment environment{.home = "/home/ada", .userID = 1000};
    EXPECT_EQ(WellKnownPaths::runtime(environment), "/tmp/com.vigilmoth.app-1000");
    environment.xdgRuntimeDir = "/run/user/1000";
    EXPECT_EQ(WellKnownPaths::runtime(environment), "/run/user/1000/com.vigilmoth.app");
    EXPECT_EQ(WellKnownPaths::configuration(environment), "/home/ada/.config/com.vigilmoth.app");
    EXPECT_EQ(WellKnownPaths::autostartEntry(environment),
              "/home/ada/.config/autostart/vigilmoth.desktop");
    environment.xdgConfigHome = "/cfg";
    EXPECT_EQ(WellKnownPaths::autostartEntry(environment), "/cfg/autostart/vigilmoth.desktop");
}

}  // namespace
}  // namespace vigilmoth
