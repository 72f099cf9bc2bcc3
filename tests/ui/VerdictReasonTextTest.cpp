// Show that every verdict reason reads exactly as the panel shows it and codes as the lab
// compares it, including the stand-ins for durations under a minute.
#include "support/MachineWording.h"
#include "ui/VerdictReasonText.h"

#include <gtest/gtest.h>

namespace vigilmoth {
namespace {

using testing::worded;

using Kind = VerdictReason::Kind;

TEST(VerdictReasonTextTest, EveryCaseHasItsTextAndCode) {
    struct Case {
        VerdictReason reason;
        std::string text;
        const char* code;
    };
    const Case cases[] = {
        {VerdictReason::runningCommand(1), "Running 1 command", "runningCommand:1"},
        {VerdictReason::runningCommand(3), "Running 3 commands", "runningCommand:3"},
        {VerdictReason::backgroundJob(1), "Running 1 background task", "backgroundJob:1"},
        {VerdictReason::backgroundJob(2), "Running 2 background tasks", "backgroundJob:2"},
        {VerdictReason::writingSessionFile(0), "Wrote to its session a moment ago",
         "writingSessionFile:0"},
        {VerdictReason::writingSessionFile(59), "Wrote to its session a moment ago",
         "writingSessionFile:59"},
        {VerdictReason::writingSessionFile(125), "Wrote to its session 2 minutes ago",
         "writingSessionFile:125"},
        {VerdictReason::workedRecently(7), "Last worked a moment ago", "workedRecently:7"},
        {VerdictReason::workedRecently(3600), "Last worked 1 hour ago", "workedRecently:3600"},
        {VerdictReason::noActivity(0), "No activity", "noActivity:0"},
        {VerdictReason::noActivity(1), "No activity for 1 minute", "noActivity:1"},
        {VerdictReason::noActivity(90), "No activity for 1 hour 30 minutes", "noActivity:90"},
        {VerdictReason::onlyWeakSigns(30),
         "Using the processor for 30 minutes with no other sign of work", "onlyWeakSigns:30"},
        {VerdictReason::onlyWeakSigns(0), "Using the processor with no other sign of work",
         "onlyWeakSigns:0"},
        {VerdictReason::plain(Kind::reportsBusy), "Working on a task", "reportsBusy"},
        {VerdictReason::plain(Kind::holdsSleepAssertion), worded("Asking your Mac to stay awake"),
         "holdsSleepAssertion"},
        {VerdictReason::plain(Kind::cpuActivity), "Using the processor", "cpuActivity"},
        {VerdictReason::plain(Kind::asksPermission), "Waiting for your answer", "asksPermission"},
        {VerdictReason::plain(Kind::awaitsApproval), "Waiting for your approval", "awaitsApproval"},
        {VerdictReason::plain(Kind::atPrompt), "Ready for your next message", "atPrompt"},
        {VerdictReason::plain(Kind::alwaysWorkingByRule),
         "You set this agent to always count as working", "alwaysWorkingByRule"},
        {VerdictReason::plain(Kind::ignoredByRule), "You set vigilmoth to ignore this agent",
         "ignoredByRule"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.code);
        EXPECT_EQ(VerdictReasonText::text(c.reason), c.text);
        EXPECT_EQ(c.reason.code(), c.code);
    }
}

}  // namespace
}  // namespace vigilmoth
