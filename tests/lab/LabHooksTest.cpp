// Show that "vigilmoth --lab-hooks" lists, installs and removes hooks in the home folder it is
// given, prints the installer's sentences, and fails with status 1 when the installer refuses.
#include <gtest/gtest.h>

#include <filesystem>

#include "support/MachineWording.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using namespace testing;
namespace fs = std::filesystem;

class LabHooksTest : public ::testing::Test {
protected:
    ProcessResult lab(const std::vector<std::string>& arguments) {
        std::vector<std::string> all = {"--lab-hooks"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        ProcessOptions options;
        options.environment = {{"HOME", home.path().string()}, {"XDG_DATA_HOME", std::nullopt}};
        return runVigilmoth(all, options);
    }

    TemporaryFolder home;
};

TEST_F(LabHooksTest, ListsEveryEntryWithItsStatus) {
    fs::create_directories(home.path() / ".claude");
    fs::create_directories(home.path() / ".cursor");
    writeFile(home.path() / ".cursor/hooks.json", "{\"hooks\": {,}}");
    fs::create_directories(home.path() / ".config/opencode");
    auto result = lab({});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out,
              "claude    not installed           ~/.claude/settings.json\n"
              "codex     not set up              ~/.codex/hooks.json\n"
              "droid     not set up              ~/.factory/settings.json\n"
              "opencode  not installed           ~/.config/opencode/plugins/vigilmoth.js\n"
              "pi        not set up              ~/.pi/agent/extensions/vigilmoth.js\n"
              "cursor    unreadable              ~/.cursor/hooks.json\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(LabHooksTest, InstallsAndRemovesWithTheBuildsHookExecutable) {
    fs::create_directories(home.path() / ".codex");
    const std::string original = "{\r\n    \"hooks\": {}\r\n}\r\n";
    writeFile(home.path() / ".codex/hooks.json", original);

    auto installed = lab({"install", "codex"});
    EXPECT_EQ(installed.status, 0) << installed.err;
    EXPECT_EQ(installed.out,
              "Installed the Codex hooks in ~/.codex/hooks.json.\n"
              "One more step for Codex: type /hooks in Codex and approve vigilmoth.\n");
    auto text = readFile(home.path() / ".codex/hooks.json");
    const std::string hook = std::string(VIGILMOTH_BUILD_DIR) + "/libexec/vigilmoth/VigilmothHook";
    EXPECT_NE(text.find("'" + hook + "' codex PermissionRequest v=1"), std::string::npos) << text;
    EXPECT_NE(lab({}).out.find("codex     installed (version 1)"), std::string::npos);
    EXPECT_TRUE(
        fs::exists(home.path() / ".local/share/com.vigilmoth.app/hook-installs/codex.json"));

    auto removed = lab({"remove", "codex"});
    EXPECT_EQ(removed.status, 0) << removed.err;
    EXPECT_EQ(removed.out, "Removed the Codex hooks from ~/.codex/hooks.json.\n");
    EXPECT_EQ(readFile(home.path() / ".codex/hooks.json"), original);
}

TEST_F(LabHooksTest, RefusalsPrintTheSentenceAndExitOne) {
    fs::create_directories(home.path() / ".claude");
    writeFile(home.path() / ".claude/settings.json", "{\"hooks\": []}\n");
    struct Case {
        std::vector<std::string> arguments;
        std::string err;
    };
    const std::vector<Case> cases = {
        {{"install", "droid"},
         worded(
             "This agent is not set up on this Mac. ~/.factory/settings.json does not exist.\n")},
        {{"install", "claude"},
         "~/.claude/settings.json has a layout vigilmoth does not recognize, so it did not "
         "change it.\n"},
        {{"remove", "claude"},
         "~/.claude/settings.json has a layout vigilmoth does not recognize, so it did not "
         "change it.\n"},
        {{"install", "aider"},
         "Unknown hook entry aider. The entries are claude, codex, droid, opencode, pi, "
         "cursor.\n"},
        {{"install"}, "Usage: vigilmoth --lab-hooks [install ID | remove ID]\n"},
        {{"list", "claude"}, "Usage: vigilmoth --lab-hooks [install ID | remove ID]\n"},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(::testing::PrintToString(testCase.arguments));
        auto result = lab(testCase.arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, testCase.err);
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(readFile(home.path() / ".claude/settings.json"), "{\"hooks\": []}\n");
}

}  // namespace
}  // namespace vigilmoth
