#include "platform/macos/SudoersEntry.h"

#include <unistd.h>

#include <string>

#include "platform/macos/ProgramRun.h"

namespace vigilmoth {
namespace {

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

}  // namespace

bool SudoersEntry::present() const {
    return ::access(kPath, F_OK) == 0;
}

void SudoersEntry::remove() {
    const std::string script =
        std::string("do shell script \"rm -f ") + kPath + "\" with administrator privileges";
    const auto finished = ProgramRun::run({"/usr/bin/osascript", "-e", script});
    if (finished.status == 0) return;
    const auto message = trimmed(finished.errorOutput);
    throw SudoersCleanupError(message.empty() ? "The removal was cancelled or failed." : message);
}

}  // namespace vigilmoth
