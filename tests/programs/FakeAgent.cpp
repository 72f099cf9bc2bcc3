// Plays an agent that runs hooks. Usage: FakeAgent <plan.json>, where the plan holds "name"
// (the program name the agent runs under), "hook" (the hook executable), "folder" (the state
// folder) and "runs": each with "args", "input" (or "inputFile" for bytes that are not text) and
// "via" ("shell" runs the hook through /bin/sh -c as Claude Code does, "direct" spawns it as the
// plugin scripts do, "helper" through a child process of another name). After each run it prints
// one JSON line with the hook's exit status and every file of the state folder; first it prints its
// own pid and census start time. With "parallel" it starts every run at once and reports once; with
// "plantLink" it first plants a symbolic link to that path where its state file will go.
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/linux/SystemProcessCensus.h"

namespace {

using nlohmann::json;

std::string readAll(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string quoted(const std::string& word) {
    std::string text = "'";
    for (char c : word)
        text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return text + "'";
}

// Runs `words[0]` with the rest as arguments, under the program name `as` when one is given.
[[noreturn]] void execute(std::vector<std::string> words, const std::string& as = "") {
    std::string program = words[0];
    if (!as.empty()) words[0] = as;
    std::vector<char*> pointers;
    for (auto& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    ::execv(program.c_str(), pointers.data());
    ::_exit(127);
}

// The argument vector that runs the hook, and the program that runs it.
std::vector<std::string> command(const json& plan, const json& run, const std::string& self,
                                 const std::string& planPath) {
    std::vector<std::string> hook{plan["hook"].get<std::string>()};
    for (const auto& word : run["args"])
        hook.push_back(word.get<std::string>());
    std::string via = run["via"];
    if (via == "shell") {
        std::string line;
        for (const auto& word : hook)
            line += (line.empty() ? "" : " ") + quoted(word);
        // Two shells deep, and a command the shell cannot exec away.
        return {"/bin/sh", "-c", "/bin/sh -c " + quoted(line + " ; true")};
    }
    if (via == "helper") {
        std::vector<std::string> words{self, planPath, "--as-helper"};
        words.insert(words.end(), hook.begin(), hook.end());
        return words;
    }
    return hook;
}

pid_t start(const std::vector<std::string>& words, const std::string& input, bool renamed) {
    int in[2];
    if (::pipe(in) != 0) return -1;
    pid_t child = ::fork();
    if (child == 0) {
        ::dup2(in[0], STDIN_FILENO);
        ::close(in[0]);
        ::close(in[1]);
        // A helper runs under another name: a child of the agent that is not the agent.
        execute(words, renamed ? "worker" : "");
    }
    ::close(in[0]);
    size_t written = 0;
    while (written < input.size()) {
        ssize_t count = ::write(in[1], input.data() + written, input.size() - written);
        if (count <= 0) break;
        written += static_cast<size_t>(count);
    }
    ::close(in[1]);
    return child;
}

int finish(pid_t child) {
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

json folderContents(const std::string& folder) {
    json files = json::object();
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        std::string name = entry.path().filename().string();
        files[name] = entry.is_symlink()
                          ? "-> " + std::filesystem::read_symlink(entry.path()).string()
                          : readAll(entry.path().string());
    }
    return files;
}

std::string inputOf(const json& run) {
    return run.contains("inputFile") ? readAll(run["inputFile"]) : run["input"].get<std::string>();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    // Node, which most agents run on, ignores SIGPIPE: a hook that gives up at its deadline
    // without reading all its input must not kill the agent that writes it.
    ::signal(SIGPIPE, SIG_IGN);
    std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    std::string planPath = argv[1];
    if (argc > 2 && std::string(argv[2]) == "--as-helper") {
        // A helper just runs the hook with its own input and waits for it.
        std::vector<std::string> hook(argv + 3, argv + argc);
        std::string input((std::istreambuf_iterator<char>(std::cin)),
                          std::istreambuf_iterator<char>());
        return finish(start(hook, input, false));
    }
    json plan = json::parse(readAll(planPath));
    std::string name = plan["name"];
    if (std::filesystem::path(argv[0]).filename() != name) execute({self, planPath}, name);
    auto census = vigilmoth::SystemProcessCensus().row(static_cast<int32_t>(::getpid()));
    std::cout << json{{"pid", ::getpid()}, {"start", census ? census->startTime : -1.0}}.dump()
              << std::endl;
    std::string folder = plan["folder"];
    if (plan.contains("plantLink")) {
        std::filesystem::create_directories(folder);
        std::filesystem::create_symlink(
            plan["plantLink"].get<std::string>(),
            folder + "/" + name + "-" + std::to_string(::getpid()) + ".json");
    }
    auto report = [&](const json& statuses) {
        std::cout << json{{"status", statuses}, {"files", folderContents(folder)}}.dump(
                         -1, ' ', false, json::error_handler_t::replace)
                  << std::endl;
    };
    if (plan.value("parallel", false)) {
        // All at once, as Claude Code starts some of its hooks.
        std::vector<pid_t> children;
        for (const auto& run : plan["runs"])
            children.push_back(start(command(plan, run, self, planPath), inputOf(run), false));
        json statuses = json::array();
        for (pid_t child : children)
            statuses.push_back(finish(child));
        report(statuses);
        return 0;
    }
    for (const auto& run : plan["runs"]) {
        bool helper = run["via"] == "helper";
        report(finish(start(command(plan, run, self, planPath), inputOf(run), helper)));
    }
    return 0;
}
