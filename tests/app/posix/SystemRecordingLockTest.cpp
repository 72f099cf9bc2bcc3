// Show that recordings are found running and marked through the recording lock, taken for real
// by another process.
#include "app/posix/SystemRecordingLock.h"

#include <gtest/gtest.h>

#include "lab/LabError.h"
#include "lab/LabRecorder.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using namespace testing;

TEST(SystemRecordingLockTest, ARecordingRunsOnlyWhileAnotherProcessHoldsItsLock) {
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

TEST(SystemRecordingLockTest, AppendingAMarkNeedsARunningRecording) {
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

}  // namespace
}  // namespace vigilmoth
