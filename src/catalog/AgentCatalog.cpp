#include "catalog/AgentCatalog.h"

#include "catalog/CommandText.h"

namespace vigilmoth {

const char* roleWord(AgentRole role) {
    switch (role) {
        case AgentRole::session:
            return "session";
        case AgentRole::engine:
            return "engine";
        case AgentRole::helper:
            return "helper";
        case AgentRole::helperMaybeSession:
            return "maybeSession";
    }
    return "session";
}

std::vector<std::string> AgentDefinition::processNames() const {
    std::vector<std::string> names;
    for (const auto& matcher : matchers) {
        if (const auto* name = std::get_if<ProcessMatcher::Name>(&matcher.process.value)) {
            names.push_back(CommandText::lowered(name->name));
        }
    }
    return names;
}

const AgentCatalog& AgentCatalog::standard() {
    static const AgentCatalog catalog = [] {
        AgentCatalog built;
        built.definitions = desktopDefinitions();
        const auto& cli = cliDefinitions();
        built.definitions.insert(built.definitions.end(), cli.begin(), cli.end());
        return built;
    }();
    return catalog;
}

std::set<std::string> AgentCatalog::cliNames() const {
    std::set<std::string> names;
    for (const auto& definition : definitions) {
        if (definition.kind != AgentDefinition::Kind::cli) continue;
        for (auto& name : definition.processNames())
            names.insert(std::move(name));
    }
    return names;
}

const AgentDefinition* AgentCatalog::definition(std::string_view id) const {
    for (const auto& candidate : definitions)
        if (candidate.id == id) return &candidate;
    return nullptr;
}

const WordSet& AgentCatalog::cursorShells() {
    static const WordSet shells = {"sh",  "bash", "zsh", "fish", "dash",
                                   "ksh", "tcsh", "csh", "nu",   "pwsh"};
    return shells;
}

const WordSet& AgentCatalog::textFileExtensions() {
    static const WordSet extensions = {"c",    "h",   "cc",   "cpp",   "hpp",  "txt",  "md",  "py",
                                       "js",   "ts",  "json", "yml",   "yaml", "toml", "sh",  "rb",
                                       "go",   "rs",  "java", "swift", "conf", "cfg",  "ini", "log",
                                       "html", "css", "sql",  "xml",   "csv"};
    return extensions;
}

const std::unordered_map<std::string, std::vector<std::vector<std::string>>>&
AgentCatalog::launchers() {
    static const std::unordered_map<std::string, std::vector<std::vector<std::string>>> table = {
        {"npx", {{}}},
        {"pnpx", {{}}},
        {"bunx", {{}}},
        {"uvx", {{}}},
        {"bun", {{"run"}, {"x"}}},
        {"deno", {{"run"}}},
        {"pnpm", {{"dlx"}, {"exec"}}},
        {"yarn", {{"dlx"}}},
        {"npm", {{"exec"}}},
        {"uv", {{"tool", "run"}, {"run"}}},
        {"pipx", {{"run"}}},
    };
    return table;
}

const WordSet& AgentCatalog::launcherValuedFlags() {
    static const WordSet flags = {
        "-p",
        "--package",
        "--from",
        "--with",
        "--with-editable",
        "--with-requirements",
        "--python",
        "--spec",
        "-c",
        "--call",
        "--config",
        "--cwd",
        "--filter",
        "--import-map",
        "--lock",
        "--index-url",
        "--directory",
        "--project",
        "--env-file",
        "-w",
        "--workspace",
        "--prefix",
        "-C",
        "--dir",
        "--extra",
        "--no-extra",
        "--group",
        "--no-group",
        "--only-group",
        "--index",
        "--default-index",
        "--extra-index-url",
        "--find-links",
        "--constraints",
        "--overrides",
        "--build-constraints",
        "--config-file",
        "--config-setting",
        "--cache-dir",
        "--python-preference",
        "--python-platform",
        "--resolution",
        "--prerelease",
        "--exclude-newer",
        "--fork-strategy",
        "--index-strategy",
        "--keyring-provider",
        "--link-mode",
        "--allow-insecure-host",
        "--refresh-package",
        "--reinstall-package",
        "--upgrade-package",
        "--no-binary-package",
        "--no-build-package",
        "--pip-args",
        "--registry",
        "--userconfig",
        "--cache",
        "--loglevel",
        "--reporter",
        "--workspace-concurrency",
        "--loader",
        "--preload",
        "--define",
        "--port",
        "--log-level",
        "--location",
        "--seed",
    };
    return flags;
}

const std::unordered_map<std::string, WordSet>& AgentCatalog::launcherSwitches() {
    static const std::unordered_map<std::string, WordSet> switches = {
        {"pnpm", {"-w"}},
        {"deno", {"--env-file"}},
    };
    return switches;
}

}  // namespace vigilmoth
