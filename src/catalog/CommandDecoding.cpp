#include "catalog/CommandDecoding.h"

#include <algorithm>

#include "catalog/CommandText.h"

namespace vigilmoth::CommandDecoding {
namespace {

using Words = std::vector<std::string>;

struct Decoded {
    std::string name;
    Words rest;
    // For a script inside an installed package: the package's name, after its scope.
    std::string package;
};

Words after(const Words& words, size_t index) {
    if (index + 1 >= words.size()) return {};
    return Words(words.begin() + static_cast<std::ptrdiff_t>(index) + 1, words.end());
}

bool isPythonLike(std::string_view name) {
    return CommandText::startsWith(name, "python") || CommandText::startsWith(name, "pypy");
}

bool isInterpreter(std::string_view name) {
    return name == "node" || name == "bun" || name == "deno" || name == "ruby" ||
           isPythonLike(name);
}

struct InterpreterFlags {
    WordSet valued;
    WordSet inlineCode;
};

// Per interpreter, the options that take a value and those that give the program inline.
InterpreterFlags flags(std::string_view interpreter) {
    if (isPythonLike(interpreter)) return {{"-W", "-X", "-Q"}, {"-c"}};
    if (interpreter == "node")
        return {{"-r", "--require", "--import", "--loader", "--experimental-loader", "-C",
                 "--conditions", "--inspect-port", "--title"},
                {"-e", "--eval", "-p", "--print"}};
    if (interpreter == "bun")
        return {{"-r", "--preload", "--cwd", "-c", "--config", "--define", "-d"},
                {"-e", "--eval", "-p", "--print"}};
    if (interpreter == "deno")
        return {{"-c", "--config", "--import-map", "--lock", "--cert", "-L", "--log-level"}, {}};
    if (interpreter == "ruby") return {{"-I", "-r", "-C", "-E"}, {"-e"}};
    return {};
}

// A script inside an installed package is known by its file name without the script
// extension and by its package (`node .../@qwen-code/qwen-code/cli.js`); elsewhere a file
// name keeps its extension, so that `node cli.js` names nothing.
Decoded scriptNamed(std::string_view word, Words rest) {
    constexpr std::string_view kModules = "node_modules/";
    auto modules = word.rfind(kModules);
    if (modules == std::string_view::npos || (modules > 0 && word[modules - 1] != '/'))
        return Decoded{targetName(word), std::move(rest), {}};
    std::string_view inside = word.substr(modules + kModules.size());
    std::string_view package = inside.substr(0, inside.find('/'));
    if (CommandText::startsWith(package, "@")) {
        auto scopeEnd = inside.find('/');
        std::string_view named =
            scopeEnd == std::string_view::npos ? std::string_view() : inside.substr(scopeEnd + 1);
        package = named.substr(0, named.find('/'));
    }
    // ".bin" holds the packages' commands, and a package's own folder is no script.
    if (CommandText::startsWith(package, ".")) package = {};
    std::string name = targetName(word);
    for (std::string_view extension : {".js", ".mjs", ".cjs"}) {
        if (name.size() > extension.size() && name.ends_with(extension)) {
            name.resize(name.size() - extension.size());
            break;
        }
    }
    return Decoded{std::move(name), std::move(rest), CommandText::lowered(package)};
}

// The program a launcher runs: the word after one of its subcommand sequences, among the first
// three positional words.
std::optional<Decoded> launched(const std::string& name, const Words& rest) {
    const auto& known = launchers();
    auto launcher = known.find(name);
    if (launcher == known.end()) return std::nullopt;
    const auto& switches = launcherSwitches();
    auto ownSwitches = switches.find(name);
    auto takesValue = [&](const std::string& word) {
        if (ownSwitches != switches.end() && ownSwitches->second.contains(word)) return false;
        return launcherValuedFlags().contains(word);
    };
    std::vector<size_t> positional;
    for (size_t index = 0; index < rest.size() && positional.size() < 3;) {
        const auto& word = rest[index];
        if (!CommandText::startsWith(word, "-")) {
            positional.push_back(index);
            index += 1;
        } else {
            index += takesValue(word) ? 2 : 1;
        }
    }
    for (const auto& sequence : launcher->second) {
        if (sequence.size() >= positional.size()) continue;
        bool fits = std::equal(
            sequence.begin(), sequence.end(), positional.begin(),
            [&](const std::string& expected, size_t index) { return rest[index] == expected; });
        if (!fits) continue;
        size_t candidate = positional[sequence.size()];
        if (isCommandTarget(rest[candidate]))
            return Decoded{targetName(rest[candidate]), after(rest, candidate)};
    }
    return std::nullopt;
}

// The script an interpreter runs, skipping the interpreter's own options.
std::optional<Decoded> script(const std::string& interpreter, const Words& rest) {
    const InterpreterFlags interpreterFlags = flags(interpreter);
    const bool python = isPythonLike(interpreter);
    for (size_t index = 0; index < rest.size(); ++index) {
        const auto& word = rest[index];
        if (!CommandText::startsWith(word, "-") || word == "-")
            return scriptNamed(word, after(rest, index));
        if (interpreterFlags.inlineCode.contains(word)) return std::nullopt;
        if (interpreterFlags.valued.contains(word)) {
            ++index;
            continue;
        }
        // The module form (-m, or flags ending in it) names the program by its module.
        if (python && !CommandText::startsWith(word, "--") && word.ends_with('m')) {
            if (index + 1 >= rest.size()) return std::nullopt;
            const auto& module = rest[index + 1];
            return Decoded{CommandText::lowered(module.substr(0, module.find('.'))),
                           after(rest, index + 1)};
        }
    }
    return std::nullopt;
}

void appendName(Words& names, std::string name) {
    if (std::find(names.begin(), names.end(), name) == names.end())
        names.push_back(std::move(name));
}

}  // namespace

bool isCommandTarget(std::string_view word) {
    if (CommandText::startsWith(word, "npm:")) word.remove_prefix(4);
    if (CommandText::startsWith(word, "jsr:")) word.remove_prefix(4);
    if (CommandText::startsWith(word, "@")) return true;
    auto slash = word.rfind('/');
    if (slash == std::string_view::npos) return true;
    auto parent = CommandText::baseName(word.substr(0, slash));
    return parent == "bin" || parent == ".bin";
}

std::string targetName(std::string_view word) {
    std::string_view name = CommandText::baseName(word);
    if (CommandText::startsWith(name, "npm:")) name.remove_prefix(4);
    if (CommandText::startsWith(name, "jsr:")) name.remove_prefix(4);
    auto at = name.rfind('@');
    if (at != std::string_view::npos && at != 0) name = name.substr(0, at);
    return CommandText::lowered(name);
}

namespace {

// Trailing empty arguments are padding, never names.
Words meaningfulArguments(const Words& arguments) {
    Words words = arguments;
    while (!words.empty() && words.back().empty())
        words.pop_back();
    // A rewritten title ("npm exec codex" padded with empty strings) is one argument 0 that
    // holds the whole command line; a path with spaces is not one.
    if (words.size() == 1 && words[0].find(' ') != std::string::npos &&
        words[0].substr(0, words[0].find(' ')).find('/') == std::string::npos) {
        std::string title = std::move(words[0]);
        words.clear();
        for (size_t start = 0; start < title.size();) {
            size_t end = std::min(title.find(' ', start), title.size());
            if (end > start) words.push_back(title.substr(start, end - start));
            start = end + 1;
        }
    }
    return words;
}

}  // namespace

Command command(const ProcessInfoRow& row) {
    const Words arguments = meaningfulArguments(row.arguments);
    const std::string argName =
        arguments.empty() ? std::string() : CommandText::loweredBaseName(arguments[0]);
    const std::string exeName = CommandText::loweredBaseName(row.executablePath);
    const Words rest = after(arguments, 0);
    Command command;
    if (!argName.empty()) command.names.push_back(argName);
    bool decoded = false;
    if (auto program = launched(argName, rest)) {
        appendName(command.names, std::move(program->name));
        command.arguments = std::move(program->rest);
        command.interpreted = isInterpreter(exeName);
        command.launched = true;
        decoded = true;
    } else {
        for (const auto* candidate : {&argName, &exeName}) {
            if (!isInterpreter(*candidate)) continue;
            auto program = script(*candidate, rest);
            if (!program) continue;
            command.interpreted = isInterpreter(exeName);
            auto inner = launched(program->name, program->rest);
            if (!inner && !program->package.empty())
                inner = launched(program->package, program->rest);
            appendName(command.names, std::move(program->name));
            if (!program->package.empty()) appendName(command.names, std::move(program->package));
            command.arguments = std::move(program->rest);
            if (inner) {
                appendName(command.names, std::move(inner->name));
                command.arguments = std::move(inner->rest);
                command.launched = true;
            }
            decoded = true;
            break;
        }
    }
    if (!exeName.empty()) appendName(command.names, exeName);
    if (!decoded) command.arguments = rest;
    return command;
}

const std::unordered_map<std::string, std::vector<std::vector<std::string>>>& launchers() {
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

const WordSet& launcherValuedFlags() {
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

const std::unordered_map<std::string, WordSet>& launcherSwitches() {
    static const std::unordered_map<std::string, WordSet> switches = {
        {"pnpm", {"-w"}},
        {"deno", {"--env-file"}},
    };
    return switches;
}

}  // namespace vigilmoth::CommandDecoding
