#include "support/TestSupport.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "support/Spawn.h"

extern char** environ;

namespace vigilmoth::testing {

TemporaryFolder::TemporaryFolder() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "vigilmoth-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ignored);
    std::filesystem::remove_all(path_, ignored);
}

namespace {

std::vector<std::string> mergedEnvironment(const ProcessOptions& options) {
    std::map<std::string, std::string> variables;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        std::string text(*entry);
        auto equals = text.find('=');
        if (equals != std::string::npos)
            variables[text.substr(0, equals)] = text.substr(equals + 1);
    }
    for (const auto& [name, value] : options.environment) {
        if (value) {
            variables[name] = *value;
        } else {
            variables.erase(name);
        }
    }
    std::vector<std::string> result;
    for (const auto& [name, value] : variables)
        result.push_back(name + "=" + value);
    return result;
}

// Starts a program whose standard input, output and error are the given descriptors
// (-1: input from /dev/null, or this process's own output or error). Throws when it cannot.
pid_t spawn(const std::string& executable, const std::vector<std::string>& arguments,
            const ProcessOptions& options, int input, int output, int error) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (input >= 0) {
        posix_spawn_file_actions_adddup2(&actions, input, 0);
    } else {
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    }
    if (output >= 0) posix_spawn_file_actions_adddup2(&actions, output, 1);
    if (error >= 0) posix_spawn_file_actions_adddup2(&actions, error, 2);
    if (options.workingDirectory) {
        posix_spawn_file_actions_addchdir_np(&actions, options.workingDirectory->c_str());
    }
    std::vector<std::string> argv = {executable};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    const pid_t pid = spawnProcess(executable, argv, mergedEnvironment(options), &actions);
    posix_spawn_file_actions_destroy(&actions);
    if (pid < 0) throw std::runtime_error("could not start " + executable);
    return pid;
}

}  // namespace

ProcessResult runProcess(const std::string& executable, const std::vector<std::string>& arguments,
                         const ProcessOptions& options) {
    int in[2], out[2], err[2];
    if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0 ||
        ::pipe2(err, O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe failed");
    }
    pid_t pid = 0;
    try {
        pid = spawn(executable, arguments, options, in[0], out[1], err[1]);
    } catch (...) {
        for (int fd : {in[0], in[1], out[0], out[1], err[0], err[1]})
            ::close(fd);
        throw;
    }
    ::close(in[0]);
    ::close(out[1]);
    ::close(err[1]);

    ProcessResult result;
    size_t inputWritten = 0;
    int inputFd = in[1];
    if (options.input.empty()) {
        ::close(inputFd);
        inputFd = -1;
    }
    auto deadline = std::chrono::steady_clock::now() +
                    std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                        std::chrono::duration<double>(options.timeoutSeconds));
    bool outOpen = true, errOpen = true;
    ::signal(SIGPIPE, SIG_IGN);
    while (outOpen || errOpen) {
        if (std::chrono::steady_clock::now() > deadline) {
            ::kill(pid, SIGKILL);
            break;
        }
        pollfd fds[3] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}, {inputFd, POLLOUT, 0}};
        ::poll(fds, inputFd >= 0 ? 3 : 2, 100);
        char buffer[65536];
        for (int i = 0; i < 2; ++i) {
            bool& open = i == 0 ? outOpen : errOpen;
            if (!open || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
            ssize_t count = ::read(fds[i].fd, buffer, sizeof buffer);
            if (count <= 0) {
                open = false;
            } else {
                (i == 0 ? result.out : result.err).append(buffer, static_cast<size_t>(count));
            }
        }
        if (inputFd >= 0 && (fds[2].revents & (POLLOUT | POLLERR | POLLHUP))) {
            ssize_t count = ::write(inputFd, options.input.data() + inputWritten,
                                    options.input.size() - inputWritten);
            if (count > 0) inputWritten += static_cast<size_t>(count);
            if (count <= 0 || inputWritten == options.input.size()) {
                ::close(inputFd);
                inputFd = -1;
            }
        }
    }
    if (inputFd >= 0) ::close(inputFd);
    ::close(out[0]);
    ::close(err[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

ProcessResult runVigilmoth(const std::vector<std::string>& arguments,
                           const ProcessOptions& options) {
    return runProcess(VIGILMOTH_EXECUTABLE, arguments, options);
}

BackgroundProcess::BackgroundProcess(const std::string& executable,
                                     const std::vector<std::string>& arguments,
                                     const ProcessOptions& options) {
    int out[2];
    if (::pipe2(out, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
    pid_t pid = 0;
    try {
        pid = spawn(executable, arguments, options, -1, out[1], -1);
    } catch (...) {
        ::close(out[0]);
        ::close(out[1]);
        throw;
    }
    ::close(out[1]);
    pid_ = pid;
    outFd_ = out[0];
}

BackgroundProcess::~BackgroundProcess() {
    if (!reaped_) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    if (outFd_ >= 0) ::close(outFd_);
}

void BackgroundProcess::readAvailable(int timeoutMilliseconds) {
    if (outFd_ < 0) return;
    pollfd fd = {outFd_, POLLIN, 0};
    if (::poll(&fd, 1, timeoutMilliseconds) <= 0) return;
    char buffer[4096];
    ssize_t count = ::read(outFd_, buffer, sizeof buffer);
    if (count <= 0) {
        ::close(outFd_);
        outFd_ = -1;
        return;
    }
    out_.append(buffer, static_cast<size_t>(count));
}

bool BackgroundProcess::waitForOutput(const std::string& text, double seconds) {
    auto deadline = std::chrono::steady_clock::now() +
                    std::chrono::milliseconds(static_cast<int>(seconds * 1000));
    while (out_.find(text) == std::string::npos) {
        if (outFd_ < 0 || std::chrono::steady_clock::now() > deadline) return false;
        readAvailable(50);
    }
    return true;
}

void BackgroundProcess::signal(int number) const {
    if (!reaped_) ::kill(pid_, number);
}

int BackgroundProcess::wait(double seconds) {
    auto deadline = std::chrono::steady_clock::now() +
                    std::chrono::milliseconds(static_cast<int>(seconds * 1000));
    while (!reaped_) {
        int status = 0;
        pid_t done = ::waitpid(pid_, &status, WNOHANG);
        if (done == pid_) {
            reaped_ = true;
            status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            break;
        }
        if (std::chrono::steady_clock::now() > deadline) return -1;
        readAvailable(20);
    }
    while (outFd_ >= 0)
        readAvailable(100);
    return status_;
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream contents;
    contents << stream.rdbuf();
    return contents.str();
}

void writeFile(const std::filesystem::path& path, const std::string& contents) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream << contents;
}

std::string testProgram(const std::string& name) {
    return (std::filesystem::path(VIGILMOTH_TEST_PROGRAMS) / name).string();
}

std::filesystem::path fixture(const std::string& relative) {
    return std::filesystem::path(VIGILMOTH_FIXTURES) / relative;
}

}  // namespace vigilmoth::testing
