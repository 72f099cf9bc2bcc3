// Show that the census helpers build children and subtrees that survive cycles, read the macOS
// argument area byte for byte (and nothing from a malformed one), and measure activity between
// censuses by process identity.
#include "catalog/ProcessCensus.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <random>
#include <set>

#include "base/Golden.h"

#include "support/FuzzInput.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using Words = std::vector<std::string>;

ProcessInfoRow process(int32_t pid, int32_t ppid, double startTime = 1) {
    return {.pid = pid, .ppid = ppid, .startTime = startTime};
}

std::vector<std::byte> bytesOf(const std::string& text) {
    const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
    return {bytes, bytes + text.size()};
}

TEST(ProcessCensusTest, SubtreeWalksDepthFirstAndStopsWhereAsked) {
    const std::vector<ProcessInfoRow> tree = {process(1, 0), process(2, 1), process(3, 1),
                                              process(4, 2)};
    const struct {
        const char* name;
        std::vector<ProcessInfoRow> rows;
        std::unordered_set<int32_t> stoppingAt;
        std::vector<int32_t> expected;
    } cases[] = {
        // Children are indexed in row order, so the last one pushed is visited first.
        {"the last child pushed is visited first", tree, {}, {1, 3, 2, 4}},
        {"a stopped child and everything below it are left out", tree, {2}, {1, 3}},
        {"the root is kept even when it is a stopping point",
         {process(1, 0), process(2, 1)},
         {1},
         {1, 2}},
        {"a parent cycle ends", {process(1, 2), process(2, 1)}, {}, {1, 2}},
        {"a process that is its own parent ends", {process(1, 1)}, {}, {1}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<int32_t> pids;
        auto children = ProcessCensus::childrenIndex(c.rows);
        for (const auto& row : ProcessCensus::subtree(c.rows[0], children, c.stoppingAt))
            pids.push_back(row.pid);
        EXPECT_EQ(pids, c.expected);
    }
}

// Every collected area as "file: executable path [arguments]", or "nothing read"; the environment
// after the arguments is never read.
TEST(ProcessCensusTest, ReadsArgumentAreas) {
    std::set<std::string> files;
    for (const auto& item : std::filesystem::directory_iterator(testing::fixture("procargs")))
        if (item.path().extension() == ".bin") files.insert(item.path().filename());
    std::string listing;
    for (const auto& file : files) {
        auto parsed = ProcessCensus::parseArguments(
            bytesOf(testing::readFile(testing::fixture("procargs/" + file))));
        listing += file + ": " +
                   (parsed ? parsed->executablePath + " " + nlohmann::json(parsed->arguments).dump()
                           : "nothing read") +
                   "\n";
    }
    testing::expectGolden("catalog/argument-areas.txt", listing);
    EXPECT_FALSE(ProcessCensus::parseArguments({}).has_value());
}

TEST(ProcessCensusTest, MangledArgumentAreasNeverReadPastTheirEnd) {
    auto original = bytesOf(testing::readFile(testing::fixture("procargs/claude.bin")));
    std::mt19937 random(20261121);
    for (int round = 0; round < 5000; ++round) {
        auto bytes = original;
        if (round % 3 == 0) bytes.resize(random() % (bytes.size() + 1));
        for (int flip = random() % 8; flip >= 0 && !bytes.empty(); --flip)
            bytes[random() % bytes.size()] = static_cast<std::byte>(random());
        auto parsed = ProcessCensus::parseArguments(bytes);
        if (!parsed) continue;
        // Whatever is read comes from inside the area.
        size_t total = parsed->executablePath.size();
        for (const auto& argument : parsed->arguments)
            total += argument.size();
        EXPECT_LE(parsed->arguments.size(), bytes.size());
        EXPECT_LE(total, bytes.size() * 3);
    }
    for (int round = 0; round < 2000; ++round) {
        auto bytes = bytesOf(testing::randomBytes(random, 63));
        // A count with its top bit set is negative: nothing may come of it.
        if (bytes.size() >= 4) bytes[3] |= std::byte{0x80};
        EXPECT_FALSE(ProcessCensus::parseArguments(bytes).has_value());
    }
}

TEST(ProcessCensusTest, DeltaCountsActivityByIdentity) {
    auto row = [](int32_t pid, double start, double cpu, std::optional<uint64_t> writes) {
        return ProcessInfoRow{.pid = pid,
                              .ppid = 1,
                              .startTime = start,
                              .cpuTime = cpu,
                              .instructions = 100,
                              .logicalWriteBytes = writes};
    };
    std::unordered_map<ProcessIdentity, ProcessInfoRow> before;
    for (const auto& old : {row(10, 5, 2.0, 100), row(11, 5, 1.0, 50), row(12, 5, 3.0, 10)})
        before[ProcessIdentity::of(old)] = old;

    // 10 ran on; 11 counted backwards; 12 is a reused pid, so a new process; 13 is new.
    auto delta = ProcessCensus::delta(
        {row(10, 5, 2.5, 160), row(11, 5, 0.5, 40), row(12, 9, 0.25, 7), row(13, 9, 1.0, 3)},
        before);
    EXPECT_DOUBLE_EQ(delta.cpuSeconds, 0.5 + 0 + 0.25 + 1.0);
    EXPECT_EQ(delta.logicalWriteBytes, 60u + 0u + 7u + 3u);
    EXPECT_EQ(delta.instructions, 0u + 0u + 100u + 100u);
    EXPECT_EQ(delta.newProcesses, 2);
    // The system gave no energy or wake-ups for any row.
    EXPECT_EQ(delta.energyNanojoules, std::nullopt);
    EXPECT_EQ(delta.wakeups, std::nullopt);

    // One row without the counter makes the whole total absent, wherever it comes.
    EXPECT_EQ(ProcessCensus::delta({row(20, 1, 1, {}), row(21, 1, 1, 5)}, {}).logicalWriteBytes,
              std::nullopt);
    EXPECT_EQ(ProcessCensus::delta({row(21, 1, 1, 5), row(20, 1, 1, {})}, {}).logicalWriteBytes,
              std::nullopt);

    // A counter that was absent before counts in full.
    EXPECT_EQ(
        ProcessCensus::delta({row(30, 1, 1, 42)}, {{{30, 1}, row(30, 1, 1, {})}}).logicalWriteBytes,
        42u);
}

TEST(ProcessCensusTest, IdentityTellsReusedPidsApart) {
    std::unordered_set<ProcessIdentity> identities = {
        {10, 100.5}, {10, 100.5}, {10, 200.25}, {11, 100.5}};
    EXPECT_EQ(identities.size(), 3u);
    EXPECT_NE((ProcessIdentity{10, 100.5}), (ProcessIdentity{10, 100.500001}));
    EXPECT_EQ(std::hash<ProcessIdentity>{}({1, 0.0}), std::hash<ProcessIdentity>{}({1, -0.0}));
}

TEST(ProcessCensusTest, ShortNamesCompareTheFirstSixteenBytes) {
    EXPECT_NE(ShortName::of("node"), ShortName::of("MainThread"));
    EXPECT_NE(ShortName::of("abcdefghijklmno"), ShortName::of("abcdefghijklmnp"));
    EXPECT_EQ(ShortName::of("abcdefghijklmnopXYZ"), ShortName::of("abcdefghijklmnop"));
    EXPECT_EQ(ShortName::of(""), ShortName{});
}

}  // namespace
}  // namespace vigilmoth
