#include "hooks/install/HookInstallError.h"

namespace vigilmoth {

std::string HookInstallError::message(std::string_view file, MachineWord machine) const {
    std::string path(file);
    switch (kind_) {
        case Kind::configMissing:
            return "This agent is not set up on this " + std::string(machine.noun) + ". " + path +
                   " does not exist.";
        case Kind::unreadable:
            return "vigilmoth could not read " + path +
                   ", so it did not change it. Check that the file is valid JSON.";
        case Kind::unexpectedShape:
            return path + " has a layout vigilmoth does not recognize, so it did not change it.";
        case Kind::changedWhileEditing:
            return path +
                   " changed while vigilmoth was working on it. Nothing was written. Try again.";
        case Kind::notOurFile:
            return path + " was not written by vigilmoth, so it did not change it.";
        case Kind::notWritable:
            return path +
                   " is read-only, so vigilmoth did not change it. Allow writing to the file, "
                   "then try again.";
        case Kind::writeFailed:
            return "vigilmoth could not write " + path + ". Nothing was changed.";
    }
    return {};
}

const char* HookInstallError::what() const noexcept {
    switch (kind_) {
        case Kind::configMissing:
            return "hook install: agent not set up";
        case Kind::unreadable:
            return "hook install: file unreadable";
        case Kind::unexpectedShape:
            return "hook install: unexpected layout";
        case Kind::changedWhileEditing:
            return "hook install: file changed while editing";
        case Kind::notOurFile:
            return "hook install: not our file";
        case Kind::notWritable:
            return "hook install: file not writable";
        case Kind::writeFailed:
            return "hook install: write failed";
    }
    return "hook install error";
}

}  // namespace vigilmoth
