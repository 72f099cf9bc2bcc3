// A step of the wall clock, which moves the boot time in /proc/stat, leaves hook state files
// written before and after it with their live process, and deletes none.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>

#include "evidence/HookStateReader.h"
#include "platform/linux/SystemProcessCensus.h"
#include "support/EvidenceFiles.h"
#include "support/ProcessTree.h"

namespace vigilmoth {
namespace {

// A /proc whose boot time is `shift` seconds later, with the real process folders linked in:
// what a census sees after the clock stepped forward.
std::string shiftedProc(const testing::TemporaryFolder& folder, int pid, long shift) {
    std::string stat = testing::readFile("/proc/stat");
    std::smatch boot;
    std::regex_search(stat, boot, std::regex("btime (\\d+)"));
    stat.replace(boot.position(1), boot.length(1), std::to_string(std::stol(boot[1]) + shift));
    std::string root = folder / "proc";
    testing::writeFile(root + "/stat", stat);
    std::filesystem::create_directory_symlink("/proc/" + std::to_string(pid),
                                              root + "/" + std::to_string(pid));
    return root;
}

TEST(HookStateBootStepTest, FilesFromBeforeAndAfterAStepStayWithTheirProcess) {
    testing::ProcessTree tree(
        {{0, -1, "bin/claude", {"claude"}}, {1, -1, "bin/claude", {"claude"}}});
    testing::TemporaryFolder folder;
    SystemProcessCensus census;
    SystemProcessCensus stepped(shiftedProc(folder, tree.pid(1), 3600 + 17));
    auto before = census.row(tree.pid(0));
    auto after = stepped.row(tree.pid(1));
    ASSERT_TRUE(before && after);
    ASSERT_NE(after->startTime, census.row(tree.pid(1))->startTime);
    std::string hooks = folder / "hooks";
    Date now = Date::now();
    for (const auto& row : {*before, *after}) {
        HookStateFile file{1,
                           "claude",
                           row.pid,
                           row.startTime,
                           {{"none", {"working", "UserPromptSubmit", now.secondsSince1970()}}}};
        std::string path = hooks + "/" + HookStateFile::fileName("claude", row.pid);
        testing::writeFile(path, file.encode());
        std::filesystem::last_write_time(
            path, std::filesystem::file_time_type::clock::now() - std::chrono::minutes(5));
    }
    testing::CountingFileAccess files;
    HookStateReader reader(files, hooks);
    auto states = reader.states(*census.snapshot(), now, 60, 1800);
    EXPECT_TRUE(states.size() == 2 && states.contains(tree.pid(0)) && states.contains(tree.pid(1)));
    EXPECT_TRUE(files.removed.empty());
}

}  // namespace
}  // namespace vigilmoth
