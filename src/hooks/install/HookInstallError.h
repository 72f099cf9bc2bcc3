#pragma once

#include <exception>
#include <string>
#include <string_view>

#include "base/MachineWord.h"

namespace vigilmoth {

// Why the installer left a file alone; each case has the one sentence the user reads.
class HookInstallError : public std::exception {
public:
    enum class Kind {
        configMissing,
        unreadable,
        unexpectedShape,
        changedWhileEditing,
        notOurFile,
        notWritable,
        writeFailed,
    };

    explicit HookInstallError(Kind kind) : kind_(kind) {}

    Kind kind() const { return kind_; }
    // `file` is the settings file's path as the user knows it.
    std::string message(std::string_view file, MachineWord machine = kMachineWord) const;
    const char* what() const noexcept override;

    bool operator==(const HookInstallError& other) const { return kind_ == other.kind_; }

private:
    Kind kind_;
};

}  // namespace vigilmoth
