#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "evidence/BackwardLines.h"
#include "evidence/CodexRolloutReader.h"
#include "evidence/FileAccessing.h"
#include "evidence/FileCache.h"
#include "evidence/StateReport.h"

namespace vigilmoth {

// Follows rollout files between ticks so that only appended bytes are read, and decides a new
// file's turn by searching backwards from its end within a per-tick byte budget.
class CodexRolloutTracker {
public:
    static constexpr std::uint64_t kDefaultBudget = 8388608;
    static constexpr std::uint64_t kFirstWindow = 65536;
    static constexpr std::uint64_t kLaterWindow = 1048576;
    // A file that grew by more than this since the last read is searched again from its end.
    static constexpr std::uint64_t kLargestGrowth = 8388608;
    static constexpr std::uint64_t kLongestCarry = 4194304;
    static constexpr std::size_t kAnchorLength = 64;

    struct Entry {
        FileSignature signature;
        CodexTurnState turn;
        // The backward search reached an answer or the file's start.
        bool resolved = false;
        // Bytes consumed from the front: everything before it has been read.
        std::uint64_t offset = 0;
        // The last bytes before `offset`, which must still be there when the file has only
        // grown; otherwise it was rewritten in place.
        std::string anchor;
        // An incomplete last line, kept for the next append.
        std::string carry;
        // A carried line grew too long and was dropped: skip to the next line feed.
        bool carryDropped = false;
        CodexRolloutReader::BackwardScan scan;
        BackwardLines search;
        // The search has read its first window, which fixes `offset`.
        bool started = false;
    };

    struct Reading {
        CodexTurnState turn;
        bool resolved = false;
        FileSignature signature;

        bool operator==(const Reading&) const = default;
    };

    explicit CodexRolloutTracker(FileAccessing& files, std::uint64_t searchBudget = kDefaultBudget)
        : files_(files), searchBudget_(searchBudget), budgetLeft_(searchBudget) {}

    // The turn of the rollout at `path`, reading as little as possible; nothing when the file
    // cannot be looked at.
    std::optional<Reading> read(const std::string& path);
    // Forgets the files not read since the last call and restores the budget.
    void endSample();

    std::uint64_t budgetLeft() const { return budgetLeft_; }
    // Counts bytes read elsewhere for the rollouts (their working directories) against the
    // tick's budget, so that the whole of a tick's reading keeps to it.
    void charge(std::uint64_t bytes) { budgetLeft_ -= std::min(budgetLeft_, bytes); }
    const Entry* entry(const std::string& path) const;

    // What a reading says: working "in a turn" since the start, idle once resolved, nothing
    // while the search goes on.
    static std::optional<StateReport> report(const Reading& reading, Date now);

private:
    bool appended(Entry& entry, const std::string& path, const FileSignature& signature);
    void search(Entry& entry, const std::string& path);
    void takeFirstWindow(Entry& entry, const std::string& path);
    void applyForward(Entry& entry, const CodexRolloutReader::Record& record);
    void readLines(Entry& entry, std::string_view data);

    FileAccessing& files_;
    std::uint64_t searchBudget_;
    std::uint64_t budgetLeft_;
    TickEntries<Entry> entries_;
};

}  // namespace vigilmoth
