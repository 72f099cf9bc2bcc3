#include "app/linux/TerminalView.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include "platform/posix/FileIO.h"
#include "ui/TerminalPanel.h"

namespace vigilmoth {
namespace {

// `line` cut to `columns` characters, counting each UTF-8 sequence once.
std::string fitted(const std::string& line, int columns) {
    int count = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const bool starts = (static_cast<unsigned char>(line[i]) & 0xC0) != 0x80;
        if (starts && ++count > columns) return line.substr(0, i);
    }
    return line;
}

}  // namespace

std::unique_ptr<TerminalView> TerminalView::forStandardOutput() {
    if (!isatty(STDOUT_FILENO)) return nullptr;
    winsize size{};
    const int columns =
        ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
    return std::make_unique<TerminalView>(STDOUT_FILENO, columns);
}

TerminalView::TerminalView(int descriptor, int columns)
    : descriptor_(descriptor), columns_(columns > 1 ? columns - 1 : 1) {}

void TerminalView::show(const PanelState& panel) {
    auto lines = TerminalPanel::lines(panel);
    for (auto& line : lines)
        line = fitted(line, columns_);
    if (lines == shown_) return;
    const auto old = shown_.size();
    shown_ = std::move(lines);
    draw(old > 0 ? "\x1b[" + std::to_string(old) + "F\x1b[J" : "");
}

void TerminalView::printAbove(std::string_view line) {
    std::string before;
    if (!shown_.empty()) before = "\x1b[" + std::to_string(shown_.size()) + "F\x1b[J";
    draw(before + std::string(line) + "\n");
}

void TerminalView::draw(const std::string& before) {
    std::string text = before;
    for (const auto& line : shown_)
        text += line + "\n";
    // A terminal that has gone away is not worth a complaint: the journal still has the log.
    (void)writeAll(descriptor_, text);
}

}  // namespace vigilmoth
