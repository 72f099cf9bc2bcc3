#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include <string>
#include <vector>

namespace vigilmoth {

// A program run to its end, its output discarded and its error output kept, for the few system
// tools vigilmoth asks for an administrator's consent or a setting.
struct ProgramRun {
    // The exit status, or -1 when the program could not be started or did not exit normally.
    int status = -1;
    std::string errorOutput;

    // `arguments` starts with the program's full path.
    static ProgramRun run(std::vector<std::string> arguments);
};

}  // namespace vigilmoth
