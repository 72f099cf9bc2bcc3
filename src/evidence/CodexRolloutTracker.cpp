#include "evidence/CodexRolloutTracker.h"

#include <algorithm>

namespace vigilmoth {
namespace {

using Marker = CodexTurnState::Marker;
using Record = CodexRolloutReader::Record;

// The scan's answer, keeping a working directory that newer lines read forward have set.
void settle(CodexRolloutTracker::Entry& entry) {
    auto cwd = entry.turn.cwd ? entry.turn.cwd : entry.scan.turn.cwd;
    entry.turn = entry.scan.turn;
    entry.turn.cwd = cwd;
    entry.resolved = true;
}

}  // namespace

std::optional<CodexRolloutTracker::Reading> CodexRolloutTracker::read(const std::string& path) {
    auto signature = files_.signature(path);
    if (!signature) {
        entries_.erase(path);
        return std::nullopt;
    }
    Entry* found = entries_.find(path);
    bool fresh = found == nullptr || !found->started;
    if (!fresh && found->signature != *signature) {
        Entry& entry = *found;
        bool grew = signature->inode == entry.signature.inode && signature->size >= entry.offset &&
                    signature->size - entry.offset <= kLargestGrowth;
        fresh = !grew || !appended(entry, path, *signature);
    }
    if (fresh) {
        Entry entry;
        entry.signature = *signature;
        entry.search = BackwardLines(signature->size, false);
        found = &entries_.assign(path, std::move(entry));
    }
    search(*found, path);
    const Entry& entry = *found;
    return Reading{entry.turn, entry.resolved, entry.signature};
}

void CodexRolloutTracker::endSample() {
    entries_.endSample();
    budgetLeft_ = searchBudget_;
}

const CodexRolloutTracker::Entry* CodexRolloutTracker::entry(const std::string& path) const {
    return entries_.peek(path);
}

std::optional<StateReport> CodexRolloutTracker::report(const Reading& reading, Date now) {
    if (!reading.resolved) return std::nullopt;
    StateReport report{.state = ReportedState::idle,
                       .observedAt = now,
                       .source = StateReport::Source::codexRollout};
    if (reading.turn.turnInProgress) {
        report.state = ReportedState::working;
        report.since = reading.turn.markerAt;
        report.detail = "in a turn";
    }
    return report;
}

bool CodexRolloutTracker::appended(Entry& entry, const std::string& path,
                                   const FileSignature& signature) {
    std::uint64_t from = entry.offset - entry.anchor.size();
    auto bytes = files_.read(path, from, signature.size - from);
    if (!bytes || bytes->size() != signature.size - from || !bytes->starts_with(entry.anchor))
        return false;
    std::string data = std::move(entry.carry);
    data.append(*bytes, entry.anchor.size());
    entry.carry.clear();
    entry.anchor = bytes->substr(bytes->size() - std::min(bytes->size(), kAnchorLength));
    entry.offset = signature.size;
    entry.signature = signature;
    readLines(entry, data);
    return true;
}

void CodexRolloutTracker::readLines(Entry& entry, std::string_view data) {
    if (entry.carryDropped) {
        std::size_t end = data.find('\n');
        if (end == std::string_view::npos) return;
        data.remove_prefix(end + 1);
        entry.carryDropped = false;
    }
    std::size_t start = 0;
    for (std::size_t end = data.find('\n'); end != std::string_view::npos;
         start = end + 1, end = data.find('\n', start)) {
        if (auto record = CodexRolloutReader::record(data.substr(start, end - start)))
            applyForward(entry, *record);
    }
    entry.carry = data.substr(start);
    if (entry.carry.size() > kLongestCarry) {
        entry.carry.clear();
        entry.carryDropped = true;
    }
}

void CodexRolloutTracker::applyForward(Entry& entry, const Record& record) {
    if (const auto* context = std::get_if<CodexRolloutReader::ContextRecord>(&record)) {
        if (context->cwd) entry.turn.cwd = context->cwd;
        return;
    }
    const auto& marker = std::get<CodexRolloutReader::MarkerRecord>(record);
    // An end that names another turn than the one in progress belongs to that other turn.
    bool otherTurn = marker.marker != Marker::started && marker.turnID &&
                     entry.turn.turnInProgress && entry.turn.turnID &&
                     *entry.turn.turnID != *marker.turnID;
    if (!otherTurn) {
        entry.turn.lastMarker = marker.marker;
        entry.turn.turnID = marker.turnID;
        entry.turn.markerAt = marker.at;
        entry.turn.turnInProgress = marker.marker == Marker::started;
    }
    entry.resolved = true;
    entry.scan = {};
}

void CodexRolloutTracker::search(Entry& entry, const std::string& path) {
    auto visit = [&entry](std::string_view line) {
        if (auto record = CodexRolloutReader::record(line)) entry.scan.take(*record);
        return entry.scan.settled;
    };
    while (!entry.resolved && !entry.search.atStart()) {
        // The first window leaves room in the budget for the anchor read after it.
        std::uint64_t reserve = entry.started ? 0 : kAnchorLength;
        if (budgetLeft_ <= reserve) return;
        std::uint64_t window = entry.started ? kLaterWindow : kFirstWindow;
        std::uint64_t before = entry.search.bytesRead();
        entry.search.read(files_, path, std::min(window, budgetLeft_ - reserve), visit);
        charge(entry.search.bytesRead() - before);
        if (!entry.started) takeFirstWindow(entry, path);
        if (entry.search.failed()) return;
        if (entry.scan.settled || entry.search.atStart()) settle(entry);
    }
}

void CodexRolloutTracker::takeFirstWindow(Entry& entry, const std::string& path) {
    entry.started = true;
    if (entry.search.failed()) return;
    if (entry.search.lineStillOpen()) {
        // The window holds no line feed: the line at the end is longer than the window, and
        // the rest of it is skipped when it comes.
        entry.offset = entry.signature.size;
        entry.carryDropped = true;
        return;
    }
    // The bytes after the last line feed are a line still being written: the forward reader
    // reads them when they are complete.
    entry.offset = entry.search.completeEnd();
    std::uint64_t anchorStart = entry.offset - std::min<std::uint64_t>(entry.offset, kAnchorLength);
    entry.anchor = files_.read(path, anchorStart, entry.offset - anchorStart).value_or("");
    charge(entry.anchor.size());
}

}  // namespace vigilmoth
