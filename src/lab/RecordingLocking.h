#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace vigilmoth {

// The advisory file lock by which a recording is known to be running, and the appending of
// whole lines to it. A recorder holds an exclusive lock for as long as it records; everyone
// else only tries a shared one to find out, and never holds it.
class RecordingLocking {
public:
    enum class Probe {
        notRunning,   // the shared lock was granted (and released at once)
        running,      // the lock is held by a recorder
        unavailable,  // the file cannot be opened, or the lock attempt failed otherwise
    };
    enum class Append { written, cannotOpen, notRunning };

    // A recording being written, under the recorder's exclusive lock; the lock goes with it.
    class Held {
    public:
        virtual ~Held() = default;
        // Writes every byte, or stops silently at an error: a torn last line reads as none.
        virtual void append(std::string_view bytes) = 0;
    };

    virtual ~RecordingLocking() = default;

    virtual Probe probe(const std::string& path) const = 0;
    // Opens the file for appending, checks that a recorder holds it, then writes `bytes`
    // with one write loop, so that the line never interleaves with the recorder's.
    virtual Append appendWhileRunning(const std::string& path, std::string_view bytes) const = 0;
    // Opens `path` for appending, creating it readable and writable by its owner only, and
    // takes the exclusive lock without waiting; nothing when either fails.
    virtual std::unique_ptr<Held> hold(const std::string& path) const = 0;
};

}  // namespace vigilmoth
