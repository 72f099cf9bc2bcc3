#include "catalog/AgentDefinitions.h"

namespace vigilmoth::AgentDefinitions {
namespace {

using Level = AgentDefinition::Level;
using Kind = AgentDefinition::Kind;

// Most command-line agents are known by one or a few process names and nothing else.
AgentDefinition cli(std::string id, std::string displayName, std::vector<std::string> names = {},
                    std::vector<ArgumentPattern> unless = {}, bool verified = false) {
    if (names.empty()) names.push_back(id);
    AgentDefinition definition{.id = std::move(id),
                               .displayName = std::move(displayName),
                               .level = Level::activity,
                               .kind = Kind::cli,
                               .matchers = {},
                               .exclusions = {},
                               .verified = verified};
    for (auto& name : names)
        definition.matchers.push_back(
            {ProcessMatcher::name(std::move(name)), ArgumentPattern::any(), unless});
    return definition;
}

AgentDefinition verifiedCli(std::string id, std::string displayName) {
    return cli(std::move(id), std::move(displayName), {}, {}, true);
}

AgentMatcher withAnyArguments(ProcessMatcher process) {
    return {std::move(process), ArgumentPattern::any(), {}};
}

AgentExclusion anyProcess(ArgumentPattern arguments, AgentRole role) {
    return {std::nullopt, std::move(arguments), role};
}

const char* const kCodexCLIPath = "Contents/Resources/codex-cli/CodexCLI.app/Contents/MacOS/codex";

AgentDefinition codexDesktop() {
    return {
        .id = "codex-desktop",
        .displayName = "Codex",
        .level = Level::state,
        .kind = Kind::desktop,
        .matchers = {{ProcessMatcher::appBundle(std::nullopt, kCodexCLIPath),
                      ArgumentPattern::contains({"app-server"}),
                      {}}},
        .exclusions = {{ProcessMatcher::appBundle(std::nullopt, kCodexCLIPath),
                        ArgumentPattern::contains({"exec-server"}), AgentRole::helper},
                       {ProcessMatcher::appBundle(
                            std::nullopt, "Contents/Resources/codex-cli/bin/codex-code-mode-host"),
                        ArgumentPattern::any(), AgentRole::helper}},
        .verified = true};
}

AgentDefinition cursorDesktop() {
    return {
        .id = "cursor-desktop",
        .displayName = "Cursor",
        .level = Level::state,
        .kind = Kind::desktop,
        .matchers = {withAnyArguments(
            ProcessMatcher::appBundle("Cursor.app", "Contents/MacOS/Cursor"))},
        .exclusions = {anyProcess(ArgumentPattern::anySuffix("/Contents/Resources/app/out/cli.js"),
                                  AgentRole::helper),
                       {ProcessMatcher::executableContains("/Cursor.app/Contents/Frameworks/"),
                        ArgumentPattern::any(), AgentRole::helper},
                       {ProcessMatcher::executableContains("/Cursor.app/Contents/Resources/"),
                        ArgumentPattern::any(), AgentRole::helper}},
        .verified = true};
}

// Desktop agents without matchers are never found in the process table; they exist so that
// settings, hook reports and logos can name them.
AgentDefinition unmatchedDesktop(std::string id, std::string displayName) {
    return {.id = std::move(id),
            .displayName = std::move(displayName),
            .level = Level::activity,
            .kind = Kind::desktop,
            .matchers = {},
            .exclusions = {},
            .verified = false};
}

AgentDefinition claude() {
    AgentDefinition definition = verifiedCli("claude", "Claude Code");
    definition.level = Level::state;
    definition.matchers.push_back(
        withAnyArguments(ProcessMatcher::executable("/claude/versions/", "claude")));
    // The npm package's native binary starts itself for its daemon, pty hosts and background
    // sessions with an absolute argument 0, and as its bundled ripgrep under the name "rg".
    definition.matchers.push_back(withAnyArguments(
        ProcessMatcher::executableSuffix("/@anthropic-ai/claude-code/bin/claude.exe")));
    definition.exclusions = {
        {ProcessMatcher::name("rg"), ArgumentPattern::any(), AgentRole::helper},
        anyProcess(ArgumentPattern::leading({"daemon", "run"}), AgentRole::helper),
        anyProcess(ArgumentPattern::leading({"bg-pty-host"}), AgentRole::helper),
        anyProcess(ArgumentPattern::leading({"--bg-pty-host"}), AgentRole::helper),
        anyProcess(ArgumentPattern::leading({"bg-spare"}), AgentRole::helperMaybeSession),
        anyProcess(ArgumentPattern::leading({"--bg-spare"}), AgentRole::helperMaybeSession),
    };
    return definition;
}

AgentDefinition codex() {
    AgentDefinition definition = verifiedCli("codex", "Codex");
    definition.level = Level::state;
    // Both words together mark the managed engine, so that exclusion must come before the
    // one for "app-server" alone. The sandbox wrappers are Codex's own executable under
    // another argument 0, put around each command it runs.
    definition.exclusions = {
        {ProcessMatcher::name("codex-code-mode-host"), ArgumentPattern::any(), AgentRole::helper},
        {ProcessMatcher::name("codex-linux-sandbox"), ArgumentPattern::any(), AgentRole::helper},
        anyProcess(ArgumentPattern::contains({"app-server", "--managed-daemon"}),
                   AgentRole::engine),
        anyProcess(ArgumentPattern::contains({"app-server"}), AgentRole::helper),
        anyProcess(ArgumentPattern::contains({"exec-server"}), AgentRole::helper),
    };
    return definition;
}

// Cline's hub daemon stays after the session that started it ends.
AgentDefinition cline() {
    AgentDefinition definition = cli("cline", "Cline");
    definition.exclusions = {
        anyProcess(ArgumentPattern::contains({"--cline-hub-daemon"}), AgentRole::helper)};
    return definition;
}

// A different tool named copilot uses these subcommands.
std::vector<ArgumentPattern> notCopilotTool() {
    return {ArgumentPattern::firstIsOne(
        {"env", "svc", "job", "task", "pipeline", "storage", "secret", "deploy"})};
}

// goose is also a database migration tool.
std::vector<ArgumentPattern> notGooseMigrations() {
    return {ArgumentPattern::firstIsOne(
                {"up",      "up-by-one", "up-to",  "down",     "down-to",  "redo",
                 "reset",   "status",    "create", "fix",      "validate", "postgres",
                 "mysql",   "sqlite3",   "mssql",  "redshift", "tidb",     "clickhouse",
                 "vertica", "ydb",       "turso",  "starrocks"}),
            ArgumentPattern::contains({"-dir"})};
}

// kilo is also a text editor, opened on one file.
std::vector<ArgumentPattern> notKiloEditor() {
    return {ArgumentPattern::oneFile(textFileExtensions())};
}

}  // namespace

const std::vector<AgentDefinition>& desktop() {
    static const std::vector<AgentDefinition> definitions = {
        codexDesktop(),
        {.id = "antigravity-desktop",
         .displayName = "Antigravity",
         .level = Level::activity,
         .kind = Kind::desktop,
         .matchers = {withAnyArguments(ProcessMatcher::appBundle(
             "Antigravity.app", "Contents/Resources/bin/language_server"))},
         .exclusions = {},
         .verified = true},
        cursorDesktop(),
        unmatchedDesktop("claude-desktop", "Claude"),
        unmatchedDesktop("t3-code", "T3 Code"),
    };
    return definitions;
}

const std::vector<AgentDefinition>& cli() {
    static const std::vector<AgentDefinition> definitions = {
        claude(),
        codex(),
        cli("aider", "Aider"),
        cli("aider-desk", "AiderDesk"),
        cli("amp", "Amp"),
        cli("antigravity", "Antigravity"),
        cli("augment", "Augment", {"augment", "auggie"}),
        cline(),
        cli("cn", "Continue"),
        cli("codearts-agent", "CodeArts Agent"),
        cli("codebuddy", "CodeBuddy"),
        cli("codemaker", "CodeMaker"),
        cli("codestudio", "CodeStudio"),
        cli("command-code", "Command Code", {"command-code", "commandcode", "cmdc"}),
        cli("copilot", "GitHub Copilot", {}, notCopilotTool()),
        cli("crush", "Crush"),
        cli("cursor-agent", "Cursor CLI"),
        cli("deepagents", "Deep Agents"),
        cli("devin", "Devin"),
        cli("dexto", "Dexto"),
        verifiedCli("droid", "Droid"),
        cli("firebender", "Firebender"),
        cli("forgecode", "ForgeCode"),
        cli("gemini", "Gemini CLI", {"gemini", "gemini-cli"}),
        cli("goose", "Goose", {}, notGooseMigrations()),
        verifiedCli("grok", "Grok"),
        cli("hermes-agent", "Hermes Agent"),
        cli("iflow-cli", "iFlow CLI"),
        cli("junie", "Junie"),
        // ".kilo" is the native binary that the "kilo" and "kilocode" commands start.
        cli("kilo", "Kilo Code", {"kilo", "kilocode", ".kilo"}, notKiloEditor()),
        cli("kiro-cli", "Kiro CLI"),
        cli("mcpjam", "MCPJam"),
        cli("mistral-vibe", "Mistral Vibe"),
        cli("neovate", "Neovate"),
        // Written in lower case on purpose: that is the product's name.
        verifiedCli("opencode", "opencode"),
        cli("openclaw", "OpenClaw"),
        cli("openhands", "OpenHands"),
        cli("pi", "Pi"),
        cli("pochi", "Pochi"),
        cli("qoder", "Qoder", {"qoder", "qodercli"}),
        cli("qwen-code", "Qwen Code", {"qwen-code", "qwen"}),
        cli("rovodev", "Rovo Dev"),
        cli("tabnine-cli", "Tabnine CLI"),
        cli("trae", "Trae", {"trae", "trae-cn"}),
        cli("windsurf", "Windsurf"),
        cli("zencoder", "Zencoder"),
    };
    return definitions;
}

const WordSet& cursorShells() {
    static const WordSet shells = {"sh",  "bash", "zsh", "fish", "dash",
                                   "ksh", "tcsh", "csh", "nu",   "pwsh"};
    return shells;
}

const WordSet& textFileExtensions() {
    static const WordSet extensions = {"c",    "h",   "cc",   "cpp",   "hpp",  "txt",  "md",  "py",
                                       "js",   "ts",  "json", "yml",   "yaml", "toml", "sh",  "rb",
                                       "go",   "rs",  "java", "swift", "conf", "cfg",  "ini", "log",
                                       "html", "css", "sql",  "xml",   "csv"};
    return extensions;
}

}  // namespace vigilmoth::AgentDefinitions
