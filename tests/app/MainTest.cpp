// Show that the real vigilmoth executable answers each command line with the documented
// message and exit status, and that a second copy hands over to a running one.
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using namespace testing;

std::string unknownMessage(const std::string& argument) {
    return "Unknown argument " + argument + ". The app starts without arguments.\n";
}

TEST(MainTest, RefusesWhatItDoesNotUnderstandWithStatusOne) {
    struct Case {
        std::vector<std::string> args;
        std::string offending;
    };
    const std::vector<Case> cases = {
        {{"foo"}, "foo"},
        {{"--smoke-test", "5"}, "--smoke-test"},
        {{"--smoke-test", "121"}, "--smoke-test"},
        {{"--smoke-test", "abc"}, "--smoke-test"},
        {{"--smoke-test", " 30"}, "--smoke-test"},
        {{"--display-probe", "0.5"}, "--display-probe"},
        {{"-NSFoo", "--verbose"}, "--verbose"},
        {{"h\xC3\xA9llo"}, "h\xC3\xA9llo"},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.offending);
        auto result = runVigilmoth(testCase.args);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, unknownMessage(testCase.offending));
        EXPECT_EQ(result.out, "");
    }
}

TEST(MainTest, HandsAnyLabArgumentToTheLab) {
    auto result = runVigilmoth({"--lab-x", "--bogus"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "Unknown lab command --lab-x.\n");
}

// The application, and the smoke test that runs it, in a home of their own and without buses:
// they cannot hold the computer awake or show a tray, and run on.
ProcessOptions isolated(const TemporaryFolder& home) {
    ProcessOptions options;
    options.environment = {{"HOME", home.path().string()},
                           {"XDG_RUNTIME_DIR", home.path().string()},
                           {"XDG_CONFIG_HOME", std::nullopt},
                           {"XDG_DATA_HOME", std::nullopt},
                           {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (home / "no-bus")},
                           {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (home / "no-bus")}};
    options.timeoutSeconds = 30;
    return options;
}

TEST(MainTest, TimedSwitchesWithGoodValuesAreNotRefused) {
    TemporaryFolder home;
    const auto options = isolated(home);
    for (const auto& args : std::vector<std::vector<std::string>>{{"--display-probe", "3600"},
                                                                  {"--smoke-test", "6"}}) {
        auto result = runVigilmoth(args, options);
        EXPECT_EQ(result.err.find("Unknown argument"), std::string::npos) << result.err;
    }
}

class SingleCopyTest : public ::testing::Test {
protected:
    ProcessOptions options() const { return isolated(runtime); }
    std::string lockPath() const { return runtime / "com.vigilmoth.app/vigilmoth.lock"; }

    TemporaryFolder runtime;
};

TEST_F(SingleCopyTest, StartsWithOnlyTheSystemOptions) {
    BackgroundProcess first(VIGILMOTH_EXECUTABLE, {"-psn_0_1"}, options());
    EXPECT_TRUE(first.waitForOutput("vigilmoth is running")) << first.output();
    first.signal(SIGTERM);
    EXPECT_EQ(first.wait(), 0);
}

TEST_F(SingleCopyTest, SecondCopyBringsTheFirstForwardAndLeaves) {
    BackgroundProcess first(VIGILMOTH_EXECUTABLE, {"-NSFoo", "-AppleBar", "1"}, options());
    ASSERT_TRUE(first.waitForOutput("vigilmoth is running")) << first.output();

    auto started = std::chrono::steady_clock::now();
    auto second = runVigilmoth({}, options());
    double waited =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();

    EXPECT_EQ(second.status, 0);
    EXPECT_EQ(second.err, "vigilmoth is already running.\n");
    EXPECT_EQ(second.out, "");
    EXPECT_GE(waited, 5.0);
    EXPECT_TRUE(first.waitForOutput("vigilmoth was asked to come forward."));
    first.signal(SIGTERM);
    EXPECT_EQ(first.wait(), 0);
}

TEST_F(SingleCopyTest, CopyThatIsQuittingLetsTheNextOneStart) {
    // A copy on its way out: it holds the lock for two more seconds, then goes.
    std::filesystem::create_directories(runtime.path() / "com.vigilmoth.app");
    BackgroundProcess quitting("/usr/bin/flock", {lockPath(), "sleep", "2"}, options());
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    int probe = ::open(lockPath().c_str(), O_RDWR | O_CREAT, 0600);
    while (::flock(probe, LOCK_EX | LOCK_NB) == 0) {
        ::flock(probe, LOCK_UN);
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ::close(probe);

    BackgroundProcess next(VIGILMOTH_EXECUTABLE, {}, options());
    EXPECT_TRUE(next.waitForOutput("vigilmoth is running", 10)) << next.output();
    next.signal(SIGTERM);
    EXPECT_EQ(next.wait(), 0);
}

}  // namespace
}  // namespace vigilmoth
