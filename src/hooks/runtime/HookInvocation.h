#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vigilmoth {

// One run of the hook executable: what its command line says.
struct HookInvocation {
    std::string agent;
    std::string event;
    int version = 1;

    bool operator==(const HookInvocation&) const = default;

    // From the arguments after the program name: agent id, event name and "v=N". Absent for
    // an agent without hook rules, so that the id is always safe in a file name.
    static std::optional<HookInvocation> parse(const std::vector<std::string>& arguments);
};

// What the agent passed on standard input, as far as the state file needs it.
struct HookInput {
    std::optional<std::string> sessionID;
    std::optional<std::string> notificationType;
    std::optional<double> ts;
    std::optional<int64_t> seq;
    std::optional<std::string> inst;

    bool operator==(const HookInput&) const = default;

    // Input that is not one whole JSON object gives nothing; fields of the wrong kind are left
    // out. Large members (tool output, transcripts) are skipped without being kept.
    static HookInput parse(std::string_view text);
    // The same, read from a stream to its end without keeping the whole text.
    static HookInput parse(std::istream& stream);
};

}  // namespace vigilmoth
