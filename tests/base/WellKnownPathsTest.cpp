// Show that vigilmoth's folders follow each platform's conventions, XDG's fallbacks included.
#include "base/WellKnownPaths.h"

#include <gtest/gtest.h>

namespace vigilmoth {
namespace {

TEST(WellKnownPathsTest, FoldersFollowThePlatformAndXdg) {
    struct Case {
        const char* name;
        PathEnvironment environment;
        HostPlatform platform;
        std::string support;
    };
    PathEnvironment plain{.home = "/home/ada", .userID = 1000};
    PathEnvironment xdg = plain;
    xdg.xdgDataHome = "/data";
    PathEnvironment relative = plain;
    relative.xdgDataHome = "data";
    PathEnvironment empty = plain;
    empty.xdgDataHome = "";
    const std::vector<Case> cases = {
        {"macOS ignores XDG", xdg, HostPlatform::macos,
         "/home/ada/Library/Application Support/com.vigilmoth.app"},
        {"Linux default", plain, HostPlatform::linux, "/home/ada/.local/share/com.vigilmoth.app"},
        {"Linux XDG_DATA_HOME", xdg, HostPlatform::linux, "/data/com.vigilmoth.app"},
        {"relative XDG ignored", relative, HostPlatform::linux,
         "/home/ada/.local/share/com.vigilmoth.app"},
        {"empty XDG ignored", empty, HostPlatform::linux,
         "/home/ada/.local/share/com.vigilmoth.app"},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        EXPECT_EQ(WellKnownPaths::applicationSupport(testCase.environment, testCase.platform),
                  testCase.support);
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
