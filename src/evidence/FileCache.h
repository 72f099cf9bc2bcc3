#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "evidence/FileAccessing.h"

namespace vigilmoth {

// Values parsed from files, kept by path and parsed again only when the file's signature
// changes. A file that gives nothing is remembered too, so that a file that does not parse is
// read once, not on every tick, until it changes.
template <typename V>
class FileCache {
public:
    // The value for the file at `path`: the cached one while the signature is unchanged, else
    // `read(path, signature)`. Nothing for a missing file or one that is not a regular file.
    template <typename Read>
    std::optional<V> value(FileAccessing& files, const std::string& path, Read&& read) {
        used_.insert(path);
        auto signature = files.signature(path);
        if (!signature) {
            entries_.erase(path);
            return std::nullopt;
        }
        auto found = entries_.find(path);
        if (found != entries_.end() && found->second.signature == *signature) {
            return found->second.value;
        }
        Entry entry{*signature, read(path, *signature)};
        return entries_.insert_or_assign(path, std::move(entry)).first->second.value;
    }

    // The signature the file had when it was last asked for.
    std::optional<FileSignature> signature(const std::string& path) const {
        auto found = entries_.find(path);
        if (found == entries_.end()) return std::nullopt;
        return found->second.signature;
    }

    // Forgets the files nobody asked for since the last call; the collector ends every tick
    // with it, so a file that stopped mattering does not stay in memory.
    void endSample() {
        std::erase_if(entries_, [this](const auto& entry) { return !used_.contains(entry.first); });
        used_.clear();
    }

    std::size_t size() const { return entries_.size(); }

private:
    struct Entry {
        FileSignature signature;
        std::optional<V> value;
    };
    std::unordered_map<std::string, Entry> entries_;
    std::unordered_set<std::string> used_;
};

}  // namespace vigilmoth
