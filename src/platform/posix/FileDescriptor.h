#pragma once

#include <unistd.h>

#include <utility>

namespace vigilmoth {

// The one owner of a file descriptor: closed exactly once, when the owner goes.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    ~FileDescriptor() { reset(); }

    int get() const { return descriptor_; }
    bool valid() const { return descriptor_ >= 0; }
    explicit operator bool() const { return valid(); }

    int release() { return std::exchange(descriptor_, -1); }
    void reset(int descriptor = -1) {
        if (descriptor_ >= 0) ::close(descriptor_);
        descriptor_ = descriptor;
    }

private:
    int descriptor_ = -1;
};

}  // namespace vigilmoth
