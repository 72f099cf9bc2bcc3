#include "evidence/EvidenceCollector.h"

#include <algorithm>
#include <chrono>

#include "catalog/AgentDefinitions.h"
#include "catalog/CommandDecoding.h"
#include "evidence/SampleGap.h"

namespace vigilmoth {
namespace {

constexpr const char* kClaude = "claude";
constexpr const char* kCursor = "cursor-desktop";
// Claude Code's user state file runs to megabytes; only two of its top-level flags matter.
constexpr std::uint64_t kUserStateLimit = 64u << 20;

std::string_view lastComponent(std::string_view path) {
    std::size_t cut = path.rfind('/');
    return cut == std::string_view::npos ? path : path.substr(cut + 1);
}

bool isRollout(std::string_view path) {
    auto name = lastComponent(path);
    return name.starts_with("rollout-") && name.ends_with(".jsonl");
}

bool withinSeconds(std::optional<Date> at, Date now, double seconds) {
    return at && now - *at <= seconds;
}

double elapsed(const SampleTime& from, const SampleTime& to) {
    if (from.awake && to.awake) return *to.awake - *from.awake;
    return to.at - from.at;
}

// Cursor's extension host, below which its agent's shells run.
bool isCursorExtensionHost(const ProcessInfoRow& row) {
    return row.executablePath.ends_with("/Cursor Helper (Plugin)") &&
           row.executablePath.find("/Cursor.app/Contents/Frameworks/") != std::string::npos;
}

// vigilmoth's own hook, run by the agent to report its state: the shell the agent starts it
// with names it, or it is started directly. Its run is no work of the agent's.
bool isHookRun(const ProcessInfoRow& row) {
    constexpr std::string_view hook = "VigilmothHook";
    if (lastComponent(row.executablePath) == hook) return true;
    return std::any_of(row.arguments.begin(), row.arguments.end(), [&](const std::string& word) {
        return word.find(hook) != std::string::npos;
    });
}

double defaultMonotonicSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace

EvidenceCollector::Sources EvidenceCollector::Sources::inHome(const std::string& home) {
    Sources sources;
    sources.claudeSessions = home + "/.claude/sessions";
    sources.claudeJobs = home + "/.claude/jobs";
    sources.claudeProjects = home + "/.claude/projects";
    sources.codexRollouts = home + "/.codex/sessions";
    sources.cursorTranscripts = home + "/.cursor/projects";
    sources.fileActivityTargets = {{"opencode", FileActivityReader::opencode(home)},
                                   {"antigravity", FileActivityReader::antigravity(home)},
                                   {"antigravity-desktop", FileActivityReader::antigravity(home)}};
    sources.claudeSettings = home + "/.claude/settings.json";
    sources.claudeUserState = home + "/.claude.json";
    return sources;
}

EvidenceCollector::EvidenceCollector(Sources sources)
    : sources_(std::move(sources)),
      files_(*sources_.files),
      claudeSessions_(files_, sources_.claudeSessions),
      claudeJobs_(files_, sources_.claudeJobs),
      codexRollouts_(files_, sources_.codexRollouts),
      cursorTranscripts_(files_, sources_.cursorTranscripts),
      rolloutTails_(files_, sources_.rolloutSearchBudget),
      cursorTails_(files_) {
    if (!sources_.monotonicSeconds) sources_.monotonicSeconds = defaultMonotonicSeconds;
    if (!sources_.now) sources_.now = [] { return Date::now(); };
}

const std::set<std::string>& EvidenceCollector::codexIDs() {
    static const std::set<std::string> ids = {"codex", "codex-desktop"};
    return ids;
}

bool EvidenceCollector::isBusy(const std::vector<CPUSample>& samples) {
    double cpu = 0;
    double interval = 0;
    for (const auto& sample : samples) {
        cpu += sample.cpuSeconds;
        interval += sample.interval;
    }
    return interval > 0 && cpu / interval >= 0.01;
}

EvidenceSample EvidenceCollector::collect(const std::vector<std::string>& userNames) {
    double started = sources_.monotonicSeconds();
    SampleTime time{sources_.now(), sources_.awakeSeconds ? sources_.awakeSeconds() : std::nullopt};
    auto snapshot = sources_.census ? sources_.census->snapshot() : std::nullopt;
    const bool readable = snapshot.has_value();
    if (!readable) {
        auto bridged = unreadableTable(time, started);
        if (bridged) return *bridged;
        snapshot.emplace();
    }
    const std::vector<ProcessInfoRow>& rows = *snapshot;

    Matches matches = currentMatches(rows, userNames);
    auto instances = AgentInstances::of(rows, matches);
    std::set<int> asserting;
    if (!instances.empty() && sources_.assertions) asserting = sources_.assertions->assertingPIDs();

    Tick tick{.time = time, .rows = &rows, .matches = &matches};
    tick.interval = cpuInterval(time);
    readHookStates(tick);
    attributeRollouts(instances, tick);
    bool remoteAccess = sources_.sessions && sources_.sessions->remoteAccessActive(rows);
    if (!remoteAccess) remoteAccess = claudeRemoteControl(tick);

    EvidenceSample sample;
    sample.frame.version = 1;
    sample.frame.at = time.at;
    sample.frame.awake = time.awake;
    for (const auto& instance : instances) {
        auto evidence = this->evidence(instance, tick, asserting);
        if (!evidence) continue;
        ProcessIdentity root{instance.rootPID, instance.rootStartTime};
        SessionHint hint;
        const ProcessInfoRow& rootRow = instance.rows.front();
        if (rootRow.tty != ProcessInfoRow::kNoTerminal && sources_.sessions) {
            hint.terminal = sources_.sessions->terminalName(rootRow.tty);
        }
        if (auto name = sessionNames_.find(root); name != sessionNames_.end()) {
            hint.name = name->second;
        }
        if (hint.name || hint.terminal) sample.sessionHints.emplace(root, std::move(hint));
        sample.roots.insert(root);
        sample.frame.agents.push_back(std::move(*evidence));
    }
    sample.frame.context = context(remoteAccess);
    endTick(instances, tick);
    sample.watchedFiles = std::move(tick.watched);
    sample.cost = sources_.monotonicSeconds() - started;
    lastSample_ = sample;
    if (readable) lastReadableAt_ = time;
    return sample;
}

// A process table that cannot be read for a moment (a busy kernel, a sandbox hiccup) must not
// make every agent vanish and come back: the last sample stands in, with fresh times, for a
// while. Energy and writes are left out, since nothing was measured.
std::optional<EvidenceSample> EvidenceCollector::unreadableTable(const SampleTime& time,
                                                                 double started) {
    if (lastReadableAt_ && lastSample_) {
        double since = elapsed(*lastReadableAt_, time);
        if (since >= 0 && since <= kBridgeSeconds) {
            EvidenceSample& sample = *lastSample_;
            sample.frame.at = time.at;
            sample.frame.awake = time.awake;
            sample.frame.context = context(sample.frame.context.remoteAccessDetected);
            for (auto& agent : sample.frame.agents) {
                agent.energyNanojoules.reset();
                agent.logicalWriteBytes.reset();
            }
            sample.cost = sources_.monotonicSeconds() - started;
            return sample;
        }
    }
    // Without anything to bridge with, the frame is bare; after the bridge, the tick goes on
    // over an empty table, so that the agents' memories are cleaned up.
    bool hadSample = lastSample_.has_value();
    lastSample_.reset();
    if (hadSample) return std::nullopt;
    EvidenceSample bare;
    bare.frame.at = time.at;
    bare.cost = sources_.monotonicSeconds() - started;
    return bare;
}

// Updated in place: rebuilding the cache every tick, hundreds of paths and argument lists
// moved into a new table, cost more than the matching it saves.
EvidenceCollector::Matches EvidenceCollector::currentMatches(
    const std::vector<ProcessInfoRow>& rows, const std::vector<std::string>& userNames) {
    if (userNames != matchUserNames_) {
        matchCache_.clear();
        matchUserNames_ = userNames;
    }
    ++matchTick_;
    Matches matches;
    for (const auto& row : rows) {
        auto [cached, added] = matchCache_.try_emplace(row.pid);
        MatchEntry& entry = cached->second;
        if (added || entry.startTime != row.startTime ||
            entry.executablePath != row.executablePath || entry.arguments != row.arguments) {
            entry = {row.startTime, row.executablePath, row.arguments,
                     sources_.catalog->match(row, userNames)};
        }
        entry.tick = matchTick_;
        if (entry.match) matches.emplace(row.pid, *entry.match);
    }
    std::erase_if(matchCache_,
                  [this](const auto& entry) { return entry.second.tick != matchTick_; });
    return matches;
}

double EvidenceCollector::cpuInterval(const SampleTime& time) {
    if (SampleGap::length(previous_, time)) {
        childWindows_.clear();
        return 0;
    }
    return previous_ ? elapsed(*previous_, time) : 0;
}

void EvidenceCollector::readHookStates(Tick& tick) {
    if (!sources_.hookDirectory) return;
    if (!hookReader_) {
        hookReader_.emplace(files_, *sources_.hookDirectory);
        hookReader_->prepare();
    }
    sampleHookStates_ =
        hookReader_->states(*tick.rows, tick.time.at, kHookFreshness, kHookWorkingLimit);
    for (const auto& [pid, state] : sampleHookStates_)
        tick.watched.insert(state.path);
}

// Rollouts belong to Codex sessions once per tick: the ones a Codex process holds open, else
// the newest ones written from its working directory since it started.
void EvidenceCollector::attributeRollouts(const std::vector<AgentInstance>& instances, Tick& tick) {
    sessionRollouts_.clear();
    struct ByDirectory {
        ProcessIdentity root;
        double startTime = 0;
        std::string directory;
    };
    std::vector<ByDirectory> byDirectory;
    for (const auto& instance : instances) {
        if (!codexIDs().contains(instance.definition.id)) continue;
        ProcessIdentity root{instance.rootPID, instance.rootStartTime};
        std::vector<std::string> open;
        for (const auto& row : instance.rows) {
            if (!tick.matches->contains(row.pid)) continue;
            for (const auto& path : sources_.openFiles ? sources_.openFiles->openFilePaths(row.pid)
                                                       : std::vector<std::string>{}) {
                if (!isRollout(path)) continue;
                auto resolved = files_.resolved(path);
                if (resolved && std::find(open.begin(), open.end(), *resolved) == open.end())
                    open.push_back(*resolved);
            }
        }
        if (!open.empty()) {
            sessionRollouts_[root] = std::move(open);
            continue;
        }
        auto cwd = sources_.openFiles ? sources_.openFiles->workingDirectory(instance.rootPID)
                                      : std::nullopt;
        auto resolved = cwd ? files_.resolved(*cwd) : std::nullopt;
        if (resolved) byDirectory.push_back({root, instance.rootStartTime, *resolved});
    }
    if (byDirectory.empty()) return;
    Date now = tick.time.at;
    if (!rolloutListing_ || now - rolloutListing_->at >= kRolloutListingSeconds ||
        now < rolloutListing_->at) {
        rolloutListing_ = RolloutListing{now, codexRollouts_.filesOfLastDays(2, now)};
        std::erase_if(rolloutCwds_, [this](const auto& entry) {
            return std::none_of(
                rolloutListing_->files.begin(), rolloutListing_->files.end(),
                [&](const CodexRolloutFile& file) { return file.path == entry.first; });
        });
    }
    // Two sessions in one directory cannot be told apart by it: neither gets a rollout so.
    std::map<std::string, int> sharing;
    for (const auto& session : byDirectory)
        ++sharing[session.directory];
    std::erase_if(byDirectory,
                  [&](const ByDirectory& session) { return sharing[session.directory] > 1; });
    std::set<std::size_t> taken;
    for (const auto& file : rolloutListing_->files) {
        auto cwd = rolloutCwds_.find(file.path);
        if (cwd == rolloutCwds_.end()) {
            // Looking directories up is reading too, and is paid from the tick's budget.
            if (rolloutTails_.budgetLeft() == 0) continue;
            std::uint64_t bytes = 0;
            auto directory = codexRollouts_.sessionCwd(file.path, &bytes);
            rolloutTails_.charge(bytes);
            if (directory) directory = files_.resolved(*directory).value_or(*directory);
            cwd = rolloutCwds_.emplace(file.path, directory).first;
        }
        if (!cwd->second) continue;
        for (std::size_t index = 0; index < byDirectory.size(); ++index) {
            const auto& session = byDirectory[index];
            if (taken.contains(index) || session.directory != *cwd->second ||
                file.lastWrite.secondsSince1970() < session.startTime)
                continue;
            sessionRollouts_[session.root].push_back(file.path);
            taken.insert(index);
            break;
        }
    }
}

bool EvidenceCollector::claudeRemoteControl(const Tick& tick) {
    std::vector<RemoteAccessDetector::ClaudeSession> sessions;
    for (const auto& row : *tick.rows) {
        auto match = tick.matches->find(row.pid);
        if (match == tick.matches->end() || match->second.definition.id != kClaude ||
            match->second.role != AgentRole::session)
            continue;
        sessions.push_back(
            {CommandDecoding::command(row).arguments, row.tty != ProcessInfoRow::kNoTerminal});
    }
    if (sessions.empty()) return false;
    auto settings = [this](const std::optional<std::string>& path) {
        if (!path) return std::optional<RemoteAccessDetector::ClaudeSettings>();
        return claudeSettingsFiles_.value(
            files_, *path, [this](const std::string& at, const FileSignature&) {
                auto bytes = smallFile(files_, at, kUserStateLimit);
                return bytes ? RemoteAccessDetector::ClaudeSettings::fromJSON(*bytes)
                             : std::nullopt;
            });
    };
    return RemoteAccessDetector::claudeRemoteControl(
        sessions, RemoteAccessDetector::ClaudeSettings::merged(settings(sources_.claudeSettings),
                                                               settings(sources_.claudeUserState)));
}

std::optional<AgentEvidence> EvidenceCollector::evidence(const AgentInstance& instance, Tick& tick,
                                                         const std::set<int>& asserting) {
    const AgentDefinition& definition = instance.definition;
    AgentEvidence evidence{.agentID = definition.id,
                           .displayName = definition.displayName,
                           .level = definition.level,
                           .kind = definition.kind,
                           .role = instance.role,
                           .pid = instance.rootPID,
                           .startTime = instance.rootStartTime};
    if (definition.id == kClaude) {
        if (!fillClaude(instance, evidence, tick)) return std::nullopt;
    } else if (codexIDs().contains(definition.id)) {
        fillCodex(instance, evidence, tick);
    } else if (definition.id == kCursor) {
        fillCursor(instance, evidence, tick);
    } else if (sources_.fileActivityTargets.contains(definition.id)) {
        fillFileActivity(definition.id, evidence, tick);
    }
    noteUse(instance, evidence, tick);
    if (definition.id == kCursor) {
        evidence.ownsSleepAssertion = asserting.contains(instance.rootPID);
    } else {
        evidence.ownsSleepAssertion =
            std::any_of(instance.rows.begin(), instance.rows.end(),
                        [&](const ProcessInfoRow& row) { return asserting.contains(row.pid); });
    }
    noteHooks(instance, evidence, tick);
    return evidence;
}

bool EvidenceCollector::fillClaude(const AgentInstance& instance, AgentEvidence& evidence,
                                   Tick& tick) {
    Date now = tick.time.at;
    std::optional<ClaudeSessionState> session;
    for (const auto& row : instance.rows) {
        auto match = tick.matches->find(row.pid);
        if (match == tick.matches->end() || match->second.definition.id != kClaude) continue;
        std::string path = claudeSessions_.path(row.pid);
        // The parse is cached; whose file it is depends on the process asking.
        auto parsed =
            sessionFiles_.value(files_, path, [&](const std::string& at, const FileSignature&) {
                auto bytes = smallFile(files_, at, ClaudeSessionStateReader::kFileLimit);
                return bytes ? ClaudeSessionStateReader::parse(*bytes, now) : std::nullopt;
            });
        if (parsed) session = ClaudeSessionStateReader::belonging(*parsed, row.pid, row.startTicks);
        if (session) {
            tick.watched.insert(path);
            break;
        }
    }
    bool maybeSession = instance.role == AgentRole::helperMaybeSession;
    if (!session) {
        if (maybeSession) return false;
        fillClaudeTranscript(instance, evidence, tick);
        return true;
    }
    bool spare = session->kind && session->kind->value == ClaudeSessionState::Kind::Case::spare;
    if (maybeSession && spare && session->state == ReportedState::idle) return false;
    evidence.reported = StateReport{.state = session->state,
                                    .since = session->statusUpdatedAt,
                                    .observedAt = now,
                                    .source = StateReport::Source::claudeSessionFile,
                                    .detail = session->detail(),
                                    .turnEnded = session->rawStatus == "shell"};
    if (session->name) sessionNames_[evidence.identity()] = *session->name;
    if (session->jobID) {
        if (auto path = claudeJobs_.path(*session->jobID)) {
            auto job =
                jobFiles_.value(files_, *path, [&](const std::string& at, const FileSignature&) {
                    auto bytes = smallFile(files_, at, ClaudeSessionStateReader::kFileLimit);
                    return bytes ? ClaudeJobStateReader::parse(*bytes, now) : std::nullopt;
                });
            tick.watched.insert(*path);
            if (job && job->busy()) evidence.backgroundJobsWorking = 1;
        }
    }
    return true;
}

// Without a session file, the newest transcript of the session's project tells the turn. The
// choice costs a listing and a status per transcript, so it is made again only every few
// seconds.
void EvidenceCollector::fillClaudeTranscript(const AgentInstance& instance, AgentEvidence& evidence,
                                             Tick& tick) {
    Date now = tick.time.at;
    ProcessIdentity root = evidence.identity();
    auto choice = transcriptChoices_.find(root);
    if (choice == transcriptChoices_.end() || now - choice->second.at > kTranscriptChoiceSeconds ||
        now < choice->second.at) {
        std::optional<std::string> path;
        auto cwd = sources_.openFiles ? sources_.openFiles->workingDirectory(instance.rootPID)
                                      : std::nullopt;
        if (cwd) {
            auto newest =
                ClaudeTranscriptReader::newestTranscript(files_, sources_.claudeProjects, *cwd);
            if (newest) path = newest->path;
        }
        choice = transcriptChoices_.insert_or_assign(root, TranscriptChoice{now, path}).first;
    }
    if (!choice->second.path) return;
    const std::string& path = *choice->second.path;
    auto tail = transcripts_.value(
        files_, path, [this](const std::string& at, const FileSignature& signature) {
            return ClaudeTranscriptReader::parseTail(files_, at, signature.size);
        });
    auto signature = transcripts_.signature(path);
    if (!signature) return;
    tick.watched.insert(path);
    evidence.fileActivityAt = signature->modifiedAt;
    evidence.reported = ClaudeTranscriptReader::report(tail, signature->modifiedAt, now);
}

void EvidenceCollector::fillCodex(const AgentInstance& instance, AgentEvidence& evidence,
                                  Tick& tick) {
    auto attributed = sessionRollouts_.find({instance.rootPID, instance.rootStartTime});
    if (attributed == sessionRollouts_.end()) return;
    std::optional<std::pair<std::string, FileSignature>> newest;
    for (const auto& path : attributed->second) {
        auto signature = files_.signature(path);
        if (signature && (!newest || signature->modifiedAt > newest->second.modifiedAt))
            newest.emplace(path, *signature);
    }
    if (!newest) return;
    auto reading = rolloutTails_.read(newest->first);
    if (!reading) return;
    Date now = tick.time.at;
    Date written = reading->signature.modifiedAt;
    tick.watched.insert(newest->first);
    evidence.reported = CodexRolloutTracker::report(*reading, now);
    evidence.fileActivityAt = written;
    evidence.hasLiveSession = withinSeconds(written, now, kLiveSessionSeconds);
}

void EvidenceCollector::fillCursor(const AgentInstance& instance, AgentEvidence& evidence,
                                   Tick& tick) {
    Date now = tick.time.at;
    if (!cursorListing_ || now - cursorListing_->at > kCursorListingSeconds ||
        now < cursorListing_->at) {
        cursorListing_ = CursorListing{now, cursorTranscripts_.recentFiles(kCursorMaxAge, now)};
    }
    std::unordered_map<std::string, CursorTranscriptTracker::Reading> readings;
    for (const auto& file : cursorListing_->files) {
        if (auto reading = cursorTails_.read(file.path)) {
            readings.emplace(file.path, std::move(*reading));
            tick.watched.insert(file.path);
        }
    }
    std::map<std::string, Date> stops;
    for (const auto& row : instance.rows) {
        auto state = sampleHookStates_.find(row.pid);
        if (state == sampleHookStates_.end()) continue;
        for (const auto& [key, at] : state->second.file.stops(now))
            stops[key] = std::max(stops.contains(key) ? stops[key] : at, at);
    }
    auto summary =
        CursorSummary::make(cursorListing_->files, readings, Date(instance.rootStartTime), stops);
    evidence.reported = summary.report(now);
    evidence.fileActivityAt = summary.newestWrite;
    evidence.hasLiveSession = withinSeconds(summary.newestWrite, now, kLiveSessionSeconds);
    for (const auto& [key, at] : summary.ends)
        cursorEnds_[key] = std::max(cursorEnds_.contains(key) ? cursorEnds_[key] : at, at);
}

void EvidenceCollector::fillFileActivity(const std::string& agentID, AgentEvidence& evidence,
                                         Tick& tick) {
    auto polled = activityThisTick_.find(agentID);
    if (polled == activityThisTick_.end()) {
        auto reader = activityReaders_.find(agentID);
        if (reader == activityReaders_.end()) {
            reader =
                activityReaders_
                    .emplace(agentID, FileActivityReader(sources_.fileActivityTargets.at(agentID)))
                    .first;
        }
        polled = activityThisTick_.emplace(agentID, reader->second.poll(files_)).first;
    }
    const FileActivity& activity = polled->second;
    Date now = tick.time.at;
    if (!activity.changedPaths.empty()) {
        evidence.reported = StateReport{.state = ReportedState::working,
                                        .observedAt = now,
                                        .source = StateReport::Source::fileActivity,
                                        .detail = "writing session files"};
    }
    evidence.fileActivityAt = activity.newestModification;
    evidence.hasLiveSession = withinSeconds(activity.newestModification, now, kLiveSessionSeconds);
}

// The tree's CPU, and the commands the agent runs for its tools: a child is busy only when it
// used CPU in both halves of its last ten seconds, so that one burst does not count.
void EvidenceCollector::noteUse(const AgentInstance& instance, AgentEvidence& evidence,
                                Tick& tick) {
    const bool cursor = instance.definition.id == kCursor;
    if (tick.interval > 0) {
        auto delta = ProcessCensus::delta(instance.rows, previousRows_);
        if (!cursor) evidence.subtreeCPUSeconds = delta.cpuSeconds;
        evidence.energyNanojoules = delta.energyNanojoules;
        evidence.logicalWriteBytes = delta.logicalWriteBytes;
        evidence.sampleInterval = tick.interval;
    }
    if (instance.rows.size() < 2) return;
    std::unordered_set<std::int32_t> agentPIDs;
    std::unordered_map<std::int32_t, const ProcessInfoRow*> byPID;
    for (const auto& row : instance.rows) {
        byPID.emplace(row.pid, &row);
        if (tick.matches->contains(row.pid)) agentPIDs.insert(row.pid);
    }
    auto belowExtensionHost = [&](const ProcessInfoRow& row) {
        std::unordered_set<std::int32_t> visited;
        for (auto parent = byPID.find(row.ppid);
             parent != byPID.end() && visited.insert(parent->first).second;
             parent = byPID.find(parent->second->ppid)) {
            if (isCursorExtensionHost(*parent->second)) return true;
        }
        return false;
    };
    ProcessCensus::ChildrenIndex children;
    Date now = tick.time.at;
    for (const auto& row : instance.rows) {
        if (agentPIDs.contains(row.pid) || !agentPIDs.contains(row.ppid) || isHookRun(row))
            continue;
        if (cursor && (!AgentDefinitions::cursorShells().contains(
                           std::string(lastComponent(row.executablePath))) ||
                       !belowExtensionHost(row)))
            continue;
        ++evidence.childCommands;
        ProcessIdentity identity = ProcessIdentity::of(row);
        tick.liveUnits.insert(identity);
        auto& window = childWindows_[identity];
        if (tick.interval > 0) {
            if (children.empty()) children = ProcessCensus::childrenIndex(instance.rows);
            auto delta = ProcessCensus::delta(ProcessCensus::subtree(row, children, agentPIDs),
                                              previousRows_);
            window.push_back({now, delta.cpuSeconds, tick.interval});
        }
        std::erase_if(window, [&](const CPUSample& sample) {
            return now - sample.at >= kChildWindow || sample.at > now;
        });
        std::vector<CPUSample> recent, older;
        for (const auto& sample : window)
            (now - sample.at < kChildHalf ? recent : older).push_back(sample);
        if (isBusy(recent) && isBusy(older)) ++evidence.busyChildCommands;
    }
}

void EvidenceCollector::noteHooks(const AgentInstance& instance, AgentEvidence& evidence,
                                  Tick& tick) {
    const std::string& id = instance.definition.id;
    std::optional<std::string> hookAgent =
        sources_.hookAgent ? sources_.hookAgent(id) : std::optional(id);
    if (!hookAgent) return;
    Date now = tick.time.at;
    std::optional<std::pair<ReportedState, Date>> newest;
    for (const auto& row : instance.rows) {
        auto found = sampleHookStates_.find(row.pid);
        if (found == sampleHookStates_.end() || found->second.agent != *hookAgent) continue;
        const auto& state = found->second;
        std::optional<std::pair<ReportedState, Date>> candidate{{state.state, state.at}};
        if (id == kCursor) {
            candidate = state.file.summary(now, kHookFreshness, kHookWorkingLimit, cursorEnds_);
        }
        tick.watched.insert(state.path);
        if (candidate && (!newest || candidate->second > newest->second)) newest = candidate;
    }
    if (!newest) return;
    evidence.hookState = newest->first;
    evidence.hookStateAt = newest->second;
}

FrameContext EvidenceCollector::context(bool remoteAccess) {
    FrameContext context;
    if (sources_.power) {
        BatteryReading battery = sources_.power->battery();
        context.onBattery = battery.onBattery;
        context.batteryPercent = battery.percent;
        context.charging = battery.charging;
        context.lidClosed = sources_.power->lidClosed();
        context.thermalState = sources_.power->thermalState();
    }
    context.remoteAccessDetected = remoteAccess;
    return context;
}

void EvidenceCollector::endTick(const std::vector<AgentInstance>& instances, Tick& tick) {
    sessionNames_.clear();
    cursorEnds_.clear();
    sampleHookStates_.clear();
    activityThisTick_.clear();
    previous_ = tick.time;
    // Only the agents' own trees are ever measured, so only their rows are kept: copying the
    // whole table every tick would cost more than everything else the tick does.
    previousRows_.clear();
    for (const auto& instance : instances) {
        for (const auto& row : instance.rows)
            previousRows_.emplace(ProcessIdentity::of(row), row);
    }
    std::erase_if(childWindows_,
                  [&](const auto& entry) { return !tick.liveUnits.contains(entry.first); });
    std::set<std::string> running;
    std::unordered_set<ProcessIdentity> roots;
    for (const auto& instance : instances) {
        running.insert(instance.definition.id);
        roots.insert({instance.rootPID, instance.rootStartTime});
    }
    std::erase_if(activityReaders_,
                  [&](const auto& entry) { return !running.contains(entry.first); });
    std::erase_if(transcriptChoices_,
                  [&](const auto& entry) { return !roots.contains(entry.first); });
    sessionFiles_.endSample();
    jobFiles_.endSample();
    transcripts_.endSample();
    claudeSettingsFiles_.endSample();
    rolloutTails_.endSample();
    cursorTails_.endSample();
}

}  // namespace vigilmoth
