// The terminal view writes the headline and a line per agent and session once, cut to the
// terminal's width, and on a change moves up over exactly those lines to write the new ones.
#include "app/linux/TerminalView.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/posix/FileIO.h"

namespace vigilmoth {
namespace {

TEST(TerminalViewTest, RedrawsInPlaceOnlyWhatChanged) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
    TerminalView view(ends[1], 41);
    PanelState panel{.title = "Your computer stays awake", .subtitle = "Codex is working"};
    PanelGroup codex;
    codex.header = {.name = "Codex", .state = PanelRow::State::waiting, .detail = "Asked you"};
    codex.children = {{"a", "since 10:04", "Waiting", "", std::nullopt}};
    panel.groups = {codex};
    view.show(panel);
    view.show(panel);
    panel.groups.clear();
    panel.pausedLabel = "Paused until 18:05";
    view.show(panel);
    view.printAbove("a log line");
    close(ends[1]);
    EXPECT_EQ(readAll(ends[0]),
              "Your computer stays awake · Codex is wor\n"
              "  [waiting] Codex — Asked you\n      since 10:04 — Waiting\n"
              "\x1b[3F\x1b[JYour computer stays awake · Codex is wor\n"
              "Paused until 18:05\n"
              "\x1b[2F\x1b[Ja log line\n"
              "Your computer stays awake · Codex is wor\nPaused until 18:05\n");
    close(ends[0]);
}

}  // namespace
}  // namespace vigilmoth
