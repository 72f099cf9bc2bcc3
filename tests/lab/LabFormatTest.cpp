// Show that recording lines are written and read back exactly as the file format fixes them,
// that no input, however broken, does more than fail to read, that recordings are named and
// found as the lab's commands expect, and that --lab-agents answers through the lab's dispatch.
#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "base/Utf8.h"
#include "decision/HoldPolicy.h"
#include "lab/LabAgents.h"
#include "lab/LabCommand.h"
#include "lab/LabError.h"
#include "lab/LabFormat.h"
#include "lab/LabRecorder.h"
#include "support/DecisionBuilders.h"
#include "support/FuzzInput.h"
#include "support/TestSupport.h"
#include "support/Utf8Cases.h"

namespace vigilmoth {
namespace {

namespace fs = std::filesystem;

const std::string kHeaderLine =
    R"({"header":{"app":"0.1.0","catalog":5,"frameVersion":1,"label":"run","mode":"agentWorking",)"
    R"("model":"Mac15,3","os":"15.3","settings":{},"startedAt":1767225600}})";
const std::string kMarkLine = R"({"mark":{"agent":"codex","at":1767225600.25,"truth":"working"}})";
const std::string kSampleLine =
    R"({"frame":{"agents":[],"at":1767225601,"ctx":{},"v":1},"hold":{"headline":"h","lid":false,"on":true},"ms":1.5,"verdicts":[]})";

std::optional<int> unreadableLine(const std::string& text) {
    try {
        LabFormat::recording(text);
    } catch (const LabError& error) {
        return error.lineNumber();
    }
    return std::nullopt;
}

TEST(LabFormatTest, ReadsLinesInAnyOrderTheLastHeaderWinningAndMarksSortedStably) {
    auto second = kHeaderLine;
    second.replace(second.find("\"run\""), 5, "\"two\"");
    auto mark = [](double at, const std::string& agent) {
        return R"({"mark":{"agent":")" + agent + R"(","at":)" + std::to_string(at) +
               R"(,"truth":"idle"}})";
    };
    auto recording = LabFormat::recording(mark(30, "c") + "\n" + kHeaderLine + "\n" + kSampleLine +
                                          "\n" + kMarkLine + "\n" + second + "\n" + mark(10, "b"));
    EXPECT_EQ(recording.header->label, "two");
    std::vector<std::string> order;
    for (const auto& m : recording.marks)
        order.push_back(m.agent);
    EXPECT_EQ(order, (std::vector<std::string>{"b", "c", "codex"}));
    EXPECT_EQ(recording.marks[2].at, Date(1767225600.25));
    EXPECT_EQ(recording.marks[2].truth, LabTruth::working);
    ASSERT_EQ(recording.samples.size(), 1u);
    EXPECT_EQ(recording.samples[0].ms, 1.5);
    EXPECT_EQ(recording.samples[0].hold, (LabHold{true, false, "h"}));
    auto bare = LabFormat::recording(R"({"frame":{"at":5}})");
    ASSERT_EQ(bare.samples.size(), 1u);
    EXPECT_TRUE(bare.samples[0].verdicts.empty());
    EXPECT_EQ(bare.samples[0].hold, std::nullopt);
}

TEST(LabFormatTest, LineNumbersCountNonEmptyLinesAndOnlyATornLastLineIsForgiven) {
    const std::string header =
        R"({"header":{"app":"","catalog":5,"frameVersion":1,"label":"","mode":"","model":"","os":"","startedAt":1)";
    const std::tuple<std::string, std::string, std::optional<int>, size_t> cases[] = {
        {"blank lines between", kSampleLine + "\n\n\n" + kSampleLine, std::nullopt, 2},
        {"first malformed", "{\"frame\":\n\n\n" + kSampleLine, 1, 0},
        {"last malformed", kSampleLine + "\n\n\n{\"frame\":", std::nullopt, 1},
        {"last malformed, then blank lines", kSampleLine + "\n{\"frame\":\n\n", std::nullopt, 1},
        {"unknown truth",
         R"({"mark":{"agent":"a","at":1,"truth":"busy"}})"
         "\n{}",
         1, 0},
        {"unknown state word",
         R"({"frame":{"at":1},"verdicts":[{"id":"a","pid":1,"state":"busy","why":"x"}]})"
         "\n{}",
         1, 0},
        {"header without settings", header + "}}\n{}", 1, 0},
        {"header with an unknown rule",
         header + R"(,"settings":{"agentRules":{"a":"never"}}}})"
                  "\n{}",
         1, 0},
        {"array line", "[]\n{}", 1, 0},
        {"empty object is fine", "{}\n" + kSampleLine, std::nullopt, 1},
        {"verdicts without a frame add nothing", R"({"verdicts":[],"ms":1})", std::nullopt, 0},
    };
    for (const auto& [name, text, failingLine, samples] : cases) {
        SCOPED_TRACE(name);
        EXPECT_EQ(unreadableLine(text), failingLine);
        if (!failingLine) {
            EXPECT_EQ(LabFormat::recording(text).samples.size(), samples);
        }
    }
}

TEST(LabFormatTest, LinesSortKeysKeepSlashesAndRoundDatesToMilliseconds) {
    const std::pair<double, std::string> cases[] = {{1767225600.1234, "1767225600.123"},
                                                    {1767225600.9876, "1767225600.988"},
                                                    {1767225600.0005, "1767225600.001"}};
    for (const auto& [at, written] : cases) {
        LabLine line{.mark = LabMark{Date(at), "user:/opt/bot", LabTruth::gone, "a/b"}};
        EXPECT_EQ(LabFormat::line(line), R"({"mark":{"agent":"user:/opt/bot","at":)" + written +
                                             R"(,"note":"a/b","truth":"gone"}})"
                                             "\n");
    }
}

TEST(LabFormatTest, SampleLinesCarryVerdictsHoldAndCostWithoutPaths) {
    EvidenceFrame frame;
    frame.at = Date(1767225600.5);
    AgentEvidence evidence;
    evidence.agentID = "user:/opt/tools/mybot";
    evidence.displayName = "/opt/tools/mybot";
    evidence.reported = StateReport{};
    evidence.reported->detail = "writing /tmp/x";
    frame.agents.push_back(evidence);
    auto reading = [](std::string agentID, std::string name, std::int32_t pid,
                      ReportedState state) {
        auto made = testing::readingOf(std::move(agentID), std::move(name), {pid, 1000.5}, state);
        made.verdict.reason = VerdictReason::runningCommand(2);
        return made;
    };
    HoldDecision decision;
    decision.hold = decision.lidClosedFlag = true;
    decision.headline = HoldHeadline::working(HoldSubject::one("/opt/tools/mybot"));
    decision.perAgent = {
        {reading("user:/opt/tools/mybot", "/opt/tools/mybot", 42, ReportedState::working),
         HoldCause::working},
        {reading("codex", "Codex", 43, ReportedState::idle), std::nullopt},
    };
    auto line = LabFormat::sample(frame, decision, 0.0123456);
    EXPECT_EQ(line.ms, 12.35);
    EXPECT_EQ(line.hold, (LabHold{true, true, "Awake: mybot is working"}));
    EXPECT_EQ(*line.verdicts,
              (std::vector<LabVerdict>{
                  {"user:mybot", 42, ReportedState::working, "runningCommand:2", "working"},
                  {"codex", 43, ReportedState::idle, "runningCommand:2"}}));
    EXPECT_EQ(line.frame->agents[0].agentID, "user:mybot");
    EXPECT_EQ(line.frame->agents[0].displayName, "mybot");
    EXPECT_EQ(line.frame->agents[0].reported->detail, "x");
    EXPECT_EQ(LabFormat::sample(frame, decision, std::nullopt).ms, std::nullopt);
    // What is written reads back as the same sample.
    auto text = LabFormat::line(line);
    EXPECT_EQ(text.find("\\/"), std::string::npos);
    auto recording = LabFormat::recording(text);
    ASSERT_EQ(recording.samples.size(), 1u);
    EXPECT_EQ(recording.samples[0].frame, *line.frame);
    EXPECT_EQ(recording.samples[0].verdicts, *line.verdicts);
}

TEST(LabFormatTest, PathsAreScrubbedFromTextsAndHeaders) {
    const std::pair<const char*, const char*> cases[] = {
        {"user:/opt/tools/bin/mybot", "user:mybot"},
        {"/usr/local/bin/aider", "aider"},
        {"a/", ""},
        {"claude", "claude"},
        {"user:tool", "user:tool"}};
    for (const auto& [text, scrubbed] : cases)
        EXPECT_EQ(LabFormat::withoutPath(text), scrubbed) << text;
    LabHeader header;
    header.label = "../../secret";
    header.settings.userAgentNames = {"/opt/a/bot", "tool"};
    header.settings.agentRules = {{"user:/x/bot", AgentRule::ignore}, {"codex", AgentRule::ignore}};
    auto scrubbed = LabFormat::scrubbed(header);
    EXPECT_EQ(scrubbed.label, "secret");
    EXPECT_EQ(scrubbed.settings.userAgentNames, (std::vector<std::string>{"bot", "tool"}));
    EXPECT_EQ(scrubbed.settings.agentRules,
              (std::map<std::string, AgentRule>{{"user:bot", AgentRule::ignore},
                                                {"codex", AgentRule::ignore}}));
}

// A name with broken bytes reads the same whether the census repaired it before a recorder
// wrote it, or the lab repairs the raw bytes as it reads the file.
TEST(LabFormatTest, BrokenUtf8ReadsTheSameWrittenOrRead) {
    auto agentOf = [](const std::string& text) {
        auto recording = LabFormat::recording(text);
        return recording.marks.empty() ? std::string("(no mark)") : recording.marks[0].agent;
    };
    for (const auto& testCase : testing::utf8Cases()) {
        SCOPED_TRACE(testCase.name);
        LabLine written{.mark = LabMark{.at = Date(1),
                                        .agent = repairedUtf8(testCase.bytes),
                                        .truth = LabTruth::idle}};
        EXPECT_EQ(agentOf(LabFormat::line(written)), testCase.repaired);
        EXPECT_EQ(
            agentOf(R"({"mark":{"agent":")" + testCase.bytes + R"(","at":1,"truth":"idle"}})"),
            testCase.repaired);
    }
}

// Broken recordings of every kind either read or fail with a line number; nothing else.
TEST(LabFormatTest, MutatedAndRandomRecordingsNeverCrash) {
    const std::string seed =
        kHeaderLine + "\n" + kMarkLine + "\n" + kSampleLine + "\n" +
        R"({"frame":{"agents":[{"id":"a","level":"state","name":"A","pid":1,"start":2,"rep":{"seen":3,"source":"claudeSession","state":"idle"}}],"at":9}})"
        "\n";
    std::mt19937 random(20261121);
    for (int round = 0; round < 3000; ++round) {
        auto text =
            round % 10 ? testing::mutatedText(seed, random) : testing::randomBytes(random, 200);
        try {
            EXPECT_LE(LabFormat::recording(repairedUtf8(text)).marks.size(), 1u);
        } catch (const LabError& error) {
            EXPECT_GE(error.lineNumber(), 1);
        }
    }
}

TEST(LabRecorderTest, RecordingsAreNamedFromTheLabelAndTheNewestIsFound) {
    const Date march9(1773065100);  // 2026-03-09 14:05:00 UTC
    const std::pair<std::string, std::string> cases[] = {
        {"deep work #2", "2026-03-09T14-05-00Z-deepwork2.jsonl"},
        {"", "2026-03-09T14-05-00Z-recording.jsonl"},
        {"../../etc", "2026-03-09T14-05-00Z-etc.jsonl"},
        {"***", "2026-03-09T14-05-00Z-recording.jsonl"},
        {"caf\xC3\xA9 long_run-1", "2026-03-09T14-05-00Z-caflong_run-1.jsonl"},
    };
    for (const auto& [label, name] : cases)
        EXPECT_EQ(LabRecorder::fileName(label, march9), name) << label;
    // Fractions of a second never round the name up into the next second.
    EXPECT_EQ(LabRecorder::fileName("x", march9 + 0.999), "2026-03-09T14-05-00Z-x.jsonl");
    EXPECT_EQ(LabRecorder::labDirectory({.home = "/home/ann", .xdgDataHome = "/data"}),
              "/data/com.vigilmoth.app/lab");
    EXPECT_STREQ(LabError::cannotWrite("/x/y.jsonl").what(), "Cannot write to /x/y.jsonl.");

    testing::TemporaryFolder folder;
    EXPECT_EQ(LabRecorder::newestRecording(folder / "missing"), std::nullopt);
    const std::map<std::string, int> ages = {
        {"a.json", 1}, {"b.JSONL", 1}, {"old.jsonl", 100}, {"new.jsonl", 10}, {"newer.json", 0}};
    for (const auto& [name, age] : ages) {
        testing::writeFile(folder / name, "{}\n");
        fs::last_write_time(folder / name,
                            fs::file_time_type::clock::now() - std::chrono::seconds(age));
    }
    EXPECT_EQ(LabRecorder::newestRecording(folder.path().string()), folder / "new.jsonl");
}

// A census that answers what the test says, for the dispatch's own answers.
struct FixedCensus final : ProcessCensusing {
    std::optional<std::vector<ProcessInfoRow>> rows;
    std::optional<std::vector<ProcessInfoRow>> snapshot() override { return rows; }
    std::optional<ProcessInfoRow> row(int32_t) override { return std::nullopt; }
};

TEST(LabAgentsTest, AnswersThroughTheLabDispatch) {
    ProcessInfoRow pi{.pid = 40, .ppid = 1, .executablePath = "/usr/bin/node"};
    pi.arguments = {"node", "/opt/agents/pi/node_modules/.bin/pi"};
    ProcessInfoRow other = pi;
    other.pid = 41;
    other.arguments = {"node", "server.js"};
    using Rows = std::vector<ProcessInfoRow>;
    const std::tuple<std::optional<Rows>, bool, std::string, std::string> cases[] = {
        {Rows{other}, true, "No agent is running.\n", ""},
        {Rows{}, true, "No agent is running.\n", ""},
        {Rows{pi, other}, true, "Pi [pi] session, pid 40, 1 process\n", ""},
        {std::nullopt, false, "", "vigilmoth could not read the process table.\n"},
    };
    for (const auto& [rows, succeeded, out, err] : cases) {
        SCOPED_TRACE(out + err);
        FixedCensus census;
        census.rows = rows;
        std::ostringstream written, errors;
        LabContext context{written, errors, &census};
        EXPECT_EQ(LabCommand::run({"vigilmoth", "--lab-agents"}, context), succeeded);
        EXPECT_EQ(written.str(), out);
        EXPECT_EQ(errors.str(), err);
    }
}

}  // namespace
}  // namespace vigilmoth
