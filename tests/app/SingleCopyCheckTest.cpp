// Show that a second copy polls 21 times over 5 seconds before it hands over, and starts at
// once when the other copy is gone by any of those polls.
#include <gtest/gtest.h>

#include "app/Main.h"

namespace vigilmoth {
namespace {

struct Recorder {
    int polls = 0;
    int copiesUntilPoll = 0;  // the other copy is gone from this poll on (0: never there)
    bool forever = false;
    double slept = 0;
    int sleeps = 0;
    int posts = 0;
    std::vector<int> activated;

    CopyCoordination coordination() {
        return CopyCoordination{
            .otherCopies =
                [this] {
                    ++polls;
                    bool running = forever || polls < copiesUntilPoll;
                    return running ? std::vector<int>{4242, 4343} : std::vector<int>{};
                },
            .postShowPreferences = [this] { ++posts; },
            .activate = [this](int pid) { activated.push_back(pid); },
            .sleep =
                [this](double seconds) {
                    slept += seconds;
                    ++sleeps;
                },
        };
    }
};

TEST(SingleCopyCheckTest, HandsOverOnlyAfterFiveSecondsOfPolling) {
    Recorder recorder{.forever = true};
    EXPECT_TRUE(Main::anotherCopyStaysRunning(recorder.coordination()));
    EXPECT_EQ(recorder.polls, 21 + 1) << "21 polls, then one more to find the copy to activate";
    EXPECT_EQ(recorder.sleeps, 20);
    EXPECT_DOUBLE_EQ(recorder.slept, 5.0);
    EXPECT_EQ(recorder.posts, 1);
    EXPECT_EQ(recorder.activated, (std::vector<int>{4242}));
}

TEST(SingleCopyCheckTest, StartsAsSoonAsTheOtherCopyIsGone) {
    struct Case {
        int goneAtPoll;
        int expectedSleeps;
    };
    for (const auto& testCase : std::vector<Case>{{0, 0}, {2, 1}, {21, 20}}) {
        SCOPED_TRACE(testCase.goneAtPoll);
        Recorder recorder{.copiesUntilPoll = testCase.goneAtPoll};
        EXPECT_FALSE(Main::anotherCopyStaysRunning(recorder.coordination()));
        EXPECT_EQ(recorder.sleeps, testCase.expectedSleeps);
        EXPECT_EQ(recorder.posts, 0);
        EXPECT_TRUE(recorder.activated.empty());
    }
}

}  // namespace
}  // namespace vigilmoth
