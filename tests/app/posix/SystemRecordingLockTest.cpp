// A recording runs, and takes marks, only while another process really holds its lock.
#include "app/posix/SystemRecordingLock.h"

#include <gtest/gtest.h>

#include "lab/LabError.h"
#include "lab/LabRecorder.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using namespace testing;
using Probe = RecordingLocking::Probe;

TEST(SystemRecordingLockTest, ARecordingRunsAndTakesMarksOnlyWhileAnotherProcessHoldsItsLock) {
    TemporaryFolder folder;
    SystemRecordingLock lock;
    const std::string path = folder / "run.jsonl";
    const LabMark mark{.at = Date(1767225600.25), .agent = "codex", .truth = LabTruth::working};
    auto thrown = [&]() -> std::optional<LabError> {
        try {
            LabRecorder::appendMark(mark, path, lock);
        } catch (const LabError& error) {
            return error;
        }
        return std::nullopt;
    };
    EXPECT_EQ(thrown(), LabError::cannotWrite(path));
    writeFile(path, "");
    EXPECT_EQ(lock.probe(folder / "none.jsonl"), Probe::unavailable);
    EXPECT_EQ(lock.probe(path), Probe::notRunning);
    EXPECT_EQ(LabRecorder::runningRecording(folder.path().string(), lock), std::nullopt);
    EXPECT_EQ(thrown(), LabError::noRecording());
    EXPECT_EQ(readFile(path), "");
    {
        BackgroundProcess holder(testProgram("hold_flock"), {path});
        ASSERT_TRUE(holder.waitForOutput("locked"));
        EXPECT_EQ(lock.probe(path), Probe::running);
        EXPECT_EQ(LabRecorder::runningRecording(folder.path().string(), lock), path);
        EXPECT_EQ(thrown(), std::nullopt);
        EXPECT_EQ(readFile(path),
                  "{\"mark\":{\"agent\":\"codex\",\"at\":1767225600.25,\"truth\":\"working\"}}\n");
    }
    // The lock dies with its holder, and probing never leaves a lock behind.
    EXPECT_EQ(lock.probe(path), Probe::notRunning);
    EXPECT_EQ(lock.probe(path), Probe::notRunning);
}

}  // namespace
}  // namespace vigilmoth
