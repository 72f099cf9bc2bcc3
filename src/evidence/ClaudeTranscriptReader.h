#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "evidence/FileAccessing.h"
#include "evidence/StateReport.h"

namespace vigilmoth {

// Reads the end of a Claude Code transcript (".claude/projects/<project>/<session>.jsonl") to
// tell whether a turn is in progress.
class ClaudeTranscriptReader {
public:
    struct TailParse {
        // "user" or "assistant": the type of the newest line that decided.
        std::optional<std::string> lastTurn;
        bool turnInProgress = false;
        // The newest line is an assistant line calling a tool.
        bool runningTool = false;
        // The newest line is an assistant reply with no tool call and no end reason, which is
        // how Claude Code 2.1 ends nearly every turn: the turn goes on only while the
        // transcript is still being written.
        bool endsWhenQuiet = false;

        bool operator==(const TailParse&) const = default;
    };

    struct Transcript {
        std::string path;
        FileSignature signature;

        bool operator==(const Transcript&) const = default;
    };

    // The tail is read in windows doubling from 16 KiB until a line decides, up to 1 MiB.
    static constexpr std::uint64_t kFirstWindow = 16384;
    static constexpr std::uint64_t kLastWindow = 1048576;
    // How long a quiet transcript still counts as in a turn after an open assistant reply.
    static constexpr double kQuietSeconds = 5;

    // The tail of the file, of which `size` bytes are known; nothing when no line decides.
    static std::optional<TailParse> parseTail(FileAccessing& files, const std::string& path,
                                              std::uint64_t size);
    // The same over text whose first line may be cut.
    static std::optional<TailParse> parseTail(std::string_view text);

    // What the tail says at `now`, for a transcript last modified at `modifiedAt`: working
    // "running a tool" or "in a turn", idle, or nothing when no line decided.
    static std::optional<StateReport> report(const std::optional<TailParse>& tail, Date modifiedAt,
                                             Date now);

    // Claude Code's folder name for a working directory: every character that is not a
    // letter or a digit becomes "-" (/Users/a/b.c gives -Users-a-b-c).
    static std::string projectName(std::string_view directory);
    // The most recently modified transcript of the working directory's project folder.
    static std::optional<Transcript> newestTranscript(FileAccessing& files,
                                                      const std::string& projectsDirectory,
                                                      std::string_view workingDirectory);
};

}  // namespace vigilmoth
