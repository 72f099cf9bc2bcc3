// Show that evidence frames keep their wire form key for key and survive a round trip.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "evidence/EvidenceFrame.h"
#include "evidence/GeneratedFrames.h"
#include "support/EvidenceBuilders.h"

namespace vigilmoth {
namespace {

const JSONEncoder plain{};
const JSONEncoder lab{
    .sortedKeys = true, .escapeSlashes = false, .dates = DateStrategy::wholeMilliseconds};

using testing::bareAgent;
using testing::fullAgent;

EvidenceFrame decodeFrame(const std::string& text) {
    return decodeJSON<EvidenceFrame>(nlohmann::json::parse(text));
}

TEST(EvidenceFrameTest, BareAgentWritesExactlyTheFiveRequiredKeys) {
    EXPECT_EQ(
        encodeJSONText(bareAgent(), plain),
        R"({"id":"claude","name":"Claude Code","level":"state","pid":4242,"start":1767225600.5})");
    AgentEvidence maybeSession = bareAgent();
    maybeSession.role = AgentRole::helperMaybeSession;
    EXPECT_EQ(encodeJSONText(maybeSession, plain),
              R"({"id":"claude","name":"Claude Code","level":"state","role":"maybeSession",)"
              R"("pid":4242,"start":1767225600.5})");
}

TEST(EvidenceFrameTest, EveryFieldKeepsTheTableOrderOrIsSortedForTheLab) {
    EvidenceFrame frame{1, Date(1767225600.1234), 99.5, {fullAgent()}, FrameContext{}};
    frame.context = FrameContext{true, 55, true, 2, true, true};
    EXPECT_EQ(
        encodeJSONText(frame, plain),
        R"({"v":1,"at":1767225600.1234,"up":99.5,"agents":[{"id":"claude","name":"Claude Code",)"
        R"("level":"state","kind":"desktop","role":"engine","pid":4242,"start":1767225600.5,)"
        R"("rep":{"state":"waiting","since":10.0,"seen":20.0,"source":"claudeSession",)"
        R"("detail":"a\/b","over":true,"err":true},"jobs":1,"cmds":3,"busy":2,"cpu":0.25,"dt":2.0,)"
        R"("nj":18446744073709551615,"wr":7,"file":30.0,"pwr":true,"live":true,"hook":"working",)"
        R"("hookAt":40.0,"hookSes":true}],"ctx":{"bat":true,"pct":55,"lid":true,"heat":2,)"
        R"("remote":true,"chg":true}})");
    EXPECT_EQ(
        encodeJSONText(frame, lab),
        R"({"agents":[{"busy":2,"cmds":3,"cpu":0.25,"dt":2.0,"file":30.0,"hook":"working",)"
        R"("hookAt":40.0,"hookSes":true,"id":"claude","jobs":1,"kind":"desktop","level":"state",)"
        R"("live":true,"name":"Claude Code","nj":18446744073709551615,"pid":4242,"pwr":true,)"
        R"("rep":{"detail":"a/b","err":true,"over":true,"seen":20.0,"since":10.0,)"
        R"("source":"claudeSession","state":"waiting"},"role":"engine","start":1767225600.5,)"
        R"("wr":7}],"at":1767225600.123,"ctx":{"bat":true,"chg":true,"heat":2,"lid":true,)"
        R"("pct":55,"remote":true},"up":99.5,"v":1})");
}

TEST(EvidenceFrameTest, LabDatesAreRoundedToTheMillisecondHalvesAwayFromZero) {
    struct Case {
        double seconds;
        double written;
    };
    const Case cases[] = {{1767225600.1234, 1767225600.123},
                          {1767225600.9876, 1767225600.988},
                          {0.0005, 0.001},
                          {-0.0005, -0.001},
                          {42, 42}};
    for (const auto& item : cases) {
        SCOPED_TRACE(item.seconds);
        EXPECT_EQ(lab.date(Date(item.seconds)).get<double>(), item.written);
        EXPECT_EQ(plain.date(Date(item.seconds)).get<double>(), item.seconds);
    }
}

TEST(EvidenceFrameTest, AbsentKeysDecodeToTheirDefaults) {
    auto frame = decodeFrame(
        R"({"at":5,"agents":[{"id":"x","name":"X","level":"generic","pid":1,"start":2}]})");
    EXPECT_EQ(frame.version, 1);
    EXPECT_EQ(frame.context, FrameContext{});
    EXPECT_FALSE(frame.awake);
    ASSERT_EQ(frame.agents.size(), 1u);
    EXPECT_EQ(frame.agents[0].kind, AgentDefinition::Kind::cli);
    EXPECT_EQ(frame.agents[0].role, AgentRole::session);
    EXPECT_EQ(decodeFrame(R"({"at":5})").agents.size(), 0u);
    EXPECT_EQ(decodeFrame(R"({"at":5,"v":2,"ctx":{}})").version, 2);
    EXPECT_EQ(decodeJSON<FrameContext>(nlohmann::json::object()), FrameContext{});
}

TEST(EvidenceFrameTest, NegativeZeroIsLeftOutAndNaNIsWritten) {
    AgentEvidence agent = bareAgent();
    agent.subtreeCPUSeconds = -0.0;
    agent.sampleInterval = -0.0;
    EXPECT_EQ(encodeJSON(agent, plain).size(), 5u);

    agent.subtreeCPUSeconds = std::numeric_limits<double>::quiet_NaN();
    auto json = encodeJSON(agent, plain);
    ASSERT_TRUE(json.contains("cpu"));
    auto decoded = decodeJSON<AgentEvidence>(nlohmann::json::parse(encodeJSONText(agent, lab)));
    EXPECT_TRUE(std::isnan(decoded.subtreeCPUSeconds));
}

TEST(EvidenceFrameTest, FlagsAreWrittenOnlyWhenSetAndReadLeniently) {
    StateReport report{
        ReportedState::idle, std::nullopt, Date(1), StateReport::Source::fileActivity,
        std::nullopt,        false,        false};
    EXPECT_EQ(encodeJSONText(report, plain),
              R"({"state":"idle","seen":1.0,"source":"fileActivity"})");
    auto decoded = decodeJSON<StateReport>(nlohmann::json::parse(
        R"({"state":"idle","seen":1,"source":"fileActivity","over":false,"err":null})"));
    EXPECT_EQ(decoded, report);
    auto context = decodeJSON<FrameContext>(
        nlohmann::json::parse(R"({"bat":false,"lid":true,"remote":false,"chg":false})"));
    EXPECT_EQ(context, (FrameContext{false, std::nullopt, true, 0, false, false}));
}

TEST(EvidenceFrameTest, EveryWordOfEverySmallEnumerationIsFixed) {
    auto words = [](auto cases) {
        std::vector<std::string> result;
        for (auto value : cases) {
            result.push_back(encodeName(value).template get<std::string>());
            EXPECT_EQ(decodeName<decltype(value)>(result.back(), "key"), value);
        }
        return result;
    };
    using Strings = std::vector<std::string>;
    EXPECT_EQ(words(allCases<ReportedState>()), (Strings{"working", "waiting", "idle"}));
    EXPECT_EQ(words(allCases<StateReport::Source>()),
              (Strings{"claudeSession", "claudeJob", "claudeTranscript", "codexRollout",
                       "cursorTranscript", "fileActivity"}));
    EXPECT_EQ(words(allCases<AgentDefinition::Level>()), (Strings{"state", "activity", "generic"}));
    EXPECT_EQ(words(allCases<AgentDefinition::Kind>()), (Strings{"cli", "desktop"}));
    EXPECT_EQ(words(allCases<AgentRole>()),
              (Strings{"session", "engine", "helper", "maybeSession"}));
}

TEST(EvidenceFrameTest, AnUnknownWordFailsTheRecordWithItsOwnMessage) {
    const std::string agent = R"({"id":"a","name":"A","level":"state","pid":1,"start":1)";
    struct Case {
        std::string text;
        std::string description;
    };
    const Case cases[] = {
        {R"({"at":1,"agents":[)" + agent +
             R"(,"rep":{"state":"busy","seen":1,"source":"fileActivity"}}]})",
         "Unknown ReportedState busy"},
        {R"({"at":1,"agents":[)" + agent +
             R"(,"rep":{"state":"idle","seen":1,"source":"claudeSessionFile"}}]})",
         "Unknown Source claudeSessionFile"},
        {R"({"at":1,"agents":[{"id":"a","name":"A","level":"State","pid":1,"start":1}]})",
         "Unknown Level State"},
        {R"({"at":1,"agents":[)" + agent + R"(,"kind":"gui"}]})", "Unknown Kind gui"},
        {R"({"at":1,"agents":[)" + agent + R"(,"role":"helperMaybeSession"}]})",
         "Unknown AgentRole helperMaybeSession"},
        {R"({"at":1,"agents":[)" + agent + R"(,"hook":"waitingForUser"}]})",
         "Unknown ReportedState waitingForUser"},
        {R"({"at":1,"agents":[)" + agent + R"(,"hook":""}]})", "Unknown ReportedState "},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.text);
        try {
            decodeFrame(item.text);
            ADD_FAILURE() << "decoded";
        } catch (const CodingError& error) {
            EXPECT_EQ(error.kind(), CodingError::Kind::dataCorrupted);
            EXPECT_EQ(error.description(), item.description);
        }
    }
}

TEST(EvidenceFrameTest, AMissingRequiredKeyFailsTheRecord) {
    auto full = nlohmann::json::parse(encodeJSONText(
        EvidenceFrame{1, Date(3), std::nullopt, {fullAgent()}, FrameContext{}}, plain));
    struct Case {
        nlohmann::json::json_pointer where;
        std::string key;
    };
    using Pointer = nlohmann::json::json_pointer;
    const Case cases[] = {{Pointer(""), "at"},
                          {Pointer("/agents/0"), "id"},
                          {Pointer("/agents/0"), "name"},
                          {Pointer("/agents/0"), "level"},
                          {Pointer("/agents/0"), "pid"},
                          {Pointer("/agents/0"), "start"},
                          {Pointer("/agents/0/rep"), "state"},
                          {Pointer("/agents/0/rep"), "seen"},
                          {Pointer("/agents/0/rep"), "source"}};
    for (const auto& item : cases) {
        SCOPED_TRACE(item.key);
        for (bool asNull : {false, true}) {
            auto broken = full;
            if (asNull) {
                broken[item.where][item.key] = nullptr;
            } else {
                broken[item.where].erase(item.key);
            }
            try {
                decodeJSON<EvidenceFrame>(broken);
                ADD_FAILURE() << "decoded";
            } catch (const CodingError& error) {
                EXPECT_EQ(error.kind(), CodingError::Kind::keyNotFound);
                EXPECT_NE(error.description().find("\"" + item.key + "\""), std::string::npos);
            }
        }
    }
}

TEST(EvidenceFrameTest, ValuesOfTheWrongTypeOrRangeAreRefused) {
    const std::string agentStart = R"({"at":1,"agents":[{"id":"a","name":"A","level":"state",)";
    const std::string cases[] = {
        R"({"at":"2026-01-01T00:00:00Z"})",
        R"({"at":1,"v":"1"})",
        R"({"at":1,"v":1.5})",
        R"({"at":1,"agents":{}})",
        R"({"at":1,"ctx":[]})",
        R"({"at":1,"ctx":{"bat":1}})",
        R"({"at":1,"ctx":{"pct":"50"}})",
        R"({"at":1,"ctx":{"heat":1e300}})",
        agentStart + R"("pid":2147483648,"start":1}]})",
        agentStart + R"("pid":-2147483649,"start":1}]})",
        agentStart + R"("pid":1,"start":"1"}]})",
        agentStart + R"("pid":1,"start":1,"nj":-1}]})",
        agentStart + R"("pid":1,"start":1,"wr":1e30}]})",
        agentStart + R"("pid":1,"start":1,"wr":0.5}]})",
        agentStart + R"("pid":1,"start":1,"jobs":true}]})",
        agentStart + R"("pid":1,"start":1,"live":"yes"}]})",
        agentStart + R"("pid":1,"start":1,"rep":[]}]})",
        R"({"at":1,"agents":[{"id":7,"name":"A","level":"state","pid":1,"start":1}]})",
        R"({"at":1,"agents":[{"id":"a","name":"A","level":1,"pid":1,"start":1}]})",
        R"([])",
        R"("frame")",
    };
    for (const auto& text : cases) {
        SCOPED_TRACE(text);
        EXPECT_THROW(decodeFrame(text), CodingError);
        EXPECT_FALSE(decodeJSONText<EvidenceFrame>(text));
    }
    // An integer written with a zero fraction is still that integer.
    EXPECT_EQ(decodeFrame(agentStart + R"("pid":7.0,"start":1}]})").agents[0].pid, 7);
}

TEST(EvidenceFrameTest, ManyGeneratedFramesSurviveBothEncodings) {
    testing::FrameGenerator generator(20260321);
    for (int index = 0; index < 3000; ++index) {
        auto frame = generator.frame();
        for (const auto* encoder : {&plain, &lab}) {
            auto text = encodeJSONText(frame, *encoder);
            auto decoded = decodeJSONText<EvidenceFrame>(text);
            ASSERT_TRUE(decoded) << text;
            ASSERT_EQ(*decoded, frame) << text;
            if (encoder == &lab) {
                ASSERT_EQ(text.find("\\/"), std::string::npos);
            }
        }
    }
}

}  // namespace
}  // namespace vigilmoth
