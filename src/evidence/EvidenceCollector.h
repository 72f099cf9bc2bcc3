#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "catalog/AgentCatalog.h"
#include "catalog/AgentInstances.h"
#include "catalog/ProcessCensus.h"
#include "evidence/ClaudeSessionState.h"
#include "evidence/ClaudeTranscriptReader.h"
#include "evidence/CodexRolloutReader.h"
#include "evidence/CodexRolloutTracker.h"
#include "evidence/CursorTranscript.h"
#include "evidence/EvidenceCollecting.h"
#include "evidence/EvidenceSample.h"
#include "evidence/FileAccessing.h"
#include "evidence/FileActivityReader.h"
#include "evidence/FileCache.h"
#include "evidence/HookStateReader.h"
#include "evidence/OpenFileListing.h"
#include "evidence/PowerContextReading.h"
#include "evidence/RemoteAccessDetector.h"

namespace vigilmoth {

// Turns the process table and the agents' own files into one frame per tick. It keeps what
// makes a tick cheap between ticks: the catalog matches per process, the previous rows for CPU
// deltas, each child command's recent CPU, the file caches and trackers, and the last good
// sample, which bridges a short spell in which the process table cannot be read. Used from one
// thread only; it takes no locks.
class EvidenceCollector final : public EvidenceCollecting {
public:
    // Everything the collector reads from, so that tests can put anything in its place.
    struct Sources {
        std::shared_ptr<ProcessCensusing> census;
        std::shared_ptr<PowerAssertionListing> assertions;
        std::shared_ptr<PowerContextReading> power;
        std::shared_ptr<OpenFileListing> openFiles;
        // Remote logins and terminal names.
        std::shared_ptr<SessionProbing> sessions;
        std::shared_ptr<FileAccessing> files;
        const AgentCatalog* catalog = &AgentCatalog::standard();
        std::string claudeSessions;
        std::string claudeJobs;
        std::string claudeProjects;
        std::string codexRollouts;
        std::string cursorTranscripts;
        std::uint64_t rolloutSearchBudget = CodexRolloutTracker::kDefaultBudget;
        std::map<std::string, FileActivityReader::Target> fileActivityTargets;
        std::optional<std::string> hookDirectory;
        // Claude Code's settings and its user state file: either may turn remote control on.
        std::optional<std::string> claudeSettings;
        std::optional<std::string> claudeUserState;
        std::function<Date()> now = [] { return Date::now(); };
        // The clock that stops while the machine sleeps, in seconds; none where there is none.
        std::function<std::optional<double>()> awakeSeconds;
        // A clock that never steps, in seconds, for the tick's cost.
        std::function<double()> monotonicSeconds;
        // The hook entry whose state files serve a catalog definition; the app hands in the hook
        // catalog's table, which sits above this layer. Without it a definition's hook files
        // are those named by its own identifier, as the hook catalog names them today.
        std::function<std::optional<std::string>(std::string_view definitionID)> hookAgent;

        // The agents' folders and targets under a home folder; the system's pieces stay empty.
        static Sources inHome(const std::string& home);
        // The production sources of the system vigilmoth runs on (built by the platform layer).
        static Sources system();
    };

    struct MatchEntry {
        double startTime = 0;
        std::string executablePath;
        std::vector<std::string> arguments;
        std::optional<AgentMatch> match;
        // The last tick whose table held the process; older entries are forgotten.
        std::uint64_t tick = 0;
    };

    struct CPUSample {
        Date at;
        double cpuSeconds = 0;
        double interval = 0;

        bool operator==(const CPUSample&) const = default;
    };

    // Hook states are fresh for a minute; a working one holds for half an hour.
    static constexpr double kHookFreshness = 60;
    static constexpr double kHookWorkingLimit = 1800;
    // The process table is bridged with the last sample for this long.
    static constexpr double kBridgeSeconds = 30;
    static constexpr double kChildWindow = 10;
    static constexpr double kChildHalf = 5;
    static constexpr double kTranscriptChoiceSeconds = 5;
    static constexpr double kRolloutListingSeconds = 60;
    static constexpr double kCursorListingSeconds = 5;
    static constexpr double kCursorMaxAge = 86400;
    static constexpr double kLiveSessionSeconds = 3600;

    explicit EvidenceCollector(Sources sources);

    EvidenceSample collect(const std::vector<std::string>& userNames) override;

    // At least one per cent of a core over the samples' summed intervals.
    static bool isBusy(const std::vector<CPUSample>& samples);
    static const std::set<std::string>& codexIDs();

private:
    using Matches = std::unordered_map<std::int32_t, AgentMatch>;

    // What one tick works on, beside the collector's memory.
    struct Tick {
        SampleTime time;
        const std::vector<ProcessInfoRow>* rows = nullptr;
        const Matches* matches = nullptr;
        double interval = 0;
        std::set<std::string> watched;
        std::unordered_set<ProcessIdentity> liveUnits;
    };

    // The last sample with fresh times while the table was readable a short while ago.
    std::optional<EvidenceSample> unreadableTable(const SampleTime& time, double started);
    Matches currentMatches(const std::vector<ProcessInfoRow>& rows,
                           const std::vector<std::string>& userNames);
    double cpuInterval(const SampleTime& time);
    void readHookStates(Tick& tick);
    void attributeRollouts(const std::vector<AgentInstance>& instances, Tick& tick);
    bool claudeRemoteControl(const Tick& tick);
    std::optional<AgentEvidence> evidence(const AgentInstance& instance, Tick& tick,
                                          const std::set<int>& asserting);
    // False when the instance is not a session of its own and must be left out.
    bool fillClaude(const AgentInstance& instance, AgentEvidence& evidence, Tick& tick);
    void fillClaudeTranscript(const AgentInstance& instance, AgentEvidence& evidence, Tick& tick);
    void fillCodex(const AgentInstance& instance, AgentEvidence& evidence, Tick& tick);
    void fillCursor(const AgentInstance& instance, AgentEvidence& evidence, Tick& tick);
    void fillFileActivity(const std::string& agentID, AgentEvidence& evidence, Tick& tick);
    void noteUse(const AgentInstance& instance, AgentEvidence& evidence, Tick& tick);
    void noteHooks(const AgentInstance& instance, AgentEvidence& evidence, Tick& tick);
    FrameContext context(bool remoteAccess);
    void endTick(const std::vector<AgentInstance>& instances, Tick& tick);

    Sources sources_;
    FileAccessing& files_;
    ClaudeSessionStateReader claudeSessions_;
    ClaudeJobStateReader claudeJobs_;
    CodexRolloutReader codexRollouts_;
    CursorTranscriptReader cursorTranscripts_;

    std::unordered_map<std::int32_t, MatchEntry> matchCache_;
    std::vector<std::string> matchUserNames_;
    std::uint64_t matchTick_ = 0;
    std::optional<SampleTime> previous_;
    std::optional<EvidenceSample> lastSample_;
    std::optional<SampleTime> lastReadableAt_;
    std::unordered_map<ProcessIdentity, ProcessInfoRow> previousRows_;
    std::unordered_map<ProcessIdentity, std::vector<CPUSample>> childWindows_;
    FileCache<ClaudeSessionState> sessionFiles_;
    FileCache<ClaudeJobState> jobFiles_;
    FileCache<ClaudeTranscriptReader::TailParse> transcripts_;
    CodexRolloutTracker rolloutTails_;
    std::unordered_map<std::string, std::optional<std::string>> rolloutCwds_;
    struct RolloutListing {
        Date at;
        std::vector<CodexRolloutFile> files;
    };
    std::optional<RolloutListing> rolloutListing_;
    std::unordered_map<ProcessIdentity, std::vector<std::string>> sessionRollouts_;
    CursorTranscriptTracker cursorTails_;
    struct CursorListing {
        Date at;
        std::vector<CursorTranscriptFile> files;
    };
    std::optional<CursorListing> cursorListing_;
    std::map<std::string, Date> cursorEnds_;
    std::unordered_map<std::int32_t, HookStateReader::State> sampleHookStates_;
    struct TranscriptChoice {
        Date at;
        std::optional<std::string> path;
    };
    std::unordered_map<ProcessIdentity, TranscriptChoice> transcriptChoices_;
    std::map<std::string, FileActivityReader> activityReaders_;
    // This tick's poll per agent, so that two instances of one agent see the same change.
    std::map<std::string, FileActivity> activityThisTick_;
    std::optional<HookStateReader> hookReader_;
    std::unordered_map<ProcessIdentity, std::string> sessionNames_;
    FileCache<RemoteAccessDetector::ClaudeSettings> claudeSettingsFiles_;
};

}  // namespace vigilmoth
