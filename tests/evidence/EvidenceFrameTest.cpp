// Show that evidence frames keep their wire form key for key, survive a round trip, and that
// malformed frame text is refused cleanly, whatever its damage.
#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "evidence/EvidenceFrame.h"
#include "support/EvidenceBuilders.h"
#include "support/FuzzInput.h"
#include "ui/Golden.h"

namespace vigilmoth {
namespace {

const JSONEncoder plain{};
const JSONEncoder lab{
    .sortedKeys = true, .escapeSlashes = false, .dates = DateStrategy::wholeMilliseconds};

using testing::bareAgent;
using testing::fullAgent;

// Random frames that use every field and the edges of every range, with dates in whole
// milliseconds so that the lab's rounding keeps them.
class FrameGenerator {
public:
    explicit FrameGenerator(unsigned seed) : random_(seed) {}

    EvidenceFrame frame() {
        EvidenceFrame frame{chance(0.9) ? 1 : integer(-5, 5), date()};
        if (chance(0.5)) frame.awake = anyDouble();
        for (int count = integer(0, 4); count > 0; --count)
            frame.agents.push_back(agent());
        frame.context.onBattery = chance(0.5);
        if (chance(0.5)) frame.context.batteryPercent = integer(-1, 100);
        frame.context.lidClosed = chance(0.5);
        frame.context.thermalState = integer(0, 3);
        frame.context.remoteAccessDetected = chance(0.5);
        frame.context.charging = chance(0.5);
        return frame;
    }

private:
    bool chance(double probability) { return std::bernoulli_distribution(probability)(random_); }
    int integer(int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random_);
    }
    double anyDouble() {
        const double fixed[] = {0, std::numeric_limits<double>::max(),
                                std::numeric_limits<double>::denorm_min()};
        switch (integer(0, 5)) {
            case 3:
                return std::uniform_real_distribution<double>(0, 1e-3)(random_);
            case 4:
                return std::uniform_real_distribution<double>(-1e6, 1e6)(random_);
            case 5:
                return std::uniform_real_distribution<double>(0, 20)(random_);
            default:
                return fixed[integer(0, 2)];
        }
    }
    Date date() {
        auto milliseconds =
            std::uniform_int_distribution<std::int64_t>(0, 4'102'444'800'000)(random_);
        return Date(static_cast<double>(milliseconds) / 1000);
    }
    std::string text() {
        static const std::vector<std::string> pieces = {"claude",     "/Users/me/project",
                                                        "\"quoted\"", "back\\slash",
                                                        "tab\t",      "line\n",
                                                        "\x01",       "Grüße",
                                                        "日本語",     "🤖",
                                                        " ",          ""};
        std::string result;
        for (int count = integer(0, 4); count > 0; --count)
            result += pieces[static_cast<std::size_t>(integer(0, 11))];
        return result;
    }
    AgentEvidence agent() {
        AgentEvidence agent;
        agent.agentID = text();
        agent.displayName = text();
        agent.level = static_cast<AgentDefinition::Level>(integer(0, 2));
        agent.kind = static_cast<AgentDefinition::Kind>(integer(0, 1));
        agent.role = static_cast<AgentRole>(integer(0, 3));
        agent.pid = std::uniform_int_distribution<std::int32_t>()(random_);
        agent.startTime = anyDouble();
        if (chance(0.5)) {
            agent.reported = StateReport{static_cast<ReportedState>(integer(0, 2)),
                                         std::nullopt,
                                         date(),
                                         static_cast<StateReport::Source>(integer(0, 5)),
                                         std::nullopt,
                                         chance(0.5),
                                         chance(0.5)};
            if (chance(0.5)) agent.reported->since = date();
            if (chance(0.5)) agent.reported->detail = text();
        }
        agent.backgroundJobsWorking = chance(0.5) ? 0 : integer(-1, 1);
        agent.childCommands = chance(0.5) ? 0 : std::numeric_limits<int>::max();
        agent.busyChildCommands = chance(0.5) ? 0 : std::numeric_limits<int>::min();
        agent.subtreeCPUSeconds = anyDouble();
        agent.sampleInterval = anyDouble();
        if (chance(0.5))
            agent.energyNanojoules = std::uniform_int_distribution<std::uint64_t>()(random_);
        if (chance(0.5)) agent.logicalWriteBytes = std::numeric_limits<std::uint64_t>::max();
        if (chance(0.5)) agent.fileActivityAt = date();
        agent.ownsSleepAssertion = chance(0.5);
        agent.hasLiveSession = chance(0.5);
        if (chance(0.5)) agent.hookState = static_cast<ReportedState>(integer(0, 2));
        if (chance(0.5)) agent.hookStateAt = date();
        agent.hookStateBySession = chance(0.5);
        return agent;
    }

    std::mt19937_64 random_;
};

EvidenceFrame decodeFrame(const std::string& text) {
    return decodeJSON<EvidenceFrame>(nlohmann::json::parse(text));
}

TEST(EvidenceFrameTest, EveryFieldKeepsTheTableOrderOrIsSortedForTheLab) {
    EvidenceFrame frame{1, Date(1767225600.1234), 99.5, {fullAgent()}, FrameContext{}};
    frame.context = FrameContext{true, 55, true, 2, true, true};
    testing::expectGolden("evidence/frames.json", encodeJSONText(bareAgent(), plain) + "\n" +
                                                      encodeJSONText(frame, plain) + "\n" +
                                                      encodeJSONText(frame, lab) + "\n");
    // Lab dates are rounded to the millisecond, halves away from zero.
    for (const auto& [seconds, written] : std::vector<std::pair<double, double>>{
             {1767225600.9876, 1767225600.988}, {0.0005, 0.001}, {-0.0005, -0.001}, {42, 42}}) {
        SCOPED_TRACE(seconds);
        EXPECT_EQ(lab.date(Date(seconds)).get<double>(), written);
        EXPECT_EQ(plain.date(Date(seconds)).get<double>(), seconds);
    }
}

TEST(EvidenceFrameTest, AbsentKeysDecodeToTheirDefaultsAndFlagsAreWrittenOnlyWhenSet) {
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

    StateReport report{
        ReportedState::idle, std::nullopt, Date(1), StateReport::Source::fileActivity,
        std::nullopt,        false,        false};
    EXPECT_EQ(encodeJSONText(report, plain),
              R"({"state":"idle","seen":1.0,"source":"fileActivity"})");
    EXPECT_EQ(decodeJSON<StateReport>(nlohmann::json::parse(
                  R"({"state":"idle","seen":1,"source":"fileActivity","over":false,"err":null})")),
              report);
    EXPECT_EQ(decodeJSON<FrameContext>(
                  nlohmann::json::parse(R"({"bat":false,"lid":true,"remote":false,"chg":false})")),
              (FrameContext{false, std::nullopt, true, 0, false, false}));

    // Negative zero is left out; NaN is written and read back.
    AgentEvidence agent = bareAgent();
    agent.subtreeCPUSeconds = agent.sampleInterval = -0.0;
    EXPECT_EQ(encodeJSON(agent, plain).size(), 5u);
    agent.subtreeCPUSeconds = std::numeric_limits<double>::quiet_NaN();
    auto decoded = decodeJSON<AgentEvidence>(nlohmann::json::parse(encodeJSONText(agent, lab)));
    EXPECT_TRUE(std::isnan(decoded.subtreeCPUSeconds));
}

TEST(EvidenceFrameTest, EveryWordOfEverySmallEnumerationIsFixed) {
    std::string out;
    auto words = [&](auto cases) {
        for (auto value : cases) {
            out += encodeName(value).template get<std::string>() + " ";
            EXPECT_EQ(
                decodeName<decltype(value)>(encodeName(value).template get<std::string>(), "key"),
                value);
        }
        out += "\n";
    };
    words(allCases<ReportedState>());
    words(allCases<StateReport::Source>());
    words(allCases<AgentDefinition::Level>());
    words(allCases<AgentDefinition::Kind>());
    words(allCases<AgentRole>());
    testing::expectGolden("evidence/frame-words.txt", out);
}

TEST(EvidenceFrameTest, UnknownWordsAndMissingKeysFailTheRecordWithTheirOwnMessage) {
    const auto with = [](const std::string& extra, const char* level = "state") {
        return R"({"at":1,"agents":[{"id":"a","name":"A","level":")" + std::string(level) +
               R"(","pid":1,"start":1)" + extra + "}]}";
    };
    const std::pair<std::string, std::string> cases[] = {
        {with(R"(,"rep":{"state":"busy","seen":1,"source":"fileActivity"})"),
         "Unknown ReportedState busy"},
        {with(R"(,"rep":{"state":"idle","seen":1,"source":"claudeSessionFile"})"),
         "Unknown Source claudeSessionFile"},
        {with("", "State"), "Unknown Level State"},
        {with(R"(,"kind":"gui")"), "Unknown Kind gui"},
        {with(R"(,"role":"helperMaybeSession")"), "Unknown AgentRole helperMaybeSession"},
        {with(R"(,"hook":"waitingForUser")"), "Unknown ReportedState waitingForUser"},
        {with(R"(,"hook":"")"), "Unknown ReportedState "},
    };
    for (const auto& [text, description] : cases) {
        SCOPED_TRACE(text);
        try {
            decodeFrame(text);
            ADD_FAILURE() << "decoded";
        } catch (const CodingError& error) {
            EXPECT_EQ(error.kind(), CodingError::Kind::dataCorrupted);
            EXPECT_EQ(error.description(), description);
        }
    }

    auto full = nlohmann::json::parse(encodeJSONText(
        EvidenceFrame{1, Date(3), std::nullopt, {fullAgent()}, FrameContext{}}, plain));
    const std::pair<const char*, const char*> required[] = {{"", "at"},
                                                            {"/agents/0", "id"},
                                                            {"/agents/0", "name"},
                                                            {"/agents/0", "level"},
                                                            {"/agents/0", "pid"},
                                                            {"/agents/0", "start"},
                                                            {"/agents/0/rep", "state"},
                                                            {"/agents/0/rep", "seen"},
                                                            {"/agents/0/rep", "source"}};
    for (const auto& [where, key] : required) {
        SCOPED_TRACE(key);
        for (bool asNull : {false, true}) {
            auto broken = full;
            auto& object = broken[nlohmann::json::json_pointer(where)];
            asNull ? void(object[key] = nullptr) : void(object.erase(key));
            try {
                decodeJSON<EvidenceFrame>(broken);
                ADD_FAILURE() << "decoded";
            } catch (const CodingError& error) {
                EXPECT_EQ(error.kind(), CodingError::Kind::keyNotFound);
                EXPECT_NE(error.description().find("\"" + std::string(key) + "\""),
                          std::string::npos);
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
        R"({"at":1,"ctx":{"heat":1e300}})",
        agentStart + R"("pid":2147483648,"start":1}]})",
        agentStart + R"("pid":1,"start":"1"}]})",
        agentStart + R"("pid":1,"start":1,"nj":-1}]})",
        agentStart + R"("pid":1,"start":1,"wr":0.5}]})",
        agentStart + R"("pid":1,"start":1,"live":"yes"}]})",
        agentStart + R"("pid":1,"start":1,"rep":[]}]})",
        R"({"at":1,"agents":[{"id":7,"name":"A","level":"state","pid":1,"start":1}]})",
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
    FrameGenerator generator(20260321);
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

TEST(EvidenceFrameFuzzTest, TruncatedMutatedAndRandomFramesAreRefusedNeverCrash) {
    FrameGenerator generator(7);
    std::mt19937 random(12);
    for (int index = 0; index < 8000; ++index) {
        auto text = encodeJSONText(generator.frame(), lab);
        if (index < 200) {
            for (std::size_t length = 0; length < text.size(); length += 1 + text.size() / 40)
                EXPECT_FALSE(decodeJSONText<EvidenceFrame>(text.substr(0, length))) << length;
        }
        // Whatever decodes must be a frame that can be written again.
        if (auto frame = decodeJSONText<EvidenceFrame>(testing::mutatedText(text, random))) {
            EXPECT_NO_THROW(encodeJSONText(*frame, lab));
        }
        if (index < 5000) {
            EXPECT_FALSE(decodeJSONText<EvidenceFrame>(testing::randomBytes(random, 200)));
        }
    }
}

TEST(EvidenceFrameFuzzTest, DeepNestingAndHugeNumbersAreRefused) {
    const std::size_t depth = 200000;
    const std::string cases[] = {
        std::string(depth, '['),
        std::string(depth, '[') + std::string(depth, ']'),
        R"({"at":1,"agents":)" + std::string(depth, '[') + std::string(depth, ']') + "}",
        R"({"at":1,"ctx":)" + std::string(depth / 2, '{') + "}",
        R"({"at":1e999})",
        R"({"at":1,"v":99999999999999999999999})",
        R"({"at":1,"agents":[{"id":"a","name":"a","level":"state","pid":1,"start":1,"nj":1e400}]})",
        R"({"at":1,"agents":[{"id":"a","name":"a","level":"state","pid":1,"start":1,)"
        R"("busy":4294967296}]})",
        "",
        "\xef\xbb\xbf",
        "{\"at\":1,\"agents\":[{\"id\":\"\xff\xfe\",\"name\":\"a\",\"level\":\"state\","
        "\"pid\":1,\"start\":1}]}",
    };
    for (const auto& text : cases) {
        SCOPED_TRACE(text.substr(0, 80));
        EXPECT_FALSE(decodeJSONText<EvidenceFrame>(text));
    }
    std::string nested = R"({"at":1,"extra":)";
    for (std::size_t level = 0; level < depth; ++level)
        nested += R"({"a":)";
    nested += "1" + std::string(depth, '}') + "}";
    // Unknown keys are ignored, however deep they go.
    EXPECT_TRUE(decodeJSONText<EvidenceFrame>(nested));
}

}  // namespace
}  // namespace vigilmoth
