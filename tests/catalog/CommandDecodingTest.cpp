// Show that command lines are decoded through launchers, script interpreters and command
// targets into the names an agent may be known by, and the arguments after its name.
#include "catalog/CommandDecoding.h"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>

namespace vigilmoth {
namespace {

std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

TEST(CommandDecodingTest, DecodesLaunchersInterpretersAndTargets) {
    // executable, arguments, names, arguments after the name (words split at spaces),
    // interpreted
    const std::tuple<std::string, std::string, std::string, std::string, bool> cases[] = {
        {"/usr/local/bin/claude", "claude --resume", "claude", "--resume", false},
        // argument 0 and executable name differ: both are names, argument 0 first.
        {"/opt/x/claude.exe", "claude", "claude claude.exe", "", false},
        {"/usr/bin/node", "npx -y gemini-cli", "npx gemini-cli node", "", true},
        // A scoped package with a version counts by its name alone.
        {"/usr/bin/node", "npx -y @openai/codex@latest exec", "npx codex node", "exec", true},
        {"/usr/bin/uv", "uv tool run aider", "uv aider", "", false},
        {"/usr/bin/uv", "uv run --with x aider -v", "uv aider", "-v", false},
        {"/usr/bin/uvx", "uvx aider", "uvx aider", "", false},
        {"/usr/bin/uvx", "uvx --from=aider-chat aider", "uvx aider", "", false},
        // -w takes no value for pnpm, so x is the program.
        {"/usr/bin/pnpm", "pnpm -w dlx x", "pnpm x", "", false},
        // For yarn, -w takes the next word as its value: nothing is left to launch.
        {"/usr/bin/yarn", "yarn -w dlx x", "yarn", "-w dlx x", false},
        {"/usr/bin/bun", "bun x opencode", "bun opencode", "", true},
        {"/usr/bin/npm", "npm exec -- pi", "npm pi", "", false},
        // A path that is not in a bin folder is not a command target.
        {"/usr/bin/npx", "npx ./tools/gemini", "npx", "./tools/gemini", false},
        {"/usr/bin/npx", "npx node_modules/.bin/gemini", "npx gemini", "", false},
        {"/usr/bin/npx", "npx npm:@google/gemini-cli@1.2", "npx gemini-cli", "", false},
        // Only the first three positional words are looked at.
        {"/usr/bin/pipx", "pipx a b c run x", "pipx", "a b c run x", false},
        {"/usr/bin/node", "node /opt/agents/gemini/node_modules/.bin/gemini", "node gemini", "",
         true},
        {"/usr/bin/node", "/usr/bin/node --max-old-space-size=12052 /opt/g/.bin/gemini -p hi",
         "node gemini", "-p hi", true},
        {"/usr/bin/node", "node -r ts-node/register cli.js", "node cli.js", "", true},
        // Inline code has no script to name.
        {"/usr/bin/node", "node -e claude()", "node", "-e claude()", false},
        // A script that is itself a launcher: the launched program is decoded too.
        {"/usr/bin/node", "node /usr/lib/node_modules/npm/bin/npx-cli.js -y x", "node npx-cli npm",
         "-y x", true},
        {"/usr/bin/node", "node /usr/bin/npx -y gemini-cli", "node npx gemini-cli", "", true},
        {"/usr/bin/python3.12", "python3 -m aider.main --model x", "python3 aider python3.12",
         "--model x", true},
        {"/usr/bin/python3", "python3 -X utf8 -Wm openhands", "python3 openhands", "", true},
        {"/usr/bin/python3", "python3 -c import", "python3", "-c import", false},
        // The interpreter may be found by its executable when argument 0 is something else.
        {"/usr/bin/node", "pi --continue", "pi node", "--continue", false},
        {"/usr/bin/ruby", "ruby -I lib bin/tool go", "ruby tool", "go", true},
        {"/usr/bin/deno", "deno run -A jsr:@x/agent@1", "deno agent", "", true},
        {"", "", "", "", false},
        {"/usr/bin/MyBot", "MyBot", "mybot", "", false},
    };
    for (const auto& [executable, arguments, names, rest, interpreted] : cases) {
        SCOPED_TRACE(executable + " " + arguments);
        auto command =
            CommandDecoding::command({.executablePath = executable, .arguments = words(arguments)});
        EXPECT_EQ(command.names, words(names));
        EXPECT_EQ(command.arguments, words(rest));
        EXPECT_EQ(command.interpreted, interpreted);
    }
}

TEST(CommandDecodingTest, RecognisesCommandTargetsAndTheirNames) {
    const std::tuple<std::string, bool, std::string> cases[] = {
        {"gemini-cli", true, "gemini-cli"},
        {"@openai/codex@latest", true, "codex"},
        {"@openai/codex", true, "codex"},
        // An "@" at the start is a scope, not a version.
        {"@codex", true, "@codex"},
        {"npm:@scope/Tool@2", true, "tool"},
        {"jsr:@std/agent", true, "agent"},
        {"npm:jsr:x", true, "x"},
        {"/usr/local/bin/Claude", true, "claude"},
        {"node_modules/.bin/pi", true, "pi"},
        {"./scripts/pi", false, "pi"},
        {"/opt/bin2/pi", false, "pi"},
        {"", true, ""}};
    for (const auto& [word, target, name] : cases) {
        SCOPED_TRACE(word);
        EXPECT_EQ(CommandDecoding::isCommandTarget(word), target);
        EXPECT_EQ(CommandDecoding::targetName(word), name);
    }
}

}  // namespace
}  // namespace vigilmoth
