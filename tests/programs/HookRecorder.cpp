// Stands in for the hook executable: appends one JSON line with its arguments, standard input
// and process id to the file named by HOOK_RECORD, then hangs when its event is HOOK_HANG_EVENT.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    std::string input((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
    std::vector<std::string> arguments(argv + 1, argv + argc);
    nlohmann::json line{{"args", arguments}, {"stdin", input}, {"pid", ::getpid()}};
    std::string text = line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    const char* record = std::getenv("HOOK_RECORD");
    if (record == nullptr) return 2;
    int fd = ::open(record, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return 2;
    // One write per line, so that concurrent runs never interleave within a line.
    bool written = ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::close(fd);
    const char* hang = std::getenv("HOOK_HANG_EVENT");
    if (hang != nullptr && arguments.size() >= 2 && arguments[1] == hang) ::sleep(60);
    return written ? 0 : 2;
}
