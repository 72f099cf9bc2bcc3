#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Date.h"

namespace vigilmoth {

// Whether a file changed since it was last parsed: its size, modification time and inode.
// An atomic replace keeps size and time but brings a new inode.
struct FileSignature {
    Date modifiedAt;
    std::uint64_t size = 0;
    std::uint64_t inode = 0;

    bool operator==(const FileSignature&) const = default;
};

// One entry of a folder listing.
struct FolderEntry {
    std::string name;
    bool isFolder = false;

    bool operator==(const FolderEntry&) const = default;
};

// The file operations of the evidence readers. The readers themselves parse bytes; this is all
// they ask of the system, so that tests can count what they read and feed them any files.
class FileAccessing {
public:
    virtual ~FileAccessing() = default;

    // The status of a regular file, following symbolic links; nothing for anything else.
    virtual std::optional<FileSignature> signature(const std::string& path) = 0;
    // The entries of a folder, "." and ".." left out; nothing when it cannot be listed.
    virtual std::optional<std::vector<FolderEntry>> list(const std::string& folder) = 0;
    // Up to `length` bytes from `offset` (fewer at the end of the file); nothing when the
    // file cannot be read.
    virtual std::optional<std::string> read(const std::string& path, std::uint64_t offset,
                                            std::uint64_t length) = 0;
    // The path with every symbolic link resolved; nothing when it does not lead anywhere.
    virtual std::optional<std::string> resolved(const std::string& path) = 0;
    virtual bool remove(const std::string& path) = 0;
    // Creates the folder and any missing folders above it.
    virtual bool createFolders(const std::string& path) = 0;
};

}  // namespace vigilmoth
