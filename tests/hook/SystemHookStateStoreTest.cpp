// Show that the hook state store reads only regular files of its own, never through a link or
// into a pipe, and replaces files whole, whatever was planted under their names.
#include "hook/SystemHookStateStore.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>

#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

namespace fs = std::filesystem;

TEST(SystemHookStateStoreTest, OnlyRegularFilesOfModestSizeAreRead) {
    testing::TemporaryFolder folder;
    std::string hooks = folder / "hooks";
    fs::create_directories(hooks);
    testing::writeFile(hooks + "/plain.json", "{}");
    testing::writeFile(folder / "elsewhere.json", "{\"secret\":1}");
    fs::create_symlink(folder / "elsewhere.json", hooks + "/link.json");
    ASSERT_EQ(::mkfifo((hooks + "/pipe.json").c_str(), 0600), 0);
    fs::create_directories(hooks + "/folder.json");
    testing::writeFile(hooks + "/huge.json", std::string(2 << 20, ' '));
    SystemHookStateStore store(hooks);
    ASSERT_TRUE(store.lock());
    struct Case {
        std::string name;
        std::optional<std::string> text;
    };
    const std::vector<Case> cases{
        {"plain.json", "{}"},        {"missing.json", std::nullopt}, {"link.json", std::nullopt},
        {"pipe.json", std::nullopt}, {"folder.json", std::nullopt},  {"huge.json", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(store.read(c.name), c.text);
    }
    store.unlock();
}

TEST(SystemHookStateStoreTest, ReplacingPutsARegularFileInPlaceOfAnything) {
    testing::TemporaryFolder folder;
    std::string hooks = folder / "made/on/lock";
    std::string target = folder / "target.json";
    testing::writeFile(target, "keep");
    SystemHookStateStore store(hooks);
    ASSERT_TRUE(store.lock());
    ASSERT_TRUE(fs::is_directory(hooks));
    fs::create_symlink(target, hooks + "/a-1.json");
    ASSERT_EQ(::mkfifo((hooks + "/a-2.json").c_str(), 0600), 0);
    fs::create_directories(hooks + "/a-3.json");
    EXPECT_TRUE(store.replace("a-1.json", "one"));
    EXPECT_TRUE(store.replace("a-2.json", "two"));
    EXPECT_FALSE(store.replace("a-3.json", "three"));
    EXPECT_TRUE(store.replace("a-4.json", "four"));
    EXPECT_TRUE(store.replace("a-4.json", "four again"));
    store.unlock();
    EXPECT_EQ(testing::readFile(target), "keep");
    EXPECT_EQ(testing::readFile(hooks + "/a-1.json"), "one");
    EXPECT_FALSE(fs::is_symlink(hooks + "/a-1.json"));
    EXPECT_EQ(testing::readFile(hooks + "/a-2.json"), "two");
    EXPECT_EQ(testing::readFile(hooks + "/a-4.json"), "four again");
    // Only what was asked for remains: no temporary files, and the folder kept its place.
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(hooks)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"a-1.json", "a-2.json", "a-3.json", "a-4.json"}));
}

TEST(SystemHookStateStoreTest, AFolderThatCannotBeMadeIsNotLocked) {
    testing::TemporaryFolder folder;
    testing::writeFile(folder / "file", "");
    SystemHookStateStore store(folder / "file/hooks");
    EXPECT_FALSE(store.lock());
    EXPECT_EQ(store.read("a.json"), std::nullopt);
    EXPECT_FALSE(store.replace("a.json", "x"));
}

}  // namespace
}  // namespace vigilmoth
