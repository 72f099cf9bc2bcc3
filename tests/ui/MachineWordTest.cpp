// Show that every text naming the machine takes its word from the one choice, "Mac" or
// "computer", and that nothing else in the text changes with it.
#include "base/MachineWord.h"

#include <gtest/gtest.h>

#include <functional>

#include "hooks/install/HookInstallError.h"
#include "lab/LabScore.h"
#include "ui/AgentNoticeText.h"
#include "ui/HoldHeadlineText.h"
#include "ui/NoLimitBatteryWarningText.h"
#include "ui/PanelText.h"
#include "ui/SafetyStopText.h"
#include "ui/VerdictReasonText.h"

namespace vigilmoth {
namespace {

TEST(MachineWordTest, EveryTextNamingTheMachineSaysTheChosenWord) {
    const auto sleeps = SleepOutlook::sleepsIn(200);
    const auto letsGo = SleepOutlook::letsGoIn(61, SleepOutlook::After::timer(10));
    const AgentNotice waiting{AgentNoticeKind::waiting, {{{812, 1}, "codex", "Codex"}}};
    const struct {
        const char* name;
        std::function<std::string(MachineWord)> text;
        const char* mac;
        const char* computer;
    } cases[] = {
        {"sleep outlook", [&](MachineWord m) { return *PanelText::sleepOutlook(sleeps, m); },
         "Your Mac sleeps in 3 minutes", "Your computer sleeps in 3 minutes"},
        {"hold outlook", [&](MachineWord m) { return *PanelText::sleepOutlook(letsGo, m); },
         "vigilmoth keeps your Mac awake for 1 more minute",
         "vigilmoth keeps your computer awake for 1 more minute"},
        {"waiting end", [&](MachineWord m) { return *PanelText::waitingEnd(sleeps, m); },
         "your Mac sleeps in 3 minutes", "your computer sleeps in 3 minutes"},
        {"idle headline",
         [](MachineWord m) {
             return HoldHeadlineText::text(HoldHeadline::idle(HoldSubject::one("Codex")), m);
         },
         "Mac can sleep: Codex is idle", "Computer can sleep: Codex is idle"},
        {"heat headline",
         [](MachineWord m) {
             return HoldHeadlineText::text(HoldHeadline::safetyStop(SafetyStop::tooHot()), m);
         },
         "Sleeping allowed: the Mac is too hot", "Sleeping allowed: the computer is too hot"},
        {"safety notification",
         [](MachineWord m) { return SafetyStopText::notification(SafetyStop::batteryLow(9), m); },
         "vigilmoth let your Mac sleep because the battery is at 9%",
         "vigilmoth let your computer sleep because the battery is at 9%"},
        {"no-limit warning",
         [](MachineWord m) { return NoLimitBatteryWarningText::notification(10, m); },
         "The battery is at 10%. vigilmoth keeps your Mac awake because the battery limit is off.",
         "The battery is at 10%. vigilmoth keeps your computer awake because the battery limit "
         "is off."},
        {"reason",
         [](MachineWord m) {
             return VerdictReasonText::text(
                 VerdictReason::plain(VerdictReason::Kind::holdsSleepAssertion), m);
         },
         "Asking your Mac to stay awake", "Asking your computer to stay awake"},
        {"waiting notice",
         [&](MachineWord m) { return *AgentNoticeText::content(waiting, sleeps, Date(0), m).body; },
         "Your Mac sleeps in 3 minutes", "Your computer sleeps in 3 minutes"},
        {"hook installer",
         [](MachineWord m) {
             return HookInstallError(HookInstallError::Kind::configMissing).message("~/.x", m);
         },
         "This agent is not set up on this Mac. ~/.x does not exist.",
         "This agent is not set up on this computer. ~/.x does not exist."},
        {"lab score",
         [](MachineWord m) {
             LabScore score;
             score.title = "t";
             // The report's second line.
             auto text = score.report(m);
             text.erase(0, text.find('\n') + 1);
             return text.substr(0, text.find('\n'));
         },
         "0 samples over 0.0 s, 0 marks, Mac held awake for 0.0 s",
         "0 samples over 0.0 s, 0 marks, Computer held awake for 0.0 s"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.text(MachineWord::mac()), c.mac);
        EXPECT_EQ(c.text(MachineWord::computer()), c.computer);
    }
}

}  // namespace
}  // namespace vigilmoth
