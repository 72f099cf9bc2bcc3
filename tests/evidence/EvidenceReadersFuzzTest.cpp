// Show that no input, however broken, crashes a reader of the agents' files or makes it read
// more than it may: garbage reads as nothing.
#include <gtest/gtest.h>

#include <random>

#include "evidence/ClaudeSessionState.h"
#include "evidence/ClaudeTranscriptReader.h"
#include "evidence/CodexRolloutReader.h"
#include "evidence/CodexRolloutTracker.h"
#include "evidence/CursorTranscript.h"
#include "evidence/HookStateReader.h"
#include "evidence/RemoteAccessDetector.h"
#include "evidence/ReportedTime.h"
#include "support/EvidenceFiles.h"
#include "support/FuzzInput.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

// Runs every parser over the text, all of them whatever the first make of it; whether none read
// anything.
bool readsNothing(const std::string& text) {
    bool nothing = !ClaudeSessionStateReader::parse(text, Date(0));
    nothing &= !ClaudeJobStateReader::parse(text, Date(0));
    nothing &= !ClaudeTranscriptReader::parseTail(text);
    nothing &= !CodexRolloutReader::record(text);
    nothing &= !CodexRolloutReader::sessionCwd(std::string_view(text));
    nothing &= !CursorTranscriptReader::parseTail(text).last;
    nothing &= !RemoteAccessDetector::ClaudeSettings::fromJSON(text);
    nothing &= !ReportedTime::iso8601(text);
    return nothing & !HookStateFile::decode(text);
}

TEST(EvidenceReadersFuzzTest, MutatedRealLinesAndGarbageNeverCrash) {
    std::vector<std::string> samples;
    for (const char* file :
         {"claude-transcripts/spotter-short.jsonl", "claude-session-registry/409825.json",
          "codex-rollouts/sessions/2026/02/23/"
          "rollout-2026-02-23T20-34-25-019c8bfe-ec25-79e0-97d7-bda6a9c575ff.jsonl"}) {
        std::string text = testing::readFile(testing::fixture(file));
        for (std::size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos;
             start = end + 1)
            samples.push_back(text.substr(start, end - start));
        samples.push_back(text);
    }
    std::mt19937 random(17);
    for (int round = 0; round < 3000; ++round)
        readsNothing(testing::mutatedText(samples[random() % samples.size()], random));
    for (int round = 0; round < 2000; ++round)
        EXPECT_TRUE(readsNothing(testing::randomBytes(random, 300)));
    const std::size_t depth = 100000;
    for (const std::string& text :
         {std::string(depth, '[') + std::string(depth, ']'), std::string(depth, '{'),
          R"({"type":"user","message":)" + std::string(depth, '['),
          std::string("{\"status\":\"busy\",\"name\":\"\xff\xfe\"}"),
          std::string("{\"type\":\"turn_context\",\"payload\":{\"cwd\":\"\xc3\x28\"}}"),
          std::string(3 << 20, 'x'), std::string("\0\0\0{}", 5)}) {
        EXPECT_TRUE(readsNothing(text)) << text.substr(0, 60);
    }
}

TEST(EvidenceReadersFuzzTest, HugeFilesAreReadOnlyAsFarAsAllowed) {
    testing::TemporaryFolder folder;
    std::string huge = folder / "huge";
    std::string garbage(20 << 20, 'x');
    for (std::size_t at = 100; at < garbage.size(); at += 997)
        garbage[at] = '\n';
    testing::writeFile(huge, garbage);
    const std::uint64_t size = garbage.size();
    testing::CountingFileAccess files;
    // Reads at most `allowed` bytes, and for a tail, none before the last `allowed`.
    auto limited = [&](std::uint64_t allowed, auto read, bool tail = true) {
        files.reset();
        read();
        EXPECT_LE(files.bytesRead, allowed);
        if (tail) {
            EXPECT_GE(files.lowestOffset[huge] + allowed, size);
        }
    };
    limited(ClaudeTranscriptReader::kLastWindow,
            [&] { EXPECT_FALSE(ClaudeTranscriptReader::parseTail(files, huge, size)); });
    limited(8 << 20,
            [&] { EXPECT_FALSE(CursorTranscriptReader::parseTail(files, huge, size).last); });
    CodexRolloutTracker tracker(files);
    for (int tick = 0; tick < 4; ++tick) {
        limited(
            CodexRolloutTracker::kDefaultBudget + CodexRolloutTracker::kAnchorLength,
            [&] {
                auto reading = tracker.read(huge);
                EXPECT_EQ(reading->resolved, tick >= 2);
                EXPECT_FALSE(reading->turn.turnInProgress);
            },
            false);
        tracker.endSample();
    }
    files.reset();
    CodexRolloutReader reader(files, "");
    EXPECT_FALSE(reader.sessionCwd(huge));
    EXPECT_LE(files.bytesRead, 1u << 20);
    files.reset();
    EXPECT_FALSE(smallFile(files, huge, ClaudeSessionStateReader::kFileLimit));
    EXPECT_LE(files.bytesRead, ClaudeSessionStateReader::kFileLimit + 1);
    std::filesystem::create_directories(folder / "hooks");
    std::filesystem::rename(huge, folder / "hooks/claude-1.json");
    HookStateReader hooks(files, folder / "hooks");
    EXPECT_TRUE(hooks.states({{.pid = 1, .startTime = 0}}, Date::now(), 60, 1800).empty());
}

}  // namespace
}  // namespace vigilmoth
