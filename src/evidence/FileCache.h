#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "evidence/FileAccessing.h"

namespace vigilmoth {

// Values kept per path while they are asked for: a path nobody asked for during a tick is
// forgotten when the tick ends, so that a file that stopped mattering does not stay in memory.
template <typename V>
class TickEntries {
public:
    // The entry of a path, now marked as asked for; null when there is none.
    V* find(const std::string& path) {
        used_.insert(path);
        auto found = entries_.find(path);
        return found == entries_.end() ? nullptr : &found->second;
    }
    const V* peek(const std::string& path) const {
        auto found = entries_.find(path);
        return found == entries_.end() ? nullptr : &found->second;
    }
    V& assign(const std::string& path, V value) {
        used_.insert(path);
        return entries_.insert_or_assign(path, std::move(value)).first->second;
    }
    void erase(const std::string& path) { entries_.erase(path); }
    // Forgets the paths nobody asked for since the last call; the collector ends every tick
    // with it.
    void endSample() {
        std::erase_if(entries_, [this](const auto& entry) { return !used_.contains(entry.first); });
        used_.clear();
    }
    std::size_t size() const { return entries_.size(); }

private:
    std::unordered_map<std::string, V> entries_;
    std::unordered_set<std::string> used_;
};

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
        Entry* found = entries_.find(path);
        auto signature = files.signature(path);
        if (!signature) {
            entries_.erase(path);
            return std::nullopt;
        }
        if (found != nullptr && found->signature == *signature) return found->value;
        return entries_.assign(path, Entry{*signature, read(path, *signature)}).value;
    }

    // The signature the file had when it was last asked for.
    std::optional<FileSignature> signature(const std::string& path) const {
        const Entry* found = entries_.peek(path);
        return found ? std::optional(found->signature) : std::nullopt;
    }

    void endSample() { entries_.endSample(); }
    std::size_t size() const { return entries_.size(); }

private:
    struct Entry {
        FileSignature signature;
        std::optional<V> value;
    };
    TickEntries<Entry> entries_;
};

}  // namespace vigilmoth
