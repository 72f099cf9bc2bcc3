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

TEST(SystemHookStateStoreTest, OnlyRegularFilesAreReadAndAnythingIsReplaced) {
    testing::TemporaryFolder folder;
    std::string hooks = folder / "made/on/lock";
    std::string target = folder / "target.json";
    testing::writeFile(target, "keep");
    SystemHookStateStore store(hooks);
    ASSERT_TRUE(store.lock());
    ASSERT_TRUE(fs::is_directory(hooks));
    testing::writeFile(hooks + "/plain.json", "{}");
    fs::create_symlink(target, hooks + "/link.json");
    ASSERT_EQ(::mkfifo((hooks + "/pipe.json").c_str(), 0600), 0);
    fs::create_directories(hooks + "/folder.json");
    testing::writeFile(hooks + "/huge.json", std::string(2 << 20, ' '));
    for (const auto* name : {"missing.json", "link.json", "pipe.json", "folder.json", "huge.json"})
        EXPECT_EQ(store.read(name), std::nullopt) << name;
    EXPECT_EQ(store.read("plain.json"), "{}");

    EXPECT_TRUE(store.replace("link.json", "one"));
    EXPECT_TRUE(store.replace("pipe.json", "two"));
    EXPECT_FALSE(store.replace("folder.json", "three"));
    EXPECT_TRUE(store.replace("new.json", "four"));
    EXPECT_TRUE(store.replace("new.json", "four again"));
    store.unlock();
    EXPECT_EQ(testing::readFile(target), "keep");
    // Only what was asked for remains: no temporary files, and the folder kept its place.
    std::map<std::string, std::string> files;
    for (const auto& item : fs::directory_iterator(hooks)) {
        auto type = item.symlink_status().type();
        if (type == fs::file_type::directory) continue;
        files[item.path().filename()] =
            type == fs::file_type::regular ? testing::readFile(item.path()) : "not a regular file";
    }
    EXPECT_EQ(files, (std::map<std::string, std::string>{{"huge.json", std::string(2 << 20, ' ')},
                                                         {"link.json", "one"},
                                                         {"new.json", "four again"},
                                                         {"pipe.json", "two"},
                                                         {"plain.json", "{}"}}));
    EXPECT_TRUE(fs::is_directory(hooks + "/folder.json"));
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
