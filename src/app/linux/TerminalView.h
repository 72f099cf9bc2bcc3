#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ui/PanelState.h"

namespace vigilmoth {

// The panel in the terminal vigilmoth was started from: a few lines (`TerminalPanel`) kept at
// the bottom, redrawn in place when they change, with no full-screen interface. Other output
// goes above them through `printAbove`, so that the redraw never erases it.
class TerminalView {
public:
    // None when standard output is not a terminal: then vigilmoth only logs.
    static std::unique_ptr<TerminalView> forStandardOutput();

    // `columns`: the terminal's width, to which lines are cut so that none wraps and the
    // redraw moves up exactly as many lines as it wrote.
    TerminalView(int descriptor, int columns);

    void show(const PanelState& panel);
    void printAbove(std::string_view line);

private:
    void draw(const std::string& before);

    int descriptor_;
    int columns_;
    std::vector<std::string> shown_;
};

}  // namespace vigilmoth
