#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "evidence/FileAccessing.h"

namespace vigilmoth {

// A file's complete lines read from its end towards its start, one window at a time, each
// byte read once. A line cut by a window's start is kept until the next window completes it.
class BackwardLines {
public:
    // A line longer than this is dropped rather than held while the search goes on.
    static constexpr std::uint64_t kLongestLine = 4 * 1024 * 1024;

    BackwardLines() = default;
    // `end` is where reading starts (the file's size when it was looked at). With
    // `keepUnterminated`, the bytes after the last line feed count as a line (a writer that
    // left off the line feed); without, they belong to a line still being written.
    BackwardLines(std::uint64_t end, bool keepUnterminated)
        : end_(end),
          from_(end),
          completeEnd_(keepUnterminated ? end : 0),
          trailingOpen_(!keepUnterminated) {}

    // Reads up to `length` bytes before the lowest offset read so far and hands the complete
    // lines found to `visit`, newest first, until it returns true. Returns true when `visit`
    // stopped the walk; false when it did not, when nothing was left or the file changed.
    template <typename Visit>
    bool read(FileAccessing& files, const std::string& path, std::uint64_t length, Visit&& visit) {
        std::uint64_t start = from_ - std::min(length, from_);
        if (start == from_ || failed_) return false;
        auto bytes = files.read(path, start, from_ - start);
        if (!bytes || bytes->size() != from_ - start) {
            failed_ = true;  // the file shrank or went away under the reader
            return false;
        }
        bytesRead_ += bytes->size();
        from_ = start;
        std::string text = std::move(*bytes) + pending_;
        pending_.clear();
        std::size_t regionEnd = text.size();
        if (trailingOpen_) {
            std::size_t last = text.rfind('\n');
            regionEnd = last == std::string::npos ? 0 : last + 1;
            if (last != std::string::npos) {
                trailingOpen_ = false;
                completeEnd_ = start + regionEnd;
            }
        }
        std::size_t regionStart = 0;
        if (start > 0) {
            std::size_t first = text.find('\n');
            regionStart = first == std::string::npos ? regionEnd : std::min(first + 1, regionEnd);
            pending_ = text.substr(0, regionStart);
            if (pending_.size() > kLongestLine) {
                // Its head, in the next window, must not pass for a whole line either.
                pending_.clear();
                trailingOpen_ = true;
            }
        }
        return newestFirst(std::string_view(text).substr(regionStart, regionEnd - regionStart),
                           visit);
    }

    // Reads back until the lowest offset read is `window` bytes before the end.
    template <typename Visit>
    bool readLast(FileAccessing& files, const std::string& path, std::uint64_t window,
                  Visit&& visit) {
        std::uint64_t lowest = end_ - std::min(window, end_);
        return from_ > lowest && read(files, path, from_ - lowest, visit);
    }

    bool atStart() const { return from_ == 0 || failed_; }
    // The file shrank or went away under the reader.
    bool failed() const { return failed_; }
    // The lowest offset read so far.
    std::uint64_t from() const { return from_; }
    std::uint64_t bytesRead() const { return bytesRead_; }
    // Where the complete lines end, once a line feed has been found; until then the end of
    // the file when unterminated bytes count as a line, and 0 otherwise.
    std::uint64_t completeEnd() const { return trailingOpen_ ? 0 : completeEnd_; }
    bool lineStillOpen() const { return trailingOpen_; }

    bool operator==(const BackwardLines&) const = default;

    // Hands the lines of `region` to `visit`, newest first, leaving out empty ones, until it
    // returns true; returns whether it did.
    template <typename Visit>
    static bool newestFirst(std::string_view region, Visit&& visit) {
        while (!region.empty()) {
            if (region.back() == '\n') region.remove_suffix(1);
            std::size_t cut = region.rfind('\n');
            std::string_view line = cut == std::string_view::npos ? region : region.substr(cut + 1);
            region = cut == std::string_view::npos ? std::string_view() : region.substr(0, cut + 1);
            if (!line.empty() && visit(line)) return true;
        }
        return false;
    }

private:
    std::uint64_t end_ = 0;
    std::uint64_t from_ = 0;
    std::uint64_t completeEnd_ = 0;
    std::uint64_t bytesRead_ = 0;
    std::string pending_;
    bool trailingOpen_ = false;
    bool failed_ = false;
};

}  // namespace vigilmoth
