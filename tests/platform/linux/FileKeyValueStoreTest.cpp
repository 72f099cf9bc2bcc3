// The file-backed settings store keeps types, sees other writers' changes, never leaves half a
// file behind, and two processes writing at once both keep what they wrote.
#include "platform/linux/FileKeyValueStore.h"

#include <signal.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using namespace testing;

class FileKeyValueStoreTest : public ::testing::Test {
protected:
    TemporaryFolder folder;
    std::string path = folder / "defaults.json";
};

TEST_F(FileKeyValueStoreTest, KeepsTypesAcrossAnotherInstance) {
    FileKeyValueStore writer(path = folder / "nested/defaults.json");
    writer.set("StateAggregator.enabled", true);
    writer.set("StateAggregator.mode", "working");
    writer.set("DetectionSettings", nlohmann::json{{"waitingHold", 300}});
    writer.set("Gone", 1);
    writer.remove("Gone");
    writer.remove("NeverThere");

    FileKeyValueStore reader(path);
    EXPECT_EQ(reader.boolValue("StateAggregator.enabled"), true);
    EXPECT_EQ(reader.stringValue("StateAggregator.mode"), "working");
    EXPECT_EQ(reader.numberValue("StateAggregator.mode"), std::nullopt);
    EXPECT_EQ(reader.value("DetectionSettings"), (nlohmann::json{{"waitingHold", 300}}));
    EXPECT_EQ(reader.value("Gone"), std::nullopt);
}

TEST_F(FileKeyValueStoreTest, ReaderSeesEveryLaterChangeByAnotherWriter) {
    FileKeyValueStore reader(path);
    FileKeyValueStore other(path);
    EXPECT_EQ(reader.value("a"), std::nullopt);
    // Each change leaves a file of another length, so that it is told apart even where the
    // file system's clock is coarse.
    const std::vector<std::pair<std::function<void()>, std::optional<nlohmann::json>>> changes{
        {[&] { other.set("a", 1); }, 1},
        {[&] { other.set("a", 22); }, 22},
        {[&] { writeFile(path, "{\"a\": 333}"); }, 333},
        {[&] { other.remove("a"); }, std::nullopt},
        {[&] { writeFile(path, "{\"a\": 4444}"); }, 4444},
        {[&] { std::filesystem::remove(path); }, std::nullopt},
    };
    for (size_t at = 0; at < changes.size(); ++at) {
        SCOPED_TRACE(at);
        changes[at].first();
        for (int read = 0; read < 2; ++read)
            EXPECT_EQ(reader.value("a"), changes[at].second);
    }
}

TEST_F(FileKeyValueStoreTest, DamagedFileReadsAsEmptyAndIsReplacedOnTheNextChange) {
    for (const std::string damaged : {"", "{\"a\": tru", "[1, 2]", "\xff\xfe", "null"}) {
        SCOPED_TRACE(damaged);
        writeFile(path, damaged);
        FileKeyValueStore store(path);
        EXPECT_EQ(store.value("a"), std::nullopt);
        store.set("a", 1);
        EXPECT_EQ(nlohmann::json::parse(readFile(path)), (nlohmann::json{{"a", 1}}));
    }
}

TEST_F(FileKeyValueStoreTest, WriterKilledMidWriteLeavesAWholeFile) {
    FileKeyValueStore(path).set("kept", "before");
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE(round);
        BackgroundProcess writer(testProgram("kv_writer"), {path, "big", "0", "200000"});
        ASSERT_TRUE(writer.waitForOutput("writing"));
        std::this_thread::sleep_for(std::chrono::milliseconds(3 + round * 7));
        writer.signal(SIGKILL);
        writer.wait();
        auto parsed = nlohmann::json::parse(readFile(path), nullptr, false);
        ASSERT_FALSE(parsed.is_discarded()) << "half a file after a crash";
        EXPECT_EQ(parsed["kept"], "before");
    }
}

TEST_F(FileKeyValueStoreTest, TwoWritersKeepEveryKey) {
    constexpr int kCount = 60;
    BackgroundProcess first(testProgram("kv_writer"), {path, "first.", "60", "10"});
    BackgroundProcess second(testProgram("kv_writer"), {path, "second.", "60", "10"});
    EXPECT_EQ(std::pair(first.wait(60), second.wait(60)), std::pair(0, 0));
    FileKeyValueStore store(path);
    for (int i = 0; i < kCount; ++i) {
        for (const std::string& key : {"first." + std::to_string(i), "second." + std::to_string(i)})
            EXPECT_TRUE(store.value(key)) << "lost " << key;
    }
}

}  // namespace
}  // namespace vigilmoth
