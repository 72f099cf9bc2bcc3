#pragma once

#include <optional>
#include <string>

namespace vigilmoth {

// The state folder as the hook executable uses it. Every agent process has its own file, but
// hooks of one process may run at once (Claude Code starts some in parallel), so each
// read-modify-write happens under the folder's lock.
class HookStateStoring {
public:
    virtual ~HookStateStoring() = default;
    // Holds the folder's lock until `unlock`, creating the folder when it is missing; false when
    // neither worked, in which case nothing is written.
    virtual bool lock() = 0;
    virtual void unlock() = 0;
    // The file's text; absent when it is missing, not a regular file, or too large to be ours.
    virtual std::optional<std::string> read(const std::string& name) = 0;
    // Replaces the file atomically, without following a link planted under its name.
    virtual bool replace(const std::string& name, const std::string& text) = 0;
};

}  // namespace vigilmoth
