#pragma once

namespace vigilmoth {

// Sends log lines to the journal, or to standard error when it is a terminal.
void installSystemLogSink();

}  // namespace vigilmoth
