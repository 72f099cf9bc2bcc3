// Show that recordings are named and found as the lab's commands expect, and that the lab's
// errors read as whole sentences.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <thread>

#include "lab/LabError.h"
#include "lab/LabRecorder.h"
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

TEST(LabRecorderTest, ErrorsDescribeThemselvesInWholeSentences) {
    EXPECT_STREQ(LabError::unreadableLine(3).what(), "Line 3 of the recording cannot be read.");
    EXPECT_STREQ(LabError::cannotWrite("/x/y.jsonl").what(), "Cannot write to /x/y.jsonl.");
    EXPECT_STREQ(LabError::noRecording().what(),
                 "No recording is running. Start one with --lab-record.");
}

}  // namespace
}  // namespace vigilmoth
