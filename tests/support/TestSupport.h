#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vigilmoth::testing {

// A fresh folder under the system's temporary folder, removed with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string operator/(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

struct ProcessResult {
    int status = -1;  // the exit status, or 128 + the signal that ended it
    std::string out;
    std::string err;
};

struct ProcessOptions {
    // Variables set (or, with an empty optional, removed) on top of this process's environment.
    std::map<std::string, std::optional<std::string>> environment;
    std::string input;
    std::optional<std::string> workingDirectory;
    double timeoutSeconds = 60;
};

// Runs a program to its end, feeding `input` and collecting both outputs.
ProcessResult runProcess(const std::string& executable, const std::vector<std::string>& arguments,
                         const ProcessOptions& options = {});

// Runs the real vigilmoth executable of this build.
ProcessResult runVigilmoth(const std::vector<std::string>& arguments,
                           const ProcessOptions& options = {});

// A program started in the background; killed and reaped when the owner goes.
class BackgroundProcess {
public:
    BackgroundProcess(const std::string& executable, const std::vector<std::string>& arguments,
                      const ProcessOptions& options = {});
    ~BackgroundProcess();
    BackgroundProcess(const BackgroundProcess&) = delete;
    BackgroundProcess& operator=(const BackgroundProcess&) = delete;

    int pid() const { return pid_; }
    // Waits until standard output holds `text`; false when the time runs out or output ends.
    bool waitForOutput(const std::string& text, double seconds = 10);
    const std::string& output() const { return out_; }
    void signal(int number) const;
    // Waits for the end and returns the status as runProcess does; -1 on time-out.
    int wait(double seconds = 10);

private:
    void readAvailable(int timeoutMilliseconds);
    int pid_ = -1;
    int outFd_ = -1;
    bool reaped_ = false;
    int status_ = -1;
    std::string out_;
};

std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& contents);

// A file or folder under tests/fixtures.
std::filesystem::path fixture(const std::string& relative);

// A small program of tests/programs, built beside the tests.
std::string testProgram(const std::string& name);

}  // namespace vigilmoth::testing
