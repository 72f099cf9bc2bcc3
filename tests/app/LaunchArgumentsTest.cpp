// Show that the command line is classified in the documented order: lab first, then the two
// timed switches, then the walk over the operating system's own options.
#include "app/LaunchArguments.h"

#include <gtest/gtest.h>

namespace vigilmoth {
namespace {

using namespace LaunchArguments;

struct Case {
    std::vector<std::string> args;
    Kind expected;
};

TEST(LaunchArgumentsTest, ClassifiesEveryDocumentedCommandLine) {
    const std::vector<Case> cases = {
        {{}, App{}},
        {{"-psn_0_12345"}, App{}},
        {{"-NSDocumentRevisionsDebugMode", "YES"}, App{}},
        // -AppleBar is itself the next option, and 1 its value.
        {{"-NSFoo", "-AppleBar", "1"}, App{}},
        // A system option at the very end has no value to skip.
        {{"-AppleLanguages"}, App{}},
        {{"-NSFoo", "--verbose"}, Unknown{"--verbose"}},
        {{"foo"}, Unknown{"foo"}},
        {{"-NSFoo", "bar", "baz"}, Unknown{"baz"}},
        // The lab wins even over arguments that would be refused.
        {{"--bogus", "--lab-anything"}, Lab{}},
        {{"--lab-x", "--bogus"}, Lab{}},
        {{"--smoke-test", "--lab-score"}, Lab{}},
        {{"--smoke-test"}, Unknown{"--smoke-test"}},
        {{"--smoke-test", "5"}, Unknown{"--smoke-test"}},
        {{"--smoke-test", "121"}, Unknown{"--smoke-test"}},
        {{"--smoke-test", "abc"}, Unknown{"--smoke-test"}},
        {{"--smoke-test", " 30"}, Unknown{"--smoke-test"}},
        {{"--smoke-test", "30 "}, Unknown{"--smoke-test"}},
        {{"--smoke-test", "nan"}, Unknown{"--smoke-test"}},
        {{"--smoke-test", ""}, Unknown{"--smoke-test"}},
        {{"--smoke-test", "6"}, SmokeTest{6}},
        {{"--smoke-test", "120"}, SmokeTest{120}},
        {{"--smoke-test", "7.5"}, SmokeTest{7.5}},
        // Only the pair is looked for; other words are ignored on purpose.
        {{"--smoke-test", "30", "whatever", "else"}, SmokeTest{30}},
        {{"junk", "--smoke-test", "30"}, SmokeTest{30}},
        {{"--display-probe", "0.5"}, Unknown{"--display-probe"}},
        {{"--display-probe", "3600"}, DisplayProbe{3600}},
        {{"--display-probe", "1"}, DisplayProbe{1}},
        {{"--display-probe", "3600.01"}, Unknown{"--display-probe"}},
        {{"--display-probe", "10", "--smoke-test", "30"}, SmokeTest{30}},
        {{"--smoke-test", "3", "--display-probe", "10"}, Unknown{"--smoke-test"}},
    };
    for (const auto& testCase : cases) {
        std::vector<std::string> arguments = {"/usr/bin/vigilmoth"};
        arguments.insert(arguments.end(), testCase.args.begin(), testCase.args.end());
        std::string joined;
        for (const auto& word : testCase.args)
            joined += "[" + word + "]";
        SCOPED_TRACE(joined);
        EXPECT_EQ(kind(arguments), testCase.expected);
    }
}

TEST(LaunchArgumentsTest, NeverExaminesTheExecutablePath) {
    EXPECT_EQ(kind({"--lab-record"}), Kind(App{}));
    EXPECT_EQ(kind({}), Kind(App{}));
}

}  // namespace
}  // namespace vigilmoth
