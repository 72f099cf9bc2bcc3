// Show that recordings are named, found and marked as the lab's commands expect, with the
// running-recording lock taken for real by another process.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <thread>

#include "lab/LabError.h"
#include "lab/LabRecorder.h"
#include "platform/posix/SystemRecordingLock.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using namespace testing;
namespace fs = std::filesystem;

const Date kMarchNinth(1773065100);  // 2026-03-09 14:05:00 UTC

TEST(LabRecorderTest, FileNamesKeepOnlySafeCharactersOfTheLabel) {
    struct Case {
        std::string label;
        std::string name;
    };
    const std::vector<Case> cases = {
        {"deep work #2", "2026-03-09T14-05-00Z-deepwork2.jsonl"},
        {"", "2026-03-09T14-05-00Z-recording.jsonl"},
        {"../../etc", "2026-03-09T14-05-00Z-etc.jsonl"},
        {"***", "2026-03-09T14-05-00Z-recording.jsonl"},
        {"caf\xC3\xA9 long_run-1", "2026-03-09T14-05-00Z-caflong_run-1.jsonl"},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.label);
        EXPECT_EQ(LabRecorder::fileName(testCase.label, kMarchNinth), testCase.name);
    }
    // Fractions of a second never round the name up into the next second.
    EXPECT_EQ(LabRecorder::fileName("x", kMarchNinth + 0.999), "2026-03-09T14-05-00Z-x.jsonl");
}

TEST(LabRecorderTest, TheLabFolderLiesInTheApplicationSupportFolder) {
    PathEnvironment environment;
    environment.home = "/home/ann";
    environment.xdgDataHome = "/data";
    EXPECT_EQ(LabRecorder::labDirectory(environment), "/data/com.vigilmoth.app/lab");
}

void touch(const fs::path& path, int secondsAgo) {
    writeFile(path, "{}\n");
    fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::seconds(secondsAgo));
}

TEST(LabRecorderTest, TheNewestRecordingIsTheJsonlFileModifiedLast) {
    TemporaryFolder folder;
    EXPECT_EQ(LabRecorder::newestRecording(folder / "missing"), std::nullopt);
    touch(folder / "a.json", 1);
    touch(folder / "b.JSONL", 1);
    EXPECT_EQ(LabRecorder::newestRecording(folder.path().string()), std::nullopt);
    touch(folder / "old.jsonl", 100);
    touch(folder / "new.jsonl", 10);
    touch(folder / "newer.json", 0);
    EXPECT_EQ(LabRecorder::newestRecording(folder.path().string()), folder / "new.jsonl");
}

TEST(LabRecorderTest, ARecordingRunsOnlyWhileAnotherProcessHoldsItsLock) {
    TemporaryFolder folder;
    SystemRecordingLock lock;
    std::string path = folder / "run.jsonl";
    writeFile(path, "");
    EXPECT_EQ(lock.probe(folder / "none.jsonl"), RecordingLocking::Probe::unavailable);
    EXPECT_EQ(lock.probe(path), RecordingLocking::Probe::notRunning);
    EXPECT_EQ(LabRecorder::runningRecording(folder.path().string(), lock), std::nullopt);
    {
        BackgroundProcess holder(testProgram("hold_flock"), {path});
        ASSERT_TRUE(holder.waitForOutput("locked"));
        EXPECT_EQ(lock.probe(path), RecordingLocking::Probe::running);
        EXPECT_EQ(LabRecorder::runningRecording(folder.path().string(), lock), path);
    }
    // The lock dies with its holder, and probing never leaves a lock behind.
    EXPECT_EQ(lock.probe(path), RecordingLocking::Probe::notRunning);
    EXPECT_EQ(lock.probe(path), RecordingLocking::Probe::notRunning);
}

TEST(LabRecorderTest, AppendingAMarkNeedsARunningRecording) {
    TemporaryFolder folder;
    SystemRecordingLock lock;
    std::string path = folder / "run.jsonl";
    LabMark mark{.at = Date(1767225600.25), .agent = "codex", .truth = LabTruth::working};
    auto thrown = [&](const std::string& target) -> std::optional<LabError> {
        try {
            LabRecorder::appendMark(mark, target, lock);
        } catch (const LabError& error) {
            return error;
        }
        return std::nullopt;
    };
    EXPECT_EQ(thrown(path), LabError::cannotWrite(path));
    writeFile(path, "");
    EXPECT_EQ(thrown(path), LabError::noRecording());
    EXPECT_EQ(readFile(path), "");

    BackgroundProcess holder(testProgram("hold_flock"), {path});
    ASSERT_TRUE(holder.waitForOutput("locked"));
    EXPECT_EQ(thrown(path), std::nullopt);
    EXPECT_EQ(readFile(path),
              "{\"mark\":{\"agent\":\"codex\",\"at\":1767225600.25,\"truth\":\"working\"}}\n");
}

TEST(LabRecorderTest, ErrorsDescribeThemselvesInWholeSentences) {
    EXPECT_STREQ(LabError::unreadableLine(3).what(), "Line 3 of the recording cannot be read.");
    EXPECT_STREQ(LabError::cannotWrite("/x/y.jsonl").what(), "Cannot write to /x/y.jsonl.");
    EXPECT_STREQ(LabError::noRecording().what(),
                 "No recording is running. Start one with --lab-record.");
}

}  // namespace
}  // namespace vigilmoth
