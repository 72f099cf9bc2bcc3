// Show that the hook executable is placed by each platform's rule and that the application's
// folder is found from the running executable's path.
#include "hooks/HookLocation.h"

#include <gtest/gtest.h>

#include "hooks/install/HookCatalog.h"

namespace vigilmoth {
namespace {

TEST(HookLocationTest, EachPlatformHasItsSuffix) {
    EXPECT_EQ(HookLocation::executableSuffix(HostPlatform::macos), "/Contents/MacOS/VigilmothHook");
    EXPECT_EQ(HookLocation::executableSuffix(HostPlatform::linux),
              "/libexec/vigilmoth/VigilmothHook");
    EXPECT_EQ(HookCatalog::hookExecutable("/usr/local"),
              "/usr/local" + std::string(HookLocation::executableSuffix()));
}

TEST(HookLocationTest, TheApplicationFolderIsFoundFromTheExecutable) {
    struct Case {
        std::string executable;
        HostPlatform platform;
        std::string appPath;
    };
    const std::vector<Case> cases = {
        {"/usr/bin/vigilmoth", HostPlatform::linux, "/usr"},
        {"/home/me/.local/bin/vigilmoth", HostPlatform::linux, "/home/me/.local"},
        {"/work/build/dev/bin/vigilmoth", HostPlatform::linux, "/work/build/dev"},
        {"/bin/vigilmoth", HostPlatform::linux, "/"},
        {"vigilmoth", HostPlatform::linux, "."},
        {"/Applications/vigilmoth.app/Contents/MacOS/vigilmoth", HostPlatform::macos,
         "/Applications/vigilmoth.app"},
        {"/Users/me/My Apps/vigilmoth.app/Contents/MacOS/vigilmoth", HostPlatform::macos,
         "/Users/me/My Apps/vigilmoth.app"},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.executable);
        EXPECT_EQ(HookLocation::appPath(testCase.executable, testCase.platform), testCase.appPath);
    }
}

}  // namespace
}  // namespace vigilmoth
