#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vigilmoth {

// What reading a file found. A missing file is an answer, not a failure: the installer
// creates settings files that do not exist yet.
struct FileContents {
    enum class Status { read, missing, failed };

    Status status = Status::missing;
    std::string bytes;

    static FileContents read(std::string bytes) { return {Status::read, std::move(bytes)}; }
    static FileContents missing() { return {Status::missing, {}}; }
    static FileContents failed() { return {Status::failed, {}}; }

    bool operator==(const FileContents&) const = default;
};

// The file operations of the hook installer. Settings files belong to other programs, which
// may change them at any moment; tests step in between two calls to show the guards work.
class HookFileAccessing {
public:
    virtual ~HookFileAccessing() = default;

    virtual FileContents read(const std::string& path) = 0;
    virtual bool isDirectory(const std::string& path) = 0;
    // The path with every symbolic link resolved, as far as the links lead.
    virtual std::string resolved(const std::string& path) = 0;
    // Whether an existing file may be written by this process.
    virtual bool isWritable(const std::string& path) = 0;
    // Replaces the file's bytes, creating it when missing.
    virtual bool write(const std::string& path, const std::string& bytes) = 0;
    virtual bool remove(const std::string& path) = 0;
    virtual bool createDirectories(const std::string& path) = 0;
    // Permission bits, as the system reports them.
    virtual std::optional<unsigned> permissions(const std::string& path) = 0;
    virtual void setPermissions(const std::string& path, unsigned permissions) = 0;
    // The names in a folder; nothing when it cannot be listed.
    virtual std::vector<std::string> list(const std::string& folder) = 0;
};

}  // namespace vigilmoth
