#pragma once

#include <exception>
#include <string>

namespace vigilmoth {

// The lab's one error: what() is the sentence printed to the user.
class LabError : public std::exception {
public:
    enum class Kind { unreadableLine, cannotWrite, noRecording };

    static LabError unreadableLine(int lineNumber);
    static LabError cannotWrite(const std::string& path);
    static LabError noRecording();

    Kind kind() const { return kind_; }
    int lineNumber() const { return lineNumber_; }
    const std::string& path() const { return path_; }
    const std::string& description() const { return description_; }
    const char* what() const noexcept override { return description_.c_str(); }

    bool operator==(const LabError& other) const {
        return kind_ == other.kind_ && lineNumber_ == other.lineNumber_ && path_ == other.path_;
    }

private:
    LabError(Kind kind, int lineNumber, std::string path, std::string description);

    Kind kind_;
    int lineNumber_ = 0;
    std::string path_;
    std::string description_;
};

}  // namespace vigilmoth
