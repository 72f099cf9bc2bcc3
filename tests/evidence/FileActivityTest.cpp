// Show that a file is parsed again only when its signature changes, and that the activity of
// opencode's and Antigravity's files is told from one poll to the next.
#include "evidence/FileActivityReader.h"

#include <gtest/gtest.h>

#include <fstream>

#include "evidence/FileCache.h"
#include "support/EvidenceFiles.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

TEST(FileActivityTest, TheCacheParsesAgainOnlyWhenTheSignatureChanges) {
    testing::TemporaryFolder folder;
    std::string path = folder / "state.json";
    testing::writeFile(path, "not json");
    testing::CountingFileAccess files;
    FileCache<int> cache;
    int parses = 0;
    auto parse = [&](const std::string&, const FileSignature&) -> std::optional<int> {
        ++parses;
        auto text = testing::readFile(path);
        return text.starts_with("{") ? std::optional(static_cast<int>(text.size())) : std::nullopt;
    };
    EXPECT_FALSE(cache.value(files, path, parse));
    EXPECT_FALSE(cache.value(files, path, parse));
    EXPECT_EQ(parses, 1) << "a file that does not parse is read once until it changes";
    // An atomic replace with the same size and time brings a new inode.
    auto time = std::filesystem::last_write_time(path);
    testing::writeFile(folder / "new", "{json!!!");
    std::filesystem::last_write_time(folder / "new", time);
    std::filesystem::rename(folder / "new", path);
    EXPECT_EQ(cache.value(files, path, parse), 8);
    EXPECT_EQ(parses, 2);
    cache.endSample();
    EXPECT_EQ(cache.size(), 1u);
    cache.endSample();
    EXPECT_EQ(cache.size(), 0u) << "a path nobody asked for during a tick is forgotten";
    EXPECT_FALSE(cache.value(files, folder / "missing", parse));
}

TEST(FileActivityTest, PollsTellWhatChangedSinceTheLastOne) {
    testing::TemporaryFolder home;
    std::string opencode = home / ".local/share/opencode/opencode.db";
    testing::writeFile(opencode, "db");
    testing::writeFile(opencode + "-wal", "wal");
    testing::CountingFileAccess files;
    FileActivityReader reader(FileActivityReader::opencode(home.path().string()));
    auto first = reader.poll(files);
    EXPECT_TRUE(first.changedPaths.empty()) << "first sight is not activity";
    EXPECT_TRUE(first.newestModification);
    std::ofstream(opencode + "-wal", std::ios::app) << "more";
    auto second = reader.poll(files);
    EXPECT_EQ(second.changedPaths, std::vector<std::string>{opencode + "-wal"});
    EXPECT_EQ(second.sizeDelta, 4);

    FileActivityReader antigravity(FileActivityReader::antigravity(home.path().string()));
    testing::writeFile(home / ".gemini/antigravity/conversations/a.db", "a");
    antigravity.poll(files);
    testing::writeFile(home / ".gemini/antigravity-ide/conversations/b.db", "b");
    testing::writeFile(home / ".gemini/antigravity-cli/conversations/c.db-wal", "c");
    testing::writeFile(home / ".gemini/antigravity-cli/conversations/c.db-shm", "c");
    auto later = antigravity.poll(files);
    EXPECT_EQ(later.changedPaths,
              (std::vector<std::string>{home / ".gemini/antigravity-cli/conversations/c.db-wal",
                                        home / ".gemini/antigravity-ide/conversations/b.db"}));

    const std::vector<std::tuple<const char*, const char*, bool>> globs{
        {"*.db", "a.db", true}, {"*.db", "a.db-wal", false}, {"*.db-wal", "x.db-wal", true},
        {"a?c", "abc", true},   {"a?c", "ac", false},        {"*", "", true},
        {"*a*b", "xaab", true}, {"*.db", ".db", true},       {"*.db", "adb", false},
    };
    for (const auto& [pattern, name, matches] : globs)
        EXPECT_EQ(FileActivityReader::matches(pattern, name), matches) << pattern << " " << name;
}

}  // namespace
}  // namespace vigilmoth
