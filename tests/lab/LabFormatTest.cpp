// Show that recording lines are written and read back exactly as the file format fixes them,
// and that no input, however broken, does more than fail to read.
#include <gtest/gtest.h>

#include <random>

#include "base/Utf8.h"
#include "decision/HoldPolicy.h"
#include "lab/LabError.h"
#include "lab/LabFormat.h"
#include "support/DecisionBuilders.h"
#include "support/Utf8Cases.h"

namespace vigilmoth {
namespace {

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

TEST(LabFormatTest, ReadsHeaderMarksAndSamplesInAnyOrder) {
    auto recording = LabFormat::recording(kMarkLine + "\n" + kHeaderLine + "\n" + kSampleLine);
    ASSERT_TRUE(recording.header);
    EXPECT_EQ(recording.header->label, "run");
    ASSERT_EQ(recording.marks.size(), 1u);
    EXPECT_EQ(recording.marks[0].at, Date(1767225600.25));
    EXPECT_EQ(recording.marks[0].truth, LabTruth::working);
    ASSERT_EQ(recording.samples.size(), 1u);
    EXPECT_EQ(recording.samples[0].ms, 1.5);
    EXPECT_EQ(recording.samples[0].hold, (LabHold{true, false, "h"}));
}

TEST(LabFormatTest, TheLastHeaderWinsAndMarksComeBackSortedStably) {
    auto second = kHeaderLine;
    second.replace(second.find("\"run\""), 5, "\"two\"");
    auto mark = [](double at, const std::string& agent) {
        return R"({"mark":{"agent":")" + agent + R"(","at":)" + std::to_string(at) +
               R"(,"truth":"idle"}})";
    };
    auto recording = LabFormat::recording(kHeaderLine + "\n" + mark(30, "c") + "\n" +
                                          mark(10, "a") + "\n" + second + "\n" + mark(10, "b"));
    EXPECT_EQ(recording.header->label, "two");
    std::vector<std::string> order;
    for (const auto& m : recording.marks)
        order.push_back(m.agent);
    EXPECT_EQ(order, (std::vector<std::string>{"a", "b", "c"}));
}

TEST(LabFormatTest, LineNumbersCountNonEmptyLinesAndOnlyATornLastLineIsForgiven) {
    struct Case {
        std::string name;
        std::string text;
        std::optional<int> failingLine;
        size_t samples;
    };
    const std::vector<Case> cases = {
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
        {"header without settings",
         R"({"header":{"app":"","catalog":5,"frameVersion":1,"label":"","mode":"","model":"","os":"","startedAt":1}})"
         "\n{}",
         1, 0},
        {"header with an unknown rule",
         R"({"header":{"app":"","catalog":5,"frameVersion":1,"label":"","mode":"","model":"","os":"","startedAt":1,"settings":{"agentRules":{"a":"never"}}}})"
         "\n{}",
         1, 0},
        {"array line", "[]\n{}", 1, 0},
        {"empty object is fine", "{}\n" + kSampleLine, std::nullopt, 1},
        {"verdicts without a frame add nothing", R"({"verdicts":[],"ms":1})", std::nullopt, 0},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        EXPECT_EQ(unreadableLine(testCase.text), testCase.failingLine);
        if (!testCase.failingLine) {
            EXPECT_EQ(LabFormat::recording(testCase.text).samples.size(), testCase.samples);
        }
    }
}

TEST(LabFormatTest, ASampleWithoutVerdictsHasAnEmptyList) {
    auto recording = LabFormat::recording(R"({"frame":{"at":5}})");
    ASSERT_EQ(recording.samples.size(), 1u);
    EXPECT_TRUE(recording.samples[0].verdicts.empty());
    EXPECT_EQ(recording.samples[0].hold, std::nullopt);
}

TEST(LabFormatTest, LinesSortKeysKeepSlashesAndRoundDatesToMilliseconds) {
    struct Case {
        double at;
        std::string written;
    };
    for (const auto& testCase : std::vector<Case>{{1767225600.1234, "1767225600.123"},
                                                  {1767225600.9876, "1767225600.988"},
                                                  {1767225600.0005, "1767225600.001"}}) {
        SCOPED_TRACE(testCase.written);
        LabLine line;
        line.mark = LabMark{Date(testCase.at), "user:/opt/bot", LabTruth::gone, "a/b"};
        EXPECT_EQ(LabFormat::line(line), R"({"mark":{"agent":"user:/opt/bot","at":)" +
                                             testCase.written +
                                             R"(,"note":"a/b","truth":"gone"}})"
                                             "\n");
    }
}

AgentReading reading(std::string agentID, std::string name, std::int32_t pid, ReportedState state) {
    auto made = testing::readingOf(std::move(agentID), std::move(name), {pid, 1000.5}, state);
    made.verdict.reason = VerdictReason::runningCommand(2);
    return made;
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
    HoldDecision decision;
    decision.hold = true;
    decision.lidClosedFlag = true;
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
    struct Case {
        std::string text;
        std::string scrubbed;
    };
    for (const auto& testCase : std::vector<Case>{{"user:/opt/tools/bin/mybot", "user:mybot"},
                                                  {"/usr/local/bin/aider", "aider"},
                                                  {"a/", ""},
                                                  {"user:/a/b/c", "user:c"},
                                                  {"claude", "claude"},
                                                  {"user:tool", "user:tool"}}) {
        SCOPED_TRACE(testCase.text);
        EXPECT_EQ(LabFormat::withoutPath(testCase.text), testCase.scrubbed);
    }
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
        LabLine written;
        written.mark =
            LabMark{.at = Date(1), .agent = repairedUtf8(testCase.bytes), .truth = LabTruth::idle};
        EXPECT_EQ(agentOf(LabFormat::line(written)), testCase.repaired);
        const std::string raw = R"({"mark":{"agent":")" + testCase.bytes +
                                R"(","at":1,"truth":"idle"}})"
                                "\n";
        // The reader repairs what it reads, as the file holds whatever bytes were written.
        EXPECT_EQ(agentOf(raw), testCase.repaired);
    }
}

// Broken recordings of every kind either read or fail with a line number; nothing else.
TEST(LabFormatTest, MutatedAndRandomRecordingsNeverCrash) {
    const std::string seed =
        kHeaderLine + "\n" + kMarkLine + "\n" + kSampleLine + "\n" +
        R"({"frame":{"agents":[{"id":"a","level":"state","name":"A","pid":1,"start":2,"rep":{"seen":3,"source":"claudeSession","state":"idle"}}],"at":9}})"
        "\n";
    std::mt19937 random(20261121);
    const std::string alphabet = "{}[]\":,0123456789.-eE truefalsnul\n\\/";
    for (int round = 0; round < 3000; ++round) {
        std::string text = seed;
        int edits = 1 + static_cast<int>(random() % 8);
        for (int edit = 0; edit < edits && !text.empty(); ++edit) {
            size_t at = random() % text.size();
            switch (random() % 4) {
                case 0:
                    text.erase(at, 1 + random() % 5);
                    break;
                case 1:
                    text.insert(at, 1, alphabet[random() % alphabet.size()]);
                    break;
                case 2:
                    text[at] = static_cast<char>(random() % 256);
                    break;
                default:
                    text = text.substr(0, at);
                    break;
            }
        }
        if (round % 10 == 0) {
            text.clear();
            for (int i = 0; i < 200; ++i)
                text += static_cast<char>(random() % 256);
        }
        try {
            auto recording = LabFormat::recording(repairedUtf8(text));
            EXPECT_LE(recording.marks.size(), 1u);
        } catch (const LabError& error) {
            EXPECT_GE(error.lineNumber(), 1);
        }
    }
}

}  // namespace
}  // namespace vigilmoth
