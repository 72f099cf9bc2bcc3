// The command line is classified in a fixed order (lab, then the timed switches, then the
// operating system's own options); the real executable answers with its message and status, and
// a second copy hands over to a running one only after five seconds of polling.
#include "app/Main.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "app/LaunchArguments.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using namespace testing;
using namespace LaunchArguments;
using Words = std::vector<std::string>;

TEST(LaunchArgumentsTest, ClassifiesEveryDocumentedCommandLine) {
    const std::vector<std::pair<std::vector<std::string>, Kind>> cases = {
        {{}, App{}},
        {{"-psn_0_12345"}, App{}},
        {{"-NSDocumentRevisionsDebugMode", "YES"}, App{}},
        {{"-NSFoo", "-AppleBar", "1"}, App{}},  // -AppleBar is itself the next option
        {{"-AppleLanguages"}, App{}},           // at the very end: no value to skip
        {{"-NSFoo", "--verbose"}, Unknown{"--verbose"}},
        {{"foo"}, Unknown{"foo"}},
        {{"-NSFoo", "bar", "baz"}, Unknown{"baz"}},
        {{"--bogus", "--lab-anything"}, Lab{}},  // the lab wins even over refused arguments
        {{"--lab-x", "--bogus"}, Lab{}},
        {{"--smoke-test", "--lab-score"}, Lab{}},
        {{"--smoke-test"}, Unknown{"--smoke-test"}},
        {{"--smoke-test", "6"}, SmokeTest{6}},
        {{"--smoke-test", "120"}, SmokeTest{120}},
        {{"--smoke-test", "7.5"}, SmokeTest{7.5}},
        {{"--smoke-test", "30", "whatever", "else"}, SmokeTest{30}},  // only the pair counts
        {{"junk", "--smoke-test", "30"}, SmokeTest{30}},
        {{"--display-probe", "0.5"}, Unknown{"--display-probe"}},
        {{"--display-probe", "3600"}, DisplayProbe{3600}},
        {{"--display-probe", "1"}, DisplayProbe{1}},
        {{"--display-probe", "3600.01"}, Unknown{"--display-probe"}},
        {{"--display-probe", "10", "--smoke-test", "30"}, SmokeTest{30}},
        {{"--smoke-test", "3", "--display-probe", "10"}, Unknown{"--smoke-test"}},
    };
    for (const auto& [args, expected] : cases) {
        std::vector<std::string> arguments = {"/usr/bin/vigilmoth"};
        arguments.insert(arguments.end(), args.begin(), args.end());
        SCOPED_TRACE(::testing::PrintToString(args));
        EXPECT_EQ(kind(arguments), expected);
    }
    for (const char* seconds : {"5", "121", "abc", " 30", "30 ", "nan", ""})
        EXPECT_EQ(kind({"vigilmoth", "--smoke-test", seconds}), Kind(Unknown{"--smoke-test"}))
            << seconds;
    EXPECT_EQ(kind({}), Kind(App{}));
    EXPECT_EQ(kind({"--lab-record"}), Kind(App{})) << "the executable path is never examined";
}

TEST(MainTest, RefusesWhatItDoesNotUnderstandWithStatusOne) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"foo"}, "Unknown argument foo"},
        {{"--smoke-test", "5"}, "Unknown argument --smoke-test"},
        {{"--display-probe", "0.5"}, "Unknown argument --display-probe"},
        {{"-NSFoo", "--verbose"}, "Unknown argument --verbose"},
        {{"h\xC3\xA9llo"}, "Unknown argument h\xC3\xA9llo"},
        {{"--lab-x", "--bogus"}, "Unknown lab command --lab-x"},
    };
    for (const auto& [args, said] : cases) {
        SCOPED_TRACE(said);
        auto result = runVigilmoth(args);
        EXPECT_EQ(result.status, 1);
        const bool lab = said.rfind("Unknown lab", 0) == 0;
        EXPECT_EQ(result.err, said + (lab ? ".\n" : ". The app starts without arguments.\n"));
        EXPECT_EQ(result.out, "");
    }
}

// The application in a home of its own and without buses: it cannot hold the computer awake or
// show a tray, and runs on.
class SingleCopyTest : public ::testing::Test {
protected:
    SingleCopyTest() {
        options.environment = {{"HOME", home.path().string()},
                               {"XDG_RUNTIME_DIR", home.path().string()},
                               {"XDG_CONFIG_HOME", std::nullopt},
                               {"XDG_DATA_HOME", std::nullopt},
                               {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (home / "no-bus")},
                               {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (home / "no-bus")}};
        options.timeoutSeconds = 30;
    }
    // Starts a copy, waits until it runs, and stops it when `meanwhile` is done.
    void runCopy(const std::vector<std::string>& args, const std::function<void()>& meanwhile) {
        BackgroundProcess copy(VIGILMOTH_EXECUTABLE, args, options);
        ASSERT_TRUE(copy.waitForOutput("vigilmoth is running")) << copy.output();
        meanwhile();
        if (HasFailure()) return;
        EXPECT_TRUE(copy.waitForOutput(expectedLater)) << copy.output();
        copy.signal(SIGTERM);
        EXPECT_EQ(copy.wait(), 0);
    }

    TemporaryFolder home;
    ProcessOptions options;
    std::string expectedLater = "vigilmoth is running";
};

TEST_F(SingleCopyTest, TimedSwitchesWithGoodValuesAreNotRefused) {
    for (const auto& args : {Words{"--display-probe", "3600"}, Words{"--smoke-test", "6"}})
        EXPECT_EQ(runVigilmoth(args, options).err.find("Unknown argument"), std::string::npos);
}

TEST_F(SingleCopyTest, SecondCopyBringsTheFirstForwardAndLeaves) {
    expectedLater = "vigilmoth was asked to come forward.";
    runCopy({"-NSFoo", "-AppleBar", "1"}, [&] {
        auto started = std::chrono::steady_clock::now();
        auto second = runVigilmoth({}, options);
        EXPECT_GE(std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count(),
                  5.0);
        EXPECT_EQ(second.status, 0);
        EXPECT_EQ(second.err, "vigilmoth is already running.\n");
        EXPECT_EQ(second.out, "");
    });
}

TEST_F(SingleCopyTest, CopyThatIsQuittingLetsTheNextOneStart) {
    // A copy on its way out: it holds the lock for two more seconds, then goes.
    const std::string lock = home / "com.vigilmoth.app/vigilmoth.lock";
    std::filesystem::create_directories(home.path() / "com.vigilmoth.app");
    BackgroundProcess quitting("/usr/bin/flock", {lock, "sleep", "2"}, options);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    int probe = ::open(lock.c_str(), O_RDWR | O_CREAT, 0600);
    while (::flock(probe, LOCK_EX | LOCK_NB) == 0) {
        ::flock(probe, LOCK_UN);
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ::close(probe);
    runCopy({}, [] {});
}

// A stand-in for the other copy, gone from poll `goneAtPoll` on (0: never there, -1: for ever).
struct Coordination {
    int goneAtPoll, polls = 0, sleeps = 0, posts = 0;
    double slept = 0;
    std::vector<int> activated;

    bool anotherCopyStaysRunning() {
        return Main::anotherCopyStaysRunning(
            {.otherCopies =
                 [this] {
                     ++polls;
                     return goneAtPoll < 0 || polls < goneAtPoll ? std::vector<int>{4242, 4343}
                                                                 : std::vector<int>{};
                 },
             .postShowPreferences = [this] { ++posts; },
             .activate = [this](int pid) { activated.push_back(pid); },
             .sleep =
                 [this](double seconds) {
                     slept += seconds;
                     ++sleeps;
                 }});
    }
};

TEST(SingleCopyCheckTest, HandsOverOnlyAfterFiveSecondsOfPolling) {
    Coordination forever{-1};
    EXPECT_TRUE(forever.anotherCopyStaysRunning());
    EXPECT_EQ(forever.polls, 21 + 1) << "21 polls, then one more to find the copy to activate";
    EXPECT_EQ(std::tuple(forever.sleeps, forever.slept, forever.posts), std::tuple(20, 5.0, 1));
    EXPECT_EQ(forever.activated, (std::vector<int>{4242}));
    // Started at once when the other copy is gone by any of the polls.
    for (const auto& [goneAtPoll, sleeps] : {std::pair{0, 0}, {2, 1}, {21, 20}}) {
        SCOPED_TRACE(goneAtPoll);
        Coordination gone{goneAtPoll};
        EXPECT_FALSE(gone.anotherCopyStaysRunning());
        EXPECT_EQ(std::tuple(gone.sleeps, gone.posts, gone.activated.size()),
                  std::tuple(sleeps, 0, 0u));
    }
}

}  // namespace
}  // namespace vigilmoth
